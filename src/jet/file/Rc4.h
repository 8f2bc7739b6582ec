#pragma once

#include <cstddef>

#include "base/Bytes.h"

namespace mv::jet {

/// RC4, under whose streams the format hides the header page, the account identifiers and the pages of encoded
/// databases; it is a disguise, not a protection. Keys have 1 to 256 bytes.

/// XORs `bytes` with the key stream of `key`, from its beginning on. The same once more undoes it.
void ApplyRc4(ByteView key, ByteSpan bytes);
/// The first `length` bytes of the key stream of `key`.
Bytes Rc4KeyStream(ByteView key, std::size_t length);

}  // namespace mv::jet
