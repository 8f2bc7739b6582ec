#include <algorithm>
#include <optional>
#include <ostream>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/Text.h"
#include "config/HandheldSettings.h"
#include "config/Settings.h"
#include "config/SettingsSection.h"
#include "device/wire/WireOptions.h"
#include "jet/Database.h"
#include "mvtool/commands/Answers.h"
#include "mvtool/commands/Doctor.h"
#include "mvtool/files/CardSearch.h"
#include "platform/Socket.h"
#include "platform/System.h"
#include "run/HandheldChoice.h"
#include "run/TemplateFile.h"
#include "sync/Tables.h"

namespace mv::tool {
namespace {

constexpr const char* kDatabase = "--database";
constexpr const char* kHandheld = "--handheld";
constexpr const char* kRoot = "--root";
constexpr const char* kListen = "--listen";
constexpr const char* kPasswordFile = "--password-file";
constexpr const char* kWait = "--wait";
constexpr const char* kLog = "--log";
constexpr const char* kYes = "--yes";

constexpr const char* kHandheldSection = "Handheld";

constexpr const char* kFolder = "folder";
constexpr const char* kLibrary = "library";
constexpr const char* kNetwork = "network";
constexpr const char* kNone = "none";  ///< as an answer: no password file

constexpr std::string_view kSetupHelp =
    "  Asks for the database and the handheld, looks for the tables on a card, and\n"
    "  writes the settings; whatever else they hold stays. Makes an empty database\n"
    "  out of the template where there is none. Ends with what \"doctor\" says and with\n"
    "  the first run to do. What is given as an option is not asked for.\n"
    "    --database FILE  the desktop database, or its folder\n"
    "    --handheld WAY   folder (a mounted card or share), library (the handheld\n"
    "                     software of a Windows PC) or network\n"
    "    --root FOLDER    for folder: what stands for the handheld's root\n"
    "    --listen ADDRESSES\n"
    "                     for network: addresses of this PC at which it may call\n"
    "    --password-file FILE\n"
    "                     for network: its first line is the handheld's password;\n"
    "                     none: no password\n"
    "    --wait SECONDS   for network: how long the handheld has to answer\n"
    "    --log FILE       the sync log; else SyncLog.txt beside the database\n"
    "    --yes            asks nothing: what is not given stays, or takes its default\n"
    "  Exit status: that of \"doctor\"; 1 too when it could not be done.\n";

/// Settings of one section: keys and texts.
using Keys = std::vector<std::pair<std::string, std::string>>;

/// What is to be written.
struct Plan {
  std::string database;
  std::string log;
  std::string way;
  std::string root;          ///< for a folder
  Keys network;              ///< for the network: what changes in [Handheld]
  std::string tablesFolder;  ///< on the handheld
};

/// A file beside another one, with the separators of that one's path.
std::string Beside(const std::string& path, const std::string& name) {
  const std::string folder = path.substr(0, FolderLength(path));
  std::string beside = folder + name;
  if (folder.ends_with('/')) std::replace(beside.begin(), beside.end(), '\\', '/');
  return beside;
}

/// A path as people write it: relative, or with "~/" where no shell has replaced it.
std::string AbsolutePath(const platform::FileSystem& files, const std::string& text) {
  const auto home = text.starts_with("~/") ? platform::EnvironmentVariable("HOME") : std::nullopt;
  return files.RealPath(home ? *home + text.substr(1) : text);
}

bool HasEnding(const std::string& path) {
  return path.find('.', FolderLength(path)) != std::string::npos;
}

/// Absolute, and the database in it where it names a folder. A name without an ending is that of a folder to be made.
std::string DatabasePath(const platform::FileSystem& files, const std::string& text) {
  const bool endsAsFolder = text.ends_with('/') || text.ends_with('\\');
  std::string path = AbsolutePath(files, text);
  const bool isFolder = files.FolderExists(path) || (!files.FileExists(path) && (endsAsFolder || !HasEnding(path)));
  if (!isFolder) return path;
  const char separator = path.find('\\') == std::string::npos ? '/' : '\\';
  if (!path.ends_with(separator)) path += separator;
  return path + "Motorva.db";
}

/// The database of the settings, or one that lies where it would by default; empty where nothing speaks for a place.
std::string UsualDatabase(SettingsStore& store, const ToolContext& context, const Settings& stored) {
  const bool isSet = store.GetSetting(kSettingsApplication, "PPC_Mobile", "DesktopDBPath").has_value() ||
                     store.GetSetting(kSettingsApplication, "General", "DBPath").has_value();
  return isSet || context.files.FileExists(stored.DesktopDBPath) ? ShownPath(stored.DesktopDBPath) : std::string();
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

std::string ComplaintAboutWay(const std::string& way, const ToolContext& context) {
  const std::string word = AsciiLower(way);
  if (word != kFolder && word != kLibrary && word != kNetwork) {
    return "the handheld is reached by folder, library or network, not by \"" + way + '"';
  }
  return word == kLibrary && !context.systemHasRapi ? "this system has no handheld library" : "";
}

/// The user's settings with others in [Handheld], to see whether a run would take those.
class ProposedSettings : public SettingsStore {
 public:
  ProposedSettings(SettingsStore& stored, const Keys& proposed) : stored_(stored), proposed_(proposed) {}

  std::optional<std::string> GetSetting(const std::string& application, const std::string& section,
                                        const std::string& key) override {
    const auto found = std::ranges::find(proposed_, key, &Keys::value_type::first);
    if (section == kHandheldSection && found != proposed_.end()) return found->second;
    return stored_.GetSetting(application, section, key);
  }
  void SaveSetting(const std::string&, const std::string&, const std::string&, const std::string&) override {
    throw Failure("proposed settings are not stored");
  }

 private:
  SettingsStore& stored_;
  const Keys& proposed_;
};

/// Asks for what a handheld on the network needs. Only what differs from what holds already is to be written: a
/// default that is not stored stays one.
class NetworkQuestions {
 public:
  NetworkQuestions(Answers& answers, SettingsStore& store, ToolContext& context)
      : answers_(answers), store_(store), context_(context) {}

  Keys Ask() {
    Keys changes;
    AskFor("Listen", kListen, "Addresses of this PC at which it may call", CustomaryAddresses(), changes);
    AskFor("PasswordFile", kPasswordFile, "File with the handheld's password", kNone, changes);
    AskFor("Wait", kWait, "Seconds that the handheld has to answer", std::to_string(HandheldSettings().wait.count()),
           changes);
    return changes;
  }

 private:
  static std::string CustomaryAddresses() {
    std::string addresses;
    for (const wire::WireLink& link : wire::CustomaryLinks()) {
      addresses += (addresses.empty() ? "" : " ") + platform::SocketAddress{link.desktop, 0}.HostText();
    }
    return addresses;
  }

  void AskFor(const char* key, const char* option, const char* text, const std::string& otherwise, Keys& changes) {
    const std::string stored = SettingsSection(store_, kHandheldSection).Text(key, "");
    const std::string usual = stored.empty() ? otherwise : stored;
    const auto complaint = [&](const std::string& answer) { return ComplaintAbout(key, TextOf(key, answer)); };
    const std::string answer = answers_.To({option, text, usual, complaint});
    if (answer != usual) changes.emplace_back(key, TextOf(key, answer));
  }

  /// What is stored for an answer.
  std::string TextOf(std::string_view key, const std::string& answer) const {
    if (key != "PasswordFile") return answer;
    return EqualsIgnoreAsciiCase(answer, kNone) ? "" : AbsolutePath(context_.files, answer);
  }

  std::string ComplaintAbout(std::string_view key, const std::string& text) {
    const Keys proposed = {{std::string(key), text}};
    ProposedSettings settings(store_, proposed);
    try {
      const HandheldSettings handheld = LoadHandheldSettings(settings);
      // Looks at the file as well.
      if (key == "PasswordFile") WireOptionsOf(handheld, context_.files);
      return {};
    } catch (const Error& error) {
      return error.Description();
    }
  }

  Answers& answers_;
  SettingsStore& store_;
  ToolContext& context_;
};

/// The ways that this system has, for people.
std::string WaysOf(const ToolContext& context) {
  return context.systemHasRapi ? "folder, library or network" : "folder or network";
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
  const auto missing = [](const char* complaint) {
    return [complaint](const std::string& answer) { return std::string(answer.empty() ? complaint : ""); };
  };
  Plan plan;
  plan.database = DatabasePath(context.files,
                               answers.To({kDatabase, "Desktop database, a file or its folder",
                                           UsualDatabase(store, context, stored), missing("the database is missing")}));
  plan.way = AsciiLower(answers.To({kHandheld, "Handheld: " + WaysOf(context), UsualWay(store, context),
                                    [&](const std::string& way) { return ComplaintAboutWay(way, context); }}));
  plan.tablesFolder = stored.PDADBPath;
  if (plan.way == kFolder) {
    plan.root = AbsolutePath(
        context.files, answers.To({kRoot, "Folder of the handheld (a mounted card or share)",
                                   LoadHandheldSettings(store).root, missing("the handheld's folder is missing")}));
    plan.tablesFolder = TablesFolder(context, plan.root, stored.PDADBPath);
  }
  if (plan.way == kNetwork) plan.network = NetworkQuestions(answers, store, context).Ask();
  plan.log = AbsolutePath(context.files, answers.To({kLog, "Sync log", Beside(plan.database, "SyncLog.txt")}));
  return plan;
}

void Print(const Plan& plan, std::ostream& out) {
  out << "\nDesktop database   " << plan.database << "\nSync log           " << plan.log << "\nHandheld           "
      << plan.way;
  if (!plan.root.empty()) out << ", " << plan.root;
  for (const auto& [key, text] : plan.network) out << ", " << key << " " << (text.empty() ? kNone : text);
  out << "\nTables there       " << plan.tablesFolder << '\n';
}

void Write(const Plan& plan, SettingsStore& store) {
  const SettingsSection mobile(store, "PPC_Mobile");
  mobile.Save("DesktopDBPath", plan.database);
  mobile.Save("PDADBPath", plan.tablesFolder);
  mobile.Save("PCSyncSourcePath", Beside(plan.database, "sync\\source"));
  mobile.Save("PCSyncDestPath", Beside(plan.database, "sync\\dest"));
  mobile.Save("SyncLogPath", plan.log);
  const SettingsSection handheld(store, kHandheldSection);
  handheld.Save("Connection", plan.way);
  if (plan.way == kFolder) handheld.Save("Root", plan.root);
  for (const auto& [key, text] : plan.network) handheld.Save(key.c_str(), text);
}

void MakeDatabase(const std::string& database, ToolContext& context) {
  const std::string templatePath = TemplatePath(context.files, context.programFolder);
  if (!context.files.FileExists(templatePath)) {
    throw Failure("there is no \"" + database + "\", and no template \"" + templatePath + "\" to make it of");
  }
  try {
    context.files.CreateFolders(database.substr(0, FolderLength(database)));
    context.files.CopyWhole(templatePath, database);
  } catch (const Error& error) {
    throw At("\"" + database + "\" cannot be made", error);
  }
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
  Answers answers(arguments, context, kYes);
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
                            "             [--listen ADDRESSES] [--password-file FILE] [--wait SECONDS]\n"
                            "             [--log FILE] [--yes]",
                .leastOperands = 0,
                .mostOperands = 0,
                .switches = {kYes},
                .settings = {kDatabase, kHandheld, kRoot, kListen, kPasswordFile, kWait, kLog}},
      .run = &Setup,
  };
}

}  // namespace mv::tool
