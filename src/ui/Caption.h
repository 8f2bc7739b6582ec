#pragma once

#include <string>

namespace mv {

/// A documented text, UTF-8, and the letter of it that the Alt key reaches it by.
struct Caption {
  const char* text = "";
  char mark = 0;  ///< ASCII; 0: none
};

/// The caption as toolkits take it: a "&" before the first letter that is the mark, every "&" of the text doubled. The
/// text without its marks is the documented one.
std::string Marked(const Caption& caption);

}  // namespace mv
