#include "json/PlainJson.h"

#include <algorithm>
#include <bitset>
#include <functional>
#include <string>
#include <utility>

#include "base/Ascii.h"
#include "base/Utf.h"

namespace mv {
namespace {

/// Members and elements that there is room for at first: a row has about so many.
constexpr std::size_t kUsualCount = 8;

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

bool IsBlank(char character) {
  return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

bool EndsRun(char character) {
  return static_cast<unsigned char>(character) < 0x20 || character == '"' || character == '\\';
}

bool HasName(const Json::Object& members, std::string_view name) {
  return std::any_of(members.begin(), members.end(), [&](const Json::Member& member) { return member.name == name; });
}

/// Goes through the text once. Every function gives nothing, or false, where the text is not plain; all is over then.
class PlainReader {
 public:
  PlainReader(std::string_view text, std::size_t firstLine) : text_(text), line_(firstLine) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(kByteOrderMark)) at_ = lineStart_ = kByteOrderMark.size();
  }

  std::optional<Json> Read() {
    std::optional<Json> value = ReadValue(0);
    SkipBlanks();
    if (at_ != text_.size()) return std::nullopt;
    return value;
  }

 private:
  using Names = std::bitset<1024>;

  std::optional<Json> ReadValue(std::size_t depth) {
    SkipBlanks();
    const JsonPosition position = Position();
    switch (Next()) {
      case '"':
        return ReadText(position);
      case '{':
        return ReadObject(position, depth);
      case '[':
        return ReadArray(position, depth);
      case 't':
        return ReadWord("true", true, position);
      case 'f':
        return ReadWord("false", false, position);
      case 'n':
        return ReadWord("null", nullptr, position);
      default:
        return ReadNumber(position);
    }
  }

  std::optional<Json> ReadText(JsonPosition position) {
    std::string text;
    if (!TakeText(text)) return std::nullopt;
    return Json(std::move(text), position);
  }

  std::optional<Json> ReadWord(std::string_view word, Json::Content content, JsonPosition position) {
    if (!text_.substr(at_).starts_with(word)) return std::nullopt;
    at_ += word.size();
    return Json(std::move(content), position);
  }

  std::optional<Json> ReadNumber(JsonPosition position) {
    const std::size_t start = at_;
    Take('-');
    const bool beginsWithZero = Next() == '0';
    const std::size_t whole = TakeDigits();
    const bool isWhole = whole == 1 || (whole > 1 && !beginsWithZero);
    if (!isWhole || (Take('.') && TakeDigits() == 0)) return std::nullopt;
    const std::string_view digits = text_.substr(start, at_ - start);
    // What follows is looked at by the caller, which takes no exponent.
    if (digits.size() > kLongestPlainNumber) return std::nullopt;
    return Json(JsonNumber{std::string(digits)}, position);
  }

  std::optional<Json> ReadArray(JsonPosition position, std::size_t depth) {
    if (depth == kMaxJsonDepth) return std::nullopt;
    ++at_;
    Json::Array elements;
    if (TakeBehindBlanks(']')) return Json(std::move(elements), position);
    do {
      std::optional<Json> element = ReadValue(depth + 1);
      if (!element) return std::nullopt;
      elements.push_back(std::move(*element));
    } while (TakeBehindBlanks(','));
    if (!Take(']')) return std::nullopt;
    return Json(std::move(elements), position);
  }

  std::optional<Json> ReadObject(JsonPosition position, std::size_t depth) {
    if (depth == kMaxJsonDepth) return std::nullopt;
    ++at_;
    Json::Object members;
    if (TakeBehindBlanks('}')) return Json(std::move(members), position);
    members.reserve(kUsualCount);
    Names seen;
    do {
      SkipBlanks();
      std::string name;
      if (!TakeText(name) || IsRepeated(name, members, seen) || !TakeBehindBlanks(':')) return std::nullopt;
      std::optional<Json> value = ReadValue(depth + 1);
      if (!value) return std::nullopt;
      members.push_back({std::move(name), std::move(*value)});
    } while (TakeBehindBlanks(','));
    if (!Take('}')) return std::nullopt;
    return Json(std::move(members), position);
  }

  /// Only names that `seen` takes for ones that were there are compared.
  static bool IsRepeated(std::string_view name, const Json::Object& members, Names& seen) {
    const std::size_t place = std::hash<std::string_view>()(name) % seen.size();
    if (seen[place]) return HasName(members, name);
    seen.set(place);
    return false;
  }

  bool TakeText(std::string& text) {
    if (!Take('"')) return false;
    while (true) {
      const std::size_t start = at_;
      while (at_ < text_.size() && !EndsRun(text_[at_])) ++at_;
      const std::string_view run = text_.substr(start, at_ - start);
      if (!IsAscii(run) && !CountCharacters(run)) return false;
      text += run;
      if (Take('"')) return true;
      if (!TakeEscape(text)) return false;
    }
  }

  bool CountCharacters(std::string_view run) {
    if (!IsValidUtf8(run)) return false;
    notCounted_ += run.size() - CharacterCount(run);
    return true;
  }

  bool TakeEscape(std::string& text) {
    constexpr std::string_view kEscapes = "\"\\/bfnrt";
    constexpr std::string_view kCharacters = "\"\\/\b\f\n\r\t";
    if (!Take('\\') || at_ == text_.size()) return false;
    const std::size_t which = kEscapes.find(text_[at_]);
    if (which == kEscapes.npos) return false;
    ++at_;
    text += kCharacters[which];
    return true;
  }

  std::size_t TakeDigits() {
    const std::size_t start = at_;
    while (at_ < text_.size() && IsDigit(text_[at_])) ++at_;
    return at_ - start;
  }

  /// A zero character at the end of the text: it is plain nowhere.
  char Next() const { return at_ < text_.size() ? text_[at_] : '\0'; }

  bool Take(char character) {
    if (at_ == text_.size() || text_[at_] != character) return false;
    ++at_;
    return true;
  }

  bool TakeBehindBlanks(char character) {
    SkipBlanks();
    return Take(character);
  }

  void SkipBlanks() {
    for (; at_ < text_.size() && IsBlank(text_[at_]); ++at_) {
      if (text_[at_] != '\n') continue;
      ++line_;
      lineStart_ = at_ + 1;
      notCounted_ = 0;
    }
  }

  JsonPosition Position() const { return {line_, at_ - lineStart_ - notCounted_ + 1}; }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t line_;
  std::size_t lineStart_ = 0;   ///< where the line begins that `at_` is in
  std::size_t notCounted_ = 0;  ///< bytes of the line that are further ones of a character
};

}  // namespace

std::optional<Json> ReadPlainJson(std::string_view text, std::size_t firstLine) {
  return PlainReader(text, firstLine).Read();
}

}  // namespace mv
