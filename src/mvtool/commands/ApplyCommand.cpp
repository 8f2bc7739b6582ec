#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "jet/Database.h"
#include "json/JsonLines.h"
#include "mvtool/commands/Command.h"
#include "mvtool/files/IndexedTable.h"
#include "mvtool/files/ToolErrors.h"
#include "mvtool/text/ChangeJson.h"

namespace mv::tool {
namespace {

constexpr std::string_view kKeep = "--keep";

constexpr std::string_view kHelp =
    "  Changes rows of a table as JSON lines from standard input say:\n"
    "    {\"op\":\"insert\",\"row\":{\"KY_ID\":\"a1\",\"CU_COST\":\"12.5000\"}}\n"
    "    {\"op\":\"update\",\"where\":{\"KY_ID\":\"a1\"},\"set\":{\"CU_COST\":null}}\n"
    "    {\"op\":\"delete\",\"where\":{\"KY_ID\":\"a1\"}}\n"
    "  Values are written as \"show\" prints them; names of columns, and texts in\n"
    "  \"where\", compare without regard to case. Of the rows that \"where\" fits the\n"
    "  first one stored is taken; that there is none is an error. A column that a new\n"
    "  row leaves out gets its default value, or null. All changes become durable\n"
    "  together, at the end. At the first line that cannot be done it stops, names\n"
    "  the line and changes nothing.\n"
    "    --keep  keeps what the lines before it changed\n";

/// Counts of the changes made so far.
class Tally {
 public:
  void Add(Change::Kind kind) { ++counts_[static_cast<std::size_t>(kind)]; }
  std::string Text() const {
    return std::to_string(counts_[0]) + " inserted, " + std::to_string(counts_[1]) + " updated, " +
           std::to_string(counts_[2]) + " deleted";
  }

 private:
  std::size_t counts_[3] = {};  ///< by Change::Kind
};

jet::RowId WantedRow(IndexedTable& table, const Change& change) {
  const std::optional<jet::RowId> row = table.Find(change.where);
  if (!row) throw Failure("no row fits \"where\"");
  return *row;
}

/// The values of a new row, by position.
std::vector<Value> NewRow(const IndexedTable& table, Change change) {
  std::vector<std::optional<Value>> given(table.Definition().columns.size());
  for (std::size_t i = 0; i < change.columns.size(); ++i) given[change.columns[i]] = std::move(change.values[i]);
  std::vector<Value> values;
  for (std::size_t column = 0; column < given.size(); ++column) {
    values.push_back(given[column] ? std::move(*given[column]) : table.DefaultOf(column));
  }
  return values;
}

void Make(IndexedTable& table, Change change) {
  switch (change.kind) {
    case Change::Kind::Insert:
      return table.Insert(NewRow(table, std::move(change)));
    case Change::Kind::Update:
      return table.Update(WantedRow(table, change), change.columns, change.values);
    case Change::Kind::Delete:
      return table.Delete(WantedRow(table, change));
  }
}

void ApplyLines(IndexedTable& table, JsonLines& lines, Tally& tally) {
  const ChangeReader reader(table.Definition());
  while (const std::optional<Json> line = lines.Next()) {
    Change change = reader.FromJson(*line);
    const Change::Kind kind = change.kind;
    try {
      Make(table, std::move(change));
    } catch (const Error& error) {
      throw At("line " + std::to_string(lines.Number()), error);
    }
    tally.Add(kind);
  }
}

void Apply(const Arguments& arguments, ToolContext& context) {
  const auto database = jet::Database::Open(context.files, arguments.Operand(0), jet::PageFile::Mode::ReadWrite,
                                            {[&context] { return context.clock.Now(); }, jet::RandomGuid});
  IndexedTable table(database->OpenTable(arguments.Operand(1)));
  if (table.Definition().IsSystem()) {
    throw Failure("\"" + table.Definition().name + "\" is a table of the system");
  }
  JsonLines lines(context.in);
  Tally tally;
  const auto keep = [&] {
    database->Commit();
    context.out << tally.Text() << '\n';
  };
  try {
    ApplyLines(table, lines, tally);
  } catch (const Error&) {
    if (arguments.Has(kKeep)) keep();
    throw;
  }
  keep();
}

}  // namespace

Command ApplyCommand() {
  return {
      .name = "apply",
      .group = CommandGroup::Files,
      .summary = "changes rows of a table as JSON lines say",
      .help = kHelp,
      .rules = {.synopsis = "mvtool apply FILE.db TABLE [--keep] < LINES.jsonl",
                .leastOperands = 2,
                .mostOperands = 2,
                .switches = {kKeep},
                .settings = {},
                .operands = {Operand::File, Operand::Table}},
      .run = &Apply,
  };
}

}  // namespace mv::tool
