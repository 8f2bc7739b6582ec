#include "platform/Shell.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include "platform/System.h"
#include "platform/posix/Command.h"
#include "platform/posix/Paths.h"

namespace mv::platform {
namespace {

namespace fs = std::filesystem;

/// The user's trash folder; nothing when the user has no home.
std::optional<fs::path> HomeTrash() {
  if (const auto data = EnvironmentVariable("XDG_DATA_HOME"); data && !data->empty()) return fs::path(*data) / "Trash";
  if (const auto home = EnvironmentVariable("HOME"); home && !home->empty()) {
    return fs::path(*home) / ".local" / "share" / "Trash";
  }
  return std::nullopt;
}

/// A path as the Path line of a .trashinfo file holds it: bytes other than letters, digits and "/-_.~" as %XX.
std::string PercentEncoded(const std::string& path) {
  std::string result;
  for (const char c : path) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       std::string_view("/-_.~").find(c) != std::string_view::npos;
    char text[4] = {c, '\0'};
    if (!plain) std::snprintf(text, sizeof text, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
    result += text;
  }
  return result;
}

std::string DeletionDate() {
  const std::time_t now = std::time(nullptr);
  std::tm broken = {};
  ::localtime_r(&now, &broken);
  char text[32] = {};
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &broken);
  return text;
}

/// Creates info/NAME.trashinfo under a name that is not taken and returns NAME; the exclusive creation reserves it.
std::optional<std::string> ReserveName(const fs::path& trash, const fs::path& file) {
  const std::string content =
      "[Trash Info]\nPath=" + PercentEncoded(file.string()) + "\nDeletionDate=" + DeletionDate() + "\n";
  for (int attempt = 1; attempt < 10000; ++attempt) {
    const std::string name = attempt == 1
                                 ? file.filename().string()
                                 : file.stem().string() + "." + std::to_string(attempt) + file.extension().string();
    const fs::path info = trash / "info" / (name + ".trashinfo");
    const int number = ::open(info.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (number < 0 && errno == EEXIST) continue;
    if (number < 0) return std::nullopt;
    const bool written = ::write(number, content.data(), content.size()) == static_cast<ssize_t>(content.size());
    ::close(number);
    if (written) return name;
    ::unlink(info.c_str());
    return std::nullopt;
  }
  return std::nullopt;
}

/// Moves a file to the user's trash folder by the rules of the desktop's trash: an info file first, then the file. Only
/// within one volume; a file elsewhere is left where it is.
bool TrashByHand(const std::string& native) {
  const std::optional<fs::path> trash = HomeTrash();
  std::error_code code;
  const fs::path file = fs::absolute(native, code);
  if (!trash || code) return false;
  fs::create_directories(*trash / "files", code);
  fs::create_directories(*trash / "info", code);
  if (code) return false;
  const std::optional<std::string> name = ReserveName(*trash, file);
  if (!name) return false;
  fs::rename(file, *trash / "files" / *name, code);
  if (!code) return true;
  ::unlink((*trash / "info" / (*name + ".trashinfo")).c_str());
  return false;
}

}  // namespace

bool SystemShell::Recycle(const std::string& path) {
  const std::string native = NativePath(path);
  std::error_code code;
  if (!fs::is_regular_file(native, code)) return false;
  return RunCommand({"gio", "trash", "--", native}) == 0 || TrashByHand(native);
}

bool SystemShell::OpenDocument(const std::string& path) {
  return RunCommand({"xdg-open", NativePath(path)}) == 0;
}

}  // namespace mv::platform
