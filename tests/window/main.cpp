// windowprobe: looks at the windows of other programs and acts on them, for the window tests. Reads one command a line
// from standard input, answers each with one line of JSON. Window handles are decimal numbers.
//
//   top                       visible top-level windows, the topmost first
//   children HWND             a window's children, in the order of the Tab key
//   window HWND               one window
//   menu HWND                 its menu
//   toolbar | list | status HWND   contents of that control
//   tip HWND [PART]           tool tip of a control, or of a part of it
//   icon HWND                 number that stands for the picture a control shows
//   focus                     the window that has the keyboard
//   cursor                    number that stands for the pointer shown
//   foreground HWND           makes a window the active one
//   takeskeys HWND            whether that has taken effect: what is typed goes to the window
//   place HWND X Y WIDE HIGH  moves and sizes a window
//   redraw HWND               lets a window paint everything anew
//   settext HWND TEXT         types nothing: sets a control's text (UTF-8)
//   post HWND MSG WIDE LARGE  posts a message (decimal numbers)
//   send HWND MSG WIDE LARGE  sends a message, at most ten seconds
//   mouse X Y [CLICKS]        clicks with the left button, one if not said, at a point of the screen
//   press X Y, release        the left button down at a point of the screen, and up
//   keys VK[+VK...] ...       presses keys by their decimal codes; joined ones together
//   end                       ends the probe
#include <windows.h>
// After windows.h, which it needs.
#include <commctrl.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/windows/Wide.h"
#include "window/Json.h"
#include "window/MenuHook.h"
#include "window/RemoteMemory.h"

namespace mv::window {
namespace {

using platform::Narrow;
using platform::Wide;

constexpr UINT kPatience = 10000;
constexpr std::size_t kRoom = 8192;

LRESULT Send(HWND window, UINT message, WPARAM wide = 0, LPARAM large = 0) {
  DWORD_PTR result = 0;
  ::SendMessageTimeoutW(window, message, wide, large, SMTO_NORMAL, kPatience, &result);
  return static_cast<LRESULT>(result);
}

LPARAM Pointer(const RemoteMemory& memory, std::size_t offset = 0) {
  return reinterpret_cast<LPARAM>(memory.Address(offset));
}

std::string Rectangle(const RECT& box) {
  return Json()
      .Number("left", box.left)
      .Number("top", box.top)
      .Number("right", box.right)
      .Number("bottom", box.bottom)
      .Object();
}

std::string ListOf(const std::vector<std::string>& items) {
  std::string list;
  for (const std::string& item : items) list += (list.empty() ? "" : ", ") + item;
  return "[" + list + "]";
}

std::string TextOf(HWND window) {
  std::vector<wchar_t> text(kRoom);
  Send(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
  return Narrow(text.data());
}

std::string ClassOf(HWND window) {
  wchar_t name[256] = {};
  ::GetClassNameW(window, name, 256);
  return Narrow(name);
}

Json Describe(HWND window) {
  RECT box = {};
  ::GetWindowRect(window, &box);
  RECT client = {};
  ::GetClientRect(window, &client);
  const std::string className = ClassOf(window);
  Json json;
  json.Number("hwnd", reinterpret_cast<LONG_PTR>(window))
      .Text("class", className)
      .Text("text", TextOf(window))
      .Number("id", ::GetDlgCtrlID(window))
      .Number("style", static_cast<DWORD>(::GetWindowLongPtrW(window, GWL_STYLE)))
      .Flag("enabled", ::IsWindowEnabled(window) != FALSE)
      .Flag("visible", ::IsWindowVisible(window) != FALSE)
      .Flag("iconic", ::IsIconic(window) != FALSE)
      .Nested("rect", Rectangle(box))
      .Nested("client", Rectangle(client));
  if (className == "Button") json.Flag("checked", Send(window, BM_GETCHECK) == BST_CHECKED);
  return json;
}

std::string Children(HWND parent) {
  std::vector<std::string> found;
  for (HWND child = ::GetWindow(parent, GW_CHILD); child; child = ::GetWindow(child, GW_HWNDNEXT)) {
    found.push_back(Describe(child).Object());
  }
  return ListOf(found);
}

std::string Top() {
  std::vector<std::string> found;
  const auto collect = [](HWND window, LPARAM list) -> BOOL {
    if (::IsWindowVisible(window)) {
      DWORD process = 0;
      ::GetWindowThreadProcessId(window, &process);
      reinterpret_cast<std::vector<std::string>*>(list)->push_back(
          Describe(window)
              .Number("process", process)
              .Number("owner", reinterpret_cast<LONG_PTR>(::GetWindow(window, GW_OWNER)))
              .Object());
    }
    return TRUE;
  };
  ::EnumWindows(collect, reinterpret_cast<LPARAM>(&found));
  return ListOf(found);
}

std::string MenuOf(HWND window) {
  const HMODULE library = ::LoadLibraryW(L"windowhook.dll");
  const auto procedure = reinterpret_cast<HOOKPROC>(reinterpret_cast<void*>(::GetProcAddress(library, "CallWndProc")));
  const HANDLE section = ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kSectionSize, kSection);
  const auto* const answer = static_cast<const char*>(::MapViewOfFile(section, FILE_MAP_READ, 0, 0, kSectionSize));
  const HHOOK hook =
      ::SetWindowsHookExW(WH_CALLWNDPROC, procedure, library, ::GetWindowThreadProcessId(window, nullptr));
  Send(window, ::RegisterWindowMessageW(kAskMenu));
  ::UnhookWindowsHookEx(hook);
  const std::string json = answer;
  ::UnmapViewOfFile(answer);
  ::CloseHandle(section);
  return json.empty() ? "null" : json;
}

std::string ToolText(HWND tips, HWND owner, UINT_PTR id) {
  const RemoteMemory memory(tips, kRoom);
  TTTOOLINFOW tool = {};
  tool.cbSize = TTTOOLINFOW_V2_SIZE;
  tool.hwnd = owner;
  tool.uId = id;
  constexpr std::size_t kText = 1024;
  tool.lpszText = reinterpret_cast<wchar_t*>(memory.Address(kText));
  memory.Put(tool);
  memory.Put(L'\0', kText);
  Send(tips, TTM_GETTEXTW, 512, Pointer(memory));
  return Narrow(memory.GetText(kText));
}

std::string ToolBar(HWND bar) {
  const HWND tips = reinterpret_cast<HWND>(Send(bar, TB_GETTOOLTIPS));
  RECT origin = {};
  ::GetWindowRect(bar, &origin);
  std::vector<std::string> buttons;
  const auto count = static_cast<WPARAM>(Send(bar, TB_BUTTONCOUNT));
  for (WPARAM i = 0; i < count; ++i) {
    const RemoteMemory memory(bar, kRoom);
    Send(bar, TB_GETBUTTON, i, Pointer(memory));
    const auto button = memory.Get<TBBUTTON>();
    const auto id = static_cast<WPARAM>(button.idCommand);
    Send(bar, TB_GETITEMRECT, i, Pointer(memory));
    auto box = memory.Get<RECT>();
    ::OffsetRect(&box, origin.left, origin.top);
    const bool separator = (button.fsStyle & BTNS_SEP) != 0;
    std::string text;
    if (!separator) {
      Send(bar, TB_GETBUTTONTEXTW, id, Pointer(memory));
      text = Narrow(memory.GetText());
    }
    buttons.push_back(Json()
                          .Number("index", static_cast<int>(i) + 1)
                          .Text("text", text)
                          .Text("tip", separator ? "" : ToolText(tips, bar, id))
                          .Flag("separator", separator)
                          .Flag("enabled", Send(bar, TB_ISBUTTONENABLED, id) != 0)
                          .Flag("hot", Send(bar, TB_GETHOTITEM) == static_cast<LRESULT>(i))
                          .Nested("rect", Rectangle(box))
                          .Object());
  }
  return ListOf(buttons);
}

std::string ListView(HWND list) {
  std::vector<std::string> items;
  const auto count = static_cast<WPARAM>(Send(list, LVM_GETITEMCOUNT));
  constexpr std::size_t kText = 1024;
  const RemoteMemory memory(list, kRoom);
  for (WPARAM i = 0; i < count; ++i) {
    LVITEMW item = {};
    item.pszText = reinterpret_cast<wchar_t*>(memory.Address(kText));
    item.cchTextMax = 512;
    memory.Put(item);
    Send(list, LVM_GETITEMTEXTW, i, Pointer(memory));
    items.push_back(Json::Quoted(Narrow(memory.GetText(kText))));
  }
  return Json()
      .Nested("items", ListOf(items))
      .Number("first", Send(list, LVM_GETTOPINDEX))
      .Number("page", Send(list, LVM_GETCOUNTPERPAGE))
      .Number("column", Send(list, LVM_GETCOLUMNWIDTH))
      .Object();
}

std::string StatusBar(HWND bar) {
  std::vector<std::string> parts;
  const RemoteMemory memory(bar, kRoom);
  const auto count = static_cast<WPARAM>(Send(bar, SB_GETPARTS));
  for (WPARAM i = 0; i < count; ++i) {
    memory.Put(L'\0');
    Send(bar, SB_GETTEXTW, i, Pointer(memory));
    parts.push_back(Json::Quoted(Narrow(memory.GetText())));
  }
  return ListOf(parts);
}

/// Every tool tip window of the program that owns `control` is asked.
std::string Tip(HWND control, HWND owner, UINT_PTR id) {
  DWORD process = 0;
  ::GetWindowThreadProcessId(control, &process);
  for (HWND tips = ::FindWindowExW(nullptr, nullptr, TOOLTIPS_CLASSW, nullptr); tips;
       tips = ::FindWindowExW(nullptr, tips, TOOLTIPS_CLASSW, nullptr)) {
    DWORD own = 0;
    ::GetWindowThreadProcessId(tips, &own);
    if (own != process) continue;
    const std::string text = ToolText(tips, owner, id);
    if (!text.empty()) return Json::Quoted(text);
  }
  return Json::Quoted("");
}

std::string TipOf(HWND control, std::istream& rest) {
  UINT_PTR part = 0;
  if (rest >> part) return Tip(control, control, part);
  return Tip(control, ::GetParent(control), reinterpret_cast<UINT_PTR>(control));
}

std::string Focus() {
  GUITHREADINFO info = {};
  info.cbSize = sizeof info;
  ::GetGUIThreadInfo(0, &info);
  return std::to_string(reinterpret_cast<LONG_PTR>(info.hwndFocus));
}

/// "true" once what is typed goes to the window: it is the active one, and it or a control of it has the focus.
std::string TakesKeys(HWND window) {
  GUITHREADINFO info = {};
  info.cbSize = sizeof info;
  ::GetGUIThreadInfo(0, &info);
  const bool focused = info.hwndFocus == window || ::IsChild(window, info.hwndFocus);
  return info.hwndActive == window && focused ? "true" : "false";
}

std::string SendOrPost(HWND window, std::istream& rest, bool post) {
  UINT message = 0;
  WPARAM wide = 0;
  LPARAM large = 0;
  rest >> message >> wide >> large;
  if (post) return std::to_string(::PostMessageW(window, message, wide, large));
  return std::to_string(Send(window, message, wide, large));
}

std::string SetText(HWND window, std::istream& rest) {
  std::string text;
  std::getline(rest >> std::ws, text);
  return std::to_string(Send(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(Wide(text).c_str())));
}

std::string Place(HWND window, std::istream& rest) {
  int x = 0;
  int y = 0;
  int wide = 0;
  int high = 0;
  rest >> x >> y >> wide >> high;
  return std::to_string(::SetWindowPos(window, nullptr, x, y, wide, high, SWP_NOZORDER | SWP_NOACTIVATE));
}

std::string Redraw(HWND window) {
  return std::to_string(::RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN));
}

std::string Cursor() {
  CURSORINFO info = {};
  info.cbSize = sizeof info;
  ::GetCursorInfo(&info);
  return std::to_string(reinterpret_cast<LONG_PTR>(info.hCursor));
}

void PointTo(std::istream& rest) {
  int x = 0;
  int y = 0;
  rest >> x >> y;
  ::SetCursorPos(x, y);
}

std::string Button(DWORD change) {
  INPUT input = {};
  input.type = INPUT_MOUSE;
  input.mi.dwFlags = change;
  return std::to_string(::SendInput(1, &input, sizeof input));
}

std::string Press(std::istream& rest) {
  PointTo(rest);
  return Button(MOUSEEVENTF_LEFTDOWN);
}

std::string Mouse(std::istream& rest) {
  PointTo(rest);
  int clicks = 1;
  if (!(rest >> clicks)) clicks = 1;
  for (int i = 0; i < clicks; ++i) {
    Button(MOUSEEVENTF_LEFTDOWN);
    Button(MOUSEEVENTF_LEFTUP);
  }
  return std::to_string(clicks);
}

INPUT Key(WORD code, bool up) {
  INPUT input = {};
  input.type = INPUT_KEYBOARD;
  input.ki.wVk = code;
  input.ki.wScan = static_cast<WORD>(::MapVirtualKeyW(code, MAPVK_VK_TO_VSC));
  input.ki.dwFlags = up ? KEYEVENTF_KEYUP : 0;
  return input;
}

/// "18+83 9": two keys together, then one.
std::string Keys(std::istream& rest) {
  std::string chord;
  UINT sent = 0;
  while (rest >> chord) {
    std::vector<INPUT> inputs;
    std::istringstream codes(chord);
    std::string code;
    while (std::getline(codes, code, '+')) inputs.push_back(Key(static_cast<WORD>(std::stoi(code)), false));
    for (std::size_t i = inputs.size(); i-- > 0;) inputs.push_back(Key(inputs[i].ki.wVk, true));
    sent += ::SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
  }
  return std::to_string(sent);
}

/// Starts a program by its bare command line, as the device-connection manager does, and waits for its end; its exit
/// status, "null" when it cannot be started or does not end within a minute.
std::string Start(std::istream& rest) {
  std::string text;
  std::getline(rest >> std::ws, text);
  std::wstring commandLine = Wide(text);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process)) {
    return "null";
  }
  constexpr DWORD kLongest = 60'000;
  DWORD status = 0;
  const bool ended = ::WaitForSingleObject(process.hProcess, kLongest) == WAIT_OBJECT_0 &&
                     ::GetExitCodeProcess(process.hProcess, &status);
  ::CloseHandle(process.hThread);
  ::CloseHandle(process.hProcess);
  return ended ? std::to_string(status) : "null";
}

/// A command that names a window; "null" when there is none of that name.
std::string OnWindow(const std::string& name, HWND window, std::istream& rest) {
  if (name == "children") return Children(window);
  if (name == "window") return Describe(window).Object();
  if (name == "menu") return MenuOf(window);
  if (name == "toolbar") return ToolBar(window);
  if (name == "list") return ListView(window);
  if (name == "status") return StatusBar(window);
  if (name == "tip") return TipOf(window, rest);
  if (name == "icon") return std::to_string(Send(window, STM_GETICON));
  if (name == "foreground") return std::to_string(::SetForegroundWindow(window));
  if (name == "takeskeys") return TakesKeys(window);
  if (name == "place") return Place(window, rest);
  if (name == "redraw") return Redraw(window);
  if (name == "settext") return SetText(window, rest);
  if (name == "post") return SendOrPost(window, rest, true);
  if (name == "send") return SendOrPost(window, rest, false);
  return "null";
}

std::string Answer(const std::string& line) {
  std::istringstream rest(line);
  std::string name;
  rest >> name;
  if (name == "top") return Top();
  if (name == "focus") return Focus();
  if (name == "cursor") return Cursor();
  if (name == "mouse") return Mouse(rest);
  if (name == "press") return Press(rest);
  if (name == "release") return Button(MOUSEEVENTF_LEFTUP);
  if (name == "keys") return Keys(rest);
  if (name == "start") return Start(rest);
  LONG_PTR window = 0;
  rest >> window;
  return OnWindow(name, reinterpret_cast<HWND>(window), rest);
}

}  // namespace
}  // namespace mv::window

int main() {
  std::string line;
  while (std::getline(std::cin, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line == "end") break;
    std::cout << mv::window::Answer(line) << std::endl;
  }
  return 0;
}
