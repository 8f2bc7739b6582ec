#include "jet/index/IndexKey.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "jet/file/JetErrors.h"
#include "jet/index/TextKeys.h"
#include "jet/rows/Decimal.h"
#include "jet/rows/Guid.h"

// Each column of an index adds a start byte (7F ascending, 80 descending) and its value, most significant byte first; a
// null is the single byte 00 ascending, FF descending.
//
//   type                      value bytes, ascending
//   Boolean                   true 00, false FF; never null
//   Byte                      the byte
//   Integer, Long, Currency   the number with its top bit flipped
//   Single, Double, DateTime  negative: all bits flipped; else the top bit
//   Text, Memo                TextKeys.h
//   Binary                    groups of 8, zero-filled; 09 behind each group that another follows, the number of valid
//                             bytes behind the last. Nothing for an empty value
//   GUID                      its 16 bytes in printed order, as Binary
//   Decimal                   FF and 16 bytes magnitude; for negative numbers all 17 inverted
//
// Descending: all value bytes inverted, but not the 09 of Binary and GUID; text is inverted with its closing 00 and
// gets another 00.

namespace mv::jet {
namespace {

constexpr std::uint8_t kAscendingStart = 0x7F;
constexpr std::uint8_t kDescendingStart = 0x80;
constexpr std::uint8_t kAscendingNull = 0x00;
constexpr std::uint8_t kDescendingNull = 0xFF;
constexpr std::uint8_t kTrue = 0x00;
constexpr std::uint8_t kFalse = 0xFF;
constexpr std::uint8_t kPositive = 0xFF;
constexpr std::uint8_t kTextEnd = 0x00;
constexpr std::uint8_t kMoreGroups = 0x09;
constexpr std::size_t kGroupSize = 8;
constexpr std::size_t kLongestKey = 510;
/// Few keys are longer, so that one is built in one piece of memory.
constexpr std::size_t kUsualKey = 64;

constexpr SortOrder kGeneral = {0x0409, 0, 0};

/// The alternative of the column's type; error 13 for a value of another one.
template <typename T>
const T& As(const Value& value) {
  const T* held = std::get_if<T>(&value);
  if (held == nullptr) throw StandardError(errors::kTypeMismatch);
  return *held;
}

std::string Quoted(const std::string& name) {
  return "'" + name + "'";
}

/// For messages. `table` is empty when it is not known.
std::string Named(const Column& column, const std::string& table) {
  return "column " + Quoted(column.name) + (table.empty() ? "" : " of table " + Quoted(table));
}

std::string Hex(std::uint32_t number, std::size_t digits) {
  std::array<char, 8> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, 16).ptr;
  std::string text(buffer.data(), end);
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' ? static_cast<char>(c - 32) : c; });
  return text.size() < digits ? std::string(digits - text.size(), '0') + text : text;
}

bool IsText(ColumnType type) {
  return type == ColumnType::Text || type == ColumnType::Memo;
}

/// Why no key can be built from any value of the column; empty when there is no such reason.
std::string WhyNoKey(const Column& column, bool ascending) {
  if (column.type == ColumnType::Ole || column.type == ColumnType::RawBlock) {
    return "column " + Quoted(column.name) + " is of a type that has no index keys";
  }
  if (column.type == ColumnType::Decimal && !ascending) {
    return "decimal column " + Quoted(column.name) + " is indexed in descending order";
  }
  if (IsText(column.type) && column.sortOrder != kGeneral) {
    return "text of column " + Quoted(column.name) + " is sorted by order " + Hex(column.sortOrder.language, 4) + "." +
           std::to_string(column.sortOrder.id) + "." + std::to_string(column.sortOrder.version);
  }
  return {};
}

template <typename T>
void AppendBig(Bytes& key, T value) {
  const std::size_t at = key.size();
  key.resize(at + sizeof(T));
  StoreBig(key.data() + at, value);
}

/// Signed numbers compare as unsigned bytes once the sign bit is flipped.
template <typename Unsigned, typename Signed>
void AppendSigned(Bytes& key, Signed value) {
  constexpr Unsigned kTopBit = static_cast<Unsigned>(Unsigned{1} << (8 * sizeof(Unsigned) - 1));
  AppendBig(key, static_cast<Unsigned>(static_cast<Unsigned>(value) ^ kTopBit));
}

template <typename Unsigned, typename Float>
void AppendFloat(Bytes& key, Float value) {
  constexpr Unsigned kTopBit = Unsigned{1} << (8 * sizeof(Unsigned) - 1);
  const auto bits = std::bit_cast<Unsigned>(value);
  AppendBig(key, (bits & kTopBit) != 0 ? ~bits : bits | kTopBit);
}

/// NaN has no place among the numbers; by its bits it would stand on either side of all, and never be found as a
/// number.
template <typename Float>
void RequireNumber(const Column& column, const std::string& table, Float value) {
  if (!std::isnan(value)) return;
  throw UnsupportedError(Named(column, table) + " is part of an index and its value is not a number (NaN)");
}

void Invert(Bytes& key, std::size_t from) {
  for (std::size_t i = from; i < key.size(); ++i) key[i] = static_cast<std::uint8_t>(~key[i]);
}

/// The groups of Binary and GUID; `flip` is FF for descending keys.
void AppendGroups(Bytes& key, ByteView bytes, std::uint8_t flip) {
  while (!bytes.empty()) {
    const std::size_t valid = std::min(bytes.size(), kGroupSize);
    for (std::size_t i = 0; i < kGroupSize; ++i) {
      key.push_back(static_cast<std::uint8_t>((i < valid ? bytes[i] : 0) ^ flip));
    }
    bytes = bytes.subspan(valid);
    key.push_back(bytes.empty() ? static_cast<std::uint8_t>(valid ^ flip) : kMoreGroups);
  }
}

void AppendDecimal(Bytes& key, const Column& column, const std::string& text) {
  const Decimal decimal = DecimalFromText(text, column.precision, column.scale);
  const std::size_t from = key.size();
  key.push_back(kPositive);
  for (const std::uint32_t word : decimal.magnitude) AppendBig(key, word);
  if (decimal.negative) Invert(key, from);
}

void AppendText(Bytes& key, const Column& column, const std::string& table, const std::string& text) {
  const std::optional<char32_t> unknown = AppendTextKey(key, text);
  if (!unknown) return;
  throw UnsupportedError(Named(column, table) + " is part of an index and its text has the character U+" +
                         Hex(*unknown, 4) + ", whose place in the sort order is not known");
}

/// The ascending value bytes of the types whose descending form is all bytes inverted.
void AppendPlainValue(Bytes& key, const Column& column, const std::string& table, const Value& value) {
  switch (column.type) {
    case ColumnType::Byte:
      key.push_back(As<std::uint8_t>(value));
      return;
    case ColumnType::Integer:
      AppendSigned<std::uint16_t>(key, As<std::int16_t>(value));
      return;
    case ColumnType::Long:
      AppendSigned<std::uint32_t>(key, As<std::int32_t>(value));
      return;
    case ColumnType::Currency:
      AppendSigned<std::uint64_t>(key, As<Currency>(value).tenThousandths);
      return;
    case ColumnType::Single:
      RequireNumber(column, table, As<float>(value));
      AppendFloat<std::uint32_t>(key, As<float>(value));
      return;
    case ColumnType::Double:
      RequireNumber(column, table, As<double>(value));
      AppendFloat<std::uint64_t>(key, As<double>(value));
      return;
    case ColumnType::DateTime:
      RequireNumber(column, table, As<Date>(value).days);
      AppendFloat<std::uint64_t>(key, As<Date>(value).days);
      return;
    case ColumnType::Decimal:
      AppendDecimal(key, column, As<std::string>(value));
      return;
    case ColumnType::Text:
    case ColumnType::Memo:
      AppendText(key, column, table, As<std::string>(value));
      return;
    default:
      throw UnsupportedError("column " + Quoted(column.name) + " is of a type that has no index keys");
  }
}

void AppendBoolean(Bytes& key, const Value& value, bool ascending) {
  const bool isTrue = !IsNull(value) && As<bool>(value);
  const std::uint8_t byte = isTrue ? kTrue : kFalse;
  key.push_back(ascending ? kAscendingStart : kDescendingStart);
  key.push_back(ascending ? byte : static_cast<std::uint8_t>(~byte));
}

void AppendPart(Bytes& key, const Column& column, const std::string& table, const Value& value, bool ascending) {
  const std::string reason = WhyNoKey(column, ascending);
  if (!reason.empty()) throw UnsupportedError(reason);
  if (column.type == ColumnType::Boolean) return AppendBoolean(key, value, ascending);
  if (IsNull(value)) return key.push_back(ascending ? kAscendingNull : kDescendingNull);

  key.push_back(ascending ? kAscendingStart : kDescendingStart);
  const std::size_t from = key.size();
  const std::uint8_t flip = ascending ? 0x00 : 0xFF;
  if (column.type == ColumnType::Binary) return AppendGroups(key, As<Bytes>(value), flip);
  if (column.type == ColumnType::Guid) return AppendGroups(key, GuidFromText(As<std::string>(value)), flip);
  AppendPlainValue(key, column, table, value);
  if (ascending) return;
  Invert(key, from);
  if (IsText(column.type)) key.push_back(kTextEnd);
}

/// IndexKey::certain for a key that ends with a text, which begins at `from`; 0 when all of it is.
std::size_t CertainUpToText(const Bytes& key, std::size_t from, bool ascending) {
  const ByteView text = ByteView(key).subspan(from + 1);
  std::optional<std::size_t> certain;
  if (ascending) {
    certain = CertainPartOfTextKey(text);
  } else {
    Bytes upright(text.begin(), text.end() - 1);
    Invert(upright, 0);
    certain = CertainPartOfTextKey(upright);
  }
  return certain ? from + 1 + *certain : 0;
}

std::string IndexNameOf(const TableDefinition& table, const IndexData& index) {
  const auto found = std::find_if(table.indexData.begin(), table.indexData.end(),
                                  [&](const IndexData& data) { return data.root == index.root; });
  return table.IndexName(static_cast<std::size_t>(found - table.indexData.begin()));
}

}  // namespace

void AppendKey(Bytes& key, const Column& column, const Value& value, bool ascending) {
  AppendPart(key, column, {}, value, ascending);
}

IndexKey KeyOf(const TableDefinition& table, const IndexData& index, std::span<const Value> values) {
  IndexKey key;
  key.bytes.reserve(kUsualKey);
  for (const IndexData::KeyColumn& part : index.columns) {
    const std::optional<std::size_t> position = table.PositionOf(part.columnId);
    if (!position || *position >= values.size()) {
      throw DamagedFileError("an index names column id " + std::to_string(part.columnId));
    }
    const Column& column = table.columns[*position];
    const Value& value = values[*position];
    const bool isNull = IsNull(value) && column.type != ColumnType::Boolean;
    key.allNull = key.allNull && isNull;
    key.anyNull = key.anyNull || isNull;
    const std::size_t from = key.bytes.size();
    AppendPart(key.bytes, column, table.name, value, part.ascending);
    const bool isText = IsText(column.type) && !isNull;
    if (isText && key.certain == 0) key.certain = CertainUpToText(key.bytes, from, part.ascending);
  }
  if (key.bytes.size() > kLongestKey) {
    throw UnsupportedError("the key of index " + Quoted(IndexNameOf(table, index)) + " of table " + Quoted(table.name) +
                           " is longer than " + std::to_string(kLongestKey) + " bytes");
  }
  return key;
}

std::string WhyNotWritable(const TableDefinition& table, const IndexData& index) {
  for (const IndexData::KeyColumn& part : index.columns) {
    const Column* const column = table.ColumnById(part.columnId);
    if (column == nullptr) return "column id " + std::to_string(part.columnId) + " does not exist";
    const std::string reason = WhyNoKey(*column, part.ascending);
    if (!reason.empty()) return reason;
  }
  return {};
}

}  // namespace mv::jet
