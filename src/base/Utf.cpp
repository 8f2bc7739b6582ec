#include "base/Utf.h"

#include <array>
#include <bit>
#include <cstdint>

#include "base/Ascii.h"
#include "base/ByteOrder.h"

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

/// The code point of the unit at `i`, or of the two from there on; `i` advances to the last of them. `unit` gives a
/// unit by its place.
template <typename Unit>
char32_t CodePointAt(Unit unit, std::size_t count, std::size_t& i) {
  const char32_t codePoint = unit(i);
  const bool leads = codePoint >= 0xD800 && codePoint <= 0xDBFF;
  if (!leads || i + 1 >= count || unit(i + 1) < 0xDC00 || unit(i + 1) > 0xDFFF) return codePoint;
  return 0x10000 + ((codePoint - 0xD800) << 10) + (unit(++i) - 0xDC00u);
}

constexpr std::size_t kLongestSequence = 4;

/// Writes the UTF-8 form of one code point; returns the place behind it.
char* WriteUtf8(char* out, char32_t codePoint) {
  if (codePoint > kLastCodePoint || IsSurrogate(codePoint)) codePoint = kReplacement;
  const auto continuation = [&](unsigned shift) { return static_cast<char>(0x80 | (codePoint >> shift & 0x3F)); };
  if (codePoint < 0x80) {
    *out++ = static_cast<char>(codePoint);
    return out;
  }
  if (codePoint < 0x800) {
    *out++ = static_cast<char>(0xC0 | codePoint >> 6);
  } else if (codePoint < 0x10000) {
    *out++ = static_cast<char>(0xE0 | codePoint >> 12);
    *out++ = continuation(6);
  } else {
    *out++ = static_cast<char>(0xF0 | codePoint >> 18);
    *out++ = continuation(12);
    *out++ = continuation(6);
  }
  *out++ = continuation(0);
  return out;
}

/// The low bytes of four units in UTF-16LE, at `out`; how many of them are ASCII characters before the first other one.
std::size_t NarrowFour(const std::uint8_t* units, char* out) {
  constexpr std::uint64_t kNotAscii = 0xFF80FF80FF80FF80;
  const auto four = LoadLittle<std::uint64_t>(units);
  const std::uint64_t pairs = (four | four >> 8) & 0x0000FFFF0000FFFF;
  const auto low = static_cast<std::uint32_t>(pairs | pairs >> 16);
  StoreLittle(reinterpret_cast<std::uint8_t*>(out), low);
  return static_cast<std::size_t>(std::countr_zero(four & kNotAscii)) / 16;
}

}  // namespace

char32_t NextCodePoint(std::string_view text, std::size_t& position) {
  char32_t codePoint = kReplacement;
  return Decode(text, position, codePoint) ? codePoint : kReplacement;
}

void AppendUtf8(std::string& text, char32_t codePoint) {
  std::array<char, kLongestSequence> bytes;
  text.append(bytes.data(), WriteUtf8(bytes.data(), codePoint));
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
  const std::size_t plain = AsciiPrefix(text);
  std::u16string result(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(plain));
  for (std::size_t position = plain; position < text.size();) {
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
  const auto unit = [&](std::size_t i) { return units[i]; };
  for (std::size_t i = 0; i < units.size(); ++i) AppendUtf8(result, CodePointAt(unit, units.size(), i));
  return result;
}

std::string Utf8FromUtf16(ByteView littleEndian) {
  constexpr std::size_t kAtOnce = 4;
  const std::size_t count = littleEndian.size() / sizeof(char16_t);
  const auto unit = [&](std::size_t i) {
    return static_cast<char16_t>(LoadLittle<std::uint16_t>(littleEndian.data() + i * sizeof(char16_t)));
  };
  std::string result;
  result.reserve(count + count / 16);
  std::array<char, 256> part;
  for (std::size_t i = 0; i < count;) {
    char* out = part.data();
    while (i < count && out + kAtOnce + kLongestSequence <= part.data() + part.size()) {
      if (count - i >= kAtOnce) {
        const std::size_t plain = NarrowFour(littleEndian.data() + i * sizeof(char16_t), out);
        out += plain;
        i += plain;
        if (plain == kAtOnce) continue;
      }
      out = WriteUtf8(out, CodePointAt(unit, count, i));
      ++i;
    }
    result.append(part.data(), out);
  }
  return result;
}

std::string ValidUtf8(std::string_view bytes) {
  return Utf8FromCodePoints(CodePointsFromUtf8(bytes));
}

bool IsValidUtf8(std::string_view bytes) {
  char32_t ignored = 0;
  for (std::size_t position = AsciiPrefix(bytes); position < bytes.size();) {
    if (!Decode(bytes, position, ignored)) return false;
    position += AsciiPrefix(bytes.substr(position));
  }
  return true;
}

std::size_t CharacterCount(std::string_view text) {
  std::size_t count = AsciiPrefix(text);
  for (std::size_t position = count; position < text.size(); ++count) NextCodePoint(text, position);
  return count;
}

std::string FirstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  for (std::size_t i = 0; i < count && end < text.size(); ++i) NextCodePoint(text, end);
  return std::string(text.substr(0, end));
}

}  // namespace mv
