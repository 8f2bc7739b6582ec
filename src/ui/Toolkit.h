#pragma once

#include <memory>

#include "ui/frmMainView.h"

namespace mv {

class frmMain;

/// Makes the windows of a toolkit.
class Toolkit {
 public:
  virtual ~Toolkit() = default;
  /// The window, not shown yet: its commands enabled but for Start. `form` must outlive it.
  virtual std::unique_ptr<frmMainView> MakeMainView(frmMain& form) = 0;
};

}  // namespace mv
