#pragma once

#include <memory>
#include <string>

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

/// A toolkit, or why there is none: to follow "no window: ".
struct FoundToolkit {
  std::unique_ptr<Toolkit> toolkit;
  std::string reason;
};

}  // namespace mv
