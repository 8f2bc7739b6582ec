#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/Utf.h"
#include "jet/Database.h"
#include "jet/index/IndexKey.h"
#include "jet/index/IndexTree.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "support/ExpectSound.h"
#include "support/Hex.h"
#include "support/TempFolder.h"

// Database files made by other engines, in the folder that the environment variable JET_SAMPLES names. The tests work
// on copies; without the variable they are skipped.

namespace mv::jet {
namespace {

using mv::testing::ToHex;

/// What was looked at, so that a test that finds nothing to compare does not pass for one that found no difference.
struct Tally {
  int files = 0;
  int tables = 0;
  int indexes = 0;
  int keys = 0;
  int otherOrders = 0;  ///< indexes whose keys the engine does not build
  int ligatures = 0;    ///< keys left out: files differ in how they count a character that stands for two letters
  int changedRows = 0;
};

std::string IndexTitle(const Table& table, std::size_t number) {
  return "table " + table.Definition().name + ", index " + table.Definition().IndexName(number);
}

/// The key as KeyOf builds it, but of any length: other engines store longer ones too.
Bytes KeyOfAnyLength(const TableDefinition& table, const IndexData& index, const std::vector<Value>& values) {
  Bytes key;
  for (const IndexData::KeyColumn& part : index.columns) {
    const Column* column = table.ColumnById(part.columnId);
    AppendKey(key, *column, values[static_cast<std::size_t>(column - table.columns.data())], part.ascending);
  }
  return key;
}

bool AllNull(const TableDefinition& table, const IndexData& index, const std::vector<Value>& values) {
  return std::all_of(index.columns.begin(), index.columns.end(), [&](const IndexData::KeyColumn& part) {
    const Column* column = table.ColumnById(part.columnId);
    return column->type != ColumnType::Boolean &&
           IsNull(values[static_cast<std::size_t>(column - table.columns.data())]);
  });
}

/// Characters that stand for two letters; a few files count them as one.
bool HasLigature(const TableDefinition& table, const IndexData& index, const std::vector<Value>& values) {
  return std::any_of(index.columns.begin(), index.columns.end(), [&](const IndexData::KeyColumn& part) {
    const Column* column = table.ColumnById(part.columnId);
    const auto* text = std::get_if<std::string>(&values[static_cast<std::size_t>(column - table.columns.data())]);
    if (text == nullptr) return false;
    const std::u32string characters = CodePointsFromUtf8(*text);
    return characters.find_first_of(U"\u00C6\u00E6\u00DE\u00FE\u00DF\u0152\u0153") != characters.npos;
  });
}

class RealIndexes : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto folder = platform::EnvironmentVariable("JET_SAMPLES");
    if (!folder || !std::filesystem::is_directory(*folder)) {
      GTEST_SKIP() << "JET_SAMPLES does not name a folder of database files";
    }
    for (const auto& entry : std::filesystem::directory_iterator(*folder)) {
      if (IsJet4(entry.path())) samples_.push_back(entry.path());
    }
    std::sort(samples_.begin(), samples_.end());
    ASSERT_FALSE(samples_.empty()) << "no Jet 4 database in " << *folder;
  }

  /// Jet 4 without a password; those must all open.
  static bool IsJet4(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    Page start{};
    in.read(reinterpret_cast<char*>(start.data()), kPageSize);
    const std::string_view name(reinterpret_cast<const char*>(start.data()) + 4, 15);
    if (in.gcount() != kPageSize || name != "Standard Jet DB" || start[0x14] != 1) return false;
    return !Header::FromPage(start).HasPassword();
  }

  std::unique_ptr<Database> OpenCopy(const std::filesystem::path& sample, PageFile::Mode mode) {
    const std::filesystem::path copy = std::filesystem::path(folder_.Path()) / sample.filename();
    std::filesystem::copy_file(sample, copy, std::filesystem::copy_options::overwrite_existing);
    std::filesystem::permissions(copy, std::filesystem::perms::owner_write, std::filesystem::perm_options::add);
    return Database::Open(*files_, folder_.File(sample.filename().string()), mode);
  }

  /// Every table of a file, those of the system too.
  std::vector<std::unique_ptr<Table>> AllTables(Database& database) {
    std::vector<std::unique_ptr<Table>> tables;
    Table objects(database.Pages(), ReadDefinition(database.Pages(), 2, "MSysObjects"), {});
    Table permissions(database.Pages(), ReadDefinition(database.Pages(), 3, "MSysACEs"), {});
    for (const CatalogObject& object : Catalog(objects, permissions).Objects()) {
      if (object.type != ObjectType::Table) continue;
      tables.push_back(std::make_unique<Table>(
          database.Pages(), ReadDefinition(database.Pages(), static_cast<PageNumber>(object.id), object.name),
          TableRules()));
    }
    return tables;
  }

  /// Builds every key of every index anew from the rows and compares it with the stored one; looks each one up, too.
  void CheckKeys(Database& database) {
    for (const auto& table : AllTables(database)) {
      std::map<RowId, std::vector<Value>> rows;
      for (auto row = table->First(); row; row = table->Next(*row)) rows[*row] = table->ReadRow(*row);
      EXPECT_EQ(static_cast<std::size_t>(table->Count()), rows.size()) << table->Definition().name;
      ++tally_.tables;
      for (std::size_t i = 0; i < table->Definition().indexData.size(); ++i) {
        SCOPED_TRACE(IndexTitle(*table, i));
        CheckIndex(database, *table, i, rows);
      }
    }
  }

  void CheckIndex(Database& database, const Table& table, std::size_t number,
                  const std::map<RowId, std::vector<Value>>& rows) {
    const TableDefinition& definition = table.Definition();
    const IndexData& index = definition.indexData[number];
    FreePages freePages(database.Pages());
    const IndexTree tree(database.Pages(), freePages, definition.page, index);
    std::map<RowId, Bytes> stored;
    for (const IndexTree::Entry& entry : tree.Entries()) {
      EXPECT_TRUE(stored.emplace(entry.row, entry.key).second) << "two entries for a row";
      EXPECT_TRUE(rows.contains(entry.row)) << "an entry without a row";
    }
    ++tally_.indexes;
    if (!WhyNotWritable(definition, index).empty()) {
      ++tally_.otherOrders;
      return;
    }
    for (const auto& [row, values] : rows) {
      if (index.IgnoresNulls() && AllNull(definition, index, values)) {
        EXPECT_FALSE(stored.contains(row)) << "a null row has an entry";
        continue;
      }
      const Bytes key = KeyOfAnyLength(definition, index, values);
      ASSERT_TRUE(stored.contains(row)) << "row " << row.page << "/" << int{row.slot} << " has no entry";
      if (key != stored[row] && HasLigature(definition, index, values)) {
        ++tally_.ligatures;
        continue;
      }
      EXPECT_EQ(ToHex(key), ToHex(stored[row])) << "row " << row.page << "/" << int{row.slot};
      EXPECT_TRUE(tree.Find(key).has_value());
      ++tally_.keys;
    }
  }

  mv::testing::TempFolder folder_;
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  std::vector<std::filesystem::path> samples_;
  Tally tally_;
};

TEST_F(RealIndexes, EveryKeyBuiltFromItsRowEqualsTheStoredOne) {
  for (const std::filesystem::path& sample : samples_) {
    SCOPED_TRACE(sample.filename().string());
    const auto database = OpenCopy(sample, PageFile::Mode::ReadOnly);
    CheckKeys(*database);
    ++tally_.files;
  }
  RecordProperty("files", tally_.files);
  RecordProperty("tables", tally_.tables);
  RecordProperty("indexes", tally_.indexes);
  RecordProperty("keys", tally_.keys);
  RecordProperty("indexesOfOtherOrders", tally_.otherOrders);
  RecordProperty("keysWithLigatures", tally_.ligatures);
  EXPECT_GT(tally_.keys, 100 * tally_.ligatures);
}

/// True when the table's rows can be changed at all.
bool IsWritable(const TableDefinition& table) {
  return std::all_of(table.indexData.begin(), table.indexData.end(),
                     [&](const IndexData& index) { return WhyNotWritable(table, index).empty(); });
}

/// The row's values as another row of the table: autonumbers are drawn anew.
std::vector<Value> CopyOf(const Table& table, RowId row) {
  std::vector<Value> values = table.ReadRow(row);
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (table.Definition().columns[i].IsAutonumber()) values[i] = Null{};
  }
  return values;
}

/// Deletes, repeats and rewrites rows at random. Returns the number of changes; a duplicate key is no change.
int ChangeRows(Table& table, std::mt19937& random) {
  std::vector<RowId> rows;
  for (auto row = table.First(); row; row = table.Next(*row)) rows.push_back(*row);
  int changes = 0;
  for (const RowId row : rows) {
    try {
      if (random() % 3 == 0) {
        const std::vector<Value> values = CopyOf(table, row);
        if (random() % 2 == 0) table.Delete(row);
        table.Insert(values);
      } else {
        const std::size_t column = random() % table.Definition().columns.size();
        const Value value = table.ReadValue(rows[random() % rows.size()], column);
        if (table.IsLive(row)) table.Update(row, std::vector<std::size_t>{column}, std::vector<Value>{value});
      }
      ++changes;
    } catch (const Error& error) {
      // Such a row's key is longer than the engine writes; it stays as it is.
      const bool isTooLong = error.Description().find("longer than 510 bytes") != std::string::npos;
      const bool refused = error.Number() == errors::kJetConstraint || error.Number() == errors::kNoCurrentRecord;
      EXPECT_TRUE(refused || isTooLong) << table.Definition().name << ": " << error.Description();
    }
  }
  return changes;
}

TEST_F(RealIndexes, RowsChangedAtRandomKeepEveryIndexRight) {
  constexpr std::uint32_t kSeed = 20050120;
  RecordProperty("seed", static_cast<int>(kSeed));
  std::mt19937 random(kSeed);
  for (const std::filesystem::path& sample : samples_) {
    SCOPED_TRACE(sample.filename().string() + ", seed " + std::to_string(kSeed));
    {
      const auto database = OpenCopy(sample, PageFile::Mode::ReadWrite);
      for (const std::string& name : database->TableNames()) {
        Table& table = database->OpenTable(name);
        if (!IsWritable(table.Definition())) continue;
        for (int round = 0; round < 3; ++round) tally_.changedRows += ChangeRows(table, random);
      }
      database->Commit();
    }
    CheckKeys(*Database::Open(*files_, folder_.File(sample.filename().string()), PageFile::Mode::ReadOnly));
    const std::string changed = (std::filesystem::path(folder_.Path()) / sample.filename()).string();
    mv::testing::ExpectSound(platform::ReadWhole(*files_, changed), mv::testing::WrittenBy::OthersToo);
  }
  RecordProperty("changedRows", tally_.changedRows);
  RecordProperty("keys", tally_.keys);
  EXPECT_GT(tally_.changedRows, 0);
}

}  // namespace
}  // namespace mv::jet
