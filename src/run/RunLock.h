#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/FileSystem.h"

namespace mv {

/// Keeps two runs of one database apart, and whatever else must not happen during one. The system releases it however
/// the process ends; the empty file "sync\run.lock" beside the database stays.
class RunLock {
 public:
  /// Nothing when somebody else has it. Where no file can be made beside the database, nobody can have one: that is a
  /// lock of no effect, as is one for a database whose folder is missing.
  static std::optional<RunLock> Take(platform::FileSystem& files, const std::string& database);
  /// True while somebody has it. Makes no file.
  static bool IsHeld(platform::FileSystem& files, const std::string& database);

 private:
  explicit RunLock(std::unique_ptr<platform::File> file) : file_(std::move(file)) {}

  std::unique_ptr<platform::File> file_;  ///< null without effect
};

}  // namespace mv
