#include "jet/JetConnection.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/Error.h"
#include "jet/file/Header.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"

namespace mv::jet {
namespace {

using testing::ErrorNumberOf;
using testing::ErrorOf;

TEST(ConnectionString, DataSourceIsFoundWhateverStandsAroundIt) {
  EXPECT_EQ(DataSourceOf("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\Motorva\\Motorva.db;"),
            "C:\\Motorva\\Motorva.db");
  EXPECT_EQ(DataSourceOf("Data Source=a.mdb"), "a.mdb");
  EXPECT_EQ(DataSourceOf(" data SOURCE = a b.mdb ;Mode=Share Deny None"), "a b.mdb");
}

TEST(ConnectionString, EqualsSignBelongsToThePath) {
  EXPECT_EQ(DataSourceOf("Data Source=C:\\a=b\\c.mdb;User ID=Admin"), "C:\\a=b\\c.mdb");
}

TEST(ConnectionString, QuotedPathMayHoldSemicolons) {
  EXPECT_EQ(DataSourceOf("Data Source=\"C:\\a;b.mdb\";x=y"), "C:\\a;b.mdb");
  EXPECT_EQ(DataSourceOf("Data Source='C:\\it''s;b.mdb';x=y"), "C:\\it's;b.mdb");
  EXPECT_EQ(DataSourceOf("x=\"Data Source=no\";Data Source=yes"), "yes");
}

TEST(ConnectionString, QuoteInsideAPathIsACharacterLikeAnyOther) {
  EXPECT_EQ(DataSourceOf("Data Source=C:\\John's\\a.mdb;"), "C:\\John's\\a.mdb");
}

TEST(ConnectionString, WithoutDataSourceNamesNothing) {
  EXPECT_EQ(DataSourceOf(""), "");
  EXPECT_EQ(DataSourceOf("Provider=x"), "");
  EXPECT_EQ(DataSourceOf("Data Source;a=b"), "");
  EXPECT_EQ(DataSourceOf("Data Source"), "");
  EXPECT_EQ(DataSourceOf("Data Source="), "");
  EXPECT_EQ(DataSourceOf("Data Source=\"unfinished"), "unfinished");
}

TEST(ConnectionString, LastOfSeveralDataSourcesCounts) {
  EXPECT_EQ(DataSourceOf("Data Source=a;Data Source=b"), "b");
}

const CivilTime kCreated{2026, 11, 21, 14, 5, 9};

/// Databases in memory: "data.mdb" has the table Parts(Key Text(10)) with the row "a".
class JetConnectionTest : public ::testing::Test {
 protected:
  JetConnectionTest() {
    const auto database = Database::Create(files_, "data.mdb", kCreated);
    ColumnSpec key;
    key.name = "Key";
    key.characters = 10;
    database->CreateTable({"Parts", {key}, {}}, kCreated);
    database->OpenTable("Parts").Insert({std::string("a")});
    database->Commit();
  }

  std::unique_ptr<Connection> Open(const std::string& path = "data.mdb") {
    return JetDatabaseProvider(files_).Open("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + path + ";");
  }

  static void Add(Recordset& rows, const std::string& key) {
    rows.AddNew();
    rows.SetFieldValue("Key", key);
    rows.Update();
  }

  /// Rows that a new connection finds.
  std::int64_t RowsOnDisk() { return Open()->OpenTable("Parts")->RecordCount(); }

  /// Adds a row through a connection of its own, as a run does for each table; the bytes that this writes.
  std::uint64_t BytesToAdd(JetDatabaseProvider& provider, const std::string& key) {
    const std::uint64_t before = files_.BytesWritten();
    const auto connection = provider.Open("Data Source=data.mdb");
    Add(*connection->OpenTable("Parts"), key);
    connection->Commit();
    return files_.BytesWritten() - before;
  }

  testing::MemoryFileSystem files_;
};

TEST_F(JetConnectionTest, TablesOfARunAreCommittedAtTheCostOfTheirChangesUntilItsEnd) {
  {
    const auto connection = Open();
    const auto rows = connection->OpenTable("Parts");
    for (int i = 0; i < 80'000; ++i) Add(*rows, "r" + std::to_string(i));
    connection->Commit();
  }
  const std::size_t whole = files_.Content("data.mdb").size();
  JetDatabaseProvider provider(files_);
  EXPECT_GE(BytesToAdd(provider, "x"), whole);
  EXPECT_GE(BytesToAdd(provider, "y"), whole);
  EXPECT_LT(BytesToAdd(provider, "z"), 20 * kPageSize);
  EXPECT_TRUE(files_.FileExists("data.mdb.writing"));
  provider.Rest();
  EXPECT_FALSE(files_.FileExists("data.mdb.writing"));
  EXPECT_EQ(RowsOnDisk(), 80'004);
}

TEST_F(JetConnectionTest, OpenTableIgnoresCaseAndStartsAtTheFirstRow) {
  const auto connection = Open();
  const auto rows = connection->OpenTable("PARTS");
  EXPECT_EQ(rows->FieldValue("Key"), Value(std::string("a")));
}

TEST_F(JetConnectionTest, UnknownTableIsTheProvidersError) {
  EXPECT_EQ(ErrorNumberOf([&] { Open()->OpenTable("brnd_Trip"); }), -2147217865);
}

TEST_F(JetConnectionTest, OpenConnectionHoldsTheFileAlone) {
  const auto connection = Open();
  const Error error = ErrorOf([&] { Open(); });
  EXPECT_EQ(error.Number(), -2147467259);
  EXPECT_EQ(error.Description(), "Could not use 'data.mdb'; file already in use.");
}

TEST_F(JetConnectionTest, CommitPutsAllEditsOnDiskTogether) {
  const auto connection = Open();
  const auto rows = connection->OpenTable("Parts");
  Add(*rows, "b");
  Add(*rows, "c");
  connection->Commit();
  connection->Close();
  EXPECT_EQ(RowsOnDisk(), 3);
}

TEST_F(JetConnectionTest, EditsBeforeCommitAreInMemoryOnly) {
  const Bytes before = files_.Content("data.mdb");
  const auto connection = Open();
  Add(*connection->OpenTable("Parts"), "b");
  EXPECT_EQ(files_.Content("data.mdb"), before);
}

TEST_F(JetConnectionTest, PendingEditIsNotPartOfACommit) {
  {
    const auto connection = Open();
    const auto rows = connection->OpenTable("Parts");
    Add(*rows, "b");
    rows->AddNew();
    rows->SetFieldValue("Key", std::string("pending"));
    connection->Commit();
    EXPECT_EQ(rows->FieldValue("Key"), Value(std::string("pending")));
  }
  EXPECT_EQ(RowsOnDisk(), 2);
}

TEST_F(JetConnectionTest, PendingEditOfARowAtCommitCanStillBeSaved) {
  const auto connection = Open();
  auto rows = connection->OpenTable("Parts");
  rows->SetFieldValue("Key", std::string("x"));
  connection->Commit();
  rows->Update();
  connection->Commit();
  rows.reset();
  connection->Close();
  EXPECT_EQ(Open()->OpenTable("Parts")->FieldValue("Key"), Value(std::string("x")));
}

TEST_F(JetConnectionTest, CloseDropsWhatWasNotCommittedAndReleasesTheFile) {
  const auto connection = Open();
  Add(*connection->OpenTable("Parts"), "b");
  connection->Close();
  EXPECT_EQ(RowsOnDisk(), 1);
  EXPECT_NO_THROW(connection->Close());
  EXPECT_EQ(ErrorOf([&] { connection->Commit(); }).Description(), "The database is closed.");
  EXPECT_EQ(ErrorNumberOf([&] { connection->OpenTable("Parts"); }), -2147467259);
}

TEST_F(JetConnectionTest, DestructorDropsWhatWasNotCommittedAndReleasesTheFile) {
  Add(*Open()->OpenTable("Parts"), "b");
  EXPECT_EQ(RowsOnDisk(), 1);
}

TEST_F(JetConnectionTest, CommitThatFailsLeavesTheFileAndMayBeTriedAgain) {
  const Bytes before = files_.Content("data.mdb");
  const auto connection = Open();
  Add(*connection->OpenTable("Parts"), "b");
  files_.FailWrite(1);
  EXPECT_EQ(ErrorNumberOf([&] { connection->Commit(); }), errors::kDiskFull);
  EXPECT_EQ(files_.Content("data.mdb"), before);
  connection->Commit();
  connection->Close();
  EXPECT_EQ(RowsOnDisk(), 2);
}

TEST_F(JetConnectionTest, MissingFileCouldNotBeFound) {
  EXPECT_EQ(ErrorOf([&] { Open("C:\\none.mdb"); }).Description(), "Could not find file 'C:\\none.mdb'.");
  EXPECT_EQ(ErrorOf([&] { JetDatabaseProvider(files_).Open("Provider=x"); }).Description(), "Could not find file ''.");
}

TEST_F(JetConnectionTest, FileOfAForeignFormatIsUnrecognized) {
  files_.Put("text.mdb", Bytes(10000, 'x'));
  EXPECT_EQ(ErrorOf([&] { Open("text.mdb"); }).Description(), "Unrecognized database format 'text.mdb'.");
  files_.Put("short.mdb", Bytes(100, 'x'));
  EXPECT_EQ(ErrorNumberOf([&] { Open("short.mdb"); }), -2147467259);
}

TEST_F(JetConnectionTest, ProtectedFileHasNotAValidPassword) {
  Bytes content = files_.Content("data.mdb");
  content[0x42] ^= 0x55;
  files_.Put("secret.mdb", content);
  EXPECT_EQ(ErrorNumberOf([&] { Open("secret.mdb"); }), -2147217843);
}

}  // namespace
}  // namespace mv::jet
