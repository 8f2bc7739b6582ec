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

}  // namespace mv::platform
