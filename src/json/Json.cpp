#include "json/Json.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/Ascii.h"
#include "base/Error.h"
#include "base/NumberText.h"
#include "base/Utf.h"

namespace mv {
namespace {

using Library = nlohmann::json;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kMostShown = 60;

[[noreturn]] void FailAt(JsonPosition position, const std::string& message) {
  throw Failure("line " + std::to_string(position.line) + ", column " + std::to_string(position.column) + ": " +
                message);
}

/// Whether one of the eight bytes of `word` is zero.
constexpr bool HasZeroByte(std::uint64_t word) {
  return ((word - 0x0101010101010101) & ~word & 0x8080808080808080) != 0;
}

/// Few enough to compare each name with each other one.
constexpr std::size_t kFewMembers = 16;

bool HasRepeatedName(const Json::Object& members) {
  for (std::size_t i = 1; i < members.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (members[i].name == members[j].name) return true;
    }
  }
  return false;
}

void RefuseRepeatedNames(const Json::Object& members) {
  if (members.size() <= kFewMembers && !HasRepeatedName(members)) return;
  std::vector<const Json::Member*> sorted;
  sorted.reserve(members.size());
  for (const Json::Member& member : members) sorted.push_back(&member);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto* left, const auto* right) { return left->name < right->name; });
  const auto repeated = std::adjacent_find(
      sorted.begin(), sorted.end(), [](const auto* left, const auto* right) { return left->name == right->name; });
  if (repeated == sorted.end()) return;
  FailAt((*std::next(repeated))->value.Position(), "a second member \"" + (*repeated)->name + "\"");
}

/// A character of a text that the library takes one by one; counts those it took.
class CountingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = char;

  /// The count must outlive the iterator.
  CountingIterator(const char* at, std::size_t& taken) : at_(at), taken_(&taken) {}

  char operator*() const { return *at_; }
  CountingIterator& operator++() {
    ++at_;
    ++*taken_;
    return *this;
  }
  bool operator==(const CountingIterator& other) const { return at_ == other.at_; }

 private:
  const char* at_;
  std::size_t* taken_;
};

}  // namespace

/// Fills a value with what the library reports. The library tells neither where a value stands nor how a number was
/// written: both come from the text, with the help of how much of it the library has taken.
///
/// What the value held before is written over, not thrown away first: names, texts and lists keep their memory, and
/// lines of one form, which come by the thousand, are read without allocating.
class JsonReader final {
 public:
  JsonReader(std::string_view text, std::size_t firstLine, Json& root) : text_(text), root_(root) {
    position_.line = firstLine;
    if (text.starts_with(kByteOrderMark)) tokenEnd_ = counted_ = kByteOrderMark.size();
  }

  void Read() {
    const char* const begin = text_.data();
    Library::sax_parse(CountingIterator(begin, taken_), CountingIterator(begin + text_.size(), taken_), this);
    // For the library a zero character is the end of the text.
    const std::size_t zero = text_.find('\0');
    if (zero != std::string_view::npos) FailAt(PositionOf(zero), "nothing may follow the value");
  }

  // What the library calls.

  bool null() {
    NextScalar().content_ = nullptr;
    return true;
  }
  bool boolean(bool value) {
    NextScalar().content_ = value;
    return true;
  }
  bool number_integer(std::int64_t) { return TakeNumber(Next()); }
  bool number_unsigned(std::uint64_t) { return TakeNumber(Next()); }
  bool number_float(double, const std::string&) { return TakeNumber(Next()); }
  bool string(const std::string& value) {
    ContentAs<std::string>(NextScalar()) = value;
    return true;
  }
  /// Other formats than JSON have such values.
  bool binary(const Library::binary_t&) { return false; }
  bool start_object(std::size_t) { return Open<Json::Object>(); }
  bool start_array(std::size_t) { return Open<Json::Array>(); }
  bool end_array() { return Close<Json::Array>(); }

  bool end_object() {
    Close<Json::Object>();
    RefuseRepeatedNames(*closed_->As<Json::Object>());
    return true;
  }

  bool key(const std::string& name) {
    NextElement(std::get<Json::Object>(open_.back().json->content_)).name = name;
    tokenEnd_ = taken_;
    return true;
  }

  /// `charactersRead` counts the one that is wrong, and the end of the text as one.
  bool parse_error(std::size_t charactersRead, const std::string&, const Library::exception& error) {
    if (dynamic_cast<const Library::out_of_range*>(&error) != nullptr) {
      Json number;
      TakeNumber(number);
      number.Fail(number.Shown() + " is out of range");
    }
    const std::string message = MessageOf(error);
    const std::size_t wrong = charactersRead - 1;
    // A wrong character inside a token is named itself, a token that is wrong as a whole by its start.
    const bool isToken = message.find("unexpected") != message.npos || message.find("missing closing") != message.npos;
    const bool isMark = wrong < text_.size() && kMarks.find(text_[wrong]) != kMarks.npos;
    FailAt(PositionOf(isToken && !isMark ? std::min(TokenStart(), wrong) : wrong), message);
  }

 private:
  static constexpr std::string_view kMarks = "[]{}:,";
  static constexpr std::uint64_t kLineFeeds = 0x0A0A0A0A0A0A0A0A;

  /// An array or object whose end has not come.
  struct Container {
    Json* json = nullptr;
    std::size_t used = 0;  ///< elements or members that were read; those behind them are of an earlier value
  };

  /// What the library found wrong, without its own counting of the place and without the text, which may be anything.
  static std::string MessageOf(const Library::exception& error) {
    const std::string_view what = error.what();
    const std::size_t start = what.find("syntax error");
    const std::string_view message = start == what.npos ? what : what.substr(start);
    return std::string(message.substr(0, message.find("; last read")));
  }

  static bool IsBetweenValues(char character) {
    switch (character) {
      case ' ':
      case '\t':
      case '\r':
      case '\n':
      case ':':
      case ',':
        return true;
      default:
        return false;
    }
  }

  static bool IsOfNumber(char character) {
    switch (character) {
      case '+':
      case '-':
      case '.':
      case 'E':
      case 'e':
        return true;
      default:
        return character >= '0' && character <= '9';
    }
  }

  /// Where the value, name or bracket behind the last one begins.
  std::size_t TokenStart() const {
    std::size_t start = tokenEnd_;
    while (start < text_.size() && IsBetweenValues(text_[start])) ++start;
    return start;
  }

  /// Offsets must not descend from call to call.
  JsonPosition PositionOf(std::size_t offset) {
    for (std::uint64_t word = 0; counted_ + sizeof(word) <= offset; counted_ += sizeof(word)) {
      std::memcpy(&word, text_.data() + counted_, sizeof(word));
      if (AsciiBytesIn(word) != sizeof(word) || HasZeroByte(word ^ kLineFeeds)) break;
      position_.column += sizeof(word);
    }
    for (; counted_ < offset; ++counted_) {
      const auto byte = static_cast<unsigned char>(text_[counted_]);
      if (byte == '\n') {
        ++position_.line;
        position_.column = 1;
      } else if ((byte & 0xC0) != 0x80) {
        ++position_.column;
      }
    }
    return position_;
  }

  /// The value's content, as one of the type T.
  template <typename T>
  static T& ContentAs(Json& json) {
    if (auto* const content = std::get_if<T>(&json.content_)) return *content;
    return json.content_.emplace<T>();
  }

  /// The place of the next value, which keeps what it held.
  Json& Next() {
    if (open_.empty()) return root_;
    Container& container = open_.back();
    if (auto* const members = std::get_if<Json::Object>(&container.json->content_)) {
      return (*members)[container.used - 1].value;
    }
    return NextElement(std::get<Json::Array>(container.json->content_));
  }

  /// The place of the innermost container's next element.
  template <typename Elements>
  typename Elements::value_type& NextElement(Elements& elements) {
    const std::size_t at = open_.back().used++;
    return at < elements.size() ? elements[at] : elements.emplace_back();
  }

  Json& NextScalar() {
    Json& json = Next();
    json.position_ = PositionOf(TokenStart());
    tokenEnd_ = taken_;
    return json;
  }

  /// The library knows of a number's end by the character behind it, so that its count is of no use here.
  bool TakeNumber(Json& json) {
    const std::size_t start = TokenStart();
    tokenEnd_ = start;
    while (tokenEnd_ < text_.size() && IsOfNumber(text_[tokenEnd_])) ++tokenEnd_;
    json.position_ = PositionOf(start);
    ContentAs<JsonNumber>(json).text.assign(text_, start, tokenEnd_ - start);
    return true;
  }

  template <typename T>
  bool Open() {
    const JsonPosition position = PositionOf(TokenStart());
    if (open_.size() == kMaxJsonDepth) FailAt(position, "nested too deep");
    Json& json = Next();
    json.position_ = position;
    ContentAs<T>(json);
    open_.push_back({&json});
    tokenEnd_ = taken_;
    return true;
  }

  template <typename T>
  bool Close() {
    const Container container = open_.back();
    std::get<T>(container.json->content_).resize(container.used);
    closed_ = container.json;
    open_.pop_back();
    tokenEnd_ = taken_;
    return true;
  }

  std::string_view text_;
  std::size_t taken_ = 0;     ///< characters that the library took
  std::size_t tokenEnd_ = 0;  ///< behind the last value, name or bracket
  std::size_t counted_ = 0;   ///< characters that position_ has counted
  JsonPosition position_;
  std::vector<Container> open_;
  const Json* closed_ = nullptr;  ///< the container that ended last
  Json& root_;
};

namespace {

bool IsEscaped(char character) {
  return static_cast<unsigned char>(character) < 0x20 || character == '"' || character == '\\';
}

/// Whether one of the eight bytes of `word` is escaped in a text; may be wrong about bytes beside such a one.
bool HasEscaped(std::uint64_t word) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  const bool hasControl = ((word - kEach * 0x20) & ~word & kEach * 0x80) != 0;
  return hasControl || HasZeroByte(word ^ kEach * '"') || HasZeroByte(word ^ kEach * '\\');
}

/// How many bytes `text` begins with that stand for themselves.
std::size_t PlainPrefix(std::string_view text) {
  std::size_t length = 0;
  std::uint64_t word = 0;
  for (; text.size() - length >= sizeof(word); length += sizeof(word)) {
    std::memcpy(&word, text.data() + length, sizeof(word));
    if (HasEscaped(word)) break;
  }
  const std::size_t rest = text.size() - length;
  if (rest < sizeof(word) && length > 0) {
    // The rest with some of what was just looked at.
    std::memcpy(&word, text.data() + text.size() - sizeof(word), sizeof(word));
    if (!HasEscaped(word)) return text.size();
  }
  while (length < text.size() && !IsEscaped(text[length])) ++length;
  return length;
}

void AppendEscaped(std::string& to, char character) {
  constexpr std::string_view kNamed = "\"\\\b\f\n\r\t";
  constexpr std::string_view kNames = "\"\\bfnrt";
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  to += '\\';
  const std::size_t named = kNamed.find(character);
  if (named != kNamed.npos) {
    to += kNames[named];
    return;
  }
  to += "u00";
  to += kHexDigits[static_cast<unsigned char>(character) >> 4];
  to += kHexDigits[character & 0xF];
}

/// Texts of the program are valid UTF-8. Rows are written by the thousand, and the library takes its time for each
/// text; it is left those that may not be valid.
void AppendQuoted(std::string& to, std::string_view text) {
  std::size_t plain = PlainPrefix(text);
  if (plain != text.size() && !IsValidUtf8(text)) {
    to += Library(text).dump(-1, ' ', false, Library::error_handler_t::replace);
    return;
  }
  to += '"';
  for (; plain != text.size(); plain = PlainPrefix(text)) {
    to += text.substr(0, plain);
    AppendEscaped(to, text[plain]);
    text.remove_prefix(plain + 1);
  }
  to += text;
  to += '"';
}

std::string Quoted(std::string_view text) {
  std::string quoted;
  AppendQuoted(quoted, text);
  return quoted;
}

template <typename T>
const T& Wanted(const Json& value, const char* what) {
  const T* const content = value.As<T>();
  if (content == nullptr) value.Fail(std::string(what) + " is wanted here");
  return *content;
}

}  // namespace

Json::Json() = default;

Json::Json(Content content, JsonPosition position) : content_(std::move(content)), position_(position) {}

bool Json::IsNull() const {
  return std::holds_alternative<std::nullptr_t>(content_);
}

bool Json::Boolean() const {
  return Wanted<bool>(*this, "true or false");
}

const JsonNumber& Json::Number() const {
  return Wanted<JsonNumber>(*this, "a number");
}

std::int64_t Json::Integer(std::int64_t lowest, std::int64_t highest) const {
  const std::string& text = Number().text;
  try {
    if (DecimalPlaces(text) == 0) return ParseRounded(text, lowest, highest);
  } catch (const Error&) {
    // Beyond the limits: refused below, as fractions are.
  }
  Fail("a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest) + " is wanted here");
}

const std::string& Json::Text() const {
  return Wanted<std::string>(*this, "a text");
}

const Json::Array& Json::Elements() const {
  return Wanted<Array>(*this, "an array");
}

const Json::Object& Json::Members() const {
  return Wanted<Object>(*this, "an object");
}

const Json* Json::Find(std::string_view name) const {
  const Object& members = Members();
  const auto found =
      std::find_if(members.begin(), members.end(), [&](const Member& member) { return member.name == name; });
  return found == members.end() ? nullptr : &found->value;
}

const Json& Json::At(std::string_view name) const {
  const Json* const value = Find(name);
  if (value == nullptr) Fail("the member \"" + std::string(name) + "\" is missing");
  return *value;
}

void Json::AllowOnly(std::initializer_list<std::string_view> names) const {
  for (const Member& member : Members()) {
    if (std::find(names.begin(), names.end(), member.name) == names.end()) {
      member.value.Fail("unknown member \"" + member.name + "\"");
    }
  }
}

std::string Json::Shown() const {
  struct Show {
    std::string operator()(std::nullptr_t) const { return "null"; }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(const JsonNumber& value) const { return value.text; }
    std::string operator()(const std::string& value) const { return Quoted(value); }
    std::string operator()(const Array&) const { return "an array"; }
    std::string operator()(const Object&) const { return "an object"; }
  };
  const std::string text = std::visit(Show(), content_);
  const std::string start = FirstCharacters(text, kMostShown);
  return start.size() == text.size() ? text : start + "...";
}

void Json::Fail(const std::string& message) const {
  FailAt(position_, message);
}

void ReadJson(std::string_view text, Json& value, std::size_t firstLine) {
  JsonReader(text, firstLine, value).Read();
}

Json ParseJson(std::string_view text, std::size_t firstLine) {
  Json value;
  ReadJson(text, value, firstLine);
  return value;
}

JsonName::JsonName(std::string_view name) : text_(Quoted(name) + ':') {}

JsonWriter& JsonWriter::BeginObject() {
  Separate();
  result_ += '{';
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::EndObject() {
  result_ += '}';
  needsComma_ = true;
  return *this;
}

JsonWriter& JsonWriter::BeginArray() {
  Separate();
  result_ += '[';
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::EndArray() {
  result_ += ']';
  needsComma_ = true;
  return *this;
}

JsonWriter& JsonWriter::Name(std::string_view name) {
  Separate();
  AppendQuoted(result_, name);
  result_ += ':';
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::Name(const JsonName& name) {
  Separate();
  result_ += name.text_;
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::Text(std::string_view text) {
  Separate();
  AppendQuoted(result_, text);
  return *this;
}

JsonWriter& JsonWriter::Number(std::string_view digits) {
  Separate();
  result_ += digits;
  return *this;
}

JsonWriter& JsonWriter::Integer(std::int64_t value) {
  return Number(std::to_string(value));
}

JsonWriter& JsonWriter::Boolean(bool value) {
  return Number(value ? "true" : "false");
}

JsonWriter& JsonWriter::Null() {
  return Number("null");
}

JsonWriter& JsonWriter::EndLine() {
  result_ += '\n';
  needsComma_ = false;
  return *this;
}

void JsonWriter::Clear() {
  result_.clear();
  needsComma_ = false;
}

void JsonWriter::Separate() {
  if (needsComma_) result_ += ',';
  needsComma_ = true;
}

}  // namespace mv
