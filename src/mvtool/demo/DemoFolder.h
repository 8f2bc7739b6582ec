#pragma once

#include <string>

#include "mvtool/demo/DemoData.h"
#include "platform/FileSystem.h"

namespace mv::tool {

/// Where the parts of a demo folder lie.
struct DemoPaths {
  std::string database;  ///< Motorva.db
  std::string handheld;  ///< the handheld's root
  std::string tables;    ///< folder of the table files on the handheld
  std::string source;    ///< local folder for tables from the handheld
  std::string dest;      ///< local folder for merged tables
  std::string log;       ///< the sync log
  std::string config;    ///< folder of the settings file Motorva32.ini
  std::string registry;  ///< settings.reg: the same settings for a registry

  /// `root`: absolute path of the demo folder.
  explicit DemoPaths(const std::string& root);
};

/// Writes the handheld's side of a table as a table file.
void WriteTableFile(platform::FileSystem& files, const std::string& path, const DemoTable& table);

/// Writes the settings of a layout as a file that the registry editor imports. `place`: the registry key that they are
/// to stand below.
void WriteRegistryFile(platform::FileSystem& files, const std::string& root, const std::string& place);

/// Lays out a world for a run: the desktop's database, a folder that stands for the handheld, a settings file that
/// names both. Replaces files of an earlier layout and touches nothing else. `root`: absolute path, need not exist.
void LayOutDemo(platform::FileSystem& files, const std::string& root, const DemoPlan& plan);

}  // namespace mv::tool
