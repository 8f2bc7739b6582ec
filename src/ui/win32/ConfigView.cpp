#include "ui/win32/ConfigView.h"

#include <windowsx.h>

#include <algorithm>

#include "platform/windows/Wide.h"
#include "ui/Caption.h"
#include "ui/Texts.h"
#include "ui/win32/FileDialog.h"
#include "ui/win32/PictureIds.h"

namespace mv::win32 {
namespace {

using layout::ControlKind;
using platform::Wide;

/// Numbers of the controls; those of an array follow each other.
enum Id : int {
  kFrame = 101,
  kSspSyncIcon = 104,
  kLabel1,
  kCheckBox,
  kLabel2 = 110,
  kTxtPaths = 120,
  kCmdBrowse = 130,
  kOptSync = 140,
};

// Sizes in units of 1/96 inch.
constexpr int kMargin = 12;
constexpr int kGap = 6;
constexpr int kPictureSize = 48;
constexpr int kPanelSize = 64;
constexpr int kBrowsePictureSize = 16;
constexpr int kShortestPath = 280;
constexpr int kButtonWidth = 88;
/// Room for the box or circle before a text.
constexpr int kTickWidth = 22;

int IdAt(int first, std::size_t index) {
  return first + static_cast<int>(index);
}

int FirstId(ControlKind kind) {
  switch (kind) {
    case ControlKind::Label:
      return kLabel2;
    case ControlKind::Path:
      return kTxtPaths;
    case ControlKind::Browse:
      return kCmdBrowse;
    case ControlKind::Box:
      return kCheckBox;
    case ControlKind::ModePicture:
      return kSspSyncIcon;
    case ControlKind::Mode:
      return kOptSync;
    case ControlKind::Help:
      return kLabel1;
    case ControlKind::Ok:
      return IDOK;
    default:
      return IDCANCEL;
  }
}

int IdOf(layout::ControlId control) {
  return IdAt(FirstId(control.kind), control.index);
}

int IdOf(layout::CheckBox box) {
  return IdOf(layout::IdOf(box));
}

/// The arrow keys' group of the modes ends where another one begins.
DWORD EndOfModes(layout::ControlId control) {
  return control == layout::IdOf(layout::CheckBox::AutoStart) ? WS_GROUP : 0;
}

LONG TextHeight(HFONT font) {
  return TextSize(font, L"Ag").cy;
}

LONG FieldHeight(HFONT font, const Dpi& dpi) {
  return TextHeight(font) + dpi.Scale(8);
}

/// A text box draws its text at its top, so it must be hardly taller than that.
LONG EditHeight(HFONT font, const Dpi& dpi) {
  return TextHeight(font) + 2 * ::GetSystemMetrics(SM_CYEDGE) + dpi.Scale(3);
}

/// From the upper edge of a text box to its text.
LONG TextInset(HWND edit) {
  RECT text;
  ::SendMessageW(edit, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&text));
  return text.top + FrameSize(edit).cy / 2;
}

}  // namespace

ConfigView::ConfigView(frmConfig& form) : ModalDialog(Wide(texts::kConfigCaption)), form_(form) {}

void ConfigView::SelectMode(std::size_t index) {
  for (std::size_t i = 0; i < kModes; ++i) {
    Button_SetCheck(Control(IdAt(kOptSync, i)), i == index ? BST_CHECKED : BST_UNCHECKED);
  }
}

bool ConfigView::ModeSelected(std::size_t index) const {
  return Button_GetCheck(Control(IdAt(kOptSync, index))) == BST_CHECKED;
}

void ConfigView::ShowModePicture(std::size_t index) {
  modePicture_->Show(PICTURE_MODE0 + static_cast<int>(index));
}

void ConfigView::SetPath(std::size_t index, const std::string& text) {
  SetText(Control(IdAt(kTxtPaths, index)), Wide(text));
}

std::string ConfigView::Path(std::size_t index) const {
  return TextOf(Control(IdAt(kTxtPaths, index)));
}

void ConfigView::Tick(CheckBox box, bool ticked) {
  Button_SetCheck(Control(IdOf(box)), ticked ? BST_CHECKED : BST_UNCHECKED);
}

bool ConfigView::Ticked(CheckBox box) const {
  return Button_GetCheck(Control(IdOf(box))) == BST_CHECKED;
}

void ConfigView::Enable(LogControl control, bool enabled) {
  ::EnableWindow(Control(IdOf(layout::IdOf(control))), enabled);
}

void ConfigView::ShowBrowsePicture(std::size_t index, BrowsePicture picture) {
  const int id = picture == BrowsePicture::Pressed ? PICTURE_BROWSE_PRESSED : PICTURE_BROWSE_RELEASED;
  const int size = Dpi(Window()).Scale(kBrowsePictureSize);
  Icon shown = LoadPicture(id, size, size);
  ::SendMessageW(Control(IdAt(kCmdBrowse, index)), BM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(shown.get()));
  browsePictures_.at(index) = std::move(shown);
}

std::optional<std::string> ConfigView::AskFile(const FileQuestion& question) {
  return win32::AskFile(Window(), question);
}

// A keyboard mark in a label leads to the control made behind it.
void ConfigView::MakeControls() {
  tips_ = std::make_unique<ToolTips>(Window());
  int frame = kFrame;
  for (const layout::ConfigSection& section : layout::kConfigSections) {
    if (section.frame) {
      MakeChild(Window(), WC_BUTTONW, Wide(Marked({section.frame})), BS_GROUPBOX, frame++);
    }
    for (const layout::ConfigControl& control : section.controls) MakeControl(control);
  }
}

void ConfigView::MakeControl(const layout::ConfigControl& control) {
  const int id = IdOf(control.id);
  const std::wstring text = Wide(Marked(control.caption));
  switch (control.id.kind) {
    case ControlKind::Label:
      MakeChild(Window(), WC_STATICW, text, SS_LEFT, id);
      return;
    case ControlKind::Path:
      MakeChild(Window(), WC_EDITW, L"", WS_TABSTOP | ES_AUTOHSCROLL, id, WS_EX_CLIENTEDGE);
      return;
    case ControlKind::Browse:
      MakeBrowseButton(control);
      return;
    case ControlKind::Box:
      MakeChild(Window(), WC_BUTTONW, text, WS_TABSTOP | BS_AUTOCHECKBOX | EndOfModes(control.id), id);
      return;
    case ControlKind::ModePicture:
      modePicture_ = std::make_unique<PictureControl>(Window(), id, kPictureSize, COLOR_WINDOW, WS_EX_STATICEDGE);
      return;
    case ControlKind::Mode:
      MakeChild(Window(), WC_BUTTONW, text, BS_AUTORADIOBUTTON | (control.id.index == 0 ? WS_GROUP | WS_TABSTOP : 0),
                id);
      return;
    case ControlKind::Help:
      MakeChild(Window(), WC_STATICW, Wide(control.caption.text), SS_NOPREFIX, id);
      return;
    case ControlKind::Ok:
      MakeChild(Window(), WC_BUTTONW, text, WS_TABSTOP | BS_DEFPUSHBUTTON, id);
      return;
    case ControlKind::Cancel:
      MakeChild(Window(), WC_BUTTONW, text, WS_TABSTOP | BS_PUSHBUTTON, id);
      return;
  }
}

void ConfigView::MakeBrowseButton(const layout::ConfigControl& control) {
  // A button with a picture does not show its text.
  const HWND button = MakeChild(Window(), WC_BUTTONW, Wide(Marked(control.caption)),
                                WS_TABSTOP | BS_PUSHBUTTON | BS_ICON, IdOf(control.id));
  tips_->Add(button, control.caption.text);
  ::SetWindowSubclass(button, BrowseProcedure, control.id.index, reinterpret_cast<DWORD_PTR>(this));
}

/// Tells when a browse button goes down and up, by mouse or by the space bar. A button that loses the mouse, because
/// another window comes up, goes up as well.
LRESULT CALLBACK ConfigView::BrowseProcedure(HWND button, UINT message, WPARAM wide, LPARAM large, UINT_PTR index,
                                             DWORD_PTR view) {
  auto* const self = reinterpret_cast<ConfigView*>(view);
  const bool byKey = wide == VK_SPACE;
  switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      self->form_.cmdBrowse_Pressed(*self, index);
      break;
    case WM_KEYDOWN:
      if (byKey) self->form_.cmdBrowse_Pressed(*self, index);
      break;
    case WM_LBUTTONUP:
    case WM_CAPTURECHANGED:
      self->form_.cmdBrowse_Released(*self, index);
      break;
    case WM_KEYUP:
      if (byKey) self->form_.cmdBrowse_Released(*self, index);
      break;
    default:
      break;
  }
  return ::DefSubclassProc(button, message, wide, large);
}

SIZE ConfigView::PlaceControls(const Dpi& dpi) {
  modePicture_->Rescale();
  for (std::size_t i = 0; i < layout::kBrowseButtons; ++i) ShowBrowsePicture(i, BrowsePicture::Released);
  const LONG margin = dpi.Scale(kMargin);
  const LONG width = Width(dpi);
  LONG top = PlaceLocations(dpi, margin, width);
  top = PlaceOptions(dpi, top + margin, width);
  return {width, PlaceBottom(dpi, top + margin, width)};
}

LONG ConfigView::LabelWidth() const {
  LONG widest = 0;
  for (const char* label : texts::kPathLabels) widest = std::max(widest, TextSize(MessageFont(), Wide(label)).cx);
  return widest;
}

/// Wide enough for the longest mode and for a path of a fair length.
LONG ConfigView::Width(const Dpi& dpi) const {
  const LONG margins = 4 * dpi.Scale(kMargin);
  LONG widest = LabelWidth() + dpi.Scale(kShortestPath) + FieldHeight(MessageFont(), dpi) + 2 * dpi.Scale(kGap);
  for (const char* mode : texts::kModes) {
    const LONG text = TextSize(MessageFont(), Wide(mode)).cx;
    widest = std::max(widest, dpi.Scale(kPanelSize + kMargin + kTickWidth) + text);
  }
  return widest + margins;
}

LONG ConfigView::PlaceLocations(const Dpi& dpi, LONG top, LONG width) {
  const LONG margin = dpi.Scale(kMargin);
  const LONG gap = dpi.Scale(kGap);
  const LONG field = FieldHeight(MessageFont(), dpi);
  LONG row = top + TextHeight(MessageFont()) + gap;
  for (std::size_t i = 0; i < layout::kPathRows; ++i) {
    PlacePathRow(dpi, i, row, width);
    row += field + gap;
  }
  LONG left = 2 * margin + LabelWidth() + gap;
  for (const CheckBox box : {CheckBox::WriteLog, CheckBox::History}) {
    const HWND control = Control(IdOf(box));
    const LONG right = left + TextSize(MessageFont(), Wide(TextOf(control))).cx + dpi.Scale(kTickWidth);
    Place(control, {left, row, right, row + field});
    left = right + 2 * margin;
  }
  const LONG bottom = row + field + gap;
  Place(Control(kFrame), {margin, top, width - margin, bottom});
  return bottom;
}

void ConfigView::PlacePathRow(const Dpi& dpi, std::size_t index, LONG top, LONG width) {
  const LONG margin = dpi.Scale(kMargin);
  const LONG gap = dpi.Scale(kGap);
  const LONG field = FieldHeight(MessageFont(), dpi);
  const LONG left = 2 * margin + LabelWidth() + gap;
  const LONG right = width - 2 * margin - field - gap;
  const HWND edit = Control(IdAt(kTxtPaths, index));
  const LONG editHeight = EditHeight(MessageFont(), dpi);
  const LONG editTop = top + (field - editHeight) / 2;
  Place(edit, {left, editTop, right, editTop + editHeight});
  const LONG textTop = editTop + TextInset(edit);
  Place(Control(IdAt(kLabel2, index)), {2 * margin, textTop, left - gap, textTop + TextHeight(MessageFont())});
  for (std::size_t button = 0; button < layout::kBrowseButtons; ++button) {
    if (layout::RowOfBrowse(button) != index) continue;
    Place(Control(IdAt(kCmdBrowse, button)), {right + gap, top, right + gap + field, top + field});
  }
}

LONG ConfigView::PlaceOptions(const Dpi& dpi, LONG top, LONG width) {
  const LONG margin = dpi.Scale(kMargin);
  const LONG panel = dpi.Scale(kPanelSize);
  const LONG rowHeight = TextHeight(MessageFont()) + dpi.Scale(8);
  const LONG first = top + TextHeight(MessageFont()) + dpi.Scale(kGap);
  const LONG rows = rowHeight * static_cast<LONG>(kModes);
  const LONG tall = std::max(rows, panel);
  const LONG panelTop = first + (tall - panel) / 2;
  Place(modePicture_->Window(), {2 * margin, panelTop, 2 * margin + panel, panelTop + panel});
  LONG row = first + (tall - rows) / 2;
  for (std::size_t i = 0; i < kModes; ++i) {
    Place(Control(IdAt(kOptSync, i)), {3 * margin + panel, row, width - 2 * margin, row + rowHeight});
    row += rowHeight;
  }
  const LONG bottom = first + tall + margin;
  Place(Control(IdAt(kFrame, 1)), {margin, top, width - margin, bottom});
  return bottom;
}

LONG ConfigView::PlaceBottom(const Dpi& dpi, LONG top, LONG width) {
  const LONG margin = dpi.Scale(kMargin);
  const LONG gap = dpi.Scale(kGap);
  const LONG button = dpi.Scale(kButtonWidth);
  const LONG autoStart = TextHeight(MessageFont()) + dpi.Scale(8);
  Place(Control(IdOf(CheckBox::AutoStart)), {margin, top, width - margin, top + autoStart});
  const LONG helpTop = top + autoStart + gap;
  const LONG helpBottom = helpTop + WrappedHeight(MessageFont(), Wide(texts::kConfigHelp), width - 2 * margin);
  Place(Control(kLabel1), {margin, helpTop, width - margin, helpBottom});
  const LONG buttons = helpBottom + margin;
  const LONG bottom = buttons + TextHeight(MessageFont()) + dpi.Scale(10);
  const LONG cancel = width - margin - button;
  Place(Control(IDCANCEL), {cancel, buttons, cancel + button, bottom});
  Place(Control(IDOK), {cancel - gap - button, buttons, cancel - gap, bottom});
  return bottom + margin;
}

void ConfigView::Command(int id, int code) {
  if (code != BN_CLICKED) return;
  const auto indexIn = [id](int first, std::size_t count) { return id >= first && id < IdAt(first, count); };
  if (id == IDOK) form_.cmdOK_Click(*this);
  if (id == IDCANCEL) form_.cmdCancel_Click(*this);
  if (id == IdOf(CheckBox::WriteLog)) form_.chkWriteLog_Click(*this);
  if (indexIn(kOptSync, kModes)) form_.optSync_Click(*this, static_cast<std::size_t>(id - kOptSync));
  if (indexIn(kCmdBrowse, layout::kBrowseButtons)) {
    form_.cmdBrowse_Click(*this, static_cast<std::size_t>(id - kCmdBrowse));
  }
}

}  // namespace mv::win32
