#include "jet/definition/PageOwners.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "base/ByteOrder.h"
#include "jet/definition/DefinitionLayout.h"
#include "jet/pages/DataPage.h"
#include "support/ExpectError.h"
#include "support/JetDatabase.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorOf;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::MemoryFileSystem;

/// Two tables with a row each, and what pages they have.
class PageOwnersTest : public ::testing::Test {
 protected:
  PageOwnersTest() {
    for (const std::string name : {"A", "B"}) {
      Table& table = database_.Add(JetTable(name).Text("Key", 9).Column("Memo", ColumnType::Memo).PrimaryKey("Key"));
      table.Insert({"one", std::string(500, 'm')});
    }
  }

  const TableDefinition& DefinitionOf(const std::string& table) { return database_->OpenTable(table).Definition(); }
  PageFile& Pages() { return database_->Pages(); }
  UsageMap MapAt(RowId where) { return UsageMap(Pages(), where); }
  void Add(RowId map, PageNumber page) {
    FreePages freePages(Pages());
    MapAt(map).Add(page, freePages);
  }
  std::string PageText(PageNumber page) { return "page " + std::to_string(page) + " "; }

  /// Opening for writing says this, opening for reading nothing.
  void ExpectRefused(const std::string& what) {
    MemoryFileSystem files;
    files.Put("x.mdb", database_.Image());
    const auto open = [&](PageFile::Mode mode) { return Database::Open(files, "x.mdb", mode); };
    EXPECT_EQ(ErrorOf([&] { open(PageFile::Mode::ReadWrite); }).Description(),
              "The database file is damaged: " + what + ". Nothing was changed.");
    EXPECT_NO_THROW(open(PageFile::Mode::ReadOnly));
  }

  JetDatabase database_;
};

TEST_F(PageOwnersTest, SoundFileIsOpenedForWriting) {
  MemoryFileSystem files;
  files.Put("x.mdb", database_.Image());
  EXPECT_NO_THROW(Database::Open(files, "x.mdb", PageFile::Mode::ReadWrite));
}

TEST_F(PageOwnersTest, PageOfATableThatIsCalledFreeForbidsWriting) {
  const PageNumber page = *MapAt(DefinitionOf("A").ownedPages).Lowest();
  Add(kFreePagesMap, page);
  ExpectRefused(PageText(page) + "belongs to table 'A' and to the free pages");
}

TEST_F(PageOwnersTest, IndexPageThatIsCalledFreeForbidsWriting) {
  const PageNumber page = DefinitionOf("B").indexData[0].root;
  Add(kFreePagesMap, page);
  ExpectRefused(PageText(page) + "belongs to table 'B' and to the free pages");
}

TEST_F(PageOwnersTest, DefinitionOrMapPageThatIsCalledFreeForbidsWriting) {
  const PageNumber page = DefinitionOf("A").ownedPages.page;
  Add(kFreePagesMap, page);
  ExpectRefused(PageText(page) + "belongs to table 'A' and to the free pages");
  MapAt(kFreePagesMap).Remove(page);
  Add(kFreePagesMap, DefinitionOf("A").page);
  ExpectRefused(PageText(DefinitionOf("A").page) + "belongs to table 'A' and to the free pages");
}

TEST_F(PageOwnersTest, PageOfTheHeaderOrOfTheFreePagesMapBelongsToNobodyElse) {
  Add(kFreePagesMap, 1);
  ExpectRefused("page 1 belongs to the file itself and to the free pages");
}

TEST_F(PageOwnersTest, PageInTheMapsOfTwoTablesForbidsWriting) {
  const PageNumber page = *MapAt(DefinitionOf("A").ownedPages).Lowest();
  Add(DefinitionOf("B").ownedPages, page);
  ExpectRefused(PageText(page) + "belongs to table 'A' and to table 'B'");
}

TEST_F(PageOwnersTest, PageOfAMemoThatIsAnotherTablesTooForbidsWriting) {
  const PageNumber page = *MapAt(DefinitionOf("A").columns[1].longValuePages).Lowest();
  Add(DefinitionOf("B").columns[1].longValuePages, page);
  ExpectRefused(PageText(page) + "belongs to table 'A' and to table 'B'");
}

TEST_F(PageOwnersTest, MapOfTwoTablesForbidsWriting) {
  const RowId map = DefinitionOf("A").ownedPages;
  StoreLittle(Pages().Write(DefinitionOf("B").page).data() + layout::kOwnedPagesAt, map.Word());
  ExpectRefused("table 'B' shares the page map " + std::to_string(map.page) + "/" + std::to_string(map.slot));
}

TEST_F(PageOwnersTest, PageBehindTheEndForbidsWritingBecauseTheFileMayGrowThere) {
  const PageNumber end = Pages().PageCount();
  Add(DefinitionOf("A").ownedPages, end);
  ExpectRefused("table 'A' has page " + std::to_string(end) + ", which lies behind the end");
}

TEST_F(PageOwnersTest, MapRowThatReachesIntoAnotherForbidsWriting) {
  const RowId map = DefinitionOf("A").ownedPages;
  Page& page = Pages().Write(map.page);
  StoreLittle<std::uint16_t>(page.data() + kSlotsOffset + kSlotSize * 2, 0x1000);
  ExpectRefused(PageText(map.page) + "has rows that overlap");
}

TEST_F(PageOwnersTest, DefinitionUnderTwoNamesForbidsWriting) {
  const PageNumber page = DefinitionOf("A").page;
  EXPECT_EQ(ErrorOf([&] {
              CheckPageOwners(Pages(), {{"A", page}, {"Alias", page}});
            }).Description(),
            "The database file is damaged: " + PageText(page) +
                "belongs to table 'A' and to table 'Alias'. Nothing was changed.");
}

TEST_F(PageOwnersTest, BitPageOfAMapThatIsATablesTooForbidsWriting) {
  const PageNumber page = *MapAt(DefinitionOf("A").ownedPages).Lowest();
  const RowId map = DefinitionOf("B").freeSpacePages;
  SetKind(Pages().Write(page), PageKind::MapBits);
  const ByteSpan row = DataPage(Pages(), map.page).MutableRow(map.slot);
  std::fill(row.begin(), row.end(), std::uint8_t{0});
  row[0] = 1;
  StoreLittle(row.data() + 1, page);
  ExpectRefused(PageText(page) + "belongs to table 'A' and to table 'B'");
}

TEST_F(PageOwnersTest, TableWithAnUnreadableDefinitionDoesNotKeepOthersFromBeingWritten) {
  Pages().Write(DefinitionOf("A").page)[layout::kTagAt] ^= 1;
  MemoryFileSystem files;
  files.Put("x.mdb", database_.Image());
  const auto database = Database::Open(files, "x.mdb", PageFile::Mode::ReadWrite);
  EXPECT_NO_THROW(database->OpenTable("B").Insert({"two", Null()}));
}

}  // namespace
}  // namespace mv::jet
