#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <random>
#include <string>

#include "jet/ColumnValue.h"
#include "jet/Table.h"
#include "support/JetDatabase.h"

// Database files of other engines, when the environment variable JET_SAMPLES names a folder with some. Works on copies.

namespace mv::jet {
namespace {

using mv::testing::Demand;
using mv::testing::ExpectIndexesMatchRows;
using mv::testing::ExpectSoundFile;
using mv::testing::HasStructureChecker;
using mv::testing::MemoryFileSystem;

class SamplesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto folder = platform::EnvironmentVariable("JET_SAMPLES");
    if (!folder) GTEST_SKIP() << "skipped: JET_SAMPLES names no folder with database files of other engines";
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

bool IsWritable(const Table& table) {
  const TableDefinition& definition = table.Definition();
  return std::all_of(definition.indexData.begin(), definition.indexData.end(),
                     [&](const IndexData& index) { return WhyNotWritable(definition, index).empty(); }) &&
         std::none_of(definition.indexes.begin(), definition.indexes.end(),
                      [](const LogicalIndex& index) { return index.kind == LogicalIndex::Kind::Relation; });
}

/// The engine builds no keys above the length it can vouch for; real files have a few.
bool HasKnownKeys(const Table& table) {
  for (auto row = table.First(); row; row = table.Next(*row)) {
    const std::vector<Value> values = table.ReadRow(*row);
    for (const IndexData& index : table.Definition().indexData) {
      try {
        KeyOf(table.Definition(), index, values);
      } catch (const Error&) {
        return false;
      }
    }
  }
  return true;
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
      std::string text = IsNull(value) ? std::string() : std::get<std::string>(value);
      text += std::to_string(number);
      const std::size_t longest = column.length / 2;
      return text.size() > longest ? text.substr(text.size() - longest) : text;
    }
    case ColumnType::Memo:
      return std::string(static_cast<std::size_t>(number % 5000), 'm');
    case ColumnType::Ole:
      return Bytes(static_cast<std::size_t>(number % 9000), 7);
    default:
      return value;
  }
}

/// Tries a change; what the rules of the table forbid is no failure.
template <typename Action>
bool Tried(Action action) {
  try {
    action();
    return true;
  } catch (const Error& error) {
    EXPECT_EQ(error.Number(), errors::kJetConstraint) << error.Description();
    return false;
  }
}

std::size_t ChangeRows(Table& table, std::mt19937& random) {
  const std::vector<Column>& columns = table.Definition().columns;
  std::size_t done = 0;
  std::size_t met = 0;
  for (auto row = table.First(); row && met < 400; row = table.Next(*row), ++met) {
    std::vector<Value> values = table.ReadRow(*row);
    const std::size_t column = random() % columns.size();
    const Value value = Changed(columns[column], values[column], random);
    done += Tried([&] { table.Update(*row, {&column, 1}, {&value, 1}); }) ? 1 : 0;
    for (std::size_t i = 0; i < columns.size(); ++i) values[i] = Changed(columns[i], values[i], random);
    if (met % 2 == 0) done += Tried([&] { table.Insert(values); }) ? 1 : 0;
    if (met % 3 == 0) done += Tried([&] { table.Delete(*row); }) ? 1 : 0;
  }
  return done;
}

TEST_F(SamplesTest, EveryRowOfEveryTable_IsReadAndItsKeysAreTheStoredOnes) {
  std::size_t rows = 0;
  for (const auto& [name, image] : samples_) {
    SCOPED_TRACE(name);
    const auto database = Opened(name);
    if (!database) continue;
    std::vector<std::string> names = database->TableNames();
    names.insert(names.end(), {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"});
    for (const std::string& tableName : names) {
      SCOPED_TRACE(tableName);
      const Table& table = database->OpenTable(tableName);
      std::int64_t met = 0;
      for (auto row = table.First(); row; row = table.Next(*row), ++met) table.ReadRow(*row);
      EXPECT_EQ(table.Count(), met);
      rows += static_cast<std::size_t>(met);
      if (IsWritable(table) && HasKnownKeys(table)) ExpectIndexesMatchRows(*database, table);
    }
    EXPECT_FALSE(database->Changed());
  }
  EXPECT_GT(rows, 0U);
}

TEST_F(SamplesTest, ChangedRows_LeaveIndexesAndStructureSound) {
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
      for (int round = 0; round < 3; ++round) changes += ChangeRows(table, random);
      if (HasKnownKeys(table)) ExpectIndexesMatchRows(*database, table);
    }
    database->Commit();
    if (HasStructureChecker()) ExpectSoundFile(files_.Content(name), Demand::Tolerant);
  }
  EXPECT_GT(changes, 0U);
}

}  // namespace
}  // namespace mv::jet
