#include "mvtool/files/TableFile.h"

#include <utility>

#include "base/Error.h"
#include "fileio/cFileIO.h"
#include "mvtool/files/ColumnTypes.h"
#include "mvtool/files/OneFileSystem.h"
#include "mvtool/files/ToolErrors.h"
#include "pdb/PDBAppforgeDefinition.h"
#include "pdb/PDBAppforgeRecord.h"
#include "pdb/PDBDatabase.h"
#include "platform/Shell.h"

namespace mv::tool {
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

Value ReadField(const PDBAppforgeRecord& record, std::int16_t i, HandheldType type) {
  switch (type) {
    case HandheldType::Byte:
      return record.ByteValue(i);
    case HandheldType::Integer:
      return record.IntegerValue(i);
    case HandheldType::Long:
      return record.LongValue(i);
    case HandheldType::Single:
      return record.SingleValue(i);
    case HandheldType::Text:
      return record.StringValue(i);
    case HandheldType::Boolean:
      return record.BooleanValue(i);
    case HandheldType::Date:
      return record.DateValue(i);
    case HandheldType::Double:
      return record.DoubleValue(i);
    case HandheldType::Currency:
      return Currency{record.CurrencyValue(i)};
  }
  return Null{};
}

/// A date field is an unsigned 32-bit count of seconds; what does not fit would come back as another date.
void RequireHandheldDate(Date date) {
  const std::int64_t seconds = SecondsFromDate(date) - SecondsFromDate(DateFromCivil({1904, 1, 1, 0, 0, 0}));
  if (std::in_range<std::uint32_t>(seconds)) return;
  throw ToolError("a handheld's dates run from 1904-01-01T00:00:00 to 2040-02-06T06:28:15");
}

/// Puts a value into field `index` of a record, by the value's own type.
struct WriteField {
  PDBAppforgeRecord& record;
  std::int16_t index;

  void operator()(Null) const {}
  void operator()(bool value) const { record.BooleanValue(index, value); }
  void operator()(std::uint8_t value) const { record.ByteValue(index, value); }
  void operator()(std::int16_t value) const { record.IntegerValue(index, value); }
  void operator()(std::int32_t value) const { record.LongValue(index, value); }
  void operator()(float value) const { record.SingleValue(index, value); }
  void operator()(double value) const { record.DoubleValue(index, value); }
  void operator()(Currency value) const { record.CurrencyValue(index, value.tenThousandths); }
  void operator()(Date value) const {
    RequireHandheldDate(value);
    record.DateValue(index, value);
  }
  void operator()(const std::string& value) const { record.StringValue(index, value); }
  void operator()(const Bytes&) const { throw StandardError(errors::kTypeMismatch, "TableFileWriter"); }
};

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
      throw ToolError("no field definitions (no \"APPFORG2\" block)");
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
        if (type) values[i] = ReadField(record_, static_cast<std::int16_t>(i + 1), *type);
      }
    } catch (const Error& error) {
      throw ToolError("record " + std::to_string(index) + " is damaged: " + error.Description());
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
    for (const TableFileField& field : header.fields) definition->AddFieldName(field.name, field.type);
    PDBDatabase& database = table_.Database();
    database.CreateDatabase();
    database.PDBDatabaseName(header.name);
    database.CreatorId(header.creator);
    database.WriteAppInfoBlock(definition->AppInfoBlock());
    record_.AppforgeDefinition(definition);
  }

  void Add(const HandheldRecord& record) {
    for (std::size_t i = 0; i < record.values.size(); ++i) {
      std::visit(WriteField{record_, static_cast<std::int16_t>(i + 1)}, record.values[i]);
    }
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
  MemoryTable table_;
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

}  // namespace mv::tool
