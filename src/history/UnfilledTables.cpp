#include "history/UnfilledTables.h"

#include "base/Error.h"
#include "base/Text.h"
#include "json/Json.h"
#include "platform/StagedWrite.h"

namespace mv::history {

UnfilledTables::UnfilledTables(platform::FileSystem& files, const std::string& database)
    : files_(files), database_(database), path_(database.substr(0, FolderLength(database)) + "sync\\unfilled.json") {}

std::vector<std::string> UnfilledTables::Load() const {
  if (!files_.FileExists(path_)) return {};
  const Bytes content = platform::ReadWhole(files_, path_);
  try {
    std::vector<std::string> tables;
    const Json json = ParseJson({reinterpret_cast<const char*>(content.data()), content.size()});
    for (const Json& table : json.At("tables").Elements()) tables.push_back(table.Text());
    return tables;
  } catch (const Error& error) {
    throw At("\"" + path_ + "\"", error);
  }
}

void UnfilledTables::Save(const std::vector<std::string>& tables) {
  if (tables.empty()) {
    if (files_.FileExists(path_)) files_.RemoveFile(path_);
    return;
  }
  JsonWriter writer;
  writer.BeginObject().Name("tables").BeginArray();
  for (const std::string& table : tables) writer.Text(table);
  const std::string text = writer.EndArray().EndObject().Result() + '\n';
  files_.CreateFolders(path_.substr(0, FolderLength(path_) - 1));
  platform::StagedWrite file(files_, path_, database_);
  file.Contents().WriteAt(0, {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
  file.Finish();
}

}  // namespace mv::history
