#include <algorithm>
#include <array>
#include <exception>
#include <ostream>

#include "base/Error.h"
#include "base/Utf.h"
#include "mvtool/commands/Command.h"
#include "mvtool/files/ToolErrors.h"
#include "run/Version.h"

namespace mv::tool {
namespace {

constexpr std::string_view kIntroduction = "mvtool COMMAND ...: the files and the runs of MVPPCSync. The commands:\n";

constexpr std::string_view kClosing =
    "\"mvtool COMMAND --help\" explains one. Exit status: 0 done, 1 failed, 2 misuse.\n";

constexpr std::size_t kNameColumn = 10;     ///< where the names of commands begin
constexpr std::size_t kSummaryColumn = 26;  ///< where their summaries begin

/// Two commands, one after the other, that share a line of the help: a terminal of 24 lines has no room for one each.
struct SharedLine {
  std::string_view first;
  std::string_view second;
  std::string_view summary;
};

constexpr std::array kSharedLines = {
    SharedLine{"export", "import", "writes all tables as CSV; adds or updates rows from it"},
    SharedLine{"create", "make", "makes a database from JSON, a table file from lines"},
    SharedLine{"encode", "decode", "encodes (\"encrypts\") a database, makes it plain again"},
};

bool AsksForHelp(std::string_view word) {
  return word == "--help" || word == "-h";
}

void PrintHelp(const Command& command, std::ostream& out) {
  out << command.rules.synopsis << '\n' << command.help;
}

/// A line for a command, or for the two that share it; the first one of a group has the group's name before it.
void PrintSummaries(std::ostream& out) {
  std::string_view lastGroup;
  for (const Command& command : Commands()) {
    if (std::ranges::find(kSharedLines, command.name, &SharedLine::second) != kSharedLines.end()) continue;
    const auto shared = std::ranges::find(kSharedLines, command.name, &SharedLine::first);
    const bool isShared = shared != kSharedLines.end();
    const std::string_view group = NameOf(command.group);
    std::string line(group == lastGroup ? std::string_view() : group);
    line.resize(kNameColumn, ' ');
    line += command.name;
    if (isShared) line.append(", ").append(shared->second);
    line.resize(kSummaryColumn, ' ');
    out << line << (isShared ? shared->summary : command.summary) << '\n';
    lastGroup = group;
  }
}

void PrintWholeHelp(std::ostream& out) {
  out << kIntroduction;
  PrintSummaries(out);
  out << kClosing;
}

void Dispatch(std::span<const std::string> words, ToolContext& context) {
  if (words.empty()) throw UsageError("a command is missing; \"mvtool --help\" lists them");
  const std::string& name = words.front();
  if (AsksForHelp(name)) return PrintWholeHelp(context.out);
  if (name == "--version") {
    context.out << "mvtool " << kProgramVersion << '\n';
    return;
  }
  const auto commands = Commands();
  const auto command = std::find_if(commands.begin(), commands.end(), [&](const Command& c) { return c.name == name; });
  if (command == commands.end()) {
    throw UsageError("unknown command \"" + name + "\"; \"mvtool --help\" lists them");
  }
  const std::span<const std::string> rest = words.subspan(1);
  if (std::any_of(rest.begin(), rest.end(), AsksForHelp)) return PrintHelp(*command, context.out);
  command->run(Arguments(command->rules, rest), context);
}

int Report(std::ostream& err, std::string_view message, int status) {
  // Arguments quoted in a message may hold any bytes.
  err << "mvtool: " << ValidUtf8(message) << '\n';
  return status;
}

}  // namespace

std::string_view NameOf(CommandGroup group) {
  switch (group) {
    case CommandGroup::Start:
      return "Start";
    case CommandGroup::Runs:
      return "Runs";
    case CommandGroup::Handheld:
      return "Handheld";
    case CommandGroup::Files:
      return "Files";
  }
  return {};
}

std::vector<Command> Commands() {
  return {
      SetupCommand(),   DoctorCommand(), DemoCommand(),  PreviewCommand(),  RunsCommand(),   ChangesCommand(),
      RestoreCommand(), SendCommand(),   PruneCommand(), HandheldCommand(), ListenCommand(), ListCommand(),
      ShowCommand(),    SchemaCommand(), CheckCommand(), DiffCommand(),     ExportCommand(), ImportCommand(),
      ApplyCommand(),   CreateCommand(), MakeCommand(),  TemplateCommand(), EncodeCommand(), DecodeCommand(),
  };
}

int RunTool(std::span<const std::string> words, ToolContext& context) {
  try {
    Dispatch(words, context);
    context.out.flush();
    if (!context.out) return Report(context.err, "the output could not be written", context.failureStatus);
    return context.exitStatus;
  } catch (const Error& error) {
    context.out.flush();
    return Report(context.err, error.Description(),
                  error.Number() == kWrongUsage ? kNotUnderstood : context.failureStatus);
  } catch (const std::exception& error) {
    // Out of memory, for the most part.
    context.out.flush();
    return Report(context.err, error.what(), context.failureStatus);
  }
}

}  // namespace mv::tool
