#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "config/SettingsStore.h"

namespace mv {

/// One section of this program's settings, for those who read and write its keys.
class SettingsSection {
 public:
  /// `store` and `name` must outlive this object.
  SettingsSection(SettingsStore& store, const char* name) : store_(store), name_(name) {}

  std::string Text(const char* key, const std::string& missing) const;
  /// Error 13 for what is no number, error 6 for one beyond 16 bits.
  std::int16_t Integer(const char* key, std::int16_t missing) const;
  /// A whole number from 0 on; Failure for anything else.
  std::int64_t Count(const char* key, std::int64_t missing) const;
  /// A whole number in a range; Failure for anything else.
  std::int64_t CountWithin(const char* key, std::int64_t missing, std::int64_t least, std::int64_t most) const;
  /// One of several words, in any case; the first when the key is missing. Failure for any other.
  std::string Word(const char* key, std::initializer_list<const char*> words) const;

  void Save(const char* key, const std::string& text) const;
  void Save(const char* key, std::int16_t number) const;

  /// "the setting Keep of [History], "ten",": how messages about a value begin.
  std::string Shown(const char* key, const std::string& text) const;

 private:
  SettingsStore& store_;
  const char* name_;
};

}  // namespace mv
