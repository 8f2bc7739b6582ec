#include "run/TemplateFile.h"

#include "base/Text.h"
#include "platform/System.h"

namespace mv {

std::string TemplatePath(const platform::FileSystem& files, const std::string& programFolder) {
  const std::string beside = JoinPath(programFolder, kTemplateName);
  if (files.FileExists(beside)) return beside;
  const std::string installed = JoinPath(platform::InstalledDataFolder(programFolder), kTemplateName);
  return files.FileExists(installed) ? installed : beside;
}

}  // namespace mv
