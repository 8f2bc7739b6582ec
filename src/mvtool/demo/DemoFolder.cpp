#include "mvtool/demo/DemoFolder.h"

#include <initializer_list>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Utf.h"
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

Settings SettingsOf(const DemoPaths& paths) {
  Settings settings;
  settings.DesktopDBPath = paths.database;
  settings.PDADBPath = "\\Program Files\\Motorva";
  settings.PCSyncSourcePath = paths.source;
  settings.PCSyncDestPath = paths.dest;
  settings.SyncLogPath = paths.log;
  return settings;
}

void SaveAll(SettingsStore& store, const std::string& root, const DemoPaths& paths) {
  store.SaveSetting(kSettingsApplication, "General", "DBPath", root);
  store.SaveSetting(kSettingsApplication, "Handheld", "Root", paths.handheld);
  SaveSettings(store, SettingsOf(paths));
}

/// Settings as the lines of a registry file, in the order in which they are saved.
class RegistryFile : public SettingsStore {
 public:
  explicit RegistryFile(std::string place) : place_(std::move(place)) {}

  std::optional<std::string> GetSetting(const std::string&, const std::string&, const std::string&) override {
    return std::nullopt;
  }
  void SaveSetting(const std::string&, const std::string& section, const std::string& key,
                   const std::string& text) override {
    if (section != section_) lines_ += "\r\n[" + place_ + "\\" + section + "]\r\n";
    section_ = section;
    lines_ += "\"" + key + "\"=\"" + Escaped(text) + "\"\r\n";
  }

  /// UTF-16, little-endian, as the registry editor writes it.
  Bytes Content() const {
    Bytes content = {0xFF, 0xFE};
    for (const char16_t unit : Utf16FromUtf8("Windows Registry Editor Version 5.00\r\n" + lines_)) {
      content.push_back(static_cast<std::uint8_t>(unit & 0xFF));
      content.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    return content;
  }

 private:
  static std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
      if (character == '\\' || character == '"') escaped += '\\';
      escaped += character;
    }
    return escaped;
  }

  std::string place_;
  std::string section_;
  std::string lines_;
};

}  // namespace

DemoPaths::DemoPaths(const std::string& root)
    : database(Below(root, {"Motorva.db"})),
      handheld(Below(root, {"handheld"})),
      tables(Below(root, {"handheld", "Program Files", "Motorva"})),
      source(Below(root, {"sync", "source"})),
      dest(Below(root, {"sync", "dest"})),
      log(Below(root, {"SyncLog.txt"})),
      config(Below(root, {"config"})),
      registry(Below(root, {"settings.reg"})) {}

void WriteRegistryFile(platform::FileSystem& files, const std::string& root, const std::string& place) {
  const DemoPaths paths(root);
  RegistryFile file(place);
  SaveAll(file, root, paths);
  // A registry, unlike a settings file of its own, may name another connection already.
  file.SaveSetting(kSettingsApplication, "Handheld", "Connection", "folder");
  files.WriteWhole(paths.registry, file.Content());
}

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
  IniSettingsStore store(files, paths.config);
  SaveAll(store, root, paths);
}

}  // namespace mv::tool
