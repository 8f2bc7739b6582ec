#include "platform/PrivateFiles.h"

#include <windows.h>

#include "base/Error.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "platform/windows/FileRights.h"
#include "platform/windows/Handle.h"
#include "platform/windows/SystemError.h"
#include "platform/windows/Wide.h"

/// The system's source of random bytes, under the only name that it has in all versions of the library.
extern "C" BOOLEAN NTAPI SystemFunction036(PVOID buffer, ULONG length);

namespace mv::platform {
namespace {

constexpr const char* kFolderName = "\\MVPPCSync";

}  // namespace

bool OthersMayRead(const std::string& path) {
  if (::GetFileAttributesW(NativePath(path).c_str()) == INVALID_FILE_ATTRIBUTES)
    throw StandardError(errors::kFileNotFound, path);
  return OthersHaveRights(NativePath(path));
}

std::string PrivateRuntimeFolder() {
  // The oldest systems lack the first; the second is the user's own there too.
  std::string folder = EnvironmentVariable("LOCALAPPDATA").value_or("");
  if (folder.empty()) folder = EnvironmentVariable("APPDATA").value_or("");
  if (folder.empty()) throw StandardError(errors::kPathNotFound, "LOCALAPPDATA");
  folder += kFolderName;
  MakeFileSystem()->CreateFolders(folder);
  return folder;
}

void WritePrivateFile(const std::string& path, ByteView content) {
  const std::wstring native = NativePath(path);
  ::DeleteFileW(native.c_str());
  OwnersRights rights;
  const Handle file(
      ::CreateFileW(native.c_str(), GENERIC_WRITE, 0, rights.Attributes(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  if (!file.IsOpen() || !::WriteFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr))
    throw LastError();
}

Bytes RandomBytes(std::size_t count) {
  Bytes bytes(count);
  if (!SystemFunction036(bytes.data(), static_cast<ULONG>(count))) throw StandardError(errors::kDeviceIo);
  return bytes;
}

}  // namespace mv::platform
