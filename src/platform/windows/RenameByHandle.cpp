#include "platform/windows/RenameByHandle.h"

#include <winternl.h>

#include <cstddef>
#include <cstring>
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

/// The name by which the system's kernel knows a path.
std::wstring KernelName(const std::wstring& path) {
  if (path.starts_with(LR"(\?\)")) return LR"(\??\)" + path.substr(4);
  if (path.starts_with(LR"(\)")) return LR"(\??\UNC\)" + path.substr(2);
  return LR"(\??\)" + path;
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
