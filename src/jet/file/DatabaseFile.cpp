#include "jet/file/DatabaseFile.h"

#include <cstdint>

#include "base/Text.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

/// Where each user of the platform's engine holds one byte of the lock file, far behind its content.
constexpr std::uint64_t kUserLocksFirst = 0x10000001;
constexpr std::uint64_t kUserLocksCount = 0xFF;

/// NAME.ldb for NAME.mdb, in the same folder.
std::string LockFileName(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  const bool hasExtension = dot != std::string::npos && dot >= FolderLength(path);
  return path.substr(0, hasExtension ? dot : path.size()) + ".ldb";
}

}  // namespace

std::unique_ptr<platform::File> OpenDatabaseFile(platform::FileSystem& files, const std::string& path,
                                                 DatabaseAccess access) {
  const std::string realPath = files.RealPath(path);
  const bool writing = access == DatabaseAccess::Write;
  auto file =
      files.Open(realPath, writing ? platform::Access::ReadWrite : platform::Access::Read,
                 platform::Disposition::OpenExisting, writing ? platform::Sharing::None : platform::Sharing::Read);
  if (files.IsRangeLocked(LockFileName(realPath), kUserLocksFirst, kUserLocksCount)) {
    throw StandardError(errors::kPermissionDenied);
  }
  return file;
}

Error JetErrorFor(const Error& error, const std::string& path) {
  switch (error.Number()) {
    case errors::kFileNotFound:
    case errors::kPathNotFound:
      return FileNotFoundError(path);
    case errors::kPermissionDenied:
      return FileInUseError(path);
    case errors::kPathFileAccess:
      return NoPermissionError(path);
    default:
      return error;
  }
}

}  // namespace mv::jet
