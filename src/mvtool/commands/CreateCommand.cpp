#include <utility>

#include "base/Error.h"
#include "jet/Database.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/Overwriting.h"
#include "mvtool/files/ToolErrors.h"
#include "mvtool/text/SchemaJson.h"

namespace mv::tool {
namespace {

constexpr std::string_view kCreateHelp =
    "  Makes a database of the tables that a JSON schema describes:\n"
    "    {\"tables\":[{\"name\":\"Shop\",\n"
    "      \"columns\":[{\"name\":\"KY_ID\",\"type\":\"Text\",\"size\":20},\n"
    "                 {\"name\":\"CU_COST\",\"type\":\"Currency\"}],\n"
    "      \"indexes\":[{\"name\":\"PrimaryKey\",\"columns\":[\"KY_ID\"],\"primary\":true}],\n"
    "      \"rows\":[{\"KY_ID\":\"a1\",\"CU_COST\":\"12.5000\"}]}],\n"
    "     \"relations\":[{\"name\":\"ShopVisit\",\"table\":\"Visit\",\"columns\":[\"KY_SHOP\"],\n"
    "      \"references\":\"Shop\",\"referencedColumns\":[\"KY_ID\"],\n"
    "      \"onUpdate\":\"cascade\",\"onDelete\":\"cascade\"}]}\n"
    "  Types: Boolean Byte Integer Long Currency Single Double DateTime Binary Text\n"
    "  Ole Memo Guid Decimal. Text and Binary need \"size\"; \"compressed\" (Text, Memo)\n"
    "  is true unless false is given; \"autonumber\" goes with Long, \"precision\" and\n"
    "  \"scale\" go with Decimal. An index may be \"primary\", \"unique\", \"required\",\n"
    "  \"ignoreNulls\"; a column of it may be {\"name\":\"X\",\"descending\":true}. Indexes\n"
    "  and rows may be left out; values are written as \"show\" prints them.\n"
    "  A column may have \"required\", \"allowZeroLength\", \"defaultValue\",\n"
    "  \"validationRule\", \"validationText\", \"description\", \"caption\" and \"format\",\n"
    "  a table \"validationRule\", \"validationText\" and \"description\".\n"
    "  Relations may be left out, and so may their \"onUpdate\" and \"onDelete\" (which\n"
    "  may be \"setNull\", too).\n"
    "    --force  replaces an existing file\n";

Schema ReadSchema(platform::FileSystem& files, const std::string& path) {
  try {
    const Bytes bytes = platform::ReadWhole(files, path);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return SchemaFromJson(ParseJson(text));
  } catch (const Error& error) {
    throw At(path, error);
  }
}

std::string Place(const std::string& schemaPath, const std::string& what, const JsonPosition& position) {
  return schemaPath + ": " + what + " at line " + std::to_string(position.line) + ", column " +
         std::to_string(position.column);
}

void InsertRows(jet::Table& table, std::vector<SchemaRow> rows, const std::string& schemaPath) {
  for (SchemaRow& row : rows) {
    try {
      table.Insert(std::move(row.values));
    } catch (const Error& error) {
      throw At(Place(schemaPath, "row", row.position), error);
    }
  }
}

/// Relations come last, so that the order of the tables and of their rows does not matter.
void CreateRelations(jet::Database& database, const Schema& schema, const std::string& schemaPath,
                     const CivilTime& created) {
  for (const SchemaRelation& relation : schema.relations) {
    try {
      database.CreateRelation(relation.design, created);
    } catch (const Error& error) {
      throw At(Place(schemaPath, "relation", relation.position), error);
    }
  }
}

void Create(const Arguments& arguments, ToolContext& context) {
  const std::string& path = arguments.Operand(0);
  const std::string& schemaPath = arguments.Operand(1);
  RequireReplaceable(context.files, path, arguments);
  Schema schema = ReadSchema(context.files, schemaPath);
  const CivilTime now = context.clock.Now();
  const auto database = jet::Database::Create(context.files, path, now);
  for (SchemaTable& table : schema.tables) {
    database->CreateTable(table.design, now);
    InsertRows(database->OpenTable(table.design.name), std::move(table.rows), schemaPath);
  }
  CreateRelations(*database, schema, schemaPath, now);
  database->Commit();
}

}  // namespace

Command CreateCommand() {
  return {
      .name = "create",
      .group = CommandGroup::Files,
      .summary = "makes a database from a JSON schema",
      .help = kCreateHelp,
      .rules = {.synopsis = "mvtool create FILE.db SCHEMA.json [--force]",
                .leastOperands = 2,
                .mostOperands = 2,
                .switches = {kForce},
                .settings = {},
                .operands = {Operand::File}},
      .run = &Create,
  };
}

}  // namespace mv::tool
