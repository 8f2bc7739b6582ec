#pragma once

#include <string>

#include "check/Context.h"
#include "check/LongValues.h"
#include "check/RowReader.h"

namespace mv::check {

/// Builds index keys from the bytes in rows. A column's part is a start byte, 7F ascending or 80 descending, and the
/// value big-endian so that keys compare as byte strings; null is 00 or FF alone.
///
/// | type                     | value, ascending                                     | descending              |
/// |--------------------------|------------------------------------------------------|-------------------------|
/// | Boolean                  | 00 true, FF false                                    | inverted                |
/// | Byte                     | as it is                                             | inverted                |
/// | Integer, Long, Currency  | top bit flipped                                      | inverted                |
/// | Single, Double, DateTime | negative: inverted, else top bit flipped             | inverted                |
/// | Binary, GUID             | groups of 8, the last filled up with 0; behind each  | inverted but 09         |
/// |                          | 09, behind the last its number of bytes              |                         |
/// | Decimal                  | FF, negative 00; 16 bytes, inverted when negative    | 16 bytes inverted       |
/// | Text, Memo               | TextKeys.h                                           | inverted, with its end  |
/// |                          |                                                      | 00; then 00             |
class KeyBuilder {
 public:
  /// Engines differ in two points, for which there is no telling who is right: whether letters such as the sharp s
  /// count once or twice behind the primary weights (in all of what follows or in the accents only), and whether a
  /// descending Decimal inverts its sign byte.
  enum class Style : std::uint8_t { Usual, Other, OtherAccents };

  KeyBuilder(Context& context, const Definition& definition);

  struct Key {
    Bytes bytes;
    bool allNull = true;
    bool anyNull = false;
    bool known = true;  ///< false: a character, sort order or type that no key can be built for; `bytes` mean nothing
  };
  /// Replaces `key` with that of a sound row. Needs index.HasColumns().
  void Build(const Index& index, const Row& row, Style style, Key& key);

 private:
  bool Append(Bytes& key, const Column& column, ByteView value, bool ascending, Style style);
  bool AppendText(Bytes& key, const Column& column, ByteView value, bool ascending, Style style);

  RowReader reader_;
  const Definition& definition_;
  LongValues longValues_;
  Bytes memo_;
  std::u16string units_;
};

}  // namespace mv::check
