#include "platform/FileSystem.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "platform/posix/Paths.h"

namespace mv::platform {
namespace {

namespace fs = std::filesystem;

constexpr const char* kStagedSuffix = ".writing";

std::string FolderOf(const std::string& native) {
  const std::size_t length = FolderLength(native);
  return length == 0 ? "." : native.substr(0, length);
}

bool IsFolder(const std::string& native) {
  std::error_code ignored;
  return fs::is_directory(native, ignored);
}

/// The program's error for a failed system call on `native`.
Error ErrorFromErrno(int code, const std::string& native) {
  switch (code) {
    case ENOENT:
      return StandardError(IsFolder(FolderOf(native)) ? errors::kFileNotFound : errors::kPathNotFound);
    case ENOTDIR:
    case ENAMETOOLONG:
      return StandardError(errors::kPathNotFound);
    case EWOULDBLOCK:
    case ETXTBSY:
    case EBUSY:
      return StandardError(errors::kPermissionDenied);
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case EEXIST:
    case ENOTEMPTY:
      return StandardError(errors::kPathFileAccess);
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return StandardError(errors::kDiskFull);
    default:
      return Error(errors::kDeviceIo, "", "Device I/O error: " + std::generic_category().message(code));
  }
}

/// A file descriptor that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Number() const { return number_; }
  bool IsOpen() const { return number_ >= 0; }

 private:
  int number_;
};

class PosixFile : public File {
 public:
  PosixFile(int descriptor, std::string native) : descriptor_(descriptor), native_(std::move(native)) {}

  std::uint64_t Size() const override {
    struct stat status = {};
    if (::fstat(Number(), &status) != 0) throw ErrorFromErrno(errno, native_);
    return static_cast<std::uint64_t>(status.st_size);
  }

  std::size_t ReadAt(std::uint64_t offset, ByteSpan out) override {
    std::size_t done = 0;
    while (done < out.size()) {
      const ssize_t count = ::pread(Number(), out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) throw ErrorFromErrno(errno, native_);
      if (count == 0) break;
      done += static_cast<std::size_t>(count);
    }
    return done;
  }

  void WriteAt(std::uint64_t offset, ByteView data) override {
    std::size_t done = 0;
    while (done < data.size()) {
      const ssize_t count =
          ::pwrite(Number(), data.data() + done, data.size() - done, static_cast<off_t>(offset + done));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) throw ErrorFromErrno(errno, native_);
      done += static_cast<std::size_t>(count);
    }
  }

  void Resize(std::uint64_t size) override {
    if (::ftruncate(Number(), static_cast<off_t>(size)) != 0) throw ErrorFromErrno(errno, native_);
  }

  void Sync() override {
    if (::fsync(Number()) != 0) throw ErrorFromErrno(errno, native_);
  }

  int Number() const { return descriptor_.Number(); }
  const std::string& Native() const { return native_; }

 private:
  Descriptor descriptor_;
  std::string native_;
};

/// Some network and memory file systems know no locks; there nobody can hold one either.
bool LocksUnsupported(int code) {
  return code == ENOLCK || code == ENOTSUP || code == EINVAL || code == ENOSYS;
}

/// Takes both kinds of advisory lock, because other programs use one or the other: whole-file locks (flock) and byte
/// ranges (fcntl, the kind that belongs to this open file and not to the process). Returns false when somebody else
/// holds one that excludes this.
bool TakeLocks(int descriptor, Access access, Sharing sharing) {
  if (sharing == Sharing::All) return true;
  // Who writes and lets others read asks no less of them than who shares nothing: readers that take no lock get by.
  const bool exclusive = sharing == Sharing::None || access != Access::Read;
  if (::flock(descriptor, (exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB) != 0 && !LocksUnsupported(errno)) return false;
  // A write lock needs a descriptor that may write, a read lock one that may read.
  const bool wantsWriteLock = exclusive && access != Access::Read;
  if (!wantsWriteLock && access == Access::Write) return true;
  struct flock range = {};
  range.l_type = wantsWriteLock ? F_WRLCK : F_RDLCK;
  range.l_whence = SEEK_SET;
  return ::fcntl(descriptor, F_OFD_SETLK, &range) == 0 || LocksUnsupported(errno);
}

int OpenFlags(Access access, Disposition disposition) {
  const int direction = access == Access::Read ? O_RDONLY : access == Access::Write ? O_WRONLY : O_RDWR;
  return direction | O_CLOEXEC | (disposition == Disposition::OpenExisting ? 0 : O_CREAT);
}

/// The mode of a file that is made anew. One that is to take another's place is never open to more people than that
/// one.
mode_t CreationMode(const std::string& native) {
  constexpr mode_t kUsual = 0666;
  constexpr std::string_view kSuffix = kStagedSuffix;
  struct stat status = {};
  if (!native.ends_with(kSuffix)) return kUsual;
  const std::string replaced = native.substr(0, native.size() - kSuffix.size());
  return ::stat(replaced.c_str(), &status) == 0 ? (status.st_mode & kUsual) | S_IRUSR | S_IWUSR : kUsual;
}

/// Opens and locks what is under the name at that moment.
std::unique_ptr<PosixFile> OpenOnce(const std::string& native, Access access, Disposition disposition,
                                    Sharing sharing) {
  const int number = ::open(native.c_str(), OpenFlags(access, disposition), CreationMode(native));
  if (number < 0) throw ErrorFromErrno(errno, native);
  auto file = std::make_unique<PosixFile>(number, native);
  if (IsFolder(native)) throw ErrorFromErrno(EISDIR, native);
  if (!TakeLocks(number, access, sharing)) throw ErrorFromErrno(EWOULDBLOCK, native);
  return file;
}

/// False when the name belongs to another file by now, or to none.
bool IsUnderItsName(const PosixFile& file) {
  struct stat opened = {};
  struct stat named = {};
  if (::fstat(file.Number(), &opened) != 0 || ::stat(file.Native().c_str(), &named) != 0) return false;
  return opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

/// Between opening and locking, somebody else's new file may have taken the name, and what is open is then a file
/// without one: what is read from it is out of date, what is written to it is gone. So the lock counts only when the
/// name still leads to the same file.
std::unique_ptr<PosixFile> OpenNative(const std::string& native, Access access, Disposition disposition,
                                      Sharing sharing) {
  constexpr int kMostAttempts = 100;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    auto file = OpenOnce(native, access, disposition, sharing);
    if (sharing != Sharing::All && !IsUnderItsName(*file)) continue;
    // Cut only after the lock was granted: somebody else's content is not ours to destroy.
    if (disposition == Disposition::CreateAlways) file->Resize(0);
    return file;
  }
  throw ErrorFromErrno(EWOULDBLOCK, native);
}

/// Makes a rename in `folder` last. A folder that cannot be opened or synced (network shares) is no reason to call the
/// file lost.
void SyncFolder(const std::string& folder) {
  const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor.IsOpen()) ::fsync(descriptor.Number());
}

/// Gives the new file the mode and, where that is allowed, the owner of the one it replaces.
void CopyModeAndOwner(const std::string& from, int to) {
  struct stat status = {};
  if (::stat(from.c_str(), &status) != 0) return;
  // Only the superuser may give a file away; for everybody else the new file is theirs, as the old one was.
  const bool ownerKept = ::fchown(to, status.st_uid, status.st_gid) == 0;
  const mode_t withoutSetId = status.st_mode & 0777;
  ::fchmod(to, ownerKept ? status.st_mode & 07777 : withoutSetId);
}

/// A file that is written beside `target` and takes its place in Finish; removed when it never does.
class StagedFile {
 public:
  explicit StagedFile(std::string target)
      : target_(std::move(target)),
        file_(OpenNative(target_ + kStagedSuffix, Access::ReadWrite, Disposition::CreateAlways, Sharing::None)) {}
  /// Takes over a staged file that the caller has written.
  StagedFile(std::string target, std::unique_ptr<PosixFile> written)
      : target_(std::move(target)), file_(std::move(written)) {}
  ~StagedFile() {
    if (file_) ::unlink(file_->Native().c_str());
  }
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  PosixFile& Contents() { return *file_; }

  std::unique_ptr<PosixFile> Finish() {
    CopyModeAndOwner(target_, file_->Number());
    file_->Sync();
    if (::rename(file_->Native().c_str(), target_.c_str()) != 0) throw ErrorFromErrno(errno, target_);
    SyncFolder(FolderOf(target_));
    return std::move(file_);
  }

 private:
  std::string target_;
  std::unique_ptr<PosixFile> file_;
};

std::string Resolved(const std::string& path) {
  std::error_code code;
  const fs::path resolved = fs::weakly_canonical(fs::absolute(NativePath(path), code), code);
  return code ? NativePath(path) : resolved.string();
}

/// Keeps others out of a file that is about to be replaced; nothing when there is none yet.
std::unique_ptr<PosixFile> HoldExisting(const std::string& native) {
  std::error_code ignored;
  if (!fs::exists(native, ignored)) return nullptr;
  return OpenNative(native, Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
}

class PosixFileSystem : public FileSystem {
 public:
  std::unique_ptr<File> Open(const std::string& path, Access access, Disposition disposition,
                             Sharing sharing) override {
    return OpenNative(NativePath(path), access, disposition, sharing);
  }

  bool FileExists(const std::string& path) const override {
    std::error_code ignored;
    const std::string native = NativePath(path);
    return fs::exists(native, ignored) && !fs::is_directory(native, ignored);
  }

  bool FolderExists(const std::string& path) const override { return IsFolder(NativePath(path)); }

  std::vector<std::string> List(const std::string& folder) const override {
    const std::string native = NativePath(folder);
    std::vector<std::string> names;
    std::error_code code;
    for (fs::directory_iterator entry(native, code); !code && entry != fs::directory_iterator();
         entry.increment(code)) {
      names.push_back(entry->path().filename().string());
    }
    if (code) throw ErrorFromErrno(code.value(), native);
    return names;
  }

  void RemoveFile(const std::string& path) override {
    const std::string native = NativePath(path);
    if (::unlink(native.c_str()) != 0) throw ErrorFromErrno(errno, native);
  }

  void RenameFile(const std::string& from, const std::string& to) override {
    const std::string nativeFrom = NativePath(from);
    const std::string nativeTo = NativePath(to);
    if (::rename(nativeFrom.c_str(), nativeTo.c_str()) != 0) throw ErrorFromErrno(errno, nativeFrom);
    SyncFolder(FolderOf(nativeTo));
  }

  void CreateFolders(const std::string& folder) override {
    std::error_code code;
    fs::create_directories(NativePath(folder), code);
    if (code) throw ErrorFromErrno(code.value(), NativePath(folder));
  }

  void CopyWhole(const std::string& from, const std::string& to) override {
    const auto source = OpenNative(NativePath(from), Access::Read, Disposition::OpenExisting, Sharing::Read);
    const std::string target = Resolved(to);
    const auto held = HoldExisting(target);
    StagedFile staged(target);
    CopyContent(*source, staged.Contents());
    staged.Finish();
  }

  void WriteWhole(const std::string& path, ByteView content) override {
    const std::string target = Resolved(path);
    const auto held = HoldExisting(target);
    StagedFile staged(target);
    staged.Contents().WriteAt(0, content);
    staged.Finish();
  }

  std::string StagedName(const std::string& path) const override { return path + kStagedSuffix; }

  std::unique_ptr<File> ReplaceOpen(std::unique_ptr<File> staged, std::unique_ptr<File> current,
                                    const std::string& path) override {
    // The old file stays locked until the new one, locked as well, has its name.
    const std::unique_ptr<File> held = std::move(current);
    std::unique_ptr<PosixFile> written(static_cast<PosixFile*>(staged.release()));
    return StagedFile(NativePath(path), std::move(written)).Finish();
  }

  bool IsRangeLocked(const std::string& path, std::uint64_t first, std::uint64_t count) const override {
    const std::string native = NativePath(path);
    const Descriptor descriptor(::open(native.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor.IsOpen()) return false;
    if (::flock(descriptor.Number(), LOCK_EX | LOCK_NB) != 0 && !LocksUnsupported(errno)) return true;
    struct flock range = {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = static_cast<off_t>(first);
    range.l_len = static_cast<off_t>(count);
    return ::fcntl(descriptor.Number(), F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
  }

  std::string RealPath(const std::string& path) const override { return Resolved(path); }
};

}  // namespace

std::unique_ptr<FileSystem> MakeFileSystem() {
  return std::make_unique<PosixFileSystem>();
}

}  // namespace mv::platform
