#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace mv::platform {

/// Runs a program of the desktop, found on the search path, its output unseen; no shell reads the words. Returns its
/// exit status; nothing when it is not there, crashed, or did not end within `limit`, when it is killed. Without a
/// limit waits for as long as it takes.
std::optional<int> RunCommand(std::vector<std::string> words,
                              std::optional<std::chrono::milliseconds> limit = std::nullopt);

}  // namespace mv::platform
