#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "base/ByteOrder.h"
#include "jet/Table.h"
#include "jet/pages/DataPage.h"
#include "support/ExpectError.h"
#include "support/Hex.h"
#include "support/JetDatabase.h"

namespace mv::jet {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::ErrorOf;
using mv::testing::ExpectIndexesMatchRows;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::ToHex;

std::string Text(const char* text) {
  return text;
}

void Set(Table& table, RowId row, std::size_t column, const Value& value) {
  table.Update(row, {&column, 1}, {&value, 1});
}

class TableChangeTest : public ::testing::Test {
 protected:
  /// Runs `action`, expects it to fail with a constraint error and to leave every page as it was; returns its text.
  std::string RefusedText(const std::function<void()>& action) {
    const auto before = database_.Pages();
    const Error error = ErrorOf(action);
    EXPECT_EQ(error.Number(), errors::kJetConstraint);
    EXPECT_TRUE(database_.Pages() == before);
    return error.Description();
  }
  /// The same for what the engine does not do.
  std::string UnsupportedText(const std::function<void()>& action) {
    const auto before = database_.Pages();
    const Error error = ErrorOf(action);
    EXPECT_EQ(error.Number(), errors::kJetGeneral);
    EXPECT_TRUE(database_.Pages() == before);
    return error.Description();
  }

  /// The table opened anew with rules or another definition than the catalog's.
  std::unique_ptr<Table> Reopened(TableDefinition definition, std::vector<ColumnRules> rules = {}) {
    return std::make_unique<Table>(database_->Pages(), std::move(definition), TableRules{std::move(rules)});
  }

  JetDatabase database_;
};

// Refusals.

TEST_F(TableChangeTest, TextThatIsTooLongIsRefusedByNameOfTableAndColumn) {
  Table& table = database_.Add(JetTable("brnd_Trip").Text("TX_VIN", 3));
  EXPECT_EQ(RefusedText([&] { table.Insert({Text("abcd")}); }),
            "The field is too small to accept the amount of data you attempted to add. Try inserting or pasting less "
            "data. Table 'brnd_Trip', column 'TX_VIN'.");
  const RowId row = table.Insert({Text("abc")});
  EXPECT_NE(RefusedText([&] { Set(table, row, 0, Text("abcd")); }).find("'TX_VIN'"), std::string::npos);
}

TEST_F(TableChangeTest, NumberOutsideTheColumnsRangeIsRefused) {
  Table& table = database_.Add(JetTable("T").Column("N", ColumnType::Integer));
  EXPECT_EQ(RefusedText([&] { table.Insert({std::int32_t{40000}}); }), "Overflow. Table 'T', column 'N'.");
  EXPECT_EQ(RefusedText([&] { table.Insert({Text("abc")}); }), "Type mismatch. Table 'T', column 'N'.");
}

TEST_F(TableChangeTest, ValuesJustOutsideTheRangeOfEachTypeAreRefusedAndThoseInsideAreNot) {
  struct Case {
    ColumnType type;
    std::vector<Value> inside;
    std::vector<Value> outside;
  };
  const std::vector<Case> cases = {
      {ColumnType::Byte, {std::int32_t{0}, std::int32_t{255}}, {std::int32_t{-1}, std::int32_t{256}}},
      {ColumnType::Integer, {std::int32_t{-32768}, std::int32_t{32767}}, {std::int32_t{-32769}, std::int32_t{32768}}},
      {ColumnType::Long, {-2147483648.0, 2147483647.0}, {-2147483649.0, 2147483648.0}},
      {ColumnType::Currency,
       {Text("-922337203685477.5808"), Text("922337203685477.5807")},
       {Text("-922337203685477.5809"), Text("922337203685477.5808")}},
      {ColumnType::Single, {3.4e38, -3.4e38}, {3.5e38, -3.5e38}},
      {ColumnType::Double, {1.7e308}, {Text("1.8e308")}},
      // Years 100 to 9999.
      {ColumnType::DateTime, {-657434.0, 2958465.75}, {-657435.0, 2958466.0}},
      // Precision 18, scale 4.
      {ColumnType::Decimal,
       {Text("99999999999999.9999"), Text("-99999999999999.9999")},
       {Text("100000000000000"), Text("-100000000000000")}},
  };
  for (const Case& one : cases) {
    const std::string name = "T" + std::to_string(static_cast<int>(one.type));
    SCOPED_TRACE(name);
    Table& table = database_.Add(JetTable(name).Column("V", one.type));
    for (const Value& value : one.inside) table.Insert({value});
    for (const Value& value : one.outside) {
      EXPECT_EQ(RefusedText([&] { table.Insert({value}); }), "Overflow. Table '" + name + "', column 'V'.");
    }
    EXPECT_EQ(table.Count(), static_cast<std::int64_t>(one.inside.size()));
  }
}

TEST_F(TableChangeTest, BytesThatAreTooLongAreRefused) {
  Table& table = database_.Add(JetTable("T").Column("B", ColumnType::Binary, 3));
  table.Insert({Bytes(3)});
  EXPECT_EQ(RefusedText([&] { table.Insert({Bytes(4)}); }),
            "The field is too small to accept the amount of data you attempted to add. Try inserting or pasting less "
            "data. Table 'T', column 'B'.");
}

TEST_F(TableChangeTest, GuidAndDecimalThatAreNoneAreRefused) {
  Table& table = database_.Add(JetTable("T").Column("G", ColumnType::Guid).Column("D", ColumnType::Decimal));
  EXPECT_NE(RefusedText([&] { table.Insert({Text("{1}"), Null()}); }).find("column 'G'"), std::string::npos);
  EXPECT_NE(RefusedText([&] { table.Insert({Null(), Text("1e30")}); }).find("column 'D'"), std::string::npos);
}

TEST_F(TableChangeTest, NullInARequiredColumnIsRefused) {
  const auto table = Reopened(database_.Add(JetTable("T").Text("A", 9)).Definition(), {{true, true}});
  EXPECT_EQ(RefusedText([&] { table->Insert({Null()}); }),
            "The field 'T.A' cannot contain a Null value because the Required property for this field is set to True. "
            "Enter a value in this field.");
  const RowId row = table->Insert({Text("")});
  RefusedText([&] { Set(*table, row, 0, Null()); });
}

TEST_F(TableChangeTest, EmptyTextWhereNoneIsAllowedIsRefused) {
  const auto table = Reopened(database_.Add(JetTable("T").Text("A", 9).Column("M", ColumnType::Memo)).Definition(),
                              {{false, false}, {false, false}});
  EXPECT_EQ(RefusedText([&] { table->Insert({Text(""), Null()}); }), "Field 'T.A' cannot be a zero-length string.");
  EXPECT_EQ(RefusedText([&] { table->Insert({Null(), Text("")}); }), "Field 'T.M' cannot be a zero-length string.");
  table->Insert({Null(), Null()});
}

TEST_F(TableChangeTest, NullInAPrimaryKeyIsRefused) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).PrimaryKey("K"));
  EXPECT_EQ(RefusedText([&] { table.Insert({Null()}); }),
            "Index or primary key cannot contain a Null value. Table 'T', index 'PrimaryKey'.");
  const RowId row = table.Insert({Text("a")});
  RefusedText([&] { Set(table, row, 0, Null()); });
}

TEST_F(TableChangeTest, NullInARequiredIndexIsRefused) {
  JetTable design = JetTable("T").Text("A", 9).Text("B", 9);
  design.Index("Both", {"A", "B"}).required = true;
  Table& table = database_.Add(design);
  EXPECT_NE(RefusedText([&] { table.Insert({Text("a"), Null()}); }).find("index 'Both'"), std::string::npos);
}

TEST_F(TableChangeTest, DuplicateKeyIsRefusedByNameOfTableAndIndex) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).Text("X", 9).PrimaryKey("K"));
  table.Insert({Text("abc"), Null()});
  EXPECT_EQ(RefusedText([&] {
              table.Insert({Text("abc"), Null()});
            }),
            "The changes you requested to the table were not successful because they would create duplicate values in "
            "the index, primary key, or relationship. Change the data in the field or fields that contain duplicate "
            "data, remove the index, or redefine the index to permit duplicate entries and try again. Table 'T', index "
            "'PrimaryKey'.");
}

TEST_F(TableChangeTest, KeysThatDifferInCaseOrTrailingBlanksOnlyAreDuplicates) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).PrimaryKey("K"));
  table.Insert({Text("abc")});
  RefusedText([&] { table.Insert({Text("ABC")}); });
  RefusedText([&] { table.Insert({Text("abc  ")}); });
  const RowId other = table.Insert({Text("abd")});
  RefusedText([&] { Set(table, other, 0, Text("Abc")); });
}

TEST_F(TableChangeTest, UpdateToTheRowsOwnKeyIsNoDuplicate) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).PrimaryKey("K"));
  const RowId row = table.Insert({Text("abc")});
  Set(table, row, 0, Text("ABC"));
  EXPECT_EQ(table.ReadValue(row, 0), Value(Text("ABC")));
  ExpectIndexesMatchRows(*database_, table);
}

TEST_F(TableChangeTest, UniqueIndexAcceptsSeveralNulls) {
  JetTable design = JetTable("T").Text("A", 9);
  design.Index("A", {"A"}).unique = true;
  Table& table = database_.Add(design);
  table.Insert({Null()});
  table.Insert({Null()});
  table.Insert({Text("")});
  RefusedText([&] { table.Insert({Text("")}); });
  ExpectIndexesMatchRows(*database_, table);
}

TEST_F(TableChangeTest, PartlyNullKeysOfAUniqueIndexAreKeysLikeOthers) {
  JetTable design = JetTable("T").Text("A", 9).Text("B", 9);
  design.Index("Both", {"A", "B"}).unique = true;
  Table& table = database_.Add(design);
  table.Insert({Text("a"), Null()});
  table.Insert({Text("a"), Text("")});
  RefusedText([&] { table.Insert({Text("a"), Null()}); });
}

TEST_F(TableChangeTest, IndexThatIgnoresNullsHasNoEntryForThem) {
  JetTable design = JetTable("T").Text("A", 9);
  design.Index("A", {"A"}).ignoreNulls = true;
  Table& table = database_.Add(design);
  const RowId row = table.Insert({Null()});
  ExpectIndexesMatchRows(*database_, table);
  Set(table, row, 0, Text("x"));
  ExpectIndexesMatchRows(*database_, table);
  Set(table, row, 0, Null());
  ExpectIndexesMatchRows(*database_, table);
  table.Delete(row);
  ExpectIndexesMatchRows(*database_, table);
}

TEST_F(TableChangeTest, RowOf4060BytesFitsAndOneByteMoreDoesNot) {
  JetTable design("T");
  for (const char* name : {"a", "b", "c", "d", "e", "f", "g", "h"}) design.Column(name, ColumnType::Binary, 510);
  Table& table = database_.Add(design);
  // 2 count, 8 columns, 2 end, 16 offsets, 2 number of variable columns, 1 null mask.
  std::vector<Value> values(8, Bytes(510, 1));
  values[7] = Bytes(4060 - 23 - 7 * 510, 1);
  const RowId row = table.Insert(values);
  EXPECT_EQ(DataPageView(database_->Pages(), row.page).Row(row.slot).size(), 4060U);
  values[7] = Bytes(4061 - 23 - 7 * 510, 1);
  EXPECT_EQ(RefusedText([&] { table.Insert(values); }), "Record is too large. Table 'T'.");
  RefusedText([&] { Set(table, row, 7, values[7]); });
}

TEST_F(TableChangeTest, WrongNumberOfValuesIsError3001) {
  Table& table = database_.Add(JetTable("T").Text("A", 9).Text("B", 9));
  EXPECT_EQ(ErrorNumberOf([&] { table.Insert({Null()}); }), errors::kRecordsetArgument);
  const RowId row = table.Insert({Null(), Null()});
  const std::vector<std::size_t> columns = {0, 1};
  const Value value = Text("x");
  EXPECT_EQ(ErrorNumberOf([&] { table.Update(row, columns, {&value, 1}); }), errors::kRecordsetArgument);
}

TEST_F(TableChangeTest, TableOfAnEnforcedRelationIsReadButNotChanged) {
  Table& plain = database_.Add(JetTable("T").Text("K", 9).PrimaryKey("K"));
  const RowId row = plain.Insert({Text("a")});
  TableDefinition definition = plain.Definition();
  definition.indexes[0].kind = LogicalIndex::Kind::Relation;
  const auto table = Reopened(definition);
  EXPECT_EQ(table->ReadValue(row, 0), Value(Text("a")));
  EXPECT_EQ(UnsupportedText([&] { table->Insert({Text("b")}); }),
            "Not supported: table 'T' takes part in an enforced relation. Nothing was changed.");
  UnsupportedText([&] { Set(*table, row, 0, Text("b")); });
  UnsupportedText([&] { table->Delete(row); });
}

TEST_F(TableChangeTest, TableWhoseMapsServeSomethingElseIsReadButNotChanged) {
  Table& plain = database_.Add(JetTable("T").Text("K", 9).Column("M", ColumnType::Memo).PrimaryKey("K"));
  const RowId row = plain.Insert({Text("a"), Null()});
  std::vector<TableDefinition> definitions(4, plain.Definition());
  definitions[0].freeSpacePages = definitions[0].ownedPages;
  definitions[1].freeSpacePages = {1, 0};
  definitions[2].indexData[0].map = definitions[2].columns[1].longValuePages;
  definitions[3].columns[1].longValueFreeSpace = {1, 1};
  for (const TableDefinition& definition : definitions) {
    const auto table = Reopened(definition);
    EXPECT_EQ(table->ReadValue(row, 0), Value(Text("a")));
    UnsupportedText([&] { table->Insert({Text("b"), Null()}); });
    UnsupportedText([&] { table->Delete(row); });
  }
}

TEST_F(TableChangeTest, TextIndexOfAnotherSortOrderForbidsWhatWouldChangeIt) {
  Table& plain = database_.Add(JetTable("T").Text("K", 9).Text("X", 9).PrimaryKey("K"));
  const RowId row = plain.Insert({Text("a"), Null()});
  TableDefinition definition = plain.Definition();
  definition.columns[0].sortOrder = {0x041A, 0, 0};
  const auto table = Reopened(definition);
  const std::string text = UnsupportedText([&] { table->Insert({Text("b"), Null()}); });
  EXPECT_NE(text.find("index 'PrimaryKey'"), std::string::npos);
  EXPECT_NE(text.find("041A"), std::string::npos);
  UnsupportedText([&] { table->Delete(row); });
  UnsupportedText([&] { Set(*table, row, 0, Text("b")); });
  Set(*table, row, 0, Text("a"));
  Set(*table, row, 1, Text("changed"));
  EXPECT_EQ(table->ReadValue(row, 1), Value(Text("changed")));
}

TEST_F(TableChangeTest, CharacterWithoutAPlaceInTheSortOrderIsRefusedInAnIndexOnly) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).Text("X", 9).PrimaryKey("K"));
  EXPECT_EQ(UnsupportedText([&] {
              table.Insert({Text("\xF0\x9F\x9A\x97"), Null()});
            }),
            "Not supported: column 'K' of table 'T' is part of an index and its text has the character U+1F697, whose "
            "place in the sort order is not known. Nothing was changed.");
  const RowId row = table.Insert({Text("a"), Text("\xF0\x9F\x9A\x97")});
  EXPECT_EQ(table.ReadValue(row, 1), Value(Text("\xF0\x9F\x9A\x97")));
}

TEST_F(TableChangeTest, UpdateToACharacterWithoutAPlaceInTheSortOrderIsRefusedBeforeAnythingChanges) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).Column("M", ColumnType::Memo).PrimaryKey("K"));
  const RowId row = table.Insert({Text("a"), std::string(300, 'm')});
  EXPECT_NE(UnsupportedText([&] { Set(table, row, 0, Text("\u0651")); }).find("U+0651"), std::string::npos);
}

TEST_F(TableChangeTest, KeyOfMoreThan510BytesIsRefusedByIndexAndTableBeforeAnythingChanges) {
  JetTable design = JetTable("T").Text("K", 255).Text("L", 255);
  design.Index("Both", {"K", "L"});
  Table& table = database_.Add(design);
  const RowId row = table.Insert({std::string(250, 'k'), std::string(250, 'l')});
  // Letters with accents take two bytes of a key.
  std::string accents;
  for (int i = 0; i < 200; ++i) accents += "\u00E9";
  const char* const expected =
      "Not supported: the key of index 'Both' of table 'T' is longer than 510 bytes. Nothing was changed.";
  EXPECT_EQ(UnsupportedText([&] { table.Insert({accents, accents}); }), expected);
  EXPECT_EQ(UnsupportedText([&] { Set(table, row, 1, accents); }), expected);
}

TEST_F(TableChangeTest, DescendingDecimalIndexForbidsWhatWouldChangeIt) {
  Table& plain = database_.Add(JetTable("T").Column("D", ColumnType::Decimal).Text("X", 9).PrimaryKey("D"));
  const RowId row = plain.Insert({Text("1.5"), Null()});
  TableDefinition definition = plain.Definition();
  definition.indexData[0].columns[0].ascending = false;
  const auto table = Reopened(definition);
  const std::string text = UnsupportedText([&] { table->Insert({Text("2"), Null()}); });
  EXPECT_EQ(text,
            "Not supported: table 'T', index 'PrimaryKey': decimal column 'D' is indexed in descending order. Nothing "
            "was changed.");
  EXPECT_EQ(UnsupportedText([&] { table->Delete(row); }), text);
  EXPECT_EQ(UnsupportedText([&] { Set(*table, row, 0, Text("2")); }), text);
  Set(*table, row, 1, Text("changed"));
  EXPECT_EQ(table->ReadValue(row, 1), Value(Text("changed")));
}

// What a change keeps right.

TEST_F(TableChangeTest, RowCountIsKeptInTheDefinition) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).PrimaryKey("K"));
  const RowId a = table.Insert({Text("a")});
  table.Insert({Text("b")});
  EXPECT_EQ(RowCount(database_->Pages(), table.Definition()), 2U);
  table.Delete(a);
  EXPECT_EQ(RowCount(database_->Pages(), table.Definition()), 1U);
}

TEST_F(TableChangeTest, RowCountThatIsTooLowStopsAtZero) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).PrimaryKey("K"));
  const RowId a = table.Insert({Text("a")});
  SetRowCount(database_->Pages(), table.Definition(), 0);
  table.Delete(a);
  EXPECT_EQ(RowCount(database_->Pages(), table.Definition()), 0U);
}

TEST_F(TableChangeTest, AutonumbersCountOnAndAreNeverGivenTwice) {
  Table& table = database_.Add(JetTable("T").Autonumber("ID").PrimaryKey("ID"));
  const RowId one = table.Insert({Null()});
  const RowId two = table.Insert({Null()});
  EXPECT_EQ(table.ReadValue(one, 0), Value(std::int32_t{1}));
  EXPECT_EQ(table.ReadValue(two, 0), Value(std::int32_t{2}));
  table.Delete(two);
  const RowId three = table.Insert({Null()});
  EXPECT_EQ(table.ReadValue(three, 0), Value(std::int32_t{3}));
}

TEST_F(TableChangeTest, AutonumberGivenByTheCallerRaisesTheCounterOnlyWhenItIsLarger) {
  Table& table = database_.Add(JetTable("T").Autonumber("ID").PrimaryKey("ID"));
  table.Insert({std::int32_t{40}});
  EXPECT_EQ(LastAutonumber(database_->Pages(), table.Definition()), 40);
  table.Insert({std::int32_t{7}});
  EXPECT_EQ(LastAutonumber(database_->Pages(), table.Definition()), 40);
  const RowId next = table.Insert({Null()});
  EXPECT_EQ(table.ReadValue(next, 0), Value(std::int32_t{41}));
  Set(table, next, 0, std::int32_t{60});
  EXPECT_EQ(LastAutonumber(database_->Pages(), table.Definition()), 60);
}

TEST_F(TableChangeTest, LastAutonumberThereIsLeavesNoneToDraw) {
  Table& table = database_.Add(JetTable("T").Autonumber("ID").PrimaryKey("ID"));
  table.Insert({std::int32_t{2147483647}});
  EXPECT_EQ(RefusedText([&] { table.Insert({Null()}); }),
            "There are no more numbers for new records. Table 'T', column 'ID'.");
}

TEST_F(TableChangeTest, RefusedInsertDrawsNoNumber) {
  Table& table = database_.Add(JetTable("T").Autonumber("ID").Text("A", 2).PrimaryKey("ID"));
  RefusedText([&] { table.Insert({Null(), Text("abc")}); });
  const RowId row = table.Insert({Null(), Text("ab")});
  EXPECT_EQ(table.ReadValue(row, 0), Value(std::int32_t{1}));
}

std::uint32_t DistinctKeys(PageFile& file, const TableDefinition& table) {
  return LoadLittle<std::uint32_t>(file.Read(table.page).data() + 63 + 4);
}

TEST_F(TableChangeTest, DistinctKeysCountKeysThatWereNotThere) {
  JetTable design = JetTable("T").Text("A", 9);
  design.Index("A", {"A"});
  Table& table = database_.Add(design);
  for (const char* text : {"x", "y", "X", "y "}) table.Insert({Text(text)});
  EXPECT_EQ(DistinctKeys(database_->Pages(), table.Definition()), 2U);
  table.Insert({Null()});
  table.Insert({Null()});
  EXPECT_EQ(DistinctKeys(database_->Pages(), table.Definition()), 3U);
}

TEST_F(TableChangeTest, UpdateWithEqualValuesWritesNothing) {
  Table& table = database_.Add(JetTable("T")
                                   .Text("A", 9)
                                   .Column("M", ColumnType::Memo)
                                   .Column("N", ColumnType::Double)
                                   .Column("F", ColumnType::Boolean)
                                   .Column("Z", ColumnType::Memo));
  const std::vector<Value> values = {Text("abc"), std::string(5000, 'm'), 1.5, true, Null()};
  const RowId row = table.Insert(values);
  database_->Commit();
  const std::vector<std::size_t> columns = {0, 1, 2, 3, 4};
  table.Update(row, columns, values);
  EXPECT_FALSE(database_->Changed());
}

TEST_F(TableChangeTest, NumberThatIsEqualButOfOtherBytesIsWritten) {
  Table& table = database_.Add(JetTable("T").Column("D", ColumnType::Double).Column("S", ColumnType::Single));
  const RowId row = table.Insert({0.0, 0.0F});
  Set(table, row, 0, -0.0);
  Set(table, row, 1, -0.0F);
  EXPECT_TRUE(std::signbit(std::get<double>(table.ReadValue(row, 0))));
  EXPECT_TRUE(std::signbit(std::get<float>(table.ReadValue(row, 1))));
}

TEST_F(TableChangeTest, ColumnNamedTwiceGetsItsLastValueAlsoWhenTheRowHoldsThat) {
  Table& table = database_.Add(JetTable("T").Text("A", 10).Column("N", ColumnType::Long));
  const RowId row = table.Insert({Text("old"), std::int32_t{1}});
  const auto before = database_.Pages();
  const std::size_t columns[] = {0, 1, 0, 1};
  table.Update(row, columns, std::vector<Value>{Text("new"), std::int32_t{2}, Text("old"), std::int32_t{1}});
  EXPECT_TRUE(database_.Pages() == before);
}

TEST_F(TableChangeTest, EmptyTextThatARowHoldsIsRefusedWhereTheRulesForbidIt) {
  Table& table = database_.Add(JetTable("T").Text("A", 10));
  ColumnRules rules;
  rules.allowZeroLength = true;
  const RowId row = Reopened(table.Definition(), {rules})->Insert({Text("")});
  rules.allowZeroLength = false;
  const auto strict = Reopened(table.Definition(), {rules});
  EXPECT_EQ(RefusedText([&] { Set(*strict, row, 0, Text("")); }), "Field 'T.A' cannot be a zero-length string.");
}

TEST_F(TableChangeTest, UpdateOfOneColumnKeepsTheBytesOfTheOthers) {
  Table& table = database_.Add(JetTable("T").Text("A", 9).Column("M", ColumnType::Memo).Column("N", ColumnType::Long));
  const RowId row = table.Insert({Text("abc"), std::string(5000, 'm'), std::int32_t{1}});
  const ByteView before = DataPageView(database_->Pages(), row.page).Row(row.slot);
  const std::string descriptor = ToHex(before.subspan(before.size() - 21, 12));
  Set(table, row, 2, std::int32_t{2});
  const ByteView after = DataPageView(database_->Pages(), row.page).Row(row.slot);
  EXPECT_EQ(ToHex(after.subspan(after.size() - 21, 12)), descriptor);
  EXPECT_EQ(table.ReadRow(row), (std::vector<Value>{Text("abc"), std::string(5000, 'm'), std::int32_t{2}}));
}

TEST_F(TableChangeTest, ColumnNamedTwiceTakesTheLastValue) {
  Table& table = database_.Add(JetTable("T").Text("A", 9));
  const RowId row = table.Insert({Text("abc")});
  const std::vector<std::size_t> columns = {0, 0};
  table.Update(row, columns, std::vector<Value>{Text("x"), Text("y")});
  EXPECT_EQ(table.ReadValue(row, 0), Value(Text("y")));
  database_->Commit();
  table.Update(row, columns, std::vector<Value>{Text("x"), Text("y")});
  EXPECT_FALSE(database_->Changed());
}

TEST_F(TableChangeTest, ReplacedLongValueGivesItsPagesBack) {
  Table& table = database_.Add(JetTable("T").Column("M", ColumnType::Memo));
  const RowId row = table.Insert({std::string(20000, 'm')});
  const PageNumber pages = database_->Pages().PageCount();
  for (int i = 0; i < 10; ++i) Set(table, row, 0, std::string(20000, static_cast<char>('a' + i)));
  EXPECT_EQ(database_->Pages().PageCount(), pages);
  EXPECT_EQ(table.ReadValue(row, 0), Value(std::string(20000, 'j')));
  Set(table, row, 0, Null());
  EXPECT_EQ(UsageMap(database_->Pages(), table.Definition().columns[0].longValuePages).Lowest(), std::nullopt);
}

TEST_F(TableChangeTest, DeletedRowTakesItsLongValuesAlong) {
  Table& table = database_.Add(JetTable("T").Column("M", ColumnType::Memo).Column("O", ColumnType::Ole));
  const RowId row = table.Insert({std::string(20000, 'm'), Bytes(500, 1)});
  table.Delete(row);
  for (const Column& column : table.Definition().columns) {
    EXPECT_EQ(UsageMap(database_->Pages(), column.longValuePages).Lowest(), std::nullopt);
    EXPECT_EQ(UsageMap(database_->Pages(), column.longValueFreeSpace).Lowest(), std::nullopt);
  }
}

TEST_F(TableChangeTest, RowThatOutgrowsItsPageKeepsItsAddressInTheIndexes) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).Column("B", ColumnType::Binary, 510).PrimaryKey("K"));
  std::vector<RowId> rows;
  for (const char* key : {"a", "b", "c", "d", "e", "f", "g", "h"})
    rows.push_back(table.Insert({Text(key), Bytes(470, 1)}));
  for (std::size_t i = 0; i < 6; ++i) Set(table, rows[i], 1, Bytes(510, 2));
  const RowId moved = rows[5];
  EXPECT_EQ(DataPageView(database_->Pages(), moved.page).State(moved.slot), SlotState::Moved);
  Set(table, moved, 0, Text("z"));
  EXPECT_EQ(table.ReadRow(moved), (std::vector<Value>{Text("z"), Bytes(510, 2)}));
  ExpectIndexesMatchRows(*database_, table);
  table.Delete(moved);
  ExpectIndexesMatchRows(*database_, table);
}

TEST_F(TableChangeTest, OldRowIsWrittenWithTheFullColumnCountWhenItIsUpdated) {
  Table& table = database_.Add(
      JetTable("T").Column("A", ColumnType::Long).Column("B", ColumnType::Long).Column("F", ColumnType::Boolean));
  const RowId row = table.Insert({std::int32_t{1}, std::int32_t{2}, true});
  // The row as it was before B and F were added.
  DataPage(database_->Pages(), row.page)
      .Replace(row.slot, mv::testing::FromHex("01 00 01 00 00 00 01"), SlotState::Live);
  EXPECT_EQ(table.ReadRow(row), (std::vector<Value>{std::int32_t{1}, Null(), false}));
  Set(table, row, 1, std::int32_t{5});
  EXPECT_EQ(ToHex(DataPageView(database_->Pages(), row.page).Row(row.slot)), "03 00 01 00 00 00 05 00 00 00 03");
}

TEST_F(TableChangeTest, NewRowsHaveTheFixedAreaOfTheTablesOtherRows) {
  Table& whole = database_.Add(JetTable("T").Column("A", ColumnType::Long).Column("gone", ColumnType::Long));
  whole.Insert({std::int32_t{1}, std::int32_t{2}});
  TableDefinition definition = whole.Definition();
  definition.columns.pop_back();
  const auto table = Reopened(definition);
  const RowId row = table->Insert({std::int32_t{3}});
  EXPECT_EQ(ToHex(DataPageView(database_->Pages(), row.page).Row(row.slot)), "02 00 03 00 00 00 00 00 00 00 01");
}

TEST_F(TableChangeTest, RowsOfAnotherEngineWithoutAnEntryCanBeDeletedAndUpdated) {
  Table& table = database_.Add(JetTable("T").Text("K", 9).PrimaryKey("K"));
  const RowId a = table.Insert({Text("a")});
  const RowId b = table.Insert({Text("b")});
  FreePages freePages(database_->Pages());
  IndexTree tree(database_->Pages(), freePages, table.Definition().page, table.Definition().indexData[0]);
  for (const IndexTree::Entry& entry : tree.Entries()) tree.Remove(entry.key, entry.row);
  table.Delete(a);
  Set(table, b, 0, Text("c"));
  ExpectIndexesMatchRows(*database_, table);
}

// A failure half-way leaves no trace.

TEST_F(TableChangeTest, DamageMetAfterTheFirstChangeIsRolledBackWhole) {
  JetTable design =
      JetTable("T").Text("K", 9).Column("M", ColumnType::Memo).Column("N", ColumnType::Long).PrimaryKey("K");
  design.Index("N", {"N"});
  Table& table = database_.Add(design);
  const RowId row = table.Insert({Text("a"), std::string(9000, 'm'), std::int32_t{1}});
  // The index that is looked after last is none any more.
  const IndexData& last = table.Definition().indexData.back();
  const PageNumber root = last.columns[0].columnId == 2 ? last.root : table.Definition().indexData.front().root;
  SetKind(database_->Pages().Write(root), PageKind::Data);
  database_->Commit();

  UnsupportedText([&] { table.Insert({Text("b"), std::string(9000, 'n'), std::int32_t{2}}); });
  UnsupportedText([&] { Set(table, row, 2, std::int32_t{2}); });
  UnsupportedText([&] { table.Delete(row); });
  EXPECT_FALSE(database_->Changed());
  EXPECT_EQ(table.Count(), 1);
  Set(table, row, 1, std::string(100, 'x'));
  EXPECT_EQ(table.ReadValue(row, 1), Value(std::string(100, 'x')));
}

}  // namespace
}  // namespace mv::jet
