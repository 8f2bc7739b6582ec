#include "ui/posix/WindowLoader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>

#include "support/TempFolder.h"
#include "ui/frmMainView.h"

namespace mv {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class NoWindows : public Toolkit {
 public:
  std::unique_ptr<frmMainView> MakeMainView(frmMain&) override { return nullptr; }
};

class FakePart : public WindowPart {
 public:
  explicit FakePart(std::function<void()> tryDisplay) : tryDisplay_(std::move(tryDisplay)) {}
  void TryDisplay() override { tryDisplay_(); }
  std::unique_ptr<Toolkit> MakeToolkit(int) override { return std::make_unique<NoWindows>(); }

 private:
  std::function<void()> tryDisplay_;
};

FoundToolkit FindWith(std::function<void()> tryDisplay) {
  return FindToolkit(std::make_unique<FakePart>(std::move(tryDisplay)));
}

void Say(const char* text) {
  ASSERT_GT(::write(STDERR_FILENO, text, std::char_traits<char>::length(text)), 0);
}

TEST(WindowLoaderTest, ThePartIsLookedForBesideTheProgramAndInTheLibraryFolders) {
  const auto places = WindowPartPlaces("/opt/bin");
  ASSERT_GE(places.size(), 2U);
  EXPECT_EQ(places[0], "/opt/bin/libmvppcsync-window.so");
  EXPECT_EQ(places[1], "/opt/bin/../lib/mvppcsync/libmvppcsync-window.so");
  EXPECT_THAT(places.back(), StartsWith("/opt/bin/../lib/"));
}

TEST(WindowLoaderTest, ADisplayThatAnswersGivesTheToolkit) {
  const FoundToolkit found = FindWith([] {});
  EXPECT_NE(found.toolkit, nullptr);
  EXPECT_EQ(found.reason, "");
}

TEST(WindowLoaderTest, APartThatEndsItsProcessEndsTheTestAlone) {
  const FoundToolkit found = FindWith([] {
    Say("could not connect to display :9\nThis program has no way to go on.\n");
    std::abort();
  });
  EXPECT_EQ(found.toolkit, nullptr);
  EXPECT_EQ(found.reason, "could not connect to display :9");
}

TEST(WindowLoaderTest, APartThatEndsWithoutAWordIsADisplayThatDoesNotAnswer) {
  EXPECT_EQ(FindWith([] { ::_exit(1); }).reason, "the display does not answer");
}

TEST(WindowLoaderTest, WarningsOfADisplayThatAnswersAreNoReason) {
  const FoundToolkit found = FindWith([] { Say("some setting is not what it could be\n"); });
  EXPECT_NE(found.toolkit, nullptr);
}

TEST(WindowLoaderTest, WithoutADisplayNothingIsLoaded) {
  ::unsetenv("DISPLAY");
  ::unsetenv("WAYLAND_DISPLAY");
  EXPECT_EQ(FindToolkit(std::vector<std::string>{"/none"}).reason, "there is no display");
}

TEST(WindowLoaderTest, AMissingPartIsNamedByItsPackage) {
  ::setenv("DISPLAY", ":987", 1);
  const FoundToolkit found = FindToolkit(std::vector<std::string>{"/none/a", "/none/b"});
  EXPECT_EQ(found.toolkit, nullptr);
  EXPECT_THAT(found.reason, HasSubstr("package mvppcsync-window"));
}

TEST(WindowLoaderTest, AFileThatIsNoPartIsNamed) {
  ::setenv("DISPLAY", ":987", 1);
  const testing::TempFolder folder;
  folder.Write("part.so", "no library");
  EXPECT_THAT(FindToolkit(std::vector<std::string>{folder.Path() + "/part.so"}).reason, HasSubstr("part.so"));
}

}  // namespace
}  // namespace mv
