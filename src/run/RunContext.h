#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "config/SettingsStore.h"
#include "device/IFileTransfer.h"
#include "device/modWinCEFileManagement.h"
#include "device/modWinCERAPIConnectionHandler.h"
#include "history/RoomMaker.h"
#include "platform/FileSystem.h"
#include "platform/Shell.h"
#include "platform/System.h"
#include "recordset/Connection.h"
#include "run/Preview.h"
#include "run/RunState.h"
#include "run/SyncLog.h"
#include "ui/UserInterface.h"

namespace mv {

/// Everything that a run works with. Whoever wires the program together owns it all; it must outlive the run.
struct RunContext {
  RunState& state;
  SyncLog& log;
  UserInterface& ui;
  SettingsStore& settings;
  DatabaseProvider& databases;
  modWinCERAPIConnectionHandler& connection;
  modWinCEFileManagement& deviceFiles;
  /// Makes a table's file transfer; null means that there is none.
  std::function<std::unique_ptr<IFileTransfer>()> createFileTransfer;
  platform::FileSystem& files;
  platform::Shell& shell;
  platform::Clock& clock;
  /// Folder of this program's executable, without a separator at its end.
  std::string programFolder;
  /// "major.minor.revision" of this program.
  std::string version;
  const ProtectedFiles& protectedFiles;
  /// The local path of a file of the handheld, by its path there; nothing when it has none.
  std::function<std::optional<std::string>(const std::string& devicePath)> localDeviceFile = {};
  /// Takes a line for whoever started a silent run; null when nobody listens.
  std::function<void(const std::string&)> tell = {};
  /// Why the handheld may not answer, a line each; null where nobody knows.
  std::function<std::vector<std::string>()> obstacles = {};
  /// Gives up old history when the disk is full; null where nobody does. What `files` writes must go through it.
  history::RoomMaker* room = nullptr;
  /// The database whose history knows the earlier runs, where it is not the run's own: a preview has a copy. Else
  /// empty.
  std::string earlierRunsOf = {};
  /// Does the run on a copy and changes nothing; null where that is itself such a copy.
  std::function<PreviewResult(std::span<const SyncTable>)> rehearse = {};
};

/// The current time as the log and the window show it.
inline std::string NowText(const RunContext& run) {
  return platform::LocalDateTimeText(run.clock.Now());
}

}  // namespace mv
