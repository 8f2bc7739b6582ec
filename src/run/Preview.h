#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "config/SettingsStore.h"
#include "device/Rapi.h"
#include "history/Change.h"
#include "history/RunRecord.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "run/RunState.h"
#include "sync/RunMode.h"
#include "sync/Tables.h"
#include "ui/UserInterface.h"

namespace mv {

/// What a preview works with; all of it must outlive the call.
struct PreviewContext {
  platform::FileSystem& files;
  const platform::Clock& clock;
  SettingsStore& settings;
  std::string programFolder;
  Rapi& handheld;
  std::chrono::milliseconds handheldWait;  ///< how long it has to answer
  /// The local path of a file of the handheld; nothing when it has none.
  std::function<std::optional<std::string>(const std::string& devicePath)> localDeviceFile = {};
  /// A folder in which the preview makes, and takes away, one of its own.
  std::string temporaryFolder;
  /// Whose messages are handled meanwhile, and whose closing stops the preview; null where there is none.
  UserInterface* waiting = nullptr;
};

struct PreviewRequest {
  std::optional<RunMode> mode;  ///< nothing: the stored one
  std::vector<SyncTable> tables;
};

/// What the run would do. `record` and `changes` are as its entry in the history would have them. Paths in texts are
/// those of the run, not those of the copy.
struct PreviewResult {
  ExitStatus status = ExitStatus::Success;
  std::optional<Error> stop;       ///< what stopped it
  std::optional<Error> objection;  ///< what keeps a run from beginning that is done on a copy first (run/Rehearsal.h)
  history::RunRecord record;
  std::vector<history::Change> changes;
  std::vector<std::string> told;  ///< what a silent run would have said on standard error
};

/// The silent run itself - same code, same order, same errors - on a copy of the database, with the handheld only read,
/// in a scratch folder that is gone afterwards. Nothing else is changed: neither the handheld nor the work folders,
/// settings, log or history. Failure when the copy cannot be made, and for settings that cannot be read.
PreviewResult RunPreview(const PreviewContext& context, const PreviewRequest& request);

}  // namespace mv
