#include "config/SettingsSection.h"

#include <charconv>
#include <limits>
#include <string_view>

#include "base/Error.h"
#include "base/NumberText.h"
#include "base/Text.h"
#include "config/Settings.h"

namespace mv {
namespace {

/// '"a" nor "b"' and the like.
std::string Listed(std::initializer_list<const char*> words, const char* last) {
  std::string text;
  std::size_t left = words.size();
  for (const char* word : words) {
    text += std::string("\"") + word + '"';
    --left;
    if (left > 0) text += left == 1 ? last : ", ";
  }
  return text;
}

}  // namespace

std::string SettingsSection::Text(const char* key, const std::string& missing) const {
  return store_.GetSetting(kSettingsApplication, name_, key).value_or(missing);
}

std::int16_t SettingsSection::Integer(const char* key, std::int16_t missing) const {
  using Limits = std::numeric_limits<std::int16_t>;
  const std::string text = Text(key, TextOfInteger(missing));
  return static_cast<std::int16_t>(ParseRounded(text, Limits::min(), Limits::max()));
}

std::int64_t SettingsSection::Count(const char* key, std::int64_t missing) const {
  const std::string text(Trim(Text(key, std::to_string(missing))));
  std::int64_t count = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (code == std::errc() && end == text.data() + text.size() && count >= 0) return count;
  throw Failure(Shown(key, text) + " is no whole number from 0 on");
}

std::int64_t SettingsSection::CountWithin(const char* key, std::int64_t missing, std::int64_t least,
                                          std::int64_t most) const {
  const std::string text(Trim(Text(key, std::to_string(missing))));
  std::int64_t count = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), count);
  const bool isNumber = code == std::errc() && end == text.data() + text.size();
  if (isNumber && count >= least && count <= most) return count;
  throw Failure(Shown(key, text) + " is no whole number from " + std::to_string(least) + " to " + std::to_string(most));
}

std::string SettingsSection::Word(const char* key, std::initializer_list<const char*> words) const {
  const std::string text(Trim(Text(key, *words.begin())));
  for (const char* word : words) {
    if (EqualsIgnoreAsciiCase(text, word)) return word;
  }
  const bool ofTwo = words.size() == 2;
  throw Failure(Shown(key, text) + (ofTwo ? " is neither " : " is none of ") +
                Listed(words, ofTwo ? " nor " : " and "));
}

void SettingsSection::Save(const char* key, const std::string& text) const {
  store_.SaveSetting(kSettingsApplication, name_, key, text);
}

void SettingsSection::Save(const char* key, std::int16_t number) const {
  Save(key, TextOfInteger(number));
}

std::string SettingsSection::Shown(const char* key, const std::string& text) const {
  return std::string("the setting ") + key + " of [" + name_ + "], \"" + text + "\",";
}

}  // namespace mv
