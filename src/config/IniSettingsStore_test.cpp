#include "config/IniSettingsStore.h"

#include <gtest/gtest.h>

#include <map>

#include "support/ExpectError.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

class IniSettingsStoreTest : public ::testing::Test {
 protected:
  testing::TempFolder folder_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  IniSettingsStore store_{*files_, folder_.File("config")};
};

TEST_F(IniSettingsStoreTest, WithoutAFileOrFolderEveryKeyIsMissing) {
  EXPECT_EQ(store_.GetSetting("Motorva32", "General", "DBPath"), std::nullopt);
  EXPECT_FALSE(folder_.Has("config"));
}

TEST_F(IniSettingsStoreTest, TheFirstSaveMakesFolderAndFile) {
  store_.SaveSetting("Motorva32", "PPC_Mobile", "SyncMode", "2");
  EXPECT_EQ(folder_.Read("config/Motorva32.ini"), "[PPC_Mobile]\nSyncMode=2\n");
  EXPECT_EQ(store_.GetSetting("Motorva32", "PPC_Mobile", "SyncMode"), "2");
}

TEST_F(IniSettingsStoreTest, NamesAreThoseInTheFileAndThePlaceIsItsPath) {
  EXPECT_TRUE(store_.Names("Motorva32").empty());
  folder_.Write("config/Motorva32.ini", "[handheld]\nRooot=/card\n[Mine]\nColor=red\nColor=blue\n");
  EXPECT_EQ(store_.Names("Motorva32"),
            (std::vector<SettingName>{{"handheld", "Rooot"}, {"Mine", "Color"}, {"Mine", "Color"}}));
  EXPECT_EQ(IniSettingsStore(*files_, "/home/kim/.config").PlaceOf("Motorva32"), "/home/kim/.config/Motorva32.ini");
}

TEST_F(IniSettingsStoreTest, EachApplicationHasAFileOfItsOwn) {
  store_.SaveSetting("Motorva32", "S", "A", "1");
  store_.SaveSetting("Another", "S", "A", "2");
  EXPECT_EQ(folder_.Read("config/Another.ini"), "[S]\nA=2\n");
  EXPECT_EQ(store_.GetSetting("Motorva32", "S", "A"), "1");
}

TEST_F(IniSettingsStoreTest, AHandEditedFileIsReadAndKeptButForTheSavedKeys) {
  folder_.Write("config/Motorva32.ini",
                "\xEF\xBB\xBF# my garage\r\n[GENERAL]\r\n  dbpath = C:\\Cars \r\n\r\n[Mine]\r\nColor=\xC3\xA9\r\n");
  EXPECT_EQ(store_.GetSetting("Motorva32", "General", "DBPath"), "C:\\Cars");
  store_.SaveSetting("Motorva32", "PPC_Mobile", "LastSync", " 21.11.2026");
  store_.SaveSetting("Motorva32", "General", "DBPath", "D:\\");
  EXPECT_EQ(folder_.Read("config/Motorva32.ini"),
            "\xEF\xBB\xBF# my garage\r\n[GENERAL]\r\n  dbpath = D:\\ \r\n\r\n[Mine]\r\nColor=\xC3\xA9\r\n\r\n"
            "[PPC_Mobile]\r\nLastSync=\" 21.11.2026\"\r\n");
}

TEST_F(IniSettingsStoreTest, WhatTheUserEditsMeanwhileIsSeenAndKept) {
  store_.SaveSetting("Motorva32", "S", "A", "1");
  folder_.Write("config/Motorva32.ini", "[S]\nA=5\nB=6\n");
  EXPECT_EQ(store_.GetSetting("Motorva32", "S", "A"), "5");
  store_.SaveSetting("Motorva32", "S", "A", "7");
  EXPECT_EQ(folder_.Read("config/Motorva32.ini"), "[S]\nA=7\nB=6\n");
}

TEST_F(IniSettingsStoreTest, SavingWhatIsStoredDoesNotTouchTheFile) {
  folder_.Write("config/Motorva32.ini", "[S]\nA=1\n");
  const auto held = files_->Open(folder_.File("config\\Motorva32.ini"), platform::Access::Read,
                                 platform::Disposition::OpenExisting, platform::Sharing::Read);
  EXPECT_NO_THROW(store_.SaveSetting("Motorva32", "S", "A", "1"));
  EXPECT_EQ(ErrorNumberOf([&] { store_.SaveSetting("Motorva32", "S", "A", "2"); }), 70);
  EXPECT_EQ(folder_.Read("config/Motorva32.ini"), "[S]\nA=1\n");
}

TEST_F(IniSettingsStoreTest, AFolderInTheFilesPlaceIsAnErrorNotAnEmptyStore) {
  folder_.Write("config/Motorva32.ini/file", "");
  EXPECT_EQ(ErrorNumberOf([&] { store_.GetSetting("Motorva32", "S", "A"); }), 75);
  EXPECT_EQ(ErrorNumberOf([&] { store_.SaveSetting("Motorva32", "S", "A", "1"); }), 75);
}

TEST(SettingsFolderTest, TheFirstAbsolutePathCounts) {
  std::map<std::string, std::string> environment;
  const auto folder = [&] {
    return SettingsFolder(
        [&](const std::string& name) -> std::optional<std::string> {
          const auto found = environment.find(name);
          if (found == environment.end()) return std::nullopt;
          return found->second;
        },
        "/opt/motorva");
  };
  EXPECT_EQ(folder(), "/opt/motorva");
  environment["HOME"] = "/home/u";
  EXPECT_EQ(folder(), "/home/u\\.config");
  environment["XDG_CONFIG_HOME"] = "";
  EXPECT_EQ(folder(), "/home/u\\.config") << "empty counts as not set";
  environment["XDG_CONFIG_HOME"] = "relative/folder";
  EXPECT_EQ(folder(), "/home/u\\.config");
  environment["XDG_CONFIG_HOME"] = "/home/u/settings";
  EXPECT_EQ(folder(), "/home/u/settings");
}

}  // namespace
}  // namespace mv
