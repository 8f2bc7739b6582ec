#include "device/windows/DllRapi.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cwchar>
#include <iterator>
#include <utility>

#include "base/Text.h"
#include "platform/windows/NoSystemBoxes.h"
#include "platform/windows/Wide.h"

namespace mv {
namespace {

constexpr const char* kLibraryName = "rapi.dll";

/// What a device tells about a file, as the API publishes it; the same at both widths.
struct FindData {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwOID;
  WCHAR cFileName[260];
};
static_assert(offsetof(FindData, ftCreationTime) == 4 && offsetof(FindData, ftLastAccessTime) == 12);
static_assert(offsetof(FindData, ftLastWriteTime) == 20 && offsetof(FindData, nFileSizeHigh) == 28);
static_assert(offsetof(FindData, nFileSizeLow) == 32 && offsetof(FindData, dwOID) == 36);
static_assert(offsetof(FindData, cFileName) == 40 && sizeof(FindData) == 560);

/// What a device tells about its system, as the API publishes it; the same at both widths.
struct VersionInfo {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  WCHAR szCSDVersion[128];
};
static_assert(offsetof(VersionInfo, dwMajorVersion) == 4 && offsetof(VersionInfo, dwPlatformId) == 16);
static_assert(offsetof(VersionInfo, szCSDVersion) == 20 && sizeof(VersionInfo) == 276);

/// What CeFindAllFiles shall tell of each.
constexpr DWORD kAttributes = 0x01;
constexpr DWORD kLastWriteTime = 0x08;
constexpr DWORD kSizeHigh = 0x10;
constexpr DWORD kSizeLow = 0x20;
constexpr DWORD kName = 0x80;

DeviceEntry EntryOf(const FindData& found) {
  const auto& written = found.ftLastWriteTime;
  return {platform::Narrow(std::wstring_view(found.cFileName, ::wcsnlen(found.cFileName, std::size(found.cFileName)))),
          found.dwFileAttributes, std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow,
          std::uint64_t{written.dwHighDateTime} << 32 | written.dwLowDateTime};
}

HANDLE SystemHandle(RapiHandle handle) {
  return reinterpret_cast<HANDLE>(handle);
}

RapiHandle OwnHandle(HANDLE handle) {
  return reinterpret_cast<RapiHandle>(handle);
}
static_assert(sizeof(RapiHandle) == sizeof(HANDLE));

std::int32_t LastError() {
  return HRESULT_FROM_WIN32(::GetLastError());
}

}  // namespace

/// The start-up record as the API publishes it.
struct DllRapi::StartUpRecord {
  DWORD cbSize;
  HANDLE heRapiInit;
  HRESULT hrRapiInit;

  /// The library's thread may be writing it.
  std::int32_t Result() { return std::atomic_ref(hrRapiInit).load(); }
};

/// The functions of a loaded library, with their published signatures.
struct DllRapi::Library {
  HRESULT(WINAPI* CeRapiInitEx)(StartUpRecord*);
  HRESULT(WINAPI* CeRapiUninit)();
  HRESULT(WINAPI* CeRapiGetError)();
  HANDLE(WINAPI* CeFindFirstFile)(LPCWSTR, FindData*);
  /// Null in a library that has only the functions that copying a file takes.
  BOOL(WINAPI* CeFindClose)(HANDLE);
  HANDLE(WINAPI* CeCreateFile)(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE);
  DWORD(WINAPI* CeGetFileSize)(HANDLE, LPDWORD);
  BOOL(WINAPI* CeReadFile)(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED);
  BOOL(WINAPI* CeWriteFile)(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED);
  BOOL(WINAPI* CeCloseHandle)(HANDLE);
  /// The next four are null where they are missing. The last two belong to the first.
  BOOL(WINAPI* CeGetVersionEx)(VersionInfo*);
  BOOL(WINAPI* CeFindAllFiles)(LPCWSTR, DWORD, LPDWORD, FindData**);
  HRESULT(WINAPI* CeRapiFreeBuffer)(LPVOID);
  DWORD(WINAPI* CeGetLastError)();

  /// False, with the system's last error, when one is missing that must be there.
  bool FindFunctions(HMODULE module) {
    Find(module, "CeFindClose", CeFindClose);
    Find(module, "CeGetVersionEx", CeGetVersionEx);
    Find(module, "CeFindAllFiles", CeFindAllFiles);
    Find(module, "CeRapiFreeBuffer", CeRapiFreeBuffer);
    Find(module, "CeGetLastError", CeGetLastError);
    return Find(module, "CeRapiInitEx", CeRapiInitEx) && Find(module, "CeRapiUninit", CeRapiUninit) &&
           Find(module, "CeRapiGetError", CeRapiGetError) && Find(module, "CeFindFirstFile", CeFindFirstFile) &&
           Find(module, "CeCreateFile", CeCreateFile) && Find(module, "CeGetFileSize", CeGetFileSize) &&
           Find(module, "CeReadFile", CeReadFile) && Find(module, "CeWriteFile", CeWriteFile) &&
           Find(module, "CeCloseHandle", CeCloseHandle);
  }

  bool CanList() const { return CeFindAllFiles != nullptr && CeRapiFreeBuffer != nullptr && CeGetLastError != nullptr; }

  /// Null, with the system's last error, when there is no usable library in `folder`.
  static std::unique_ptr<Library> LoadFrom(const std::string& folder) {
    const platform::NoSystemBoxes quiet;
    const std::wstring path = platform::NativePath(JoinPath(folder, kLibraryName));
    // The library's own folder, not the program's, is where the libraries are that it needs itself.
    const HMODULE module = ::LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == nullptr) return nullptr;
    auto library = std::make_unique<Library>();
    if (library->FindFunctions(module)) return library;
    const DWORD error = ::GetLastError();
    ::FreeLibrary(module);
    ::SetLastError(error);
    return nullptr;
  }

 private:
  template <typename Function>
  static bool Find(HMODULE module, const char* name, Function& function) {
    function = std::bit_cast<Function>(::GetProcAddress(module, name));
    return function != nullptr;
  }
};

DllRapi::DllRapi(std::vector<std::string> folders)
    : folders_(std::move(folders)), loadError_(HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND)) {
  // Here, because only here the record is a complete type.
  static_assert(offsetof(StartUpRecord, heRapiInit) == sizeof(void*));
  static_assert(offsetof(StartUpRecord, hrRapiInit) == 2 * sizeof(void*));
  static_assert(sizeof(StartUpRecord) == 3 * sizeof(void*));
}

DllRapi::~DllRapi() {
  if (started_) DllRapi::CeRapiUninit();
}

std::int32_t DllRapi::Load() {
  for (auto folder = folders_.begin(); library_ == nullptr && folder != folders_.end(); ++folder) {
    library_ = Library::LoadFrom(*folder);
    if (library_ == nullptr) loadError_ = LastError();
  }
  return library_ == nullptr ? loadError_ : 0;
}

std::int32_t DllRapi::CeRapiInitEx(RAPIINIT& init) {
  if (const std::int32_t error = Load()) return error;
  GiveUpAttempt();
  std::int32_t result = Start(init.cbSize);
  if (result == E_INVALIDARG && init.cbSize != sizeof(StartUpRecord)) result = Start(sizeof(StartUpRecord));
  init.heRapiInit = OwnHandle(record_->heRapiInit);
  init.hrRapiInit = record_->Result();
  if (SUCCEEDED(result)) {
    started_ = true;
    caller_ = &init;
  } else {
    record_.reset();
  }
  return result;
}

std::int32_t DllRapi::Start(std::uint32_t recordSize) {
  record_ = std::make_unique<StartUpRecord>(StartUpRecord{recordSize, nullptr, 0});
  return library_->CeRapiInitEx(record_.get());
}

void DllRapi::GiveUpAttempt() {
  caller_ = nullptr;
  (void)record_.release();  // not freed: the library may write to it at any time
}

std::uint32_t DllRapi::WaitForSingleObject(RapiHandle event, std::uint32_t milliseconds) {
  const DWORD result = ::WaitForSingleObject(SystemHandle(event), milliseconds);
  const bool isOurs = caller_ != nullptr && caller_->heRapiInit == event;
  if (!isOurs || result == WAIT_TIMEOUT) return result;
  caller_->hrRapiInit = record_->Result();
  caller_ = nullptr;
  if (result == WAIT_OBJECT_0) record_.reset();
  return result;
}

std::int32_t DllRapi::CeRapiUninit() {
  GiveUpAttempt();
  started_ = false;
  return library_ == nullptr ? loadError_ : library_->CeRapiUninit();
}

std::int32_t DllRapi::CeRapiGetError() {
  return library_ == nullptr ? loadError_ : library_->CeRapiGetError();
}

RapiHandle DllRapi::CeFindFirstFile(const std::string& path) {
  if (library_ == nullptr) return kInvalidRapiHandle;
  FindData found = {};
  return OwnHandle(library_->CeFindFirstFile(platform::Wide(path).c_str(), &found));
}

RapiHandle DllRapi::CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode,
                                 std::uint32_t securityAttributes, std::uint32_t disposition,
                                 std::uint32_t flagsAndAttributes) {
  if (library_ == nullptr) return kInvalidRapiHandle;
  const auto security = reinterpret_cast<LPSECURITY_ATTRIBUTES>(static_cast<std::uintptr_t>(securityAttributes));
  return OwnHandle(library_->CeCreateFile(platform::Wide(path).c_str(), access, shareMode, security, disposition,
                                          flagsAndAttributes, nullptr));
}

std::uint32_t DllRapi::CeGetFileSize(RapiHandle file) {
  return library_ == nullptr ? rapi::kNoFileSize : library_->CeGetFileSize(SystemHandle(file), nullptr);
}

std::int32_t DllRapi::CeReadFile(RapiHandle file, ByteSpan out, std::uint32_t& bytesRead) {
  std::fill(out.begin(), out.end(), std::uint8_t{0});  // the library may fill less than it says
  DWORD count = 0;
  const BOOL result = library_ == nullptr ? FALSE
                                          : library_->CeReadFile(SystemHandle(file), out.data(),
                                                                 static_cast<DWORD>(out.size()), &count, nullptr);
  bytesRead = count;
  return result;
}

std::int32_t DllRapi::CeWriteFile(RapiHandle file, ByteView data, std::uint32_t& bytesWritten) {
  DWORD count = 0;
  const BOOL result = library_ == nullptr ? FALSE
                                          : library_->CeWriteFile(SystemHandle(file), data.data(),
                                                                  static_cast<DWORD>(data.size()), &count, nullptr);
  bytesWritten = count;
  return result;
}

std::int32_t DllRapi::CeCloseHandle(RapiHandle handle) {
  return library_ == nullptr ? FALSE : library_->CeCloseHandle(SystemHandle(handle));
}

std::int32_t DllRapi::CeFindClose(RapiHandle handle) {
  const bool isThere = library_ != nullptr && library_->CeFindClose != nullptr;
  return isThere ? library_->CeFindClose(SystemHandle(handle)) : FALSE;
}

std::int32_t DllRapi::CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) {
  entries.clear();
  if (library_ == nullptr || !library_->CanList()) return FALSE;
  constexpr DWORD kWanted = kAttributes | kLastWriteTime | kSizeHigh | kSizeLow | kName;
  DWORD count = 0;
  FindData* found = nullptr;
  const BOOL listed = library_->CeFindAllFiles(platform::Wide(pattern).c_str(), kWanted, &count, &found);
  if (!listed) return NothingFits() ? rapi::kDone : FALSE;
  if (found == nullptr) return rapi::kDone;
  for (DWORD i = 0; i < count; ++i) entries.push_back(EntryOf(found[i]));
  library_->CeRapiFreeBuffer(found);
  return rapi::kDone;
}

bool DllRapi::NothingFits() {
  if (library_->CeRapiGetError() != 0) return false;
  const DWORD error = library_->CeGetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_NO_MORE_FILES;
}

std::int32_t DllRapi::DescribeHandheld(HandheldFacts& facts) {
  facts = {};
  if (library_ == nullptr) return FALSE;
  if (library_->CeGetVersionEx == nullptr) return rapi::kDone;
  VersionInfo version = {};
  version.dwOSVersionInfoSize = sizeof version;
  if (!library_->CeGetVersionEx(&version)) return FALSE;
  facts.system = SystemVersion{version.dwMajorVersion, version.dwMinorVersion, version.dwBuildNumber};
  return rapi::kDone;
}

}  // namespace mv
