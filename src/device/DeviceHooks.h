#pragma once

#include <functional>
#include <string>

namespace mv {

/// How the device modules reach the log and the window without knowing them. A hook that is not set is not called.
struct DeviceHooks {
  /// Appends a line to the sync log.
  std::function<void(const std::string& line)> writeLogLine;
  /// Shows the next frame of the activity spinner.
  std::function<void()> advanceSpinner;
  std::function<void()> showHourglass;
  /// Lets pending window messages run once.
  std::function<void()> processMessages;
  /// True once nobody waits for the handheld any more: the user has closed the window.
  std::function<bool()> abandoned = {};
};

}  // namespace mv
