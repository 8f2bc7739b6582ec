#pragma once

#include <cstdint>

#include "base/Bytes.h"
#include "jet/file/Page.h"

namespace mv::jet {

/// Encodes pages of a database with its page key (see Header), or decodes them: it is the same operation. Page n is
/// stored XOR the RC4 stream of 4 bytes, the key XOR n, little-endian; page 0 is stored as it is.
///
/// `first`: the number of the first page in `pages`, which are whole ones. With the key 0 nothing is done.
void ApplyPageKey(std::uint32_t key, PageNumber first, ByteSpan pages);

}  // namespace mv::jet
