#include "Targets.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "base/Error.h"
#include "base/Utf.h"
#include "fileio/IniDocument.h"
#include "json/Json.h"
#include "mvtool/demo/SampleDatabase.h"
#include "mvtool/text/RecordJson.h"
#include "mvtool/text/SchemaJson.h"
#include "pdb/PDBAppforgeDefinition.h"
#include "pdb/PDBAppforgeRecord.h"
#include "pdb/PDBDatabase.h"
#include "support/FakeClock.h"
#include "support/JetExercise.h"
#include "support/JetMutation.h"
#include "support/JetSpecimens.h"
#include "support/MemoryFileSystem.h"

namespace mv::fuzz {
namespace {

using testing::MemoryFileSystem;

std::string_view TextOf(ByteView input) {
  return {reinterpret_cast<const char*>(input.data()), input.size()};
}

void Require(bool right, const std::string& complaint) {
  if (!right) throw std::logic_error(complaint);
}

template <typename Action>
bool Succeeds(Action action) {
  try {
    action();
    return true;
  } catch (const Error&) {
    return false;
  }
}

class NoShell : public platform::Shell {
 public:
  bool Recycle(const std::string&) override { return false; }
  bool OpenDocument(const std::string&) override { return false; }
};

/// The table file "\t.pdb" in memory.
class TableFile {
 public:
  explicit TableFile(ByteView content) : database_(cFileIO(files_, shell_, ""), clock_) {
    files_.Put("\\t.pdb", Bytes(content.begin(), content.end()));
    database_.PDBFilePath("\\");
  }

  void ReadAll() {
    Open();
    const auto definition = std::make_shared<PDBAppforgeDefinition>();
    const bool hasFields = definition->IsAppforgeData(database_.ReadAppInfoBlock());
    database_.ReadSortInfoBlock();
    PDBAppforgeRecord record;
    record.AppforgeDefinition(definition);
    for (std::int32_t i = 1; i <= database_.RecordCount(); ++i) {
      const Bytes bytes = ReadRecord(i);
      if (hasFields) Succeeds([&] { ReadFields(*definition, record, bytes); });
    }
    database_.CloseDatabase();
  }

  /// Changes every second record, so that the file is written anew.
  void ChangeSome() {
    Open();
    for (std::int32_t i = 1; i <= database_.RecordCount(); i += 2) {
      const Bytes bytes = ReadRecord(i);
      Succeeds([&] { database_.Update(i, 0, 0, attributes_, bytes); });
    }
    database_.Update(-1, 0, 0, 0, Bytes(8, 1));
    database_.CloseDatabase();
  }

 private:
  void Open() {
    database_.PDBDatabaseName("t");
    Require(database_.OpenDatabase(), "a file that is there was not opened");
    Require(IsValidUtf8(database_.PDBDatabaseName()), "the name is no text");
  }

  Bytes ReadRecord(std::int32_t index) {
    std::int32_t uniqueId = 0;
    std::int16_t category = 0;
    return database_.ReadNextByIndex(index, uniqueId, category, attributes_);
  }

  static void ReadFields(const PDBAppforgeDefinition& definition, PDBAppforgeRecord& record, const Bytes& bytes) {
    PDBByteStream stream;
    stream.ByteArray(bytes);
    record.ByteStream(stream);
    for (std::int16_t i = 1; i <= definition.FieldCount(); ++i) {
      Require(IsValidUtf8(record.StringValue(i)), "a value is no text");
    }
    record.ByteStream();
  }

  MemoryFileSystem files_;
  NoShell shell_;
  testing::FakeClock clock_;
  PDBDatabase database_;
  std::int32_t attributes_ = 0;
};

void MakeDatabase(const tool::Schema& schema) {
  MemoryFileSystem files;
  const auto database = jet::Database::Create(files, "x.mdb", tool::kFixedDate);
  for (const tool::SchemaTable& table : schema.tables) {
    database->CreateTable(table.design, tool::kFixedDate);
    for (const tool::SchemaRow& row : table.rows) database->OpenTable(table.design.name).Insert(row.values);
  }
  for (const tool::SchemaRelation& relation : schema.relations) {
    database->CreateRelation(relation.design, tool::kFixedDate);
  }
  database->Commit();
  const auto again = jet::Database::Open(files, "x.mdb", jet::PageFile::Mode::ReadWrite);
  Require(again->TableNames().size() == schema.tables.size(), "a table was lost");
}

}  // namespace

void UseDatabase(ByteView input) {
  static const std::vector<Bytes> kSpecimens = testing::JetSpecimens();
  if (input.empty()) return;
  Bytes image = kSpecimens[input[0] % kSpecimens.size()];
  testing::JetDamage(image).Apply(testing::JetMutation::Decode(input.subspan(1)));
  const std::string complaint = testing::JetExercise(std::move(image), input[0]).Run();
  Require(complaint.empty(), complaint);
}

void UseTableFile(ByteView input) {
  TableFile file(input);
  if (!Succeeds([&] { file.ReadAll(); })) return;
  if (Succeeds([&] { file.ChangeSome(); })) file.ReadAll();
}

void UseSettings(ByteView input) {
  const std::string text(TextOf(input));
  IniDocument document(text);
  Require(document.Text() == text, "reading changed the text");
  for (const IniDocument::Entry& entry : document.Entries("General")) {
    Require(IsValidUtf8(entry.value), "a value is no text");
    document.Set("General", entry.key, "new");
    Require(document.Get("General", entry.key) == "new", "a value that was set is not there");
  }
  document.Set("Other", "Key", " padded ");
  Require(document.Get("Other", "Key") == " padded ", "a value that was set is not there");
  Require(IniDocument(document.Text()).Get("Other", "Key") == " padded ", "a value that was set was not written");
  document.Remove("Other", "Key");
  Require(!document.Get("Other", "Key"), "a value that was removed is there");
  document.RemoveSection("General");
  Require(document.Entries("General").empty(), "a section that was removed is there");
}

void UseJson(ByteView input) {
  Succeeds([&] { MakeDatabase(tool::SchemaFromJson(ParseJson(TextOf(input)))); });
  Succeeds([&] {
    const Json json = ParseJson(TextOf(input));
    const TableFileHeader header = tool::HeaderFromJson(json, "t");
    tool::RecordFromJson(json, header);
  });
}

}  // namespace mv::fuzz
