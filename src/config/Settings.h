#pragma once

#include <cstdint>
#include <string>

#include "config/SettingsStore.h"
#include "platform/System.h"

namespace mv {

/// The application under which both editions keep their settings.
inline constexpr const char* kSettingsApplication = "Motorva32";

/// The settings of a run, held in memory for the life of the process. On/off settings are 0 for off; they are shown in
/// check boxes, which set 0 or 1.
struct Settings {
  std::string DesktopDBPath;     ///< the desktop database file
  std::string PDADBPath;         ///< folder of the table files on the handheld
  std::string PCSyncSourcePath;  ///< local folder for the tables copied from the handheld
  std::string PCSyncDestPath;    ///< local folder for the merged tables before they go back
  std::string SyncLogPath;       ///< the sync log file
  std::int16_t SyncMode = 0;     ///< 0 Synchronize, 1 Overwrite PDA, 2 Overwrite PC
  std::int16_t SyncLogHistory = 0;
  std::int16_t SyncLog = 1;
  std::int16_t AutoStart = 0;

  friend bool operator==(const Settings&, const Settings&) = default;
};

/// Reads every setting, a missing one as its default. The desktop edition's own keys "DBFileName" and "DBPath" only
/// make defaults: the database, the work folders and the log lie beside the desktop database, and beside this program
/// (`programFolder`, without a separator at its end) when "DBPath" is missing.
/// Error 13 for an integer setting that is no number, error 6 for one beyond 16 bits.
Settings LoadSettings(SettingsStore& store, const std::string& programFolder);

/// Writes every setting. From then on the database's path is stored, and the desktop edition's keys no longer move it.
void SaveSettings(SettingsStore& store, const Settings& settings);

/// Writes the current time, in the user's own form, as the time of the last run.
void SaveLastSync(SettingsStore& store, const platform::Clock& clock);

/// The time of the last run as SaveLastSync wrote it; empty when there was none.
std::string LoadLastSync(SettingsStore& store);

/// How much of earlier runs is kept. As it stands nothing is.
struct HistoryLimits {
  std::int64_t keep = 0;  ///< entries
  std::int64_t maxMegabytes = 2048;

  friend bool operator==(const HistoryLimits&, const HistoryLimits&) = default;
};

/// "Keep" (10) and "MaxMegabytes" (2048) of the section "History". Failure, with the key, for what is no whole number
/// from 0 on.
HistoryLimits LoadHistoryLimits(SettingsStore& store);

/// What a run stops for before it takes data away.
struct SafetySettings {
  bool stopsOnMassLoss = false;
  bool stopsOnUnfinishedOverwrite = true;

  friend bool operator==(const SafetySettings&, const SafetySettings&) = default;
};

/// "OnMassLoss" ("warn" or "stop") and "UnfinishedOverwrite" ("stop" or "go") of the section "Safety". Failure, with
/// the key, for any other word: a safety that is misspelt must not be taken for none.
SafetySettings LoadSafetySettings(SettingsStore& store);

}  // namespace mv
