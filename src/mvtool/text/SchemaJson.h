#pragma once

#include <string_view>
#include <vector>

#include "jet/Database.h"
#include "jet/definition/Properties.h"
#include "json/Json.h"
#include "recordset/Value.h"

namespace mv::tool {

/// Database schemas as JSON:
///
///   {"tables":[{"name":"Shop",
///               "columns":[{"name":"KY_ID","type":"Text","size":20,"compressed":true,"required":true}, ...],
///               "indexes":[{"name":"PrimaryKey","columns":["KY_ID",{"name":"X","descending":true}],
///                           "primary":true,"unique":true,"required":true,"ignoreNulls":true}, ...],
///               "rows":[{"KY_ID":"a1", ...}, ...]}, ...],
///    "relations":[{"name":"ShopVisit","table":"Visit","columns":["KY_SHOP"],
///                  "references":"Shop","referencedColumns":["KY_ID"],
///                  "onUpdate":"cascade","onDelete":"cascade"}, ...]}
///
/// Column types: Boolean, Byte, Integer, Long, Currency, Single, Double, DateTime, Binary, Text, Ole, Memo, Guid,
/// Decimal. "size" (characters of Text, bytes of Binary) is required for these two; "compressed" (Text, Memo) is true
/// when absent; "autonumber" (Long), "precision" and "scale" (Decimal) are optional. A primary index is unique and
/// required whether it says so or not. "indexes" and "rows" are optional; members that a row leaves out are null.
///
/// Properties, all optional. Of a column: "required" (true: no null), "allowZeroLength" (Text, Memo; false: no empty
/// text), "defaultValue" and "validationRule" (expressions, see jet/rules/Expression.h), "validationText" (what is said
/// when the rule is broken), "description", "caption", "format". Of a table: "validationRule", "validationText",
/// "description". They are written where they differ from what holds without them.
///
/// "relations" is optional, and so are its "onUpdate" ("cascade") and "onDelete" ("cascade", "setNull"): without them a
/// row that others refer to cannot be changed that way.

/// One row of a schema with its place, for messages about it.
struct SchemaRow {
  JsonPosition position;
  std::vector<Value> values;  ///< by position of the columns
};

struct SchemaTable {
  jet::TableSpec design;
  std::vector<SchemaRow> rows;
};

struct SchemaRelation {
  JsonPosition position;
  jet::RelationSpec design;
};

struct Schema {
  std::vector<SchemaTable> tables;
  std::vector<SchemaRelation> relations;
};

/// Throws Failure with line and column for anything that is not of the form above.
Schema SchemaFromJson(const Json& schema);

/// One table's object of the form above, without rows. The properties are those given here, not the list in `table`.
void WriteTableSpec(JsonWriter& writer, const jet::TableSpec& table, const jet::TableProperties& properties = {});

/// One relation's object of the form above.
void WriteRelationSpec(JsonWriter& writer, const jet::RelationSpec& relation);

/// The design that makes a table like an existing one. Indexes that belong to relations are left out.
jet::TableSpec SpecOf(const jet::TableDefinition& definition);

}  // namespace mv::tool
