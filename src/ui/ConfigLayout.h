#pragma once

#include <cstddef>
#include <iterator>
#include <span>

#include "ui/Caption.h"
#include "ui/Texts.h"
#include "ui/frmConfigView.h"

/// The settings dialog as every toolkit shows it.
namespace mv::layout {

using CheckBox = frmConfigView::CheckBox;
using LogControl = frmConfigView::LogControl;

enum class ControlKind {
  Label,        ///< stands before a path; its mark leads to that path
  Path,         ///< a line to type in
  Browse,       ///< stands behind a path and shows a picture; the caption is its tip and what a screen reader says
  Box,          ///< to tick: one of frmConfigView::CheckBox
  ModePicture,  ///< of the mode that is selected
  Mode,         ///< one of several that exclude each other, a group for the arrow keys
  Help,         ///< a text in as many lines as it takes
  Ok,           ///< the default button: Enter presses it, wherever the focus is
  Cancel,       ///< Esc and the close box press it
};

/// A control of the dialog.
struct ControlId {
  ControlKind kind;
  /// Label, Path: the row. Browse: the button. Mode: the mode. Box: its value. The others: 0.
  std::size_t index = 0;

  friend constexpr bool operator==(const ControlId&, const ControlId&) = default;
};

struct ConfigControl {
  ControlId id;
  Caption caption;
};

/// Controls that belong together.
struct ConfigSection {
  const char* frame;  ///< the caption of the frame around them; null: there is none
  std::span<const ConfigControl> controls;
};

inline constexpr std::size_t kPathRows = std::size(texts::kPathLabels);
inline constexpr std::size_t kLogRow = 2;
inline constexpr std::size_t kBrowseButtons = std::size(texts::kBrowseTips);

constexpr ControlId IdOf(CheckBox box) {
  return {ControlKind::Box, static_cast<std::size_t>(box)};
}

/// The handheld's folder has no browse button: no dialog looks into the handheld.
inline constexpr ConfigControl kLocations[] = {
    {{ControlKind::Label, 0}, {texts::kPathLabels[0], 'D'}},
    {{ControlKind::Path, 0}, {}},
    {{ControlKind::Browse, 0}, {texts::kBrowseTips[0]}},
    {{ControlKind::Label, 1}, {texts::kPathLabels[1], 'M'}},
    {{ControlKind::Path, 1}, {}},
    {{ControlKind::Label, kLogRow}, {texts::kPathLabels[kLogRow], 'y'}},
    {{ControlKind::Path, kLogRow}, {}},
    {{ControlKind::Browse, 1}, {texts::kBrowseTips[1]}},
    {IdOf(CheckBox::WriteLog), {texts::kWriteLog, 'L'}},
    {IdOf(CheckBox::History), {texts::kHistory, 'H'}},
};
/// For editions where nothing else sets the way to the handheld: the next row of paths, and the next browse button.
inline constexpr std::size_t kHandheldRow = kPathRows;
inline constexpr std::size_t kHandheldBrowse = kBrowseButtons;
inline constexpr ControlId kNetworkBox = {ControlKind::Box, static_cast<std::size_t>(CheckBox::AutoStart) + 1};
inline constexpr ConfigControl kHandheld[] = {
    {{ControlKind::Label, kHandheldRow}, {texts::kHandheldFolder, 'F'}},
    {{ControlKind::Path, kHandheldRow}, {}},
    {{ControlKind::Browse, kHandheldBrowse}, {texts::kHandheldBrowse}},
    {kNetworkBox, {texts::kHandheldNetwork, 'N'}},
    {{ControlKind::Help, 1}, {texts::kHandheldHelp}},
};
inline constexpr ConfigControl kOptions[] = {
    {{ControlKind::ModePicture}, {}},
    {{ControlKind::Mode, 0}, {texts::kModes[0], 'S'}},
    {{ControlKind::Mode, 1}, {texts::kModes[1], 'P'}},
    {{ControlKind::Mode, 2}, {texts::kModes[2], 'A'}},
};
inline constexpr ConfigControl kBottom[] = {
    {IdOf(CheckBox::AutoStart), {texts::kAutoStart, 'R'}},
    {{ControlKind::Help}, {texts::kConfigHelp}},
    {{ControlKind::Ok}, {texts::kOk}},
    {{ControlKind::Cancel}, {texts::kCancel}},
};

/// The whole dialog from top to bottom, in the order of the Tab key.
inline constexpr ConfigSection kConfigSections[] = {
    {texts::kLocations, kLocations}, {texts::kProcessOptions, kOptions}, {nullptr, kBottom}};

inline constexpr ConfigSection kConfigSectionsWithHandheld[] = {{texts::kLocations, kLocations},
                                                                {texts::kHandheldFrame, kHandheld},
                                                                {texts::kProcessOptions, kOptions},
                                                                {nullptr, kBottom}};

/// The row of paths that a browse button stands in.
constexpr std::size_t RowOfBrowse(std::size_t button) {
  std::size_t row = 0;
  for (const ConfigControl& control : kLocations) {
    if (control.id.kind == ControlKind::Path) row = control.id.index;
    if (control.id == ControlId{ControlKind::Browse, button}) break;
  }
  return row;
}

/// The control that follows the box "Logging On".
constexpr ControlId IdOf(LogControl control) {
  switch (control) {
    case LogControl::Label:
      return {ControlKind::Label, kLogRow};
    case LogControl::Path:
      return {ControlKind::Path, kLogRow};
    case LogControl::History:
      return IdOf(CheckBox::History);
    default:
      return {ControlKind::Browse, 1};
  }
}

}  // namespace mv::layout
