#include "jet/rows/ColumnValue.h"

#include <algorithm>
#include <bit>
#include <string>
#include <string_view>

#include "base/Ascii.h"
#include "base/ByteOrder.h"
#include "base/Error.h"
#include "base/Utf.h"
#include "jet/file/JetErrors.h"
#include "jet/rows/Decimal.h"
#include "jet/rows/Guid.h"

namespace mv::jet {
namespace {

/// U+FEFF, which no stored text can begin with.
constexpr std::string_view kMarkCharacter = "\xEF\xBB\xBF";
constexpr std::uint8_t kDecimalNegative = 0x80;
/// Around the years 100 to 9999. The fraction counts forward from a negative day too: the first day ends before the
/// number of the day before it.
constexpr double kDayBeforeFirst = -657435;
constexpr double kDayBehindLast = 2958466;

template <std::integral T>
void StoreWhole(Bytes& out, T value) {
  out.resize(sizeof(T));
  StoreLittle(out.data(), value);
}

void StoreDecimal(Bytes& out, const Decimal& decimal) {
  out.resize(1 + sizeof(decimal.magnitude));
  out[0] = decimal.negative ? kDecimalNegative : 0;
  for (std::size_t word = 0; word < decimal.magnitude.size(); ++word) {
    StoreLittle(out.data() + 1 + sizeof(std::uint32_t) * word, decimal.magnitude[word]);
  }
}

Decimal LoadDecimal(ByteView bytes) {
  Decimal decimal;
  decimal.negative = (bytes[0] & kDecimalNegative) != 0;
  for (std::size_t word = 0; word < decimal.magnitude.size(); ++word) {
    decimal.magnitude[word] = LoadLittle<std::uint32_t>(bytes.data() + 1 + sizeof(std::uint32_t) * word);
  }
  return decimal;
}

void StoreGuid(Bytes& out, std::string_view text) {
  const GuidBytes stored = SwappedGroups(GuidFromText(text));
  out.assign(stored.begin(), stored.end());
}

std::string LoadGuid(ByteView bytes) {
  GuidBytes stored;
  std::copy_n(bytes.begin(), stored.size(), stored.begin());
  return TextOfGuid(SwappedGroups(stored));
}

bool IsInCalendar(Date date) {
  return date.days > kDayBeforeFirst && date.days < kDayBehindLast;
}

void StoreDate(Bytes& out, Date date) {
  if (!IsInCalendar(date)) throw StandardError(errors::kOverflow);
  StoreWhole(out, std::bit_cast<std::uint64_t>(date.days));
}

[[noreturn]] void ThrowTooLong() {
  throw ConstraintError(
      "The field is too small to accept the amount of data you attempted to add. Try inserting or pasting less data.");
}

/// In UTF-16 units.
std::size_t LongestText(const Column& column) {
  return column.length / sizeof(char16_t);
}

std::string& TextIn(Value& value) {
  if (auto* const text = std::get_if<std::string>(&value)) return *text;
  return value.emplace<std::string>();
}

void StoreText(Bytes& out, const Column& column, const std::string& text) {
  const std::size_t longest = LongestText(column);
  const bool compressed = column.IsCompressed() && !column.IsFixed();
  const TextForm form = compressed ? TextForm::CompressedUnlessLonger : TextForm::Plain;
  if (!column.IsFixed() && IsAscii(text)) {
    if (text.size() > longest) ThrowTooLong();
    return EncodeText(text, form, out);
  }
  std::u16string units = Utf16FromUtf8(text);
  if (units.size() > longest) ThrowTooLong();
  if (column.IsFixed()) units.resize(longest, u' ');
  out = StoredText(units, form);
}

void StoreRaw(Bytes& out, const Column& column, const Bytes& bytes) {
  if (bytes.size() > column.length) ThrowTooLong();
  out = bytes;
  if (column.IsFixed()) out.resize(column.length);
}

/// Bytes that the type takes; 0 when that varies.
std::size_t SizeOfType(const Column& column) {
  switch (column.type) {
    case ColumnType::Text:
    case ColumnType::Binary:
    case ColumnType::RawBlock:
      return 0;
    default:
      return FixedSize(column);
  }
}

}  // namespace

DataType DataTypeOf(ColumnType type) {
  switch (type) {
    case ColumnType::Boolean:
      return DataType::Boolean;
    case ColumnType::Byte:
      return DataType::UnsignedTinyInt;
    case ColumnType::Integer:
      return DataType::SmallInt;
    case ColumnType::Long:
      return DataType::Integer;
    case ColumnType::Currency:
      return DataType::Currency;
    case ColumnType::Single:
      return DataType::Single;
    case ColumnType::Double:
      return DataType::Double;
    case ColumnType::DateTime:
      return DataType::Date;
    case ColumnType::Text:
      return DataType::VarWChar;
    case ColumnType::Memo:
      return DataType::LongVarWChar;
    case ColumnType::Ole:
      return DataType::LongVarBinary;
    case ColumnType::Guid:
      return DataType::Guid;
    case ColumnType::Decimal:
      return DataType::Numeric;
    case ColumnType::Binary:
    case ColumnType::RawBlock:
      break;
  }
  return DataType::VarBinary;
}

Bytes StoredText(std::u16string_view units, TextForm form) {
  constexpr char16_t kCompressedMark = 0xFEFF;
  Bytes stored = EncodeText(units, form);
  if (units.starts_with(kCompressedMark) && stored == EncodeText(units, TextForm::Plain)) {
    throw ConstraintError("A text that begins with the character U+FEFF cannot be stored.");
  }
  return stored;
}

Value ValueFromBytes(const Column& column, ByteView bytes) {
  Value value;
  ReadColumnValue(column, bytes, value);
  return value;
}

void ReadColumnValue(const Column& column, ByteView bytes, Value& value) {
  const std::size_t size = SizeOfType(column);
  if (size != 0 && bytes.size() != size) {
    throw DamagedFileError("column '" + column.name + "' of a row has " + std::to_string(bytes.size()) + " bytes");
  }
  switch (column.type) {
    case ColumnType::Byte:
      value = bytes[0];
      return;
    case ColumnType::Integer:
      value = LoadLittle<std::int16_t>(bytes.data());
      return;
    case ColumnType::Long:
      value = LoadLittle<std::int32_t>(bytes.data());
      return;
    case ColumnType::Currency:
      value = Currency{LoadLittle<std::int64_t>(bytes.data())};
      return;
    case ColumnType::Single:
      value = std::bit_cast<float>(LoadLittle<std::uint32_t>(bytes.data()));
      return;
    case ColumnType::Double:
      value = std::bit_cast<double>(LoadLittle<std::uint64_t>(bytes.data()));
      return;
    case ColumnType::DateTime:
      value = Date{std::bit_cast<double>(LoadLittle<std::uint64_t>(bytes.data()))};
      return;
    case ColumnType::Text:
      return DecodeText(bytes, TextIn(value));
    case ColumnType::Guid:
      value = LoadGuid(bytes);
      return;
    case ColumnType::Decimal:
      value = TextOfDecimal(LoadDecimal(bytes), column.scale);
      return;
    default:
      value = Bytes(bytes.begin(), bytes.end());
      return;
  }
}

bool CertainlyFits(const Column& column, const Value& value) {
  switch (column.type) {
    case ColumnType::Boolean:
      return std::holds_alternative<bool>(value);
    case ColumnType::Byte:
      return std::holds_alternative<std::uint8_t>(value);
    case ColumnType::Integer:
      return std::holds_alternative<std::int16_t>(value);
    case ColumnType::Long:
      return std::holds_alternative<std::int32_t>(value);
    case ColumnType::Currency:
      return std::holds_alternative<Currency>(value);
    case ColumnType::Single:
      return std::holds_alternative<float>(value);
    case ColumnType::Double:
      return std::holds_alternative<double>(value);
    case ColumnType::DateTime:
      return std::holds_alternative<Date>(value) && IsInCalendar(std::get<Date>(value));
    case ColumnType::Text: {
      const auto* const text = std::get_if<std::string>(&value);
      // A text has no more UTF-16 units than bytes in UTF-8.
      return text != nullptr && text->size() <= LongestText(column) && !text->starts_with(kMarkCharacter);
    }
    default:
      return false;
  }
}

void BytesFromValue(const Column& column, const Value& value, Bytes& out) {
  switch (column.type) {
    case ColumnType::Byte:
      return StoreWhole(out, std::get<std::uint8_t>(value));
    case ColumnType::Integer:
      return StoreWhole(out, std::get<std::int16_t>(value));
    case ColumnType::Long:
      return StoreWhole(out, std::get<std::int32_t>(value));
    case ColumnType::Currency:
      return StoreWhole(out, std::get<Currency>(value).tenThousandths);
    case ColumnType::Single:
      return StoreWhole(out, std::bit_cast<std::uint32_t>(std::get<float>(value)));
    case ColumnType::Double:
      return StoreWhole(out, std::bit_cast<std::uint64_t>(std::get<double>(value)));
    case ColumnType::DateTime:
      return StoreDate(out, std::get<Date>(value));
    case ColumnType::Text:
      return StoreText(out, column, std::get<std::string>(value));
    case ColumnType::Guid:
      return StoreGuid(out, std::get<std::string>(value));
    case ColumnType::Decimal:
      return StoreDecimal(out, DecimalFromText(std::get<std::string>(value), column.precision, column.scale));
    default:
      return StoreRaw(out, column, std::get<Bytes>(value));
  }
}

}  // namespace mv::jet
