#pragma once

#include <string>
#include <vector>

#include "config/Settings.h"
#include "platform/FileSystem.h"

namespace mv {

/// What a backup's name has between the database's name and the time.
inline constexpr const char* kBackupInfix = ".presyncbackup.";

/// The files that no other path of a run may lead to: the desktop database, its template and its backups. A log or a
/// table file laid over one of them would destroy it.
class ProtectedFiles {
 public:
  /// Looks at DesktopDBPath of `settings` whenever it is asked. `files` and `settings` must outlive this object.
  ProtectedFiles(const platform::FileSystem& files, const Settings& settings, std::string programFolder);

  /// A path of the run, and what an error calls it.
  struct Use {
    std::string what;
    std::string path;
  };
  /// Error 75, which names both, when a path leads to one of them, be it by another name or by a link.
  void RequireOthers(const std::vector<Use>& uses) const;
  /// The backups of the database, unfinished ones included; none where its folder cannot be listed.
  std::vector<std::string> Backups() const;

 private:
  std::vector<Use> All() const;

  const platform::FileSystem& files_;
  const Settings& settings_;
  std::string programFolder_;
};

}  // namespace mv
