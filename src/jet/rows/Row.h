#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/Bytes.h"
#include "jet/definition/TableDefinition.h"

namespace mv::jet {

/// A row of a table. All numbers little-endian, all offsets from the row's first byte.
///
/// | part          | size    | content                                                                         |
/// |---------------|---------|---------------------------------------------------------------------------------|
/// | count         | 2       | C, the table's next column id when the row was written                          |
/// | fixed area    |         | fixed columns, each at its own offset from byte 2 on                            |
/// | variable area |         | values of the variable columns by variable index; unused bytes may follow       |
/// | end           | 2       | offset of the first byte behind the variable area                               |
/// | offsets       | 2 V     | offset of each variable column, last column first                               |
/// | V             | 2       | the table's next variable index when the row was written                        |
/// | null mask     | (C+7)/8 | bit i, lowest first, belongs to the column with id i: 1 = not null              |
///
/// A row of a table that never had a variable column has no end, offsets and V, and at least 2 bytes of fixed area. A
/// Boolean is its bit of the null mask. Columns with id >= C were added after the row was written: null, or false.
/// Deleted columns keep their places; their bytes and bits mean nothing.
class RowLayout {
 public:
  explicit RowLayout(const TableDefinition& table);

  /// A row whose parts have been found. Views the bytes given to Parse.
  struct Row {
    ByteView bytes;
    std::size_t columns = 0;    ///< C
    std::size_t maskAt = 0;     ///< where the null mask begins
    std::size_t variables = 0;  ///< V, 0 without an offset part
    std::size_t tableAt = 0;    ///< where the offset part begins, or the null mask when there is none
    std::size_t fixedEnd = 0;   ///< the first byte behind the fixed area
  };
  /// Finds the parts of a row. Throws DamagedFileError for bytes that are no row of this table.
  Row Parse(ByteView bytes) const;

  /// A column's bytes. Nothing: null, or a Boolean that is false; a true one has no bytes. `column` is a position in
  /// TableDefinition::columns. Throws DamagedFileError for a value outside its area.
  std::optional<ByteView> Cell(const Row& row, std::size_t column) const;

  /// Bytes that the fixed area must have at least.
  std::size_t FixedArea() const { return fixedArea_; }
  /// Bytes that it needs in a table that has `row`: deleted columns leave holes, and the platform's engine expects all
  /// new rows to be alike.
  std::size_t FixedAreaLike(const Row& row) const;
  /// Length of a row with these cells (as of Cell, by position), whose fixed area has `fixedArea` bytes.
  std::size_t RowSize(std::span<const std::optional<ByteView>> cells, std::size_t fixedArea) const;
  /// Replaces `out` with a row. Needs RowSize <= kMaxRowSize and fixed columns of their full length.
  void Write(std::span<const std::optional<ByteView>> cells, std::size_t fixedArea, Bytes& out) const;

 private:
  enum class Area : std::uint8_t { Mask, Fixed, Variable };
  struct Place {
    Area area = Area::Mask;
    std::uint16_t id = 0;
    std::uint16_t offset = 0;  ///< in the fixed area, or the variable index
    std::uint16_t size = 0;    ///< of a fixed column
  };

  bool HasOffsets(std::size_t columns) const;
  ByteView VariableCell(const Row& row, std::size_t index) const;

  std::vector<Place> places_;                               ///< by position
  std::vector<std::optional<std::size_t>> variableColumn_;  ///< position by variable index; nothing: deleted
  std::size_t maskSize_ = 0;
  std::size_t nextColumnId_ = 0;
  std::size_t firstVariableId_ = 0;  ///< lowest id of a present variable column; older rows have no offset part
  std::size_t fixedArea_ = 0;
};

}  // namespace mv::jet
