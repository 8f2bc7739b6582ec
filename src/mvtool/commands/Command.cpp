#include <algorithm>
#include <array>
#include <exception>
#include <ostream>

#include "base/Error.h"
#include "base/Utf.h"
#include "mvtool/commands/Command.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr std::string_view kIntroduction =
    "mvtool looks into the files that MVPPCSync keeps in step, and makes new ones:\n"
    "databases of the desktop (.db) and table files of a handheld (.pdb). It lists\n"
    "the runs of MVPPCSync and takes them back.\n";

constexpr std::string_view kClosing =
    "\nExit status: 0 done, 1 it failed (the message says why), 2 the command line\n"
    "was not understood.\n";

std::array<Command, 19> Commands() {
  return {ListCommand(),  ShowCommand(),    ExportCommand(),   CheckCommand(),    CreateCommand(),
          ApplyCommand(), EncodeCommand(),  DecodeCommand(),   TemplateCommand(), MakeCommand(),
          DemoCommand(),  PreviewCommand(), RunsCommand(),     ChangesCommand(),  RestoreCommand(),
          SendCommand(),  PruneCommand(),   HandheldCommand(), ListenCommand()};
}

bool AsksForHelp(std::string_view word) {
  return word == "--help" || word == "-h";
}

void PrintHelp(const Command& command, std::ostream& out) {
  out << '\n' << command.rules.synopsis << '\n' << command.help;
}

void PrintWholeHelp(std::ostream& out) {
  out << kIntroduction;
  for (const Command& command : Commands()) PrintHelp(command, out);
  out << kClosing;
}

void Dispatch(std::span<const std::string> words, ToolContext& context) {
  if (words.empty()) throw UsageError("a command is missing; \"mvtool --help\" lists them");
  const std::string& name = words.front();
  if (AsksForHelp(name)) return PrintWholeHelp(context.out);
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

int RunTool(std::span<const std::string> words, ToolContext& context) {
  try {
    Dispatch(words, context);
    context.out.flush();
    if (!context.out) return Report(context.err, "the output could not be written", kOperationFailed);
    return context.exitStatus;
  } catch (const Error& error) {
    context.out.flush();
    return Report(context.err, error.Description(), error.Number() == kWrongUsage ? kNotUnderstood : kOperationFailed);
  } catch (const std::exception& error) {
    // Out of memory, for the most part.
    context.out.flush();
    return Report(context.err, error.what(), kOperationFailed);
  }
}

}  // namespace mv::tool
