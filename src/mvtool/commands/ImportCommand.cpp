#include <algorithm>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "base/Error.h"
#include "jet/Database.h"
#include "jet/rows/ColumnValue.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/CsvFile.h"
#include "mvtool/commands/RowChanges.h"
#include "mvtool/files/RowKey.h"
#include "mvtool/files/ToolErrors.h"
#include "mvtool/text/ChangeJson.h"
#include "mvtool/text/CsvReader.h"

namespace mv::tool {
namespace {

constexpr std::string_view kCsv = "--csv";
constexpr std::string_view kUpdate = "--update";
constexpr std::string_view kDryRun = "--dry-run";

constexpr std::string_view kImportHelp =
    "  Adds the rows of a CSV file to a table of a database: the inverse of \"show\n"
    "  --csv\" and \"export\". The first line names the columns; those that it leaves\n"
    "  out get their default values. A null is an empty field, an empty text is \"\".\n"
    "  All rows become durable together, at the end. At the first one that cannot be\n"
    "  taken it stops, says where that stands and changes nothing.\n"
    "    --csv FILE  the file; \"-\" is standard input\n"
    "    --update    a row whose key is there already gets the values of the file,\n"
    "                the others are added. The key is the field by which runs match\n"
    "                rows of the table, in other tables the primary key\n"
    "    --dry-run   does all but the changes, and says what they would be\n";

std::optional<DataType> TypeOfColumn(const jet::TableDefinition& table, const std::string& name) {
  const std::optional<std::size_t> position = table.PositionOf(name);
  if (!position) return std::nullopt;
  return jet::DataTypeOf(table.columns[*position].type);
}

std::vector<std::size_t> KeyForUpdate(const jet::TableDefinition& table) {
  std::vector<std::size_t> key = KeyOf(table);
  if (key.empty()) throw Failure("table \"" + table.name + "\" has no primary key to find the rows to update by");
  return key;
}

void RequireKey(const jet::TableDefinition& table, const std::vector<std::size_t>& key,
                const std::vector<IndexedTable::Condition>& row) {
  for (const std::size_t column : key) {
    const auto isIt = [column](const IndexedTable::Condition& value) { return value.column == column; };
    if (std::any_of(row.begin(), row.end(), isIt)) continue;
    throw Failure("the key column \"" + table.columns[column].name + "\" is missing");
  }
}

void PutRow(RowChanges& rows, const ChangeReader& reader, const Json& json, const std::vector<std::size_t>& key) {
  std::vector<IndexedTable::Condition> values = reader.ValuesFromJson(json);
  RequireKey(rows.Definition(), key, values);
  try {
    if (!key.empty()) return rows.Put(std::move(values), key);
    Change change;
    for (IndexedTable::Condition& value : values) {
      change.columns.push_back(value.column);
      change.values.push_back(std::move(value.value));
    }
    rows.Make(change);
  } catch (const Error& error) {
    throw At("line " + std::to_string(json.Position().line), error);
  }
}

void PutRows(RowChanges& rows, CsvFile& file, const std::vector<std::size_t>& key) {
  const jet::TableDefinition& table = rows.Definition();
  try {
    CsvRows csv(file.Stream(), [&table](const std::string& name) { return TypeOfColumn(table, name); });
    const ChangeReader reader(table);
    while (const std::optional<Json> row = csv.Next()) PutRow(rows, reader, *row, key);
  } catch (const Error& error) {
    throw At(file.Name(), error);
  }
}

void Import(const Arguments& arguments, ToolContext& context) {
  const std::optional<std::string> path = arguments.ValueOf(kCsv);
  if (!path) throw UsageError("--csv FILE is missing");
  const auto database = jet::Database::Open(context.files, arguments.Operand(0), jet::PageFile::Mode::ReadWrite,
                                            {[&context] { return context.clock.Now(); }, jet::RandomGuid});
  RowChanges rows(database->OpenTable(arguments.Operand(1)));
  CsvFile file(context, *path);
  PutRows(rows, file, arguments.Has(kUpdate) ? KeyForUpdate(rows.Definition()) : std::vector<std::size_t>());
  const bool isDryRun = arguments.Has(kDryRun);
  if (!isDryRun) database->Commit();
  context.out << rows.Counts() << (isDryRun ? "; not saved" : "") << '\n';
}

}  // namespace

Command ImportCommand() {
  return {
      .name = "import",
      .group = CommandGroup::Files,
      .summary = "adds or updates rows of a database from CSV",
      .help = kImportHelp,
      .rules = {.synopsis = "mvtool import FILE.db TABLE --csv FILE.csv [--update] [--dry-run]",
                .leastOperands = 2,
                .mostOperands = 2,
                .switches = {kUpdate, kDryRun},
                .settings = {kCsv},
                .operands = {Operand::File, Operand::Table}},
      .run = &Import,
  };
}

}  // namespace mv::tool
