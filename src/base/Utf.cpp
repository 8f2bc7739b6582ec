#include "base/Utf.h"

#include <cstdint>

namespace mv {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kLastCodePoint = 0x10FFFF;

bool IsSurrogate(char32_t codePoint) {
  return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

/// Length of the sequence that `lead` opens, 0 when it opens none.
std::size_t SequenceLength(std::uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  if (lead >= 0xF0 && lead <= 0xF4) return 4;
  return 0;
}

/// Decodes one sequence; returns false, and consumes one byte, when it is malformed.
bool Decode(std::string_view text, std::size_t& position, char32_t& codePoint) {
  const auto lead = static_cast<std::uint8_t>(text[position]);
  const std::size_t length = SequenceLength(lead);
  const std::size_t start = position++;
  if (length == 1) {
    codePoint = lead;
    return true;
  }
  if (length == 0 || text.size() - start < length) return false;
  char32_t value = lead & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<std::uint8_t>(text[start + i]);
    if ((next & 0xC0) != 0x80) return false;
    value = (value << 6) | (next & 0x3Fu);
  }
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (value < kSmallest[length] || value > kLastCodePoint || IsSurrogate(value)) return false;
  position = start + length;
  codePoint = value;
  return true;
}

}  // namespace

char32_t NextCodePoint(std::string_view text, std::size_t& position) {
  char32_t codePoint = kReplacement;
  return Decode(text, position, codePoint) ? codePoint : kReplacement;
}

void AppendUtf8(std::string& text, char32_t codePoint) {
  if (codePoint > kLastCodePoint || IsSurrogate(codePoint)) codePoint = kReplacement;
  if (codePoint < 0x80) {
    text += static_cast<char>(codePoint);
    return;
  }
  if (codePoint < 0x800) {
    text += static_cast<char>(0xC0 | (codePoint >> 6));
  } else {
    if (codePoint < 0x10000) {
      text += static_cast<char>(0xE0 | (codePoint >> 12));
    } else {
      text += static_cast<char>(0xF0 | (codePoint >> 18));
      text += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
    }
    text += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
  }
  text += static_cast<char>(0x80 | (codePoint & 0x3F));
}

std::u32string CodePointsFromUtf8(std::string_view text) {
  std::u32string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) result += NextCodePoint(text, position);
  return result;
}

std::string Utf8FromCodePoints(std::u32string_view codePoints) {
  std::string result;
  result.reserve(codePoints.size());
  for (const char32_t codePoint : codePoints) AppendUtf8(result, codePoint);
  return result;
}

std::u16string Utf16FromUtf8(std::string_view text) {
  std::u16string result;
  result.reserve(text.size());
  for (std::size_t position = 0; position < text.size();) {
    const char32_t codePoint = NextCodePoint(text, position);
    if (codePoint < 0x10000) {
      result += static_cast<char16_t>(codePoint);
    } else {
      result += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
      result += static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
    }
  }
  return result;
}

std::string Utf8FromUtf16(std::u16string_view units) {
  std::string result;
  result.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t codePoint = units[i];
    const bool leads = codePoint >= 0xD800 && codePoint <= 0xDBFF;
    if (leads && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
      codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (units[++i] - 0xDC00u);
    }
    AppendUtf8(result, codePoint);
  }
  return result;
}

std::string ValidUtf8(std::string_view bytes) {
  return Utf8FromCodePoints(CodePointsFromUtf8(bytes));
}

bool IsValidUtf8(std::string_view bytes) {
  char32_t ignored = 0;
  for (std::size_t position = 0; position < bytes.size();) {
    if (!Decode(bytes, position, ignored)) return false;
  }
  return true;
}

std::size_t CharacterCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t position = 0; position < text.size(); ++count) NextCodePoint(text, position);
  return count;
}

std::string FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  for (std::size_t i = 0; i < count && end < text.size(); ++i) NextCodePoint(text, end);
  return std::string(text.substr(0, end));
}

}  // namespace mv
