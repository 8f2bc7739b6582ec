#include "run/DatabaseEngine.h"

#include <gtest/gtest.h>

#include "ado/AdoConnection.h"
#include "jet/Database.h"
#include "support/ExpectError.h"
#include "support/FakeDatabase.h"
#include "support/MemoryFileSystem.h"

namespace mv {
namespace {

using testing::ErrorOf;
using testing::MemoryFileSystem;

const std::string kPath = "C:\\Cars\\Motorva.db";
const std::string kConnectionString = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + kPath + ";";

/// A system where the classes of ADO are, or are not, and the provider is not. The database lies in memory, where only
/// the own engine finds it.
class DatabaseEngine : public ::testing::Test {
 protected:
  void SetUp() override {
    if (HasJetProvider()) GTEST_SKIP() << "the provider Microsoft.Jet.OLEDB.4.0 is installed";
    files_.CreateFolders("C:\\Cars");
  }

  static bool HasJetProvider() {
    const ado::ComApartment apartment;
    ado::SystemComClasses classes;
    testing::FakeDatabase other;
    ado::AdoDatabaseProvider provider(classes, other);
    try {
      provider.Open(kConnectionString);
      return other.calls.empty();
    } catch (const Error&) {
      return true;  // it looked for the file
    }
  }

  void CreateDatabase() {
    jet::ColumnSpec key;
    key.name = "KY_RECID";
    key.type = jet::ColumnType::Text;
    key.characters = 20;
    const CivilTime created{2026, 11, 21, 14, 5, 9};
    const auto database = jet::Database::Create(files_, kPath, created);
    database->CreateTable({"brnd_Fuel", {key}, {}}, created);
    database->OpenTable("brnd_Fuel").Insert({std::string("own")});
    database->Commit();
  }

  MemoryFileSystem files_;
};

TEST_F(DatabaseEngine, WithoutTheProviderTheOwnEngineReadsAndWritesTheDatabase) {
  CreateDatabase();
  const auto engine = MakeDatabaseEngine(files_);
  {
    const auto connection = engine->Open(kConnectionString);
    const auto records = connection->OpenTable("brnd_Fuel");
    EXPECT_EQ(records->FieldValue(0), Value(std::string("own")));
    records->SetFieldValue(0, std::string("changed"));
    records->Update();
    connection->Commit();
  }
  EXPECT_EQ(engine->Open(kConnectionString)->OpenTable("brnd_Fuel")->FieldValue(0), Value(std::string("changed")));
}

TEST_F(DatabaseEngine, WithoutTheProviderAMissingDatabaseIsTheOwnEnginesError) {
  const auto engine = MakeDatabaseEngine(files_);
  const Error error = ErrorOf([&] { engine->Open(kConnectionString); });
  EXPECT_EQ(error.Number(), errors::kJetGeneral);
  EXPECT_EQ(error.Description(), "Could not find file '" + kPath + "'.");
}

}  // namespace
}  // namespace mv
