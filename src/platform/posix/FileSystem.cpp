#include "platform/FileSystem.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <system_error>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "platform/BackgroundCopy.h"
#include "platform/posix/Descriptor.h"
#include "platform/posix/Paths.h"

namespace mv::platform {
namespace {

namespace fs = std::filesystem;

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
    StartWriting(data.size());
  }

  void Resize(std::uint64_t size) override {
    if (::ftruncate(Number(), static_cast<off_t>(size)) != 0) throw ErrorFromErrno(errno, native_);
  }

  void Sync() override {
    if (::fsync(Number()) != 0) throw ErrorFromErrno(errno, native_);
  }

  /// The system gives a write the time of its last timer tick. A precise time lies between two ticks, so a write that
  /// follows within the same tick is seen as well.
  bool StampTime() override {
    struct timespec now = {};
    if (::clock_gettime(CLOCK_REALTIME, &now) != 0) return false;
    const struct timespec times[] = {{0, UTIME_OMIT}, now};
    struct stat status = {};
    if (::futimens(Number(), times) != 0 || ::fstat(Number(), &status) != 0) return false;
    return status.st_mtim.tv_sec == now.tv_sec && status.st_mtim.tv_nsec == now.tv_nsec;
  }

  bool TakeTimeOf(const File& from) override {
    const auto* const other = dynamic_cast<const PosixFile*>(&from);
    struct stat status = {};
    if (other == nullptr || ::fstat(other->Number(), &status) != 0) return false;
    const struct timespec times[] = {{0, UTIME_OMIT}, status.st_mtim};
    return ::futimens(Number(), times) == 0;
  }

  /// The kernel grants a write lease only while nobody else has the file open.
  bool IsOpenHereOnly() override {
    if (::fcntl(Number(), F_SETLEASE, F_WRLCK) != 0) return false;
    return ::fcntl(Number(), F_SETLEASE, F_UNLCK) == 0;
  }

  bool ShareContentOf(File& from) override {
    const auto* const other = dynamic_cast<const PosixFile*>(&from);
    return other != nullptr && ::ioctl(Number(), FICLONE, other->Number()) == 0;
  }

  std::unique_ptr<ContentCopy> BeginCopyOf(File& from) override { return BackgroundCopy::Begin(from, *this); }

  int Number() const { return descriptor_.Number(); }
  const std::string& Native() const { return native_; }

 private:
  /// Has the disk begin with what a large file has written so far, so that a Sync at its end waits for the rest alone.
  void StartWriting(std::size_t bytes) {
    constexpr std::size_t kPiece = std::size_t{4} << 20;
    waiting_ += bytes;
    if (waiting_ < kPiece) return;
    ::sync_file_range(Number(), 0, 0, SYNC_FILE_RANGE_WRITE);
    waiting_ = 0;
  }

  Descriptor descriptor_;
  std::string native_;
  std::size_t waiting_ = 0;  ///< bytes written since the disk was last asked to begin
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

constexpr mode_t kUsualMode = 0666;

/// A pipe would keep its opener waiting, and opening a device may already do something.
void RefuseSpecialFile(const struct stat& status, const std::string& native) {
  if (!S_ISREG(status.st_mode)) throw ErrorFromErrno(EISDIR, native);
}

void RefuseSpecialFileAt(const std::string& native) {
  struct stat status = {};
  if (::stat(native.c_str(), &status) == 0) RefuseSpecialFile(status, native);
}

/// Opens and locks what is under the name at that moment.
std::unique_ptr<PosixFile> OpenOnce(const std::string& native, Access access, Disposition disposition, Sharing sharing,
                                    mode_t mode) {
  RefuseSpecialFileAt(native);
  // Does not wait when a pipe has come there by now.
  const int number = ::open(native.c_str(), OpenFlags(access, disposition) | O_NONBLOCK | O_NOCTTY, mode);
  if (number < 0) throw ErrorFromErrno(errno, native);
  auto file = std::make_unique<PosixFile>(number, native);
  struct stat status = {};
  if (::fstat(number, &status) != 0) throw ErrorFromErrno(errno, native);
  RefuseSpecialFile(status, native);
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
                                      Sharing sharing, mode_t mode = kUsualMode) {
  constexpr int kMostAttempts = 100;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    auto file = OpenOnce(native, access, disposition, sharing, mode);
    if (sharing != Sharing::All && !IsUnderItsName(*file)) continue;
    // Cut only after the lock was granted: somebody else's content is not ours to destroy.
    if (disposition == Disposition::CreateAlways) file->Resize(0);
    return file;
  }
  throw ErrorFromErrno(EWOULDBLOCK, native);
}

void SyncNativeFolder(const std::string& folder) {
  const Descriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor.IsOpen()) ::fsync(descriptor.Number());
}

/// Who writes a staged file must be able to open it again by its name.
constexpr mode_t kOwnerReadsAndWrites = S_IRUSR | S_IWUSR;

/// Gives a staged file the mode and, where that is allowed, the owner of another.
void CopyModeAndOwner(const struct stat& from, int to) {
  // Only the superuser may give a file away; for everybody else the new file is theirs, as the old one was.
  const bool ownerKept = ::fchown(to, from.st_uid, from.st_gid) == 0;
  const mode_t mode = from.st_mode & (ownerKept ? 07777 : 0777);
  ::fchmod(to, mode | kOwnerReadsAndWrites);
}

/// Takes from a staged file what the old one does not grant its owner either.
void FinishMode(const std::string& staged, const std::string& old) {
  struct stat now = {};
  struct stat wanted = {};
  if (::stat(old.c_str(), &wanted) != 0 || ::stat(staged.c_str(), &now) != 0) return;
  const mode_t surplus = kOwnerReadsAndWrites & ~wanted.st_mode;
  if (surplus != 0) ::chmod(staged.c_str(), now.st_mode & 07777 & ~surplus);
}

/// Renames a file to a name that must be free.
int RenameToFreeName(const char* from, const char* to) {
  const int result = ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
  const bool unsupported = result != 0 && (errno == EINVAL || errno == ENOSYS || errno == ENOTSUP);
  if (!unsupported) return result;
  // Network shares and old kernels cannot do it in one step.
  struct stat existing = {};
  if (::lstat(to, &existing) != 0) return ::rename(from, to);
  errno = EEXIST;
  return -1;
}

/// Nothing when the file is missing or cannot be reached.
std::optional<std::string> ResolvedExisting(const std::string& native) {
  const std::unique_ptr<char, decltype(&std::free)> found(::realpath(native.c_str(), nullptr), &std::free);
  if (!found) return std::nullopt;
  return std::string(found.get());
}

/// The same for a file that is still to be made, in a folder that is there; also for a link that leads nowhere, which
/// keeps its own name.
std::optional<std::string> ResolvedNew(const std::string& native) {
  const fs::path path(native);
  const fs::path name = path.filename();
  if (name.empty() || name == "." || name == "..") return std::nullopt;
  // With a separator behind it, so that a file does not count.
  const auto folder = ResolvedExisting((path.has_parent_path() ? path.parent_path().native() : ".") + '/');
  if (!folder) return std::nullopt;
  return (fs::path(*folder) / name).native();
}

/// A run asks this of each file that it opens to write; the library's way for paths of any kind takes three times the
/// system calls.
std::string Resolved(const std::string& path) {
  const std::string native = NativePath(path);
  if (auto existing = ResolvedExisting(native)) return *std::move(existing);
  if (auto made = ResolvedNew(native)) return *std::move(made);
  std::error_code code;
  const fs::path resolved = fs::weakly_canonical(fs::absolute(native, code), code);
  return code ? native : resolved.string();
}

/// Held while its name goes, so that it is not the file that another program writes at this moment.
void RemoveLeftOver(const std::string& staged) {
  struct stat status = {};
  if (::lstat(staged.c_str(), &status) != 0) return;
  std::unique_ptr<PosixFile> held;
  if (!S_ISLNK(status.st_mode)) held = OpenNative(staged, Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
  if (::unlink(staged.c_str()) != 0) throw ErrorFromErrno(errno, staged);
}

class PosixFileSystem : public FileSystem {
 public:
  std::unique_ptr<File> Open(const std::string& path, Access access, Disposition disposition,
                             Sharing sharing) override {
    return OpenNative(NativePath(path), access, disposition, sharing);
  }

  bool FileExists(const std::string& path) const override {
    std::error_code ignored;
    const fs::file_status status = fs::status(NativePath(path), ignored);
    return fs::exists(status) && !fs::is_directory(status);
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

  FileFacts FactsOf(const std::string& path) const override {
    const std::string native = NativePath(path);
    struct stat status = {};
    if (::stat(native.c_str(), &status) != 0) throw ErrorFromErrno(errno, native);
    return {static_cast<std::uint64_t>(status.st_size),
            std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
  }

  FileTrace TraceOf(const std::string& path) const override {
    struct stat status = {};
    if (::stat(NativePath(path).c_str(), &status) != 0) return {};
    // The time of the last change of any kind is the one that no program can set.
    std::ostringstream content;
    content << status.st_dev << ':' << status.st_ino << ':' << status.st_size << ':' << status.st_mtim.tv_sec << '.'
            << status.st_mtim.tv_nsec;
    std::ostringstream state;
    state << status.st_ctim.tv_sec << '.' << status.st_ctim.tv_nsec;
    return {content.str(), state.str(), static_cast<std::uint32_t>(status.st_nlink)};
  }

  std::uint64_t FreeBytes(const std::string& folder) const override {
    struct statvfs status = {};
    if (::statvfs(NativePath(folder).c_str(), &status) != 0) return 0;
    return std::uint64_t{status.f_bavail} * status.f_frsize;
  }

  bool MayMakeFilesIn(const std::string& folder) const override {
    return ::faccessat(AT_FDCWD, NativePath(folder).c_str(), W_OK | X_OK, AT_EACCESS) == 0;
  }

  std::uint64_t LastWriteTime(const std::string& path) const override {
    const std::string native = NativePath(path);
    struct stat status = {};
    if (::stat(native.c_str(), &status) != 0) throw ErrorFromErrno(errno, native);
    constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;
    const std::int64_t seconds = status.st_mtim.tv_sec + kSecondsFrom1601To1970;
    return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds * 10'000'000 + status.st_mtim.tv_nsec / 100);
  }

  void RemoveFile(const std::string& path) override {
    const std::string native = NativePath(path);
    if (::unlink(native.c_str()) != 0) throw ErrorFromErrno(errno, native);
  }

  void RenameFile(const std::string& from, const std::string& to) override {
    const std::string nativeFrom = NativePath(from);
    const std::string nativeTo = NativePath(to);
    if (::rename(nativeFrom.c_str(), nativeTo.c_str()) != 0) throw ErrorFromErrno(errno, nativeFrom);
  }

  void CreateFolders(const std::string& folder) override {
    std::error_code code;
    fs::create_directories(NativePath(folder), code);
    if (code) throw ErrorFromErrno(code.value(), NativePath(folder));
  }

  bool CreateFolder(const std::string& folder) override {
    const std::string native = NativePath(folder);
    constexpr mode_t kUsualFolderMode = 0777;
    if (::mkdir(native.c_str(), kUsualFolderMode) == 0) return true;
    if (errno == EEXIST) return false;
    throw ErrorFromErrno(errno, native);
  }

  void RemoveFolder(const std::string& folder) override {
    const std::string native = NativePath(folder);
    if (::rmdir(native.c_str()) != 0) throw ErrorFromErrno(errno, native);
  }

  void LinkFile(const std::string& from, const std::string& name) override {
    const std::string native = NativePath(name);
    const int result = ::linkat(AT_FDCWD, NativePath(from).c_str(), AT_FDCWD, native.c_str(), AT_SYMLINK_FOLLOW);
    if (result == 0) return;
    if (errno == EEXIST) throw StandardError(errors::kFileAlreadyExists);
    if (errno == EXDEV || errno == EMLINK || LocksUnsupported(errno)) throw StandardError(errors::kPathFileAccess);
    throw ErrorFromErrno(errno, native);
  }

  void SyncFolder(const std::string& folder) override { SyncNativeFolder(folder.empty() ? "." : NativePath(folder)); }

  void NotNeededSoon(const std::string& path) override {
    const Descriptor descriptor(::open(NativePath(path).c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (descriptor.IsOpen()) ::posix_fadvise(descriptor.Number(), 0, 0, POSIX_FADV_DONTNEED);
  }

  std::unique_ptr<File> CreateStaged(const std::string& path, const std::string& like) override {
    RemoveLeftOver(NativePath(StagedName(path)));
    struct stat model = {};
    const bool hasModel = ::stat(NativePath(path).c_str(), &model) == 0 ||
                          (!like.empty() && ::stat(NativePath(like).c_str(), &model) == 0);
    const mode_t mode = hasModel ? (model.st_mode & kUsualMode) | kOwnerReadsAndWrites : kUsualMode;
    auto file =
        OpenNative(NativePath(StagedName(path)), Access::ReadWrite, Disposition::CreateAlways, Sharing::None, mode);
    if (hasModel) CopyModeAndOwner(model, file->Number());
    return file;
  }

  std::unique_ptr<File> ReplaceOpen(std::unique_ptr<File>& staged, std::unique_ptr<File>& current,
                                    const std::string& path, Existing existing) override {
    const std::string from = NativePath(StagedName(path));
    const std::string to = NativePath(path);
    RefuseSpecialFileAt(to);
    FinishMode(from, to);
    staged->Sync();
    const bool replaces = existing == Existing::Replace;
    const int result = replaces ? ::rename(from.c_str(), to.c_str()) : RenameToFreeName(from.c_str(), to.c_str());
    if (result != 0 && !replaces && errno == EEXIST) throw StandardError(errors::kFileAlreadyExists);
    if (result != 0) throw ErrorFromErrno(errno, to);
    // Held until the new file, held as well, has its name.
    current.reset();
    return std::move(staged);
  }

  /// Removed before it is let go, so that it is not somebody else's by then.
  void DiscardStaged(std::unique_ptr<File> staged, const std::string& path) override {
    if (staged) ::unlink(NativePath(StagedName(path)).c_str());
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

  std::string IdentityOf(const std::string& path) const override {
    struct stat status = {};
    if (::stat(NativePath(path).c_str(), &status) != 0) return Resolved(path);
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
  }

  std::string RealPath(const std::string& path) const override { return Resolved(path); }
};

}  // namespace

std::unique_ptr<FileSystem> MakeFileSystem() {
  return std::make_unique<PosixFileSystem>();
}

}  // namespace mv::platform
