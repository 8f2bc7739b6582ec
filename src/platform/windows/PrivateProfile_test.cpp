#include "platform/windows/PrivateProfile.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "platform/FileSystem.h"
#include "support/ExpectError.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::TempFolder;

constexpr std::size_t kLongest = 99;

class PrivateProfileTest : public ::testing::Test {
 protected:
  std::optional<std::string> Read(const std::string& key) { return profile_.Read(ini_, "S", key, kLongest); }

  TempFolder folder_;
  std::string ini_ = folder_.File("set.ini");
  WindowsPrivateProfile profile_;
};

TEST_F(PrivateProfileTest, TheFileSystemHandsItOut) {
  const auto files = MakeFileSystem();
  ASSERT_NE(files->Profiles(), nullptr);
  folder_.Write("set.ini", "[S]\r\nA=1\r\n");
  EXPECT_EQ(files->Profiles()->Read(ini_, "S", "A", kLongest), "1");
}

TEST_F(PrivateProfileTest, AMissingKeyIsNothingAndAnEmptyOneIsEmpty) {
  folder_.Write("set.ini", "[S]\r\nEmpty=\r\n");
  EXPECT_EQ(Read("Empty"), "");
  EXPECT_EQ(Read("None"), std::nullopt);
  EXPECT_EQ(profile_.Read(ini_, "T", "A", kLongest), std::nullopt);
  EXPECT_EQ(profile_.Read(folder_.File("none.ini"), "S", "A", kLongest), std::nullopt);
  EXPECT_FALSE(folder_.Has("none.ini"));
}

TEST_F(PrivateProfileTest, TheBufferHoldsTheLongestValueAndItsClosingZero) {
  folder_.Write("set.ini", "[S]\r\nA=" + std::string(120, 'x') + "\r\nB=" + std::string(99, 'y') + "\r\n");
  EXPECT_EQ(Read("A"), std::string(99, 'x'));
  EXPECT_EQ(Read("B"), std::string(99, 'y'));
}

TEST_F(PrivateProfileTest, TheCutLeavesNoHalfOfACharacter) {
  folder_.Write("set.ini", std::string_view("\xFF\xFE[\0S\0]\0\r\0\n\0", 12));
  profile_.Write(ini_, "S", "A", std::string(98, 'x') + "\xF0\x9F\x9A\x97");
  EXPECT_EQ(Read("A"), std::string(98, 'x'));
}

TEST_F(PrivateProfileTest, TheSystemTakesOnePairOfQuotesOff) {
  folder_.Write("set.ini", "[S]\r\nA=\" x \"\r\nB=' y '\r\nC =  z  \r\n");
  EXPECT_EQ(Read("a"), " x ");
  EXPECT_EQ(Read("B"), " y ");
  EXPECT_EQ(Read("C"), "z");
}

TEST_F(PrivateProfileTest, EveryValueOfOneLineReadsBackAsItWasSet) {
  for (const std::string value : {"plain", " x ", "\"quoted\"", "'single'", "\tx", "", "a=b;c", "caf\xC3\xA9"}) {
    profile_.Write(ini_, "S", "A", value);
    EXPECT_EQ(Read("A"), value);
  }
}

TEST_F(PrivateProfileTest, AChangeIsInTheFileAtOnce) {
  profile_.Write(ini_, "S", "A", "caf\xC3\xA9");
  EXPECT_NE(folder_.Read("set.ini").find("[S]\r\nA=caf\xE9\r\n"), std::string::npos);
  profile_.RemoveKey(ini_, "s", "a");
  EXPECT_EQ(folder_.Read("set.ini").find("caf"), std::string::npos);
}

TEST_F(PrivateProfileTest, AUtf16FileStaysOne) {
  folder_.Write("set.ini", std::string_view("\xFF\xFE[\0S\0]\0\r\0\n\0", 12));
  profile_.Write(ini_, "S", "A", "\xD0\x96");
  EXPECT_EQ(Read("A"), "\xD0\x96");
  EXPECT_TRUE(folder_.Read("set.ini").starts_with(std::string_view("\xFF\xFE[\0", 4)));
}

TEST_F(PrivateProfileTest, SectionListsItsKeysWithWholeValues) {
  const std::string longValue(5000, 'x');
  folder_.Write("set.ini", "[S]\r\nA = 1\r\n; note=no\r\nB=\" q \"\r\nC=" + longValue + "\r\n[T]\r\nD=2\r\n");
  const std::vector<PrivateProfile::Entry> expected = {{"A", "1"}, {"B", " q "}, {"C", longValue}};
  EXPECT_EQ(profile_.Section(ini_, "s"), expected);
  EXPECT_TRUE(profile_.Section(ini_, "none").empty());
  EXPECT_TRUE(profile_.Section(folder_.File("none.ini"), "S").empty());
}

TEST_F(PrivateProfileTest, RemovingTakesAKeyOrASectionAndNothingElse) {
  folder_.Write("set.ini", "[S]\r\nA=1\r\nB=2\r\n[T]\r\nC=3\r\n");
  profile_.RemoveKey(ini_, "S", "A");
  EXPECT_EQ(Read("A"), std::nullopt);
  EXPECT_EQ(Read("B"), "2");
  profile_.RemoveSection(ini_, "S");
  EXPECT_EQ(Read("B"), std::nullopt);
  EXPECT_EQ(profile_.Read(ini_, "T", "C", kLongest), "3");
}

TEST_F(PrivateProfileTest, RemovingWhatIsNotThereMakesNoFile) {
  profile_.RemoveKey(ini_, "S", "A");
  profile_.RemoveSection(ini_, "S");
  EXPECT_FALSE(folder_.Has("set.ini"));
}

TEST_F(PrivateProfileTest, ANameThatIsNoFullPathIsLookedForInTheCurrentFolder) {
  wchar_t before[MAX_PATH] = {};
  ::GetCurrentDirectoryW(MAX_PATH, before);
  folder_.Write("set.ini", "[S]\r\nA=1\r\n");
  ASSERT_TRUE(::SetCurrentDirectoryA(folder_.Path().c_str()));
  EXPECT_EQ(profile_.Read("set.ini", "S", "A", kLongest), "1");
  ::SetCurrentDirectoryW(before);
}

TEST_F(PrivateProfileTest, WhatCannotBeWrittenIsAnError) {
  EXPECT_EQ(ErrorNumberOf([&] { profile_.Write(ini_, "S", "A", "1\r\n[T]"); }), errors::kInvalidProcedureCall);
  EXPECT_FALSE(folder_.Has("set.ini"));
  EXPECT_NE(ErrorNumberOf([&] { profile_.Write(folder_.File("none\\set.ini"), "S", "A", "1"); }), 0);
}

}  // namespace
}  // namespace mv::platform
