#include <charconv>
#include <optional>
#include <ostream>

#include "config/Settings.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/Overwriting.h"
#include "mvtool/demo/DemoFolder.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr std::string_view kRows = "--rows";

constexpr std::string_view kDemoHelp =
    "  Lays out made-up data to try a run on: a folder that stands for the handheld\n"
    "  with its thirteen tables, a Motorva.db that differs from it in all the ways a\n"
    "  run has to settle, and a settings file that names both (on Windows one for the\n"
    "  registry). The same each time.\n"
    "    --rows N  N rows a table (1 to 32000), for measuring: a tenth modified on\n"
    "              the handheld, a hundredth deleted, and a hundredth of new ones\n"
    "    --force   lays out into a folder that is not empty; replaces the files of an\n"
    "              earlier demo and touches nothing else\n";

DemoPlan PlanOf(const Arguments& arguments) {
  const std::optional<std::string> text = arguments.ValueOf(kRows);
  if (!text) return DemoPlan::Varied();
  std::size_t rows = 0;
  const char* const end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, rows);
  if (error != std::errc() || stop != end || rows < 1 || rows > kMostDemoRows) {
    throw UsageError("--rows takes a number from 1 to " + std::to_string(kMostDemoRows) + ", not \"" + *text + "\"");
  }
  return DemoPlan::Uniform(rows);
}

void RequireUsableFolder(const platform::FileSystem& files, const std::string& folder, const Arguments& arguments) {
  if (files.FileExists(folder)) throw Failure("\"" + folder + "\" is a file, not a folder");
  if (arguments.Has(kForce) || !files.FolderExists(folder) || files.List(folder).empty()) return;
  throw Failure("the folder \"" + folder + "\" is not empty; --force replaces an earlier demo in it");
}

/// Where settings are in a registry, a file of them is of use only once it is imported.
void PrintSettings(const DemoPaths& paths, const std::string& root, ToolContext& context) {
  const std::string place =
      context.openSettings ? context.openSettings()->PlaceOf(kSettingsApplication) : std::string();
  if (!place.starts_with("HKEY_")) {
    context.out << "settings folder    " << paths.config << '\n';
    return;
  }
  WriteRegistryFile(context.files, root, place);
  context.out << "settings file      " << paths.registry << "\nTo run with it: reg import \"" << paths.registry
              << "\" (it replaces your own settings)\n";
}

void Demo(const Arguments& arguments, ToolContext& context) {
  const DemoPlan plan = PlanOf(arguments);
  const std::string& folder = arguments.Operand(0);
  RequireUsableFolder(context.files, folder, arguments);
  context.files.CreateFolders(folder);
  const std::string root = context.files.RealPath(folder);
  LayOutDemo(context.files, root, plan);
  const DemoPaths paths(root);
  context.out << "desktop database   " << paths.database << "\nhandheld tables    " << paths.tables << '\n';
  PrintSettings(paths, root, context);
}

}  // namespace

Command DemoCommand() {
  return {
      .name = "demo",
      .group = CommandGroup::Start,
      .summary = "lays out made-up data to try a run on",
      .help = kDemoHelp,
      .rules = {.synopsis = "mvtool demo FOLDER [--rows N] [--force]",
                .leastOperands = 1,
                .mostOperands = 1,
                .switches = {kForce},
                .settings = {kRows},
                .operands = {Operand::Folder}},
      .run = &Demo,
  };
}

}  // namespace mv::tool
