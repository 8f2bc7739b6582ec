#include "run/RunLock.h"

#include "base/Error.h"
#include "base/Text.h"

namespace mv {
namespace {

constexpr const char* kFolder = "sync";
constexpr const char* kFile = "sync\\run.lock";

}  // namespace

std::optional<RunLock> RunLock::Take(platform::FileSystem& files, const std::string& database) {
  const std::string folder = database.substr(0, FolderLength(database));
  try {
    if (!files.FolderExists(folder)) return RunLock(nullptr);
    files.CreateFolders(folder + kFolder);
    return RunLock(files.Open(folder + kFile, platform::Access::ReadWrite, platform::Disposition::OpenAlways,
                              platform::Sharing::None));
  } catch (const Error& error) {
    if (error.Number() == errors::kPermissionDenied) return std::nullopt;
    return RunLock(nullptr);
  }
}

bool RunLock::IsHeld(platform::FileSystem& files, const std::string& database) {
  try {
    files.Open(database.substr(0, FolderLength(database)) + kFile, platform::Access::ReadWrite,
               platform::Disposition::OpenExisting, platform::Sharing::None);
    return false;
  } catch (const Error& error) {
    return error.Number() == errors::kPermissionDenied;
  }
}

}  // namespace mv
