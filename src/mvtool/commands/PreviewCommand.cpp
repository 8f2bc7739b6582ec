#include <ostream>

#include "json/Json.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/ReportPrinter.h"
#include "mvtool/commands/UserSetup.h"
#include "mvtool/files/ToolErrors.h"
#include "run/Preview.h"
#include "sync/Tables.h"

namespace mv::tool {
namespace {

constexpr std::string_view kPreviewHelp =
    "  What a run would do, without doing it: the run itself, on a copy of the\n"
    "  database in the system's folder for temporary files, with the handheld only\n"
    "  read. Prints what \"changes\" would print after the run, then its warnings.\n"
    "    --mode N    0 Synchronize, 1 Overwrite PDA, 2 Overwrite PC; else the mode\n"
    "                of the settings\n"
    "    --tables T  these tables, with commas between, or \"all\"; else the eleven\n"
    "                of a silent run\n"
    "    --json      one JSON object a row, table or warning\n"
    "  Exit status: that of the run.\n";

RunMode ModeNumbered(const std::string& text) {
  if (text == "0") return RunMode::Synchronize;
  if (text == "1") return RunMode::OverwritePda;
  if (text == "2") return RunMode::OverwritePc;
  throw UsageError("--mode is 0, 1 or 2, not \"" + text + "\"");
}

std::vector<SyncTable> TablesNamed(const std::string& text) {
  if (text == "all") return {kTables.begin(), kTables.end()};
  std::vector<SyncTable> tables;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(',', at), text.size());
    const std::string name = text.substr(at, end - at);
    const SyncTable* const table = FindTable(name);
    if (table == nullptr) throw UsageError("--tables: there is no table \"" + name + "\"");
    tables.push_back(*table);
    at = end + 1;
  }
  return tables;
}

PreviewRequest RequestOf(const Arguments& arguments) {
  PreviewRequest request;
  if (const auto mode = arguments.ValueOf("--mode")) request.mode = ModeNumbered(*mode);
  const auto tables = arguments.ValueOf("--tables");
  request.tables = tables ? TablesNamed(*tables) : std::vector<SyncTable>(kSilentTables.begin(), kSilentTables.end());
  return request;
}

void PrintWarnings(const PreviewResult& result, bool json, std::ostream& out) {
  for (const std::string& warning : result.record.warnings) {
    if (json) {
      out << JsonWriter().BeginObject().Name("warning").Text(warning).EndObject().Result() << '\n';
    } else {
      out << "Warning: " << warning << '\n';
    }
  }
}

/// How the run would end, when it would not go well.
void PrintEnd(const PreviewResult& result, std::ostream& err) {
  if (result.status == ExitStatus::Success) return;
  if (!result.told.empty()) {
    err << result.told.back() << '\n';
  } else {
    err << "mvtool: the run would be stopped: " << result.record.error << '\n';
  }
}

void Preview(const Arguments& arguments, ToolContext& context) {
  const PreviewRequest request = RequestOf(arguments);
  UserSetup setup(context);
  const PreviewResult result = RunPreview(setup.ForPreview(), request);
  const bool json = arguments.Has("--json");
  PrintReport(result.changes, result.record.tables, json, context.out);
  PrintWarnings(result, json, context.out);
  context.out.flush();
  PrintEnd(result, context.err);
  context.exitStatus = static_cast<int>(result.status);
}

}  // namespace

Command PreviewCommand() {
  return {
      .name = "preview",
      .group = CommandGroup::Runs,
      .summary = "shows what a run would do, without doing it",
      .help = kPreviewHelp,
      .rules = {.synopsis = "mvtool preview [--mode N] [--tables T,...] [--json]",
                .leastOperands = 0,
                .mostOperands = 0,
                .switches = {"--json"},
                .settings = {"--mode", "--tables"}},
      .run = &Preview,
  };
}

}  // namespace mv::tool
