#include "jet/file/PageKey.h"

#include <array>

#include "base/ByteOrder.h"
#include "jet/file/Rc4.h"

namespace mv::jet {

void ApplyPageKey(std::uint32_t key, PageNumber first, ByteSpan pages) {
  if (key == 0) return;
  PageNumber number = first;
  for (std::size_t at = 0; at < pages.size(); at += kPageSize, ++number) {
    if (number == 0) continue;
    std::array<std::uint8_t, 4> keyBytes{};
    StoreLittle(keyBytes.data(), key ^ number);
    ApplyRc4(keyBytes, pages.subspan(at, kPageSize));
  }
}

}  // namespace mv::jet
