#include "fileio/cFileIO.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "platform/windows/Wide.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

/// The file object over the system's own calls.
class cFileIOOnWindows : public ::testing::Test {
 protected:
  cFileIOOnWindows() : files_(platform::MakeFileSystem()), file_(*files_, shell_, folder_.Path()) {}

  std::int32_t ErrorNumber() const {
    std::string text;
    std::int32_t number = 0;
    file_.ReadErrorHandler(text, number);
    return number;
  }

  testing::TempFolder folder_;
  std::unique_ptr<platform::FileSystem> files_;
  platform::SystemShell shell_;
  cFileIO file_;
};

/// Another opener that forgoes every share of its own.
bool OthersCanRead(const std::string& path) {
  const HANDLE handle =
      ::CreateFileW(platform::Wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  ::CloseHandle(handle);
  return true;
}

TEST_F(cFileIOOnWindows, AnOpenFileIsSharedWithNobodyInAnyMode) {
  folder_.Write("some", "abc");
  for (const char* mode : {"R", "W", "RW", ""}) {
    ASSERT_TRUE(file_.OpenFile(folder_.File("some"), mode));
    EXPECT_FALSE(OthersCanRead(folder_.File("some"))) << mode;
    file_.SetCursorPos(3);
    file_.CloseFile();
    EXPECT_TRUE(OthersCanRead(folder_.File("some"))) << mode;
  }
}

TEST_F(cFileIOOnWindows, OpeningKeepsTheContentAndClosingCutsItAtTheCursor) {
  folder_.Write("some", std::string(500, 'x'));
  ASSERT_TRUE(file_.OpenFile(folder_.File("some"), "RW"));
  EXPECT_EQ(file_.FileSize(), 500);
  EXPECT_TRUE(file_.WriteByteArray(Bytes(100, 'y')));
  EXPECT_TRUE(file_.CloseFile());
  EXPECT_EQ(folder_.Read("some"), std::string(100, 'y'));
}

TEST_F(cFileIOOnWindows, AFileThatSomebodyHoldsCannotBeOpened) {
  folder_.Write("some", "abc");
  const HANDLE held = ::CreateFileW(platform::Wide(folder_.File("some")).c_str(), GENERIC_READ, 0, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_FALSE(file_.OpenFile(folder_.File("some"), "R"));
  EXPECT_EQ(ErrorNumber(), errors::kPermissionDenied);
  ::CloseHandle(held);
  EXPECT_TRUE(file_.OpenFile(folder_.File("some"), "R"));
}

TEST_F(cFileIOOnWindows, RecycleTakesTheFileAway) {
  folder_.Write("some", "abc");
  file_.FullFileName(folder_.File("some"));
  EXPECT_TRUE(file_.Recycle());
  EXPECT_FALSE(folder_.Has("some"));
}

TEST_F(cFileIOOnWindows, IniValuesGoThroughTheSystemsCalls) {
  folder_.Write("set.ini", "[S]\r\nA=" + std::string(120, 'x') + "\r\nB=\" q \"\r\n");
  const std::string ini = folder_.File("set.ini");
  EXPECT_EQ(file_.ReadINI(ini, "s", "a"), std::string(99, 'x'));
  EXPECT_EQ(file_.ReadINI(ini, "S", "B"), " q ");
  EXPECT_EQ(file_.ReadINI(ini, "S", "C", std::string(120, 'y')), std::string(99, 'y'));
  EXPECT_EQ(file_.ReadINI(ini, "S", "C"), "");
  EXPECT_NE(ErrorNumber(), 0);

  EXPECT_TRUE(file_.WriteIni(ini, "S", "C", " padded "));
  EXPECT_EQ(file_.ReadINI(ini, "S", "C"), " padded ");
  EXPECT_TRUE(file_.DeleteIni(ini, "S", "C"));
  const std::vector<IniDocument::Entry> left = {{"A", std::string(120, 'x')}, {"B", " q "}};
  EXPECT_EQ(file_.ReadINISection(ini, "S"), left);
  EXPECT_TRUE(file_.DeleteIniAll(ini, "S"));
  EXPECT_TRUE(file_.ReadINISection(ini, "S").empty());
}

TEST_F(cFileIOOnWindows, AMissingIniFileIsCreatedEmpty) {
  EXPECT_EQ(file_.ReadINI(folder_.File("new.ini"), "S", "A", "x"), "x");
  EXPECT_EQ(folder_.Read("new.ini"), "");
}

}  // namespace
}  // namespace mv
