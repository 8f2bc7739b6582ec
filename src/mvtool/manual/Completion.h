#pragma once

#include <span>
#include <string>

#include "mvtool/commands/Command.h"

namespace mv::tool {

/// What completes a command line of mvtool in the shells: names of commands, their options, and their operands as far
/// as they are files, folders, tables or known words. One script a shell, to be installed under the name that it wants:
/// "mvtool", "_mvtool", "mvtool.fish".
std::string BashCompletionOf(std::span<const Command> commands);
std::string ZshCompletionOf(std::span<const Command> commands);
std::string FishCompletionOf(std::span<const Command> commands);

}  // namespace mv::tool
