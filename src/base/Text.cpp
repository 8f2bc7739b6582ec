#include "base/Text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/Ascii.h"
#include "base/Utf.h"

namespace mv {
namespace {

char AsciiUpper(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
char AsciiLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Of ASCII text.
void LowerAscii(std::string& text) {
  std::size_t done = 0;
  std::uint64_t word = 0;
  for (; text.size() - done >= sizeof(word); done += sizeof(word)) {
    std::memcpy(&word, text.data() + done, sizeof(word));
    word = AsciiLowerWord(word);
    std::memcpy(text.data() + done, &word, sizeof(word));
  }
  for (; done < text.size(); ++done) text[done] = AsciiLower(text[done]);
}

bool Between(char32_t c, char32_t first, char32_t last) {
  return c >= first && c <= last;
}

/// Blocks in which upper case is even and its lower case the next number.
bool IsEvenUpper(char32_t c) {
  return Between(c, 0x100, 0x12F) || Between(c, 0x132, 0x137) || Between(c, 0x14A, 0x177) || Between(c, 0x1DE, 0x1EF) ||
         Between(c, 0x1F8, 0x21F) || Between(c, 0x222, 0x233) || Between(c, 0x3D8, 0x3EF) || Between(c, 0x460, 0x481) ||
         Between(c, 0x48A, 0x4BF) || Between(c, 0x4D0, 0x52F) || Between(c, 0x1E00, 0x1E95) ||
         Between(c, 0x1EA0, 0x1EFF);
}

/// Blocks in which upper case is odd and its lower case the next number.
bool IsOddUpper(char32_t c) {
  return Between(c, 0x139, 0x148) || Between(c, 0x179, 0x17E) || Between(c, 0x1CD, 0x1DC) || Between(c, 0x4C1, 0x4CE);
}

}  // namespace

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string AsciiUpper(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = AsciiUpper(c);
  return result;
}

std::string AsciiLower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = AsciiLower(c);
  return result;
}

bool EqualsIgnoreAsciiCase(std::string_view left, std::string_view right) {
  if (left.size() != right.size()) return false;
  for (std::size_t i = 0; i < left.size(); ++i) {
    if (AsciiLower(left[i]) != AsciiLower(right[i])) return false;
  }
  return true;
}

char32_t FoldCase(char32_t c) {
  if (c < 0x80) return Between(c, 'A', 'Z') ? c + 0x20 : c;
  if (Between(c, 0xC0, 0xDE) && c != 0xD7) return c + 0x20;
  if (c == 0x130 || c == 0x131) return c;
  if (c == 0x178) return 0xFF;
  if (IsEvenUpper(c)) return c | 1;
  if (IsOddUpper(c)) return c % 2 == 1 ? c + 1 : c;
  if (c == 0x386) return 0x3AC;
  if (Between(c, 0x388, 0x38A)) return c + 37;
  if (c == 0x38C) return 0x3CC;
  if (c == 0x38E || c == 0x38F) return c + 63;
  if (Between(c, 0x391, 0x3AB) && c != 0x3A2) return c + 0x20;
  if (Between(c, 0x400, 0x40F)) return c + 0x50;
  if (Between(c, 0x410, 0x42F)) return c + 0x20;
  if (Between(c, 0x531, 0x556)) return c + 0x30;
  return c;
}

std::string FoldCase(std::string_view text) {
  const std::size_t plain = AsciiPrefix(text);
  std::string result(text.substr(0, plain));
  LowerAscii(result);
  for (std::size_t position = plain; position < text.size();) {
    const char byte = text[position];
    if (static_cast<unsigned char>(byte) < 0x80) {
      result += AsciiLower(byte);
      ++position;
    } else {
      AppendUtf8(result, FoldCase(NextCodePoint(text, position)));
    }
  }
  return result;
}

std::size_t FolderLength(std::string_view path) {
  const std::size_t last = path.find_last_of("\\/");
  return last == std::string_view::npos ? 0 : last + 1;
}

std::string JoinPath(std::string_view folder, std::string_view name) {
  std::string result(folder);
  result += '\\';
  result += name;
  return result;
}

std::string ShownPath(std::string path) {
  if (path.starts_with('/')) std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

}  // namespace mv
