#include "jet/Table.h"

#include <gtest/gtest.h>

#include "base/ByteOrder.h"
#include "jet/pages/DataPage.h"
#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/JetDatabase.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::ToHex;

std::string Text(const char* text) {
  return text;
}

JetTable Shippers() {
  return JetTable("Shippers").Autonumber("ShipperID").Text("CompanyName", 40).Text("Phone", 24).PrimaryKey("ShipperID");
}

/// One column of every type.
JetTable AllTypes() {
  return JetTable("All")
      .Column("flag", ColumnType::Boolean)
      .Column("byte", ColumnType::Byte)
      .Column("integer", ColumnType::Integer)
      .Column("long", ColumnType::Long)
      .Column("currency", ColumnType::Currency)
      .Column("single", ColumnType::Single)
      .Column("double", ColumnType::Double)
      .Column("date", ColumnType::DateTime)
      .Column("binary", ColumnType::Binary, 8)
      .Text("text", 20)
      .Column("ole", ColumnType::Ole)
      .Column("memo", ColumnType::Memo)
      .Column("guid", ColumnType::Guid)
      .Column("decimal", ColumnType::Decimal);
}

std::vector<Value> OneOfEach() {
  return {true,
          std::uint8_t{200},
          std::int16_t{-2},
          std::int32_t{70000},
          Currency{-12345},
          1.5F,
          -2.25,
          Date{38143.5},
          Bytes{1, 2, 3},
          Text("S\xC3\xA9jour"),
          Bytes(5000, 7),
          std::string(300, 'm'),
          Text("{01234567-89AB-CDEF-0123-456789ABCDEF}"),
          Text("-12.5000")};
}

std::vector<Value> AllNull() {
  std::vector<Value> values(OneOfEach().size());
  values[0] = false;
  return values;
}

TEST(Table, InsertedRowHasTheBytesThatTheFormatAsksFor) {
  JetDatabase database;
  Table& table = database.Add(Shippers());
  const RowId row = table.Insert({Null(), Text("Speedy Express"), Text("(503) 555-9831")});
  const DataPageView page(database->Pages(), row.page);
  EXPECT_EQ(page.Owner(), table.Definition().page);
  EXPECT_EQ(ToHex(page.Row(row.slot)),
            "03 00 01 00 00 00 FF FE 53 70 65 65 64 79 20 45 78 70 72 65 73 73 FF FE 28 35 30 33 29 20 35 35 35 2D 39 "
            "38 33 31 26 00 16 00 06 00 02 00 07");
}

TEST(Table, EveryTypeReadsBackAsStored) {
  JetDatabase database;
  Table& table = database.Add(AllTypes());
  const RowId full = table.Insert(OneOfEach());
  const RowId empty = table.Insert(std::vector<Value>(OneOfEach().size()));
  EXPECT_EQ(table.ReadRow(full), OneOfEach());
  EXPECT_EQ(table.ReadRow(empty), AllNull());
  for (std::size_t column = 0; column < OneOfEach().size(); ++column) {
    EXPECT_EQ(table.ReadValue(full, column), OneOfEach()[column]) << column;
    EXPECT_EQ(table.ReadValue(empty, column), AllNull()[column]) << column;
  }
}

TEST(Table, RowIsReadIntoTheValuesOfAnotherRow) {
  JetDatabase database;
  Table& table = database.Add(AllTypes());
  const RowId full = table.Insert(OneOfEach());
  const RowId empty = table.Insert(std::vector<Value>(OneOfEach().size()));
  std::vector<Value> values = {Text("of another table")};
  table.ReadRow(full, values);
  EXPECT_EQ(values, OneOfEach());
  table.ReadRow(empty, values);
  EXPECT_EQ(values, AllNull());
  table.ReadRow(full, values);
  EXPECT_EQ(values, OneOfEach());
}

TEST(Table, StatementThatFailedLeavesNothingInTheNextRow) {
  JetDatabase database;
  Table& table = database.Add(AllTypes().Text("required", 20).PrimaryKey("required"));
  std::vector<Value> values = OneOfEach();
  values.push_back(Null());
  EXPECT_EQ(ErrorNumberOf([&] { table.Insert(values); }), errors::kJetConstraint);
  values = std::vector<Value>(OneOfEach().size());
  values.push_back(Text("a"));
  const RowId row = table.Insert(values);
  std::vector<Value> wanted = AllNull();
  wanted.push_back(Text("a"));
  EXPECT_EQ(table.ReadRow(row), wanted);
}

TEST(Table, ValuesOfOtherTypesAreConvertedToTheColumns) {
  JetDatabase database;
  Table& table = database.Add(JetTable("T")
                                  .Column("n", ColumnType::Long)
                                  .Text("t", 9)
                                  .Column("f", ColumnType::Boolean)
                                  .Column("d", ColumnType::Decimal));
  const RowId row = table.Insert({Text("42"), std::int16_t{7}, std::int32_t{5}, 1.23456});
  EXPECT_EQ(table.ReadRow(row), (std::vector<Value>{std::int32_t{42}, Text("7"), true, Text("1.2345")}));
}

TEST(Table, InsertedValuesBecomeThoseThatTheRowReadsAs) {
  JetDatabase database;
  Table& table = database.Add(JetTable("T")
                                  .Autonumber("ID")
                                  .Text("TX", 40)
                                  .Column("FLAG", ColumnType::Boolean)
                                  .Column("CU", ColumnType::Currency)
                                  .Column("GU", ColumnType::Guid)
                                  .Column("DE", ColumnType::Decimal)
                                  .PrimaryKey("ID"));
  std::vector<Value> values;
  for (int i = 0; i < 2; ++i) {
    values = {Null(), std::int32_t{12}, Null(), Text("7.5"), Text("{01234567-89ab-cdef-0123-456789abcdef}"), 1.5};
    const RowId row = table.Insert(std::span(values));
    EXPECT_EQ(values, table.ReadRow(row));
    EXPECT_EQ(values[0], Value(std::int32_t{i + 1}));
    EXPECT_EQ(values[3], Value(Currency{75000}));
  }
}

TEST(Table, CursorWalksTheRowsInPhysicalOrder) {
  JetDatabase database;
  Table& table = database.Add(JetTable("T").Text("t", 200));
  EXPECT_EQ(table.First(), std::nullopt);
  EXPECT_EQ(table.Last(), std::nullopt);
  EXPECT_EQ(table.Count(), 0);
  std::vector<RowId> rows;
  for (int i = 0; i < 100; ++i) rows.push_back(table.Insert({std::string(150, 'x')}));
  std::vector<RowId> seen;
  for (auto row = table.First(); row; row = table.Next(*row)) seen.push_back(*row);
  EXPECT_EQ(seen, rows);
  EXPECT_EQ(table.Last(), rows.back());
  EXPECT_EQ(table.Count(), 100);
}

TEST(Table, CountIsKeptUpThroughChangesAndUndoneOnes) {
  JetDatabase database;
  Table& table = database.Add(Shippers());
  const RowId first = table.Insert({Null(), Text("a"), Null()});
  EXPECT_EQ(table.Count(), 1);
  table.Insert({Null(), Text("b"), Null()});
  EXPECT_EQ(table.Count(), 2);
  table.Delete(first);
  EXPECT_EQ(table.Count(), 1);
  database->Commit();
  table.Insert({Null(), Text("c"), Null()});
  database->Pages().Discard();
  EXPECT_EQ(table.Count(), 1);
  {
    Statement outer(database->Pages());
    table.Insert({Null(), Text("d"), Null()});
    EXPECT_EQ(table.Count(), 2);
  }
  EXPECT_EQ(table.Count(), 1);
}

TEST(Table, RowThatIsNotLiveIsError3021) {
  JetDatabase database;
  Table& table = database.Add(Shippers());
  const RowId row = table.Insert({Null(), Text("a"), Null()});
  table.Delete(row);
  EXPECT_FALSE(table.IsLive(row));
  EXPECT_EQ(ErrorNumberOf([&] { table.ReadRow(row); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { table.ReadValue(row, 0); }), errors::kNoCurrentRecord);
  EXPECT_EQ(ErrorNumberOf([&] { table.Delete(row); }), errors::kNoCurrentRecord);
  const std::size_t column = 1;
  const Value value = Text("b");
  EXPECT_EQ(ErrorNumberOf([&] { table.Update(row, {&column, 1}, {&value, 1}); }), errors::kNoCurrentRecord);
}

TEST(Table, ColumnThatDoesNotExistIsError3265) {
  JetDatabase database;
  Table& table = database.Add(Shippers());
  const RowId row = table.Insert({Null(), Text("a"), Null()});
  const std::size_t column = 3;
  const Value value = Text("b");
  EXPECT_EQ(ErrorNumberOf([&] { table.ReadValue(row, column); }), errors::kItemNotFound);
  EXPECT_EQ(ErrorNumberOf([&] { table.Update(row, {&column, 1}, {&value, 1}); }), errors::kItemNotFound);
}

TEST(Table, RowsWithKeyAreTheRowsOfTheIndexInPhysicalOrder) {
  JetDatabase database;
  JetTable design = Shippers();
  design.Index("Phone", {"Phone"});
  Table& table = database.Add(design);
  const std::size_t phone = table.Definition().indexes[0].dataNumber;
  ASSERT_EQ(table.Definition().indexes[0].name, "Phone");
  const RowId first = table.Insert({Null(), Text("a"), Text("5551")});
  table.Insert({Null(), Text("b"), Text("5552")});
  const RowId third = table.Insert({Null(), Text("c"), Text("5551 ")});
  const IndexKey key = KeyOf(table.Definition(), table.Definition().indexData[phone], table.ReadRow(first));
  EXPECT_EQ(table.RowsWithKey(phone, key), (std::vector<RowId>{first, third}));
  EXPECT_EQ(table.RowsWithKey(phone, key, 1), std::vector<RowId>{first});
}

TEST(Table, RowsOfAReopenedFileAreTheSame) {
  testing::MemoryFileSystem files;
  RowId row;
  {
    const auto database = Database::Create(files, "x.mdb", testing::kJetCreated);
    database->CreateTable(AllTypes().Spec(), testing::kJetCreated);
    row = database->OpenTable("all").Insert(OneOfEach());
    database->Commit();
  }
  const auto database = Database::Open(files, "x.mdb", PageFile::Mode::ReadOnly);
  Table& table = database->OpenTable("ALL");
  EXPECT_EQ(table.First(), row);
  EXPECT_EQ(table.ReadRow(row), OneOfEach());
  EXPECT_EQ(ErrorNumberOf([&] { table.Insert(AllNull()); }), errors::kPermissionDenied);
}

TEST(HostileTable, RowBytesThatAreNoRowAreDamage) {
  JetDatabase database;
  Table& table = database.Add(Shippers());
  const RowId row = table.Insert({Null(), Text("abcdef"), Text("x")});
  StoreLittle<std::uint16_t>(DataPage(database->Pages(), row.page).MutableRow(row.slot).data(), 99);
  EXPECT_EQ(ErrorNumberOf([&] { table.ReadRow(row); }), errors::kJetGeneral);
  EXPECT_EQ(ErrorNumberOf([&] { table.Delete(row); }), errors::kJetGeneral);
}

}  // namespace
}  // namespace mv::jet
