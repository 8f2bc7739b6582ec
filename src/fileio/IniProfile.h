#pragma once

#include <functional>
#include <string>
#include <vector>

#include "fileio/FileText.h"
#include "fileio/IniDocument.h"
#include "platform/FileSystem.h"
#include "platform/PrivateProfile.h"

namespace mv {

/// INI files in the form that IniDocument describes, Windows-1252 or UTF-16 behind the mark FF FE, for systems without
/// calls of their own. A change keeps every other byte and replaces the file in one step; one that makes no difference
/// writes nothing. Added lines end in CR LF.
class IniProfile : public platform::PrivateProfile {
 public:
  /// `files` must outlive the object.
  explicit IniProfile(platform::FileSystem& files) : files_(files) {}

  std::optional<std::string> Read(const std::string& file, const std::string& section, const std::string& key,
                                  std::size_t longest) override;
  std::vector<Entry> Section(const std::string& file, const std::string& section) override;
  void Write(const std::string& file, const std::string& section, const std::string& key,
             const std::string& value) override;
  void RemoveKey(const std::string& file, const std::string& section, const std::string& key) override;
  void RemoveSection(const std::string& file, const std::string& section) override;

 private:
  /// A file's content and the form in which it goes back.
  struct Loaded {
    IniDocument document;
    FileEncoding encoding = FileEncoding::Ansi;
  };
  Loaded Load(const std::string& file);
  void Change(const std::string& file, const std::function<void(IniDocument&)>& change);

  platform::FileSystem& files_;
};

}  // namespace mv
