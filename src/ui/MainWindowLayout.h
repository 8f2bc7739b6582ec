#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "ui/Caption.h"
#include "ui/Texts.h"
#include "ui/frmMainView.h"

/// What every toolkit shows alike: which entries and controls there are, in which order, with which marks. Places,
/// sizes and pictures are the toolkit's business.
namespace mv::layout {

using Command = frmMainView::Command;
using Menu = frmMainView::Menu;
using Panel = frmMainView::Panel;

/// An entry of a menu.
struct MenuItem {
  std::optional<Command> command = std::nullopt;  ///< none: a separator
  Caption caption;
  bool enabled = true;  ///< when the window is made
};

/// An entry of the menu bar: a menu, or a command by itself.
struct MenuBarEntry {
  Caption caption;
  std::optional<Menu> menu;         ///< none: a command
  std::span<const MenuItem> items;  ///< of the menu
  std::optional<Command> command;   ///< none: a menu
};

inline constexpr MenuItem kSyncMenu[] = {
    {Command::Start, {texts::kMenuSyncStart, 'S'}, false}, {}, {Command::Exit, {texts::kMenuSyncExit, 'x'}}};
inline constexpr MenuItem kViewMenu[] = {
    {Command::Settings, {texts::kMenuViewSettings, 'S'}}, {Command::Log, {texts::kMenuViewLog, 'L'}}, {}};
/// From left to right.
inline constexpr MenuBarEntry kMenuBar[] = {{{texts::kMenuSync, 'S'}, Menu::Sync, kSyncMenu, {}},
                                            {{texts::kMenuView, 'V'}, Menu::View, kViewMenu, {}},
                                            {{texts::kMenuAbout, 'A'}, {}, {}, Command::About}};

/// A button of the toolbar.
struct ToolButton {
  int index = 0;                                  ///< what the button is known by in frmMain
  std::optional<Command> command = std::nullopt;  ///< none: a separator
  const char* text = "";
  const char* tip = "";
};

/// From left to right.
inline constexpr ToolButton kToolBar[] = {{1, Command::Start, texts::kToolSync, texts::kToolSyncTip},
                                          {2},
                                          {3, Command::Settings, texts::kToolSettings, texts::kToolSettingsTip},
                                          {4, Command::Log, texts::kToolLog, texts::kToolLogTip}};

/// A panel of the status bar.
struct StatusPanel {
  Panel panel;
  const char* tip;
};

/// From left to right. The first takes the room that the others leave.
inline constexpr StatusPanel kStatusBar[] = {{Panel::Status, texts::kStatusPanel}, {Panel::Mode, texts::kModePanel}};

/// True for the modes Overwrite PDA and Overwrite PC, in which a run replaces one side as a whole. Every toolkit marks
/// them, so that nobody starts one unaware.
constexpr bool OverwritesOneSide(std::int16_t mode) {
  return mode == 1 || mode == 2;
}

/// The place of a menu in the menu bar, from 0.
constexpr std::size_t PositionOf(Menu menu) {
  std::size_t position = 0;
  while (kMenuBar[position].menu != menu) ++position;
  return position;
}

/// The place of a panel in the status bar, from 0.
constexpr std::size_t PositionOf(Panel panel) {
  std::size_t position = 0;
  while (kStatusBar[position].panel != panel) ++position;
  return position;
}

/// What a click on the toolbar's button of that index asks for; nothing for a separator and for an index that no button
/// has.
constexpr std::optional<Command> CommandOfButton(int index) {
  for (const ToolButton& button : kToolBar) {
    if (button.index == index) return button.command;
  }
  return std::nullopt;
}

}  // namespace mv::layout
