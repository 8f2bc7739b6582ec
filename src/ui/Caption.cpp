#include "ui/Caption.h"

#include <string_view>

namespace mv {

std::string Marked(const Caption& caption) {
  std::string marked;
  bool pending = caption.mark != 0;
  for (const char c : std::string_view(caption.text)) {
    if (pending && c == caption.mark) {
      marked += '&';
      pending = false;
    }
    marked += c;
    if (c == '&') marked += c;
  }
  return marked;
}

}  // namespace mv
