#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace mv {

/// Zero-terminated text of table files, as PDBByteStream describes it; `twoByteForm` is its UTF8Strings.

/// Reads the text at `pos` of `elements` into `text` and moves `pos` behind it. Without elements it is error 9.
void ReadTerminatedText(ByteView elements, std::int32_t& pos, bool twoByteForm, std::string& text);
/// Moves `pos` behind the text, with the errors of reading it.
void SkipTerminatedText(ByteView elements, std::int32_t& pos, bool twoByteForm);

/// Writes the text and its zero behind what `bytes` hold.
void AppendTerminatedText(Bytes& bytes, std::string_view text, bool twoByteForm);

}  // namespace mv
