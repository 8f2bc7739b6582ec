#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/Error.h"
#include "jet/Database.h"
#include "platform/FileSystem.h"
#include "support/ExpectError.h"
#include "support/JetDatabase.h"
#include "support/JetPageCount.h"
#include "support/TempFolder.h"

// Space: no page is lost, what is freed is used again, a file that is edited for ever stays as large as its content
// asks for, and files may grow up to 2 GiB.

namespace mv::jet {
namespace {

using mv::testing::ErrorOf;
using mv::testing::JetDatabase;
using mv::testing::JetPageCount;
using mv::testing::JetTable;
using mv::testing::kJetCreated;
using mv::testing::MemoryFileSystem;
using mv::testing::TempFolder;

constexpr std::size_t kMegabyte = std::size_t{1} << 20;
/// Bytes of a long value on each page of a chain.
constexpr std::size_t kChunk = 4072;

Bytes Numbers(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 4096);
  return bytes;
}

std::string Letters(std::size_t count) {
  std::string text(count, 'a');
  for (std::size_t i = 0; i < count; ++i) text[i] = static_cast<char>('a' + i * 7 % 26);
  return text;
}

JetTable LongValueTable() {
  return JetTable("T")
      .Column("Id", ColumnType::Long)
      .Column("Memo", ColumnType::Memo)
      .Column("Ole", ColumnType::Ole)
      .PrimaryKey("Id");
}

void Update(Table& table, RowId row, std::size_t column, const Value& value) {
  table.Update(row, {&column, 1}, {&value, 1});
}

/// Lengths on both sides of every change of form: inline, in one row, on one, two, three and more pages.
const std::vector<std::size_t> kLengths = {0,
                                           1,
                                           31,
                                           32,
                                           33,
                                           63,
                                           64,
                                           65,
                                           1907,
                                           1908,
                                           1909,
                                           3815,
                                           3816,
                                           3817,
                                           kChunk - 1,
                                           kChunk,
                                           kChunk + 1,
                                           2 * kChunk - 1,
                                           2 * kChunk,
                                           2 * kChunk + 1,
                                           3 * kChunk - 1,
                                           3 * kChunk,
                                           3 * kChunk + 1,
                                           50 * kChunk,
                                           kMegabyte,
                                           kMegabyte + 1};

TEST(Space, LongValuesOfEveryLengthReadAsWrittenAndGiveAllTheirPagesBack) {
  JetDatabase database;
  Table& table = database.Add(LongValueTable());
  const JetPageCount atFirst(*database);
  std::vector<RowId> rows;
  for (const std::size_t length : kLengths) {
    rows.push_back(table.Insert({static_cast<std::int32_t>(rows.size()), Letters(length), Numbers(length)}));
  }
  // Each value takes the place of another length, up and down the list.
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::size_t length = kLengths[(i * 11 + 5) % kLengths.size()];
    Update(table, rows[i], 1, Letters(length));
    Update(table, rows[i], 2, Numbers(length));
    EXPECT_TRUE(table.ReadValue(rows[i], 1) == Value(Letters(length))) << length;
    EXPECT_TRUE(table.ReadValue(rows[i], 2) == Value(Numbers(length))) << length;
  }
  EXPECT_EQ(JetPageCount(*database).Lost(), 0U);
  for (const RowId row : rows) table.Delete(row);
  const JetPageCount atLast(*database);
  EXPECT_EQ(atLast.Lost(), 0U);
  EXPECT_EQ(atLast.used - atLast.mapBits, atFirst.used - atFirst.mapBits + 1) << "only the table's first page stays";
}

TEST(Space, ValueOf20MegabytesIsWrittenReadAndFreed) {
  JetDatabase database;
  Table& table = database.Add(LongValueTable());
  const Bytes value = Numbers(20 * kMegabyte + 1);
  const RowId row = table.Insert({1, Null(), value});
  EXPECT_TRUE(table.ReadValue(row, 2) == Value(value));
  EXPECT_EQ(JetPageCount(*database).Lost(), 0U);
  const std::size_t pages = database->Pages().PageCount();
  Update(table, row, 2, Null());
  EXPECT_GT(JetPageCount(*database).free, 20 * kMegabyte / kChunk);
  EXPECT_EQ(JetPageCount(*database).Lost(), 0U);
  Update(table, row, 2, value);
  EXPECT_EQ(database->Pages().PageCount(), pages) << "freed pages are taken before the file grows";
}

TEST(Space, FreedPagesOfOneTableServeAnother) {
  JetDatabase database;
  Table& first = database.Add(LongValueTable());
  Table& second = database.Add(JetTable("Second").Text("Key", 200).PrimaryKey("Key"));
  for (std::int32_t i = 0; i < 20; ++i) first.Insert({i, Letters(5000), Numbers(9000)});
  const std::size_t pages = database->Pages().PageCount();
  for (auto row = first.First(); row; row = first.First()) first.Delete(*row);
  for (std::size_t i = 0; i < 200; ++i) second.Insert({Letters(150) + std::to_string(i)});
  EXPECT_EQ(database->Pages().PageCount(), pages);
  EXPECT_EQ(JetPageCount(*database).Lost(), 0U);
}

/// Rows of constant number whose values change at random, with a model of what they should be.
class EditedFile {
 public:
  static constexpr std::size_t kRows = 60;
  static constexpr std::size_t kLongest = 9000;

  explicit EditedFile(unsigned seed) : random_(seed) {
    files_.CreateFolders("C:\\data");
    const auto database = Database::Create(files_, kPath, kJetCreated);
    JetTable design = JetTable("T")
                          .Column("Id", ColumnType::Long)
                          .Text("Name", 200)
                          .Column("Memo", ColumnType::Memo)
                          .Column("Ole", ColumnType::Ole)
                          .PrimaryKey("Id");
    design.Index("Name", {"Name"});
    database->CreateTable(design.Spec(), kJetCreated);
    for (std::size_t i = 0; i < kRows; ++i) Insert(database->OpenTable("T"));
    database->Commit();
  }

  /// One change, committed.
  void Edit(Database& database) {
    Table& table = database.OpenTable("T");
    const std::size_t chosen = random_() % model_.size();
    const auto entry = std::next(model_.begin(), static_cast<std::ptrdiff_t>(chosen));
    if (random_() % 3 == 0) {
      table.Delete(entry->first);
      model_.erase(entry);
      Insert(table);
    } else {
      const std::size_t column = 1 + random_() % 3;
      entry->second[column] = SomeValue(column);
      Update(table, entry->first, column, entry->second[column]);
    }
    database.Commit();
  }

  std::unique_ptr<Database> Open() { return Database::Open(files_, kPath, PageFile::Mode::ReadWrite); }

  void ExpectRowsAsInModel(const Table& table) const {
    std::size_t rows = 0;
    for (auto row = table.First(); row; row = table.Next(*row), ++rows) {
      ASSERT_TRUE(model_.contains(*row));
      ASSERT_TRUE(table.ReadRow(*row) == model_.at(*row));
    }
    EXPECT_EQ(rows, model_.size());
  }

 private:
  static constexpr const char* kPath = "C:\\data\\x.mdb";

  Value SomeValue(std::size_t column) {
    if (column == 1) return "n" + std::to_string(random_()) + std::string(random_() % 150, 'n');
    // Mostly short values, now and then a chain.
    const std::size_t length = random_() % (random_() % 4 == 0 ? kLongest : 300);
    return column == 2 ? Value(Letters(length)) : Value(Numbers(length));
  }

  void Insert(Table& table) {
    std::vector<Value> values = {nextId_++};
    for (std::size_t column = 1; column <= 3; ++column) values.push_back(SomeValue(column));
    const RowId row = table.Insert(values);
    model_[row] = std::move(values);
  }

  MemoryFileSystem files_;
  std::mt19937 random_;
  std::map<RowId, std::vector<Value>> model_;
  std::int32_t nextId_ = 1;
};

TEST(Space, FileEditedAThousandTimesDoesNotGrowByMoreThanHalf) {
  constexpr unsigned kSeed = 4096;
  SCOPED_TRACE(kSeed);
  EditedFile file(kSeed);
  const auto database = file.Open();
  const std::size_t pages = database->Pages().PageCount();
  std::size_t highest = pages;
  for (int edit = 0; edit < 1000; ++edit) {
    file.Edit(*database);
    highest = std::max<std::size_t>(highest, database->Pages().PageCount());
  }
  RecordProperty("pages", std::to_string(pages) + " to " + std::to_string(highest));
  EXPECT_LE(2 * highest, 3 * pages) << "from " << pages;
  EXPECT_EQ(JetPageCount(*database).Lost(), 0U);
  file.ExpectRowsAsInModel(database->OpenTable("T"));
  mv::testing::ExpectIndexesMatchRows(*database, database->OpenTable("T"));
}

TEST(Space, FileAbove512PagesKeepsItsMapsThroughCommits) {
  MemoryFileSystem files;
  files.CreateFolders("C:\\data");
  const std::string path = "C:\\data\\x.mdb";
  const Bytes value = Numbers(3 * kMegabyte);
  {
    const auto database = Database::Create(files, path, kJetCreated);
    database->CreateTable(LongValueTable().Spec(), kJetCreated);
    database->OpenTable("T").Insert({1, Null(), value});
    database->Commit();
  }
  const auto database = Database::Open(files, path, PageFile::Mode::ReadWrite);
  EXPECT_GT(database->Pages().PageCount(), 512U);
  Table& table = database->OpenTable("T");
  EXPECT_TRUE(table.ReadValue(*table.First(), 2) == Value(value));
  table.Delete(*table.First());
  database->Commit();
  EXPECT_EQ(JetPageCount(*database).Lost(), 0U);
  EXPECT_GT(JetPageCount(*database).free, 700U);
}

TEST(Space, FileAbove125MegabytesHasItsFreePagesOnBitPagesAndUsesThemAgain) {
  MemoryFileSystem files;
  files.CreateFolders("C:\\data");
  const std::string path = "C:\\data\\x.mdb";
  {
    const auto database = Database::Create(files, path, kJetCreated);
    database->CreateTable(LongValueTable().Spec(), kJetCreated);
    Table& table = database->OpenTable("T");
    for (std::int32_t i = 0; i < 4; ++i) table.Insert({i, Null(), Numbers(34 * kMegabyte)});
    database->Commit();
  }
  const auto database = Database::Open(files, path, PageFile::Mode::ReadWrite);
  PageFile& pages = database->Pages();
  const std::size_t count = pages.PageCount();
  ASSERT_GT(count, 32736U) << "more than one bit page covers";
  EXPECT_EQ(UsageMap(pages, kFreePagesMap).BitPages().size(), 2U);
  EXPECT_EQ(JetPageCount(*database).Lost(), 0U);

  Table& table = database->OpenTable("T");
  EXPECT_TRUE(table.ReadValue(*table.Last(), 2) == Value(Numbers(34 * kMegabyte)));
  table.Delete(*table.First());
  table.Delete(*table.Last());
  EXPECT_GT(JetPageCount(*database).free, count / 3);
  EXPECT_EQ(JetPageCount(*database).Lost(), 0U);
  table.Insert({9, Null(), Numbers(60 * kMegabyte)});
  EXPECT_EQ(pages.PageCount(), count);
}

TEST(Space, DatabaseAt2GiBRefusesToGrowAndKeepsWhatItHas) {
  const TempFolder folder;
  const auto files = platform::MakeFileSystem();
  const std::string path = folder.File("large.mdb");
  {
    const auto database = Database::Create(*files, path, kJetCreated);
    database->CreateTable(LongValueTable().Spec(), kJetCreated);
    database->OpenTable("T").Insert({1, "short", Null()});
    database->Commit();
  }
  // Pages of zeros that nobody owns, in a file that takes no room on the disk. Two bit pages and one more page are
  // left.
  files->Open(path, platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::None)
      ->Resize((std::uint64_t{PageFile::kMaxPages} - 3) * kPageSize);
  const auto database = Database::Open(*files, path, PageFile::Mode::ReadWrite);
  // The map has called the first 512 pages free all along.
  FreePages freePages(database->Pages());
  for (std::size_t left = JetPageCount(*database).free; left > 0; --left) freePages.Allocate();
  Table& table = database->OpenTable("T");
  const auto refused = [&](const Value& memo) {
    const Error error = ErrorOf([&] { table.Insert({2, memo, Null()}); });
    EXPECT_EQ(error.Number(), errors::kJetGeneral);
    EXPECT_EQ(error.Description(), "Not supported: a database of more than 2 GiB. Nothing was changed.");
  };
  refused(Letters(20000));
  EXPECT_EQ(database->Pages().PageCount(), PageFile::kMaxPages - 3);
  table.Insert({3, Letters(1000), Null()});
  EXPECT_EQ(database->Pages().PageCount(), PageFile::kMaxPages);
  refused(Letters(2000));
  EXPECT_EQ(table.Count(), 2);
  EXPECT_EQ(table.ReadValue(*table.First(), 1), Value(std::string("short")));
}

TEST(Space, FileOfMoreThan2GiBIsNotOpened) {
  const TempFolder folder;
  const auto files = platform::MakeFileSystem();
  const std::string path = folder.File("larger.mdb");
  Database::Create(*files, path, kJetCreated)->Commit();
  files->Open(path, platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::None)
      ->Resize((std::uint64_t{PageFile::kMaxPages} + 1) * kPageSize);
  EXPECT_NE(ErrorOf([&] { Database::Open(*files, path, PageFile::Mode::ReadOnly); }).Description().find("2 GiB"),
            std::string::npos);
}

}  // namespace
}  // namespace mv::jet
