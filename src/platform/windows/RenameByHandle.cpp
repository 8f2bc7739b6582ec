#include "platform/windows/RenameByHandle.h"

#include <winternl.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace mv::platform {
namespace {

/// FILE_RENAME_INFORMATION, as the system publishes it.
struct RenameInformation {
  BOOLEAN replaceIfExists;
  HANDLE rootDirectory;
  ULONG fileNameLength;  ///< bytes
  WCHAR fileName[1];
};
constexpr int kFileRenameInformation = 10;

using SetInformationFile = NTSTATUS(NTAPI*)(HANDLE, PIO_STATUS_BLOCK, PVOID, ULONG, int);
using DosErrorOfStatus = ULONG(NTAPI*)(NTSTATUS);

template <typename Function>
Function FromNtDll(const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), name)));
}

/// The name by which the system's kernel knows a path: "\\?\C:\x" and "C:\x" as "\??\C:\x", "\\server\share" as
/// "\??\UNC\server\share".
std::wstring KernelName(const std::wstring& path) {
  constexpr std::wstring_view kVerbatim = LR"(\\?\)";
  constexpr std::wstring_view kShare = LR"(\\)";
  const std::wstring kernel = LR"(\??\)";
  if (path.starts_with(kVerbatim)) return kernel + path.substr(kVerbatim.size());
  if (path.starts_with(kShare)) return kernel + LR"(UNC\)" + path.substr(kShare.size());
  return kernel + path;
}

}  // namespace

unsigned long RenameByHandle(HANDLE file, const std::wstring& to, bool replaces) {
  const std::wstring name = KernelName(to);
  const std::size_t nameBytes = name.size() * sizeof(WCHAR);
  const std::size_t size = sizeof(RenameInformation) + nameBytes;
  // As 64-bit words, for the alignment of the structure in front.
  std::vector<std::uint64_t> buffer(size / sizeof(std::uint64_t) + 1);
  auto& information = *reinterpret_cast<RenameInformation*>(buffer.data());
  information.replaceIfExists = replaces ? TRUE : FALSE;
  information.fileNameLength = static_cast<ULONG>(nameBytes);
  std::memcpy(information.fileName, name.data(), nameBytes);

  IO_STATUS_BLOCK outcome = {};
  const NTSTATUS status = FromNtDll<SetInformationFile>("NtSetInformationFile")(
      file, &outcome, &information, static_cast<ULONG>(size), kFileRenameInformation);
  return status >= 0 ? ERROR_SUCCESS : FromNtDll<DosErrorOfStatus>("RtlNtStatusToDosError")(status);
}

}  // namespace mv::platform
