#include "history/RunRecord.h"

#include <algorithm>
#include <array>
#include <limits>

#include "json/Json.h"

namespace mv::history {
namespace {

constexpr std::array<std::string_view, 6> kStates = {"notRetrieved", "retrieved", "merged",
                                                     "notReturned",  "returned",  "held"};

std::int64_t IntegerOf(const Json& json) {
  return json.Integer(std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max());
}

// --- Writing --------------------------------------------------------------------------------------------------------

void WriteTexts(JsonWriter& writer, std::string_view name, const std::vector<std::string>& texts) {
  writer.Name(name).BeginArray();
  for (const std::string& text : texts) writer.Text(text);
  writer.EndArray();
}

void WriteOptional(JsonWriter& writer, std::string_view name, const std::string& text) {
  writer.Name(name);
  text.empty() ? writer.Null() : writer.Text(text);
}

void WriteTable(JsonWriter& writer, const TableRecord& table) {
  writer.BeginObject().Name("table").Text(table.table);
  writer.Name("state").Text(kStates[static_cast<std::size_t>(table.state)]).Name("code").Integer(table.code);
  WriteSide(writer, "desktop", table.desktop);
  WriteSide(writer, "handheld", table.handheld);
  writer.Name("dropped").Integer(table.dropped).Name("overruled").Integer(table.overruled).EndObject();
}

void WriteKept(JsonWriter& writer, const RunRecord& record) {
  writer.Name("database").BeginObject().Name("path").Text(record.databasePath);
  if (record.kept) {
    writer.Name("kept").Text(record.kept->name);
    writer.Name("bytes").Integer(static_cast<std::int64_t>(record.kept->facts.bytes));
    writer.Name("modified").Integer(record.kept->facts.modified);
  }
  writer.EndObject();
}

void WriteRestore(JsonWriter& writer, const RestoreRecord& restore) {
  writer.Name("restore").BeginObject().Name("of").Text(restore.of).Name("desktop").Boolean(restore.desktop);
  WriteTexts(writer, "tables", restore.tables);
  writer.Name("desktopDone").Boolean(restore.desktopDone);
  WriteTexts(writer, "tablesDone", restore.tablesDone);
  writer.EndObject();
}

// --- Reading --------------------------------------------------------------------------------------------------------

/// Calls `take` for the member called `name` when there is one that is not null.
template <typename Take>
void WithMember(const Json& json, std::string_view name, Take take) {
  const Json* const member = json.Find(name);
  if (member != nullptr && !member->IsNull()) take(*member);
}

void ReadText(const Json& json, std::string_view name, std::string& text) {
  WithMember(json, name, [&](const Json& member) { text = member.Text(); });
}
void ReadFlag(const Json& json, std::string_view name, bool& flag) {
  WithMember(json, name, [&](const Json& member) { flag = member.Boolean(); });
}
void ReadCount(const Json& json, std::string_view name, std::int64_t& count) {
  WithMember(json, name, [&](const Json& member) { count = IntegerOf(member); });
}
void ReadTexts(const Json& json, std::string_view name, std::vector<std::string>& texts) {
  WithMember(json, name, [&](const Json& member) {
    for (const Json& text : member.Elements()) texts.push_back(text.Text());
  });
}

void ReadSide(const Json& json, std::string_view name, SideCounts& side) {
  WithMember(json, name, [&](const Json& member) {
    ReadCount(member, "before", side.before);
    ReadCount(member, "after", side.after);
    ReadCount(member, "added", side.added);
    ReadCount(member, "changed", side.changed);
    ReadCount(member, "deleted", side.deleted);
  });
}

TableState StateFromJson(const Json& json) {
  const auto state = std::find(kStates.begin(), kStates.end(), json.Text());
  if (state == kStates.end()) json.Fail("the state of a table is wanted here");
  return static_cast<TableState>(state - kStates.begin());
}

TableRecord TableFromJson(const Json& json) {
  TableRecord table;
  table.table = json.At("table").Text();
  table.state = StateFromJson(json.At("state"));
  std::int64_t code = 0;
  ReadCount(json, "code", code);
  table.code = static_cast<std::int32_t>(code);
  ReadSide(json, "desktop", table.desktop);
  ReadSide(json, "handheld", table.handheld);
  ReadCount(json, "dropped", table.dropped);
  ReadCount(json, "overruled", table.overruled);
  return table;
}

void ReadDatabase(const Json& json, RunRecord& record) {
  WithMember(json, "database", [&](const Json& database) {
    ReadText(database, "path", record.databasePath);
    WithMember(database, "kept", [&](const Json& name) {
      record.kept.emplace();
      record.kept->name = name.Text();
      record.kept->facts.bytes = static_cast<std::uint64_t>(IntegerOf(database.At("bytes")));
      record.kept->facts.modified = IntegerOf(database.At("modified"));
    });
  });
}

RestoreRecord RestoreFromJson(const Json& json) {
  RestoreRecord restore;
  ReadText(json, "of", restore.of);
  ReadFlag(json, "desktop", restore.desktop);
  ReadTexts(json, "tables", restore.tables);
  ReadFlag(json, "desktopDone", restore.desktopDone);
  ReadTexts(json, "tablesDone", restore.tablesDone);
  return restore;
}

template <typename Tables>
auto FindIn(Tables& tables, std::string_view name) {
  const auto found = std::find_if(tables.begin(), tables.end(), [&](const auto& t) { return t.table == name; });
  return found == tables.end() ? nullptr : &*found;
}

}  // namespace

TableRecord* RunRecord::Find(std::string_view table) {
  return FindIn(tables, table);
}

const TableRecord* RunRecord::Find(std::string_view table) const {
  return FindIn(tables, table);
}

void WriteSide(JsonWriter& writer, std::string_view name, const SideCounts& side) {
  writer.Name(name).BeginObject();
  writer.Name("before").Integer(side.before).Name("after").Integer(side.after);
  writer.Name("added").Integer(side.added).Name("changed").Integer(side.changed).Name("deleted").Integer(side.deleted);
  writer.EndObject();
}

std::string TextOf(const RunRecord& record) {
  JsonWriter writer;
  writer.BeginObject().Name("version").Text(record.version);
  writer.Name("mode").Integer(record.mode).Name("modeName").Text(record.modeName);
  writer.Name("began").Text(record.began);
  WriteOptional(writer, "ended", record.ended);
  writer.Name("status");
  record.status ? writer.Integer(*record.status) : writer.Null();
  WriteOptional(writer, "error", record.error);
  WriteKept(writer, record);
  WriteTexts(writer, "unfilled", record.unfilled);
  writer.Name("settings").BeginObject();
  for (const auto& [name, value] : record.settings) writer.Name(name).Text(value);
  writer.EndObject();
  writer.Name("tables").BeginArray();
  for (const TableRecord& table : record.tables) WriteTable(writer, table);
  writer.EndArray();
  WriteTexts(writer, "warnings", record.warnings);
  if (record.restore) WriteRestore(writer, *record.restore);
  return writer.EndObject().Result() + '\n';
}

RunRecord RecordFromText(std::string_view text) {
  const Json json = ParseJson(text);
  RunRecord record;
  ReadText(json, "version", record.version);
  WithMember(json, "mode", [&](const Json& mode) {
    using Limits = std::numeric_limits<std::int16_t>;
    record.mode = static_cast<std::int16_t>(mode.Integer(Limits::min(), Limits::max()));
  });
  ReadText(json, "modeName", record.modeName);
  ReadText(json, "began", record.began);
  ReadText(json, "ended", record.ended);
  WithMember(json, "status", [&](const Json& status) { record.status = static_cast<int>(status.Integer(0, 255)); });
  ReadText(json, "error", record.error);
  ReadDatabase(json, record);
  ReadTexts(json, "unfilled", record.unfilled);
  WithMember(json, "settings", [&](const Json& settings) {
    for (const Json::Member& setting : settings.Members()) {
      record.settings.emplace_back(setting.name, setting.value.Text());
    }
  });
  WithMember(json, "tables", [&](const Json& tables) {
    for (const Json& table : tables.Elements()) record.tables.push_back(TableFromJson(table));
  });
  ReadTexts(json, "warnings", record.warnings);
  WithMember(json, "restore", [&](const Json& restore) { record.restore = RestoreFromJson(restore); });
  return record;
}

}  // namespace mv::history
