#pragma once

#include <memory>
#include <string>

#include "run/RunContext.h"
#include "run/RunJournal.h"
#include "run/TablePaths.h"
#include "run/TableReporter.h"
#include "sync/SyncContext.h"
#include "sync/clsSyncableRS_ADO.h"
#include "sync/clsSyncableRS_PDB.h"

namespace mv {

/// Carries one table at a time through the whole road: its file is copied from the handheld into the local source
/// folder and loaded, merged with the desktop's table of the same name, and the merged table, written as a new file in
/// the local destination folder, goes back to the handheld.
///
/// What the merge changed in the desktop database is committed right after the merge, before the new file goes back: a
/// record's flag is never cleared on the handheld before its row is safe on the desktop. That is so as well when the
/// merge is stopped by an error; the rows changed before it stay changed.
///
/// Between steps, and while a table is loaded, the window's messages are handled; when the user has closed it, error 18
/// stops the run there. A copy from or to the handheld and a commit are never broken off.
class TableDriver {
 public:
  /// Both must outlive the driver.
  TableDriver(const RunContext& run, RunJournal& journal);
  TableDriver(const TableDriver&) = delete;
  TableDriver& operator=(const TableDriver&) = delete;

  /// Synchronises one table. Success shows in TablesSynchronized only, which it increments; a copy that fails is logged
  /// and skips the table. Every other error is raised and leaves the handheld's table as it was.
  void SynchronizeTable(const std::string& table);

 private:
  bool RetrieveTable(const std::string& table, const TablePaths& paths);
  DeviceCopyResult CopyFromDevice(const TablePaths& paths);
  void LoadSource(clsSyncableRS_PDB& source, const std::string& table);
  std::unique_ptr<Connection> OpenDatabase();
  std::unique_ptr<Recordset> OpenDesktopTable(Connection& connection, clsSyncableRS_ADO& desktop,
                                              const std::string& table);
  void CreateResult(clsSyncableRS_PDB& result, const Recordset& templateRS, const std::string& table,
                    const TablePaths& paths);
  void ReplaceOldResult(const std::string& path);
  void SetKeyInfo(clsSyncableRS_PDB& source, const std::string& table);
  void Merge(clsSyncableRS_PDB& source, clsSyncableRS_ADO& desktop, clsSyncableRS_PDB& result, Connection& connection,
             const std::string& table);
  void WriteResult(clsSyncableRS_PDB& source, clsSyncableRS_PDB& result, Recordset& desktop, const std::string& table,
                   const TablePaths& paths);
  void WriteAndReadBack(clsSyncableRS_PDB& source, clsSyncableRS_PDB& result, const std::string& table);
  void RequireReadableRecords(const std::string& table) const;
  void ReturnTable(IFileTransfer& transfer, const std::string& table, const TablePaths& paths);
  void PrepareFolders();

  const RunContext& run_;
  RunJournal& journal_;
  TableReporter reporter_;
  RunMode mode_;
  SyncContext context_;
};

/// The transfer that every run uses; no setting or mode chooses another. All arguments must outlive it.
std::unique_ptr<IFileTransfer> CreateFileTransfer(modWinCERAPIConnectionHandler& connection,
                                                  modWinCEFileManagement& deviceFiles, platform::FileSystem& files);

}  // namespace mv
