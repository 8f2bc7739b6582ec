#pragma once

#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace mv::testing {

/// Bytes from pairs of hex digits. Blanks, line ends and "|" between pairs are skipped; text in double quotes stands
/// for its UTF-16LE bytes (characters below U+0080 only).
inline Bytes FromHex(std::string_view text) {
  Bytes bytes;
  bool quoted = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '"') {
      quoted = !quoted;
    } else if (quoted) {
      bytes.insert(bytes.end(), {static_cast<std::uint8_t>(c), 0});
    } else if (c != ' ' && c != '\n' && c != '|') {
      bytes.push_back(static_cast<std::uint8_t>(std::stoul(std::string(text.substr(i++, 2)), nullptr, 16)));
    }
  }
  return bytes;
}

/// The inverse, for messages: "01 AB ...".
inline std::string ToHex(ByteView bytes) {
  constexpr const char* kDigits = "0123456789ABCDEF";
  if (bytes.empty()) return {};
  std::string text(3 * bytes.size() - 1, ' ');
  // By pointers, because tests are not optimised and some write megabytes this way.
  const std::uint8_t* from = bytes.data();
  char* to = text.data();
  for (std::size_t left = bytes.size(); left > 0; --left, ++from, to += 3) {
    to[0] = kDigits[*from >> 4];
    to[1] = kDigits[*from & 15];
  }
  return text;
}

}  // namespace mv::testing
