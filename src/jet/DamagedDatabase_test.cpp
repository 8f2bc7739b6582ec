#include <gtest/gtest.h>

#include <random>
#include <string>

#include "jet/Table.h"
#include "jet/pages/DataPage.h"
#include "support/JetDatabase.h"

// Whatever bytes a file has: every call succeeds or raises an Error of the engine, comes to an end, and a change that
// fails leaves all pages as they were.

namespace mv::jet {
namespace {

using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::kJetCreated;
using mv::testing::MemoryFileSystem;

/// A table whose rows refer to those of "T" and to each other, and follow them.
void AddRelatedTable(JetDatabase& database, const Table& others) {
  JetTable design = JetTable("U").Text("K", 40).Text("OTHER", 40).Text("OWN", 40).PrimaryKey("K");
  Table& table = database.Add(design);
  for (auto row = others.First(); row; row = others.Next(*row)) {
    const Value key = others.ReadValue(*row, 0);
    table.Insert({"U" + std::get<std::string>(key), key, Null()});
  }
  using OnDelete = RelationSpec::OnDelete;
  database->CreateRelation({"Other", "U", {"OTHER"}, "T", {"K"}, true, OnDelete::Cascade}, kJetCreated);
  database->CreateRelation({"Own", "U", {"OWN"}, "U", {"K"}, true, OnDelete::SetNull}, kJetCreated);
  const std::size_t own = 2;
  Value last = table.ReadValue(*table.First(), 0);
  for (auto row = table.First(); row; row = table.Next(*row)) {
    table.Update(*row, {&own, 1}, {&last, 1});
    last = table.ReadValue(*row, 0);
  }
}

/// A small database with moved rows, dead slots, long values of every form, trees of two levels and relations.
Bytes RichImage() {
  JetDatabase database;
  JetTable design = JetTable("T")
                        .Text("K", 40)
                        .Column("N", ColumnType::Long)
                        .Column("M", ColumnType::Memo)
                        .Column("O", ColumnType::Ole)
                        .Column("F", ColumnType::Boolean)
                        .PrimaryKey("K");
  design.Index("N", {"N"});
  Table& table = database.Add(design);
  std::vector<RowId> rows;
  for (std::int32_t i = 0; i < 300; ++i) {
    rows.push_back(table.Insert({"KEY" + std::to_string(i * 7919), i % 40, std::string(i % 200, 'm'),
                                 i % 50 == 0 ? Value(Bytes(9000, 1)) : Value(Null()), i % 2 == 0}));
  }
  const std::size_t column = 3;
  const Value value = Bytes(60, 2);
  std::size_t moved = 0;
  for (std::size_t i = 0; i < rows.size(); i += 3) {
    table.Update(rows[i], {&column, 1}, {&value, 1});
    const DataPageView page(database->Pages(), rows[i].page);
    moved += page.State(rows[i].slot) == SlotState::Moved ? 1 : 0;
  }
  EXPECT_GT(moved, 10U);
  for (std::size_t i = 0; i < rows.size(); i += 5) table.Delete(rows[i]);
  AddRelatedTable(database, table);
  return database.Image();
}

/// Bytes that are often lengths, offsets or addresses are likelier to be hit than rows of text.
void Damage(Bytes& image, std::mt19937& random) {
  const std::size_t pages = image.size() / kPageSize;
  const std::size_t hits = 1 + random() % 6;
  for (std::size_t i = 0; i < hits; ++i) {
    const std::size_t page = 1 + random() % (pages - 1);
    const std::size_t offset = random() % 3 == 0 ? random() % kPageSize : random() % 64;
    const std::uint8_t bytes[] = {0x00, 0xFF, 0x01, static_cast<std::uint8_t>(random())};
    image[page * kPageSize + offset] = bytes[random() % 4];
  }
}

class Rummager {
 public:
  Rummager(const Bytes& image, unsigned seed) : random_(seed) { files_.Put("x.mdb", image); }

  void Run() {
    std::unique_ptr<Database> database;
    if (!Succeeds([&] { database = Database::Open(files_, "x.mdb", PageFile::Mode::ReadWrite); })) return;
    std::vector<std::string> names = {"MSysObjects", "T", "U"};
    for (const std::string& name : names) {
      Table* table = nullptr;
      if (Succeeds([&] { table = &database->OpenTable(name); })) Use(*database, *table);
    }
    UnchangedWhenFailing(*database, [&] {
      database->CreateRelation({"New", "U", {"OWN"}, "T", {"K"}, false, RelationSpec::OnDelete::Refuse}, kJetCreated);
    });
    UnchangedWhenFailing(
        *database, [&] { database->CreateTable(JetTable("New").Text("K", 9).PrimaryKey("K").Spec(), kJetCreated); });
    Succeeds([&] { database->Commit(); });
  }

 private:
  template <typename Action>
  bool Succeeds(Action action) {
    try {
      action();
      return true;
    } catch (const Error&) {
      return false;
    }
  }

  template <typename Action>
  void UnchangedWhenFailing(Database& database, Action action) {
    PageFile& pages = database.Pages();
    std::vector<Page> before;
    for (PageNumber number = 0; number < pages.PageCount(); ++number) before.push_back(pages.Read(number));
    if (Succeeds(action)) return;
    ASSERT_EQ(pages.PageCount(), before.size());
    for (PageNumber number = 0; number < pages.PageCount(); ++number) ASSERT_EQ(pages.Read(number), before[number]);
  }

  void Use(Database& database, Table& table) {
    std::vector<RowId> rows;
    Succeeds([&] {
      for (auto row = table.First(); row && rows.size() < 5000; row = table.Next(*row)) rows.push_back(*row);
    });
    for (const RowId row : rows) Succeeds([&] { table.ReadRow(row); });
    Succeeds([&] { table.Count(); });
    Succeeds([&] { table.Last(); });
    std::vector<Value> values(table.Definition().columns.size());
    for (std::size_t i = 0; i < 6 && !rows.empty(); ++i) {
      const RowId row = rows[random_() % rows.size()];
      Succeeds([&] { values = table.ReadRow(row); });
      const std::size_t column = random_() % values.size();
      const Value value = std::to_string(random_() % 100000);
      UnchangedWhenFailing(database, [&] { table.Update(row, {&column, 1}, {&value, 1}); });
      values[0] = value;
      UnchangedWhenFailing(database, [&] { table.Insert(values); });
      UnchangedWhenFailing(database, [&] { table.Delete(rows[random_() % rows.size()]); });
    }
  }

  std::mt19937 random_;
  MemoryFileSystem files_;
};

TEST(DamagedDatabase, RandomDamageRaisesErrorsOnlyAndFailedChangesLeaveNoTrace) {
  const Bytes image = RichImage();
  for (unsigned seed = 1; seed <= 150; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Bytes damaged = image;
    Damage(damaged, random);
    ASSERT_NO_FATAL_FAILURE(Rummager(damaged, seed).Run());
  }
}

TEST(DamagedDatabase, CutFileIsRefusedOrDamagedWhereItEnds) {
  const Bytes image = RichImage();
  for (std::size_t pages = 2; pages * kPageSize < image.size(); ++pages) {
    SCOPED_TRACE(pages);
    const Bytes cut(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(pages * kPageSize));
    ASSERT_NO_FATAL_FAILURE(Rummager(cut, static_cast<unsigned>(pages)).Run());
  }
}

}  // namespace
}  // namespace mv::jet
