#include "history/RowSet.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/HistoryWorld.h"

namespace mv::history {
namespace {

using testing::HistoryWorld;

class RowSetTest : public ::testing::Test {
 protected:
  RowSet OfFile(const std::vector<testing::OdoRow>& rows, std::string_view keyField = "KY_RECID") {
    world_.files.Put("C:\\x.pdb", world_.TableFileOf("brnd_Fuel", rows));
    return RowSet::OfTableFile(world_.files, "C:\\x.pdb", keyField);
  }

  HistoryWorld world_;
};

TEST_F(RowSetTest, NewSetIsEmpty) {
  RowSet set;
  EXPECT_EQ(set.Count(), 0u);
  EXPECT_EQ(set.Take("a"), nullptr);
}

TEST_F(RowSetTest, RowsOfATableFileHaveTheirFlags) {
  RowSet set = OfFile({{"a", 1, 64}, {"b", 2, 128}});
  EXPECT_EQ(set.FieldNames(), (std::vector<std::string>{"KY_RECID", "NM_ODO"}));
  EXPECT_EQ(set.Count(), 2u);
  EXPECT_EQ(set.Find("b")->attributes, 128);
  EXPECT_EQ(set.Find("b")->values, (std::vector<Value>{Value(std::string("b")), Value(std::int32_t{2})}));
}

TEST_F(RowSetTest, RowsOfADatabaseTableAreFoundByTheirKeys) {
  world_.PutDatabase({{"a", 1}, {"b", 2}});
  const auto database = jet::Database::Open(world_.files, HistoryWorld::kDatabase, jet::PageFile::Mode::ReadOnly);
  RowSet set = RowSet::OfTable(*database, "brnd_fuel", "ky_recid");
  EXPECT_EQ(set.Find("b")->values.at(1), Value(std::int32_t{2}));
}

TEST_F(RowSetTest, CaseOfAKeyDoesNotCount) {
  RowSet set = OfFile({{"\xC3\x89t\xC3\xA9", 1}});
  EXPECT_NE(set.Find("\xC3\xA9T\xC3\x89"), nullptr);
}

TEST_F(RowSetTest, RowsOfOneKeyAreTakenInTheirOrder) {
  RowSet set = OfFile({{"a", 1}, {"A", 2}});
  EXPECT_EQ(set.Take("a")->values.at(1), Value(std::int32_t{1}));
  EXPECT_EQ(set.Take("a")->values.at(1), Value(std::int32_t{2}));
  EXPECT_EQ(set.Take("a"), nullptr);
  EXPECT_NE(set.Find("a"), nullptr);
}

TEST_F(RowSetTest, OnlyRowsThatWereNotTakenAreLeft) {
  RowSet set = OfFile({{"a", 1}, {"b", 2}, {"c", 3}});
  set.Take("b");
  std::string keys;
  set.ForEachLeft([&](const KeyedRow& row) { keys += row.key; });
  EXPECT_EQ(keys, "ac");
}

TEST_F(RowSetTest, FirstFieldIsTheKeyOfATableWithoutTheKeyField) {
  RowSet set = OfFile({{"a", 1}}, "TX_VIN");
  EXPECT_NE(set.Find("a"), nullptr);
}

TEST_F(RowSetTest, FieldsOfOneNameAreToldApart) {
  const TableFileHeader header{"brnd_Fuel",
                               "BRND",
                               {{"A", CodeOf(HandheldType::Text)},
                                {"A", CodeOf(HandheldType::Long)},
                                {"A#2", CodeOf(HandheldType::Long)},
                                {"A", CodeOf(HandheldType::Long)}}};
  world_.files.CreateFolders("C:");
  TableFileWriter(header, world_.clock).WriteTo(world_.files, "C:\\x.pdb");
  const RowSet set = RowSet::OfTableFile(world_.files, "C:\\x.pdb", "KY_RECID");
  EXPECT_EQ(set.FieldNames(), (std::vector<std::string>{"A", "A#2", "A#2#3", "A#4"}));
}

TEST_F(RowSetTest, DamagedOrMissingFileIsAnError) {
  Bytes file = world_.TableFileOf("brnd_Fuel", {{"a", 1}, {"b", 2}});
  file.resize(file.size() - 3);
  world_.files.Put("C:\\x.pdb", file);
  testing::ErrorOf([&] { RowSet::OfTableFile(world_.files, "C:\\x.pdb", "KY_RECID"); });
  EXPECT_EQ(testing::ErrorNumberOf([&] { RowSet::OfTableFile(world_.files, "C:\\y.pdb", "KY_RECID"); }),
            errors::kFileNotFound);
}

}  // namespace
}  // namespace mv::history
