#include "sync/KeyClasses.h"

#include <gtest/gtest.h>

#include "base/Error.h"
#include "recordset/MemoryRecordset.h"
#include "support/ExpectError.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

/// One row with a different value in each key field of the thirteen tables.
MemoryRecordset RowWithEveryKeyField() {
  MemoryRecordset row({{"TX_NAME", DataType::BStr, 0},
                       {"KY_RECID", DataType::BStr, 0},
                       {"KY_RECID_TASK", DataType::BStr, 0},
                       {"KY_RECID_PART", DataType::BStr, 0},
                       {"TX_VIN", DataType::BStr, 0}});
  row.AddNew();
  for (std::size_t i = 0; i < row.Fields().size(); ++i) row.SetFieldValue(i, "of " + row.Fields()[i].name);
  row.Update();
  return row;
}

MemoryRecordset RowWithKey(DataType type, const Value& key) {
  MemoryRecordset row({{"KY_RECID", type, 0}});
  row.AddNew();
  row.SetFieldValue(0, key);
  row.Update();
  return row;
}

struct TableKey {
  const char* table;
  const char* criterion;
};

class EveryKeyClass : public ::testing::TestWithParam<TableKey> {};

TEST_P(EveryKeyClass, CriteriaNamesTheKeyFieldOfItsTable) {
  const MemoryRecordset row = RowWithEveryKeyField();
  const std::unique_ptr<IKeyInfo> key = MakeKeyInfo(GetParam().table);
  ASSERT_TRUE(key);
  EXPECT_EQ(key->Criteria(row), GetParam().criterion);
}

TEST_P(EveryKeyClass, PrintableStringReadsTheFieldCalledAnimal) {
  MemoryRecordset row({{"animal", DataType::BStr, 0}});
  row.AddNew();
  row.SetFieldValue(0, std::string("otter"));
  const std::unique_ptr<IKeyInfo> key = MakeKeyInfo(GetParam().table);
  ASSERT_TRUE(key);
  EXPECT_EQ(key->PrintableString(row), "otter");
}

TEST_P(EveryKeyClass, PrintableStringFailsOnATableWithoutThatField) {
  const MemoryRecordset row = RowWithEveryKeyField();
  const std::unique_ptr<IKeyInfo> key = MakeKeyInfo(GetParam().table);
  ASSERT_TRUE(key);
  EXPECT_EQ(ErrorNumberOf([&] { key->PrintableString(row); }), errors::kItemNotFound);
}

INSTANTIATE_TEST_SUITE_P(
    KeyClasses, EveryKeyClass,
    ::testing::Values(
        TableKey{"brnd_Accessories", "KY_RECID='of KY_RECID'"}, TableKey{"brnd_AccItems", "KY_RECID='of KY_RECID'"},
        TableKey{"brnd_Customer", "TX_NAME='of TX_NAME'"}, TableKey{"brnd_FieldValues", "KY_RECID='of KY_RECID'"},
        TableKey{"brnd_Fuel", "KY_RECID='of KY_RECID'"}, TableKey{"brnd_Maintenance", "KY_RECID='of KY_RECID'"},
        TableKey{"brnd_MaintTasks", "KY_RECID_TASK='of KY_RECID_TASK'"},
        TableKey{"brnd_Models", "KY_RECID='of KY_RECID'"}, TableKey{"brnd_Parts", "KY_RECID_PART='of KY_RECID_PART'"},
        TableKey{"brnd_Payment", "KY_RECID='of KY_RECID'"}, TableKey{"brnd_SchedMaint", "KY_RECID='of KY_RECID'"},
        TableKey{"brnd_Trip", "KY_RECID='of KY_RECID'"}, TableKey{"brnd_Vehicle", "TX_VIN='of TX_VIN'"}),
    [](const auto& test) { return std::string(test.param.table); });

TEST(MakeKeyInfo, EachTableGetsItsOwnClass) {
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_Accessories*>(MakeKeyInfo("brnd_Accessories").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_AccItems*>(MakeKeyInfo("brnd_AccItems").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_Customer*>(MakeKeyInfo("brnd_Customer").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_FieldValues*>(MakeKeyInfo("brnd_FieldValues").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_Fuel*>(MakeKeyInfo("brnd_Fuel").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_Maintenance*>(MakeKeyInfo("brnd_Maintenance").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_MaintTasks*>(MakeKeyInfo("brnd_MaintTasks").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_Models*>(MakeKeyInfo("brnd_Models").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_Parts*>(MakeKeyInfo("brnd_Parts").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_Payment*>(MakeKeyInfo("brnd_Payment").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_SchedMaint*>(MakeKeyInfo("brnd_SchedMaint").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_Trip*>(MakeKeyInfo("brnd_Trip").get()));
  EXPECT_TRUE(dynamic_cast<clsKeyInfo_Vehicle*>(MakeKeyInfo("brnd_Vehicle").get()));
}

TEST(MakeKeyInfo, EveryTableHasItsKey) {
  const MemoryRecordset row = RowWithEveryKeyField();
  for (const SyncTable& table : kTables) {
    const std::unique_ptr<IKeyInfo> key = MakeKeyInfo(table.name);
    ASSERT_TRUE(key) << table.name;
    const std::string field = table.keyField;
    EXPECT_EQ(key->Criteria(row), field + "='of " + field + "'") << table.name;
  }
}

TEST(MakeKeyInfo, UnknownTableHasNoKey) {
  EXPECT_FALSE(MakeKeyInfo("brnd_Boats"));
  EXPECT_FALSE(MakeKeyInfo(""));
}

TEST(Criteria, SingleQuoteInTheKeyIsInsertedUnchangedAndRejectedByFind) {
  MemoryRecordset row = RowWithKey(DataType::BStr, std::string("O'Brien"));
  const std::string criterion = clsKeyInfo_Fuel().Criteria(row);
  EXPECT_EQ(criterion, "KY_RECID='O'Brien'");
  EXPECT_EQ(ErrorNumberOf([&] { row.Find(criterion); }), errors::kRecordsetArgument);
}

TEST(Criteria, EmptyKeyHasNothingBetweenTheQuotesAndFindsOnlyEmptyKeys) {
  MemoryRecordset rows = RowWithKey(DataType::BStr, std::string("a"));
  rows.AddNew();
  rows.SetFieldValue(0, std::string());
  rows.Update();
  const std::string criterion = clsKeyInfo_Fuel().Criteria(rows);
  EXPECT_EQ(criterion, "KY_RECID=''");
  rows.MoveFirst();
  rows.Find(criterion);
  EXPECT_EQ(rows.FieldValue(0), Value(std::string()));
}

TEST(Criteria, NullKeyHasNothingBetweenTheQuotes) {
  EXPECT_EQ(clsKeyInfo_Fuel().Criteria(RowWithKey(DataType::BStr, Null{})), "KY_RECID=''");
}

TEST(Criteria, NumberKeyIsInsertedAsItsText) {
  EXPECT_EQ(clsKeyInfo_Fuel().Criteria(RowWithKey(DataType::Integer, std::int32_t{-42})), "KY_RECID='-42'");
}

TEST(Criteria, MissingKeyFieldRaisesTheRecordsetsError) {
  const MemoryRecordset row = RowWithKey(DataType::BStr, std::string("a"));
  EXPECT_EQ(ErrorNumberOf([&] { clsKeyInfo_Vehicle().Criteria(row); }), errors::kItemNotFound);
}

TEST(Criteria, NoCurrentRowRaisesTheRecordsetsError) {
  const MemoryRecordset empty({{"KY_RECID", DataType::BStr, 0}});
  EXPECT_EQ(ErrorNumberOf([&] { clsKeyInfo_Fuel().Criteria(empty); }), errors::kNoCurrentRecord);
}

}  // namespace
}  // namespace mv
