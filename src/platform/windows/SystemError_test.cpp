#include "platform/windows/SystemError.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <utility>
#include <vector>

namespace mv::platform {
namespace {

TEST(SystemErrorTest, EachCodeIsTheErrorThatTheFileSystemPromises) {
  const std::vector<std::pair<DWORD, int>> numbers = {{ERROR_FILE_NOT_FOUND, 53},
                                                      {ERROR_PATH_NOT_FOUND, 76},
                                                      {ERROR_INVALID_NAME, 76},
                                                      {ERROR_BAD_PATHNAME, 76},
                                                      {ERROR_FILENAME_EXCED_RANGE, 76},
                                                      {ERROR_INVALID_DRIVE, 76},
                                                      {ERROR_BAD_NETPATH, 76},
                                                      {ERROR_BAD_NET_NAME, 76},
                                                      {ERROR_SHARING_VIOLATION, 70},
                                                      {ERROR_LOCK_VIOLATION, 70},
                                                      {ERROR_USER_MAPPED_FILE, 70},
                                                      {ERROR_ACCESS_DENIED, 75},
                                                      {ERROR_WRITE_PROTECT, 75},
                                                      {ERROR_ALREADY_EXISTS, 75},
                                                      {ERROR_FILE_EXISTS, 75},
                                                      {ERROR_DIRECTORY, 75},
                                                      {ERROR_DISK_FULL, 61},
                                                      {ERROR_HANDLE_DISK_FULL, 61},
                                                      {ERROR_NOT_READY, 57},
                                                      {ERROR_CRC, 57}};
  for (const auto& [code, number] : numbers) EXPECT_EQ(ErrorFromCode(code).Number(), number) << code;
}

TEST(SystemErrorTest, ACodeWithoutAnErrorOfItsOwnIsInTheText) {
  EXPECT_EQ(ErrorFromCode(ERROR_CRC).Description(), "Device I/O error: system error 23");
}

TEST(SystemErrorTest, TheLastErrorIsThatOfThisThread) {
  ::SetLastError(ERROR_DISK_FULL);
  EXPECT_EQ(LastError().Number(), 61);
}

}  // namespace
}  // namespace mv::platform
