#include "jet/rows/Guid.h"

#include <algorithm>

#include "base/Error.h"

namespace mv::jet {
namespace {

constexpr std::string_view kForm = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";
constexpr std::string_view kGuidDigits = "0123456789ABCDEF";

std::uint8_t HexDigit(char c) {
  constexpr std::string_view kLower = "0123456789abcdef";
  const std::size_t value = std::min(kGuidDigits.find(c), kLower.find(c));
  if (value == std::string_view::npos) throw StandardError(errors::kTypeMismatch);
  return static_cast<std::uint8_t>(value);
}

}  // namespace

GuidBytes GuidFromText(std::string_view text) {
  if (text.size() != kForm.size()) throw StandardError(errors::kTypeMismatch);
  GuidBytes guid = {};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    if (kForm[i] != 'x') {
      if (text[i] != kForm[i]) throw StandardError(errors::kTypeMismatch);
      continue;
    }
    std::uint8_t& byte = guid[digits++ / 2];
    byte = static_cast<std::uint8_t>(byte << 4 | HexDigit(text[i]));
  }
  return guid;
}

std::string TextOfGuid(const GuidBytes& guid) {
  std::string text(kForm);
  std::size_t digits = 0;
  for (char& c : text) {
    if (c != 'x') continue;
    const std::uint8_t byte = guid[digits / 2];
    c = kGuidDigits[digits++ % 2 == 0 ? byte >> 4 : byte & 15];
  }
  return text;
}

GuidBytes SwappedGroups(const GuidBytes& guid) {
  GuidBytes swapped = guid;
  std::reverse(swapped.begin(), swapped.begin() + 4);
  std::reverse(swapped.begin() + 4, swapped.begin() + 6);
  std::reverse(swapped.begin() + 6, swapped.begin() + 8);
  return swapped;
}

}  // namespace mv::jet
