#include "run/DatabaseEngine.h"

#include "jet/JetConnection.h"

namespace mv {

std::unique_ptr<DatabaseProvider> MakeDatabaseEngine(platform::FileSystem& files) {
  return std::make_unique<jet::JetDatabaseProvider>(files);
}

}  // namespace mv
