#pragma once

#include "platform/PrivateProfile.h"

namespace mv::platform {

/// INI files through the system's private-profile calls: a file without the mark FF FE is in the system's ANSI code
/// page, and a failure to read looks like a missing key. The calls change a file in place and keep it in a cache, which
/// is written out after each change.
class WindowsPrivateProfile : public PrivateProfile {
 public:
  std::optional<std::string> Read(const std::string& file, const std::string& section, const std::string& key,
                                  std::size_t longest) override;
  std::vector<Entry> Section(const std::string& file, const std::string& section) override;
  void Write(const std::string& file, const std::string& section, const std::string& key,
             const std::string& value) override;
  void RemoveKey(const std::string& file, const std::string& section, const std::string& key) override;
  void RemoveSection(const std::string& file, const std::string& section) override;
};

}  // namespace mv::platform
