#include "check/SystemTable.h"

#include "base/Utf.h"
#include "check/StoredText.h"

namespace mv::check {

SystemTable::SystemTable(Context& context, const Definition& definition)
    : context_(context), definition_(definition), reader_(definition), longValues_(context) {}

std::size_t SystemTable::Column(std::string_view name, ColumnType type) {
  const std::optional<std::size_t> column = definition_.ColumnByName(name);
  if (column && definition_.columns[*column].type == type) return *column;
  complete_ = false;
  context_.findings.Damage(Kind::Catalog, definition_.Where().OfColumn(name),
                           "the system table lacks this column, or it is of another type");
  return 0;
}

std::optional<std::int32_t> SystemTable::Number(const Row& row, std::size_t column) const {
  const Cell cell = reader_.Read(row, column);
  if (cell.state != Cell::State::Value) return std::nullopt;
  if (cell.bytes.size() == sizeof(std::int16_t)) return static_cast<std::int16_t>(Word16(cell.bytes, 0));
  return static_cast<std::int32_t>(Word32(cell.bytes, 0));
}

std::optional<std::string> SystemTable::Text(const Row& row, std::size_t column) const {
  const Cell cell = reader_.Read(row, column);
  std::u16string units;
  if (cell.state != Cell::State::Value || !DecodeStoredText(cell.bytes, units)) return std::nullopt;
  return Utf8FromUtf16(units);
}

std::optional<Bytes> SystemTable::Binary(const Row& row, std::size_t column) const {
  const Cell cell = reader_.Read(row, column);
  if (cell.state != Cell::State::Value) return std::nullopt;
  return Bytes(cell.bytes.begin(), cell.bytes.end());
}

std::optional<Bytes> SystemTable::LongValue(const Row& row, std::size_t column) const {
  const Cell cell = reader_.Read(row, column);
  if (cell.state != Cell::State::Value || cell.bytes.empty()) return std::nullopt;
  Bytes bytes;
  longValues_.Fetch(cell.bytes, bytes);
  return bytes;
}

}  // namespace mv::check
