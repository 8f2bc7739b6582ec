#pragma once

#include <memory>

#include "ui/frmMainView.h"

namespace mv {

class frmMain;

/// Makes the windows of a toolkit.
class Toolkit {
 public:
  virtual ~Toolkit() = default;
  /// The window, not shown yet: enabled is what the layout says, and every toolbar button. `form` must outlive it.
  virtual std::unique_ptr<frmMainView> MakeMainView(frmMain& form) = 0;
};

}  // namespace mv
