#include "platform/windows/Wide.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "base/Cp1252.h"
#include "base/Utf.h"

namespace mv::platform {
namespace {

constexpr UINT kCodePage1252 = 1252;

std::wstring SystemWide(UINT codePage, const std::string& bytes) {
  std::wstring wide(bytes.size() + 1, L'\0');
  wide.resize(static_cast<std::size_t>(::MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()),
                                                             wide.data(), static_cast<int>(wide.size()))));
  return wide;
}

std::string SystemUtf8(const std::wstring& text) {
  std::string bytes(4 * text.size(), '\0');
  bytes.resize(
      static_cast<std::size_t>(::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                     bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr)));
  return bytes;
}

TEST(WideTest, OurUtf8IsTheSystemsCodePage65001ForEveryCharacter) {
  std::u32string all;
  for (char32_t c = 1; c <= 0x10FFFF; ++c) {
    if (c < 0xD800 || c > 0xDFFF) all.push_back(c);
  }
  const std::string utf8 = Utf8FromCodePoints(all);
  const std::wstring wide = Wide(utf8);
  EXPECT_TRUE(SystemWide(CP_UTF8, utf8) == wide);
  EXPECT_TRUE(SystemUtf8(wide) == utf8);
}

TEST(WideTest, OurCodePage1252IsTheSystemsForEveryByte) {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  EXPECT_EQ(Narrow(SystemWide(kCodePage1252, bytes)), Utf8FromCp1252(bytes));
}

TEST(WideTest, TheAnsiFormIsInTheSystemsCodePage) {
  EXPECT_EQ(SystemWide(CP_ACP, Ansi("Motorva \xC2\xA9")), SystemWide(CP_ACP, Ansi("Motorva ")) + L"\xA9");
  EXPECT_EQ(Ansi(""), "");
  EXPECT_EQ(Ansi("\xF0\x9F\x9A\x97"), "??") << "a character that no code page holds";
}

}  // namespace
}  // namespace mv::platform
