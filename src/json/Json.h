#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace mv {

/// Deepest nesting of arrays and objects that is read; deeper text is refused.
inline constexpr std::size_t kMaxJsonDepth = 64;

/// Place in the text, both from 1; the column counts characters.
struct JsonPosition {
  std::size_t line = 1;
  std::size_t column = 1;
};

/// A number as the text it was written as: which digits count is up to the column that it is for.
struct JsonNumber {
  std::string text;
};

/// One value of a JSON text, remembering where it stood. The accessors below throw Failure "line L, column C: ..."
/// when the value is not what the caller needs, so a reader of schemas states its wishes and gets the messages free.
class Json {
 public:
  struct Member;
  using Array = std::vector<Json>;
  /// In the order of the text; every name occurs once.
  using Object = std::vector<Member>;
  using Content = std::variant<std::nullptr_t, bool, JsonNumber, std::string, Array, Object>;

  /// The null.
  Json();
  Json(Content content, JsonPosition position);

  bool IsNull() const;
  /// The content when it is of type T (bool, JsonNumber, std::string, Array, Object); else nullptr.
  template <typename T>
  const T* As() const {
    return std::get_if<T>(&content_);
  }
  JsonPosition Position() const { return position_; }

  bool Boolean() const;
  const JsonNumber& Number() const;
  /// A whole number between the limits, both included; "1E2" and "100.0" are 100.
  std::int64_t Integer(std::int64_t lowest, std::int64_t highest) const;
  const std::string& Text() const;
  const Array& Elements() const;
  const Object& Members() const;

  /// Member of an object; nullptr when it has none of that name. Case counts.
  const Json* Find(std::string_view name) const;
  /// Member of an object that must be there.
  const Json& At(std::string_view name) const;
  /// Refuses an object with a member that is not in `names`: a misspelt member must not go unnoticed.
  void AllowOnly(std::initializer_list<std::string_view> names) const;

  /// The value as JSON for a message, cut when it is long; of an array or an object only what it is.
  std::string Shown() const;
  /// Throws Failure "line L, column C: `message`".
  [[noreturn]] void Fail(const std::string& message) const;

 private:
  friend class JsonReader;

  Content content_;  ///< at first the null
  JsonPosition position_;
};

struct Json::Member {
  std::string name;
  Json value;
};

/// Reads one whole JSON text (UTF-8, a byte order mark in front is skipped). `firstLine` is the number of its first
/// line in messages. Throws Failure with line and column for anything that RFC 8259 does not allow, for malformed
/// UTF-8, unpaired surrogates, repeated member names, numbers too large for a double and nesting below kMaxJsonDepth.
Json ParseJson(std::string_view text, std::size_t firstLine = 1);
/// The same into `value`, whose memory is used again; after a failure it holds anything.
void ReadJson(std::string_view text, Json& value, std::size_t firstLine = 1);

/// A name of members as a text has it, for names that are written by the thousand.
class JsonName {
 public:
  explicit JsonName(std::string_view name);

 private:
  friend class JsonWriter;
  std::string text_;  ///< in quotes, its colon behind it
};

/// Builds one JSON text without blanks, members in the order of the calls. The caller keeps calls in a valid order.
class JsonWriter {
 public:
  JsonWriter& BeginObject();
  JsonWriter& EndObject();
  JsonWriter& BeginArray();
  JsonWriter& EndArray();
  /// Name of the next member.
  JsonWriter& Name(std::string_view name);
  JsonWriter& Name(const JsonName& name);
  JsonWriter& Text(std::string_view text);
  /// Digits of a number as they shall stand.
  JsonWriter& Number(std::string_view digits);
  JsonWriter& Integer(std::int64_t value);
  JsonWriter& Boolean(bool value);
  JsonWriter& Null();
  /// A value that `append` writes behind the text it is given; it returns whether the value shall stand in quotes.
  /// Nothing in it may be of the kind that JSON escapes.
  template <typename Append>
  JsonWriter& Form(Append append) {
    Separate();
    const std::size_t start = result_.size();
    if (append(result_)) {
      result_.insert(start, 1, '"');
      result_ += '"';
    }
    return *this;
  }
  /// A line feed behind a whole text, where files have one on each line.
  JsonWriter& EndLine();

  const std::string& Result() const { return result_; }
  /// Starts over, keeping the memory: rows are written by the thousand.
  void Clear();

 private:
  void Separate();

  std::string result_;
  bool needsComma_ = false;
};

}  // namespace mv
