#include "run/Preview.h"

#include <algorithm>
#include <random>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "history/HistoryFolder.h"
#include "history/RunArchive.h"
#include "history/UnfilledTables.h"
#include "jet/file/DatabaseFile.h"
#include "platform/Shell.h"
#include "platform/StagedWrite.h"
#include "run/CurrentError.h"
#include "run/DatabaseEngine.h"
#include "run/JournalTexts.h"
#include "run/Main.h"
#include "run/PreviewParts.h"
#include "run/Rehearsal.h"
#include "run/RunSteps.h"
#include "run/SilentSync.h"
#include "run/TableDriver.h"
#include "run/TablePaths.h"
#include "run/Version.h"
#include "ui/SystemUi.h"

namespace mv {
namespace {

/// A folder that goes with the object.
class ScratchFolder {
 public:
  ScratchFolder(platform::FileSystem& files, const std::string& parent) : files_(files) {
    std::random_device random;
    do {
      path_ = JoinPath(parent, "mvpreview-" + std::to_string(random()));
    } while (!files_.CreateFolder(path_));
  }
  ~ScratchFolder() {
    try {
      Remove(path_);
    } catch (const Error&) {
      // Held by a scanner, perhaps; a left-over means nothing.
    }
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::string& Path() const { return path_; }

 private:
  void Remove(const std::string& folder) {
    for (const std::string& name : files_.List(folder)) {
      const std::string path = JoinPath(folder, name);
      files_.FolderExists(path) ? Remove(path) : files_.RemoveFile(path);
    }
    files_.RemoveFolder(folder);
  }

  platform::FileSystem& files_;
  std::string path_;
};

/// Where things lie for the preview.
Settings ScratchSettings(Settings settings, const std::string& scratch) {
  settings.DesktopDBPath = JoinPath(scratch, settings.DesktopDBPath.substr(FolderLength(settings.DesktopDBPath)));
  settings.PCSyncSourcePath = JoinPath(scratch, "sync\\source");
  settings.PCSyncDestPath = JoinPath(scratch, "sync\\dest");
  settings.SyncLogPath = JoinPath(scratch, "SyncLog.txt");
  return settings;
}

void CopyInto(platform::FileSystem& files, const std::string& from, const std::string& to, const std::string& like) {
  const auto source =
      files.Open(from, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::Read);
  auto copy = files.CreateStaged(to, like);
  platform::CopyContent(*source, *copy);
  copy.reset();
  files.RenameFile(files.StagedName(to), to);
}

/// The run's own error when another program has the database open; the copy would not tell.
void RequireUnused(platform::FileSystem& files, const std::string& database) {
  try {
    jet::OpenDatabaseFile(files, database, jet::DatabaseAccess::Write);
  } catch (const Error& error) {
    throw jet::JetErrorFor(error, database);
  }
}

/// Copies what the run would find beside the handheld: the database, what an Overwrite PC left to fill, and the tables
/// on which both sides agreed last.
void LayOut(platform::FileSystem& files, const Settings& real, const Settings& scratch) {
  const std::string& database = real.DesktopDBPath;
  files.CreateFolders(scratch.PCSyncDestPath);
  if (files.FileExists(database)) {
    RequireUnused(files, database);
    CopyInto(files, database, scratch.DesktopDBPath, database);
  }
  history::UnfilledTables(files, scratch.DesktopDBPath).Save(history::UnfilledTables(files, database).Load());
  const history::RunArchive archive(files, database);
  for (const SyncTable& table : kTables) {
    const std::string last = archive.LastReturned(table.name).value_or(PathsOf(real, table.name).result);
    if (!files.FileExists(last)) continue;
    CopyInto(files, last, PathsOf(scratch, table.name).result, database);
  }
}

/// Gives the paths in a text back their places outside the copy.
class RealPaths {
 public:
  RealPaths(const Settings& real, const Settings& scratch) {
    for (const auto member :
         {&Settings::PCSyncSourcePath, &Settings::PCSyncDestPath, &Settings::SyncLogPath, &Settings::DesktopDBPath}) {
      replaced_.emplace_back(scratch.*member, real.*member);
    }
  }
  std::string In(std::string text) const {
    for (const auto& [scratch, real] : replaced_) {
      for (auto at = text.find(scratch); at != std::string::npos; at = text.find(scratch, at + real.size())) {
        text.replace(at, scratch.size(), real);
      }
    }
    return text;
  }

 private:
  std::vector<std::pair<std::string, std::string>> replaced_;
};

/// The objects of a run, as Wiring makes them.
class PreviewRun {
 public:
  PreviewRun(const PreviewContext& context, const Settings& real, RunMode mode, const std::string& scratch)
      : context_(context),
        real_(real),
        files_(context.files, scratch),
        handheld_(context.handheld),
        settings_(context.settings),
        ui_(context.waiting == nullptr ? MakeSilentUserInterface()
                                       : std::make_unique<WaitingUserInterface>(*context.waiting)) {
    state_.settings = real;
    state_.ModeNames = ModeNames();
    state_.ModeResultTexts = ModeResultTexts();
    LoadHistoryLimits(context.settings);  // raises where the run would not start
    state_.history = {1, HistoryLimits().maxMegabytes};
    state_.safety = LoadSafetySettings(context.settings);
    SetMode(state_, mode);
  }

  PreviewResult Run(std::span<const SyncTable> tables, const std::string& scratch) {
    PreviewResult result;
    run_.tell = [&](const std::string& line) { result.told.push_back(line); };
    run_.earlierRunsOf = real_.DesktopDBPath;
    RequireSeparatePaths(run_, tables);
    state_.settings = ScratchSettings(state_.settings, scratch);
    LayOut(context_.files, real_, state_.settings);
    result.status = SilentSync(run_, tables);
    Collect(result);
    if (NeedsRehearsal(run_)) Judge(result);
    return result;
  }

 private:
  /// The run itself would meet this on its copy, and not begin.
  void Judge(PreviewResult& result) {
    const auto& objection = result.objection = ObjectionTo(ModeOf(state_), result);
    if (!objection) return;
    result.status = ExitStatus::Stopped;
    result.record.status = static_cast<int>(result.status);
    result.record.error = journal_texts::ErrorText(*objection);
    result.told.push_back(journal_texts::StoppedLine("", *objection, real_.DesktopDBPath));
  }

  void Collect(PreviewResult& result) {
    const history::HistoryFolder folder(context_.files, state_.settings.DesktopDBPath);
    const RealPaths paths(real_, state_.settings);
    for (std::string& line : result.told) line = paths.In(line);
    for (const std::string& entry : folder.Entries()) {
      if (auto record = folder.Read(entry)) result.record = std::move(*record);
      result.changes = folder.ReadChanges(entry);
    }
    if (state_.stop) {
      result.stop = Error(state_.stop->Number(), paths.In(state_.stop->Source()), paths.In(state_.stop->Description()));
    }
    result.record.error = paths.In(result.record.error);
    result.record.databasePath = paths.In(result.record.databasePath);
    for (std::string& warning : result.record.warnings) warning = paths.In(warning);
    for (auto& [name, value] : result.record.settings) value = paths.In(value);
  }

  const PreviewContext& context_;
  Settings real_;
  ScratchFileSystem files_;
  ReadOnlyRapi handheld_;
  ReadOnlySettings settings_;
  platform::SystemShell shell_;
  RunState state_;
  ProtectedFiles protectedFiles_{files_, state_.settings, context_.programFolder};
  SyncLog log_{files_, state_.settings, protectedFiles_};
  std::unique_ptr<UserInterface> ui_;
  DeviceHooks hooks_{[this](const std::string& line) { log_.WriteLogLine(line, false); }, [] {}, [] {},
                     [this] { ui_->ProcessMessages(); }, [this] { return ui_->Closed(); }};
  modWinCERAPIConnectionHandler connection_{handheld_, hooks_, context_.handheldWait};
  modWinCEFileManagement deviceFiles_{handheld_, connection_, files_, hooks_};
  std::unique_ptr<DatabaseProvider> databases_ = MakeDatabaseEngine(files_);
  platform::SystemClock clock_;
  RunContext run_{state_,
                  log_,
                  *ui_,
                  settings_,
                  *databases_,
                  connection_,
                  deviceFiles_,
                  [this] { return CreateFileTransfer(connection_, deviceFiles_, files_); },
                  files_,
                  shell_,
                  clock_,
                  context_.programFolder,
                  kProgramVersion,
                  protectedFiles_,
                  context_.localDeviceFile};
};

/// A run that does not even begin: it is stopped by the same error.
PreviewResult Stopped(const Error& error) {
  PreviewResult result;
  result.status = ExitStatus::Stopped;
  result.record.status = static_cast<int>(result.status);
  result.record.error = error.Description();
  result.stop = error;
  return result;
}

}  // namespace

PreviewResult RunPreview(const PreviewContext& context, const PreviewRequest& request) {
  const Settings real = LoadSettings(context.settings, context.programFolder);
  const RunMode mode = request.mode.value_or(static_cast<RunMode>(real.SyncMode));
  const ScratchFolder scratch(context.files, context.temporaryFolder);
  PreviewRun run(context, real, mode, scratch.Path());
  try {
    return run.Run(request.tables, scratch.Path());
  } catch (...) {
    return Stopped(CurrentError());
  }
}

}  // namespace mv
