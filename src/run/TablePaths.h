#pragma once

#include <string>

#include "config/Settings.h"

namespace mv {

/// Where a table's file lies on the handheld, and this PC's two copies of it.
struct TablePaths {
  std::string device;
  std::string source;  ///< as fetched
  std::string result;  ///< as it goes back
};

/// "brnd_Fuel.pdb": what a table's file is called everywhere.
std::string TableFileName(const std::string& table);
TablePaths PathsOf(const Settings& settings, const std::string& table);

}  // namespace mv
