#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace mv {

/// The growable byte buffer through which the table file family reads and writes everything. It keeps no position:
/// each read or write takes the caller's, from 0, and moves it past the bytes. A value; copies are independent.
///
/// Byte order. `swap` true means big-endian and false little-endian, the reverse when GlobalByteSwap is set. Header
/// fields and record values of the handheld's files are big-endian, the record list's identifiers little-endian.
///
/// Growth. Length is the array's upper bound, one less than its byte count. A writer of w bytes at p that reaches
/// behind it makes the upper bound p + w, not p + w - 1, so a buffer built by appending ends in one spare zero byte;
/// table files and their record lengths are made that way. SetByte alone grows to p, without a spare byte.
///
/// Errors: 9 for a read behind the upper bound, any access to an array without elements, a negative position; 6 when a
/// position leaves 32 bits. Readers never grow the array. A failed call leaves the position as it was.
class PDBByteStream {
 public:
  /// Inverts the meaning of `swap`. False in a new stream.
  bool GlobalByteSwap() const { return globalByteSwap_; }
  void GlobalByteSwap(bool on) { globalByteSwap_ = on; }

  /// Whether zero-terminated text uses the two-byte form of characters. True in a new stream.
  bool UTF8Strings() const { return utf8Strings_; }
  void UTF8Strings(bool on) { utf8Strings_ = on; }

  /// The platform that the bytes are for. 1 turns GlobalByteSwap on; no value turns it off again.
  std::int32_t DatabaseFor() const { return databaseFor_; }
  void DatabaseFor(std::int32_t platform);

  const Bytes& ByteArray() const { return bytes_; }
  /// Replaces the contents.
  void ByteArray(Bytes bytes);

  /// The upper bound of the array; 0 for one without elements.
  std::int32_t Length() const;
  /// Makes the array `n` bytes long; what there was stays, new bytes are zero. Error 9 for a negative count.
  void Resize(std::int32_t n);
  /// Leaves one zero byte.
  void Clear();

  /// Reads text up to a zero byte, which is consumed, or up to the end of the array (pos is then Length + 1).
  /// A stream that never held anything gives "" and leaves pos.
  ///
  /// With UTF8Strings a byte 195 to 198 opens a two-byte and 225 a three-byte character; the bytes behind it are
  /// taken as they are. Every other byte is one Windows-1252 character: handhelds write and read text by this rule
  /// alone, so a sequence led by 194 comes back as two characters. The index is a 16-bit counter: error 6 for text
  /// that runs past position 32767.
  void ByteToString(std::string& text, std::int32_t& pos) const;
  /// Writes text and a zero byte. Each character is its Windows-1252 value ("?" outside the code page); with
  /// UTF8Strings the values 129 to 255 take the two bytes that UTF-8 has for that number, 128 stays one byte.
  void StringToByte(std::string_view text, std::int32_t& pos);

  /// Length-prefixed text, asymmetric: texts shorter than 255 characters get a one-byte length, longer ones a 16-bit
  /// little-endian length without a mark; reading takes a 16-bit length after a byte 255 and gives "" after any other.
  void ByteToCString(std::string& text, std::int32_t& pos) const;
  void CStringToByte(std::string_view text, std::int32_t& pos);

  /// Text of `width` Windows-1252 bytes. Reading ends at a zero byte, and does not look behind it; pos moves by
  /// `width` all the same.
  void ByteToFixString(std::string& text, std::int32_t& pos, std::int32_t width) const;
  /// Cuts the text to `width` characters or fills up with zero bytes.
  void FixStringToByte(std::string_view text, std::int32_t& pos, std::int32_t width);

  void GetByte(std::uint8_t& b, std::int32_t& pos) const;
  /// A stream without elements has no element 0 to set: error 9, until Resize or another writer made one.
  void SetByte(std::uint8_t b, std::int32_t& pos);

  void ByteToInteger(std::int16_t& value, std::int32_t& pos, bool swap) const;
  void IntegerToByte(std::int16_t value, std::int32_t& pos, bool swap);
  /// Three bytes; the value read lies between 0 and 16777215, of the value written the low three bytes count.
  void ByteToInt24(std::int32_t& value, std::int32_t& pos, bool swap) const;
  void Int24ToByte(std::int32_t value, std::int32_t& pos, bool swap);
  void ByteToLong(std::int32_t& value, std::int32_t& pos, bool swap) const;
  void LongToByte(std::int32_t value, std::int32_t& pos, bool swap);
  /// IEEE 754 binary64.
  void ByteToDouble(double& value, std::int32_t& pos, bool swap) const;
  void DoubleToByte(double value, std::int32_t& pos, bool swap);
  /// An amount in ten-thousandths.
  void ByteToCurrency(std::int64_t& tenThousandths, std::int32_t& pos, bool swap) const;
  void CurrencyToByte(std::int64_t tenThousandths, std::int32_t& pos, bool swap);
  /// IEEE 754 binary32.
  void ByteToSingle(float& value, std::int32_t& pos, bool swap) const;
  void SingleToByte(float value, std::int32_t& pos, bool swap);

 private:
  /// The `count` elements from `pos` on. Error 9 when one of them is not there.
  const std::uint8_t* Elements(std::int32_t pos, std::int32_t count) const;
  /// Makes room for `count` elements from `pos` on and returns the first.
  std::uint8_t* Room(std::int32_t pos, std::int32_t count);

  template <typename T>
  T Load(std::int32_t& pos, bool swap) const;
  template <typename T>
  void Store(T value, std::int32_t& pos, bool swap);

  bool IsBigEndian(bool swap) const { return swap != globalByteSwap_; }

  Bytes bytes_;
  bool allocated_ = false;
  bool utf8Strings_ = true;
  bool globalByteSwap_ = false;
  std::int32_t databaseFor_ = 0;
};

}  // namespace mv
