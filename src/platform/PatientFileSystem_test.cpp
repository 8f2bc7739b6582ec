#include "platform/PatientFileSystem.h"

#include <gtest/gtest.h>

#include <functional>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/FakeClock.h"
#include "support/MemoryFileSystem.h"

namespace mv::platform {
namespace {

using mv::testing::ErrorNumberOf;

class PatientFileSystemTest : public ::testing::Test {
 protected:
  PatientFileSystemTest() { memory_.Put("C:\\a", {1, 2, 3}); }

  std::unique_ptr<File> Hold() { return memory_.Open("C:\\a", Access::Read, Disposition::OpenExisting, Sharing::None); }
  std::unique_ptr<File> Open() { return files_.Open("C:\\a", Access::Read, Disposition::OpenExisting, Sharing::None); }

  mv::testing::MemoryFileSystem memory_;
  mv::testing::FakeClock clock_;
  PatientFileSystem files_{memory_, clock_};
};

TEST_F(PatientFileSystemTest, AFreeFileIsOpenedAtOnce) {
  EXPECT_EQ(Open()->Size(), 3u);
  EXPECT_EQ(clock_.Slept(), std::chrono::milliseconds(0));
}

TEST_F(PatientFileSystemTest, AFileHeldForAMomentIsOpenedWhenItIsLetGo) {
  std::unique_ptr<File> held = Hold();
  clock_.whileAsleep = [&] { held.reset(); };
  EXPECT_EQ(Open()->Size(), 3u);
  EXPECT_EQ(clock_.Slept(), PatientFileSystem::kPause);
}

TEST_F(PatientFileSystemTest, AFileHeldForTwoSecondsIsError70) {
  const std::unique_ptr<File> held = Hold();
  EXPECT_EQ(ErrorNumberOf([&] { Open(); }), errors::kPermissionDenied);
  EXPECT_EQ(clock_.Slept(), PatientFileSystem::kPatience);
}

TEST_F(PatientFileSystemTest, AFileLetGoInTheLastMomentIsOpened) {
  std::unique_ptr<File> held = Hold();
  clock_.whileAsleep = [&] {
    if (clock_.Slept() == PatientFileSystem::kPatience) held.reset();
  };
  EXPECT_EQ(Open()->Size(), 3u);
}

TEST_F(PatientFileSystemTest, OtherErrorsAreRaisedAtOnce) {
  for (const std::int32_t error : {errors::kPathFileAccess, errors::kDeviceIo, errors::kDiskFull}) {
    memory_.FailOpens("C:\\a", 1, 1, error);
    EXPECT_EQ(ErrorNumberOf([&] { Open(); }), error);
  }
  EXPECT_EQ(ErrorNumberOf([&] { files_.RemoveFile("C:\\missing"); }), errors::kFileNotFound);
  EXPECT_EQ(clock_.Slept(), std::chrono::milliseconds(0));
}

TEST_F(PatientFileSystemTest, MovingRemovingCopyingAndWritingWaitAsWell) {
  memory_.Put("C:\\b", {9});
  const auto whileHeld = [&](const char* what, const auto& action) {
    std::unique_ptr<File> held = Hold();
    clock_.whileAsleep = [&] { held.reset(); };
    EXPECT_NO_THROW(action()) << what;
    EXPECT_EQ(held, nullptr) << what << " did not wait";
  };
  whileHeld("copying from it", [&] { files_.CopyWhole("C:\\a", "C:\\c"); });
  whileHeld("copying over it", [&] { files_.CopyWhole("C:\\b", "C:\\a"); });
  whileHeld("writing it", [&] { files_.WriteWhole("C:\\a", Bytes{7}); });
  whileHeld("moving over it", [&] { files_.RenameFile("C:\\b", "C:\\a"); });
  whileHeld("removing it", [&] { files_.RemoveFile("C:\\a"); });
}

std::string SubjectOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& error) {
    return error.Subject();
  }
  return "no error";
}

TEST_F(PatientFileSystemTest, AnErrorSaysWhichFileItIsAbout) {
  EXPECT_EQ(SubjectOf([&] { files_.RemoveFile("C:\\none"); }), "C:\\none");
  EXPECT_EQ(SubjectOf([&] { files_.RenameFile("C:\\none", "C:\\b"); }), "C:\\none");
  EXPECT_EQ(SubjectOf([&] { files_.CopyWhole("C:\\none", "C:\\b"); }), "C:\\none");
  EXPECT_EQ(SubjectOf([&] { files_.CopyWhole("C:\\a", "C:\\none\\b"); }), "C:\\none\\b");
  const std::unique_ptr<File> held = Hold();
  EXPECT_EQ(SubjectOf([&] { Open(); }), "C:\\a");
}

}  // namespace
}  // namespace mv::platform
