#pragma once

#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace mv::jet {

/// The bytes of a Text or Memo value as rows and long values keep them.
///
/// Plain: UTF-16LE. Compressed: FF FE, then runs. The first run is narrow, one byte for each of U+0001 to U+00FF; a
/// byte 00 where a character could start switches to wide (UTF-16LE) and back; the value may end in either mode. A
/// value that starts with FF FE is compressed whatever its column's flags say. A plain text whose first character is
/// U+FEFF therefore reads back as another text; Jet has the same weakness.

/// When the compressed form is taken. A text of fewer than three UTF-16 units, or with a unit 0000 or a unit above
/// U+00FF whose low byte is 00 (U+4E00), has none and is stored plain.
enum class TextForm {
  Plain,                   ///< never: Text columns without the compressed flag, Memo chains
  CompressedUnlessLonger,  ///< Text columns with the flag
  CompressedIfShorter,     ///< Memo values: all inline ones, and those on one page when the column has the flag
};

/// Byte for byte what Jet writes: one switch at every change between narrow and wide, however short the run.
Bytes EncodeText(std::u16string_view units, TextForm form);
/// The same for UTF-8, in place of what `out` holds and in its memory.
void EncodeText(std::string_view text, TextForm form, Bytes& out);

/// The text of stored bytes as valid UTF-8; lone surrogates become U+FFFD.
/// Throws DamagedFileError when a compressed text ends within a character or a plain one has an odd number of bytes.
std::string DecodeText(ByteView stored);
/// The same in place of what `text` holds, in its memory where that is enough.
void DecodeText(ByteView stored, std::string& text);
/// The text's UTF-16 units as they are, lone surrogates kept. Throws as DecodeText.
std::u16string DecodeUnits(ByteView stored);

}  // namespace mv::jet
