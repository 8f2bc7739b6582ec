#include "config/Settings.h"

#include <charconv>
#include <limits>
#include <string_view>

#include "base/Error.h"
#include "base/NumberText.h"
#include "base/Text.h"

namespace mv {
namespace {

constexpr const char* kGeneralSection = "General";
constexpr const char* kMobileSection = "PPC_Mobile";
constexpr const char* kHandheldSection = "Handheld";
constexpr const char* kHistorySection = "History";
constexpr const char* kSafetySection = "Safety";

/// One section of this program's settings.
class Section {
 public:
  Section(SettingsStore& store, const char* name) : store_(store), name_(name) {}

  std::string Text(const char* key, const std::string& missing) const {
    return store_.GetSetting(kSettingsApplication, name_, key).value_or(missing);
  }
  std::int16_t Integer(const char* key, std::int16_t missing) const {
    using Limits = std::numeric_limits<std::int16_t>;
    const std::string text = Text(key, TextOfInteger(missing));
    return static_cast<std::int16_t>(ParseRounded(text, Limits::min(), Limits::max()));
  }
  /// A whole number from 0 on; Failure for anything else.
  std::int64_t Count(const char* key, std::int64_t missing) const {
    const std::string text(Trim(Text(key, std::to_string(missing))));
    std::int64_t count = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (code == std::errc() && end == text.data() + text.size() && count >= 0) return count;
    throw Failure(Shown(key, text) + " is no whole number from 0 on");
  }
  /// One of two words, the first when the key is missing; Failure for any other.
  std::string Word(const char* key, const std::string& usual, const std::string& other) const {
    const std::string text(Trim(Text(key, usual)));
    for (const std::string& word : {usual, other}) {
      if (EqualsIgnoreAsciiCase(text, word)) return word;
    }
    throw Failure(Shown(key, text) + " is neither \"" + usual + "\" nor \"" + other + "\"");
  }
  void Save(const char* key, const std::string& text) const {
    store_.SaveSetting(kSettingsApplication, name_, key, text);
  }
  void Save(const char* key, std::int16_t number) const { Save(key, TextOfInteger(number)); }

 private:
  std::string Shown(const char* key, const std::string& text) const {
    return std::string("the setting ") + key + " of [" + name_ + "], \"" + text + "\",";
  }

  SettingsStore& store_;
  const char* name_;
};

}  // namespace

Settings LoadSettings(SettingsStore& store, const std::string& programFolder) {
  const Section general(store, kGeneralSection);
  const std::string fileName = general.Text("DBFileName", "Motorva.db");
  const std::string folder = general.Text("DBPath", programFolder);

  const Section mobile(store, kMobileSection);
  Settings settings;
  settings.DesktopDBPath = mobile.Text("DesktopDBPath", JoinPath(folder, fileName));
  settings.PDADBPath = mobile.Text("PDADBPath", "\\Program Files\\Motorva");
  settings.PCSyncSourcePath = mobile.Text("PCSyncSourcePath", JoinPath(folder, "sync\\source"));
  settings.PCSyncDestPath = mobile.Text("PCSyncDestPath", JoinPath(folder, "sync\\dest"));
  settings.SyncLogPath = mobile.Text("SyncLogPath", JoinPath(folder, "SyncLog.txt"));
  settings.SyncMode = mobile.Integer("SyncMode", settings.SyncMode);
  settings.SyncLogHistory = mobile.Integer("SyncLogHistory", settings.SyncLogHistory);
  settings.SyncLog = mobile.Integer("SyncLog", settings.SyncLog);
  settings.AutoStart = mobile.Integer("AutoStart", settings.AutoStart);
  return settings;
}

void SaveSettings(SettingsStore& store, const Settings& settings) {
  const Section mobile(store, kMobileSection);
  mobile.Save("DesktopDBPath", settings.DesktopDBPath);
  mobile.Save("PDADBPath", settings.PDADBPath);
  mobile.Save("PCSyncSourcePath", settings.PCSyncSourcePath);
  mobile.Save("PCSyncDestPath", settings.PCSyncDestPath);
  mobile.Save("SyncLogPath", settings.SyncLogPath);
  mobile.Save("SyncMode", settings.SyncMode);
  mobile.Save("SyncLogHistory", settings.SyncLogHistory);
  mobile.Save("SyncLog", settings.SyncLog);
  mobile.Save("AutoStart", settings.AutoStart);
}

void SaveLastSync(SettingsStore& store, const platform::Clock& clock) {
  Section(store, kMobileSection).Save("LastSync", platform::LocalDateTimeText(clock.Now()));
}

std::string LoadLastSync(SettingsStore& store) {
  return Section(store, kMobileSection).Text("LastSync", "");
}

HistoryLimits LoadHistoryLimits(SettingsStore& store) {
  const Section history(store, kHistorySection);
  return {history.Count("Keep", 10), history.Count("MaxMegabytes", 2048)};
}

SafetySettings LoadSafetySettings(SettingsStore& store) {
  const Section safety(store, kSafetySection);
  return {safety.Word("OnMassLoss", "warn", "stop") == "stop",
          safety.Word("UnfinishedOverwrite", "stop", "go") == "stop"};
}

std::string LoadHandheldRoot(SettingsStore& store) {
  return Section(store, kHandheldSection).Text("Root", "");
}

}  // namespace mv
