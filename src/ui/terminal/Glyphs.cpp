#include "ui/terminal/Glyphs.h"

#include "base/Utf.h"

namespace mv::terminal {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

constexpr Range kCombining[] = {
    {0x300, 0x36F}, {0x483, 0x489}, {0x591, 0x5BD}, {0x610, 0x61A}, {0x64B, 0x65F}, {0x200B, 0x200F}, {0xFE00, 0xFE0F},
};
constexpr Range kWide[] = {
    {0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD},
};

template <std::size_t N>
bool IsIn(char32_t codePoint, const Range (&ranges)[N]) {
  for (const Range& range : ranges) {
    if (codePoint >= range.first && codePoint <= range.last) return true;
  }
  return false;
}

std::size_t WidthOf(char32_t codePoint) {
  if (IsIn(codePoint, kCombining)) return 0;
  return IsIn(codePoint, kWide) ? 2 : 1;
}

bool IsControl(char32_t codePoint) {
  return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
}

std::string InAscii(char32_t codePoint) {
  switch (codePoint) {
    case U'\u00A9':
      return "(c)";
    case U'\u2122':
      return "(TM)";
    default:
      return codePoint < 0x80 ? std::string(1, static_cast<char>(codePoint)) : "?";
  }
}

}  // namespace

std::string Harmless(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const char32_t codePoint = NextCodePoint(text, at);
    AppendUtf8(result, IsControl(codePoint) ? U' ' : codePoint);
  }
  return result;
}

std::size_t Width(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size();) width += WidthOf(NextCodePoint(text, at));
  return width;
}

std::string_view Start(std::string_view text, std::size_t columns) {
  std::size_t end = 0;
  for (std::size_t at = 0, width = 0; at < text.size(); end = at) {
    width += WidthOf(NextCodePoint(text, at));
    if (width > columns) break;
  }
  return text.substr(0, end);
}

std::string_view Tail(std::string_view text, std::size_t columns) {
  std::size_t width = Width(text);
  std::size_t begin = 0;
  while (width > columns) width -= WidthOf(NextCodePoint(text, begin));
  return text.substr(begin);
}

std::string Encoded(std::string_view text, platform::Terminal::Charset charset) {
  if (charset == platform::Terminal::Charset::Utf8) return std::string(text);
  std::string bytes;
  for (std::size_t at = 0; at < text.size();) {
    const char32_t codePoint = NextCodePoint(text, at);
    const bool latin1 = charset == platform::Terminal::Charset::Latin1 && codePoint >= 0xA0 && codePoint <= 0xFF;
    bytes += latin1 ? std::string(1, static_cast<char>(codePoint)) : InAscii(codePoint);
  }
  return bytes;
}

}  // namespace mv::terminal
