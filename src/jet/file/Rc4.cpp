#include "jet/file/Rc4.h"

#include <array>
#include <cstdint>
#include <utility>

namespace mv::jet {

void ApplyRc4(ByteView key, ByteSpan bytes) {
  std::array<std::uint8_t, 256> state{};
  for (std::size_t i = 0; i < state.size(); ++i) state[i] = static_cast<std::uint8_t>(i);
  std::uint8_t j = 0;
  for (std::size_t i = 0; i < state.size(); ++i) {
    j = static_cast<std::uint8_t>(j + state[i] + key[i % key.size()]);
    std::swap(state[i], state[j]);
  }

  std::uint8_t i = 0;
  j = 0;
  for (std::uint8_t& byte : bytes) {
    i = static_cast<std::uint8_t>(i + 1);
    j = static_cast<std::uint8_t>(j + state[i]);
    std::swap(state[i], state[j]);
    byte ^= state[static_cast<std::uint8_t>(state[i] + state[j])];
  }
}

Bytes Rc4KeyStream(ByteView key, std::size_t length) {
  Bytes stream(length);
  ApplyRc4(key, stream);
  return stream;
}

}  // namespace mv::jet
