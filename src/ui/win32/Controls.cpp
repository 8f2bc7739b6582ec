#include "ui/win32/Controls.h"

#include <windowsx.h>

#include "platform/windows/Wide.h"

namespace mv::win32 {
namespace {

using platform::Wide;

/// A tool whose messages the tip window sees by itself.
TTTOOLINFOW Tool(HWND owner, UINT flags, UINT_PTR id) {
  TTTOOLINFOW tool = {};
  // The size without the last member: what every version of the common controls takes.
  tool.cbSize = TTTOOLINFOW_V2_SIZE;
  tool.uFlags = flags | TTF_SUBCLASS;
  tool.hwnd = owner;
  tool.uId = id;
  return tool;
}

TTTOOLINFOW WholeControl(HWND control) {
  return Tool(::GetParent(control), TTF_IDISHWND, reinterpret_cast<UINT_PTR>(control));
}

void Send(HWND window, UINT message, TTTOOLINFOW& tool) {
  ::SendMessageW(window, message, 0, reinterpret_cast<LPARAM>(&tool));
}

}  // namespace

HWND MakeChild(HWND parent, const wchar_t* className, const std::wstring& text, DWORD style, int id,
               DWORD extendedStyle) {
  return ::CreateWindowExW(extendedStyle, className, text.c_str(), style | WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, parent,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), ::GetModuleHandleW(nullptr), nullptr);
}

void SetText(HWND window, const std::wstring& text) {
  ::SetWindowTextW(window, text.c_str());
}

std::string TextOf(HWND window) {
  std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)), L'\0');
  // Room for the zero that the call writes: a string has it behind its end.
  ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()) + 1);
  return platform::Narrow(text);
}

void SetFonts(HWND parent, HFONT font) {
  for (HWND child = ::GetWindow(parent, GW_CHILD); child; child = ::GetWindow(child, GW_HWNDNEXT)) {
    SetWindowFont(child, font, TRUE);
  }
}

void Place(HWND child, const RECT& place) {
  ::SetWindowPos(child, nullptr, place.left, place.top, place.right - place.left, place.bottom - place.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void TellChildren(HWND parent, UINT message, WPARAM wide, LPARAM large) {
  for (HWND child = ::GetWindow(parent, GW_CHILD); child; child = ::GetWindow(child, GW_HWNDNEXT)) {
    ::SendMessageW(child, message, wide, large);
  }
}

SIZE FrameSize(HWND window) {
  RECT outer;
  RECT inner;
  ::GetWindowRect(window, &outer);
  ::GetClientRect(window, &inner);
  return {outer.right - outer.left - inner.right, outer.bottom - outer.top - inner.bottom};
}

RECT WorkArea(HWND window) {
  MONITORINFO monitor = {};
  monitor.cbSize = sizeof monitor;
  ::GetMonitorInfoW(::MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
  return monitor.rcWork;
}

ToolTips::ToolTips(HWND owner)
    : window_(::CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX,
                                CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, owner, nullptr,
                                ::GetModuleHandleW(nullptr), nullptr)) {}

void ToolTips::Add(HWND control, const std::string& tip) {
  std::wstring text = Wide(tip);
  TTTOOLINFOW tool = WholeControl(control);
  tool.lpszText = text.data();
  Send(window_, TTM_ADDTOOLW, tool);
}

void ToolTips::AddPart(HWND control, UINT_PTR part, const RECT& place, const std::string& tip) {
  std::wstring text = Wide(tip);
  TTTOOLINFOW tool = Tool(control, 0, part);
  Send(window_, TTM_DELTOOLW, tool);
  tool.rect = place;
  tool.lpszText = text.data();
  Send(window_, TTM_ADDTOOLW, tool);
}

void ToolTips::SetTip(HWND control, const std::string& tip) {
  std::wstring text = Wide(tip);
  TTTOOLINFOW tool = WholeControl(control);
  tool.lpszText = text.data();
  Send(window_, TTM_UPDATETIPTEXTW, tool);
}

}  // namespace mv::win32
