#pragma once

#include <string>

#include "mvtool/commands/Arguments.h"
#include "mvtool/commands/Command.h"

namespace mv::tool {

/// Is a handheld on the network, with the files below `root`, until the program is interrupted; tells what happens.
/// UsageError for options that make no sense.
void SimulateHandheld(const std::string& root, const Arguments& arguments, ToolContext& context);

}  // namespace mv::tool
