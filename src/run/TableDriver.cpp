#include "run/TableDriver.h"

#include <utility>

#include "base/Error.h"
#include "device/clsWin32FileTransfer.h"
#include "platform/StagedWrite.h"
#include "run/CurrentError.h"
#include "run/DatabaseEngine.h"
#include "run/RunSteps.h"
#include "sync/KeyClasses.h"
#include "sync/clsSyncPolicy.h"

namespace mv {
namespace {

/// What the run did is already told; a failing clean-up shall not turn a finished table into a failed run.
void CloseQuietly(Connection& connection) {
  try {
    connection.Close();
  } catch (...) {
  }
}

/// Keeps what the merge changed before it failed. When that fails too, the merge's own error says more.
void CommitAfterError(Connection& connection) {
  try {
    connection.Commit();
  } catch (...) {
  }
}

/// A file that somebody else writes, by its path, before it takes its place.
class ArrivingFile {
 public:
  /// Makes it, empty. One that cannot be made cannot be written either; that shows as a failed copy.
  ArrivingFile(platform::FileSystem& files, const std::string& place, const std::string& like)
      : files_(files), place_(files.RealPath(place)) {
    try {
      files.CreateStaged(place_, like);
    } catch (const Error&) {
    }
  }
  /// Removes it when it was not put in place.
  ~ArrivingFile() {
    try {
      if (!placed_) platform::StagedWrite::TakeOver(files_, place_);
    } catch (const Error&) {
      // The failure that left it behind is told; the next fetch takes it over.
    }
  }
  ArrivingFile(const ArrivingFile&) = delete;
  ArrivingFile& operator=(const ArrivingFile&) = delete;

  std::string Path() const { return files_.StagedName(place_); }
  /// That its name outlives a power cut is for the caller to see to.
  bool PutInPlace() {
    try {
      platform::StagedWrite::TakeOver(files_, place_)->FinishContents();
      placed_ = true;
    } catch (const Error&) {
      // A result to the caller: the copy failed at its end.
    }
    return placed_;
  }

 private:
  platform::FileSystem& files_;
  std::string place_;
  bool placed_ = false;
};

}  // namespace

std::unique_ptr<IFileTransfer> CreateFileTransfer(modWinCERAPIConnectionHandler& connection,
                                                  modWinCEFileManagement& deviceFiles, platform::FileSystem& files) {
  return std::make_unique<clsWin32FileTransfer>(connection, deviceFiles, files);
}

TableDriver::TableDriver(const RunContext& run, RunJournal& journal)
    : run_(run),
      journal_(journal),
      reporter_(run),
      mode_(ModeOf(run.state)),
      context_{
          mode_,
          run.state.CurrentPdbFolder,
          [this] {
            reporter_.AdvanceSpinner();
            Yield(run_);
          },
          [this](const std::string& text) { run_.ui.ShowMessage(text, "", MessageButtons::Ok, MessageIcon::None); },
          run.files,
          run.shell,
          run.clock} {}

void TableDriver::SynchronizeTable(const std::string& table) {
  journal_.BeginTable(table);
  const std::unique_ptr<IFileTransfer> transfer = run_.createFileTransfer();
  if (!transfer) return;
  reporter_.Connecting();
  transfer->Initialize();
  const TablePaths paths = PathsOf(run_.state.settings, table);
  if (!RetrieveTable(table, paths)) return;

  clsSyncableRS_PDB source(context_);
  LoadSource(source, table);
  run_.files.NotNeededSoon(paths.source);  // it is in memory, and no step reads it again
  const std::unique_ptr<Connection> connection = OpenDatabase();
  {
    clsSyncableRS_ADO desktop;
    const std::unique_ptr<Recordset> records = OpenDesktopTable(*connection, desktop, table);
    std::optional<clsSyncableRS_PDB> result(context_);
    CreateResult(*result, *records, table, paths);
    SetKeyInfo(source, table);
    Merge(source, desktop, *result, *connection, table);
    WriteResult(source, *result, *records, table, paths);
    result.reset();  // with its records, before the file is in memory once more
    ReturnTable(*transfer, table, paths);
  }
  CloseQuietly(*connection);
}

bool TableDriver::RetrieveTable(const std::string& table, const TablePaths& paths) {
  reporter_.Retrieving(table);
  Yield(run_);
  PrepareFolders();
  const DeviceCopyResult result = CopyFromDevice(paths);
  reporter_.AdvanceSpinner();
  if (result == DeviceCopyResult::Copied) {
    journal_.Retrieved(table, paths.source);
    return true;
  }
  journal_.NotRetrieved(table, static_cast<std::int32_t>(result));
  reporter_.NotRetrieved(table, static_cast<std::int32_t>(result));
  Yield(run_);
  return false;
}

/// The copy writes over the start of an existing file and leaves what lies behind, which would lengthen the last
/// record. So it goes into an empty file, which then takes the place of an earlier run's. (Removing that one first
/// would take the table away where the source folder happens to be the handheld's own.)
DeviceCopyResult TableDriver::CopyFromDevice(const TablePaths& paths) {
  ArrivingFile arriving(run_.files, paths.source, run_.state.settings.DesktopDBPath);
  const DeviceCopyResult result = run_.deviceFiles.CopyFileFromDevice(paths.device, arriving.Path(), Overwrite::Yes);
  if (result != DeviceCopyResult::Copied) return result;
  return arriving.PutInPlace() ? result : DeviceCopyResult::WriteFailed;
}

void TableDriver::LoadSource(clsSyncableRS_PDB& source, const std::string& table) {
  reporter_.Retrieved(table);
  source.name(TableFileName(table));
  reporter_.Converting(table);
  reporter_.AdvanceSpinner();
  run_.state.CurrentPdbFolder = run_.state.settings.PCSyncSourcePath;
  source.createADORS();
  // Without its rows the merge would take every one of them for gone.
  source.RequireOpened();
  source.RequireHeader();
  Yield(run_);
  Yield(run_);
  reporter_.SourceCreated(table);
  Yield(run_);
}

std::unique_ptr<Connection> TableDriver::OpenDatabase() {
  auto connection = run_.databases.Open(ConnectionStringFor(run_.state.settings.DesktopDBPath));
  reporter_.AdvanceSpinner();
  return connection;
}

std::unique_ptr<Recordset> TableDriver::OpenDesktopTable(Connection& connection, clsSyncableRS_ADO& desktop,
                                                         const std::string& table) {
  auto records = connection.OpenTable(table);
  desktop.SetADORS(*records);
  reporter_.AdvanceSpinner();
  return records;
}

void TableDriver::CreateResult(clsSyncableRS_PDB& result, const Recordset& templateRS, const std::string& table,
                               const TablePaths& paths) {
  journal_.BeforeResult(table, paths.result);
  ReplaceOldResult(paths.result);
  run_.state.CurrentPdbFolder = run_.state.settings.PCSyncDestPath;
  result.createDB(TableFileName(table), templateRS);
  result.openDB(TableFileName(table));
  result.RequireOpened();
  reporter_.ResultCreated(table);
}

/// The result is written in place, and an earlier run's may have a second name in the history. So it begins as a new
/// file, which is as private as the database from its first moment.
void TableDriver::ReplaceOldResult(const std::string& path) {
  try {
    run_.files.CreateStaged(path, run_.state.settings.DesktopDBPath).reset();
    run_.files.RenameFile(run_.files.StagedName(path), path);
  } catch (const Error&) {
    // Whoever cannot do this cannot write the result either, and that raises an error of its own.
  }
}

void TableDriver::SetKeyInfo(clsSyncableRS_PDB& source, const std::string& table) {
  std::unique_ptr<IKeyInfo> keyInfo = MakeKeyInfo(table);
  if (!keyInfo) {
    reporter_.NotSupported(table);
    return;
  }
  source.keyInfo(std::move(keyInfo));
}

void TableDriver::Merge(clsSyncableRS_PDB& source, clsSyncableRS_ADO& desktop, clsSyncableRS_PDB& result,
                        Connection& connection, const std::string& table) {
  reporter_.AdvanceSpinner();
  const clsSyncPolicy policy(context_);
  reporter_.Synchronizing(table);
  Yield(run_);
  run_.state.CurrentTableName = table;
  context_.observer = journal_.BeginMerge(table, source.adors(), desktop.adors());
  try {
    policy.Sync(source, desktop, result);
  } catch (...) {
    journal_.MergeFailed(CurrentError(), desktop.adors());
    CommitAfterError(connection);
    throw;
  }
  journal_.EndMerge(desktop.adors());
  connection.Commit();
  journal_.Committed(table);
}

void TableDriver::WriteResult(clsSyncableRS_PDB& source, clsSyncableRS_PDB& result, Recordset& desktop,
                              const std::string& table, const TablePaths& paths) {
  try {
    WriteAndReadBack(source, result, table);
  } catch (...) {
    journal_.ResultFailed(table, desktop);
    throw;
  }
  journal_.ResultWritten(table, paths.result);
  Yield(run_);
}

void TableDriver::WriteAndReadBack(clsSyncableRS_PDB& source, clsSyncableRS_PDB& result, const std::string& table) {
  source.ForgetADORS();  // merged; the result takes as much memory while it is written
  result.closeDB();
  // Reads the result back: a file that cannot be read shall not reach the handheld.
  source.name(TableFileName(table));
  run_.state.CurrentPdbFolder = run_.state.settings.PCSyncDestPath;
  source.createADORS();
  source.RequireOpened();
  if (mode_ == RunMode::OverwritePda) RequireReadableRecords(table);
}

/// An Overwrite PDA loads no record of a table file. Those that it sends are read all the same: one that cannot be read
/// would stop every later run.
void TableDriver::RequireReadableRecords(const std::string& table) const {
  const RunMode loading = RunMode::Synchronize;
  const SyncContext context{loading,
                            context_.currentPdbFolder,
                            context_.reportProgress,
                            context_.showMessage,
                            context_.files,
                            context_.shell,
                            context_.clock};
  clsSyncableRS_PDB written(context);
  written.name(TableFileName(table));
  written.createADORS();
  written.RequireOpened();
}

void TableDriver::ReturnTable(IFileTransfer& transfer, const std::string& table, const TablePaths& paths) {
  reporter_.Transferring(table);
  Yield(run_);
  const DeviceCopyResult result = transfer.CopyToDevice(paths.result, paths.device, Overwrite::Yes);
  if (result == DeviceCopyResult::Copied) {
    journal_.Returned(table);
    reporter_.Returned(table);
    ++run_.state.TablesSynchronized;
  } else {
    journal_.NotReturned(table, static_cast<std::int32_t>(result));
    reporter_.NotReturned(table, static_cast<std::int32_t>(result));
  }
  Yield(run_);
  reporter_.TableEnded();
}

/// The settings dialog makes these folders, but a run without one shall work too. A folder that cannot be made shows
/// as a failed copy.
void TableDriver::PrepareFolders() {
  for (const std::string* folder : {&run_.state.settings.PCSyncSourcePath, &run_.state.settings.PCSyncDestPath}) {
    try {
      run_.files.CreateFolders(*folder);
    } catch (const Error&) {
    }
  }
}

}  // namespace mv
