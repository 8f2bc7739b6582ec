#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "device/DeviceHooks.h"
#include "device/Rapi.h"
#include "device/modWinCEFileManagement.h"
#include "device/modWinCERAPIConnectionHandler.h"
#include "run/HandheldChoice.h"

namespace mv::tool {

/// A connection to the handheld for single files, which are copied as runs copy them and held in memory.
class HandheldSession {
 public:
  /// Connects. Failure, with what stands in the way, when the handheld does not answer. `handheld` must outlive this
  /// object.
  explicit HandheldSession(const ChosenHandheld& handheld);
  /// Ends the connection.
  ~HandheldSession();
  HandheldSession(const HandheldSession&) = delete;
  HandheldSession& operator=(const HandheldSession&) = delete;

  /// Failure when the handheld cannot tell.
  HandheldFacts Describe();
  /// What `path` names: of a folder what is in it, else the one file; by name. Failure when there is nothing.
  std::vector<DeviceEntry> List(const std::string& path);
  /// What fits the pattern, by name. Failure when it cannot be told.
  std::vector<DeviceEntry> Find(const std::string& pattern);
  /// A whole file, which may be empty. Failure with the copy's code in words.
  Bytes Fetch(const std::string& path);
  /// Failure with the copy's code in words.
  void Send(const Bytes& content, const std::string& path, Overwrite overwrite);

 private:
  void Connect();
  /// Failure when it is an empty one too.
  Bytes FetchContent(const std::string& path);

  const ChosenHandheld& handheld_;
  Rapi& rapi_;
  DeviceHooks hooks_;
  modWinCERAPIConnectionHandler connection_;
};

/// A name or path from the handheld as it may be shown: what would steer a terminal becomes "?".
std::string Printable(const std::string& text);

}  // namespace mv::tool
