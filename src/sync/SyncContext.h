#pragma once

#include <functional>
#include <string>

#include "platform/FileSystem.h"
#include "platform/Shell.h"
#include "platform/System.h"
#include "sync/MergeObserver.h"
#include "sync/RunMode.h"

namespace mv {

/// What the synchronisation of a table needs from the run around it. The run owns it all and changes the first two
/// values between steps; it must outlive every object made from it.
struct SyncContext {
  const RunMode& syncMode;
  /// Folder of the table files, without a separator at its end.
  const std::string& currentPdbFolder;
  /// Turns the activity spinner and lets pending window messages run. Must be set.
  std::function<void()> reportProgress;
  /// Shows a message box with the text. Must be set.
  std::function<void(const std::string&)> showMessage;
  platform::FileSystem& files;
  platform::Shell& shell;
  platform::Clock& clock;
  /// Told what the merge does; null when nobody wants to know, which costs nothing.
  MergeObserver* observer = nullptr;
};

}  // namespace mv
