#include "jet/rows/Row.h"

#include <algorithm>
#include <limits>
#include <string>

#include "base/ByteOrder.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

constexpr std::size_t kCountSize = 2;
constexpr std::size_t kOffsetSize = 2;
/// The fixed area of a table without variable columns: readers of the platform expect no shorter one.
constexpr std::size_t kLeastFixedArea = 2;

std::size_t MaskSize(std::size_t columns) {
  return (columns + 7) / 8;
}

std::size_t WordAt(ByteView bytes, std::size_t at) {
  return LoadLittle<std::uint16_t>(bytes.data() + at);
}

void StoreWord(Bytes& bytes, std::size_t at, std::size_t value) {
  StoreLittle(bytes.data() + at, static_cast<std::uint16_t>(value));
}

/// The length of end, offsets and V.
std::size_t OffsetPartSize(std::size_t variables) {
  return kOffsetSize * (variables + 2);
}

}  // namespace

RowLayout::RowLayout(const TableDefinition& table)
    : variableColumn_(table.nextVariableIndex),
      maskSize_(MaskSize(table.nextColumnId)),
      nextColumnId_(table.nextColumnId),
      firstVariableId_(std::numeric_limits<std::size_t>::max()),
      fixedArea_(table.nextVariableIndex == 0 ? kLeastFixedArea : 0) {
  for (const Column& column : table.columns) {
    Place place = {Area::Mask, column.id, 0, 0};
    if (column.type != ColumnType::Boolean && column.IsFixed()) {
      place = {Area::Fixed, column.id, column.fixedOffset, static_cast<std::uint16_t>(FixedSize(column))};
      fixedArea_ = std::max<std::size_t>(fixedArea_, std::size_t{place.offset} + place.size);
    } else if (column.type != ColumnType::Boolean) {
      place = {Area::Variable, column.id, column.variableIndex, 0};
      variableColumn_.at(column.variableIndex) = places_.size();
      firstVariableId_ = std::min<std::size_t>(firstVariableId_, column.id);
    }
    places_.push_back(place);
  }
}

RowLayout::Row RowLayout::Parse(ByteView bytes) const {
  Row row;
  row.bytes = bytes;
  if (bytes.size() < kCountSize) throw DamagedFileError("a row of " + std::to_string(bytes.size()) + " bytes");
  row.columns = WordAt(bytes, 0);
  if (row.columns > nextColumnId_) throw DamagedFileError("a row has more columns than its table");
  if (bytes.size() < kCountSize + MaskSize(row.columns)) throw DamagedFileError("a row is too short for its columns");
  row.maskAt = bytes.size() - MaskSize(row.columns);
  row.tableAt = row.maskAt;
  row.fixedEnd = row.maskAt;
  if (!HasOffsets(row.columns)) return row;

  if (row.maskAt < kCountSize + OffsetPartSize(0)) throw DamagedFileError("a row is too short for its columns");
  row.variables = WordAt(bytes, row.maskAt - kOffsetSize);
  const bool fits = row.variables <= variableColumn_.size() && row.maskAt >= kCountSize + OffsetPartSize(row.variables);
  if (!fits) throw DamagedFileError("a row has more variable columns than its table");
  row.tableAt = row.maskAt - OffsetPartSize(row.variables);
  row.fixedEnd = WordAt(bytes, row.maskAt - 2 * kOffsetSize);
  if (row.fixedEnd < kCountSize || row.fixedEnd > row.tableAt) {
    throw DamagedFileError("the variable columns of a row lie outside it");
  }
  return row;
}

/// Whether rows of so many columns have an end, offsets and V. Unknown for old rows when all their variable columns
/// have been deleted since; then nobody needs to know.
bool RowLayout::HasOffsets(std::size_t columns) const {
  return columns == nextColumnId_ ? !variableColumn_.empty() : firstVariableId_ < columns;
}

std::optional<ByteView> RowLayout::Cell(const Row& row, std::size_t column) const {
  const Place& place = places_[column];
  // Before all else: a row from before the column was added may be shorter in every part.
  if (place.id >= row.columns) return std::nullopt;
  const bool present = (row.bytes[row.maskAt + place.id / 8] >> place.id % 8 & 1) != 0;
  if (!present) return std::nullopt;
  switch (place.area) {
    case Area::Mask:
      return ByteView();
    case Area::Fixed:
      if (kCountSize + place.offset + place.size > row.fixedEnd) {
        throw DamagedFileError("a row is too short for its fixed columns");
      }
      return row.bytes.subspan(kCountSize + place.offset, place.size);
    case Area::Variable:
      break;
  }
  if (place.offset >= row.variables) return std::nullopt;
  return VariableCell(row, place.offset);
}

/// Offsets stand last column first, so that of column i lies i words before that of column 0; the end of the last
/// column is the word before them all.
ByteView RowLayout::VariableCell(const Row& row, std::size_t index) const {
  const std::size_t at = row.maskAt - kOffsetSize * (index + 2);
  const std::size_t start = WordAt(row.bytes, at);
  const std::size_t end = WordAt(row.bytes, at - kOffsetSize);
  if (start < row.fixedEnd || start > end || end > row.tableAt) {
    throw DamagedFileError("the variable columns of a row lie outside it");
  }
  return row.bytes.subspan(start, end - start);
}

std::size_t RowLayout::FixedAreaLike(const Row& row) const {
  // Older rows say nothing about the columns added since.
  return row.columns == nextColumnId_ ? std::max(fixedArea_, row.fixedEnd - kCountSize) : fixedArea_;
}

std::size_t RowLayout::RowSize(std::span<const std::optional<ByteView>> cells, std::size_t fixedArea) const {
  std::size_t size = kCountSize + fixedArea + maskSize_;
  if (variableColumn_.empty()) return size;
  size += OffsetPartSize(variableColumn_.size());
  for (const std::optional<std::size_t>& column : variableColumn_) {
    if (column && cells[*column]) size += cells[*column]->size();
  }
  return size;
}

void RowLayout::Write(std::span<const std::optional<ByteView>> cells, std::size_t fixedArea, Bytes& out) const {
  out.assign(RowSize(cells, fixedArea), 0);
  StoreWord(out, 0, nextColumnId_);
  const std::size_t maskAt = out.size() - maskSize_;
  for (std::size_t column = 0; column < places_.size(); ++column) {
    if (!cells[column]) continue;
    const Place& place = places_[column];
    std::uint8_t& maskByte = out[maskAt + place.id / 8];
    maskByte = static_cast<std::uint8_t>(maskByte | 1U << place.id % 8);
    if (place.area != Area::Fixed) continue;
    std::copy_n(cells[column]->begin(), place.size,
                out.begin() + static_cast<std::ptrdiff_t>(kCountSize + place.offset));
  }
  if (variableColumn_.empty()) return;

  std::size_t next = kCountSize + fixedArea;
  for (std::size_t index = 0; index < variableColumn_.size(); ++index) {
    StoreWord(out, maskAt - kOffsetSize * (index + 2), next);
    const std::optional<std::size_t> column = variableColumn_[index];
    if (!column || !cells[*column]) continue;
    std::copy(cells[*column]->begin(), cells[*column]->end(), out.begin() + static_cast<std::ptrdiff_t>(next));
    next += cells[*column]->size();
  }
  StoreWord(out, maskAt - OffsetPartSize(variableColumn_.size()), next);
  StoreWord(out, maskAt - kOffsetSize, variableColumn_.size());
}

}  // namespace mv::jet
