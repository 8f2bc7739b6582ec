#include "ui/terminal/Choices.h"

#include <algorithm>

namespace mv::terminal {
namespace {

char Lower(char32_t letter) {
  if (letter >= U'A' && letter <= U'Z') return static_cast<char>(letter - U'A' + U'a');
  return letter < 0x80 ? static_cast<char>(letter) : '\0';
}

bool IsLetter(char c) {
  return Lower(static_cast<unsigned char>(c)) >= 'a' && Lower(static_cast<unsigned char>(c)) <= 'z';
}

}  // namespace

Choices::Choices(const std::vector<Caption>& captions) {
  for (const Caption& caption : captions) {
    const std::size_t mark = PlaceOfLetter(caption);
    choices_.push_back({caption.text, mark, Lower(static_cast<unsigned char>(caption.text[mark]))});
  }
}

std::optional<std::size_t> Choices::Chosen(char32_t letter) const {
  const auto found =
      std::find_if(choices_.begin(), choices_.end(), [&](const Choice& c) { return c.letter == Lower(letter); });
  if (found == choices_.end()) return std::nullopt;
  return static_cast<std::size_t>(found - choices_.begin());
}

std::string Choices::Text(std::size_t number) const {
  const Choice& choice = choices_.at(number);
  return choice.text.substr(0, choice.mark) + "[" + choice.text[choice.mark] + "]" +
         choice.text.substr(choice.mark + 1);
}

bool Choices::IsFree(char letter) const {
  return IsLetter(letter) && !Chosen(static_cast<unsigned char>(letter));
}

std::size_t Choices::PlaceOfLetter(const Caption& caption) const {
  const std::string_view text = caption.text;
  const std::size_t marked = caption.mark == 0 ? std::string_view::npos : text.find(caption.mark);
  if (marked != std::string_view::npos && IsFree(text[marked])) return marked;
  const auto free = std::find_if(text.begin(), text.end(), [&](char c) { return IsFree(c); });
  return free == text.end() ? 0 : static_cast<std::size_t>(free - text.begin());
}

}  // namespace mv::terminal
