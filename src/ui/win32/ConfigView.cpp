#include "ui/win32/ConfigView.h"

#include <windowsx.h>

#include <algorithm>

#include "platform/windows/Wide.h"
#include "ui/Texts.h"
#include "ui/win32/FileDialog.h"
#include "ui/win32/PictureIds.h"

namespace mv::win32 {
namespace {

using platform::Wide;

/// Numbers of the controls; those of an array follow each other.
enum Id : int {
  kSSFrame2 = 101,
  kSSFrame1,
  kSspSyncIcon,
  kLabel1,
  kChkWriteLog,
  kChkHistory,
  kChkAutoStart,
  kLabel2 = 110,
  kTxtPaths = 120,
  kCmdBrowse = 130,
  kOptSync = 140,
};

constexpr char kPathMarks[] = {'D', 'M', 'y'};
constexpr char kModeMarks[] = {'S', 'P', 'A'};
constexpr std::size_t kPaths = 3;
constexpr std::size_t kLogPath = 2;

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

/// The path row that a browse button belongs to.
std::size_t RowOfButton(std::size_t button) {
  return button == 0 ? 0 : kLogPath;
}

int IdOf(frmConfigView::CheckBox box) {
  switch (box) {
    case frmConfigView::CheckBox::WriteLog:
      return kChkWriteLog;
    case frmConfigView::CheckBox::History:
      return kChkHistory;
    default:
      return kChkAutoStart;
  }
}

int IdOf(frmConfigView::LogControl control) {
  switch (control) {
    case frmConfigView::LogControl::Label:
      return IdAt(kLabel2, kLogPath);
    case frmConfigView::LogControl::Path:
      return IdAt(kTxtPaths, kLogPath);
    case frmConfigView::LogControl::History:
      return kChkHistory;
    default:
      return IdAt(kCmdBrowse, 1);
  }
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
  ::EnableWindow(Control(IdOf(control)), enabled);
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

// In the order of the Tab key. A keyboard mark in a label leads to the control behind it.
void ConfigView::MakeControls() {
  tips_ = std::make_unique<ToolTips>(Window());
  MakeChild(Window(), WC_BUTTONW, Marked(texts::kLocations), BS_GROUPBOX, kSSFrame2);
  for (std::size_t i = 0; i < kPaths; ++i) MakePathRow(i);
  constexpr DWORD kCheckBox = WS_TABSTOP | BS_AUTOCHECKBOX;
  MakeChild(Window(), WC_BUTTONW, Marked(texts::kWriteLog, 'L'), kCheckBox, kChkWriteLog);
  MakeChild(Window(), WC_BUTTONW, Marked(texts::kHistory, 'H'), kCheckBox, kChkHistory);
  MakeChild(Window(), WC_BUTTONW, Marked(texts::kProcessOptions), BS_GROUPBOX, kSSFrame1);
  modePicture_ = std::make_unique<PictureControl>(Window(), kSspSyncIcon, kPictureSize, COLOR_WINDOW, WS_EX_STATICEDGE);
  for (std::size_t i = 0; i < kModes; ++i) {
    const DWORD group = i == 0 ? WS_GROUP | WS_TABSTOP : 0;
    MakeChild(Window(), WC_BUTTONW, Marked(texts::kModes[i], kModeMarks[i]), group | BS_AUTORADIOBUTTON,
              IdAt(kOptSync, i));
  }
  MakeChild(Window(), WC_BUTTONW, Marked(texts::kAutoStart, 'R'), WS_GROUP | kCheckBox, kChkAutoStart);
  MakeChild(Window(), WC_STATICW, Wide(texts::kConfigHelp), SS_NOPREFIX, kLabel1);
  MakeChild(Window(), WC_BUTTONW, Marked(texts::kOk), WS_TABSTOP | BS_DEFPUSHBUTTON, IDOK);
  MakeChild(Window(), WC_BUTTONW, Marked(texts::kCancel), WS_TABSTOP | BS_PUSHBUTTON, IDCANCEL);
}

void ConfigView::MakePathRow(std::size_t index) {
  MakeChild(Window(), WC_STATICW, Marked(texts::kPathLabels[index], kPathMarks[index]), SS_LEFT, IdAt(kLabel2, index));
  MakeChild(Window(), WC_EDITW, L"", WS_TABSTOP | ES_AUTOHSCROLL, IdAt(kTxtPaths, index), WS_EX_CLIENTEDGE);
  for (std::size_t button = 0; button < kBrowseButtons; ++button) {
    if (RowOfButton(button) == index) MakeBrowseButton(button);
  }
}

void ConfigView::MakeBrowseButton(std::size_t index) {
  // The button shows its picture only; its text is what a screen reader says.
  const HWND button = MakeChild(Window(), WC_BUTTONW, Marked(texts::kBrowseTips[index]),
                                WS_TABSTOP | BS_PUSHBUTTON | BS_ICON, IdAt(kCmdBrowse, index));
  tips_->Add(button, texts::kBrowseTips[index]);
  ::SetWindowSubclass(button, BrowseProcedure, index, reinterpret_cast<DWORD_PTR>(this));
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
  for (std::size_t i = 0; i < kBrowseButtons; ++i) ShowBrowsePicture(i, BrowsePicture::Released);
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
  for (std::size_t i = 0; i < kPaths; ++i) {
    PlacePathRow(dpi, i, row, width);
    row += field + gap;
  }
  LONG left = 2 * margin + LabelWidth() + gap;
  for (const int box : {kChkWriteLog, kChkHistory}) {
    const LONG right = left + TextSize(MessageFont(), Wide(TextOf(Control(box)))).cx + dpi.Scale(kTickWidth);
    Place(Control(box), {left, row, right, row + field});
    left = right + 2 * margin;
  }
  const LONG bottom = row + field + gap;
  Place(Control(kSSFrame2), {margin, top, width - margin, bottom});
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
  for (std::size_t button = 0; button < kBrowseButtons; ++button) {
    if (RowOfButton(button) != index) continue;
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
  Place(Control(kSSFrame1), {margin, top, width - margin, bottom});
  return bottom;
}

LONG ConfigView::PlaceBottom(const Dpi& dpi, LONG top, LONG width) {
  const LONG margin = dpi.Scale(kMargin);
  const LONG gap = dpi.Scale(kGap);
  const LONG button = dpi.Scale(kButtonWidth);
  const LONG autoStart = TextHeight(MessageFont()) + dpi.Scale(8);
  Place(Control(kChkAutoStart), {margin, top, width - margin, top + autoStart});
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
  if (id == kChkWriteLog) form_.chkWriteLog_Click(*this);
  if (indexIn(kOptSync, kModes)) form_.optSync_Click(*this, static_cast<std::size_t>(id - kOptSync));
  if (indexIn(kCmdBrowse, kBrowseButtons)) form_.cmdBrowse_Click(*this, static_cast<std::size_t>(id - kCmdBrowse));
}

}  // namespace mv::win32
