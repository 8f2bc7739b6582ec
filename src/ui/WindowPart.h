#pragma once

#include <memory>

#include "ui/Toolkit.h"

namespace mv {

/// What the shared object with the windows of the Linux edition gives. The program looks for it when it is to show a
/// window, so that silent runs and servers need none of the libraries behind it.
class WindowPart {
 public:
  virtual ~WindowPart() = default;
  /// Connects to the user's display and keeps the connection. When that fails it tells on standard error why and ends
  /// the process: the library underneath does so. To be called in a child process, before MakeToolkit.
  virtual void TryDisplay() = 0;
  /// To be called once, when the display is known to answer. The main window ends with the user's session when the file
  /// descriptor `ending` becomes readable; negative: there is none.
  virtual std::unique_ptr<Toolkit> MakeToolkit(int ending) = 0;
};

/// The shared object's one function, of this name and type. `version`: the program's; a part of another version gives
/// none.
inline constexpr const char* kWindowPartEntry = "MVPPCSyncWindowPart";
using WindowPartEntry = void(const char* version, std::unique_ptr<WindowPart>& part);

}  // namespace mv
