#include "platform/windows/Wide.h"

#include <windows.h>

#include <algorithm>

#include "base/Utf.h"

namespace mv::platform {

std::wstring Wide(std::string_view text) {
  const std::u16string units = Utf16FromUtf8(text);
  return std::wstring(units.begin(), units.end());
}

std::string Narrow(std::wstring_view text) {
  const std::u16string units(text.begin(), text.end());
  return Utf8FromUtf16(units);
}

std::string Ansi(std::string_view text) {
  if (text.empty()) return {};
  const std::wstring wide = Wide(text);
  const auto count = static_cast<int>(wide.size());
  const int length = ::WideCharToMultiByte(CP_ACP, 0, wide.data(), count, nullptr, 0, nullptr, nullptr);
  std::string ansi(static_cast<std::size_t>(length), '\0');
  ::WideCharToMultiByte(CP_ACP, 0, wide.data(), count, ansi.data(), length, nullptr, nullptr);
  return ansi;
}

std::wstring NativePath(const std::string& path) {
  std::wstring native = Wide(path);
  std::replace(native.begin(), native.end(), L'/', L'\\');
  return native;
}

std::wstring FullPath(const std::wstring& native) {
  const DWORD length = ::GetFullPathNameW(native.c_str(), 0, nullptr, nullptr);
  if (length == 0) return native;
  std::wstring full(length, L'\0');
  full.resize(::GetFullPathNameW(native.c_str(), length, full.data(), nullptr));
  return full;
}

}  // namespace mv::platform
