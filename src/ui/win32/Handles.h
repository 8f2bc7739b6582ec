#pragma once

#include <windows.h>
// After windows.h, which it needs.
#include <commctrl.h>

#include <memory>
#include <type_traits>

/// Owners of the system's objects.
namespace mv::win32 {

struct FontDeleter {
  void operator()(HFONT font) const { ::DeleteObject(font); }
};
struct IconDeleter {
  void operator()(HICON icon) const { ::DestroyIcon(icon); }
};
struct ImageListDeleter {
  void operator()(HIMAGELIST list) const { ::ImageList_Destroy(list); }
};

using Font = std::unique_ptr<std::remove_pointer_t<HFONT>, FontDeleter>;
using Icon = std::unique_ptr<std::remove_pointer_t<HICON>, IconDeleter>;
using ImageList = std::unique_ptr<std::remove_pointer_t<HIMAGELIST>, ImageListDeleter>;

}  // namespace mv::win32
