#include "config/Settings.h"

#include "base/Text.h"
#include "config/SettingsSection.h"

namespace mv {
namespace {

constexpr const char* kGeneralSection = "General";
constexpr const char* kMobileSection = "PPC_Mobile";
constexpr const char* kHistorySection = "History";
constexpr const char* kSafetySection = "Safety";

}  // namespace

Settings LoadSettings(SettingsStore& store, const std::string& programFolder) {
  const SettingsSection general(store, kGeneralSection);
  const std::string fileName = general.Text("DBFileName", "Motorva.db");
  const std::string folder = general.Text("DBPath", programFolder);

  const SettingsSection mobile(store, kMobileSection);
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
  const SettingsSection mobile(store, kMobileSection);
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
  SettingsSection(store, kMobileSection).Save("LastSync", platform::LocalDateTimeText(clock.Now()));
}

std::string LoadLastSync(SettingsStore& store) {
  return SettingsSection(store, kMobileSection).Text("LastSync", "");
}

HistoryLimits LoadHistoryLimits(SettingsStore& store) {
  const SettingsSection history(store, kHistorySection);
  return {history.Count("Keep", 10), history.Count("MaxMegabytes", 2048)};
}

SafetySettings LoadSafetySettings(SettingsStore& store) {
  const SettingsSection safety(store, kSafetySection);
  return {safety.Word("OnMassLoss", {"warn", "stop"}) == "stop",
          safety.Word("UnfinishedOverwrite", {"stop", "go"}) == "stop"};
}

}  // namespace mv
