#include "pdb/PDBUtils.h"

#include <cmath>
#include <limits>

#include "base/Ascii.h"
#include "base/Checked.h"
#include "base/Cp1252.h"
#include "base/NumberText.h"
#include "base/Utf.h"
#include "pdb/AnsiText.h"
#include "pdb/HandheldType.h"
#include "pdb/TableFormat.h"

namespace mv {
namespace {

constexpr double kTwoTo32 = 4294967296.0;
constexpr std::int32_t kTwoTo16 = 65536;
constexpr std::int32_t kSecondsPerDay = 86400;

}  // namespace

std::int32_t PDBUtils::UnsignedToLong(double d) {
  if (!(d >= 0 && d < kTwoTo32)) throw StandardError(errors::kOverflow);
  const double wrapped = d > std::numeric_limits<std::int32_t>::max() ? d - kTwoTo32 : d;
  return CheckedCast<std::int32_t>(std::llrint(wrapped));
}

double PDBUtils::LongToUnsigned(std::int32_t l) {
  return l < 0 ? l + kTwoTo32 : l;
}

std::int16_t PDBUtils::UnsignedToInteger(std::int32_t l) {
  if (l < 0 || l >= kTwoTo16) throw StandardError(errors::kOverflow);
  return static_cast<std::int16_t>(l > std::numeric_limits<std::int16_t>::max() ? l - kTwoTo16 : l);
}

std::int32_t PDBUtils::IntegerToUnsigned(std::int16_t i) {
  return i < 0 ? i + kTwoTo16 : i;
}

Date PDBUtils::PalmLongToDate(std::int32_t v) {
  return Date{kHandheldEpoch.days + std::nearbyint(LongToUnsigned(v) / kSecondsPerDay)};
}

std::int32_t PDBUtils::DateToPalmLong(Date d) {
  const Date distance{d.days - kHandheldEpoch.days};
  return UnsignedToLong(static_cast<double>(CivilFromDate(distance).day) * kSecondsPerDay);
}

std::int32_t PDBUtils::PalmIDtoLong(std::string_view s) {
  if (CharacterCount(s) != table_format::kCreatorWidth) return 0;
  std::int32_t value = 0;
  for (std::size_t position = 0; position < s.size();) {
    value = CheckedAdd(CheckedMultiply(value, 256), std::int32_t{NextAnsiValue(s, position)});
  }
  return value;
}

std::string PDBUtils::PalmLongtoId(std::int32_t l) {
  std::string text;
  for (int shift = 0; shift < 32; shift += 8) AppendInteger(text, static_cast<std::uint32_t>(l) >> shift & 0xFF);
  return text;
}

std::string PDBUtils::EncodeUTF8(std::string_view s) {
  return Utf8FromCp1252(s);
}

std::string PDBUtils::DecodeUTF8(std::string_view s) {
  return ValidUtf8(Cp1252FromUtf8(s));
}

Bytes PDBUtils::ToUTF8(std::int32_t code) {
  const auto continuation = [](std::int32_t bits) { return static_cast<std::uint8_t>(128 + (bits & 63)); };
  if (code < 128) return {CheckedCast<std::uint8_t>(code)};
  if (code < 2048) return {static_cast<std::uint8_t>(192 + (code / 64 & 31)), continuation(code)};
  return {static_cast<std::uint8_t>(224 + (code / 4096 & 15)), continuation(code / 64), continuation(code)};
}

std::int32_t PDBUtils::ToUTF16(ByteView bytes) {
  switch (bytes.size()) {
    case 1:
      return bytes[0];
    case 2:
      return (bytes[0] & 31) * 64 + (bytes[1] & 63);
    case 3:
      return CheckedCast<std::int16_t>((bytes[0] & 15) * 4096 + (bytes[1] & 63) * 64 + (bytes[2] & 63));
    default:
      return 0;
  }
}

std::int32_t PDBUtils::UTF8Length(std::string_view s) {
  std::size_t length = 0;
  for (std::size_t position = 0; position < s.size();) {
    const std::size_t run = AsciiPrefix(s.substr(position));
    length += run;
    position += run;
    if (position < s.size()) length += NextAnsiValue(s, position) <= kLastOneByteValue ? 1u : 2u;
  }
  return CheckedCast<std::int32_t>(length);
}

Date PDBUtils::SecondsToTime(std::int16_t count) {
  return DateFromSeconds(IntegerToUnsigned(count));
}

}  // namespace mv
