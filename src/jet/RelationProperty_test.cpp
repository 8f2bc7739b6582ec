#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <string>

#include "jet/Table.h"
#include "support/ExpectSound.h"
#include "support/JetDatabase.h"

// Random changes of related tables against a plain model that looks through all rows: whatever was done, tables and
// model agree on what was refused and on every row, and an external checker finds the file sound.

namespace mv::jet {
namespace {

using mv::testing::ExpectIndexesMatchRows;
using mv::testing::ExpectSound;
using mv::testing::JetDatabase;
using mv::testing::JetTable;
using mv::testing::kJetCreated;
using OnDelete = RelationSpec::OnDelete;

/// Every table has a unique number, a text and two columns that may refer to other tables; -1 stands for null.
struct ModelRow {
  int id = 0;
  int first = 0;
  int second = 0;

  friend bool operator==(const ModelRow&, const ModelRow&) = default;
};
using ModelTable = std::map<RowId, ModelRow>;

struct ModelRelation {
  const char* name;
  std::size_t table;
  int ModelRow::*column;
  const char* columnName;
  std::size_t references;
  bool cascadeUpdate;
  OnDelete onDelete;
};

constexpr std::array kTables = {"A", "B", "C"};
constexpr int kNull = -1;

/// A circle over the three tables, a table with itself, and every action.
const std::array kRelations = {
    ModelRelation{"AB", 1, &ModelRow::first, "FIRST", 0, true, OnDelete::Cascade},
    ModelRelation{"BC", 2, &ModelRow::first, "FIRST", 1, true, OnDelete::SetNull},
    ModelRelation{"CA", 0, &ModelRow::first, "FIRST", 2, false, OnDelete::Cascade},
    ModelRelation{"BB", 1, &ModelRow::second, "SECOND", 1, true, OnDelete::Cascade},
    ModelRelation{"AC", 2, &ModelRow::second, "SECOND", 0, true, OnDelete::Refuse},
};

/// The three tables as maps.
class Model {
 public:
  bool Holds(std::size_t table, int id) const {
    return std::any_of(tables[table].begin(), tables[table].end(),
                       [&](const auto& row) { return row.second.id == id; });
  }
  bool IsValid() const {
    for (const ModelRelation& relation : kRelations) {
      for (const auto& [row, values] : tables[relation.table]) {
        const int key = values.*relation.column;
        if (key != kNull && !Holds(relation.references, key)) return false;
      }
    }
    return true;
  }
  void Delete(std::size_t table, RowId row) {
    const int id = tables[table].at(row).id;
    tables[table].erase(row);
    for (const ModelRelation& relation : kRelations) {
      if (relation.references != table || relation.onDelete == OnDelete::Refuse) continue;
      for (const RowId related : Referring(relation, id)) {
        if (relation.onDelete == OnDelete::SetNull) {
          tables[relation.table].at(related).*relation.column = kNull;
        } else if (tables[relation.table].contains(related)) {
          Delete(relation.table, related);
        }
      }
    }
  }
  void Renumber(std::size_t table, RowId row, int id) {
    const int old = tables[table].at(row).id;
    tables[table].at(row).id = id;
    if (id == old) return;
    for (const ModelRelation& relation : kRelations) {
      if (relation.references != table || !relation.cascadeUpdate) continue;
      for (const RowId related : Referring(relation, old)) tables[relation.table].at(related).*relation.column = id;
    }
  }

  std::array<ModelTable, kTables.size()> tables;

 private:
  std::vector<RowId> Referring(const ModelRelation& relation, int id) const {
    std::vector<RowId> rows;
    for (const auto& [row, values] : tables[relation.table]) {
      if (values.*relation.column == id) rows.push_back(row);
    }
    return rows;
  }
};

class RelationStorm {
 public:
  explicit RelationStorm(unsigned seed) : random_(seed) {
    for (const char* name : kTables) {
      tables_.push_back(&database_.Add(JetTable(name)
                                           .Column("ID", ColumnType::Long)
                                           .Column("FIRST", ColumnType::Long)
                                           .Column("SECOND", ColumnType::Long)
                                           .PrimaryKey("ID")));
    }
    for (const ModelRelation& relation : kRelations) {
      database_->CreateRelation({relation.name,
                                 kTables[relation.table],
                                 {relation.columnName},
                                 kTables[relation.references],
                                 {"ID"},
                                 relation.cascadeUpdate,
                                 relation.onDelete},
                                kJetCreated);
    }
  }

  void Change() {
    const std::size_t table = Below(kTables.size());
    const std::size_t kind = Below(20);
    if (kind < 10 || model_.tables[table].empty()) return Insert(table);
    const RowId row =
        std::next(model_.tables[table].begin(), static_cast<std::ptrdiff_t>(Below(model_.tables[table].size())))->first;
    if (kind < 11) return Delete(table, row);
    if (kind < 14) return Renumber(table, row);
    Refer(table, row);
  }

  void Check() {
    for (std::size_t table = 0; table < kTables.size(); ++table) {
      ModelTable found;
      for (auto row = tables_[table]->First(); row; row = tables_[table]->Next(*row)) found[*row] = RowOf(table, *row);
      ASSERT_EQ(found, model_.tables[table]) << kTables[table];
      ASSERT_NO_FATAL_FAILURE(ExpectIndexesMatchRows(*database_, *tables_[table]));
    }
  }

  Bytes Image() { return database_.Image(); }

  std::size_t done = 0;
  std::size_t refused = 0;

 private:
  static constexpr int kIds = 60;

  std::size_t Below(std::size_t limit) { return random_() % limit; }
  int AnyId() { return static_cast<int>(Below(kIds)); }
  int AnyKey() { return Below(3) == 0 ? kNull : AnyId(); }

  static Value KeyValue(int key) { return key == kNull ? Value(Null()) : Value(std::int32_t{key}); }
  ModelRow RowOf(std::size_t table, RowId row) const {
    const std::vector<Value> values = tables_[table]->ReadRow(row);
    const auto number = [](const Value& value) { return IsNull(value) ? kNull : int{std::get<std::int32_t>(value)}; };
    return {number(values[0]), number(values[1]), number(values[2])};
  }

  /// Makes the change in the table, and in the model when it was `expected` to be allowed.
  template <typename Action>
  void Expect(const Model& expected, bool isAllowed, Action action) {
    try {
      action();
      EXPECT_TRUE(isAllowed);
      model_ = expected;
      ++done;
    } catch (const Error& error) {
      EXPECT_EQ(error.Number(), errors::kJetConstraint) << error.Description();
      EXPECT_FALSE(isAllowed) << error.Description();
      ++refused;
    }
  }

  void Insert(std::size_t table) {
    const ModelRow values = {AnyId(), AnyKey(), AnyKey()};
    Model expected = model_;
    expected.tables[table][{}] = values;
    const bool isAllowed = !model_.Holds(table, values.id) && expected.IsValid();
    RowId added;
    Expect(model_, isAllowed, [&] {
      added = tables_[table]->Insert({KeyValue(values.id), KeyValue(values.first), KeyValue(values.second)});
    });
    if (isAllowed) model_.tables[table][added] = values;
  }
  void Delete(std::size_t table, RowId row) {
    Model expected = model_;
    expected.Delete(table, row);
    Expect(expected, expected.IsValid(), [&] { tables_[table]->Delete(row); });
  }
  void Renumber(std::size_t table, RowId row) {
    const int id = AnyId();
    const bool isUnique = !model_.Holds(table, id) || model_.tables[table].at(row).id == id;
    Model expected = model_;
    if (isUnique) expected.Renumber(table, row, id);
    Expect(expected, isUnique && expected.IsValid(), [&] { Set(table, row, 0, id); });
  }
  void Refer(std::size_t table, RowId row) {
    const int key = AnyKey();
    const std::size_t column = 1 + Below(2);
    Model expected = model_;
    (column == 1 ? expected.tables[table].at(row).first : expected.tables[table].at(row).second) = key;
    Expect(expected, expected.IsValid(), [&] { Set(table, row, column, key); });
  }
  void Set(std::size_t table, RowId row, std::size_t column, int key) {
    const Value value = KeyValue(key);
    tables_[table]->Update(row, {&column, 1}, {&value, 1});
  }

  std::mt19937 random_;
  JetDatabase database_;
  std::vector<Table*> tables_;
  Model model_;
};

class RelationProperty : public ::testing::TestWithParam<unsigned> {};

TEST_P(RelationProperty, TablesHoldWhatAPlainModelHolds) {
  SCOPED_TRACE("seed " + std::to_string(GetParam()));
  RelationStorm storm(GetParam());
  for (int i = 0; i < 1500 && !HasFailure(); ++i) {
    storm.Change();
    if (i % 50 != 0) continue;
    ASSERT_NO_FATAL_FAILURE(storm.Check()) << "change " << i;
  }
  ASSERT_NO_FATAL_FAILURE(storm.Check());
  EXPECT_GT(storm.done, 200U);
  EXPECT_GT(storm.refused, 200U);
  ExpectSound(storm.Image());
}

INSTANTIATE_TEST_SUITE_P(Seeds, RelationProperty, ::testing::Range(1u, 7u));

}  // namespace
}  // namespace mv::jet
