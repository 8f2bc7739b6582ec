#include <ostream>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "json/Json.h"
#include "mvtool/commands/Command.h"
#include "mvtool/files/FileKind.h"
#include "mvtool/files/OtherObjects.h"
#include "mvtool/files/PropertiesOf.h"
#include "mvtool/files/RelationList.h"
#include "mvtool/files/ToolErrors.h"
#include "mvtool/text/RecordJson.h"
#include "mvtool/text/SchemaJson.h"
#include "mvtool/text/SchemaSql.h"
#include "pdb/HandheldType.h"
#include "pdb/TableFile.h"

namespace mv::tool {
namespace {

constexpr std::string_view kSql = "--sql";
constexpr std::string_view kJson = "--json";

constexpr std::string_view kSchemaHelp =
    "  Prints what a database is made of, without its rows: tables, columns and their\n"
    "  properties, indexes and relations as the JSON that \"create\" takes. Of a table\n"
    "  file it prints the first line that \"make\" takes. Queries, linked tables and\n"
    "  relations that are not enforced are named on standard error and left out.\n"
    "    --json  as JSON; so it is without options\n"
    "    --sql   as the statements that make it, in the SQL of the Jet provider; what\n"
    "            has no place in them stands in lines that start with \"-- \"\n";

struct TableDesign {
  jet::TableSpec spec;
  jet::TableProperties properties;
};

/// What a database is made of.
struct Design {
  std::vector<TableDesign> tables;
  std::vector<jet::RelationSpec> relations;
};

Design DesignOf(jet::Database& database, std::ostream& err) {
  Design design;
  for (const jet::CatalogObject& table : UserTables(database)) {
    const jet::TableDefinition& definition = database.OpenTable(table.name).Definition();
    design.tables.push_back({SpecOf(definition), PropertiesOf(database, definition, err)});
  }
  ReportOtherObjects(database, OtherObjects::RowSources, "not in the schema:", err);
  for (ListedRelation& relation : RelationsOf(database)) {
    if (relation.enforced) {
      design.relations.push_back(std::move(relation.design));
    } else {
      err << "mvtool: not in the schema: relation \"" << relation.design.name << "\", which is not enforced\n";
    }
  }
  return design;
}

void PrintJson(const Design& design, std::ostream& out) {
  const char* separator = "\n";
  JsonWriter writer;
  out << "{\"tables\":[";
  for (const TableDesign& table : design.tables) {
    writer.Clear();
    WriteTableSpec(writer, table.spec, table.properties);
    out << separator << writer.Result();
    separator = ",\n";
  }
  out << "],\n\"relations\":[";
  separator = "\n";
  for (const jet::RelationSpec& relation : design.relations) {
    writer.Clear();
    WriteRelationSpec(writer, relation);
    out << separator << writer.Result();
    separator = ",\n";
  }
  out << "]}\n";
}

void PrintSql(const Design& design, std::ostream& out) {
  for (const TableDesign& table : design.tables) out << SqlOf(table.spec, table.properties);
  for (const jet::RelationSpec& relation : design.relations) out << SqlOf(relation);
}

/// The column that takes a field's values; texts of the handheld have no length.
jet::ColumnSpec ColumnOf(const TableFileField& field) {
  using jet::ColumnType;
  jet::ColumnSpec column;
  column.name = field.name;
  const std::optional<HandheldType> type = HandheldTypeNumbered(field.type);
  if (!type) throw Failure("field \"" + field.name + "\" is of a type that no database has");
  switch (*type) {
    case HandheldType::Byte:
      column.type = ColumnType::Byte;
      break;
    case HandheldType::Integer:
      column.type = ColumnType::Integer;
      break;
    case HandheldType::Long:
      column.type = ColumnType::Long;
      break;
    case HandheldType::Single:
      column.type = ColumnType::Single;
      break;
    case HandheldType::Text:
      column.type = ColumnType::Memo;
      break;
    case HandheldType::Boolean:
      column.type = ColumnType::Boolean;
      break;
    case HandheldType::Date:
      column.type = ColumnType::DateTime;
      break;
    case HandheldType::Double:
      column.type = ColumnType::Double;
      break;
    case HandheldType::Currency:
      column.type = ColumnType::Currency;
      break;
  }
  return column;
}

void PrintTableFile(const TableFileHeader& header, bool sql, std::ostream& out) {
  if (!sql) {
    JsonWriter writer;
    WriteHeader(writer, header);
    out << writer.Result() << '\n';
    return;
  }
  jet::TableSpec table;
  table.name = header.name;
  for (const TableFileField& field : header.fields) table.columns.push_back(ColumnOf(field));
  out << SqlOf(table);
}

void ShowSchema(const Arguments& arguments, ToolContext& context) {
  const bool sql = arguments.Has(kSql);
  if (sql && arguments.Has(kJson)) throw UsageError("--sql and --json exclude each other");
  const std::string& path = arguments.Operand(0);
  if (KindOf(context.files, path) == FileKind::TableFile) {
    return PrintTableFile(TableFileReader(context.files, path).Header(), sql, context.out);
  }
  const auto database = jet::Database::Open(context.files, path, jet::PageFile::Mode::ReadOnly);
  const Design design = DesignOf(*database, context.err);
  sql ? PrintSql(design, context.out) : PrintJson(design, context.out);
}

}  // namespace

Command SchemaCommand() {
  return {
      .name = "schema",
      .group = CommandGroup::Files,
      .summary = "prints tables, indexes, relations as JSON or SQL",
      .help = kSchemaHelp,
      .rules = {.synopsis = "mvtool schema FILE [--json | --sql]",
                .leastOperands = 1,
                .mostOperands = 1,
                .switches = {kJson, kSql},
                .settings = {},
                .operands = {Operand::File}},
      .run = &ShowSchema,
  };
}

}  // namespace mv::tool
