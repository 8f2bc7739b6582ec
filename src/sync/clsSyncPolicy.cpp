#include "sync/clsSyncPolicy.h"

namespace mv {
namespace {

/// One table's merge: its three sides and the two recordsets that are walked.
class TableMerge {
 public:
  TableMerge(ISyncableRS& deviceRS, ISyncableRS& desktopRS, ISyncableRS& outputRS)
      : deviceRS_(deviceRS),
        desktopRS_(desktopRS),
        outputRS_(outputRS),
        deviceRecords_(deviceRS.adors()),
        desktopRecords_(desktopRS.adors()) {}

  /// Walks the desktop's rows; takes the handheld's row of each out of its recordset.
  void MergeDesktopRows();
  /// Walks the handheld's rows that are left.
  void AddDeviceRows(const SyncContext& context);

 private:
  void MergeDesktopRow();
  /// Makes the handheld's row with the current desktop row's key the current one; false when there is none.
  bool FindDeviceRow();

  ISyncableRS& deviceRS_;
  ISyncableRS& desktopRS_;
  ISyncableRS& outputRS_;
  Recordset& deviceRecords_;
  Recordset& desktopRecords_;
};

void TableMerge::MergeDesktopRows() {
  if (desktopRecords_.Eof()) return;
  // A server-side cursor knows all of its rows only after it has been at the last one.
  desktopRecords_.MoveLast();
  desktopRecords_.MoveFirst();
  do {
    MergeDesktopRow();
    desktopRecords_.MoveNext();  // saves the row if it was edited
  } while (!desktopRecords_.Eof());
}

void TableMerge::MergeDesktopRow() {
  if (!FindDeviceRow()) {
    outputRS_.copyRecordToNative(desktopRS_);
    return;
  }
  if (deviceRS_.RecordIsDeleted()) {
    desktopRecords_.Delete();
    return;
  }
  if (deviceRS_.RecordIsModified()) {
    outputRS_.copyRecordToNative(deviceRS_);
    desktopRS_.copyRecordToNative(deviceRS_);
  } else {
    outputRS_.copyRecordToNative(desktopRS_);
  }
  deviceRecords_.Delete();
}

bool TableMerge::FindDeviceRow() {
  if (deviceRecords_.RecordCount() <= 0) return false;
  deviceRecords_.MoveFirst();
  deviceRecords_.Find(deviceRS_.keyCriteria(desktopRecords_));
  return !deviceRecords_.Eof();
}

void TableMerge::AddDeviceRows(const SyncContext& context) {
  if (deviceRecords_.Bof() && deviceRecords_.Eof()) return;
  for (deviceRecords_.MoveFirst(); !deviceRecords_.Eof(); deviceRecords_.MoveNext()) {
    const bool modified = deviceRS_.RecordIsModified();
    const bool deleted = deviceRS_.RecordIsDeleted();
    const bool wanted = modified || context.syncMode == sync_modes::kOverwritePc;
    if (deleted || !wanted) continue;
    desktopRecords_.AddNew();
    desktopRS_.copyRecordToNative(deviceRS_);
    desktopRecords_.Update();
    outputRS_.copyRecordToNative(deviceRS_);
  }
}

}  // namespace

bool clsSyncPolicy::Sync(ISyncableRS& deviceRS, ISyncableRS& desktopRS, ISyncableRS& outputRS) const {
  TableMerge merge(deviceRS, desktopRS, outputRS);
  merge.MergeDesktopRows();
  merge.AddDeviceRows(context_);
  return false;
}

}  // namespace mv
