#include "mvtool/files/CardSearch.h"

#include <algorithm>
#include <cstddef>
#include <deque>

#include "base/Error.h"
#include "base/Text.h"
#include "sync/Tables.h"

namespace mv::tool {
namespace {

constexpr std::size_t kDeepest = 8;
constexpr std::size_t kMostFolders = 10'000;

/// None where a folder cannot be read: somebody else's is no reason to stop looking.
std::vector<std::string> NamesIn(const platform::FileSystem& files, const std::string& folder) {
  try {
    std::vector<std::string> names = files.List(folder);
    std::sort(names.begin(), names.end());
    return names;
  } catch (const Error&) {
    return {};
  }
}

bool IsTableFile(const std::string& name) {
  return std::any_of(kTables.begin(), kTables.end(), [&](const SyncTable& table) {
    return EqualsIgnoreAsciiCase(name, std::string(table.name) + ".pdb");
  });
}

struct Folder {
  std::string local;
  std::string device;
  std::size_t depth = 0;
};

struct Found {
  std::string device;
  std::ptrdiff_t tables = 0;
};

}  // namespace

std::string FolderInAnyCase(const platform::FileSystem& files, const std::string& root, std::string_view devicePath) {
  std::string folder = root;
  for (std::size_t at = 0; at < devicePath.size();) {
    const std::size_t end = std::min(devicePath.find_first_of("\\/", at), devicePath.size());
    const std::string_view wanted = devicePath.substr(at, end - at);
    at = end + 1;
    if (wanted.empty()) continue;
    const std::vector<std::string> names = NamesIn(files, folder);
    const auto name = std::find_if(names.begin(), names.end(), [&](const std::string& candidate) {
      return EqualsIgnoreAsciiCase(candidate, wanted) && files.FolderExists(JoinPath(folder, candidate));
    });
    if (name == names.end()) return {};
    folder = JoinPath(folder, *name);
  }
  return folder;
}

std::vector<std::string> FindTableFolders(const platform::FileSystem& files, const std::string& root) {
  std::vector<Found> found;
  std::deque<Folder> ahead = {{root, "", 0}};
  for (std::size_t visited = 0; !ahead.empty() && visited < kMostFolders; ++visited) {
    const Folder folder = std::move(ahead.front());
    ahead.pop_front();
    const std::vector<std::string> names = NamesIn(files, folder.local);
    const auto tables = std::count_if(names.begin(), names.end(), IsTableFile);
    if (tables > 0) found.push_back({folder.device.empty() ? "\\" : folder.device, tables});
    if (folder.depth == kDeepest) continue;
    for (const std::string& name : names) {
      const std::string local = JoinPath(folder.local, name);
      if (!files.FolderExists(local)) continue;
      ahead.push_back({local, folder.device + "\\" + name, folder.depth + 1});
    }
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const Found& one, const Found& other) { return one.tables > other.tables; });
  std::vector<std::string> folders;
  for (Found& one : found) folders.push_back(std::move(one.device));
  return folders;
}

}  // namespace mv::tool
