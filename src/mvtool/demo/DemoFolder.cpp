#include "mvtool/demo/DemoFolder.h"

#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

#include "config/IniSettingsStore.h"
#include "config/Settings.h"
#include "mvtool/demo/SampleDatabase.h"
#include "mvtool/demo/SampleSchema.h"
#include "mvtool/files/ColumnTypes.h"
#include "pdb/TableFormat.h"

namespace mv::tool {
namespace {

/// Paths that the user sees have the separator of the system.
std::string Below(const std::string& root, std::initializer_list<std::string_view> names) {
  const char separator = root.find('\\') == std::string::npos ? '/' : '\\';
  std::string path = root;
  for (const std::string_view name : names) {
    path += separator;
    path += name;
  }
  return path;
}

TableFileHeader HeaderOf(const jet::TableSpec& table) {
  TableFileHeader header;
  header.name = table.name;
  header.creator = table_format::kCreator;
  for (const jet::ColumnSpec& column : table.columns) {
    header.fields.push_back({column.name, CodeOf(HandheldTypeOf(column.type))});
  }
  return header;
}

void WriteSettings(platform::FileSystem& files, const std::string& root, const DemoPaths& paths) {
  Settings settings;
  settings.DesktopDBPath = paths.database;
  settings.PDADBPath = "\\Program Files\\Motorva";
  settings.PCSyncSourcePath = paths.source;
  settings.PCSyncDestPath = paths.dest;
  settings.SyncLogPath = paths.log;
  IniSettingsStore store(files, paths.config);
  store.SaveSetting(kSettingsApplication, "General", "DBPath", root);
  store.SaveSetting(kSettingsApplication, "Handheld", "Root", paths.handheld);
  SaveSettings(store, settings);
}

}  // namespace

DemoPaths::DemoPaths(const std::string& root)
    : database(Below(root, {"Motorva.db"})),
      handheld(Below(root, {"handheld"})),
      tables(Below(root, {"handheld", "Program Files", "Motorva"})),
      source(Below(root, {"sync", "source"})),
      dest(Below(root, {"sync", "dest"})),
      log(Below(root, {"SyncLog.txt"})),
      config(Below(root, {"config"})) {}

void WriteTableFile(platform::FileSystem& files, const std::string& path, const DemoTable& table) {
  const FixedClock clock;
  TableFileWriter writer(HeaderOf(table.design), clock);
  for (const HandheldRecord& record : table.handheldRecords) writer.Add(record);
  writer.WriteTo(files, path);
}

void LayOutDemo(platform::FileSystem& files, const std::string& root, const DemoPlan& plan) {
  const DemoPaths paths(root);
  for (const std::string& folder : {paths.tables, paths.source, paths.dest, paths.config}) files.CreateFolders(folder);
  const auto database = MakeSampleDatabase(files, paths.database);
  for (std::size_t i = 0; i < kSampleTableCount; ++i) {
    DemoTable table = MakeDemoTable(i, plan);
    jet::Table& desktop = database->OpenTable(table.design.name);
    for (std::vector<Value>& row : table.desktopRows) desktop.Insert(std::move(row));
    WriteTableFile(files, Below(paths.tables, {table.design.name + ".pdb"}), table);
  }
  database->Commit();
  WriteSettings(files, root, paths);
}

}  // namespace mv::tool
