#pragma once

#include <string>

namespace mv::window {

/// Writes one line of JSON, member by member.
class Json {
 public:
  /// `text`: UTF-8.
  Json& Text(const std::string& name, const std::string& text) { return Add(name, Quoted(text)); }
  Json& Number(const std::string& name, long long number) { return Add(name, std::to_string(number)); }
  Json& Flag(const std::string& name, bool flag) { return Add(name, flag ? "true" : "false"); }
  /// `json`: an object or a list.
  Json& Nested(const std::string& name, const std::string& json) { return Add(name, json); }
  std::string Object() const { return "{" + members_ + "}"; }

  static std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
      constexpr const char* kDigits = "0123456789abcdef";
      const auto code = static_cast<unsigned char>(c);
      if (c == '"' || c == '\\') {
        quoted += '\\';
        quoted += c;
      } else if (code < 0x20) {
        quoted += "\\u00";
        quoted += kDigits[code >> 4];
        quoted += kDigits[code & 15];
      } else {
        quoted += c;
      }
    }
    return quoted + "\"";
  }

 private:
  Json& Add(const std::string& name, const std::string& value) {
    if (!members_.empty()) members_ += ", ";
    members_ += Quoted(name) + ": " + value;
    return *this;
  }
  std::string members_;
};

}  // namespace mv::window
