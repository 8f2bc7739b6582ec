#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "config/HandheldSettings.h"
#include "device/FolderRapi.h"
#include "device/Rapi.h"
#include "device/wire/WireRapi.h"
#include "platform/FileSystem.h"

namespace mv {

/// The handheld that the settings choose. Not connected yet.
struct ChosenHandheld {
  std::unique_ptr<Rapi> rapi;         ///< never null
  FolderRapi* folder = nullptr;       ///< the same, when it is a folder
  wire::WireRapi* network = nullptr;  ///< the same, when it is on the network
  std::string way;                    ///< for people: "folder", "the system's remote API", "network"
  std::chrono::milliseconds wait{};   ///< how long it has to answer
  /// Why it may not answer, a line each, as far as that shows outside of it; null where nothing does.
  std::function<std::vector<std::string>()> obstacles = {};
};

/// What a choice is made from.
struct HandheldSources {
  platform::FileSystem& files;  ///< of folders and password files; must outlive the handheld
  /// Makes the remote API of the system.
  std::function<std::unique_ptr<Rapi>()> makeSystemRapi;
  /// Whether that may be one at all.
  bool systemHasRapi = false;
};

/// The one place that chooses. Where "Connection" is not set: the folder when "Root" names one, else the system's
/// remote API where it may have one, else the network when "Listen" is set, else the remote API of a system that has
/// none, whose handheld never answers.
HandheldWay WayTo(const HandheldSettings& settings, bool systemHasRapi);

/// Makes the handheld of that way.
///
/// Failure for a choice that lacks what it needs, and for a password file that is missing or that others may read.
ChosenHandheld ChooseHandheld(const HandheldSettings& settings, const HandheldSources& sources);

/// Why a handheld that does not answer may not be there, a line each; empty when nothing is known.
std::vector<std::string> ObstaclesOf(const ChosenHandheld& handheld);

/// The network handheld's options as the settings have them.
wire::WireOptions WireOptionsOf(const HandheldSettings& settings, platform::FileSystem& files);

}  // namespace mv
