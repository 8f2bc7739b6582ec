#include <cstdint>
#include <ostream>

#include "base/Date.h"
#include "base/Error.h"
#include "json/Json.h"
#include "mvtool/commands/Command.h"
#include "mvtool/commands/HandheldBackup.h"
#include "mvtool/commands/HandheldSession.h"
#include "mvtool/commands/Overwriting.h"
#include "mvtool/commands/SimulateHandheld.h"
#include "mvtool/commands/UserSetup.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr std::string_view kHandheldHelp =
    "  Works with the handheld that the settings name, whichever way it is reached.\n"
    "    info              what it is and where\n"
    "    ls [PATH]         lists a folder, else the root\n"
    "    get PATH FILE     copies a file of the handheld to FILE\n"
    "    put FILE PATH     copies FILE to the handheld\n"
    "    backup FOLDER [PATH]\n"
    "                      copies all files below PATH, by default the folder of the\n"
    "                      tables, into FOLDER; each whole or not at all\n"
    "    simulate ROOT     is a handheld on the network itself, with the files below\n"
    "                      ROOT, until it is interrupted (Ctrl-C)\n"
    "    --force           replaces files that exist\n"
    "    --json            for ls: one JSON object a file\n"
    "  For simulate:\n"
    "    --family A|B      A: Windows CE 2 to 4 (usual), B: 5 and later\n"
    "    --version 1|2     of the messages; else that of the family\n"
    "    --password P      it is locked with this password\n"
    "    --address A       its own address, else 127.0.0.2\n"
    "    --desktop A[:N]   the desktop's address and control port, else 127.0.0.1 and\n"
    "                      the usual port of the family\n"
    "    --port N          family A: where it takes remote calls, else 990. Family B:\n"
    "                      it waits at this UDP port to be called\n"
    "    --cut N           breaks the connection in the middle of the N-th request\n";

constexpr std::string_view kJson = "--json";

// ---- Listing

/// "2003-09-01 12:00:00" in UTC; empty when it is not known.
std::string TimeText(std::uint64_t time) {
  constexpr std::uint64_t kTicksPerSecond = 10'000'000;
  constexpr std::int64_t kSecondsPerDay = 86400;
  if (time == 0) return {};
  const auto seconds = static_cast<std::int64_t>(time / kTicksPerSecond) + DayNumber(1601, 1, 1) * kSecondsPerDay;
  try {
    return IsoFromDate(DateFromSeconds(seconds));
  } catch (const Error&) {
    return {};  // no year that a calendar shows
  }
}

void PrintLine(const DeviceEntry& entry, std::ostream& out) {
  constexpr std::size_t kTimeWidth = 19;
  constexpr std::size_t kSizeWidth = 11;
  std::string time = TimeText(entry.lastWriteTime);
  if (const std::size_t separator = time.find('T'); separator != time.npos) time[separator] = ' ';
  time.resize(kTimeWidth, ' ');
  std::string size = entry.IsFolder() ? "" : std::to_string(entry.size);
  if (size.size() < kSizeWidth) size.insert(0, kSizeWidth - size.size(), ' ');
  out << time << size << "  " << Printable(entry.name) << (entry.IsFolder() ? "\\" : "") << '\n';
}

void PrintJson(const DeviceEntry& entry, std::ostream& out) {
  JsonWriter writer;
  writer.BeginObject().Name("name").Text(entry.name).Name("folder").Boolean(entry.IsFolder());
  writer.Name("bytes");
  entry.IsFolder() ? writer.Null() : writer.Integer(static_cast<std::int64_t>(entry.size));
  const std::string time = TimeText(entry.lastWriteTime);
  writer.Name("written");
  time.empty() ? writer.Null() : writer.Text(time);
  writer.Name("attributes").Integer(entry.attributes);
  out << writer.EndObject().Result() << '\n';
}

// ---- What the words after "handheld" do

/// The command's arguments without the first.
class Words {
 public:
  Words(const Arguments& arguments, std::size_t least, std::size_t most) : arguments_(arguments) {
    if (arguments.Count() - 1 < least) throw UsageError("\"" + arguments.Operand(0) + "\": an argument is missing");
    if (arguments.Count() - 1 > most)
      throw UsageError("\"" + arguments.Operand(0) + "\": unexpected argument \"" + arguments.Operand(most + 1) + "\"");
  }
  std::size_t Count() const { return arguments_.Count() - 1; }
  const std::string& At(std::size_t index) const { return arguments_.Operand(index + 1); }

 private:
  const Arguments& arguments_;
};

void PrintFact(std::ostream& out, const char* name, const std::string& value) {
  if (!value.empty()) out << name << Printable(value) << '\n';
}

void Info(const Arguments& arguments, ToolContext& context) {
  const Words words(arguments, 0, 0);
  UserSetup setup(context);
  HandheldSession session(setup.Chosen());
  const HandheldFacts facts = session.Describe();
  PrintFact(context.out, "Reached:  ", setup.Chosen().way);
  PrintFact(context.out, "Address:  ", facts.address);
  PrintFact(context.out, "Name:     ", facts.name);
  if (const auto system = facts.system) {
    context.out << "System:   Windows CE " << system->major << '.' << system->minor << ", build " << system->build
                << '\n';
  }
  PrintFact(context.out, "Platform: ", facts.platform);
  PrintFact(context.out, "Model:    ", facts.model);
}

void List(const Arguments& arguments, ToolContext& context) {
  const Words words(arguments, 0, 1);
  UserSetup setup(context);
  HandheldSession session(setup.Chosen());
  for (const DeviceEntry& entry : session.List(words.Count() == 0 ? "\\" : words.At(0))) {
    arguments.Has(kJson) ? PrintJson(entry, context.out) : PrintLine(entry, context.out);
  }
}

void Get(const Arguments& arguments, ToolContext& context) {
  const Words words(arguments, 2, 2);
  RequireReplaceable(context.files, words.At(1), arguments);
  UserSetup setup(context);
  HandheldSession session(setup.Chosen());
  const Bytes content = session.Fetch(words.At(0));
  context.files.WriteWhole(words.At(1), content);
  context.out << content.size() << " bytes\n";
}

void Put(const Arguments& arguments, ToolContext& context) {
  const Words words(arguments, 2, 2);
  const Bytes content = ReadWhole(context.files, words.At(0));
  UserSetup setup(context);
  HandheldSession session(setup.Chosen());
  session.Send(content, words.At(1), arguments.Has(kForce) ? Overwrite::Yes : Overwrite::No);
  context.out << content.size() << " bytes\n";
}

void RequireEmptyFolder(const std::string& folder, const Arguments& arguments, platform::FileSystem& files) {
  if (arguments.Has(kForce)) return;
  if (files.FileExists(folder)) throw Failure("\"" + folder + "\" is a file");
  if (!files.FolderExists(folder) || files.List(folder).empty()) return;
  throw Failure("\"" + folder + "\" is not empty; --force replaces the files in it");
}

void BackUp(const Arguments& arguments, ToolContext& context) {
  const Words words(arguments, 1, 2);
  const std::string& folder = words.At(0);
  if (context.files.FileExists(folder)) throw Failure("\"" + folder + "\" is a file");
  RequireEmptyFolder(folder, arguments, context.files);
  UserSetup setup(context);
  HandheldSession session(setup.Chosen());
  const std::string path = words.Count() == 2 ? words.At(1) : setup.Names().PDADBPath;
  const BackupResult result = BackUpHandheld(session, path, folder, context.files, context.out, context.err);
  context.out << result.files << (result.files == 1 ? " file, " : " files, ") << result.bytes << " bytes\n";
  if (result.failed != 0) throw Failure(std::to_string(result.failed) + " could not be copied");
}

void Simulate(const Arguments& arguments, ToolContext& context) {
  const Words words(arguments, 1, 1);
  SimulateHandheld(words.At(0), arguments, context);
}

void Handheld(const Arguments& arguments, ToolContext& context) {
  const std::string& word = arguments.Operand(0);
  if (word == "info") return Info(arguments, context);
  if (word == "ls") return List(arguments, context);
  if (word == "get") return Get(arguments, context);
  if (word == "put") return Put(arguments, context);
  if (word == "backup") return BackUp(arguments, context);
  if (word == "simulate") return Simulate(arguments, context);
  throw UsageError("\"handheld\" does not know \"" + word + "\": info, ls, get, put, backup or simulate");
}

}  // namespace

Command HandheldCommand() {
  return {
      .name = "handheld",
      .group = CommandGroup::Handheld,
      .summary = "looks into the handheld, copies its files, plays one",
      .help = kHandheldHelp,
      .rules = {.synopsis = "mvtool handheld info | ls [PATH] | get PATH FILE | put FILE PATH |\n"
                            "                backup FOLDER [PATH] | simulate ROOT",
                .leastOperands = 1,
                .mostOperands = 3,
                .switches = {kForce, kJson},
                .settings = {"--family", "--version", "--password", "--address", "--desktop", "--port", "--cut"},
                .operands = {Operand::Word, Operand::File, Operand::File},
                .words = {"info", "ls", "get", "put", "backup", "simulate"}},
      .run = &Handheld,
  };
}

}  // namespace mv::tool
