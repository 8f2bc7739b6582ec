#include "mvtool/text/RecordJson.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "base/Utf.h"
#include "mvtool/text/ValueText.h"
#include "pdb/FieldValue.h"
#include "pdb/HandheldType.h"
#include "pdb/TableFormat.h"

namespace mv::tool {
namespace {

constexpr std::int64_t kLargestAttributes = 255;

TableFileField FieldFromJson(const Json& json) {
  json.AllowOnly({"name", "type"});
  const std::int64_t type = json.At("type").Integer(0, std::numeric_limits<std::int16_t>::max());
  return {json.At("name").Text(), static_cast<std::int32_t>(type)};
}

Value ValueOfField(const std::string& table, const TableFileField& field, const Json& json) {
  const std::optional<HandheldType> type = HandheldTypeNumbered(field.type);
  if (json.IsNull()) return type ? ZeroValueOf(*type) : Value(Null{});
  if (!type) json.Fail("a field of type " + std::to_string(field.type) + " holds nothing but null");
  const Value value =
      ValueFromJson({.type = DataTypeOf(*type), .table = table, .column = field.name, .toTheSecond = true}, json);
  const auto* const text = std::get_if<std::string>(&value);
  if (text != nullptr && text->find('\0') != std::string::npos) {
    json.Fail("a text of a table file cannot hold a zero character");
  }
  return value;
}

std::vector<Value> ZeroValues(const std::vector<TableFileField>& fields) {
  std::vector<Value> values;
  for (const TableFileField& field : fields) {
    const std::optional<HandheldType> type = HandheldTypeNumbered(field.type);
    values.push_back(type ? ZeroValueOf(*type) : Value(Null{}));
  }
  return values;
}

void AssignNamed(const Json::Member& member, const TableFileHeader& table, std::vector<Value>& values) {
  const std::vector<TableFileField>& fields = table.fields;
  const auto field = std::find_if(fields.begin(), fields.end(),
                                  [&](const TableFileField& candidate) { return candidate.name == member.name; });
  if (field == fields.end()) member.value.Fail("the table has no field \"" + member.name + "\"");
  values[static_cast<std::size_t>(field - fields.begin())] = ValueOfField(table.name, *field, member.value);
}

std::vector<Value> ValuesFromJson(const Json& json, const TableFileHeader& table) {
  const std::vector<TableFileField>& fields = table.fields;
  std::vector<Value> values = ZeroValues(fields);
  if (json.As<Json::Array>() == nullptr) {
    for (const Json::Member& member : json.Members()) AssignNamed(member, table, values);
    return values;
  }
  const Json::Array& elements = json.Elements();
  if (elements.size() != fields.size()) json.Fail(std::to_string(fields.size()) + " values are wanted here");
  for (std::size_t i = 0; i < fields.size(); ++i) values[i] = ValueOfField(table.name, fields[i], elements[i]);
  return values;
}

void ReadAttributes(const Json& json, HandheldRecord& record) {
  record.attributes = static_cast<std::uint8_t>(json.Integer(0, kLargestAttributes));
}

void ReadUniqueId(const Json& json, HandheldRecord& record) {
  record.uniqueId = static_cast<std::uint32_t>(json.Integer(0, table_format::kLargestUniqueId));
}

}  // namespace

TableFileHeader HeaderFromJson(const Json& json, const std::string& defaultName) {
  json.AllowOnly({"name", "creator", "fields"});
  TableFileHeader header;
  const Json* const name = json.Find("name");
  header.name = name == nullptr ? defaultName : name->Text();
  if (CharacterCount(header.name) > table_format::kNameWidth) {
    (name == nullptr ? json : *name).Fail("the table's name is longer than 32 characters");
  }
  header.creator = table_format::kCreator;
  if (const Json* const creator = json.Find("creator")) {
    header.creator = creator->Text();
    if (CharacterCount(header.creator) != table_format::kCreatorWidth) creator->Fail("a creator has four characters");
  }
  for (const Json& field : json.At("fields").Elements()) header.fields.push_back(FieldFromJson(field));
  return header;
}

void WriteHeader(JsonWriter& writer, const TableFileHeader& header) {
  writer.BeginObject().Name("name").Text(header.name).Name("creator").Text(header.creator).Name("fields").BeginArray();
  for (const TableFileField& field : header.fields) {
    writer.BeginObject().Name("name").Text(field.name).Name("type").Integer(field.type).EndObject();
  }
  writer.EndArray().EndObject();
}

HandheldRecord RecordFromJson(const Json& json, const TableFileHeader& table) {
  if (json.Find(kAttributesMember) != nullptr || json.Find(kUniqueIdMember) != nullptr) {
    return RecordAsShown(json, table);
  }
  json.AllowOnly({"attributes", "uniqueId", "values"});
  HandheldRecord record;
  if (const Json* const attributes = json.Find("attributes")) ReadAttributes(*attributes, record);
  if (const Json* const uniqueId = json.Find("uniqueId")) ReadUniqueId(*uniqueId, record);
  record.values = ValuesFromJson(json.At("values"), table);
  return record;
}

HandheldRecord RecordAsShown(const Json& json, const TableFileHeader& table) {
  HandheldRecord record;
  record.values = ZeroValues(table.fields);
  for (const Json::Member& member : json.Members()) {
    if (member.name == kAttributesMember) {
      ReadAttributes(member.value, record);
    } else if (member.name == kUniqueIdMember) {
      ReadUniqueId(member.value, record);
    } else {
      AssignNamed(member, table, record.values);
    }
  }
  return record;
}

}  // namespace mv::tool
