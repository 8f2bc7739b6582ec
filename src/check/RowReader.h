#pragma once

#include <optional>
#include <string_view>

#include "check/Definition.h"

namespace mv::check {

/// A row whose parts have been found. Views the page.
///
///   u16 C (the next column id when it was written); fixed area; variable area; u16 end of the variable area; u16
///   offset of each variable column, last first; u16 number V of variable columns; null mask of C bits, 1 = not null
///
/// Without a variable column at its time a row has no end, offsets and V.
struct Row {
  ByteView bytes;
  std::size_t columns = 0;  ///< C
  std::size_t maskAt = 0;
  std::size_t variables = 0;  ///< V
  std::size_t fixedEnd = 0;   ///< the first byte behind the fixed area
};

/// One column of a row.
struct Cell {
  enum class State : std::uint8_t {
    Null,     ///< also a Boolean that is false
    Value,    ///< `bytes`; none for a Boolean, which is true
    Outside,  ///< a fixed column behind the fixed area
  };
  State state = State::Null;
  ByteView bytes;
};

/// Reads the rows of one table. The definition must outlive it.
class RowReader {
 public:
  explicit RowReader(const Definition& definition);

  /// Finds the parts of a row. Returns what is wrong with it, nothing when all is well.
  std::string_view Parse(ByteView bytes, Row& row) const;
  /// Needs a row that Parse has found right; `column` is a position in Definition::columns.
  Cell Read(const Row& row, std::size_t column) const;

  /// The row at the home address `home`, moved or not. Needs one that the check marked as a row.
  Row At(const DataPages& pages, RowId home) const;

 private:
  const Definition& definition_;
  std::size_t firstVariableId_;  ///< lowest id of a variable column; rows that end before it have no offsets
};

/// Calls `action(address, row)` for each sound row of a table, in physical order.
template <typename Action>
void ForEachRow(const DataPages& pages, const Definition& definition, Action action) {
  const RowReader reader(definition);
  for (const PageNumber page : definition.dataPages) {
    for (unsigned slot = 0; slot < pages.SlotCount(page); ++slot) {
      const RowId home{page, static_cast<std::uint8_t>(slot)};
      if (pages.MarkOf(home) == Mark::Row) action(home, reader.At(pages, home));
    }
  }
}

}  // namespace mv::check
