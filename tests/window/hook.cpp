#include "window/MenuHook.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/windows/Wide.h"
#include "window/Json.h"

namespace mv::window {
namespace {

std::string Menu(HMENU menu) {
  std::string list;
  for (int i = 0; i < ::GetMenuItemCount(menu); ++i) {
    wchar_t text[256] = {};
    const auto position = static_cast<UINT>(i);
    ::GetMenuStringW(menu, position, text, 256, MF_BYPOSITION);
    const HMENU popup = ::GetSubMenu(menu, i);
    // The state of a popup has its number of items in the high byte.
    const UINT state = ::GetMenuState(menu, position, MF_BYPOSITION) & 0xFF;
    Json item;
    item.Text("text", platform::Narrow(text))
        .Number("id", static_cast<int>(::GetMenuItemID(menu, i)))
        .Flag("enabled", (state & (MF_GRAYED | MF_DISABLED)) == 0)
        .Flag("separator", !popup && text[0] == L'\0');
    if (popup) item.Nested("items", Menu(popup));
    list += (list.empty() ? "" : ", ") + item.Object();
  }
  return "[" + list + "]";
}

void Answer(HWND window) {
  const HANDLE section = ::OpenFileMappingW(FILE_MAP_WRITE, FALSE, kSection);
  if (!section) return;
  if (void* const view = ::MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, kSectionSize)) {
    const std::string json = Menu(::GetMenu(window));
    const std::size_t length = std::min<std::size_t>(json.size(), kSectionSize - 1);
    std::memcpy(view, json.c_str(), length);
    static_cast<char*>(view)[length] = '\0';
    ::UnmapViewOfFile(view);
  }
  ::CloseHandle(section);
}

}  // namespace
}  // namespace mv::window

/// A hook of the kind WH_CALLWNDPROC.
extern "C" __declspec(dllexport) LRESULT CALLBACK CallWndProc(int code, WPARAM wide, LPARAM large) {
  const auto* const call = reinterpret_cast<const CWPSTRUCT*>(large);
  if (code == HC_ACTION && call->message == ::RegisterWindowMessageW(mv::window::kAskMenu)) {
    mv::window::Answer(call->hwnd);
  }
  return ::CallNextHookEx(nullptr, code, wide, large);
}
