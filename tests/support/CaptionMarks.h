#pragma once

#include <cctype>
#include <set>
#include <string_view>
#include <vector>

#include "ui/Caption.h"

namespace mv::testing {

/// The keys, as capitals, that lead to the captions; a mark that is not in its text leads nowhere. As many as captions
/// when each can be reached by a key of its own.
inline std::set<char> MarksOf(const std::vector<Caption>& captions) {
  std::set<char> keys;
  for (const Caption& caption : captions) {
    if (std::string_view(caption.text).find(caption.mark) == std::string_view::npos) continue;
    keys.insert(static_cast<char>(std::toupper(static_cast<unsigned char>(caption.mark))));
  }
  return keys;
}

}  // namespace mv::testing
