#pragma once

#include <functional>
#include <memory>

#include "platform/Terminal.h"
#include "ui/Toolkit.h"
#include "ui/terminal/MainView.h"

namespace mv::terminal {

/// Shows the program's window on a terminal.
class TerminalToolkit : public Toolkit {
 public:
  /// `terminal` must outlive the toolkit and its views. `tables`: how far the run is that is going on.
  TerminalToolkit(platform::Terminal& terminal, std::function<TableCount()> tables)
      : terminal_(terminal), tables_(std::move(tables)) {}

  std::unique_ptr<frmMainView> MakeMainView(frmMain& form) override {
    return std::make_unique<MainView>(form, terminal_, tables_);
  }

 private:
  platform::Terminal& terminal_;
  std::function<TableCount()> tables_;
};

}  // namespace mv::terminal
