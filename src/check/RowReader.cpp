#include "check/RowReader.h"

#include <algorithm>

namespace mv::check {
namespace {

constexpr std::size_t kColumnsSize = 2;
constexpr std::size_t kVariablesSize = 2;
constexpr std::size_t kOffsetSize = 2;
constexpr std::size_t kShortestRow = 3;

/// Where variable column `index` begins; for `index` = V where the last one ends.
std::size_t VariableStart(const Row& row, std::size_t index) {
  return Word16(row.bytes, row.maskAt - kVariablesSize - kOffsetSize * (index + 1));
}

}  // namespace

RowReader::RowReader(const Definition& definition) : definition_(definition), firstVariableId_(kMaxColumns + 1) {
  for (const Column& column : definition.columns) {
    if (!column.IsFixed()) firstVariableId_ = std::min<std::size_t>(firstVariableId_, column.id);
  }
}

std::string_view RowReader::Parse(ByteView bytes, Row& row) const {
  row = Row{.bytes = bytes};
  if (bytes.size() < kShortestRow) return "the row is too short for any row";
  if (bytes.size() > kMaxRowSize) return "the row is longer than 4060 bytes";
  row.columns = Word16(bytes, 0);
  if (row.columns > definition_.nextColumnId) return "the row has more columns than its table";
  const std::size_t maskSize = (row.columns + 7) / 8;
  if (bytes.size() < kColumnsSize + maskSize) return "the row is too short for its null mask";
  row.maskAt = bytes.size() - maskSize;
  row.fixedEnd = row.maskAt;
  if (firstVariableId_ >= row.columns) return {};

  if (row.maskAt < kColumnsSize + kVariablesSize) return "the row is too short for its offsets";
  row.variables = Word16(bytes, row.maskAt - kVariablesSize);
  if (row.variables > definition_.nextVariableIndex) return "the row has more variable columns than its table";
  const std::size_t offsetsSize = kVariablesSize + kOffsetSize * (row.variables + 1);
  if (row.maskAt < kColumnsSize + offsetsSize) return "the row is too short for its offsets";
  std::size_t previous = kColumnsSize;
  for (std::size_t i = 0; i <= row.variables; ++i) {
    const std::size_t start = VariableStart(row, i);
    if (start < previous) return "the offsets of the variable columns do not ascend";
    previous = start;
  }
  if (previous > row.maskAt - offsetsSize) return "the variable columns reach into the offsets behind them";
  row.fixedEnd = VariableStart(row, 0);
  return {};
}

Cell RowReader::Read(const Row& row, std::size_t column) const {
  const Column& what = definition_.columns[column];
  if (what.id >= row.columns || (row.bytes[row.maskAt + what.id / 8] >> what.id % 8 & 1) == 0) return {};
  if (what.type == ColumnType::Boolean) return {Cell::State::Value, {}};
  if (what.IsFixed()) {
    const std::size_t start = kColumnsSize + what.fixedOffset;
    const std::size_t size = what.FixedSize();
    if (start + size > row.fixedEnd) return {Cell::State::Outside, {}};
    return {Cell::State::Value, row.bytes.subspan(start, size)};
  }
  if (what.variableIndex >= row.variables) return {};
  const std::size_t start = VariableStart(row, what.variableIndex);
  return {Cell::State::Value, row.bytes.subspan(start, VariableStart(row, what.variableIndex + 1u) - start)};
}

Row RowReader::At(const DataPages& pages, RowId home) const {
  ByteView bytes = pages.Bytes(home);
  if (pages.StateOf(home) == SlotState::Moved) bytes = pages.Bytes(RowAt(bytes, 0));
  Row row;
  Parse(bytes, row);
  return row;
}

}  // namespace mv::check
