#include "run/TablePaths.h"

#include "base/Text.h"

namespace mv {

std::string TableFileName(const std::string& table) {
  return table + ".pdb";
}

TablePaths PathsOf(const Settings& settings, const std::string& table) {
  const std::string name = TableFileName(table);
  return {JoinPath(settings.PDADBPath, name), JoinPath(settings.PCSyncSourcePath, name),
          JoinPath(settings.PCSyncDestPath, name)};
}

}  // namespace mv
