#pragma once

#include <string>

namespace mv::platform {

/// What the desktop environment does for a file.
class Shell {
 public:
  virtual ~Shell() = default;
  /// Moves a file to the user's recycle bin (trash). Returns false when that failed; the file is then where it was. A
  /// folder is no file.
  virtual bool Recycle(const std::string& path) = 0;
  /// Opens a file in the program that the user has chosen for its kind. Returns false when that failed.
  virtual bool OpenDocument(const std::string& path) = 0;
};

/// The shell of this machine's desktop.
class SystemShell : public Shell {
 public:
  bool Recycle(const std::string& path) override;
  bool OpenDocument(const std::string& path) override;
};

}  // namespace mv::platform
