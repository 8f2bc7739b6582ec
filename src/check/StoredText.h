#pragma once

#include <string>

#include "base/Bytes.h"

namespace mv::check {

/// Replaces `units` with the UTF-16 units of a stored text: UTF-16LE, or after FF FE runs of one byte and of two bytes
/// a unit, the first of one; a byte 00 where a unit could start changes to the other kind. False for a text that ends
/// within a unit; `units` is then what came before.
bool DecodeStoredText(ByteView stored, std::u16string& units);

}  // namespace mv::check
