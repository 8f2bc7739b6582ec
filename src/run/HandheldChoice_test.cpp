#include "run/HandheldChoice.h"

#include <gtest/gtest.h>

#include "base/Text.h"
#include "device/NoRapi.h"
#include "device/wire/WireRapi.h"
#include "platform/PrivateFiles.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

class HandheldChoiceTest : public ::testing::Test {
 protected:
  std::string Kind(bool systemHasRapi) {
    const ChosenHandheld chosen = Choose(systemHasRapi);
    EXPECT_EQ(chosen.rapi.get() == chosen.folder, chosen.folder != nullptr);
    if (chosen.folder != nullptr) return "folder";
    if (dynamic_cast<NoRapi*>(chosen.rapi.get()) != nullptr) return "library";
    return dynamic_cast<wire::WireRapi*>(chosen.rapi.get()) != nullptr ? "network" : "?";
  }
  ChosenHandheld Choose(bool systemHasRapi) {
    return ChooseHandheld(settings_, {files_, [] { return std::make_unique<NoRapi>(); }, systemHasRapi});
  }
  std::string Complaint() {
    return std::string(testing::ErrorOf([&] { Choose(false); }).Description());
  }

  testing::MemoryFileSystem files_;
  HandheldSettings settings_;
};

TEST_F(HandheldChoiceTest, FolderComesFirstThenTheLibraryThenTheNetwork) {
  EXPECT_EQ(Kind(true), "library");
  EXPECT_EQ(Kind(false), "library") << "one that never answers";
  settings_.listen = {{{127, 0, 0, 1}, 8}};
  EXPECT_EQ(Kind(true), "library");
  EXPECT_EQ(Kind(false), "network");
  settings_.root = "D:\\card";
  EXPECT_EQ(Kind(true), "folder");
  EXPECT_EQ(Kind(false), "folder");
}

TEST_F(HandheldChoiceTest, AFolderThatCannotAnswerSaysWhy) {
  settings_.root = "D:\\card";
  EXPECT_EQ(
      ObstaclesOf(Choose(false)),
      std::vector<std::string>{"\"D:\\card\", the Root of [Handheld], is no folder: put the card in and mount it, or "
                               "correct Root"});
  files_.CreateFolders("D:\\card");
  EXPECT_EQ(
      ObstaclesOf(Choose(false)),
      std::vector<std::string>{"\"D:\\card\", the Root of [Handheld], is empty, as a mount point without its card "
                               "is: put the card in and mount it"});
  files_.Put("D:\\card\\a.txt", {1});
  EXPECT_TRUE(ObstaclesOf(Choose(false)).empty());
}

TEST_F(HandheldChoiceTest, WithoutAnyHandheldInTheSettingsThatIsSaid) {
  EXPECT_EQ(ObstaclesOf(Choose(false)).size(), 1u);
  EXPECT_TRUE(ObstaclesOf(Choose(true)).empty()) << "the library may have one";
}

TEST_F(HandheldChoiceTest, WayThatIsSetIsTaken) {
  settings_.root = "D:\\card";
  settings_.way = HandheldWay::Network;
  EXPECT_EQ(Kind(true), "network");
  settings_.way = HandheldWay::Library;
  EXPECT_EQ(Kind(true), "library");
  settings_.way = HandheldWay::Folder;
  EXPECT_EQ(Kind(true), "folder");
}

TEST_F(HandheldChoiceTest, WayThatCannotBeIsRefused) {
  settings_.way = HandheldWay::Folder;
  EXPECT_EQ(Complaint(), "the setting Connection of [Handheld] is \"folder\", but Root names none");
  settings_.way = HandheldWay::Library;
  EXPECT_EQ(Complaint(), "the setting Connection of [Handheld] is \"library\", but this system has none");
}

TEST_F(HandheldChoiceTest, SettingsOfTheNetworkGoIntoItsOptions) {
  settings_.listen = {{{10, 0, 0, 1}, 16}};
  settings_.handhelds = {{10, 0, 0, 2}};
  settings_.ports = {1001, 1002, 1003, 1004};
  settings_.blockSize = 8192;
  settings_.wait = std::chrono::seconds(7);
  const wire::WireOptions options = WireOptionsOf(settings_, files_);
  ASSERT_EQ(options.links.size(), 1U);
  EXPECT_EQ(options.links[0].desktop, (std::array<std::uint8_t, 4>{10, 0, 0, 1}));
  EXPECT_EQ(options.links[0].prefixLength, 16);
  EXPECT_EQ(options.handhelds, settings_.handhelds);
  EXPECT_EQ(options.ports.controlA, 1001);
  EXPECT_EQ(options.ports.controlB, 1002);
  EXPECT_EQ(options.ports.callsA, 1003);
  EXPECT_EQ(options.ports.wakeUpB, 1004);
  EXPECT_EQ(options.blockSize, 8192U);
  EXPECT_FALSE(options.password);
  EXPECT_EQ(Choose(false).wait, std::chrono::seconds(7));
}

TEST_F(HandheldChoiceTest, WithoutAddressesTheCustomaryOnesAreListenedAt) {
  EXPECT_EQ(WireOptionsOf(settings_, files_).links.size(), wire::CustomaryLinks().size());
}

TEST_F(HandheldChoiceTest, PasswordIsTheFirstLineOfItsFile) {
  const testing::TempFolder folder;
  const auto files = platform::MakeFileSystem();
  settings_.passwordFile = folder.File("password");
  settings_.way = HandheldWay::Network;
  EXPECT_EQ(Complaint(),
            "the setting PasswordFile of [Handheld]: there is no file \"" + ShownPath(settings_.passwordFile) + "\"");
  const std::string text = "1234\r\nmore\n";
  platform::WritePrivateFile(settings_.passwordFile, Bytes(text.begin(), text.end()));
  EXPECT_EQ(WireOptionsOf(settings_, *files).password(), "1234");
}

}  // namespace
}  // namespace mv
