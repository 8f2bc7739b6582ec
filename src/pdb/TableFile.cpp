#include "pdb/TableFile.h"

#include <utility>

#include "base/Error.h"
#include "fileio/cFileIO.h"
#include "pdb/FieldValue.h"
#include "pdb/HandheldType.h"
#include "pdb/OneFileSystem.h"
#include "pdb/PDBAppforgeDefinition.h"
#include "pdb/PDBAppforgeRecord.h"
#include "pdb/PDBDatabase.h"
#include "platform/Shell.h"

namespace mv {
namespace {

constexpr const char* kFolder = "memory\\";
constexpr std::int32_t kAppend = -1;
constexpr std::int16_t kNoCategory = 0;

/// A PDBDatabase over one file in memory.
class MemoryTable {
 public:
  MemoryTable(Bytes content, const platform::Clock& clock)
      : files_(std::move(content)), database_(cFileIO(files_, shell_, kFolder), clock) {}

  PDBDatabase& Database() { return database_; }
  const Bytes& Content() const { return files_.Content(); }

 private:
  OneFileSystem files_;
  platform::SystemShell shell_;
  PDBDatabase database_;
};

Bytes ReadInput(platform::FileSystem& files, const std::string& path) {
  try {
    return platform::ReadWhole(files, path);
  } catch (const Error& error) {
    throw At(path, error);
  }
}

/// A date field is an unsigned 32-bit count of seconds; what does not fit would come back as another date.
void RequireHandheldDate(Date date) {
  const std::int64_t seconds = SecondsFromDate(date) - SecondsFromDate(kHandheldEpoch);
  if (std::in_range<std::uint32_t>(seconds)) return;
  throw Failure("a handheld's dates run from 1904-01-01T00:00:00 to 2040-02-06T06:28:15");
}

TableFileHeader HeaderOf(const PDBDatabase& database, const PDBAppforgeDefinition& definition) {
  TableFileHeader header;
  header.name = database.PDBDatabaseName();
  header.creator = database.CreatorId();
  for (std::int16_t i = 1; i <= definition.FieldCount(); ++i) {
    header.fields.push_back({definition.FieldName(i), definition.FieldType(i)});
  }
  return header;
}

}  // namespace

// --- Reading --------------------------------------------------------------------------------------------------------

class TableFileReader::Implementation {
 public:
  Implementation(platform::FileSystem& files, const std::string& path) : table_(ReadInput(files, path), clock_) {
    try {
      ReadDefinitions();
    } catch (const Error& error) {
      throw At(path, error);
    }
  }

  const TableFileHeader& Header() const { return header_; }

  std::optional<HandheldRecord> Next() {
    PDBDatabase& database = table_.Database();
    if (database.Eof()) return std::nullopt;
    std::int32_t index = 0;
    std::int32_t uniqueId = 0;
    std::int16_t category = 0;
    std::int32_t attributes = 0;
    const Bytes data = database.ReadNext(index, uniqueId, category, attributes);
    HandheldRecord record;
    record.attributes = static_cast<std::uint8_t>(attributes);
    record.uniqueId = static_cast<std::uint32_t>(uniqueId);
    record.values.resize(header_.fields.size());
    if (!data.empty()) ReadValues(data, index, record.values);
    return record;
  }

 private:
  void ReadDefinitions() {
    PDBDatabase& database = table_.Database();
    database.PDBDatabaseName("table");
    if (!database.OpenDatabase()) throw StandardError(errors::kFileNotFound);
    const auto definition = std::make_shared<PDBAppforgeDefinition>();
    if (!definition->IsAppforgeData(database.ReadAppInfoBlock())) {
      throw Failure("no field definitions (no \"APPFORG2\" block)");
    }
    header_ = HeaderOf(database, *definition);
    record_.AppforgeDefinition(definition);
    database.IterationIndex(1);
  }

  void ReadValues(const Bytes& data, std::int32_t index, std::vector<Value>& values) {
    try {
      PDBByteStream stream;
      stream.ByteArray(data);
      record_.ByteStream(stream);
      for (std::size_t i = 0; i < values.size(); ++i) {
        const std::optional<HandheldType> type = HandheldTypeNumbered(header_.fields[i].type);
        if (type) values[i] = FieldValueOf(record_, static_cast<std::int16_t>(i + 1), *type);
      }
    } catch (const Error& error) {
      throw Failure("record " + std::to_string(index) + " is damaged: " + error.Description());
    }
  }

  platform::SystemClock clock_;  ///< never asked: nothing is written
  MemoryTable table_;
  TableFileHeader header_;
  PDBAppforgeRecord record_;
};

TableFileReader::TableFileReader(platform::FileSystem& files, const std::string& path)
    : implementation_(std::make_unique<Implementation>(files, path)) {}

TableFileReader::~TableFileReader() = default;

const TableFileHeader& TableFileReader::Header() const {
  return implementation_->Header();
}

std::optional<HandheldRecord> TableFileReader::Next() {
  return implementation_->Next();
}

// --- Writing --------------------------------------------------------------------------------------------------------

class TableFileWriter::Implementation {
 public:
  Implementation(const TableFileHeader& header, const platform::Clock& clock) : table_({}, clock) {
    const auto definition = std::make_shared<PDBAppforgeDefinition>();
    for (const TableFileField& field : header.fields) {
      definition->AddFieldName(field.name, field.type);
      types_.push_back(HandheldTypeNumbered(field.type));
    }
    PDBDatabase& database = table_.Database();
    database.CreateDatabase();
    database.PDBDatabaseName(header.name);
    database.CreatorId(header.creator);
    database.WriteAppInfoBlock(definition->AppInfoBlock());
    record_.AppforgeDefinition(definition);
  }

  void Add(const HandheldRecord& record) {
    for (std::size_t i = 0; i < record.values.size(); ++i) SetValue(i, record.values[i]);
    table_.Database().Update(kAppend, static_cast<std::int32_t>(record.uniqueId), kNoCategory, record.attributes,
                             record_.ByteStream().ByteArray());
  }

  void WriteTo(platform::FileSystem& files, const std::string& path) {
    table_.Database().CloseDatabase();
    try {
      files.WriteWhole(path, table_.Content());
    } catch (const Error& error) {
      throw At(path, error);
    }
  }

 private:
  void SetValue(std::size_t i, const Value& value) {
    if (!types_.at(i)) return;
    if (const Date* const date = std::get_if<Date>(&value)) RequireHandheldDate(*date);
    SetFieldValue(record_, static_cast<std::int16_t>(i + 1), *types_[i], value);
  }

  MemoryTable table_;
  std::vector<std::optional<HandheldType>> types_;  ///< of the fields; none for an unknown one
  PDBAppforgeRecord record_;
};

TableFileWriter::TableFileWriter(const TableFileHeader& header, const platform::Clock& clock)
    : implementation_(std::make_unique<Implementation>(header, clock)) {}

TableFileWriter::~TableFileWriter() = default;

void TableFileWriter::Add(const HandheldRecord& record) {
  implementation_->Add(record);
}

void TableFileWriter::WriteTo(platform::FileSystem& files, const std::string& path) {
  implementation_->WriteTo(files, path);
}

}  // namespace mv
