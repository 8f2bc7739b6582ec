#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "base/Date.h"

namespace mv {

/// Conversions of the table file family: unsigned views of signed integers, header dates, four-character identifiers
/// and character coding. Error 6 "Overflow" where a range is stated.
class PDBUtils {
 public:
  PDBUtils() = delete;

  /// The 32 bits of an unsigned count 0 .. 4294967295, rounded half to even, as a signed number. Error 6 outside.
  static std::int32_t UnsignedToLong(double d);
  /// The inverse: 0 .. 4294967295.
  static double LongToUnsigned(std::int32_t l);
  /// The 16 bits of an unsigned count 0 .. 65535 as a signed number. Error 6 outside.
  static std::int16_t UnsignedToInteger(std::int32_t l);
  /// The inverse: 0 .. 65535.
  static std::int32_t IntegerToUnsigned(std::int16_t i);

  /// A header date, unsigned seconds since 1904-01-01 local time, as the nearest whole day (halves to even), without
  /// a time of day.
  static Date PalmLongToDate(std::int32_t v);
  /// A header date for `d`. Takes the distance from 1904-01-01 for a date and writes that date's day of the month, so
  /// every result lies between 86400 and 2678400. Handhelds never read these dates; the rule keeps files the same
  /// byte for byte.
  static std::int32_t DateToPalmLong(Date d);

  /// The big-endian value of exactly four characters; 0 for a text of any other length. Error 6 when the first
  /// character's value is 128 or more.
  static std::int32_t PalmIDtoLong(std::string_view s);
  /// The decimal numbers of the four bytes, lowest first, run together: "68676665" for 0x41424344. Not the inverse of
  /// PalmIDtoLong, and kept that way.
  static std::string PalmLongtoId(std::int32_t l);

  /// The UTF-8 bytes of `s`, each as the character that Windows-1252 has for it.
  static std::string EncodeUTF8(std::string_view s);
  /// The inverse; what is no UTF-8 becomes U+FFFD.
  static std::string DecodeUTF8(std::string_view s);

  /// The UTF-8 bytes of a character code below 65536, by pattern alone. Error 6 for a negative code.
  static Bytes ToUTF8(std::int32_t code);
  /// The character code of one, two or three bytes by pattern alone (continuation bytes are not checked); 0 for any
  /// other number of bytes. Error 6 for a three-byte result above 32767.
  static std::int32_t ToUTF16(ByteView bytes);
  /// Number of bytes that PDBByteStream::StringToByte writes for `s` with UTF8Strings, without the terminator.
  static std::int32_t UTF8Length(std::string_view s);

  /// The time of day of an unsigned 16-bit count of seconds.
  static Date SecondsToTime(std::int16_t count);
};

}  // namespace mv
