#pragma once

#include <memory>

#include "ui/frmMainView.h"

namespace mv {

class frmMain;

/// Makes the windows of a toolkit.
class Toolkit {
 public:
  virtual ~Toolkit() = default;
  /// Registers the window classes of the toolkit's controls. Shows nothing. False when that failed.
  virtual bool InitCommonControls() = 0;
  /// The window, not shown yet: its commands enabled but for Start. `form` must outlive it.
  virtual std::unique_ptr<frmMainView> MakeMainView(frmMain& form) = 0;
};

/// The toolkit of this system's edition; null where the program has no window.
std::unique_ptr<Toolkit> MakeToolkit();

}  // namespace mv
