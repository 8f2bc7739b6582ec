#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

#include "recordset/Value.h"

namespace mv {

/// Rows by the text of one of their fields (TextOf), compared without regard to case. Rows are known by their number,
/// which grows in row order. Whoever owns the rows reports every change.
class TextIndex {
 public:
  using RowNumber = std::uint32_t;

  /// Makes room for rows to come.
  void Reserve(std::size_t rows) { rows_.reserve(rows); }
  void Add(const Value& value, RowNumber row);
  /// `value` must be the one that `row` was added with.
  void Remove(const Value& value, RowNumber row);
  /// The lowest row number from `start` on (it included) whose text equals `text`.
  std::optional<RowNumber> FirstFrom(std::string_view text, RowNumber start) const;

 private:
  /// The rows with one text. Nearly every text is that of one row.
  struct Rows {
    RowNumber lowest = 0;
    std::set<RowNumber> others;
  };

  std::unordered_map<std::string, Rows> rows_;
};

}  // namespace mv
