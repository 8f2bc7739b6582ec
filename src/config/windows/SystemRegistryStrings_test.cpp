#include "config/windows/SystemRegistryStrings.h"

#include <gtest/gtest.h>

#include "config/UserSettings.h"
#include "config/windows/RegistryTestKey.h"
#include "support/RecordingSettings.h"

namespace mv {
namespace {

using testing::RegistryTestKey;

class SystemRegistryStringsTest : public ::testing::Test {
 protected:
  void Write(const std::string& subkey, const std::string& data) {
    registry_.WriteRegistryString(RegistryRoot::LocalMachine, key_.Path() + "\\" + subkey, "Brindle Software", data);
  }
  RegistryTestKey::Raw Stored(const std::string& subkey) { return key_.Read(subkey, "Brindle Software"); }

  RegistryTestKey key_{HKEY_LOCAL_MACHINE, "Software\\"};
  SystemRegistryStrings registry_;
};

/// The bytes of an ASCII text as the registry keeps them.
std::string Units(const std::string& ascii) {
  std::string units;
  for (const char c : ascii) units += {c, '\0'};
  return units;
}

TEST_F(SystemRegistryStringsTest, TheValueIsATextInTheMachinesPart) {
  Write("AutoStartOnConnect", "C:\\Program Files\\Motorva\\MVPPCSync.exe -Mode2");
  const RegistryTestKey::Raw raw = Stored("AutoStartOnConnect");
  EXPECT_EQ(raw.type, static_cast<DWORD>(REG_SZ));
  // The length that is passed leaves the zero out; the system sees it behind the text and stores it all the same.
  EXPECT_EQ(raw.bytes, Units("C:\\Program Files\\Motorva\\MVPPCSync.exe -Mode2") + std::string(2, '\0'));
}

TEST_F(SystemRegistryStringsTest, AnEmptyTextKeepsTheValueWithNoBytesAtAll) {
  Write("Key", "text");
  Write("Key", "");
  EXPECT_EQ(Stored("Key").type, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(Stored("Key").bytes, "");
}

TEST_F(SystemRegistryStringsTest, TheTextGoesThroughTheAnsiCodePage) {
  Write("Key", "\xC3\xA9\xF0\x9F\x9A\x97");
  if (::GetACP() != 1252) GTEST_SKIP() << "the system's ANSI code page is another one";
  EXPECT_EQ(Stored("Key").bytes, std::string("\xE9\0?\0?\0\0\0", 8));
}

TEST_F(SystemRegistryStringsTest, AKeyThatCannotBeMadeIsPassedOverInSilence) {
  key_.MakeClosed("closed");
  EXPECT_NO_THROW(Write("closed\\Key", "text"));
  EXPECT_EQ(Stored("closed\\Key").type, static_cast<DWORD>(REG_NONE));
}

TEST(UserSettingsTest, TheAutoStartEntryGoesIntoTheRegistryAndNotIntoTheSettings) {
  testing::RecordingSettings settings;
  const RegistryTestKey key(HKEY_LOCAL_MACHINE, "Software\\");
  MakeRegistryStrings(settings)->WriteRegistryString(RegistryRoot::LocalMachine, key.Path(), "Name", "text");
  EXPECT_EQ(key.Read("", "Name").type, static_cast<DWORD>(REG_SZ));
  EXPECT_TRUE(settings.calls.empty());
}

}  // namespace
}  // namespace mv
