#include "run/TemplateCheck.h"

#include <gtest/gtest.h>

#include "jet/Database.h"
#include "jet/file/Page.h"
#include "run/DesktopBackup.h"
#include "support/ExpectError.h"
#include "support/JetDatabase.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using testing::ErrorOf;
using testing::JetTable;

const std::string kDatabase = "C:\\Cars\\Motorva.db";
const std::string kTemplate = "C:\\Motorva\\_20";

/// An Overwrite PC run with a template of our own format.
class TemplateCheckTest : public ::testing::Test {
 protected:
  TemplateCheckTest() { world_.files.Put(kDatabase, {1, 2, 3}); }

  void MakeTemplate(std::span<const SyncTable> tables) {
    world_.files.CreateFolders("C:\\Motorva");
    const auto database = jet::Database::Create(world_.files, kTemplate, testing::kJetCreated);
    for (const SyncTable& table : tables) {
      database->CreateTable(JetTable(table.name).Text("Key", 9).PrimaryKey("Key").Spec(), testing::kJetCreated);
    }
    database->Commit();
  }
  Error ErrorOfBackup(std::span<const SyncTable> tables) {
    return ErrorOf([&] { BackupDesktopDatabase(world_.run, tables); });
  }
  void ExpectUntouched() {
    EXPECT_EQ(world_.files.Content(kDatabase), (Bytes{1, 2, 3}));
    EXPECT_TRUE(world_.database.calls.empty()) << "the engine of the run was not asked";
  }

  testing::RunWorld world_;
};

TEST_F(TemplateCheckTest, ASoundTemplateWithTheTablesOfTheRunIsLaidDown) {
  MakeTemplate(kTables);
  BackupDesktopDatabase(world_.run, kTables);
  EXPECT_EQ(world_.files.Content(kDatabase), world_.files.Content(kTemplate));
}

TEST_F(TemplateCheckTest, ATemplateWithoutATableOfTheRunLeavesTheDatabase) {
  MakeTemplate(kSilentTables);
  const Error error = ErrorOfBackup(kTables);
  EXPECT_EQ(error.Number(), errors::kJetNoSuchTable);
  EXPECT_TRUE(error.Description().starts_with("Template database \"" + kTemplate + "\": ")) << error.Description();
  EXPECT_NE(error.Description().find("'brnd_Accessories'"), std::string::npos) << error.Description();
  ExpectUntouched();
}

TEST_F(TemplateCheckTest, ASilentRunNeedsItsElevenTablesOnly) {
  MakeTemplate(kSilentTables);
  EXPECT_NO_THROW(BackupDesktopDatabase(world_.run, kSilentTables));
}

TEST_F(TemplateCheckTest, ADamagedTemplateLeavesTheDatabase) {
  MakeTemplate(kTables);
  Bytes content = world_.files.Content(kTemplate);
  // The page of the catalog's definition says that it is a data page.
  content[2 * jet::kPageSize] = 1;
  world_.files.Put(kTemplate, content);
  const Error error = ErrorOfBackup(kTables);
  EXPECT_EQ(error.Number(), errors::kJetGeneral);
  EXPECT_TRUE(error.Description().starts_with("The template database \"" + kTemplate + "\" is damaged (damage: "))
      << error.Description();
  ExpectUntouched();
}

TEST_F(TemplateCheckTest, ACutTemplateLeavesTheDatabase) {
  MakeTemplate(kTables);
  Bytes content = world_.files.Content(kTemplate);
  content.resize(content.size() - jet::kPageSize);
  world_.files.Put(kTemplate, content);
  const Error error = ErrorOfBackup(kTables);
  EXPECT_EQ(error.Number(), errors::kJetGeneral);
  EXPECT_NE(error.Description().find("is damaged (damage: "), std::string::npos) << error.Description();
  ExpectUntouched();
}

}  // namespace
}  // namespace mv
