#pragma once

#include "sync/ISyncableRS.h"
#include "sync/SyncContext.h"

namespace mv {

/// The record-level merge of one table. Only the handheld knows which of its records changed, by their flags; on a key
/// match the desktop's row wins unless the handheld's is flagged.
class clsSyncPolicy {
 public:
  /// Of the context only the run mode is read, once for each row that the handheld alone has.
  explicit clsSyncPolicy(const SyncContext& context) : context_(context) {}

  /// Merges the handheld's table (`deviceRS`, with flags and key) into the desktop's (`desktopRS`, edited in place) and
  /// appends to `outputRS` every record that the handheld must hold afterwards. What happens to a row:
  ///
  ///   desktop row   handheld row      desktop            output           handheld's recordset
  ///   yes           none              unchanged          desktop's row    -
  ///   yes           deleted           row deleted        nothing          row stays
  ///   yes           modified          handheld's row     handheld's row   row deleted
  ///   yes           not flagged       unchanged          desktop's row    row deleted
  ///   no            deleted           -                  nothing          row stays
  ///   no            modified          handheld's row     handheld's row   row stays
  ///   no            not flagged       the same in mode "Overwrite PC", else nothing
  ///
  /// "Deleted" outranks "modified". Of several handheld rows with one key the first matches; the others count as rows
  /// without a desktop row. Any error ends the merge at once; rows changed before stay changed. The result is always
  /// false and means nothing.
  bool Sync(ISyncableRS& deviceRS, ISyncableRS& desktopRS, ISyncableRS& outputRS) const;

 private:
  const SyncContext& context_;
};

}  // namespace mv
