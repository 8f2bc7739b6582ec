#include <algorithm>
#include <ostream>

#include "base/Text.h"
#include "history/RunList.h"
#include "json/Json.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/UserSetup.h"

namespace mv::tool {
namespace {

using history::RunEntry;
using history::RunRecord;
using history::SideCounts;
using history::TableRecord;

constexpr std::string_view kRunsHelp =
    "  Lists the runs that the history keeps, newest first: name, time, mode, how it\n"
    "  ended, rows that were added (+), changed (~) and deleted (-) on either side,\n"
    "  and what \"restore\" can bring back. Restores are listed too.\n"
    "    --json  one JSON object a run\n";

constexpr std::string_view kRestoreMode = "restore";
/// More rows than any table has; a record that says more is no reason for sums to overflow.
constexpr std::int64_t kMostRows = std::int64_t{1} << 40;

void Add(std::int64_t& sum, std::int64_t count) {
  sum = std::min(sum + std::clamp<std::int64_t>(count, 0, kMostRows), kMostRows);
}

void Add(SideCounts& sum, const SideCounts& side) {
  Add(sum.added, side.added);
  Add(sum.changed, side.changed);
  Add(sum.deleted, side.deleted);
}

/// Over all tables.
TableRecord SumOf(const RunRecord& record) {
  TableRecord sum;
  for (const TableRecord& table : record.tables) {
    Add(sum.desktop, table.desktop);
    Add(sum.handheld, table.handheld);
    Add(sum.dropped, table.dropped);
    Add(sum.overruled, table.overruled);
  }
  return sum;
}

// --- Lines ----------------------------------------------------------------------------------------------------------

std::string ChangesText(const RunRecord& record) {
  if (record.restore) return "of " + record.restore->of;
  const TableRecord sum = SumOf(record);
  std::string text = history::SummaryOf("PC", sum.desktop) + ", " + history::SummaryOf("handheld", sum.handheld);
  if (sum.dropped != 0) text += ", dropped " + std::to_string(sum.dropped);
  if (sum.overruled != 0) text += ", overruled " + std::to_string(sum.overruled);
  return text;
}

std::string ResultText(const RunRecord& record) {
  if (record.ended.empty()) return "still going or cut off";
  if (record.status.value_or(0) == 0) return "done";
  return "exit status " + std::to_string(*record.status) + (record.error.empty() ? "" : ": " + record.error);
}

std::string UndoText(const history::Undo& undo) {
  std::string text = undo.desktop ? "PC" : "";
  if (!undo.tables.empty()) {
    text += (text.empty() ? "" : ", ") + std::to_string(undo.tables.size()) +
            (undo.tables.size() == 1 ? " table" : " tables") + " of the handheld";
  }
  return text.empty() ? "nothing" : text;
}

void PrintLine(const RunEntry& run, std::ostream& out) {
  if (!run.record) {
    out << run.name << "  no record that could be read\n";
    return;
  }
  const RunRecord& record = *run.record;
  out << run.name << "  " << record.began << "  " << record.modeName << "  " << ResultText(record) << "  "
      << ChangesText(record) << "  can be undone: " << UndoText(run.undo) << '\n';
  for (const std::string& warning : record.warnings) out << "  " << warning << '\n';
}

// --- JSON -----------------------------------------------------------------------------------------------------------

void WriteText(JsonWriter& writer, std::string_view name, const std::string& text) {
  writer.Name(name);
  text.empty() ? writer.Null() : writer.Text(text);
}

void WriteTexts(JsonWriter& writer, std::string_view name, const std::vector<std::string>& texts) {
  writer.Name(name).BeginArray();
  for (const std::string& text : texts) writer.Text(text);
  writer.EndArray();
}

void WriteSum(JsonWriter& writer, std::string_view name, const SideCounts& side) {
  writer.Name(name).BeginObject().Name("added").Integer(side.added);
  writer.Name("changed").Integer(side.changed).Name("deleted").Integer(side.deleted).EndObject();
}

void WriteMode(JsonWriter& writer, const RunRecord& record) {
  writer.Name("mode");
  record.restore ? writer.Text(kRestoreMode) : writer.Integer(record.mode);
  writer.Name("modeName").Text(record.modeName);
  if (record.restore) writer.Name("of").Text(record.restore->of);
}

void WriteRecord(JsonWriter& writer, const RunRecord& record) {
  WriteMode(writer, record);
  writer.Name("began").Text(record.began);
  WriteText(writer, "ended", record.ended);
  writer.Name("status");
  record.status ? writer.Integer(*record.status) : writer.Null();
  WriteText(writer, "error", record.error);
  const TableRecord sum = SumOf(record);
  writer.Name("sums").BeginObject();
  WriteSum(writer, "desktop", sum.desktop);
  WriteSum(writer, "handheld", sum.handheld);
  writer.Name("dropped").Integer(sum.dropped).Name("overruled").Integer(sum.overruled).EndObject();
  WriteTexts(writer, "warnings", record.warnings);
}

void PrintJson(const RunEntry& run, std::ostream& out) {
  JsonWriter writer;
  writer.BeginObject().Name("run").Text(run.name);
  if (run.record) {
    WriteRecord(writer, *run.record);
  } else {
    writer.Name("mode").Null();
  }
  writer.Name("undo").BeginObject().Name("desktop").Boolean(run.undo.desktop);
  WriteTexts(writer, "handheld", run.undo.tables);
  out << writer.EndObject().EndObject().Result() << '\n';
}

void Runs(const Arguments& arguments, ToolContext& context) {
  UserSetup setup(context);
  const std::string& database = setup.Names().DesktopDBPath;
  const history::HistoryFolder folder(context.files, database);
  const bool asJson = arguments.Has("--json");
  const std::vector<RunEntry> runs = ListRuns(context.files, folder, database);
  if (runs.empty() && !asJson) {
    const char* why = setup.Limits().keep == 0 ? ": Keep of [History] is 0" : " yet";
    context.out << "No run of \"" << ShownPath(database) << "\" is kept" << why << ".\n";
  }
  for (const RunEntry& run : runs) {
    asJson ? PrintJson(run, context.out) : PrintLine(run, context.out);
  }
}

}  // namespace

Command RunsCommand() {
  return {
      .name = "runs",
      .group = CommandGroup::Runs,
      .summary = "lists the runs that are kept, newest first",
      .help = kRunsHelp,
      .rules = {.synopsis = "mvtool runs [--json]",
                .leastOperands = 0,
                .mostOperands = 0,
                .switches = {"--json"},
                .settings = {}},
      .run = &Runs,
  };
}

}  // namespace mv::tool
