#include "platform/PrivateFiles.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/Error.h"
#include "platform/System.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/Paths.h"

namespace mv::platform {
namespace {

constexpr const char* kFolderName = "mvppcsync";
constexpr mode_t kOwnersFolder = 0700;
constexpr mode_t kOwnersFile = 0600;
constexpr mode_t kOthers = 0077;

Error CannotUse(const std::string& path) {
  return StandardError(errors::kPathFileAccess, path);
}

/// False for a link: it may lead to somebody else's folder.
bool IsOwnFolder(const std::string& path) {
  struct stat status = {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid() &&
         (status.st_mode & kOthers) == 0;
}

}  // namespace

bool OthersMayRead(const std::string& path) {
  struct stat status = {};
  if (::stat(NativePath(path).c_str(), &status) != 0) throw StandardError(errors::kFileNotFound, path);
  return (status.st_mode & kOthers) != 0 || (status.st_uid != ::geteuid() && status.st_uid != 0);
}

std::string PrivateRuntimeFolder() {
  const std::string session = EnvironmentVariable("XDG_RUNTIME_DIR").value_or("");
  const std::string folder = session.starts_with('/')
                                 ? session + '/' + kFolderName
                                 : TemporaryFolder() + '/' + kFolderName + '-' + std::to_string(::geteuid());
  if (::mkdir(folder.c_str(), kOwnersFolder) != 0 && errno != EEXIST) throw CannotUse(folder);
  if (!IsOwnFolder(folder)) throw CannotUse(folder);
  return folder;
}

void WritePrivateFile(const std::string& path, ByteView content) {
  const std::string native = NativePath(path);
  ::unlink(native.c_str());
  const Descriptor file(::open(native.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kOwnersFile));
  if (!file.IsOpen()) throw CannotUse(path);
  const ssize_t written = ::write(file.Number(), content.data(), content.size());
  if (written != static_cast<ssize_t>(content.size())) throw StandardError(errors::kDeviceIo, path);
}

Bytes RandomBytes(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t done = 0; done < count;) {
    const ssize_t some = ::getrandom(bytes.data() + done, count - done, 0);
    if (some < 0 && errno != EINTR) throw StandardError(errors::kDeviceIo);
    if (some > 0) done += static_cast<std::size_t>(some);
  }
  return bytes;
}

}  // namespace mv::platform
