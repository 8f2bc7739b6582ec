#include "sync/clsSyncableRS_ADO.h"

#include <gtest/gtest.h>

#include "base/Error.h"
#include "recordset/MemoryRecordset.h"
#include "support/ExpectError.h"
#include "sync/KeyClasses.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

MemoryRecordset Table(std::vector<FieldDefinition> fields, const std::vector<Value>& row) {
  MemoryRecordset table(std::move(fields));
  table.AddNew();
  for (std::size_t i = 0; i < row.size(); ++i) table.SetFieldValue(i, row[i]);
  table.Update();
  return table;
}

clsSyncableRS_ADO Over(Recordset& rs) {
  clsSyncableRS_ADO side;
  side.SetADORS(rs);
  return side;
}

TEST(clsSyncableRS_ADO, CopyRecordAssignsByPositionNotByName) {
  MemoryRecordset source = Table({{"X", DataType::BStr, 0}, {"Y", DataType::Integer, 0}}, {std::string("k"), 5});
  MemoryRecordset target = Table({{"Y", DataType::BStr, 0}, {"X", DataType::Integer, 0}}, {std::string("old"), 1});
  clsSyncableRS_ADO from = Over(source);
  clsSyncableRS_ADO to = Over(target);
  EXPECT_FALSE(to.copyRecordToNative(from));
  EXPECT_EQ(target.FieldValue(0), Value(std::string("k")));
  EXPECT_EQ(target.FieldValue(1), Value(std::int32_t{5}));
}

TEST(clsSyncableRS_ADO, CopyRecordConvertsAsAssigningAFieldDoes) {
  MemoryRecordset source = Table({{"X", DataType::BStr, 0}}, {std::string("12")});
  MemoryRecordset target = Table({{"X", DataType::SmallInt, 0}}, {Null{}});
  clsSyncableRS_ADO from = Over(source);
  Over(target).copyRecordToNative(from);
  EXPECT_EQ(target.FieldValue(0), Value(std::int16_t{12}));
}

TEST(clsSyncableRS_ADO, CopyRecordDoesNotSave) {
  MemoryRecordset source = Table({{"X", DataType::BStr, 0}}, {std::string("new")});
  MemoryRecordset target = Table({{"X", DataType::BStr, 0}}, {std::string("old")});
  clsSyncableRS_ADO from = Over(source);
  Over(target).copyRecordToNative(from);
  target.CancelUpdate();
  EXPECT_EQ(target.FieldValue(0), Value(std::string("old")));
}

TEST(clsSyncableRS_ADO, CopyRecordIntoANewRowFillsIt) {
  MemoryRecordset source = Table({{"X", DataType::BStr, 0}}, {std::string("new")});
  MemoryRecordset target({{"X", DataType::BStr, 0}});
  clsSyncableRS_ADO from = Over(source);
  target.AddNew();
  Over(target).copyRecordToNative(from);
  target.Update();
  EXPECT_EQ(target.RecordCount(), 1);
  EXPECT_EQ(target.FieldValue(0), Value(std::string("new")));
}

TEST(clsSyncableRS_ADO, ExtraTrailingFieldsOfTheDesktopStayUnchanged) {
  MemoryRecordset source = Table({{"X", DataType::BStr, 0}}, {std::string("new")});
  MemoryRecordset target =
      Table({{"X", DataType::BStr, 0}, {"EXTRA", DataType::BStr, 0}}, {std::string("old"), std::string("kept")});
  clsSyncableRS_ADO from = Over(source);
  Over(target).copyRecordToNative(from);
  EXPECT_EQ(target.FieldValue(1), Value(std::string("kept")));
}

TEST(clsSyncableRS_ADO, DesktopWithFewerFieldsFailsAtTheFirstMissingPosition) {
  MemoryRecordset source =
      Table({{"X", DataType::BStr, 0}, {"Y", DataType::BStr, 0}}, {std::string("new"), std::string("y")});
  MemoryRecordset target = Table({{"X", DataType::BStr, 0}}, {std::string("old")});
  clsSyncableRS_ADO from = Over(source);
  clsSyncableRS_ADO to = Over(target);
  EXPECT_EQ(ErrorNumberOf([&] { to.copyRecordToNative(from); }), errors::kItemNotFound);
  EXPECT_EQ(target.FieldValue(0), Value(std::string("new")));
}

TEST(clsSyncableRS_ADO, ValueOfAWrongTypeRaisesTheRecordsetsError) {
  MemoryRecordset source = Table({{"X", DataType::BStr, 0}}, {std::string("many")});
  MemoryRecordset target = Table({{"X", DataType::Integer, 0}}, {std::int32_t{1}});
  clsSyncableRS_ADO from = Over(source);
  clsSyncableRS_ADO to = Over(target);
  EXPECT_EQ(ErrorNumberOf([&] { to.copyRecordToNative(from); }), errors::kTypeMismatch);
}

TEST(clsSyncableRS_ADO, ValueTooLongRaisesTheRecordsetsError) {
  MemoryRecordset source = Table({{"X", DataType::BStr, 0}}, {std::string("abcd")});
  MemoryRecordset target = Table({{"X", DataType::VarWChar, 3}}, {std::string("abc")});
  clsSyncableRS_ADO from = Over(source);
  clsSyncableRS_ADO to = Over(target);
  EXPECT_EQ(ErrorNumberOf([&] { to.copyRecordToNative(from); }), errors::kJetConstraint);
}

TEST(clsSyncableRS_ADO, FreshlyAddedRowIsNeitherDeletedNorModified) {
  MemoryRecordset rows = Table({{"X", DataType::BStr, 0}}, {std::string("a")});
  const clsSyncableRS_ADO side = Over(rows);
  rows.AddNew();
  EXPECT_FALSE(side.RecordIsDeleted());
  EXPECT_FALSE(side.RecordIsModified());
}

TEST(clsSyncableRS_ADO, KeyTextsAreEmptyForAnyArgument) {
  MemoryRecordset rows = Table({{"KY_RECID", DataType::BStr, 0}}, {std::string("a")});
  clsSyncableRS_ADO side = Over(rows);
  side.keyInfo(MakeKeyInfo("brnd_Fuel"));
  EXPECT_EQ(side.keyCriteria(rows), "");
  EXPECT_EQ(side.keyPrintableString(rows), "");
}

TEST(clsSyncableRS_ADO, NameIsEmpty) {
  EXPECT_EQ(clsSyncableRS_ADO().name(), "");
}

TEST(clsSyncableRS_ADO, KeyInfoIsHandedBack) {
  clsSyncableRS_ADO side;
  EXPECT_EQ(side.keyInfo(), nullptr);
  std::unique_ptr<IKeyInfo> key = MakeKeyInfo("brnd_Fuel");
  const IKeyInfo* const given = key.get();
  side.keyInfo(std::move(key));
  EXPECT_EQ(side.keyInfo(), given);
}

TEST(clsSyncableRS_ADO, SyncableFieldsAreAllFields) {
  MemoryRecordset rows({{"X", DataType::BStr, 0}, {"_M", DataType::Boolean, 0}});
  EXPECT_EQ(Over(rows).nSyncableFields(), 2);
}

TEST(clsSyncableRS_ADO, BeforeSetADORSSyncableFieldsAndRecordsetFail) {
  const clsSyncableRS_ADO side;
  EXPECT_EQ(ErrorNumberOf([&] { side.nSyncableFields(); }), errors::kObjectNotSet);
  EXPECT_EQ(ErrorNumberOf([&] { side.adors(); }), errors::kObjectNotSet);
}

TEST(clsSyncableRS_ADO, StoreOperationsLeaveTheRecordsetAsItIs) {
  MemoryRecordset rows = Table({{"X", DataType::BStr, 0}}, {std::string("a")});
  clsSyncableRS_ADO side = Over(rows);
  side.createDB("x.pdb", rows);
  side.openDB("x.pdb");
  side.createADORS();
  side.closeDB();
  EXPECT_EQ(&side.adors(), &rows);
  EXPECT_EQ(rows.FieldValue(0), Value(std::string("a")));
}

}  // namespace
}  // namespace mv
