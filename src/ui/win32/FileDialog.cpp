#include "ui/win32/FileDialog.h"

// After windows.h, which it needs.
#include <cderr.h>
#include <commdlg.h>

#include <algorithm>
#include <vector>

#include "platform/windows/Wide.h"

namespace mv::win32 {
namespace {

constexpr std::size_t kLongestPath = 32768;
constexpr DWORD kOpenFlags = OFN_HIDEREADONLY | OFN_FILEMUSTEXIST;
constexpr DWORD kSaveFlags = OFN_OVERWRITEPROMPT | OFN_HIDEREADONLY | OFN_PATHMUSTEXIST;

/// Puts the current folder back: the work folders may be relative to it.
class CurrentFolder {
 public:
  CurrentFolder() : length_(::GetCurrentDirectoryW(static_cast<DWORD>(path_.size()), path_.data())) {}
  CurrentFolder(const CurrentFolder&) = delete;
  CurrentFolder& operator=(const CurrentFolder&) = delete;
  ~CurrentFolder() {
    if (length_ != 0) ::SetCurrentDirectoryW(path_.data());
  }

 private:
  std::vector<wchar_t> path_ = std::vector<wchar_t>(kLongestPath);
  DWORD length_;
};

/// "name|pattern|name|pattern" as the dialog takes it: each ended by a zero, one more at the end.
std::wstring Filter(const std::string& filter) {
  std::wstring list = platform::Wide(filter);
  std::replace(list.begin(), list.end(), L'|', L'\0');
  list.push_back(L'\0');
  return list;
}

/// The dialog takes the extension without its dot.
std::wstring Extension(const std::string& extension) {
  return platform::Wide(extension.starts_with('.') ? extension.substr(1) : extension);
}

BOOL Show(FileQuestion::Kind kind, OPENFILENAMEW& dialog) {
  return kind == FileQuestion::Kind::Open ? ::GetOpenFileNameW(&dialog) : ::GetSaveFileNameW(&dialog);
}

}  // namespace

std::optional<std::string> AskFile(HWND owner, const FileQuestion& question) {
  const CurrentFolder keep;
  const std::wstring title = platform::Wide(question.title);
  const std::wstring filter = Filter(question.filter);
  const std::wstring extension = Extension(question.defaultExtension);
  std::wstring path = platform::NativePath(question.startingFile);
  path.resize(kLongestPath);

  OPENFILENAMEW dialog = {};
  dialog.lStructSize = sizeof dialog;
  dialog.hwndOwner = owner;
  dialog.lpstrTitle = title.c_str();
  dialog.lpstrFilter = filter.c_str();
  dialog.lpstrDefExt = extension.empty() ? nullptr : extension.c_str();
  dialog.lpstrFile = path.data();
  dialog.nMaxFile = static_cast<DWORD>(path.size());
  dialog.Flags = question.kind == FileQuestion::Kind::Open ? kOpenFlags : kSaveFlags;

  BOOL chosen = Show(question.kind, dialog);
  if (!chosen && ::CommDlgExtendedError() == FNERR_INVALIDFILENAME) {
    // The dialog refuses to start from a path that cannot be one; the user shall be able to choose a better one.
    path[0] = L'\0';
    chosen = Show(question.kind, dialog);
  }
  if (!chosen) return std::nullopt;
  return platform::Narrow(path.c_str());
}

}  // namespace mv::win32
