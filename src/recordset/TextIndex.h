#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "recordset/Value.h"

namespace mv {

/// Rows by the text of one of their fields (TextOf), compared without regard to case. Rows are known by their number,
/// which grows in row order. Whoever owns the rows reports every change.
///
/// A hash table whose places lie in one block, and all texts in another: a look-up touches three places in memory.
class TextIndex {
 public:
  using RowNumber = std::uint32_t;

  /// Makes room for rows to come.
  void Reserve(std::size_t rows);
  void Add(const Value& value, RowNumber row);
  /// `value` must be the one that `row` was added with.
  void Remove(const Value& value, RowNumber row);
  /// The lowest row number from `start` on (it included) whose text equals `text`.
  std::optional<RowNumber> FirstFrom(std::string_view text, RowNumber start) const;

 private:
  using EntryNumber = std::uint32_t;
  /// A text and the lowest of its rows. It stays when its last row goes, without one.
  struct Entry {
    std::size_t textAt = 0;  ///< in texts_
    std::size_t textLength = 0;
    std::optional<RowNumber> lowest;
  };
  /// Of the hash table; free while there is no entry.
  struct Place {
    std::uint32_t hash = 0;
    std::optional<EntryNumber> entry;
  };

  std::string_view TextAt(const Entry& entry) const {
    return std::string_view(texts_).substr(entry.textAt, entry.textLength);
  }
  /// The place of this text, or the free one where it belongs. There must be a free one.
  std::size_t PlaceOf(std::string_view text, std::uint32_t hash) const;
  EntryNumber EntryOf(std::string_view text);
  void Grow(std::size_t places);

  std::vector<Place> places_;  ///< a power of two, at most half of them taken
  std::vector<Entry> entries_;
  std::string texts_;                                   ///< folded, one behind the other
  std::map<EntryNumber, std::set<RowNumber>> further_;  ///< rows behind the lowest: few texts are those of several rows
};

}  // namespace mv
