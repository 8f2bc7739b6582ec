#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "config/Settings.h"
#include "config/SettingsStore.h"
#include "device/Rapi.h"
#include "history/HandheldTables.h"
#include "mvtool/commands/Command.h"
#include "platform/FileSystem.h"
#include "run/HandheldChoice.h"
#include "run/Preview.h"
#include "run/RunLock.h"

namespace mv::tool {

/// The database, the folders and the handheld that the user's settings name: those that MVPPCSync works with.
class UserSetup {
 public:
  /// Reads the settings. Failure when the context has none; the errors of LoadSettings. `context` must outlive this
  /// object.
  explicit UserSetup(ToolContext& context);
  ~UserSetup();
  UserSetup(const UserSetup&) = delete;
  UserSetup& operator=(const UserSetup&) = delete;

  const Settings& Names() const { return settings_; }
  SettingsStore& Store() { return *store_; }
  /// Failure for a setting that is no number.
  HistoryLimits Limits() { return LoadHistoryLimits(*store_); }
  /// The handheld that the settings choose (run/HandheldChoice.h). Not connected yet. Failure for a choice that cannot
  /// be.
  const ChosenHandheld& Chosen();
  /// Its table files.
  history::HandheldTables& Handheld();
  /// The same, call by call.
  Rapi& Device();
  /// How long it has to answer.
  std::chrono::milliseconds DeviceWait();
  /// The local path of a file of the handheld; nothing when the handheld is no folder, or the path leads nowhere.
  std::optional<std::string> LocalFile(const std::string& devicePath);
  /// What a preview works with; this object must outlive it.
  PreviewContext ForPreview();
  /// What keeps runs from starting until it is released. The log does so for programs that know no lock.
  struct NoRuns {
    std::optional<RunLock> lock;
    std::unique_ptr<platform::File> log;  ///< null without a log
  };
  /// Failure when a run is going on.
  NoRuns KeepRunsAway();

 private:
  std::unique_ptr<Rapi> MakeSystemRapi();

  ToolContext& context_;
  std::unique_ptr<SettingsStore> store_;
  Settings settings_;
  std::optional<ChosenHandheld> chosen_;  ///< nothing until the handheld is asked for
  std::unique_ptr<history::HandheldTables> handheld_;
};

}  // namespace mv::tool
