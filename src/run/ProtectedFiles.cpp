#include "run/ProtectedFiles.h"

#include <map>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "run/TemplateFile.h"

namespace mv {

ProtectedFiles::ProtectedFiles(const platform::FileSystem& files, const Settings& settings, std::string programFolder)
    : files_(files), settings_(settings), programFolder_(std::move(programFolder)) {}

std::vector<std::string> ProtectedFiles::Backups() const {
  const std::string place = files_.RealPath(settings_.DesktopDBPath);
  const std::string folder = place.substr(0, FolderLength(place));
  const std::string start = place.substr(folder.size()) + kBackupInfix;
  std::vector<std::string> backups;
  try {
    for (const std::string& name : files_.List(folder)) {
      if (name.starts_with(start)) backups.push_back(folder + name);
    }
  } catch (const Error&) {
    // A folder that is not there holds none.
  }
  return backups;
}

std::vector<ProtectedFiles::Use> ProtectedFiles::All() const {
  const std::string& database = settings_.DesktopDBPath;
  std::vector<Use> all = {{"the desktop database", database},
                          {"the template database", TemplatePath(files_, programFolder_)}};
  for (std::string& backup : Backups()) {
    all.push_back({"a backup of the desktop database", std::move(backup)});
  }
  return all;
}

void ProtectedFiles::RequireOthers(const std::vector<Use>& uses) const {
  std::vector<Use> all = All();
  std::map<std::string, Use> byIdentity;
  for (Use& file : all) byIdentity.emplace(files_.IdentityOf(file.path), std::move(file));
  for (const Use& use : uses) {
    const auto found = byIdentity.find(files_.IdentityOf(use.path));
    if (found == byIdentity.end()) continue;
    const Use& file = found->second;
    throw Error(
        errors::kPathFileAccess, "",
        "Path/File access error: " + use.what + " \"" + use.path + "\" is " + file.what + " \"" + file.path + "\"");
  }
}

}  // namespace mv
