#include "base/Cp1252.h"

#include <array>

#include "base/Utf.h"

namespace mv {
namespace {

/// Characters of the bytes 80 to 9F; all other bytes equal their code point.
constexpr std::array<char32_t, 32> kHighControls = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                                    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                                    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                                    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

}  // namespace

char32_t CodePointFromCp1252(std::uint8_t byte) {
  return byte >= 0x80 && byte <= 0x9F ? kHighControls[byte - 0x80u] : byte;
}

std::uint8_t Cp1252FromCodePoint(char32_t codePoint) {
  if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) return static_cast<std::uint8_t>(codePoint);
  for (std::size_t i = 0; i < kHighControls.size(); ++i) {
    if (kHighControls[i] == codePoint) return static_cast<std::uint8_t>(0x80 + i);
  }
  return '?';
}

std::string Cp1252FromUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    result += static_cast<char>(Cp1252FromCodePoint(NextCodePoint(text, position)));
  }
  return result;
}

std::string Utf8FromCp1252(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size());
  for (const char byte : bytes) AppendUtf8(result, CodePointFromCp1252(static_cast<std::uint8_t>(byte)));
  return result;
}

std::string Utf8FromCp1252(ByteView bytes) {
  return Utf8FromCp1252(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

}  // namespace mv
