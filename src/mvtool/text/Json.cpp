#include "mvtool/text/Json.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "base/Utf.h"
#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kHexDigits = "0123456789abcdef";

[[noreturn]] void FailAt(JsonPosition position, const std::string& message) {
  throw ToolError("line " + std::to_string(position.line) + ", column " + std::to_string(position.column) + ": " +
                  message);
}

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

bool IsHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// The text under the reading position. Line ends occur between values only (inside texts they must be escaped), so
/// the column is kept by counting what is taken.
class Cursor {
 public:
  Cursor(std::string_view text, std::size_t firstLine) : text_(text) {
    position_.line = firstLine;
    if (text_.starts_with(kByteOrderMark)) offset_ = kByteOrderMark.size();
  }

  bool AtEnd() const { return offset_ == text_.size(); }
  /// The next byte; zero at the end, which no JSON text contains unescaped.
  char Peek() const { return AtEnd() ? '\0' : text_[offset_]; }
  std::size_t Offset() const { return offset_; }
  std::string_view Since(std::size_t start) const { return text_.substr(start, offset_ - start); }
  JsonPosition Position() const { return position_; }

  /// Takes one byte that is a character of its own.
  void Take() {
    if (text_[offset_++] == '\n') {
      ++position_.line;
      position_.column = 1;
    } else {
      ++position_.column;
    }
  }

  bool TakeIf(char expected) {
    if (AtEnd() || text_[offset_] != expected) return false;
    Take();
    return true;
  }

  bool TakeIf(std::string_view word) {
    if (!text_.substr(offset_).starts_with(word)) return false;
    offset_ += word.size();
    position_.column += word.size();
    return true;
  }

  /// Takes one character and returns its bytes; refuses malformed UTF-8.
  std::string_view TakeCharacter() {
    const std::size_t start = offset_;
    const char32_t codePoint = NextCodePoint(text_, offset_);
    const std::string_view bytes = Since(start);
    if (codePoint == U'\uFFFD' && bytes != "\xEF\xBF\xBD") FailAt(position_, "this is not UTF-8");
    ++position_.column;
    return bytes;
  }

  void SkipBlanks() {
    while (Peek() == ' ' || Peek() == '\t' || Peek() == '\n' || Peek() == '\r') Take();
  }

 private:
  std::string_view text_;
  std::size_t offset_ = 0;
  JsonPosition position_;
};

char32_t ReadHexUnit(Cursor& cursor) {
  char32_t unit = 0;
  for (int i = 0; i < 4; ++i) {
    const char next = cursor.Peek();
    const std::size_t digit = kHexDigits.find(next >= 'A' && next <= 'F' ? static_cast<char>(next + 32) : next);
    if (cursor.AtEnd() || digit == std::string_view::npos) FailAt(cursor.Position(), "\\u needs four hex digits");
    unit = unit << 4 | static_cast<char32_t>(digit);
    cursor.Take();
  }
  return unit;
}

/// The character of a \u escape whose "\u" is taken, with its second half when it is a surrogate pair.
char32_t ReadUnicodeEscape(Cursor& cursor) {
  const JsonPosition start = cursor.Position();
  const char32_t first = ReadHexUnit(cursor);
  if (IsLowSurrogate(first)) FailAt(start, "unpaired surrogate");
  if (!IsHighSurrogate(first)) return first;
  if (!cursor.TakeIf("\\u")) FailAt(start, "unpaired surrogate");
  const char32_t second = ReadHexUnit(cursor);
  if (!IsLowSurrogate(second)) FailAt(start, "unpaired surrogate");
  return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

void ReadEscape(Cursor& cursor, std::string& text) {
  constexpr std::string_view kLetters = "\"\\/bfnrt";
  constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
  if (cursor.TakeIf('u')) {
    AppendUtf8(text, ReadUnicodeEscape(cursor));
    return;
  }
  const std::size_t letter = cursor.AtEnd() ? std::string_view::npos : kLetters.find(cursor.Peek());
  if (letter == std::string_view::npos) FailAt(cursor.Position(), "unknown escape in a text");
  text += kMeanings[letter];
  cursor.Take();
}

std::string ReadText(Cursor& cursor) {
  const JsonPosition start = cursor.Position();
  std::string text;
  cursor.Take();
  while (!cursor.TakeIf('"')) {
    if (cursor.AtEnd()) FailAt(start, "this text has no end");
    if (cursor.TakeIf('\\')) {
      ReadEscape(cursor, text);
    } else if (static_cast<unsigned char>(cursor.Peek()) < 0x20) {
      FailAt(cursor.Position(), "a control character in a text must be escaped");
    } else {
      text += cursor.TakeCharacter();
    }
  }
  return text;
}

void TakeDigits(Cursor& cursor) {
  if (!IsDigit(cursor.Peek())) FailAt(cursor.Position(), "a digit is missing");
  while (IsDigit(cursor.Peek())) cursor.Take();
}

JsonNumber ReadNumber(Cursor& cursor) {
  const JsonPosition position = cursor.Position();
  const std::size_t start = cursor.Offset();
  cursor.TakeIf('-');
  if (!cursor.TakeIf('0')) TakeDigits(cursor);
  bool whole = true;
  if (cursor.TakeIf('.')) {
    whole = false;
    TakeDigits(cursor);
  }
  if (cursor.TakeIf('e') || cursor.TakeIf('E')) {
    whole = false;
    if (!cursor.TakeIf('+')) cursor.TakeIf('-');
    TakeDigits(cursor);
  }
  JsonNumber number;
  number.text = std::string(cursor.Since(start));
  const char* const end = number.text.data() + number.text.size();
  if (std::from_chars(number.text.data(), end, number.real).ec != std::errc()) {
    FailAt(position, "this number is out of range");
  }
  std::int64_t integer = 0;
  if (whole && std::from_chars(number.text.data(), end, integer).ec == std::errc()) number.integer = integer;
  return number;
}

void RefuseRepeatedNames(const Json::Object& members) {
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

/// Reads with a stack of its own for the containers that are still open, so that nesting costs no call depth.
class Reader {
 public:
  Reader(std::string_view text, std::size_t firstLine) : cursor_(text, firstLine) {}

  Json ReadDocument() {
    std::optional<Json> value;
    while (!value) {
      cursor_.SkipBlanks();
      value = StartsContainer() ? Open() : ReadScalar();
      while (value && !open_.empty()) value = Attach(std::move(*value));
    }
    cursor_.SkipBlanks();
    if (!cursor_.AtEnd()) FailAt(cursor_.Position(), "nothing may follow the value");
    return std::move(*value);
  }

 private:
  struct Container {
    JsonPosition position;
    bool isObject = false;
    std::string name;  ///< of the member whose value is being read
    Json::Array elements;
    Json::Object members;
  };

  bool StartsContainer() const { return cursor_.Peek() == '[' || cursor_.Peek() == '{'; }
  char ClosingBracket() const { return open_.back().isObject ? '}' : ']'; }

  /// Returns the container when it is empty; else its first element is to be read.
  std::optional<Json> Open() {
    if (open_.size() == kMaxJsonDepth) FailAt(cursor_.Position(), "nested too deep");
    Container& container = open_.emplace_back();
    container.position = cursor_.Position();
    container.isObject = cursor_.Peek() == '{';
    cursor_.Take();
    cursor_.SkipBlanks();
    if (cursor_.Peek() == ClosingBracket()) return Close();
    if (container.isObject) ReadName();
    return std::nullopt;
  }

  /// Adds an element to the innermost container. Returns that container when it ends here; else its next element is to
  /// be read.
  std::optional<Json> Attach(Json value) {
    Container& container = open_.back();
    if (container.isObject) {
      container.members.push_back({std::move(container.name), std::move(value)});
    } else {
      container.elements.push_back(std::move(value));
    }
    cursor_.SkipBlanks();
    if (cursor_.Peek() == ClosingBracket()) return Close();
    if (!cursor_.TakeIf(','))
      FailAt(cursor_.Position(), std::string("\",\" or \"") + ClosingBracket() + "\" is missing");
    cursor_.SkipBlanks();
    if (container.isObject) ReadName();
    return std::nullopt;
  }

  Json Close() {
    cursor_.Take();
    Container container = std::move(open_.back());
    open_.pop_back();
    if (!container.isObject) return Json(std::move(container.elements), container.position);
    RefuseRepeatedNames(container.members);
    return Json(std::move(container.members), container.position);
  }

  void ReadName() {
    if (cursor_.Peek() != '"') FailAt(cursor_.Position(), "a member name in quotes is missing");
    open_.back().name = ReadText(cursor_);
    cursor_.SkipBlanks();
    if (!cursor_.TakeIf(':')) FailAt(cursor_.Position(), "\":\" is missing");
  }

  Json ReadScalar() {
    const JsonPosition position = cursor_.Position();
    if (cursor_.Peek() == '"') return Json(ReadText(cursor_), position);
    if (cursor_.Peek() == '-' || IsDigit(cursor_.Peek())) return Json(ReadNumber(cursor_), position);
    if (cursor_.TakeIf("true")) return Json(true, position);
    if (cursor_.TakeIf("false")) return Json(false, position);
    if (cursor_.TakeIf("null")) return Json(nullptr, position);
    FailAt(position, cursor_.AtEnd() ? "the text ends too early" : "a value is missing");
  }

  Cursor cursor_;
  std::vector<Container> open_;
};

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
  const std::optional<std::int64_t> integer = Number().integer;
  if (!integer || *integer < lowest || *integer > highest) {
    Fail("a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest) + " is wanted here");
  }
  return *integer;
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

void Json::Fail(const std::string& message) const {
  FailAt(position_, message);
}

Json ParseJson(std::string_view text, std::size_t firstLine) {
  return Reader(text, firstLine).ReadDocument();
}

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
  AppendQuoted(name);
  result_ += ':';
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::Text(std::string_view text) {
  Separate();
  AppendQuoted(text);
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

void JsonWriter::Clear() {
  result_.clear();
  needsComma_ = false;
}

void JsonWriter::Separate() {
  if (needsComma_) result_ += ',';
  needsComma_ = true;
}

void JsonWriter::AppendQuoted(std::string_view text) {
  constexpr std::string_view kPlain = "\"\\\b\f\n\r\t";
  constexpr std::string_view kEscaped = "\"\\bfnrt";
  result_ += '"';
  for (const char character : text) {
    const std::size_t escape = kPlain.find(character);
    if (escape != std::string_view::npos) {
      result_ += '\\';
      result_ += kEscaped[escape];
    } else if (static_cast<unsigned char>(character) < 0x20) {
      result_ += "\\u00";
      result_ += kHexDigits[static_cast<unsigned char>(character) >> 4];
      result_ += kHexDigits[static_cast<unsigned char>(character) & 0x0F];
    } else {
      result_ += character;
    }
  }
  result_ += '"';
}

}  // namespace mv::tool
