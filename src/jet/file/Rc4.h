#pragma once

#include <cstddef>

#include "base/Bytes.h"

namespace mv::jet {

/// The first `length` bytes of the RC4 key stream of `key` (1 to 256 bytes). The format hides the header page and the
/// account identifiers under such streams; it is a disguise, not a protection.
Bytes Rc4KeyStream(ByteView key, std::size_t length);

}  // namespace mv::jet
