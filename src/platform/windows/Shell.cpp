#include "platform/Shell.h"

#include <windows.h>

#include <shellapi.h>

#include "platform/windows/Wide.h"

namespace mv::platform {
namespace {

/// The shell would also take a folder with all that it holds, and "*" for every file.
bool IsFile(const std::wstring& native) {
  // What does not exist has every attribute set, that of folders too.
  return (::GetFileAttributesW(native.c_str()) & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

}  // namespace

bool SystemShell::Recycle(const std::string& path) {
  // The shell keeps what it removes only when it is given a full path.
  std::wstring names = FullPath(NativePath(path));
  if (!IsFile(names)) return false;
  // The list of names ends with an empty one: two zeros.
  names.push_back(L'\0');
  SHFILEOPSTRUCTW operation = {};
  operation.wFunc = FO_DELETE;
  operation.pFrom = names.c_str();
  operation.fFlags = FOF_ALLOWUNDO | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_SILENT;
  return ::SHFileOperationW(&operation) == 0 && !operation.fAnyOperationsAborted;
}

bool SystemShell::OpenDocument(const std::string& path) {
  // Not a handle: a number, which is 32 or less for most failures; 32 itself counts as success here.
  const HINSTANCE result = ::ShellExecuteW(nullptr, L"open", NativePath(path).c_str(), nullptr, nullptr, SW_SHOWNORMAL);
  constexpr INT_PTR kLowestSuccess = 32;
  return reinterpret_cast<INT_PTR>(result) >= kLowestSuccess;
}

}  // namespace mv::platform
