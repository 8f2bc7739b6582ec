#include "history/Change.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/Utf.h"
#include "json/ValueJson.h"

namespace mv::history {
namespace {

constexpr std::string_view kWhat = "what";
constexpr std::string_view kBefore = "before";
constexpr std::string_view kAfter = "after";
constexpr std::array<std::string_view, 5> kWhats = {"added", "changed", "deleted", "dropped", "overruled"};
constexpr std::array<std::string_view, 2> kSides = {"desktop", "handheld"};
constexpr std::array<std::string_view, 2> kShownSides = {"PC", "handheld"};

template <typename Enum, std::size_t kCount>
Enum Named(const Json& json, const std::array<std::string_view, kCount>& names) {
  const auto name = std::find(names.begin(), names.end(), json.Text());
  if (name == names.end()) json.Fail("one of the known words is wanted here");
  return static_cast<Enum>(name - names.begin());
}

/// The text of a value that was read from JSON, as JSON has it.
void Append(JsonWriter& writer, const Json& json) {
  if (json.IsNull()) {
    writer.Null();
  } else if (const bool* flag = json.As<bool>()) {
    writer.Boolean(*flag);
  } else if (const auto* number = json.As<JsonNumber>()) {
    writer.Number(number->text);
  } else {
    writer.Text(json.Text());
  }
}

std::string RowFromJson(const Json& json) {
  if (json.IsNull()) return {};
  JsonWriter writer;
  writer.BeginObject();
  for (const Json::Member& member : json.Members()) {
    writer.Name(member.name);
    Append(writer, member.value);
  }
  return writer.EndObject().Result();
}

/// A value as its line shows it: long ones are cut.
std::string Shown(const std::string& value) {
  constexpr std::size_t kMostShown = 60;
  std::string start = FirstCharacters(value, kMostShown);
  return start.size() == value.size() ? start : start + "...";
}

/// Each name in `fields` once; a name is a text or a JsonName.
template <typename Name>
void WriteObject(JsonWriter& writer, const std::vector<Name>& fields, const std::vector<Value>& row) {
  writer.BeginObject();
  for (std::size_t i = 0; i < std::min(fields.size(), row.size()); ++i) {
    writer.Name(fields[i]);
    WriteJsonValue(writer, row[i]);
  }
  writer.EndObject();
}

/// What a line begins with, up to the word for what happened.
void WriteHead(JsonWriter& writer, std::string_view table, std::string_view key, Side side) {
  writer.BeginObject().Name("table").Text(table).Name("key").Text(key).Name("side").Text(NameOf(side));
}

std::string TextOf(const Json& value) {
  JsonWriter writer;
  Append(writer, value);
  return writer.Result();
}

}  // namespace

std::string_view NameOf(What what) {
  return kWhats[static_cast<std::size_t>(what)];
}

std::string_view NameOf(Side side) {
  return kSides[static_cast<std::size_t>(side)];
}

bool IsLoss(What what) {
  return what == What::Dropped || what == What::Overruled;
}

std::string ObjectOf(const std::vector<std::string>& fields, const std::vector<Value>& row) {
  JsonWriter writer;
  WriteObject(writer, fields, row);
  return writer.Result();
}

std::string JsonLineOf(const Change& change) {
  JsonWriter writer;
  WriteHead(writer, change.table, change.key, change.side);
  writer.Name(kWhat).Text(NameOf(change.what));
  writer.Name(kBefore).Number(change.before.empty() ? "null" : change.before);
  writer.Name(kAfter).Number(change.after.empty() ? "null" : change.after);
  return writer.EndObject().Result();
}

const std::string& ChangeLines::LineOf(std::string_view table, std::string_view key, Side side, What what,
                                       const std::vector<JsonName>& fields, const Row* before, const Row* after) {
  writer_.Clear();
  WriteHead(writer_, table, key, side);
  const std::string_view word = NameOf(what);
  writer_.Name(kWhat).Text(word);
  whatEnd_ = writer_.Result().size() - 1;
  whatAt_ = whatEnd_ - word.size();
  writer_.Name(kBefore);
  WriteRow(fields, before);
  writer_.Name(kAfter);
  WriteRow(fields, after);
  return writer_.EndObject().EndLine().Result();
}

const std::string& ChangeLines::SameLineWith(What what) {
  const std::string& line = writer_.Result();
  other_.assign(line, 0, whatAt_).append(NameOf(what)).append(line, whatEnd_);
  return other_;
}

void ChangeLines::WriteRow(const std::vector<JsonName>& fields, const Row* row) {
  if (row == nullptr) {
    writer_.Null();
  } else {
    WriteObject(writer_, fields, *row);
  }
}

Change ChangeFromJson(const Json& json) {
  Change change;
  change.table = json.At("table").Text();
  change.key = json.At("key").Text();
  change.side = Named<Side>(json.At("side"), kSides);
  change.what = Named<What>(json.At(kWhat), kWhats);
  change.before = RowFromJson(json.At(kBefore));
  change.after = RowFromJson(json.At(kAfter));
  return change;
}

std::string DifferenceOf(const Change& change) {
  const Json before = ParseJson(change.before.empty() ? "{}" : change.before);
  const Json after = ParseJson(change.after.empty() ? "{}" : change.after);
  std::string text;
  const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (change.before.empty() || change.after.empty()) {
    for (const Json::Member& field : (change.after.empty() ? before : after).Members()) {
      add(field.name + " " + Shown(TextOf(field.value)));
    }
    return text;
  }
  for (const Json::Member& field : before.Members()) {
    const Json* const now = after.Find(field.name);
    if (now == nullptr || TextOf(*now) == TextOf(field.value)) continue;
    add(field.name + " " + Shown(TextOf(field.value)) + " -> " + Shown(TextOf(*now)));
  }
  return text;
}

std::string LineOf(const Change& change) {
  return change.table + " " + change.key + ": " + std::string(NameOf(change.what)) + " on the " +
         std::string(kShownSides[static_cast<std::size_t>(change.side)]) + ": " + DifferenceOf(change);
}

std::string SummaryOf(std::string_view name, const SideCounts& side) {
  return std::string(name) + " +" + std::to_string(side.added) + " ~" + std::to_string(side.changed) + " -" +
         std::to_string(side.deleted);
}

std::string SummaryOf(const TableRecord& table) {
  return table.table + ": " + SummaryOf("PC", table.desktop) + ", " + SummaryOf("handheld", table.handheld) +
         ", dropped " + std::to_string(table.dropped) + ", overruled " + std::to_string(table.overruled);
}

}  // namespace mv::history
