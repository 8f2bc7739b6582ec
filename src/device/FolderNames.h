#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"

namespace mv {

/// Finds the files of a handheld below the local folder that stands for its root "\": by names without regard to case,
/// an exact match first. Paths with a "." or ".." segment, or with characters that leave the folder ("C:..."), name
/// nothing. Calls raise the file system's errors.
class FolderNames {
 public:
  /// `root`: with or without separators at its end. `files` must outlive this object.
  FolderNames(platform::FileSystem& files, const std::string& root);

  /// The root folder without separators at its end.
  const std::string& Prefix() const { return prefix_; }
  /// The same with a separator at its end: an empty prefix is no path.
  std::string RootFolder() const { return prefix_ + '\\'; }

  /// The local path that `devicePath` names, whether or not its last segment exists; nothing when a folder on the way
  /// is missing, and for the root itself.
  std::optional<std::string> LocalPath(std::string_view devicePath) const;
  /// A file or folder is there.
  bool Exists(const std::string& localPath) const;

  struct Match {
    std::string name;
    std::string localPath;
  };
  /// What is there that fits a pattern of device paths, in no order; its last segment may hold wildcards. Names that
  /// differ in case only are told each.
  std::vector<Match> Matches(std::string_view pattern) const;

 private:
  /// The folder that the names name below the root; nothing when one of them is missing.
  std::optional<std::string> LocalFolder(const std::vector<std::string>& names) const;
  /// The name of the entry of `folder` that `name` names; nothing when there is none.
  std::optional<std::string> EntryName(const std::string& folder, const std::string& name) const;

  platform::FileSystem& files_;
  std::string prefix_;
};

}  // namespace mv
