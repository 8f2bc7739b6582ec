#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

#include "jet/Table.h"
#include "support/ExpectSound.h"
#include "support/JetDatabase.h"

// Rows of real database files are made longer and shorter, with long values of every form; see RealFiles_test.cpp for
// what is read and RealIndexes_test.cpp for the indexes. Works on copies of the files in the folder that the
// environment variable JET_SAMPLES names; without it the test is skipped.

namespace mv::jet {
namespace {

using mv::testing::ExpectSound;
using mv::testing::MemoryFileSystem;
using mv::testing::WrittenBy;

class RealRows : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto folder = platform::EnvironmentVariable("JET_SAMPLES");
    if (!folder) GTEST_SKIP() << "JET_SAMPLES does not name a folder of database files";
    const auto files = platform::MakeFileSystem();
    for (const std::string& name : files->List(*folder)) {
      if (name.ends_with(".mdb")) samples_[name] = platform::ReadWhole(*files, *folder + "/" + name);
    }
    ASSERT_FALSE(samples_.empty());
  }

  /// A copy opened for writing; nothing for a file that is refused as a whole.
  std::unique_ptr<Database> Opened(const std::string& name) {
    files_.Put(name, samples_.at(name));
    try {
      return Database::Open(files_, name, PageFile::Mode::ReadWrite);
    } catch (const Error& error) {
      EXPECT_EQ(error.Number(), errors::kJetGeneral) << name << ": " << error.Description();
      return nullptr;
    }
  }

  std::map<std::string, Bytes> samples_;
  MemoryFileSystem files_;
};

/// Tables of relations are left out: their changes reach rows of other tables.
bool IsWritable(const Table& table) {
  const TableDefinition& definition = table.Definition();
  return std::all_of(definition.indexData.begin(), definition.indexData.end(),
                     [&](const IndexData& index) { return WhyNotWritable(definition, index).empty(); }) &&
         std::none_of(definition.indexes.begin(), definition.indexes.end(),
                      [](const LogicalIndex& index) { return index.kind == LogicalIndex::Kind::Relation; });
}

/// Another value of the same type, so that most keys become new ones.
Value Changed(const Column& column, const Value& value, std::mt19937& random) {
  const auto number = static_cast<std::int32_t>(random() % 30000);
  switch (column.type) {
    case ColumnType::Boolean:
      return number % 2 == 0;
    case ColumnType::Byte:
      return static_cast<std::uint8_t>(number);
    case ColumnType::Integer:
      return static_cast<std::int16_t>(number);
    case ColumnType::Long:
      return number;
    case ColumnType::Text: {
      const std::string digits = std::to_string(number);
      const std::string text = (IsNull(value) ? std::string() : std::get<std::string>(value)) + digits;
      const std::size_t longest = column.length / 2;
      return text.size() <= longest ? text : digits.substr(0, longest);
    }
    case ColumnType::Memo:
      return std::string(static_cast<std::size_t>(number % 5000), 'm');
    case ColumnType::Ole:
      return Bytes(static_cast<std::size_t>(number % 9000), 7);
    default:
      return value;
  }
}

/// Tries a change; what the rules of the table forbid, and keys that are longer than the engine writes, are no failure.
template <typename Action>
bool Tried(Action action) {
  try {
    action();
    return true;
  } catch (const Error& error) {
    const bool isTooLong = error.Description().find("longer than 510 bytes") != std::string::npos;
    EXPECT_TRUE(error.Number() == errors::kJetConstraint || isTooLong) << error.Description();
    return false;
  }
}

/// Changes up to 400 rows and as many new ones. `rows` is what the table should hold.
std::size_t ChangeRows(Table& table, std::map<RowId, std::vector<Value>>& rows, std::mt19937& random) {
  const std::vector<Column>& columns = table.Definition().columns;
  std::size_t done = 0;
  std::size_t met = 0;
  for (auto row = table.First(); row && met < 400; row = table.Next(*row), ++met) {
    const std::size_t column = random() % columns.size();
    const Value value = Changed(columns[column], rows[*row][column], random);
    if (Tried([&] { table.Update(*row, {&column, 1}, {&value, 1}); })) {
      rows[*row][column] = value;
      ++done;
    }
    std::vector<Value> values = rows[*row];
    for (std::size_t i = 0; i < columns.size(); ++i) values[i] = Changed(columns[i], values[i], random);
    RowId added;
    if (met % 2 == 0 && Tried([&] { added = table.Insert(values); })) {
      rows[added] = values;
      ++done;
    }
    if (met % 3 == 0 && Tried([&] { table.Delete(*row); })) {
      rows.erase(*row);
      ++done;
    }
  }
  return done;
}

std::map<RowId, std::vector<Value>> RowsOf(const Table& table) {
  std::map<RowId, std::vector<Value>> rows;
  for (auto row = table.First(); row; row = table.Next(*row)) rows[*row] = table.ReadRow(*row);
  return rows;
}

TEST_F(RealRows, ChangedRowsReadBackAndLeaveTheFileSound) {
  std::size_t changes = 0;
  for (const auto& [name, image] : samples_) {
    SCOPED_TRACE(name);
    const auto database = Opened(name);
    if (!database) continue;
    std::mt19937 random(1);
    for (const std::string& tableName : database->TableNames()) {
      SCOPED_TRACE(tableName);
      Table& table = database->OpenTable(tableName);
      if (!IsWritable(table)) continue;
      std::map<RowId, std::vector<Value>> rows = RowsOf(table);
      for (int round = 0; round < 3; ++round) changes += ChangeRows(table, rows, random);
      EXPECT_TRUE(RowsOf(table) == rows);
      EXPECT_EQ(table.Count(), static_cast<std::int64_t>(rows.size()));
    }
    database->Commit();
    ExpectSound(files_.Content(name), WrittenBy::OthersToo);
  }
  EXPECT_GT(changes, 0U);
}

}  // namespace
}  // namespace mv::jet
