#include "device/DevicePattern.h"

#include "base/Text.h"
#include "base/Utf.h"

namespace mv {

DevicePattern::DevicePattern(std::string_view pattern)
    : pattern_(pattern == "*.*" ? U"*" : CodePointsFromUtf8(FoldCase(pattern))) {}

bool DevicePattern::Fits(std::string_view name) const {
  const std::u32string text = CodePointsFromUtf8(FoldCase(name));
  std::size_t at = 0;
  std::size_t wanted = 0;
  // Where the last star stands, and how far it reaches by now; a later mismatch lets it take one character more.
  std::size_t star = pattern_.npos;
  std::size_t reach = 0;
  while (at < text.size()) {
    if (wanted < pattern_.size() && pattern_[wanted] == U'*') {
      star = wanted++;
      reach = at;
    } else if (wanted < pattern_.size() && (pattern_[wanted] == U'?' || pattern_[wanted] == text[at])) {
      ++wanted;
      ++at;
    } else if (star != pattern_.npos) {
      wanted = star + 1;
      at = ++reach;
    } else {
      return false;
    }
  }
  return pattern_.find_first_not_of(U'*', wanted) == pattern_.npos;
}

}  // namespace mv
