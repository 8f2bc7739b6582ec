#include "config/IniSettingsStore.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"

namespace mv {
namespace {

bool IsAbsolutePath(const std::string& path) {
  return path.starts_with('/') || path.starts_with('\\') || (path.size() > 1 && path[1] == ':');
}

bool IsMissing(const Error& error) {
  return error.Number() == errors::kFileNotFound || error.Number() == errors::kPathNotFound;
}

}  // namespace

IniSettingsStore::IniSettingsStore(platform::FileSystem& files, std::string folder)
    : files_(files), folder_(std::move(folder)) {}

std::optional<std::string> IniSettingsStore::GetSetting(const std::string& application, const std::string& section,
                                                        const std::string& key) {
  return Load(PathOf(application)).Get(section, key);
}

void IniSettingsStore::SaveSetting(const std::string& application, const std::string& section, const std::string& key,
                                   const std::string& text) {
  const std::string path = PathOf(application);
  IniDocument document = Load(path);
  if (document.Get(section, key) == text) return;
  document.Set(section, key, text);
  const std::string content = document.Text();
  files_.CreateFolders(folder_);
  files_.WriteWhole(path, Bytes(content.begin(), content.end()));
}

std::vector<SettingName> IniSettingsStore::Names(const std::string& application) {
  const IniDocument document = Load(PathOf(application));
  std::vector<SettingName> names;
  for (const std::string& section : document.Sections()) {
    for (const IniDocument::Entry& entry : document.Entries(section)) names.push_back({section, entry.key});
  }
  return names;
}

std::string IniSettingsStore::PlaceOf(const std::string& application) const {
  std::string path = PathOf(application);
  // As people write it where settings are files.
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

std::string IniSettingsStore::PathOf(const std::string& application) const {
  return JoinPath(folder_, application + ".ini");
}

IniDocument IniSettingsStore::Load(const std::string& path) {
  try {
    const Bytes content = platform::ReadWhole(files_, path);
    return IniDocument(std::string(content.begin(), content.end()));
  } catch (const Error& error) {
    if (!IsMissing(error)) throw;
    return {};
  }
}

std::string SettingsFolder(const std::function<std::optional<std::string>(const std::string& name)>& variable,
                           const std::string& programFolder) {
  const std::string xdg = variable("XDG_CONFIG_HOME").value_or("");
  if (IsAbsolutePath(xdg)) return xdg;
  const std::string home = variable("HOME").value_or("");
  if (IsAbsolutePath(home)) return JoinPath(home, ".config");
  return programFolder;
}

}  // namespace mv
