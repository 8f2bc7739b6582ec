#include "Targets.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "base/Error.h"
#include "base/Utf.h"
#include "device/simulator/DeviceCalls.h"
#include "device/wire/ControlProtocol.h"
#include "device/wire/RemoteCalls.h"
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

/// Input as a series of messages, each a length byte and that many bytes; the last may be cut.
class Messages {
 public:
  explicit Messages(ByteView input) : rest_(input) {}

  std::optional<ByteView> Next() {
    if (rest_.empty()) return std::nullopt;
    const std::size_t length = std::min<std::size_t>(rest_[0], rest_.size() - 1);
    const ByteView message = rest_.subspan(1, length);
    rest_ = rest_.subspan(1 + length);
    return message;
  }

 private:
  ByteView rest_;
};

/// A handheld whose replies are the input.
class HostileReplies : public wire::CallChannel {
 public:
  explicit HostileReplies(ByteView input) : messages_(input) {}

  std::optional<wire::Reply> Exchange(std::span<const ByteView>, std::chrono::milliseconds,
                                      const wire::ReplyRoom& room) override {
    const std::optional<ByteView> body = messages_.Next();
    if (!body) return std::nullopt;
    if (body->size() <= room.beginning) return wire::Reply{*body};
    const ByteView beginning = body->first(room.beginning);
    const ByteView following = body->subspan(room.beginning);
    if (following.size() > room.place.size() || !room.belongs(beginning, following.size())) return wire::Reply{*body};
    std::copy(following.begin(), following.end(), room.place.begin());
    return wire::Reply{beginning, following.size()};
  }

 private:
  Messages messages_;
};

void RequireTexts(const wire::Announcement& handheld) {
  for (const std::string& name : {handheld.name, handheld.platform, handheld.model}) {
    Require(IsValidUtf8(name) && name.find('\n') == name.npos, "a name of the handheld is no line of text");
  }
}

void UseControlConnection(wire::Family family, ByteView input) {
  const auto protocol = wire::MakeControlProtocol(family, std::nullopt);
  while (!input.empty()) {
    const std::size_t piece = std::min<std::size_t>(input[0] % 16 + 1, input.size());
    protocol->Receive(input.first(piece));
    input = input.subspan(piece);
    if (protocol->State() == wire::ControlState::NeedsPassword) protocol->SendPassword("1234");
    if (protocol->State() == wire::ControlState::Ready) protocol->Ping();
    // A piece has room for four words, and the longest answer is as many.
    Require(protocol->TakeOutput().size() < 100, "more goes out than comes in");
    RequireTexts(protocol->Handheld());
  }
}

void UseReplies(wire::MessageVersion version, ByteView input) {
  wire::WireLog log(nullptr);
  wire::RemoteCalls calls(std::make_unique<HostileReplies>(input), version, std::chrono::seconds(1), log);
  while (calls.IsUsable()) {
    Bytes out(64);
    const auto read = calls.ReadFile(1, out);
    Require(!read || *read <= out.size(), "more was read than asked for");
    calls.CreateFile("\\a", 0, 0, 0, 0);
    calls.WriteFile(1, out);
    calls.GetFileSize(1);
    calls.FindFirstFile("\\a");
    calls.CloseHandle(1);
    calls.FindClose(1);
    calls.GetVersionEx();
    const auto entries = calls.FindAllFiles("\\*");
    if (!entries) continue;
    for (const DeviceEntry& entry : *entries) Require(IsValidUtf8(entry.name), "a name is no text");
  }
  Require(calls.Error() != 0 && !calls.CloseHandle(1), "a connection came back to life");
}

}  // namespace

void UseHandheld(ByteView input) {
  if (input.empty()) return;
  const ByteView rest = input.subspan(1);
  switch (input[0] % 4) {
    case 0:
      return UseControlConnection(wire::Family::A, rest);
    case 1:
      return UseControlConnection(wire::Family::B, rest);
    case 2:
      return UseReplies(wire::MessageVersion::V1, rest);
    default:
      return UseReplies(wire::MessageVersion::V2, rest);
  }
}

void UseDesktop(ByteView input) {
  if (input.empty()) return;
  MemoryFileSystem files;
  files.Put("D:\\root\\T\\a.pdb", {1, 2, 3});
  files.Put("D:\\outside\\secret", {7});
  simulator::DeviceStore store(files, "D:\\root");
  simulator::SimulatorOptions options;
  options.version = input[0] % 2 == 0 ? wire::MessageVersion::V1 : wire::MessageVersion::V2;
  {
    simulator::DeviceCalls calls(store, options);
    Messages messages(input.subspan(1));
    while (const auto message = messages.Next()) {
      Require(calls.Answer(*message).size() <= 17U << 20, "a reply is longer than any");
    }
  }
  Require(files.Content("D:\\outside\\secret") == Bytes{7}, "a file outside was changed");
  Require(files.List("D:\\outside\\").size() == 1, "a file outside was made");
}

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
