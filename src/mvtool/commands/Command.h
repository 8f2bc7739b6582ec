#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "config/SettingsStore.h"
#include "device/Rapi.h"
#include "mvtool/commands/Arguments.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "sync/RunMode.h"

namespace mv::tool {

/// What a command works with. The streams carry UTF-8 bytes unchanged.
struct ToolContext {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  platform::FileSystem& files;
  const platform::Clock& clock;
  /// Opens the user's settings; a context without it has none.
  std::function<std::unique_ptr<SettingsStore>()> openSettings = {};
  /// Folder of the programs, without a separator at its end: beside it lies what the settings do not place elsewhere.
  std::string programFolder = {};
  /// The system's own remote API, for settings that choose no other handheld; and whether it may have one.
  std::function<std::unique_ptr<Rapi>()> makeRapi = {};
  bool systemHasRapi = false;
  /// Does a silent run as MVPPCSync does; returns its exit status and says on the stream what no log tells.
  std::function<int(RunMode mode, std::ostream& errors)> runSilently = {};
  /// What starts runs by itself (RegisteredAutoStart); a context without it knows of nothing.
  std::function<std::optional<std::string>()> autoStart = {};
  /// What the program ends with when a command succeeds whose result is more than that.
  int exitStatus = 0;
  /// What it ends with when the command fails: another one where 1 is a result.
  int failureStatus = 1;
};

/// What commands are about, in the order in which help lists them.
enum class CommandGroup { Start, Runs, Handheld, Files };

/// The heading of a group.
std::string_view NameOf(CommandGroup group);

/// One command of the program. `run` writes its results to the context's `out` and throws mv::Error when it fails:
/// UsageError when the arguments make no sense together, anything else when the work cannot be done.
struct Command {
  std::string_view name;
  CommandGroup group;
  std::string_view summary;  ///< what it does in a few words that follow its name: "lists the runs"
  /// What it does in full, shown below the synopsis: lines of up to 80 characters, indented by two; those of options
  /// by four ("    --csv  as CSV", at least two blanks before what it does). Manual pages are made of it, too.
  std::string_view help;
  ArgumentRules rules;
  void (*run)(const Arguments& arguments, ToolContext& context);
};

Command SetupCommand();
Command DoctorCommand();
Command ListCommand();
Command ShowCommand();
Command CreateCommand();
Command MakeCommand();
Command ApplyCommand();
Command ImportCommand();
Command DiffCommand();
Command SchemaCommand();
Command ExportCommand();
Command CheckCommand();
Command TemplateCommand();
Command EncodeCommand();
Command DecodeCommand();
Command DemoCommand();
Command RunsCommand();
Command RestoreCommand();
Command SendCommand();
Command PruneCommand();
Command ChangesCommand();
Command PreviewCommand();
Command HandheldCommand();
Command ListenCommand();

/// All commands, in the order of help.
std::vector<Command> Commands();

/// Exit statuses of the program.
inline constexpr int kSucceeded = 0;
inline constexpr int kOperationFailed = 1;
inline constexpr int kNotUnderstood = 2;

/// Runs the program with `words`, the arguments after its name, and returns its exit status. Messages go to `err`, each
/// starting with "mvtool: ".
int RunTool(std::span<const std::string> words, ToolContext& context);

}  // namespace mv::tool
