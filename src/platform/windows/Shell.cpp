#include "platform/Shell.h"

#include <windows.h>

#include <shellapi.h>

#include "platform/windows/Wide.h"

namespace mv::platform {

bool SystemShell::Recycle(const std::string& path) {
  // The list of names ends with an empty one: two zeros.
  std::wstring names = NativePath(path);
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
