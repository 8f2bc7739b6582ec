#include "platform/windows/SystemError.h"

#include <windows.h>

#include <string>

namespace mv::platform {

Error ErrorFromCode(unsigned long code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
      return StandardError(errors::kFileNotFound);
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_FILENAME_EXCED_RANGE:
      return StandardError(errors::kPathNotFound);
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
      return StandardError(errors::kPermissionDenied);
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
    case ERROR_DIRECTORY:
      return StandardError(errors::kPathFileAccess);
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return StandardError(errors::kDiskFull);
    default:
      return Error(errors::kDeviceIo, "", "Device I/O error: system error " + std::to_string(code));
  }
}

Error LastError() {
  return ErrorFromCode(::GetLastError());
}

}  // namespace mv::platform
