#include "jet/IndexKey.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <optional>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "jet/JetErrors.h"
#include "jet/TextKeys.h"

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
constexpr std::uint8_t kTextEnd = 0x00;
constexpr std::uint8_t kMoreGroups = 0x09;
constexpr std::size_t kGroupSize = 8;
constexpr std::size_t kGuidSize = 16;
constexpr std::size_t kMagnitudeSize = 16;
constexpr std::size_t kLongestKey = 510;

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

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

/// The 16 bytes of "{01234567-89AB-CDEF-0123-456789ABCDEF}" as printed. Error 13 for other texts.
std::array<std::uint8_t, kGuidSize> GuidFromText(const std::string& text) {
  constexpr std::string_view kForm = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
  if (text.size() != kForm.size()) throw StandardError(errors::kTypeMismatch);
  std::array<std::uint8_t, kGuidSize> bytes{};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int digit = HexDigit(text[i]);
    const bool fits = kForm[i] == 'x' ? digit >= 0 : text[i] == kForm[i];
    if (!fits) throw StandardError(errors::kTypeMismatch);
    if (kForm[i] != 'x') continue;
    std::uint8_t& byte = bytes[digits++ / 2];
    byte = static_cast<std::uint8_t>(byte << 4 | digit);
  }
  return bytes;
}

/// A magnitude of 128 bits, most significant byte first.
class Magnitude {
 public:
  /// Appends a decimal digit. Error 6 when the number no longer fits.
  void AppendDigit(unsigned digit) {
    unsigned carry = digit;
    for (std::size_t i = kMagnitudeSize; i-- > 0;) {
      carry += bytes_[i] * 10u;
      bytes_[i] = static_cast<std::uint8_t>(carry & 0xFF);
      carry >>= 8;
    }
    if (carry != 0) throw StandardError(errors::kOverflow);
  }
  bool IsZero() const {
    return std::all_of(bytes_.begin(), bytes_.end(), [](std::uint8_t byte) { return byte == 0; });
  }
  ByteView View() const { return bytes_; }

 private:
  std::array<std::uint8_t, kMagnitudeSize> bytes_{};
};

/// `digits` ("12.5") as a whole number of 10^-scale units; decimals beyond the scale are cut. Error 13 for other texts.
Magnitude MagnitudeFromDigits(std::string_view digits, unsigned scale) {
  const std::size_t point = std::min(digits.find('.'), digits.size());
  const std::string_view whole = digits.substr(0, point);
  const std::string_view decimals = digits.substr(std::min(point + 1, digits.size()));
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  if (whole.size() + decimals.size() == 0 || !std::all_of(whole.begin(), whole.end(), isDigit) ||
      !std::all_of(decimals.begin(), decimals.end(), isDigit)) {
    throw StandardError(errors::kTypeMismatch);
  }
  Magnitude magnitude;
  for (const char c : whole) magnitude.AppendDigit(static_cast<unsigned>(c - '0'));
  for (std::size_t i = 0; i < scale; ++i) {
    magnitude.AppendDigit(i < decimals.size() ? static_cast<unsigned>(decimals[i] - '0') : 0);
  }
  return magnitude;
}

void AppendDecimal(Bytes& key, std::string_view text, unsigned scale) {
  const bool hasMinus = !text.empty() && text.front() == '-';
  if (hasMinus) text.remove_prefix(1);
  const Magnitude magnitude = MagnitudeFromDigits(text, scale);
  const bool negative = hasMinus && !magnitude.IsZero();
  const std::uint8_t flip = negative ? 0xFF : 0x00;
  key.push_back(static_cast<std::uint8_t>(0xFF ^ flip));
  for (const std::uint8_t byte : magnitude.View()) key.push_back(static_cast<std::uint8_t>(byte ^ flip));
}

void AppendText(Bytes& key, const Column& column, const std::string& text) {
  const std::optional<char32_t> unknown = AppendTextKey(key, text);
  if (!unknown) return;
  throw UnsupportedError("column " + Quoted(column.name) + " is part of an index and its text has the character U+" +
                         Hex(*unknown, 4) + ", whose place in the sort order is not known");
}

void Invert(Bytes& key, std::size_t from) {
  for (std::size_t i = from; i < key.size(); ++i) key[i] = static_cast<std::uint8_t>(~key[i]);
}

/// The ascending value bytes of the types whose descending form is all bytes inverted.
void AppendPlainValue(Bytes& key, const Column& column, const Value& value) {
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
      AppendFloat<std::uint32_t>(key, As<float>(value));
      return;
    case ColumnType::Double:
      AppendFloat<std::uint64_t>(key, As<double>(value));
      return;
    case ColumnType::DateTime:
      AppendFloat<std::uint64_t>(key, As<Date>(value).days);
      return;
    case ColumnType::Decimal:
      AppendDecimal(key, As<std::string>(value), column.scale);
      return;
    case ColumnType::Text:
    case ColumnType::Memo:
      AppendText(key, column, As<std::string>(value));
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

/// Position in TableDefinition::columns of a column id; columns.size() when there is no such column.
std::size_t PositionOf(const TableDefinition& table, std::uint16_t columnId) {
  const auto found = std::find_if(table.columns.begin(), table.columns.end(),
                                  [&](const Column& column) { return column.id == columnId; });
  return static_cast<std::size_t>(found - table.columns.begin());
}

std::string IndexNameOf(const TableDefinition& table, const IndexData& index) {
  const auto found = std::find_if(table.indexData.begin(), table.indexData.end(),
                                  [&](const IndexData& data) { return data.root == index.root; });
  return table.IndexName(static_cast<std::size_t>(found - table.indexData.begin()));
}

}  // namespace

void AppendKey(Bytes& key, const Column& column, const Value& value, bool ascending) {
  const std::string reason = WhyNoKey(column, ascending);
  if (!reason.empty()) throw UnsupportedError(reason);
  if (column.type == ColumnType::Boolean) return AppendBoolean(key, value, ascending);
  if (IsNull(value)) return key.push_back(ascending ? kAscendingNull : kDescendingNull);

  key.push_back(ascending ? kAscendingStart : kDescendingStart);
  const std::size_t from = key.size();
  const std::uint8_t flip = ascending ? 0x00 : 0xFF;
  if (column.type == ColumnType::Binary) return AppendGroups(key, As<Bytes>(value), flip);
  if (column.type == ColumnType::Guid) return AppendGroups(key, GuidFromText(As<std::string>(value)), flip);
  AppendPlainValue(key, column, value);
  if (ascending) return;
  Invert(key, from);
  if (IsText(column.type)) key.push_back(kTextEnd);
}

IndexKey KeyOf(const TableDefinition& table, const IndexData& index, std::span<const Value> values) {
  IndexKey key;
  for (const IndexData::KeyColumn& part : index.columns) {
    const std::size_t position = PositionOf(table, part.columnId);
    if (position >= values.size()) throw DamagedFileError("an index names column id " + std::to_string(part.columnId));
    const Column& column = table.columns[position];
    const bool isNull = IsNull(values[position]) && column.type != ColumnType::Boolean;
    key.allNull = key.allNull && isNull;
    key.anyNull = key.anyNull || isNull;
    AppendKey(key.bytes, column, values[position], part.ascending);
  }
  if (key.bytes.size() > kLongestKey) {
    throw UnsupportedError("the key of index " + Quoted(IndexNameOf(table, index)) + " of table " + Quoted(table.name) +
                           " is longer than " + std::to_string(kLongestKey) + " bytes");
  }
  return key;
}

std::string WhyNotWritable(const TableDefinition& table, const IndexData& index) {
  for (const IndexData::KeyColumn& part : index.columns) {
    const std::size_t position = PositionOf(table, part.columnId);
    if (position >= table.columns.size()) return "column id " + std::to_string(part.columnId) + " does not exist";
    const std::string reason = WhyNoKey(table.columns[position], part.ascending);
    if (!reason.empty()) return reason;
  }
  return {};
}

}  // namespace mv::jet
