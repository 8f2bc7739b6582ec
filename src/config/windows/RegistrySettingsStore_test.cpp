#include "config/windows/RegistrySettingsStore.h"

#include <gtest/gtest.h>

#include "config/Settings.h"
#include "config/UserSettings.h"
#include "config/windows/RegistryTestKey.h"
#include "support/ExpectError.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

using testing::ErrorOf;
using testing::RegistryTestKey;

/// The bytes of a text in the registry, without a closing zero.
std::string Units(const std::string& text) {
  const std::wstring wide = platform::Wide(text);
  return std::string(reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(wchar_t));
}

class RegistrySettingsStoreTest : public ::testing::Test {
 protected:
  std::optional<std::string> Get(const std::string& key) { return store_.GetSetting(key_.Name(), "S", key); }
  void Save(const std::string& key, const std::string& text) { store_.SaveSetting(key_.Name(), "S", key, text); }

  RegistryTestKey key_{HKEY_CURRENT_USER, "Software\\VB and VBA Program Settings\\"};
  RegistrySettingsStore store_;
};

TEST_F(RegistrySettingsStoreTest, WithoutTheApplicationTheSectionOrTheKeyItIsMissing) {
  EXPECT_EQ(Get("A"), std::nullopt);
  Save("A", "1");
  EXPECT_EQ(Get("B"), std::nullopt);
  EXPECT_EQ(store_.GetSetting(key_.Name(), "T", "A"), std::nullopt);
}

TEST_F(RegistrySettingsStoreTest, ASavedTextIsAUnicodeStringWithItsZeroInTheSharedBranch) {
  Save("Path", "C:\\caf\xC3\xA9 \xD0\x96");
  const RegistryTestKey::Raw raw = key_.Read("S", "Path");
  EXPECT_EQ(raw.type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(raw.bytes, Units("C:\\caf\xC3\xA9 \xD0\x96") + std::string(2, '\0'));
  EXPECT_EQ(Get("Path"), "C:\\caf\xC3\xA9 \xD0\x96");
}

TEST_F(RegistrySettingsStoreTest, EveryTextReadsBackAsItWasSaved) {
  for (const std::string text : {"", " ", "two\r\nlines", "\"quoted\"", "\xF0\x9F\x9A\x97", "\xC2\x81"}) {
    Save("A", text);
    EXPECT_EQ(Get("A"), text);
  }
}

TEST_F(RegistrySettingsStoreTest, AVeryLongTextIsReadWhole) {
  const std::string text(100'000, 'x');
  Save("A", text);
  EXPECT_TRUE(Get("A") == text);
}

TEST_F(RegistrySettingsStoreTest, TheNamesOfAllThatIsStoredAreKnown) {
  EXPECT_TRUE(store_.Names(key_.Name()).empty());
  Save("A", "1");
  store_.SaveSetting(key_.Name(), "T", "caf\xC3\xA9", "2");
  EXPECT_EQ(store_.Names(key_.Name()), (std::vector<SettingName>{{"S", "A"}, {"T", "caf\xC3\xA9"}}));
}

TEST_F(RegistrySettingsStoreTest, NamesMatchInAnyCase) {
  Save("SyncMode", "2");
  EXPECT_EQ(store_.GetSetting(key_.Name(), "s", "SYNCMODE"), "2");
}

TEST_F(RegistrySettingsStoreTest, ATextWithoutItsZeroIsWhole) {
  key_.Write("S", "A", REG_SZ, Units("abc"));
  EXPECT_EQ(Get("A"), "abc");
}

TEST_F(RegistrySettingsStoreTest, ATextEndsAtItsFirstZero) {
  key_.Write("S", "A", REG_SZ, Units("abc") + std::string(2, '\0') + Units("def"));
  EXPECT_EQ(Get("A"), "abc");
}

TEST_F(RegistrySettingsStoreTest, AnOddByteAtTheEndDoesNotCount) {
  key_.Write("S", "A", REG_SZ, Units("abc") + "d");
  EXPECT_EQ(Get("A"), "abc");
  key_.Write("S", "B", REG_SZ, "d");
  EXPECT_EQ(Get("B"), "");
}

TEST_F(RegistrySettingsStoreTest, AnExpandableTextIsReadAsItStands) {
  key_.Write("S", "A", REG_EXPAND_SZ, Units("%TEMP%\\cars"));
  EXPECT_EQ(Get("A"), "%TEMP%\\cars");
}

TEST_F(RegistrySettingsStoreTest, ANumberIsReadAsTheEditorShowsIt) {
  key_.Write("S", "A", REG_DWORD, std::string("\x01\0\0\0", 4));
  EXPECT_EQ(Get("A"), "1");
  key_.Write("S", "A", REG_DWORD, "\xFF\xFF\xFF\xFF");
  EXPECT_EQ(Get("A"), "4294967295");
}

TEST_F(RegistrySettingsStoreTest, AnyOtherTypeIsATypeMismatchThatNamesTheKey) {
  key_.Write("S", "A", REG_BINARY, "abcd");
  const Error error = ErrorOf([&] { Get("A"); });
  EXPECT_EQ(error.Number(), errors::kTypeMismatch);
  EXPECT_EQ(error.Source(), "[S] A");
  key_.Write("S", "A", REG_DWORD, "ab");
  EXPECT_EQ(ErrorOf([&] { Get("A"); }).Number(), errors::kTypeMismatch);
}

TEST_F(RegistrySettingsStoreTest, SavingReplacesAValueOfAnyType) {
  key_.Write("S", "A", REG_BINARY, "abcd");
  Save("A", "1");
  EXPECT_EQ(key_.Read("S", "A").type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(Get("A"), "1");
}

TEST_F(RegistrySettingsStoreTest, ATextWithAZeroIsRefused) {
  Save("A", "old");
  EXPECT_EQ(ErrorOf([&] { Save("A", std::string("a\0b", 3)); }).Number(), errors::kInvalidProcedureCall);
  EXPECT_EQ(Get("A"), "old");
}

TEST_F(RegistrySettingsStoreTest, ARefusalOfTheRegistryIsAnErrorThatNamesTheKey) {
  key_.MakeClosed("");
  const Error error = ErrorOf([&] { Save("A", "1"); });
  EXPECT_EQ(error.Number(), errors::kDeviceIo);
  EXPECT_EQ(error.Source(), "[S] A");
  EXPECT_EQ(Get("A"), std::nullopt);
}

TEST(UserSettingsTest, SettingsAreKeptInTheUsersRegistry) {
  const testing::TempFolder folder;
  const auto files = platform::MakeFileSystem();
  const RegistryTestKey key(HKEY_CURRENT_USER, "Software\\VB and VBA Program Settings\\");
  const auto settings = MakeSettingsStore(*files, folder.Path());
  settings->SaveSetting(key.Name(), "Handheld", "Root", "D:\\card");
  EXPECT_EQ(key.Read("Handheld", "Root").type, static_cast<DWORD>(REG_SZ));
}

}  // namespace
}  // namespace mv
