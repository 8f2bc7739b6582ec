#pragma once

#include <memory>
#include <optional>
#include <string>

#include "config/Settings.h"
#include "config/SettingsStore.h"
#include "device/FolderRapi.h"
#include "device/Rapi.h"
#include "history/HandheldTables.h"
#include "mvtool/commands/Command.h"
#include "platform/FileSystem.h"

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
  /// The folder that stands for the handheld when the settings name one, else what the system may reach. Not connected
  /// yet.
  history::HandheldTables& Handheld();
  /// The same, call by call.
  Rapi& Device();
  /// The local path of a file of the handheld; nothing when the handheld is no folder, or the path leads nowhere.
  std::optional<std::string> LocalFile(const std::string& devicePath);
  /// Keeps runs that write a sync log from starting until it is released. Null without a log. Failure when one is going
  /// on.
  std::unique_ptr<platform::File> KeepRunsAway();

 private:
  std::unique_ptr<Rapi> MakeRapi();

  ToolContext& context_;
  std::unique_ptr<SettingsStore> store_;
  Settings settings_;
  std::unique_ptr<Rapi> rapi_;    ///< null until the handheld is asked for
  FolderRapi* folder_ = nullptr;  ///< the same, when it is a folder
  std::unique_ptr<history::HandheldTables> handheld_;
};

}  // namespace mv::tool
