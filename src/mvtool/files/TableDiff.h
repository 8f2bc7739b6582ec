#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "history/Change.h"
#include "mvtool/files/RowSource.h"

namespace mv::tool {

/// What is different between two states of a table.
struct TableDiff {
  std::vector<std::string> onlyBefore;  ///< columns that only the first one has
  std::vector<std::string> onlyAfter;   ///< columns that only the second one has
  std::size_t added = 0;
  std::size_t changed = 0;
  std::size_t deleted = 0;

  bool IsSame() const { return onlyBefore.empty() && onlyAfter.empty() && added + changed + deleted == 0; }
};

/// Compares two states of a table by their keys, in the columns that both have, matched by name without regard to case.
/// Keys compare without regard to case; of several rows with one key the first is compared with the first, and so on.
/// Where there is no key, or one side lacks it, rows are the same when all their values are. Values are the same when
/// they are shown alike; when one side alone is a table file, when the handheld would hold the same.
///
/// `visit` gets each row that was added, changed or deleted: first in the order of `after`, then the deleted ones in
/// that of `before`. Its side is of no meaning. The rows of `before` are kept in memory, those of `after` are not.
TableDiff Compare(RowSource& before, RowSource& after, const std::function<void(const history::Change&)>& visit);

}  // namespace mv::tool
