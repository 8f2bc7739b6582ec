#include <optional>
#include <ostream>
#include <string>

#include "base/Error.h"
#include "jet/Database.h"
#include "json/JsonLinesAhead.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/RowChanges.h"
#include "mvtool/text/ChangeJson.h"

namespace mv::tool {
namespace {

constexpr std::string_view kKeep = "--keep";

constexpr std::string_view kApplyHelp =
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

void ApplyLines(RowChanges& rows, std::istream& in) {
  const ChangeReader reader(rows.Definition());
  JsonLinesAhead<Change> lines(in, [&reader](const Json& json, Change& change) { reader.Read(json, change); });
  while (Change* const change = lines.Next()) {
    try {
      rows.Make(*change);
    } catch (const Error& error) {
      throw At("line " + std::to_string(lines.Number()), error);
    }
  }
}

void Apply(const Arguments& arguments, ToolContext& context) {
  const auto database = jet::Database::Open(context.files, arguments.Operand(0), jet::PageFile::Mode::ReadWrite,
                                            {[&context] { return context.clock.Now(); }, jet::RandomGuid});
  RowChanges rows(database->OpenTable(arguments.Operand(1)));
  const auto keep = [&] {
    database->Commit();
    context.out << rows.Counts() << '\n';
  };
  try {
    ApplyLines(rows, context.in);
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
      .help = kApplyHelp,
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
