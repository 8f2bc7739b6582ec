#include "config/AutoStart.h"

#include <gtest/gtest.h>

#include "base/Error.h"
#include "support/RecordingSettings.h"

namespace mv {
namespace {

struct WrittenString {
  RegistryRoot root;
  std::string keyPath;
  std::string valueName;
  std::string data;
  friend bool operator==(const WrittenString&, const WrittenString&) = default;
};

class RecordingRegistry : public RegistryStrings {
 public:
  std::vector<WrittenString> written;
  void WriteRegistryString(RegistryRoot root, const std::string& keyPath, const std::string& valueName,
                           const std::string& data) override {
    written.push_back({root, keyPath, valueName, data});
  }
};

class UnwritableSettings : public SettingsStore {
 public:
  std::optional<std::string> GetSetting(const std::string&, const std::string&, const std::string&) override {
    return std::nullopt;
  }
  void SaveSetting(const std::string&, const std::string&, const std::string&, const std::string&) override {
    throw StandardError(errors::kPermissionDenied);
  }
};

const std::string kKey = "Software\\Microsoft\\Windows CE Services\\AutoStartOnConnect";

TEST(AutoStartTest, RegisteringWritesTheFixedProgramPathAndTheSwitch) {
  RecordingRegistry registry;
  RegisterAutoStart(registry, "-Mode2");
  EXPECT_EQ(registry.written, std::vector<WrittenString>({{RegistryRoot::LocalMachine, kKey, "Brindle Software",
                                                           "C:\\Program Files\\Motorva\\MVPPCSync.exe -Mode2"}}));
}

TEST(AutoStartTest, UnregisteringKeepsTheValueWithEmptyData) {
  RecordingRegistry registry;
  UnregisterAutoStart(registry);
  EXPECT_EQ(registry.written, std::vector<WrittenString>({{RegistryRoot::LocalMachine, kKey, "Brindle Software", ""}}));
}

TEST(AutoStartTest, WithoutARegistryTheValueGoesIntoTheSettings) {
  testing::RecordingSettings store;
  SettingsRegistryStrings registry(store);
  RegisterAutoStart(registry, "-Mode0");
  EXPECT_EQ(store.Stored(kKey, "Brindle Software"), "C:\\Program Files\\Motorva\\MVPPCSync.exe -Mode0");
  UnregisterAutoStart(registry);
  EXPECT_EQ(store.Stored(kKey, "Brindle Software"), "");
}

TEST(AutoStartTest, AFailedRegistrationIsSilent) {
  UnwritableSettings store;
  SettingsRegistryStrings registry(store);
  EXPECT_NO_THROW(RegisterAutoStart(registry, "-Mode0"));
}

}  // namespace
}  // namespace mv
