#include "sync/clsSyncPolicy.h"

#include <algorithm>
#include <optional>

#include "sync/HandheldForm.h"

namespace mv {
namespace {

using Row = MergeObserver::Row;

/// The current row's table fields.
Row RowOf(const ISyncableRS& side) {
  Row row;
  const auto count = static_cast<std::size_t>(side.nSyncableFields());
  row.reserve(count);
  for (std::size_t i = 0; i < count; ++i) row.push_back(side.adors().FieldValue(i));
  return row;
}

/// One table's merge: its three sides and the two recordsets that are walked.
class TableMerge {
 public:
  TableMerge(ISyncableRS& deviceRS, ISyncableRS& desktopRS, ISyncableRS& outputRS, const SyncContext& context)
      : context_(context),
        observer_(context.observer),
        deviceRS_(deviceRS),
        desktopRS_(desktopRS),
        outputRS_(outputRS),
        deviceRecords_(deviceRS.adors()),
        desktopRecords_(desktopRS.adors()) {}

  /// Walks the desktop's rows; takes the handheld's row of each out of its recordset.
  void MergeDesktopRows();
  /// Walks the handheld's rows that are left.
  void AddDeviceRows();

 private:
  void MergeDesktopRow();
  /// Makes the handheld's row with the current desktop row's key the current one; false when there is none.
  bool FindDeviceRow();
  void TakeDeviceRow();
  void KeepDesktopRow();
  bool IsCopyOnHandheld() const;
  /// Whether the handheld's row holds what it has just got from the desktop's.
  bool IsDesktopRowOnHandheld() const;
  void AddDeviceRow();

  const SyncContext& context_;
  MergeObserver* observer_;  ///< null when nobody wants to know
  ISyncableRS& deviceRS_;
  ISyncableRS& desktopRS_;
  ISyncableRS& outputRS_;
  Recordset& deviceRecords_;
  Recordset& desktopRecords_;
  std::int64_t desktopRows_ = 0;  ///< that were walked
};

void TableMerge::MergeDesktopRows() {
  if (desktopRecords_.Eof()) return;
  // A server-side cursor knows all of its rows only after it has been at the last one.
  desktopRecords_.MoveLast();
  desktopRecords_.MoveFirst();
  do {
    MergeDesktopRow();
    ++desktopRows_;
    desktopRecords_.MoveNext();  // saves the row if it was edited
  } while (!desktopRecords_.Eof());
}

void TableMerge::MergeDesktopRow() {
  if (!FindDeviceRow()) {
    outputRS_.copyRecordToNative(desktopRS_);
    if (observer_) observer_->Added(Side::Handheld, RowOf(desktopRS_));
    return;
  }
  if (deviceRS_.RecordIsDeleted()) {
    const Row gone = observer_ ? RowOf(desktopRS_) : Row();
    desktopRecords_.Delete();
    if (observer_) observer_->Deleted(Side::Desktop, gone);
    return;
  }
  if (deviceRS_.RecordIsModified()) {
    TakeDeviceRow();
  } else {
    KeepDesktopRow();
  }
  deviceRecords_.Delete();
}

void TableMerge::TakeDeviceRow() {
  const Row before = observer_ ? RowOf(desktopRS_) : Row();
  outputRS_.copyRecordToNative(deviceRS_);
  desktopRS_.copyRecordToNative(deviceRS_);
  if (!observer_) return;
  const Row after = RowOf(desktopRS_);
  if (after != before) observer_->Changed(Side::Desktop, before, after);
}

void TableMerge::KeepDesktopRow() {
  outputRS_.copyRecordToNative(desktopRS_);
  if (observer_ && !IsDesktopRowOnHandheld()) {
    observer_->Changed(Side::Handheld, RowOf(deviceRS_), RowOf(desktopRS_));
  }
}

/// Whether the handheld's record is byte for byte the one that was just copied; nearly every row is, and none of its
/// values need then be made for the comparison.
bool TableMerge::IsCopyOnHandheld() const {
  const std::optional<HandheldFields> copied = outputRS_.copiedFields();
  const std::optional<HandheldFields> held = deviceRS_.currentFields();
  return copied && held && std::ranges::equal(copied->types, held->types) &&
         std::ranges::equal(copied->bytes, held->bytes);
}

bool TableMerge::IsDesktopRowOnHandheld() const {
  const std::vector<FieldDefinition>& fields = deviceRecords_.Fields();
  const auto count = static_cast<std::size_t>(desktopRS_.nSyncableFields());
  if (deviceRS_.nSyncableFields() != desktopRS_.nSyncableFields() || fields.size() < count) return false;
  if (IsCopyOnHandheld()) return true;
  Value deviceRoom;
  Value desktopRoom;
  for (std::size_t i = 0; i < count; ++i) {
    const Value& device = deviceRecords_.PeekField(i, deviceRoom);
    if (!IsSameOnHandheld(fields[i].type, device, desktopRecords_.PeekField(i, desktopRoom))) return false;
  }
  return true;
}

bool TableMerge::FindDeviceRow() {
  if (deviceRecords_.RecordCount() <= 0) return false;
  deviceRecords_.MoveFirst();
  deviceRecords_.Find(deviceRS_.keyCriteria(desktopRecords_));
  return !deviceRecords_.Eof();
}

void TableMerge::AddDeviceRows() {
  if (observer_) observer_->Walked(desktopRows_);
  if (deviceRecords_.Bof() && deviceRecords_.Eof()) return;
  for (deviceRecords_.MoveFirst(); !deviceRecords_.Eof(); deviceRecords_.MoveNext()) {
    const bool modified = deviceRS_.RecordIsModified();
    const bool deleted = deviceRS_.RecordIsDeleted();
    if (deleted) {
      if (observer_) observer_->Deleted(Side::Handheld, RowOf(deviceRS_));
      continue;
    }
    if (modified || context_.syncMode == RunMode::OverwritePc) {
      AddDeviceRow();
    } else if (observer_) {
      observer_->Dropped(RowOf(deviceRS_));
    }
  }
}

void TableMerge::AddDeviceRow() {
  desktopRecords_.AddNew();
  desktopRS_.copyRecordToNative(deviceRS_);
  desktopRecords_.Update();
  outputRS_.copyRecordToNative(deviceRS_);
  if (observer_) observer_->Added(Side::Desktop, RowOf(deviceRS_));
}

}  // namespace

bool clsSyncPolicy::Sync(ISyncableRS& deviceRS, ISyncableRS& desktopRS, ISyncableRS& outputRS) const {
  TableMerge merge(deviceRS, desktopRS, outputRS, context_);
  merge.MergeDesktopRows();
  merge.AddDeviceRows();
  return false;
}

}  // namespace mv
