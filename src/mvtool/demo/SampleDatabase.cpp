#include "mvtool/demo/SampleDatabase.h"

#include "mvtool/demo/SampleSchema.h"

namespace mv::tool {

std::unique_ptr<jet::Database> MakeSampleDatabase(platform::FileSystem& files, const std::string& path) {
  auto database = jet::Database::Create(files, path, kFixedDate);
  for (const jet::TableSpec& table : SampleTables()) database->CreateTable(table, kFixedDate);
  return database;
}

}  // namespace mv::tool
