#pragma once

#include <memory>

#include "ui/Toolkit.h"
#include "ui/UserInterface.h"

namespace mv {

/// Registers the window classes of the system's common controls; true when that worked. Elsewhere there are none, which
/// counts as done.
bool InitCommonControls();

/// The user interface of a silent run: no window and no message box, whatever happens. On Windows it shows the
/// hourglass pointer and lets pending window messages run, so that the system does not take the program for a hung one.
std::unique_ptr<UserInterface> MakeSilentUserInterface();

/// The toolkit of this system's windows. To be called once, before the process has a second thread.
FoundToolkit FindToolkit();

}  // namespace mv
