#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace mv::platform {

/// INI files, one call a value. Sections and keys are found in any case. `file` is a path as FileSystem takes it.
/// Failures are the errors that FileSystem lists.
class PrivateProfile {
 public:
  /// A key and its value as Read returns it, but whole.
  struct Entry {
    std::string key;
    std::string value;
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  virtual ~PrivateProfile() = default;

  /// The value without blanks and one pair of quotes around it, cut after `longest` characters; nothing when the key,
  /// its section or the file is missing.
  virtual std::optional<std::string> Read(const std::string& file, const std::string& section, const std::string& key,
                                          std::size_t longest) = 0;
  /// The keys of a section in the order of the file; none when section or file is missing.
  virtual std::vector<Entry> Section(const std::string& file, const std::string& section) = 0;
  /// Sets a key so that Read gives `value` back; makes what is missing: file, section, key. A value of more than one
  /// line is error 5.
  virtual void Write(const std::string& file, const std::string& section, const std::string& key,
                     const std::string& value) = 0;
  /// Takes a key, a section with all its keys out. Nothing happens when there is none.
  virtual void RemoveKey(const std::string& file, const std::string& section, const std::string& key) = 0;
  virtual void RemoveSection(const std::string& file, const std::string& section) = 0;
};

}  // namespace mv::platform
