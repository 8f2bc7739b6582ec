#pragma once

#include <cstdint>
#include <vector>

#include "recordset/Value.h"

namespace mv {

/// The two sides of a table.
enum class Side { Desktop, Handheld };

/// Learns what a merge does to the rows of a table, each right after it was done; a row that stays as it is on both
/// sides is not told. Values are those of a row's table fields in their order, without the handheld's flags. What a
/// side calls an added, changed or deleted row is against what it held before the run.
class MergeObserver {
 public:
  using Row = std::vector<Value>;

  virtual ~MergeObserver() = default;
  /// The merge has been through the desktop's rows, so many of them, and goes on with those that the handheld alone
  /// has.
  virtual void Walked(std::int64_t desktopRows) = 0;
  /// The side got a row whose key it did not have.
  virtual void Added(Side side, const Row& row) = 0;
  /// The side's row got other values: the desktop's because the handheld flagged its own as modified, the handheld's
  /// because it did not.
  virtual void Changed(Side side, const Row& before, const Row& after) = 0;
  /// The side lost a row that the handheld flagged as deleted. On the handheld its record goes now, whether the desktop
  /// had the row or not; a record without any bytes gives a row of nulls or zeros.
  virtual void Deleted(Side side, const Row& row) = 0;
  /// The handheld lost a row that no desktop row matched and that was not flagged as modified.
  virtual void Dropped(const Row& row) = 0;
};

}  // namespace mv
