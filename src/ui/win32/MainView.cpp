#include "ui/win32/MainView.h"

#include <windowsx.h>

#include <algorithm>
#include <span>
#include <vector>

#include "platform/windows/Wide.h"
#include "ui/MainWindowLayout.h"
#include "ui/Texts.h"
#include "ui/win32/ConfigView.h"
#include "ui/win32/PictureIds.h"

namespace mv::win32 {
namespace {

using layout::Command;
using platform::Wide;

constexpr const wchar_t* kClass = L"MotorvaSyncWindow";

enum Id : int {
  /// Followed by the menu entries' numbers, by command.
  kMnu = 101,
  /// Followed by the toolbar buttons' numbers, by index.
  kTb = 120,
  kToolBar = 140,
  kStatusBar1,
  kLstProgress,
  kSspSyncIcon,
  kImgSpinner,
  kLabel1,
};

/// Sent to the window itself after it was activated: the handler shall not run within the activation.
constexpr UINT kActivated = WM_APP;

// Sizes in units of 1/96 inch.
constexpr SIZE kWindowSize = {600, 440};
constexpr SIZE kSmallestSize = {420, 300};
constexpr int kMargin = 8;
constexpr int kModeSize = 48;
constexpr int kPanelSize = 60;
constexpr int kSpinnerSize = 32;
constexpr int kColumnMargin = 16;

constexpr int kTitlePercent = 145;

int IdOf(Command command) {
  return kMnu + static_cast<int>(command);
}

int PictureOf(Command command) {
  switch (command) {
    case Command::Start:
      return PICTURE_SYNC;
    case Command::Settings:
      return PICTURE_SETTINGS;
    case Command::Log:
      return PICTURE_LOG;
    default:
      return 0;
  }
}

UINT StateOf(bool enabled) {
  return enabled ? MF_ENABLED : MF_GRAYED;
}

void Append(HMENU menu, Command command, const Caption& caption, bool enabled) {
  ::AppendMenuW(menu, MF_STRING | StateOf(enabled), static_cast<UINT_PTR>(IdOf(command)),
                Wide(Marked(caption)).c_str());
}

HMENU MakePopup(std::span<const layout::MenuItem> items) {
  const HMENU popup = ::CreatePopupMenu();
  for (const layout::MenuItem& item : items) {
    if (item.command) Append(popup, *item.command, item.caption, item.enabled);
    if (!item.command) ::AppendMenuW(popup, MF_SEPARATOR, 0, nullptr);
  }
  return popup;
}

HMENU MakeMenu() {
  const HMENU menu = ::CreateMenu();
  for (const layout::MenuBarEntry& entry : layout::kMenuBar) {
    if (entry.command) {
      Append(menu, *entry.command, entry.caption, true);
    } else {
      ::AppendMenuW(menu, MF_POPUP, reinterpret_cast<UINT_PTR>(MakePopup(entry.items)),
                    Wide(Marked(entry.caption)).c_str());
    }
  }
  return menu;
}

std::vector<ToolBar::Button> ToolButtons() {
  std::vector<ToolBar::Button> buttons;
  for (const layout::ToolButton& button : layout::kToolBar) {
    const int id = button.command ? kTb + button.index : 0;
    buttons.push_back({id, button.command ? PictureOf(*button.command) : 0, button.text, button.tip});
  }
  return buttons;
}

/// The program's icon in the size that two of the system's measures say. The window class has it until the process
/// ends.
HICON ClassIcon(int width, int height) {
  return LoadPicture(PICTURE_PROGRAM, ::GetSystemMetrics(width), ::GetSystemMetrics(height)).release();
}

void RegisterWindowClass(WNDPROC procedure) {
  WNDCLASSEXW design = {};
  design.cbSize = sizeof design;
  design.lpfnWndProc = procedure;
  design.hInstance = ::GetModuleHandleW(nullptr);
  design.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
  design.hIcon = ClassIcon(SM_CXICON, SM_CYICON);
  design.hIconSm = ClassIcon(SM_CXSMICON, SM_CYSMICON);
  design.hbrBackground = ::GetSysColorBrush(COLOR_BTNFACE);
  design.lpszClassName = kClass;
  ::RegisterClassExW(&design);
}

UINT StyleOf(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::Information:
      return MB_ICONINFORMATION;
    case MessageIcon::Exclamation:
      return MB_ICONEXCLAMATION;
    case MessageIcon::Critical:
      return MB_ICONERROR;
    default:
      return 0;
  }
}

/// Asks every window but the main one to close.
BOOL CALLBACK CloseOther(HWND window, LPARAM main) {
  if (window != reinterpret_cast<HWND>(main) && ::IsWindowVisible(window)) ::PostMessageW(window, WM_CLOSE, 0, 0);
  return TRUE;
}

}  // namespace

MainView::MainView(frmMain& form) : form_(form) {
  RegisterWindowClass(Procedure);
  ::CreateWindowExW(0, kClass, Wide(texts::kMainCaption).c_str(), WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                    CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, MakeMenu(), ::GetModuleHandleW(nullptr),
                    this);
  MakeControls();
  Rescale();
  const Dpi dpi(window_);
  const RECT area = WorkArea(window_);
  const LONG width = std::min<LONG>(dpi.Scale(kWindowSize.cx), area.right - area.left);
  const LONG height = std::min<LONG>(dpi.Scale(kWindowSize.cy), area.bottom - area.top);
  ::SetWindowPos(window_, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

MainView::~MainView() {
  if (!window_) return;
  ::SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  ::DestroyWindow(window_);
}

void MainView::SetUpProgressColumn() {
  LVCOLUMNW column = {};
  column.mask = LVCF_WIDTH;
  column.cx = 0;
  ListView_InsertColumn(list_, 0, &column);
}

void MainView::Show() {
  PlaceControls();
  ::ShowWindow(window_, SW_SHOWDEFAULT);
  ::UpdateWindow(window_);
}

void MainView::Unload() {
  if (window_) ::DestroyWindow(window_);
}

void MainView::RunUntilClosed() {
  MSG message;
  while (window_ && !form_.Closed() && ::GetMessageW(&message, nullptr, 0, 0) >= 0) Dispatch(message);
}

void MainView::ProcessMessages() {
  MSG message;
  while (window_ && ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) Dispatch(message);
}

void MainView::Dispatch(MSG& message) {
  if (message.message == WM_QUIT) return form_.Unload();
  if (::IsDialogMessageW(Uppermost(), &message)) return;
  ::TranslateMessage(&message);
  ::DispatchMessageW(&message);
}

void MainView::SetPanel(Panel panel, const std::string& text) {
  // A tab at the start of a text would centre it.
  ::SendMessageW(status_, SB_SETTEXTW, layout::PositionOf(panel), reinterpret_cast<LPARAM>(Wide(text).c_str()));
}

void MainView::ShowMode(std::int16_t mode, const std::string& tip) {
  const bool known = mode >= 0 && PICTURE_MODE0 + mode <= PICTURE_MODE2;
  modePicture_->Show(known ? PICTURE_MODE0 + mode : 0);
  modePanel_->Warn(layout::OverwritesOneSide(mode));
  SetText(modePicture_->Window(), Wide(tip));
  tips_->SetTip(modePicture_->Window(), tip);
}

void MainView::AddProgressItem(const std::string& text) {
  std::wstring wide = Wide(text);
  LVITEMW item = {};
  item.mask = LVIF_TEXT;
  item.iItem = ListView_GetItemCount(list_);
  item.pszText = wide.data();
  const int index = static_cast<int>(::SendMessageW(list_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item)));
  longestLine_ = std::max<int>(longestLine_, TextSize(font_.get(), wide).cx + Dpi(list_).Scale(kColumnMargin));
  FitColumn();
  ListView_EnsureVisible(list_, index, FALSE);
}

void MainView::ShowSpinnerFrame(int frame) {
  spinner_->Show(PICTURE_SPINNER0 + frame);
}

void MainView::EnableButton(int index, bool enabled) {
  toolBar_->Enable(kTb + index, enabled);
}

void MainView::EnableMenu(Menu menu, bool enabled) {
  ::EnableMenuItem(::GetMenu(window_), static_cast<UINT>(layout::PositionOf(menu)), MF_BYPOSITION | StateOf(enabled));
  ::DrawMenuBar(window_);
}

void MainView::EnableMenuItem(Command command, bool enabled) {
  ::EnableMenuItem(::GetMenu(window_), static_cast<UINT>(IdOf(command)), MF_BYCOMMAND | StateOf(enabled));
}

void MainView::SetHourglass(bool on) {
  hourglass_ = on;
  POINT place;
  ::GetCursorPos(&place);
  const HWND under = ::WindowFromPoint(place);
  if (under != window_ && !::IsChild(window_, under)) return;
  // What the system sends when the mouse moves: the pointer changes although it rests.
  const LRESULT hit = ::SendMessageW(under, WM_NCHITTEST, 0, MAKELPARAM(place.x, place.y));
  ::SendMessageW(under, WM_SETCURSOR, reinterpret_cast<WPARAM>(under), MAKELPARAM(hit, WM_MOUSEMOVE));
}

MessageAnswer MainView::ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                                    MessageIcon icon) {
  const UINT kind = buttons == MessageButtons::RetryCancel ? MB_RETRYCANCEL : MB_OK;
  switch (::MessageBoxW(Uppermost(), Wide(text).c_str(), Wide(title).c_str(), kind | StyleOf(icon))) {
    case IDRETRY:
      return MessageAnswer::Retry;
    case IDOK:
      return MessageAnswer::Ok;
    default:
      // Also when the box could not be shown, or went away with the session.
      return RefusingAnswer(buttons);
  }
}

void MainView::ShowModal(frmConfig& form) {
  ConfigView(form).ShowModal(window_);
}

void MainView::ShowAbout(frmAbout& form) {
  if (!about_) about_ = std::make_unique<AboutView>(form);
  about_->Open(window_);
}

HWND MainView::Uppermost() const {
  return about_ && about_->IsOpen() ? about_->Window() : window_;
}

LRESULT CALLBACK MainView::Procedure(HWND window, UINT message, WPARAM wide, LPARAM large) {
  if (message == WM_NCCREATE) {
    auto* const creating = static_cast<MainView*>(reinterpret_cast<const CREATESTRUCTW*>(large)->lpCreateParams);
    creating->window_ = window;
    ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creating));
  }
  auto* const self = reinterpret_cast<MainView*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  return self ? self->Handle(message, wide, large) : ::DefWindowProcW(window, message, wide, large);
}

LRESULT MainView::Handle(UINT message, WPARAM wide, LPARAM large) {
  switch (message) {
    case WM_COMMAND:
      // A control shall be done with its click before the command begins, in which the window may be closed.
      if (large != 0) ::PostMessageW(window_, WM_COMMAND, wide, 0);
      if (large == 0) HandleCommand(LOWORD(wide));
      return 0;
    case WM_NOTIFY:
      return Notify(*reinterpret_cast<const NMHDR*>(large));
    case kActivated:
      form_.Form_Activate();
      return 0;
    case WM_ACTIVATE:
      if (LOWORD(wide) == WA_INACTIVE) KeepFocus();
      if (LOWORD(wide) != WA_INACTIVE) ::PostMessageW(window_, kActivated, 0, 0);
      break;
    case WM_SETFOCUS:
      ::SetFocus(focused_);
      return 0;
    case WM_SETCURSOR:
      if (!ShowsHourglass(large)) break;
      ::SetCursor(::LoadCursorW(nullptr, IDC_WAIT));
      return TRUE;
    case WM_SIZE:
      if (wide != SIZE_MINIMIZED && status_) PlaceControls();
      return 0;
    case WM_GETMINMAXINFO: {
      const Dpi dpi(window_);
      reinterpret_cast<MINMAXINFO*>(large)->ptMinTrackSize = {dpi.Scale(kSmallestSize.cx), dpi.Scale(kSmallestSize.cy)};
      return 0;
    }
    case kDpiChanged:
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
    case WM_SETTINGCHANGE:
      AdoptSystemChange(message, wide, large);
      return 0;
    case WM_CLOSE:
      // A modal window over this one is closed first, but for the about box, which goes with it.
      if (::IsWindowEnabled(Uppermost())) form_.Unload();
      return 0;
    case WM_ENDSESSION:
      if (wide) EndWithSession();
      return 0;
    case WM_DESTROY:
      window_ = nullptr;
      return 0;
    default:
      break;
  }
  return ::DefWindowProcW(window_, message, wide, large);
}

/// The system may end the process any time after it has told of the session's end. It need not: then the modal windows
/// are closed as by their close boxes, and the message loop ends with the next message.
void MainView::EndWithSession() {
  form_.Form_Unload();
  ::EnumThreadWindows(::GetCurrentThreadId(), CloseOther, reinterpret_cast<LPARAM>(window_));
  ::PostMessageW(window_, WM_NULL, 0, 0);
}

void MainView::HandleCommand(int id) {
  if (id >= kMnu && id < kTb) form_.Perform(static_cast<layout::Command>(id - kMnu));
  if (id >= kTb && id < kToolBar) form_.tb_ButtonClick(id - kTb);
}

LRESULT MainView::Notify(const NMHDR& header) {
  if (header.code != static_cast<UINT>(TTN_GETDISPINFOW)) return 0;
  auto& asked = reinterpret_cast<NMTTDISPINFOW&>(const_cast<NMHDR&>(header));
  const std::wstring tip = toolBar_->TipOf(static_cast<int>(header.idFrom));
  ::lstrcpynW(asked.szText, tip.c_str(), static_cast<int>(std::size(asked.szText)));
  return 0;
}

bool MainView::ShowsHourglass(LPARAM hit) const {
  return hourglass_ && LOWORD(hit) == HTCLIENT && ::IsWindowEnabled(window_);
}

void MainView::MakeControls() {
  toolBar_ = std::make_unique<ToolBar>(window_, kToolBar, ToolButtons());
  modePicture_ = std::make_unique<PictureControl>(window_, kSspSyncIcon, kModeSize, COLOR_WINDOW, WS_EX_STATICEDGE);
  title_ =
      MakeChild(window_, WC_STATICW, Wide(texts::kMainTitle), SS_NOPREFIX | SS_ENDELLIPSIS | SS_CENTERIMAGE, kLabel1);
  spinner_ = std::make_unique<PictureControl>(window_, kImgSpinner, kSpinnerSize, COLOR_BTNFACE);
  spinner_->Show(PICTURE_SPINNER0);
  list_ = MakeChild(window_, WC_LISTVIEWW, L"",
                    WS_TABSTOP | LVS_REPORT | LVS_NOCOLUMNHEADER | LVS_SINGLESEL | LVS_SHOWSELALWAYS, kLstProgress,
                    WS_EX_CLIENTEDGE);
  ListView_SetExtendedListViewStyle(list_, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
  status_ = MakeChild(window_, STATUSCLASSNAMEW, L"", SBARS_SIZEGRIP, kStatusBar1);
  modePanel_ = std::make_unique<WarningPart>(status_, layout::PositionOf(Panel::Mode));
  tips_ = std::make_unique<ToolTips>(window_);
  tips_->Add(modePicture_->Window(), "");
  focused_ = list_;
}

void MainView::Rescale() {
  const Dpi dpi(window_);
  Font font = dpi.MessageFont();
  Font titleFont = dpi.MessageFont(kTitlePercent, FW_SEMIBOLD);
  SetFonts(window_, font.get());
  SetWindowFont(title_, titleFont.get(), TRUE);
  toolBar_->Rescale(dpi, font.get());
  modePicture_->Rescale();
  spinner_->Rescale();
  modePanel_->Rescale();
  font_ = std::move(font);
  titleFont_ = std::move(titleFont);
  MeasureLines();
}

void MainView::MeasureLines() {
  if (ListView_GetItemCount(list_) == 0) return;
  ListView_SetColumnWidth(list_, 0, LVSCW_AUTOSIZE);
  longestLine_ = ListView_GetColumnWidth(list_, 0);
}

/// The column holds the longest line and fills the list.
void MainView::FitColumn() {
  RECT client;
  ::GetClientRect(list_, &client);
  const int width = std::max<int>(longestLine_, client.right);
  if (width != ListView_GetColumnWidth(list_, 0)) ListView_SetColumnWidth(list_, 0, width);
}

void MainView::PlaceControls() {
  const Dpi dpi(window_);
  const LONG margin = dpi.Scale(kMargin);
  const LONG panel = dpi.Scale(kPanelSize);
  const LONG spinner = dpi.Scale(kSpinnerSize);
  RECT client;
  ::GetClientRect(window_, &client);
  ::SendMessageW(status_, WM_SIZE, 0, 0);
  RECT bar;
  ::GetWindowRect(status_, &bar);
  const LONG toolTop = margin / 2;
  const LONG toolBottom = toolTop + toolBar_->Height();
  const LONG bandTop = toolBottom + margin;
  const LONG bandBottom = bandTop + panel;
  const LONG spinnerLeft = client.right - margin - spinner;
  const LONG spinnerTop = bandTop + (panel - spinner) / 2;
  Place(toolBar_->Window(), {margin / 2, toolTop, client.right - margin / 2, toolBottom});
  Place(modePicture_->Window(), {margin, bandTop, margin + panel, bandBottom});
  Place(title_, {margin + panel + 2 * margin, bandTop, spinnerLeft - margin, bandBottom});
  Place(spinner_->Window(), {spinnerLeft, spinnerTop, spinnerLeft + spinner, spinnerTop + spinner});
  Place(list_,
        {margin, bandBottom + margin, client.right - margin, client.bottom - (bar.bottom - bar.top) - margin / 2});
  FitColumn();
  // A list that has room for more lines shows others, but keeps the picture of those before.
  ::InvalidateRect(list_, nullptr, TRUE);
  PlaceStatusPanels(client.right);
}

void MainView::PlaceStatusPanels(int width) {
  const Dpi dpi(window_);
  const int modeLeft = width - TextSize(font_.get(), Wide(texts::kModePanel)).cx - dpi.Scale(40);
  const int rightEdges[] = {modeLeft, -1};
  ::SendMessageW(status_, SB_SETPARTS, std::size(rightEdges), reinterpret_cast<LPARAM>(rightEdges));
  for (std::size_t part = 0; part < std::size(layout::kStatusBar); ++part) {
    RECT place;
    ::SendMessageW(status_, SB_GETRECT, part, reinterpret_cast<LPARAM>(&place));
    tips_->AddPart(status_, part, place, layout::kStatusBar[part].tip);
  }
}

void MainView::KeepFocus() {
  const HWND focus = ::GetFocus();
  if (focus && ::IsChild(window_, focus)) focused_ = focus;
}

void MainView::AdoptSystemChange(UINT message, WPARAM wide, LPARAM large) {
  if (message == kDpiChanged) {
    const RECT& suggested = *reinterpret_cast<const RECT*>(large);
    ::SetWindowPos(window_, nullptr, suggested.left, suggested.top, suggested.right - suggested.left,
                   suggested.bottom - suggested.top, SWP_NOZORDER | SWP_NOACTIVATE);
  } else {
    TellChildren(window_, message, wide, large);
  }
  Rescale();
  PlaceControls();
  ::InvalidateRect(window_, nullptr, TRUE);
}

}  // namespace mv::win32
