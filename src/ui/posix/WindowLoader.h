#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ui/Toolkit.h"
#include "ui/WindowPart.h"

namespace mv {

/// Where the window part may lie for a program in `programFolder`, in the order of the search.
std::vector<std::string> WindowPartPlaces(const std::string& programFolder);

/// The toolkit of the first window part that there is in `places`, when the user's display answers it. A part stays
/// loaded until the process ends. The process must have a single thread still.
FoundToolkit FindToolkit(const std::vector<std::string>& places);

/// The same of a part that is loaded already.
FoundToolkit FindToolkit(std::unique_ptr<WindowPart> part);

}  // namespace mv
