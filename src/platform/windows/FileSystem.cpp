#include "platform/FileSystem.h"

#include <windows.h>

#include <optional>
#include <sstream>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "platform/BackgroundCopy.h"
#include "platform/windows/Handle.h"
#include "platform/windows/PrivateProfile.h"
#include "platform/windows/RenameByHandle.h"
#include "platform/windows/ScriptingFiles.h"
#include "platform/windows/SystemError.h"
#include "platform/windows/Wide.h"

namespace mv::platform {
namespace {

constexpr std::size_t kLongestPiece = 1 << 20;
/// What the system's temporary names may need behind their folder.
constexpr std::size_t kTempNameRoom = 256;

OVERLAPPED AtOffset(std::uint64_t offset) {
  OVERLAPPED position = {};
  position.Offset = static_cast<DWORD>(offset);
  position.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return position;
}

/// DUPLICATE_EXTENTS_DATA and its control code, as the system publishes them.
struct SharedExtent {
  HANDLE source;
  LARGE_INTEGER sourceOffset;
  LARGE_INTEGER targetOffset;
  LARGE_INTEGER count;
};
constexpr DWORD kDuplicateExtents = 0x98344;

class WindowsFile : public File {
 public:
  WindowsFile(HANDLE handle, bool sharesNothing) : handle_(handle), sharesNothing_(sharesNothing) {}

  std::uint64_t Size() const override {
    LARGE_INTEGER size = {};
    if (!::GetFileSizeEx(handle_.Get(), &size)) throw LastError();
    return static_cast<std::uint64_t>(size.QuadPart);
  }

  std::size_t ReadAt(std::uint64_t offset, ByteSpan out) override {
    std::size_t done = 0;
    while (done < out.size()) {
      OVERLAPPED position = AtOffset(offset + done);
      DWORD count = 0;
      const BOOL good = ::ReadFile(handle_.Get(), out.data() + done, PieceLength(out.size() - done), &count, &position);
      if (!good && ::GetLastError() != ERROR_HANDLE_EOF) throw LastError();
      if (count == 0) break;
      done += count;
    }
    return done;
  }

  void WriteAt(std::uint64_t offset, ByteView data) override {
    std::size_t done = 0;
    while (done < data.size()) {
      OVERLAPPED position = AtOffset(offset + done);
      DWORD count = 0;
      if (!::WriteFile(handle_.Get(), data.data() + done, PieceLength(data.size() - done), &count, &position)) {
        throw LastError();
      }
      done += count;
    }
  }

  void Resize(std::uint64_t size) override {
    LARGE_INTEGER end = {};
    end.QuadPart = static_cast<LONGLONG>(size);
    if (!::SetFilePointerEx(handle_.Get(), end, nullptr, FILE_BEGIN) || !::SetEndOfFile(handle_.Get())) {
      throw LastError();
    }
  }

  void Sync() override {
    if (!::FlushFileBuffers(handle_.Get())) throw LastError();
  }

  /// The system's own times come from a clock that ticks every 10 or 16 ms. Below a tick the time set here is that of
  /// a finer one, so a write within the same tick is seen as well.
  bool StampTime() override {
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    LARGE_INTEGER counter = {};
    ::QueryPerformanceCounter(&counter);
    now.dwLowDateTime = (now.dwLowDateTime & ~kTickFraction) | (counter.LowPart & kTickFraction);
    FILETIME found = {};
    return ::SetFileTime(handle_.Get(), nullptr, nullptr, &now) &&
           ::GetFileTime(handle_.Get(), nullptr, nullptr, &found) && ::CompareFileTime(&now, &found) == 0;
  }

  bool TakeTimeOf(const File& from) override {
    const auto* const other = dynamic_cast<const WindowsFile*>(&from);
    FILETIME time = {};
    return other != nullptr && ::GetFileTime(other->Get(), nullptr, nullptr, &time) &&
           ::SetFileTime(handle_.Get(), nullptr, nullptr, &time);
  }

  /// Our opens that share nothing are granted only while nobody else has the file open.
  bool IsOpenHereOnly() override { return sharesNothing_; }

  /// ReFS does it, for files that end where one of its clusters does.
  bool ShareContentOf(File& from) override {
    const auto* const other = dynamic_cast<const WindowsFile*>(&from);
    if (other == nullptr) return false;
    const std::uint64_t size = from.Size();
    Resize(size);
    SharedExtent extent = {other->Get(), {}, {}, {}};
    extent.count.QuadPart = static_cast<LONGLONG>(size);
    DWORD ignored = 0;
    if (::DeviceIoControl(handle_.Get(), kDuplicateExtents, &extent, sizeof(extent), nullptr, 0, &ignored, nullptr)) {
      return true;
    }
    Resize(0);
    return false;
  }

  std::unique_ptr<ContentCopy> BeginCopyOf(File& from) override { return BackgroundCopy::Begin(from, *this); }

  HANDLE Get() const { return handle_.Get(); }

 private:
  /// Units of 100 ns, less than a tick of the clock.
  static constexpr DWORD kTickFraction = 0xFFFF;

  static DWORD PieceLength(std::size_t length) {
    return static_cast<DWORD>(length < kLongestPiece ? length : kLongestPiece);
  }

  Handle handle_;
  bool sharesNothing_;
};

DWORD AccessBits(Access access) {
  if (access == Access::Read) return GENERIC_READ;
  return access == Access::Write ? GENERIC_WRITE : GENERIC_READ | GENERIC_WRITE;
}

DWORD ShareBits(Sharing sharing) {
  if (sharing == Sharing::None) return 0;
  return sharing == Sharing::Read ? FILE_SHARE_READ : FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
}

DWORD DispositionCode(Disposition disposition) {
  if (disposition == Disposition::OpenExisting) return OPEN_EXISTING;
  return disposition == Disposition::OpenAlways ? OPEN_ALWAYS : CREATE_ALWAYS;
}

bool HasAttribute(const std::wstring& native, DWORD attribute) {
  const DWORD attributes = ::GetFileAttributesW(native.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & attribute) != 0;
}

bool IsFolder(const std::wstring& native) {
  return HasAttribute(native, FILE_ATTRIBUTE_DIRECTORY);
}

std::unique_ptr<File> OpenNative(const std::wstring& native, Access access, Disposition disposition, Sharing sharing) {
  const HANDLE handle = ::CreateFileW(native.c_str(), AccessBits(access), ShareBits(sharing), nullptr,
                                      DispositionCode(disposition), FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) throw LastError();
  auto file = std::make_unique<WindowsFile>(handle, sharing == Sharing::None);
  // "NUL", "COM1" or a pipe: what is written there is gone, and who reads may wait for ever.
  if (::GetFileType(handle) != FILE_TYPE_DISK) throw StandardError(errors::kPathFileAccess);
  return file;
}

/// True when a refusal to replace the file means that somebody holds it open; the system calls that "access denied"
/// too.
bool IsReplaceable(const std::wstring& native) {
  return !HasAttribute(native, FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY);
}

void MoveOver(const std::wstring& from, const std::wstring& to) {
  if (::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) return;
  if (::GetLastError() == ERROR_ACCESS_DENIED && IsReplaceable(to)) throw StandardError(errors::kPermissionDenied);
  throw LastError();
}

/// Opens a file so that it can be renamed while it is open and held.
std::unique_ptr<WindowsFile> OpenToRename(const std::wstring& native) {
  const HANDLE handle = ::CreateFileW(native.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) throw LastError();
  return std::make_unique<WindowsFile>(handle, true);
}

/// The file stays open and held under its new name: nobody can get between renaming and opening.
void RenameOpen(const WindowsFile& file, const std::wstring& to, Existing existing) {
  const unsigned long code = RenameByHandle(file.Get(), to, existing == Existing::Replace);
  if (code == ERROR_SUCCESS) return;
  if (existing == Existing::Keep && (code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS)) {
    throw StandardError(errors::kFileAlreadyExists);
  }
  if (code == ERROR_ACCESS_DENIED && IsReplaceable(to)) throw StandardError(errors::kPermissionDenied);
  throw ErrorFromCode(code);
}

/// Also of a file that is held: only its description is asked for.
bool InformationOf(const std::string& path, BY_HANDLE_FILE_INFORMATION& found) {
  const Handle file(::CreateFileW(NativePath(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  return file.IsOpen() && ::GetFileInformationByHandle(file.Get(), &found);
}

class WindowsFileSystem : public FileSystem {
 public:
  std::unique_ptr<File> Open(const std::string& path, Access access, Disposition disposition,
                             Sharing sharing) override {
    return OpenNative(NativePath(path), access, disposition, sharing);
  }

  bool FileExists(const std::string& path) const override {
    const std::wstring native = NativePath(path);
    return ::GetFileAttributesW(native.c_str()) != INVALID_FILE_ATTRIBUTES && !IsFolder(native);
  }

  bool FolderExists(const std::string& path) const override { return IsFolder(NativePath(path)); }

  bool FileExistsForScripts(const std::string& path) const override {
    const std::optional<bool> answer = ScriptingFileExists(NativePath(path));
    return answer ? *answer : FileExists(path);
  }

  std::vector<std::string> List(const std::string& folder) const override {
    WIN32_FIND_DATAW found = {};
    const HANDLE search = ::FindFirstFileW((NativePath(folder) + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) throw LastError();
    std::vector<std::string> names;
    do {
      const std::wstring name = found.cFileName;
      if (name != L"." && name != L"..") names.push_back(Narrow(name));
    } while (::FindNextFileW(search, &found));
    ::FindClose(search);
    return names;
  }

  FileFacts FactsOf(const std::string& path) const override {
    WIN32_FILE_ATTRIBUTE_DATA found = {};
    if (!::GetFileAttributesExW(NativePath(path).c_str(), GetFileExInfoStandard, &found)) throw LastError();
    return {std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow,
            static_cast<std::int64_t>(std::uint64_t{found.ftLastWriteTime.dwHighDateTime} << 32 |
                                      found.ftLastWriteTime.dwLowDateTime)};
  }

  FileTrace TraceOf(const std::string& path) const override {
    BY_HANDLE_FILE_INFORMATION found = {};
    if (!InformationOf(path, found)) return {};
    std::ostringstream content;
    content << found.dwVolumeSerialNumber << ':' << found.nFileIndexHigh << ':' << found.nFileIndexLow << ':'
            << found.nFileSizeHigh << ':' << found.nFileSizeLow << ':' << found.ftLastWriteTime.dwHighDateTime << ':'
            << found.ftLastWriteTime.dwLowDateTime;
    return {content.str(), std::to_string(found.dwFileAttributes), found.nNumberOfLinks};
  }

  std::uint64_t FreeBytes(const std::string& folder) const override {
    ULARGE_INTEGER free = {};
    if (!::GetDiskFreeSpaceExW(NativePath(folder).c_str(), &free, nullptr, nullptr)) return 0;
    return free.QuadPart;
  }

  bool MayMakeFilesIn(const std::string& folder) const override {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return Handle(::CreateFileW(NativePath(folder).c_str(), FILE_ADD_FILE, kShareAll, nullptr, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS, nullptr))
        .IsOpen();
  }

  std::uint64_t LastWriteTime(const std::string& path) const override {
    return static_cast<std::uint64_t>(FactsOf(path).modified);  // that is the very time, and folders have it too
  }

  void RemoveFile(const std::string& path) override {
    if (!::DeleteFileW(NativePath(path).c_str())) throw LastError();
  }

  void RenameFile(const std::string& from, const std::string& to) override {
    MoveOver(NativePath(from), NativePath(to));
  }

  void CreateFolders(const std::string& folder) override {
    const std::wstring native = NativePath(folder);
    for (std::size_t end = native.find(L'\\'); end != std::wstring::npos; end = native.find(L'\\', end + 1)) {
      // A drive or a share at the front cannot be created and is there already.
      ::CreateDirectoryW(native.substr(0, end).c_str(), nullptr);
    }
    if (!::CreateDirectoryW(native.c_str(), nullptr) && !IsFolder(native)) throw LastError();
  }

  bool CreateFolder(const std::string& folder) override {
    if (::CreateDirectoryW(NativePath(folder).c_str(), nullptr)) return true;
    if (::GetLastError() == ERROR_ALREADY_EXISTS) return false;
    throw LastError();
  }

  void RemoveFolder(const std::string& folder) override {
    if (::RemoveDirectoryW(NativePath(folder).c_str())) return;
    if (::GetLastError() == ERROR_DIR_NOT_EMPTY) throw StandardError(errors::kPathFileAccess);
    throw LastError();
  }

  void LinkFile(const std::string& from, const std::string& name) override {
    if (::CreateHardLinkW(NativePath(name).c_str(), NativePath(from).c_str(), nullptr)) return;
    switch (::GetLastError()) {
      case ERROR_ALREADY_EXISTS:
      case ERROR_FILE_EXISTS:
        throw StandardError(errors::kFileAlreadyExists);
      case ERROR_INVALID_FUNCTION:  // FAT
      case ERROR_NOT_SUPPORTED:
      case ERROR_NOT_SAME_DEVICE:
      case ERROR_TOO_MANY_LINKS:
        throw StandardError(errors::kPathFileAccess);
      default:
        throw LastError();
    }
  }

  std::unique_ptr<File> ReplaceOpen(std::unique_ptr<File>& staged, std::unique_ptr<File>& current,
                                    const std::string& path, Existing existing) override {
    if (staged) staged->Sync();
    staged.reset();
    auto renamed = OpenToRename(NativePath(StagedName(path)));
    current.reset();
    RenameOpen(*renamed, FullPath(NativePath(path)), existing);
    renamed->Sync();
    return renamed;
  }

  bool IsRangeLocked(const std::string& path, std::uint64_t first, std::uint64_t count) const override {
    const std::wstring native = NativePath(path);
    const Handle file(::CreateFileW(native.c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsOpen()) return ::GetLastError() == ERROR_SHARING_VIOLATION;
    OVERLAPPED range = AtOffset(first);
    const auto low = static_cast<DWORD>(count);
    const auto high = static_cast<DWORD>(count >> 32);
    if (!::LockFileEx(file.Get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, low, high, &range))
      return true;
    ::UnlockFileEx(file.Get(), 0, low, high, &range);
    return false;
  }

  std::string IdentityOf(const std::string& path) const override {
    BY_HANDLE_FILE_INFORMATION found = {};
    if (!InformationOf(path, found)) return FoldCase(RealPath(path));
    return std::to_string(found.dwVolumeSerialNumber) + ":" + std::to_string(found.nFileIndexHigh) + ":" +
           std::to_string(found.nFileIndexLow);
  }

  std::string RealPath(const std::string& path) const override { return Narrow(FullPath(NativePath(path))); }

  std::string CreateTempFile(const std::string& folder, const std::string& prefix) override {
    const std::wstring native = NativePath(folder);
    if (!IsFolder(native)) throw StandardError(errors::kPathNotFound);
    std::wstring name(native.size() + kTempNameRoom, L'\0');
    if (::GetTempFileNameW(native.c_str(), Wide(prefix).c_str(), 0, name.data()) == 0) throw LastError();
    return Narrow(name.c_str());
  }

  PrivateProfile* Profiles() override { return &profiles_; }

 private:
  WindowsPrivateProfile profiles_;
};

}  // namespace

std::unique_ptr<FileSystem> MakeFileSystem() {
  return std::make_unique<WindowsFileSystem>();
}

}  // namespace mv::platform
