#include "run/DatabaseEngine.h"

#include "ado/AdoConnection.h"
#include "jet/JetConnection.h"

namespace mv {
namespace {

/// Owns what the ADO provider refers to.
class WindowsDatabaseEngine : public DatabaseProvider {
 public:
  explicit WindowsDatabaseEngine(platform::FileSystem& files) : ownEngine_(files), ado_(classes_, ownEngine_) {}

  std::unique_ptr<Connection> Open(const std::string& connectionString) override { return ado_.Open(connectionString); }
  bool WritesInPlace() const override { return ado_.WritesInPlace(); }
  void Rest() override { ownEngine_.Rest(); }

 private:
  ado::SystemComClasses classes_;
  jet::JetDatabaseProvider ownEngine_;
  ado::AdoDatabaseProvider ado_;
};

}  // namespace

std::unique_ptr<DatabaseProvider> MakeDatabaseEngine(platform::FileSystem& files) {
  return std::make_unique<WindowsDatabaseEngine>(files);
}

}  // namespace mv
