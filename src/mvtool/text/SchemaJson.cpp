#include "mvtool/text/SchemaJson.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "mvtool/files/ColumnTypes.h"
#include "mvtool/text/ValueText.h"

namespace mv::tool {
namespace {

using jet::ColumnSpec;
using jet::ColumnType;
using jet::IndexSpec;
using jet::TableSpec;

constexpr std::int64_t kMostTextCharacters = 255;
constexpr std::int64_t kMostBinaryBytes = 510;
constexpr std::int64_t kMostPrecision = 28;

bool BooleanMember(const Json& object, std::string_view name, bool otherwise) {
  const Json* const value = object.Find(name);
  return value == nullptr ? otherwise : value->Boolean();
}

ColumnType TypeFromJson(const Json& json) {
  const std::optional<ColumnType> type = ColumnTypeNamed(json.Text());
  if (!type) json.Fail("unknown column type \"" + json.Text() + "\"");
  return *type;
}

/// A member that only columns of some types have; nullptr when it is absent. Fails when it is there and `belongs` is
/// false.
const Json* TypeMember(const Json& column, std::string_view name, bool belongs) {
  const Json* const value = column.Find(name);
  if (value != nullptr && !belongs) value->Fail("a column of this type has no \"" + std::string(name) + "\"");
  return value;
}

ColumnSpec ColumnFromJson(const Json& json) {
  json.AllowOnly({"name", "type", "size", "compressed", "autonumber", "precision", "scale", "required",
                  "allowZeroLength", "defaultValue", "validationRule", "validationText", "description", "caption",
                  "format"});
  ColumnSpec column;
  column.name = json.At("name").Text();
  column.type = TypeFromJson(json.At("type"));
  const bool isText = column.type == ColumnType::Text;
  const bool isDecimal = column.type == ColumnType::Decimal;
  const bool hasSize = isText || column.type == ColumnType::Binary;
  if (hasSize) json.At("size");
  if (const Json* const size = TypeMember(json, "size", hasSize)) {
    column.characters = static_cast<std::uint16_t>(size->Integer(1, isText ? kMostTextCharacters : kMostBinaryBytes));
  }
  if (const Json* const compressed = TypeMember(json, "compressed", isText || column.type == ColumnType::Memo)) {
    column.compressed = compressed->Boolean();
  }
  if (const Json* const autonumber = TypeMember(json, "autonumber", column.type == ColumnType::Long)) {
    column.autonumber = autonumber->Boolean();
  }
  if (const Json* const precision = TypeMember(json, "precision", isDecimal)) {
    column.precision = static_cast<std::uint8_t>(precision->Integer(1, kMostPrecision));
  }
  if (const Json* const scale = TypeMember(json, "scale", isDecimal)) {
    column.scale = static_cast<std::uint8_t>(scale->Integer(0, kMostPrecision));
  }
  return column;
}

std::string TextMember(const Json& object, std::string_view name) {
  const Json* const value = object.Find(name);
  return value == nullptr ? std::string() : value->Text();
}

jet::ColumnRules RulesFromJson(const Json& column, ColumnType type) {
  const bool isText = type == ColumnType::Text || type == ColumnType::Memo;
  const Json* const zeroLength = TypeMember(column, "allowZeroLength", isText);
  return {.required = BooleanMember(column, "required", false),
          .allowZeroLength = zeroLength == nullptr || zeroLength->Boolean(),
          .defaultValue = TextMember(column, "defaultValue"),
          .validationRule = TextMember(column, "validationRule"),
          .validationText = TextMember(column, "validationText")};
}

jet::DisplayTexts TextsOf(const Json& object) {
  return {.description = TextMember(object, "description"),
          .caption = TextMember(object, "caption"),
          .format = TextMember(object, "format")};
}

/// The property list of a table whose columns are read already.
Bytes PropertyListFromJson(const Json& table, const std::vector<ColumnSpec>& columns) {
  jet::TableProperties properties;
  properties.rules.validationRule = TextMember(table, "validationRule");
  properties.rules.validationText = TextMember(table, "validationText");
  properties.texts = TextsOf(table);
  std::vector<std::string> names;
  for (const Json& column : table.At("columns").Elements()) {
    const ColumnSpec& design = columns[names.size()];
    names.push_back(design.name);
    properties.rules.columns.push_back(RulesFromJson(column, design.type));
    properties.columns.push_back(TextsOf(column));
  }
  return jet::ListFromProperties(properties, names);
}

std::optional<std::size_t> ColumnNamed(const TableSpec& table, std::string_view name) {
  const auto found = std::find_if(table.columns.begin(), table.columns.end(),
                                  [&](const ColumnSpec& column) { return column.name == name; });
  if (found == table.columns.end()) return std::nullopt;
  return static_cast<std::size_t>(found - table.columns.begin());
}

IndexSpec::KeyColumn KeyColumnFromJson(const TableSpec& table, const Json& json) {
  IndexSpec::KeyColumn key;
  const Json* name = &json;
  if (json.As<Json::Object>() != nullptr) {
    json.AllowOnly({"name", "descending"});
    name = &json.At("name");
    key.ascending = !BooleanMember(json, "descending", false);
  }
  key.column = name->Text();
  if (!ColumnNamed(table, key.column)) name->Fail("the table has no column \"" + key.column + "\"");
  return key;
}

IndexSpec IndexFromJson(const TableSpec& table, const Json& json) {
  json.AllowOnly({"name", "columns", "primary", "unique", "required", "ignoreNulls"});
  IndexSpec index;
  index.name = json.At("name").Text();
  for (const Json& column : json.At("columns").Elements()) index.columns.push_back(KeyColumnFromJson(table, column));
  index.primaryKey = BooleanMember(json, "primary", false);
  index.unique = BooleanMember(json, "unique", false) || index.primaryKey;
  index.required = BooleanMember(json, "required", false) || index.primaryKey;
  index.ignoreNulls = BooleanMember(json, "ignoreNulls", false);
  return index;
}

SchemaRow RowFromJson(const TableSpec& table, const Json& json) {
  SchemaRow row{json.Position(), std::vector<Value>(table.columns.size())};
  for (const Json::Member& member : json.Members()) {
    const std::optional<std::size_t> position = ColumnNamed(table, member.name);
    if (!position) member.value.Fail("the table has no column \"" + member.name + "\"");
    const ColumnSpec& column = table.columns[*position];
    row.values[*position] =
        ValueFromJson({DataTypeOf(column.type), table.name, column.name, column.precision, column.scale}, member.value);
  }
  return row;
}

SchemaTable TableFromJson(const Json& json) {
  json.AllowOnly({"name", "columns", "indexes", "rows", "validationRule", "validationText", "description"});
  SchemaTable table;
  table.design.name = json.At("name").Text();
  for (const Json& column : json.At("columns").Elements()) table.design.columns.push_back(ColumnFromJson(column));
  table.design.properties = PropertyListFromJson(json, table.design.columns);
  if (const Json* const indexes = json.Find("indexes")) {
    for (const Json& index : indexes->Elements()) table.design.indexes.push_back(IndexFromJson(table.design, index));
  }
  if (const Json* const rows = json.Find("rows")) {
    for (const Json& row : rows->Elements()) table.rows.push_back(RowFromJson(table.design, row));
  }
  return table;
}

std::vector<std::string> TextsFromJson(const Json& json) {
  std::vector<std::string> texts;
  for (const Json& element : json.Elements()) texts.push_back(element.Text());
  return texts;
}

SchemaRelation RelationFromJson(const Json& json) {
  using OnDelete = jet::RelationSpec::OnDelete;
  json.AllowOnly({"name", "table", "columns", "references", "referencedColumns", "onUpdate", "onDelete"});
  SchemaRelation relation{json.Position(), {}};
  relation.design.name = json.At("name").Text();
  relation.design.table = json.At("table").Text();
  relation.design.columns = TextsFromJson(json.At("columns"));
  relation.design.references = json.At("references").Text();
  relation.design.referencedColumns = TextsFromJson(json.At("referencedColumns"));
  if (const Json* const onUpdate = json.Find("onUpdate")) {
    if (onUpdate->Text() != "cascade") onUpdate->Fail("\"onUpdate\" can only be \"cascade\"");
    relation.design.cascadeUpdate = true;
  }
  if (const Json* const onDelete = json.Find("onDelete")) {
    const bool isCascade = onDelete->Text() == "cascade";
    if (!isCascade && onDelete->Text() != "setNull") {
      onDelete->Fail("\"onDelete\" can only be \"cascade\" or \"setNull\"");
    }
    relation.design.onDelete = isCascade ? OnDelete::Cascade : OnDelete::SetNull;
  }
  return relation;
}

void WriteTexts(JsonWriter& writer, const std::vector<std::string>& texts) {
  writer.BeginArray();
  for (const std::string& text : texts) writer.Text(text);
  writer.EndArray();
}

void WriteText(JsonWriter& writer, std::string_view name, const std::string& text) {
  if (!text.empty()) writer.Name(name).Text(text);
}

void WriteRules(JsonWriter& writer, const jet::ColumnRules& rules) {
  if (rules.required) writer.Name("required").Boolean(true);
  if (!rules.allowZeroLength) writer.Name("allowZeroLength").Boolean(false);
  WriteText(writer, "defaultValue", rules.defaultValue);
  WriteText(writer, "validationRule", rules.validationRule);
  WriteText(writer, "validationText", rules.validationText);
}

void WriteTexts(JsonWriter& writer, const jet::DisplayTexts& texts) {
  WriteText(writer, "description", texts.description);
  WriteText(writer, "caption", texts.caption);
  WriteText(writer, "format", texts.format);
}

void WriteColumn(JsonWriter& writer, const ColumnSpec& column, const jet::ColumnRules& rules,
                 const jet::DisplayTexts& texts) {
  writer.BeginObject().Name("name").Text(column.name).Name("type").Text(NameOf(column.type));
  if (column.type == ColumnType::Text || column.type == ColumnType::Binary) {
    writer.Name("size").Integer(column.characters);
  }
  if (column.type == ColumnType::Text || column.type == ColumnType::Memo) {
    writer.Name("compressed").Boolean(column.compressed);
  }
  if (column.autonumber) writer.Name("autonumber").Boolean(true);
  if (column.type == ColumnType::Decimal) {
    writer.Name("precision").Integer(column.precision).Name("scale").Integer(column.scale);
  }
  WriteRules(writer, rules);
  WriteTexts(writer, texts);
  writer.EndObject();
}

void WriteIndex(JsonWriter& writer, const IndexSpec& index) {
  writer.BeginObject().Name("name").Text(index.name).Name("columns").BeginArray();
  for (const IndexSpec::KeyColumn& key : index.columns) {
    if (key.ascending) {
      writer.Text(key.column);
    } else {
      writer.BeginObject().Name("name").Text(key.column).Name("descending").Boolean(true).EndObject();
    }
  }
  writer.EndArray();
  if (index.primaryKey) writer.Name("primary").Boolean(true);
  if (index.unique) writer.Name("unique").Boolean(true);
  if (index.required) writer.Name("required").Boolean(true);
  if (index.ignoreNulls) writer.Name("ignoreNulls").Boolean(true);
  writer.EndObject();
}

ColumnSpec SpecOf(const jet::Column& column) {
  ColumnSpec design;
  design.name = column.name;
  design.type = column.type;
  const bool isText = column.type == ColumnType::Text;
  if (isText || column.type == ColumnType::Binary) {
    design.characters = static_cast<std::uint16_t>(isText ? column.length / 2 : column.length);
  }
  design.compressed = column.IsCompressed();
  design.autonumber = column.IsAutonumber() && column.type == ColumnType::Long;
  design.hyperlink = column.IsHyperlink() && column.type == ColumnType::Memo;
  design.guidAutonumber = column.IsGuidAutonumber() && column.type == ColumnType::Guid;
  design.precision = column.precision;
  design.scale = column.scale;
  return design;
}

IndexSpec SpecOf(const jet::TableDefinition& definition, const jet::LogicalIndex& index) {
  IndexSpec design;
  design.name = index.name;
  design.primaryKey = index.kind == jet::LogicalIndex::Kind::PrimaryKey;
  const jet::IndexData& data = definition.indexData.at(index.dataNumber);
  for (const jet::IndexData::KeyColumn& key : data.columns) {
    const jet::Column* const column = definition.ColumnById(key.columnId);
    design.columns.push_back({column == nullptr ? std::string() : column->name, key.ascending});
  }
  design.unique = data.IsUnique();
  design.ignoreNulls = data.IgnoresNulls();
  design.required = data.IsRequired();
  return design;
}

}  // namespace

Schema SchemaFromJson(const Json& json) {
  json.AllowOnly({"tables", "relations"});
  Schema schema;
  for (const Json& table : json.At("tables").Elements()) schema.tables.push_back(TableFromJson(table));
  if (const Json* const relations = json.Find("relations")) {
    for (const Json& relation : relations->Elements()) schema.relations.push_back(RelationFromJson(relation));
  }
  return schema;
}

void WriteTableSpec(JsonWriter& writer, const TableSpec& table, const jet::TableProperties& properties) {
  writer.BeginObject().Name("name").Text(table.name);
  WriteText(writer, "validationRule", properties.rules.validationRule);
  WriteText(writer, "validationText", properties.rules.validationText);
  WriteText(writer, "description", properties.texts.description);
  writer.Name("columns").BeginArray();
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    WriteColumn(writer, table.columns[i], properties.RulesOf(i), properties.TextsOf(i));
  }
  writer.EndArray().Name("indexes").BeginArray();
  for (const IndexSpec& index : table.indexes) WriteIndex(writer, index);
  writer.EndArray().EndObject();
}

void WriteRelationSpec(JsonWriter& writer, const jet::RelationSpec& relation) {
  using OnDelete = jet::RelationSpec::OnDelete;
  writer.BeginObject().Name("name").Text(relation.name).Name("table").Text(relation.table);
  WriteTexts(writer.Name("columns"), relation.columns);
  writer.Name("references").Text(relation.references);
  WriteTexts(writer.Name("referencedColumns"), relation.referencedColumns);
  if (relation.cascadeUpdate) writer.Name("onUpdate").Text("cascade");
  if (relation.onDelete == OnDelete::Cascade) writer.Name("onDelete").Text("cascade");
  if (relation.onDelete == OnDelete::SetNull) writer.Name("onDelete").Text("setNull");
  writer.EndObject();
}

TableSpec SpecOf(const jet::TableDefinition& definition) {
  TableSpec table;
  table.name = definition.name;
  for (const jet::Column& column : definition.columns) table.columns.push_back(SpecOf(column));
  for (const jet::LogicalIndex& index : definition.indexes) {
    if (index.kind != jet::LogicalIndex::Kind::Relation) table.indexes.push_back(SpecOf(definition, index));
  }
  return table;
}

}  // namespace mv::tool
