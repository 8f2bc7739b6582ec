#include "platform/windows/Wide.h"

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

std::wstring NativePath(const std::string& path) {
  std::wstring native = Wide(path);
  std::replace(native.begin(), native.end(), L'/', L'\\');
  return native;
}

}  // namespace mv::platform
