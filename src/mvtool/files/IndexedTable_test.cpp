#include "mvtool/files/IndexedTable.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>

#include "base/Date.h"
#include "base/Error.h"
#include "base/Text.h"
#include "recordset/Conversions.h"
#include "support/ExpectError.h"
#include "support/JetDatabase.h"

namespace mv::tool {
namespace {

using jet::ColumnType;
using jet::RowId;
using testing::JetDatabase;
using testing::JetTable;
using Conditions = std::vector<IndexedTable::Condition>;

std::string Text(const char* text) {
  return text;
}

bool HasDecimals(const Value& value) {
  const auto* const date = std::get_if<Date>(&value);
  return date != nullptr && PreciseIsoFromDate(*date) != IsoFromDate(*date);
}

/// What Find must give, by its contract: a walk from the first row on.
std::optional<RowId> FirstRow(const jet::Table& table, const Conditions& where) {
  for (auto row = table.First(); row; row = table.Next(*row)) {
    const bool meets = std::all_of(where.begin(), where.end(), [&](const IndexedTable::Condition& condition) {
      const Value value = table.ReadValue(*row, condition.column);
      if (IsNull(value) || IsNull(condition.value)) return IsNull(value) && IsNull(condition.value);
      if (HasDecimals(condition.value)) return value == condition.value;
      return FoldCase(TextOf(value)) == FoldCase(TextOf(condition.value));
    });
    if (meets) return row;
  }
  return std::nullopt;
}

/// Few different values, so that rows are alike in many ways.
Value RandomValue(ColumnType type, std::mt19937& random) {
  const unsigned number = random() % 4;
  if (number == 0 && type != ColumnType::Boolean) return Null{};
  switch (type) {
    case ColumnType::Boolean:
      return number % 2 == 0;
    case ColumnType::Long:
      return static_cast<std::int32_t>(number);
    case ColumnType::Double:
      return number == 1 ? -0.0 : 0.0;
    case ColumnType::DateTime:
      // Two of them are the same second.
      return Date{40000.5 + (number == 1 ? 1e-9 : 0.0) + (number == 2 ? 1.0 : 0.0)};
    case ColumnType::Text:
    case ColumnType::Memo: {
      constexpr const char* kTexts[] = {"", "a", "A", "a ", "ä", "Ä", "\u0462", "\u0463", "b-c", "bc", "\U0001F600"};
      return std::string(kTexts[random() % std::size(kTexts)]);
    }
    case ColumnType::Decimal:
      return number == 1 ? std::string("1.5000") : std::string("-1.5000");
    case ColumnType::Guid:
      return "{01234567-89AB-CDEF-0123-45678900000" + std::to_string(number) + "}";
    default:
      return Bytes(number - 1, 7);
  }
}

JetTable Mixed() {
  return JetTable("Mixed")
      .Column("flag", ColumnType::Boolean)
      .Column("number", ColumnType::Long)
      .Column("float", ColumnType::Double)
      .Column("date", ColumnType::DateTime)
      .Text("text", 10)
      .Column("memo", ColumnType::Memo)
      .Column("decimal", ColumnType::Decimal)
      .Column("guid", ColumnType::Guid)
      .Column("bytes", ColumnType::Binary, 8);
}

class RandomLookUps : public ::testing::TestWithParam<int> {};

/// Tables without indexes, with plain ones and with ones that leave nulls out; more sets of columns than are indexed
/// here.
TEST_P(RandomLookUps, GiveTheRowThatAWalkMeetsFirst) {
  std::mt19937 random(static_cast<unsigned>(GetParam()));
  JetTable design = Mixed();
  const bool ignoresNulls = GetParam() % 2 == 0;
  if (GetParam() > 0) {
    design.Index("Number", {"number"}).ignoreNulls = ignoresNulls;
    design.Index("TextDate", {"text", "flag"}).ignoreNulls = ignoresNulls;
    design.Index("Date", {"date"});
    design.Index("Decimal", {"decimal"});
    design.Index("Guid", {"guid", "bytes", "float"});
  }
  JetDatabase database;
  jet::Table& table = database.Add(design);
  IndexedTable indexed(table);
  const std::vector<jet::Column>& columns = table.Definition().columns;
  // A surrogate pair cannot be in an index: the engine refuses such rows.
  const auto row = [&] {
    std::vector<Value> values;
    for (const jet::Column& column : columns) values.push_back(RandomValue(column.type, random));
    if (GetParam() > 0 && values[4] == Value(Text("\U0001F600"))) values[4] = Text("x");
    return values;
  };
  std::set<std::set<std::size_t>> columnSets;
  for (int i = 0; i < 250; ++i) indexed.Insert(row());
  for (int step = 0; step < 1500; ++step) {
    Conditions where;
    std::set<std::size_t> columnSet;
    for (std::size_t column = 0; column < columns.size(); ++column) {
      if (random() % (step % 2 == 0 ? 2 : 5) == 0) {
        where.push_back({column, RandomValue(columns[column].type, random)});
        columnSet.insert(column);
      }
    }
    if (where.empty()) continue;
    columnSets.insert(columnSet);
    std::shuffle(where.begin(), where.end(), random);
    const std::optional<RowId> found = indexed.Find(where);
    ASSERT_EQ(found, FirstRow(table, where)) << "seed " << GetParam() << ", step " << step;
    if (!found) continue;
    const std::vector<Value> values = row();
    const std::size_t changed[] = {random() % 4, 4 + random() % 5};
    const Value assigned[] = {values[changed[0]], values[changed[1]]};
    if (step % 3 == 0) indexed.Update(*found, changed, assigned);
    if (step % 7 == 0) indexed.Delete(*found);
    if (step % 5 == 0) indexed.Insert(values);
  }
  EXPECT_GT(columnSets.size(), IndexedTable::kMostOwnIndexes);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomLookUps, ::testing::Range(0, 6));

TEST(IndexedTable, RowChangedBehindItsBackIsFoundByItsNewValues) {
  JetDatabase database;
  jet::Table& table = database.Add(Mixed());
  IndexedTable indexed(table);
  std::vector<Value> values(9);
  values[1] = std::int32_t{5};
  const RowId row = table.Insert(values);
  const Conditions five = {{1, std::int32_t{5}}};
  EXPECT_EQ(indexed.Find(five), row);
  const std::size_t column = 1;
  const Value six = std::int32_t{6};
  table.Update(row, {&column, 1}, {&six, 1});
  EXPECT_EQ(indexed.Find(five), std::nullopt);
  EXPECT_EQ(indexed.Find(Conditions{{1, six}}), row);
}

TEST(IndexedTable, FailedChangeLeavesTheIndexesRight) {
  JetDatabase database;
  JetTable design = Mixed();
  design.PrimaryKey("number");
  jet::Table& table = database.Add(design);
  IndexedTable indexed(table);
  std::vector<Value> values(9);
  for (std::int32_t number = 1; number <= 2; ++number) {
    values[1] = number;
    values[2] = number * 1.5;
    indexed.Insert(values);
  }
  const Conditions where = {{3, Null{}}, {2, 1.5}};
  const std::optional<RowId> row = indexed.Find(where);
  const std::size_t columns[] = {2, 1};
  const Value assigned[] = {9.5, std::int32_t{2}};
  EXPECT_EQ(testing::ErrorNumberOf([&] { indexed.Update(*row, columns, assigned); }), errors::kJetConstraint);
  EXPECT_EQ(testing::ErrorNumberOf([&] { indexed.Insert(values); }), errors::kJetConstraint);
  EXPECT_EQ(indexed.Find(where), row);
  EXPECT_EQ(indexed.Find(Conditions{{3, Null{}}, {2, 9.5}}), std::nullopt);
}

TEST(IndexedTable, DecimalsAndGuidsAreTakenAsTheColumnStoresThem) {
  JetDatabase database;
  jet::Table& table = database.Add(Mixed());
  IndexedTable indexed(table);
  std::vector<Value> values(9);
  values[6] = Text("12.5");
  values[7] = Text("{01234567-89ab-cdef-0123-456789abcdef}");
  const RowId row = table.Insert(values);
  EXPECT_EQ(indexed.Find(Conditions{{6, Text("+12.50")}}), row);
  EXPECT_EQ(indexed.Find(Conditions{{7, Text("{01234567-89AB-CDEF-0123-456789abcdef}")}}), row);
  EXPECT_EQ(testing::ErrorNumberOf([&] { indexed.Find(Conditions{{7, Text("nonsense")}}); }), errors::kTypeMismatch);
}

TEST(IndexedTable, ManyRowsOfAKeyAreNotLookedAtOneByOne) {
  JetDatabase database;
  JetTable design = Mixed();
  design.Index("Flag", {"flag"});
  jet::Table& table = database.Add(design);
  IndexedTable indexed(table);
  std::vector<Value> values(9);
  RowId last;
  for (std::int32_t number = 0; number < 20000; ++number) {
    values[1] = number;
    last = table.Insert(values);
  }
  // Looking at each row of the key would be 200 million rows here.
  for (int i = 0; i < 10000; ++i) {
    ASSERT_EQ(indexed.Find(Conditions{{0, false}, {1, std::int32_t{19999}}}), last);
  }
}

}  // namespace
}  // namespace mv::tool
