#include <algorithm>
#include <istream>
#include <ostream>

#include "base/Error.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "config/HandheldSettings.h"
#include "config/Settings.h"
#include "config/SettingsSection.h"
#include "jet/Database.h"
#include "mvtool/commands/Doctor.h"
#include "mvtool/files/CardSearch.h"
#include "mvtool/files/ToolErrors.h"
#include "run/HandheldChoice.h"
#include "run/TemplateFile.h"
#include "sync/Tables.h"

namespace mv::tool {
namespace {

constexpr const char* kDatabase = "--database";
constexpr const char* kHandheld = "--handheld";
constexpr const char* kRoot = "--root";
constexpr const char* kLog = "--log";
constexpr const char* kYes = "--yes";

constexpr const char* kFolder = "folder";
constexpr const char* kLibrary = "library";
constexpr const char* kNetwork = "network";

constexpr std::string_view kSetupHelp =
    "  Asks for the database and the handheld, looks for the tables on a card, and\n"
    "  writes the settings; whatever else they hold stays. Makes an empty database\n"
    "  out of the template where there is none. Ends with what \"doctor\" says and with\n"
    "  the first run to do. What is given as an option is not asked for.\n"
    "    --database FILE  the desktop database, or its folder\n"
    "    --handheld WAY   folder (a mounted card or share), library (the handheld\n"
    "                     software of a Windows PC) or network\n"
    "    --root FOLDER    for folder: what stands for the handheld's root\n"
    "    --log FILE       the sync log; else SyncLog.txt beside the database\n"
    "    --yes            asks nothing: what is not given stays, or takes its default\n"
    "  Exit status: that of \"doctor\"; 1 too when it could not be done.\n";

/// What is to be written.
struct Plan {
  std::string database;
  std::string log;
  std::string way;
  std::string root;          ///< for a folder
  std::string tablesFolder;  ///< on the handheld
};

/// Where answers come from: options, else the user, else what is there already.
class Answers {
 public:
  Answers(const Arguments& arguments, ToolContext& context) : arguments_(arguments), context_(context) {}

  std::string To(const char* option, const std::string& question, const std::string& usual) {
    if (const auto given = arguments_.ValueOf(option)) return *given;
    if (arguments_.Has(kYes)) return usual;
    const std::string answer = Ask(question + (usual.empty() ? "" : " [" + usual + "]") + ": ");
    return answer.empty() ? usual : answer;
  }

  bool Confirms(const std::string& question) {
    if (arguments_.Has(kYes)) return true;
    const std::string answer = Ask(question + " [y/n]: ");
    return EqualsIgnoreAsciiCase(answer, "y") || EqualsIgnoreAsciiCase(answer, "yes");
  }

 private:
  std::string Ask(const std::string& question) {
    context_.out << question << std::flush;
    std::string line;
    if (!std::getline(context_.in, line)) throw Failure("an answer is missing; nothing was written");
    if (line.ends_with('\r')) line.pop_back();
    return ValidUtf8(Trim(line));
  }

  const Arguments& arguments_;
  ToolContext& context_;
};

/// A file beside another one, with the separators of that one's path.
std::string Beside(const std::string& path, const std::string& name) {
  const std::string folder = path.substr(0, FolderLength(path));
  std::string beside = folder + name;
  if (folder.ends_with('/')) std::replace(beside.begin(), beside.end(), '\\', '/');
  return beside;
}

/// Absolute, and the database in it where it names a folder.
std::string DatabasePath(const platform::FileSystem& files, std::string text) {
  if (text.ends_with('/') || text.ends_with('\\')) text.pop_back();
  if (text.empty()) throw UsageError("the database is missing: --database FILE names it");
  if (!files.FolderExists(text)) return files.RealPath(text);
  const std::string folder = files.RealPath(text);
  return folder + (folder.find('\\') == std::string::npos ? "/" : "\\") + "Motorva.db";
}

/// The database of the settings, or one that lies where it would by default; empty where nothing speaks for a place.
std::string UsualDatabase(SettingsStore& store, const ToolContext& context, const Settings& stored) {
  const bool isSet = store.GetSetting(kSettingsApplication, "PPC_Mobile", "DesktopDBPath").has_value() ||
                     store.GetSetting(kSettingsApplication, "General", "DBPath").has_value();
  return isSet || context.files.FileExists(stored.DesktopDBPath) ? stored.DesktopDBPath : std::string();
}

std::string UsualWay(SettingsStore& store, const ToolContext& context) {
  switch (WayTo(LoadHandheldSettings(store), context.systemHasRapi)) {
    case HandheldWay::Folder:
      return kFolder;
    case HandheldWay::Network:
      return kNetwork;
    case HandheldWay::Library:
      return context.systemHasRapi ? kLibrary : kFolder;
  }
  return kFolder;
}

void RequireWay(const std::string& way, const ToolContext& context) {
  if (way != kFolder && way != kLibrary && way != kNetwork) {
    throw UsageError("the handheld is reached by folder, library or network, not by \"" + way + "\"");
  }
  if (way == kLibrary && !context.systemHasRapi) throw UsageError("this system has no handheld library");
}

/// The folder of the tables below a card: the one of the settings where it has some, else the one with most of them.
std::string TablesFolder(const ToolContext& context, const std::string& root, const std::string& stored) {
  const std::vector<std::string> found = FindTableFolders(context.files, root);
  const bool storedHasSome = std::any_of(
      found.begin(), found.end(), [&](const std::string& folder) { return EqualsIgnoreAsciiCase(folder, stored); });
  if (found.empty()) {
    context.out << "There are no table files below \"" << root << "\" (yet).\n";
    return stored;
  }
  const std::string& folder = storedHasSome ? stored : found.front();
  context.out << "The tables are in \"" << folder << "\" there.\n";
  return folder;
}

Plan MakePlan(Answers& answers, SettingsStore& store, ToolContext& context) {
  const Settings stored = LoadSettings(store, context.programFolder);
  Plan plan;
  const std::string usual = UsualDatabase(store, context, stored);
  plan.database = DatabasePath(context.files, answers.To(kDatabase, "Desktop database, a file or its folder", usual));
  plan.way = AsciiLower(answers.To(kHandheld, "Handheld: folder, library or network", UsualWay(store, context)));
  RequireWay(plan.way, context);
  plan.tablesFolder = stored.PDADBPath;
  if (plan.way == kFolder) {
    const std::string known = LoadHandheldSettings(store).root;
    plan.root = answers.To(kRoot, "Folder of the handheld (a mounted card or share)", known);
    if (plan.root.empty()) throw UsageError("the handheld's folder is missing: --root FOLDER names it");
    if (context.files.FolderExists(plan.root)) plan.root = context.files.RealPath(plan.root);
    plan.tablesFolder = TablesFolder(context, plan.root, stored.PDADBPath);
  }
  plan.log = answers.To(kLog, "Sync log", Beside(plan.database, "SyncLog.txt"));
  return plan;
}

void Print(const Plan& plan, std::ostream& out) {
  out << "\nDesktop database   " << plan.database << "\nSync log           " << plan.log << "\nHandheld           "
      << plan.way;
  if (!plan.root.empty()) out << ", " << plan.root;
  out << "\nTables there       " << plan.tablesFolder << '\n';
}

void Write(const Plan& plan, SettingsStore& store) {
  const SettingsSection mobile(store, "PPC_Mobile");
  mobile.Save("DesktopDBPath", plan.database);
  mobile.Save("PDADBPath", plan.tablesFolder);
  mobile.Save("PCSyncSourcePath", Beside(plan.database, "sync\\source"));
  mobile.Save("PCSyncDestPath", Beside(plan.database, "sync\\dest"));
  mobile.Save("SyncLogPath", plan.log);
  const SettingsSection handheld(store, "Handheld");
  handheld.Save("Connection", plan.way);
  if (plan.way == kFolder) handheld.Save("Root", plan.root);
}

void MakeDatabase(const std::string& database, ToolContext& context) {
  const std::string templatePath = TemplatePath(context.files, context.programFolder);
  if (!context.files.FileExists(templatePath)) {
    throw Failure("there is no \"" + database + "\", and no template \"" + templatePath + "\" to make it of");
  }
  context.files.CreateFolders(database.substr(0, FolderLength(database)));
  context.files.CopyWhole(templatePath, database);
}

/// True when none of the thirteen tables has a row.
bool IsEmpty(platform::FileSystem& files, const std::string& path) {
  const auto database = jet::Database::Open(files, path, jet::PageFile::Mode::ReadOnly);
  const std::vector<std::string> names = database->TableNames();
  return std::all_of(names.begin(), names.end(), [&](const std::string& name) {
    return FindTable(name) == nullptr || database->OpenTable(name).Count() == 0;
  });
}

/// A Synchronize takes from the handheld what an empty database lacks.
void PrintFirstRun(bool isEmpty, std::ostream& out) {
  if (isEmpty) {
    out << "\nThe database has no rows. Fill it from the handheld first, with Overwrite PC:\n"
           "  mvtool preview --mode 2\n"
           "  MVPPCSync -Mode2\n"
           "A Synchronize before that would empty the handheld's tables.\n";
  } else {
    out << "\nNext:\n"
           "  mvtool preview     shows what a Synchronize would do\n"
           "  MVPPCSync -Mode0   does it\n";
  }
}

void Setup(const Arguments& arguments, ToolContext& context) {
  if (!context.openSettings) throw Failure("there are no settings");
  const auto store = context.openSettings();
  Answers answers(arguments, context);
  const Plan plan = MakePlan(answers, *store, context);
  const bool isMissing = !context.files.FileExists(plan.database);
  Print(plan, context.out);
  if (isMissing) context.out << "There is no such database yet: an empty one will be made.\n";
  if (!answers.Confirms("Write this into " + store->PlaceOf(kSettingsApplication) + "?")) {
    throw Failure("nothing was written");
  }
  if (isMissing) MakeDatabase(plan.database, context);
  // Before the settings: those of a file that is no database would be of no use.
  const bool isEmpty = IsEmpty(context.files, plan.database);
  Write(plan, *store);
  context.out << '\n';
  PrintDiagnoses(DiagnoseAll(context), context);
  PrintFirstRun(isEmpty, context.out);
}

}  // namespace

Command SetupCommand() {
  return {
      .name = "setup",
      .group = CommandGroup::Start,
      .summary = "asks for database and handheld and writes the settings",
      .help = kSetupHelp,
      .rules = {.synopsis = "mvtool setup [--database FILE] [--handheld WAY] [--root FOLDER]\n"
                            "             [--log FILE] [--yes]",
                .leastOperands = 0,
                .mostOperands = 0,
                .switches = {kYes},
                .settings = {kDatabase, kHandheld, kRoot, kLog}},
      .run = &Setup,
  };
}

}  // namespace mv::tool
