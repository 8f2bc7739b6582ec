#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "jet/Database.h"
#include "support/EncodedDatabase.h"
#include "support/ExpectError.h"
#include "support/ExpectSound.h"
#include "support/Hex.h"
#include "support/JetDatabase.h"
#include "support/JetSpecimens.h"
#include "support/MemoryFileSystem.h"

/// Databases whose pages are encoded are read and changed as if they were plain, and stay encoded.
namespace mv::jet {
namespace {

using testing::Encoded;
using testing::ErrorOf;
using testing::JetTable;

constexpr std::uint32_t kKey = 0x12345678;
const std::string kPath = "x.mdb";

class EncodedDatabase : public ::testing::Test {
 protected:
  std::unique_ptr<Database> Open(const Bytes& content, PageFile::Mode mode = PageFile::Mode::ReadWrite) {
    files_.Put(kPath, content);
    return Database::Open(files_, kPath, mode);
  }

  /// What a file is after statements over it.
  template <typename Statements>
  Bytes After(const Bytes& content, Statements statements) {
    const auto database = Open(content);
    statements(*database);
    database->Commit();
    return files_.Content(kPath);
  }

  testing::MemoryFileSystem files_;
};

std::vector<std::vector<Value>> RowsOf(const Table& table) {
  std::vector<std::vector<Value>> rows;
  for (auto row = table.First(); row; row = table.Next(*row)) rows.push_back(table.ReadRow(*row));
  return rows;
}

/// A hundred inserts, updates and deletes by the seed, with memos of each form.
void ChangeRows(Table& table, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<RowId> rows;
  for (auto row = table.First(); row; row = table.Next(*row)) rows.push_back(*row);
  for (int i = 0; i < 100; ++i) {
    const std::string memo(random() % 3 == 0 ? random() % 9000 : random() % 90, static_cast<char>('a' + i % 26));
    const std::size_t victim = random() % rows.size();
    const std::size_t column = 2;
    const Value value = memo;
    switch (random() % 4) {
      case 0:
        table.Delete(rows[victim]);
        rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(victim));
        break;
      case 1:
        table.Update(rows[victim], {&column, 1}, {&value, 1});
        break;
      default:
        rows.push_back(table.Insert({Null{}, "n" + std::to_string(i), memo, i % 2 == 0, Currency{i}}));
    }
  }
}

TEST_F(EncodedDatabase, FileThatIsKnownByteByByteIsReadAsTheDatabaseThatItIs) {
  const Bytes encoded = Encoded(testing::JetDatabase().Image(), kKey);
  // The key, under the mask of the header page, and the page of free pages: 01 01, 3940 bytes free, two slots.
  EXPECT_EQ(testing::ToHex(ByteView(encoded).subspan(0x3E, 4)), "83 DC 88 5C");
  EXPECT_EQ(testing::ToHex(ByteView(encoded).subspan(kPageSize, 16)),
            "39 8F 13 BF 80 B2 FC 29 D9 8A 1D 8C 6F 41 BD B2");
  const auto database = Open(encoded, PageFile::Mode::ReadOnly);
  EXPECT_EQ(database->Pages().Read(1)[0], 1);
  EXPECT_EQ(database->TableNames(), std::vector<std::string>());
  EXPECT_EQ(database->Objects().size(), 8U);
}

TEST_F(EncodedDatabase, RowsReadAsThoseOfThePlainOne) {
  for (const Bytes& plain : {testing::PairOfTables(), testing::AllTypes()}) {
    const auto expected = Open(plain, PageFile::Mode::ReadOnly);
    testing::MemoryFileSystem others;
    others.Put(kPath, Encoded(plain, kKey));
    const auto database = Database::Open(others, kPath, PageFile::Mode::ReadOnly);
    ASSERT_EQ(database->TableNames(), expected->TableNames());
    for (const std::string& name : expected->TableNames()) {
      EXPECT_EQ(RowsOf(database->OpenTable(name)), RowsOf(expected->OpenTable(name)));
    }
  }
}

TEST_F(EncodedDatabase, StatementsLeaveThePagesThatTheyLeaveInThePlainOne) {
  const Bytes plain = testing::PairOfTables();
  bool hasGrown = false;
  for (unsigned seed = 1; seed <= 5; ++seed) {
    const auto change = [&](Database& database) {
      ChangeRows(database.OpenTable("First"), seed);
      ChangeRows(database.OpenTable("Second"), seed + 100);
    };
    const Bytes expected = After(plain, change);
    const Bytes found = After(Encoded(plain, kKey), change);
    hasGrown = hasGrown || found.size() > plain.size();
    EXPECT_EQ(Encoded(found, kKey), expected) << seed;
    testing::ExpectSound(found);
  }
  EXPECT_TRUE(hasGrown) << "no statement took a page behind the end";
}

TEST_F(EncodedDatabase, NewTablesAndRelationsAreThoseOfThePlainOne) {
  const auto change = [](Database& database) {
    database.CreateTable(JetTable("Owner").Text("Name", 20).PrimaryKey("Name").Spec(), testing::kJetCreated);
    database.CreateTable(JetTable("Car").Text("Owner", 20).Spec(), testing::kJetCreated);
    RelationSpec relation;
    relation.name = "OwnerCar";
    relation.table = "Car";
    relation.columns = {"Owner"};
    relation.references = "Owner";
    relation.referencedColumns = {"Name"};
    database.CreateRelation(relation, testing::kJetCreated);
    database.OpenTable("Owner").Insert({"a"});
    database.OpenTable("Car").Insert({"a"});
  };
  const Bytes plain = testing::PairOfTables();
  const Bytes found = After(Encoded(plain, kKey), change);
  EXPECT_EQ(Encoded(found, kKey), After(plain, change));
  testing::ExpectSound(found);
}

TEST_F(EncodedDatabase, ManyCommitsWithAndWithoutSpareFileLeaveTheSamePages) {
  const Bytes plain = testing::PairOfTables();
  const auto runOn = [&](const Bytes& content, std::shared_ptr<Committer> committer) {
    files_.Put(kPath, content);
    for (unsigned round = 1; round <= 8; ++round) {
      const auto database = Database::Open(files_, kPath, PageFile::Mode::ReadWrite, {}, committer);
      // More than a megabyte: below that no spare is kept.
      if (round == 1) database->OpenTable("Second").Insert({Null{}, "", std::string(600000, 'm'), true, Null{}});
      ChangeRows(database->OpenTable("First"), round);
      database->Commit();
    }
    return files_.Content(kPath);
  };
  const Bytes expected = runOn(plain, nullptr);
  EXPECT_EQ(Encoded(runOn(Encoded(plain, kKey), nullptr), kKey), expected);
  const auto committer = std::make_shared<Committer>(files_);
  EXPECT_EQ(Encoded(runOn(Encoded(plain, kKey), committer), kKey), expected);
  EXPECT_TRUE(files_.FileExists(files_.StagedName(kPath))) << "no spare was kept";
}

TEST_F(EncodedDatabase, StatementThatFailsLeavesTheFileAsItWas) {
  const Bytes content = Encoded(testing::PairOfTables(), kKey);
  const auto database = Open(content);
  Table& table = database->OpenTable("First");
  EXPECT_EQ(ErrorOf([&] {
              table.Insert({Null{}, std::string(31, 'x'), Null{}, true, Null{}});
            }).Number(),
            errors::kJetConstraint);
  EXPECT_FALSE(database->Changed());
  database->Commit();
  EXPECT_EQ(files_.Content(kPath), content);
}

TEST_F(EncodedDatabase, PasswordIsRefusedEncodedOrNot) {
  Bytes content = Encoded(testing::JetDatabase().Image(), kKey);
  content[0x42] ^= 1;
  EXPECT_EQ(ErrorOf([&] { Open(content); }).Number(), errors::kJetNotAValidPassword);
}

TEST_F(EncodedDatabase, KeyThatIsNotThatOfThePagesIsDamage) {
  const Bytes plain = testing::PairOfTables();
  const auto expectDamage = [&](const Bytes& content, PageFile::Mode mode) {
    const std::string text = ErrorOf([&] { Open(content, mode); }).Description();
    EXPECT_TRUE(text.starts_with("The database file is damaged: table 'MSys")) << text;
    EXPECT_NE(text.find("is no definition page"), text.npos) << text;
  };
  std::mt19937 random(20261123);
  for (int i = 0; i < 50; ++i) {
    const Bytes content = testing::WithKeyInHeader(plain, static_cast<std::uint32_t>(random() | 1));
    expectDamage(content, PageFile::Mode::ReadOnly);
    expectDamage(content, PageFile::Mode::ReadWrite);
  }
  expectDamage(testing::WithKeyedPages(plain, kKey), PageFile::Mode::ReadOnly);
}

TEST_F(EncodedDatabase, NewDatabaseInItsPlaceIsPlain) {
  files_.Put(kPath, Encoded(testing::PairOfTables(), kKey));
  Database::Create(files_, kPath, testing::kJetCreated)->Commit();
  EXPECT_EQ(files_.Content(kPath), testing::JetDatabase().Image());
}

}  // namespace
}  // namespace mv::jet
