#include <gtest/gtest.h>

#include <map>
#include <random>

#include "base/ByteOrder.h"
#include "jet/pages/DataPage.h"
#include "jet/pages/UsageMap.h"
#include "support/ExpectSound.h"
#include "support/JetDatabase.h"
#include "support/MemoryFileSystem.h"

/// Databases with the habits of other writers: what can be understood without doubt is read, changed and kept.
namespace mv::jet {
namespace {

using testing::JetDatabase;
using testing::JetTable;

constexpr std::size_t kFirstPageAt = 1;
constexpr std::size_t kBitsAt = 5;
const std::string kPath = "x.mdb";

/// Lets an inline map begin at its lowest page, as some writers do.
void StartAtLowestPage(PageFile& file, RowId where) {
  const std::vector<PageNumber> pages = UsageMap(file, where).Pages();
  const ByteSpan row = DataPage(file, where.page).MutableRow(where.slot);
  if (row[0] != 0 || pages.empty()) return;
  StoreLittle(row.data() + kFirstPageAt, static_cast<std::uint32_t>(pages.front()));
  const ByteSpan bits = row.subspan(kBitsAt);
  std::fill(bits.begin(), bits.end(), std::uint8_t{0});
  for (const PageNumber page : pages) {
    const std::size_t bit = page - pages.front();
    bits[bit / 8] = static_cast<std::uint8_t>(bits[bit / 8] | 1u << bit % 8);
  }
}

std::string TextOfRow(int number) {
  return "row " + std::to_string(number) + std::string(static_cast<std::size_t>(number % 50), 'x');
}

/// A table of 600 rows with two indexes and a memo, each map of which begins at its lowest page.
Bytes DatabaseWithUnalignedMaps() {
  testing::MemoryFileSystem files;
  {
    const auto database = Database::Create(files, kPath, testing::kJetCreated);
    JetTable design("T");
    design.Column("ID", ColumnType::Long).Text("NAME", 80).Column("NOTES", ColumnType::Memo).PrimaryKey("ID");
    design.Index("ByName", {"NAME"});
    database->CreateTable(design.Spec(), testing::kJetCreated);
    Table& table = database->OpenTable("T");
    for (int i = 0; i < 600; ++i) {
      table.Insert({Value(std::int32_t{i}), Value(TextOfRow(i)), Value(std::string(i % 7 == 0 ? 3000 : 10, 'm'))});
    }
    const TableDefinition& definition = table.Definition();
    std::vector<RowId> maps = {definition.ownedPages, definition.freeSpacePages};
    for (const IndexData& index : definition.indexData) maps.push_back(index.map);
    for (const Column& column : definition.columns) {
      if (!column.IsLongValue()) continue;
      maps.push_back(column.longValuePages);
      maps.push_back(column.longValueFreeSpace);
    }
    for (const RowId map : maps) StartAtLowestPage(database->Pages(), map);
    database->Commit();
  }
  return files.Content(kPath);
}

std::map<std::int32_t, std::string> RowsOf(const Table& table) {
  std::map<std::int32_t, std::string> rows;
  for (auto row = table.First(); row; row = table.Next(*row)) {
    const std::vector<Value> values = table.ReadRow(*row);
    rows[std::get<std::int32_t>(values[0])] = std::get<std::string>(values[1]);
  }
  return rows;
}

TEST(OtherWriters, AMapThatStartsAtAnyPageIsANoteOnly) {
  const Bytes image = DatabaseWithUnalignedMaps();
  const check::Report report = testing::ReportOf(image);
  EXPECT_TRUE(report.IsSound()) << SummaryOf(report);
  EXPECT_GT(report.notes, 0u) << "the maps were not changed";
}

TEST(OtherWriters, MapsThatStartAtAnyPageStandEveryStatement) {
  testing::MemoryFileSystem files;
  files.Put(kPath, DatabaseWithUnalignedMaps());
  std::mt19937 random(7);
  std::map<std::int32_t, std::string> expected;
  for (int round = 0; round < 4; ++round) {
    const auto database = Database::Open(files, kPath, PageFile::Mode::ReadWrite);
    Table& table = database->OpenTable("T");
    if (round == 0) expected = RowsOf(table);
    ASSERT_EQ(expected.size(), RowsOf(table).size());
    std::vector<RowId> rows;
    for (auto row = table.First(); row; row = table.Next(*row)) rows.push_back(*row);
    for (const RowId row : rows) {
      if (random() % 3 != 0) continue;
      expected.erase(std::get<std::int32_t>(table.ReadValue(row, 0)));
      table.Delete(row);
    }
    for (int i = 0; i < 300; ++i) {
      const std::int32_t id = 1000 * (round + 1) + i;
      expected[id] = TextOfRow(id);
      table.Insert({Value(id), Value(TextOfRow(id)), Value(std::string(random() % 5000, 'n'))});
    }
    EXPECT_EQ(RowsOf(table), expected);
    testing::ExpectIndexesMatchRows(*database, table);
    database->Commit();
    const check::Report report = testing::ReportOf(files.Content(kPath));
    EXPECT_TRUE(report.IsSound()) << SummaryOf(report);
  }
}

}  // namespace
}  // namespace mv::jet
