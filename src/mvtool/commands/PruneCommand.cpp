#include <charconv>
#include <ostream>

#include "history/HistoryFolder.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/UserSetup.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr std::string_view kPruneHelp =
    "  Removes the oldest runs from the history until no more are left than the\n"
    "  settings allow, and prints their names. What a removed run had kept cannot be\n"
    "  restored any more.\n"
    "    --keep N  leaves no more than N\n";

constexpr std::string_view kKeep = "--keep";

std::int64_t CountOf(const std::string& text) {
  std::int64_t count = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (code == std::errc() && end == text.data() + text.size() && count >= 0) return count;
  throw UsageError("--keep needs a whole number from 0 on, not \"" + text + "\"");
}

void Prune(const Arguments& arguments, ToolContext& context) {
  const auto keep = arguments.ValueOf(kKeep);
  const std::int64_t asked = keep ? CountOf(*keep) : 0;
  UserSetup setup(context);
  HistoryLimits limits = setup.Limits();
  if (keep) limits.keep = asked;
  const auto noRuns = setup.KeepRunsAway();
  history::HistoryFolder folder(context.files, setup.Names().DesktopDBPath);
  for (const std::string& entry : folder.Prune(limits)) context.out << entry << '\n';
}

}  // namespace

Command PruneCommand() {
  return {
      .name = "prune",
      .group = CommandGroup::Runs,
      .summary = "removes old runs from what is kept",
      .help = kPruneHelp,
      .rules = {.synopsis = "mvtool prune [--keep N]",
                .leastOperands = 0,
                .mostOperands = 0,
                .switches = {},
                .settings = {kKeep}},
      .run = &Prune,
  };
}

}  // namespace mv::tool
