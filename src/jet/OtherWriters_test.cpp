#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/ByteOrder.h"
#include "base/Error.h"
#include "jet/index/IndexKey.h"
#include "jet/pages/DataPage.h"
#include "jet/pages/UsageMap.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "support/ExpectSound.h"
#include "support/ExternalTool.h"
#include "support/GarageStorm.h"
#include "support/Hex.h"
#include "support/JetDatabase.h"
#include "support/JetHabits.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

/// Databases with the habits of other writers: what can be understood without doubt is read, changed and kept.
namespace mv::jet {
namespace {

using testing::JetDatabase;
using testing::JetTable;

constexpr std::size_t kFirstPageAt = 1;
constexpr std::size_t kBitsAt = 5;
const std::string kPath = "x.mdb";

/// Lets an inline map begin at its lowest page, as some writers do.
void StartAtLowestPage(PageFile& file, RowId where) {
  const std::vector<PageNumber> pages = UsageMap(file, where).Pages();
  const ByteSpan row = DataPage(file, where.page).MutableRow(where.slot);
  if (row[0] != 0 || pages.empty()) return;
  StoreLittle(row.data() + kFirstPageAt, static_cast<std::uint32_t>(pages.front()));
  const ByteSpan bits = row.subspan(kBitsAt);
  std::fill(bits.begin(), bits.end(), std::uint8_t{0});
  for (const PageNumber page : pages) {
    const std::size_t bit = page - pages.front();
    bits[bit / 8] = static_cast<std::uint8_t>(bits[bit / 8] | 1u << bit % 8);
  }
}

std::string TextOfRow(int number) {
  return "row " + std::to_string(number) + std::string(static_cast<std::size_t>(number % 50), 'x');
}

/// A table of 600 rows with two indexes and a memo, each map of which begins at its lowest page.
Bytes DatabaseWithUnalignedMaps() {
  testing::MemoryFileSystem files;
  {
    const auto database = Database::Create(files, kPath, testing::kJetCreated);
    JetTable design("T");
    design.Column("ID", ColumnType::Long).Text("NAME", 80).Column("NOTES", ColumnType::Memo).PrimaryKey("ID");
    design.Index("ByName", {"NAME"});
    database->CreateTable(design.Spec(), testing::kJetCreated);
    Table& table = database->OpenTable("T");
    for (int i = 0; i < 600; ++i) {
      table.Insert({Value(std::int32_t{i}), Value(TextOfRow(i)), Value(std::string(i % 7 == 0 ? 3000 : 10, 'm'))});
    }
    const TableDefinition& definition = table.Definition();
    std::vector<RowId> maps = {definition.ownedPages, definition.freeSpacePages};
    for (const IndexData& index : definition.indexData) maps.push_back(index.map);
    for (const Column& column : definition.columns) {
      if (!column.IsLongValue()) continue;
      maps.push_back(column.longValuePages);
      maps.push_back(column.longValueFreeSpace);
    }
    for (const RowId map : maps) StartAtLowestPage(database->Pages(), map);
    database->Commit();
  }
  return files.Content(kPath);
}

std::map<std::int32_t, std::string> RowsOf(const Table& table) {
  std::map<std::int32_t, std::string> rows;
  for (auto row = table.First(); row; row = table.Next(*row)) {
    const std::vector<Value> values = table.ReadRow(*row);
    rows[std::get<std::int32_t>(values[0])] = std::get<std::string>(values[1]);
  }
  return rows;
}

TEST(OtherWriters, AMapThatStartsAtAnyPageIsANoteOnly) {
  const Bytes image = DatabaseWithUnalignedMaps();
  const check::Report report = testing::ReportOf(image);
  EXPECT_TRUE(report.IsSound()) << SummaryOf(report);
  EXPECT_GT(report.notes, 0u) << "the maps were not changed";
}

TEST(OtherWriters, MapsThatStartAtAnyPageStandEveryStatement) {
  testing::MemoryFileSystem files;
  files.Put(kPath, DatabaseWithUnalignedMaps());
  std::mt19937 random(7);
  std::map<std::int32_t, std::string> expected;
  for (int round = 0; round < 4; ++round) {
    const auto database = Database::Open(files, kPath, PageFile::Mode::ReadWrite);
    Table& table = database->OpenTable("T");
    if (round == 0) expected = RowsOf(table);
    ASSERT_EQ(expected.size(), RowsOf(table).size());
    std::vector<RowId> rows;
    for (auto row = table.First(); row; row = table.Next(*row)) rows.push_back(*row);
    for (const RowId row : rows) {
      if (random() % 3 != 0) continue;
      expected.erase(std::get<std::int32_t>(table.ReadValue(row, 0)));
      table.Delete(row);
    }
    for (int i = 0; i < 300; ++i) {
      const std::int32_t id = 1000 * (round + 1) + i;
      expected[id] = TextOfRow(id);
      table.Insert({Value(id), Value(TextOfRow(id)), Value(std::string(random() % 5000, 'n'))});
    }
    EXPECT_EQ(RowsOf(table), expected);
    testing::ExpectIndexesMatchRows(*database, table);
    database->Commit();
    const check::Report report = testing::ReportOf(files.Content(kPath));
    EXPECT_TRUE(report.IsSound()) << SummaryOf(report);
  }
}

/// One way in which other writers differ, as a change of a sound database that leaves every row's values alone.
struct Habit {
  const char* name;
  std::function<void(PageFile&, const Table&)> apply;
};

std::ostream& operator<<(std::ostream& out, const Habit& habit) {
  return out << habit.name;
}

Habit ShapedIndexes(const char* name, const testing::TreeShape& shape) {
  return {name, [shape](PageFile& file, const Table& table) { testing::ReshapeIndexes(file, table, shape, 3); }};
}

Habit CountingLetters(const char* name, testing::LettersAsOne where) {
  return {name, [where](PageFile& file, const Table& table) {
            EXPECT_GT(testing::CountLettersAsOne(file, table, where), 0u) << "no key was changed";
          }};
}

std::vector<Habit> Habits() {
  using testing::TreeShape;
  std::vector<Habit> habits = {
      {"SharedChains", [](PageFile& file, const Table& table) { testing::SharedChains(5).Apply(file, table); }},
      {"LongInline", [](PageFile& file, const Table& table) { testing::LongInline(3900).Apply(file, table); }},
      {"PlainIndexesLikeRelations", testing::NameRelationsInPlainIndexes},
      {"NoTags", testing::ClearTags},
      CountingLetters("LettersAsOneEverywhere", testing::LettersAsOne::Everywhere),
      CountingLetters("LettersAsOneInAccents", testing::LettersAsOne::InAccents),
      ShapedIndexes("SmallLeaves", {}),
      ShapedIndexes("DeepTrees", {.mostEntries = 3, .mostChildren = 2, .extraLevels = 3}),
      ShapedIndexes("FlatTrees", {.mostEntries = 4, .mostChildren = 60}),
      ShapedIndexes("LongPrefixes",
                    {.leafPrefix = TreeShape::Prefix::Longest, .nodePrefix = TreeShape::Prefix::Longest}),
      ShapedIndexes("ShortPrefixes", {.leafPrefix = TreeShape::Prefix::Short, .nodePrefix = TreeShape::Prefix::Short}),
      ShapedIndexes("NoTails", {.mostEntries = 5, .mostChildren = 4, .extraLevels = 1, .tails = false}),
      ShapedIndexes("RaisedEntries", {.mostEntries = 4, .raised = true}),
      ShapedIndexes("EmptyLeaves", {.mostEntries = 3, .mostChildren = 3, .emptyLeaves = true}),
      ShapedIndexes("LevelBytesOfZero", {.mostEntries = 4, .mostChildren = 3, .nodeLevel = 0}),
      ShapedIndexes("NodesNotLinked", {.mostEntries = 4, .mostChildren = 3, .nodeLinks = TreeShape::NodeLinks::None}),
      ShapedIndexes("NodesLinkedThroughout",
                    {.mostEntries = 4, .mostChildren = 3, .nodeLinks = TreeShape::NodeLinks::WholeLevel}),
      ShapedIndexes("NodesLinkedToNowhere",
                    {.mostEntries = 4, .mostChildren = 3, .nodeLinks = TreeShape::NodeLinks::Nowhere}),
  };
  return habits;
}

class OtherWritersStorm : public ::testing::TestWithParam<Habit> {
 protected:
  static constexpr std::uint32_t kSeed = 20031104;
  static constexpr int kStatements = 150;

  /// Puts the database into the shape of the habit. Returns it as it is then.
  Bytes ApplyHabit() {
    storm_.Change([](Database& database) {
      for (const char* name : {"Makers", "Cars"}) GetParam().apply(database.Pages(), database.OpenTable(name));
    });
    return storm_.Image();
  }

  testing::GarageStorm storm_{kSeed};
};

TEST_P(OtherWritersStorm, IsReadAndWrittenOnAndIsNoDamage) {
  ASSERT_EQ(storm_.Run(kStatements), "");
  for (int round = 0; round < 2; ++round) {
    const Bytes before = storm_.Image();
    const Bytes image = ApplyHabit();
    if (round == 0) {
      ASSERT_NE(image, before);
    }
    const check::Report shaped = testing::ReportOf(image);
    EXPECT_TRUE(shaped.IsSound()) << LineOf(shaped.findings.front());
    ASSERT_EQ(storm_.Run(kStatements), "");
    const check::Report after = testing::ReportOf(storm_.Image());
    EXPECT_TRUE(after.IsSound()) << LineOf(after.findings.front());
  }
  EXPECT_GT(storm_.Done(), kStatements);
  EXPECT_GT(storm_.Refused(), 20);
}

/// A node with one child has no entry, or no tail: one thing or the other is to be counted.
std::map<std::string, std::size_t> Joined(std::map<std::string, std::size_t> violations) {
  const auto tails = violations.extract("INDEX-TAIL");
  if (!tails.empty()) violations["INDEX"] += tails.mapped();
  return violations;
}

TEST_P(OtherWritersStorm, GetsNoFurtherViolationFromOurWrites) {
  ASSERT_EQ(storm_.Run(kStatements), "");
  const auto found = testing::StrictViolationsOf(ApplyHabit());
  if (!found) GTEST_SKIP() << "JETCHECK does not name a checker that runs here";
  ASSERT_EQ(storm_.Run(kStatements), "");
  const std::map<std::string, std::size_t> before = Joined(*found);
  const std::map<std::string, std::size_t> after = Joined(*testing::StrictViolationsOf(storm_.Image()));
  for (const auto& [kind, count] : after) EXPECT_LE(count, before.contains(kind) ? before.at(kind) : 0) << kind;
}

/// As the other reader prints it, to which an empty long value is a null.
std::string Quoted(const std::optional<std::string>& text) {
  return text && !text->empty() ? '"' + *text + '"' : "null";
}

std::string Digits(const Bytes& bytes) {
  std::string digits = testing::ToHex(bytes);
  std::erase(digits, ' ');
  return digits;
}

/// Where two lists of lines part, cut to what can be read; empty when they are the same.
std::string FirstDifference(const std::vector<std::string>& found, const std::vector<std::string>& expected) {
  const auto [one, other] = std::mismatch(found.begin(), found.end(), expected.begin(), expected.end());
  if (one == found.end() && other == expected.end()) return {};
  const std::string left = one == found.end() ? "(end)" : *one;
  const std::string right = other == expected.end() ? "(end)" : *other;
  const auto at = std::mismatch(left.begin(), left.end(), right.begin(), right.end()).first - left.begin();
  const auto from = static_cast<std::size_t>(std::max<std::ptrdiff_t>(at - 60, 0));
  return "found " + left.substr(from, 120) + ", expected " + right.substr(from, 120);
}

TEST_P(OtherWritersStorm, ReadsTheSameByAnotherReader) {
  if (!testing::IsOnPath("mdb-export")) GTEST_SKIP() << "mdb-export is not installed";
  ASSERT_EQ(storm_.Run(kStatements), "");
  ApplyHabit();
  ASSERT_EQ(storm_.Run(kStatements), "");
  const testing::TempFolder folder;
  const Bytes image = storm_.Image();
  folder.Write("garage.mdb", std::string(image.begin(), image.end()));
  const auto exported = [&](const std::string& table) {
    const std::string command = "mdb-export -H -b hex -0 null \"" + folder.Path() + "/garage.mdb\" " + table;
    std::vector<std::string> lines = testing::RunTool(command).Lines();
    std::sort(lines.begin(), lines.end());
    return lines;
  };
  std::vector<std::string> makers;
  for (const auto& [seen, maker] : storm_.AllMakers()) makers.push_back(Quoted(maker.name) + "," + Quoted(maker.note));
  std::vector<std::string> cars;
  for (const auto& [id, car] : storm_.AllCars()) {
    cars.push_back(std::to_string(id) + "," + Quoted(car.maker) + "," + Quoted(car.plate) + "," + Quoted(car.story) +
                   "," + Quoted(car.picture ? std::optional(Digits(*car.picture)) : std::nullopt));
  }
  std::sort(makers.begin(), makers.end());
  std::sort(cars.begin(), cars.end());
  EXPECT_EQ(FirstDifference(exported("Makers"), makers), "");
  EXPECT_EQ(FirstDifference(exported("Cars"), cars), "");
}

INSTANTIATE_TEST_SUITE_P(Habits, OtherWritersStorm, ::testing::ValuesIn(Habits()),
                         [](const auto& habit) { return std::string(habit.param.name); });

TEST(OtherWriters, RowWithLongValuesInsideGrowsBecauseTheyMoveOut) {
  testing::JetDatabase database;
  Table& table = database.Add(JetTable("T")
                                  .Text("NAME", 200)
                                  .Column("NOTES", ColumnType::Memo)
                                  .Column("PIC", ColumnType::Ole)
                                  .PrimaryKey("NAME"));
  const Value notes = std::string(1500, 'n');
  const Value picture = Bytes(900, 7);
  const RowId row = table.Insert({std::string("a"), notes, picture});
  testing::LongInline(3900).Apply(database->Pages(), table);
  const auto image = [&] { return testing::ReportOf(database.Image()); };
  ASSERT_GT(image().notes, 1u) << "the values are not in the row";
  const std::size_t column = 0;
  const Value same = std::string("b");
  table.Update(row, {&column, 1}, {&same, 1});
  EXPECT_GT(image().notes, 1u) << "a row that has room keeps its values inside";
  std::string name;
  for (int i = 0; i < 200; ++i) name += "\u0436";
  const Value longer = name;
  table.Update(row, {&column, 1}, {&longer, 1});
  EXPECT_EQ(table.ReadRow(row), (std::vector<Value>{longer, notes, picture}));
  EXPECT_TRUE(image().IsSound());
  EXPECT_EQ(image().notes, 1u) << "only the longest goes";
}

/// What a row holds, as far as it can be told apart.
using RowValues = std::map<RowId, std::vector<Value>>;

RowValues ValuesOf(const Table& table) {
  RowValues rows;
  for (auto row = table.First(); row; row = table.Next(*row)) rows[*row] = table.ReadRow(*row);
  return rows;
}

/// Tables of a database that no relation joins to others, and whose indexes the engine can keep.
std::vector<std::string> LooseTables(Database& database) {
  std::vector<std::string> names;
  for (const std::string& name : database.TableNames()) {
    const TableDefinition& table = database.OpenTable(name).Definition();
    const bool isRelated = std::any_of(table.indexes.begin(), table.indexes.end(), [](const LogicalIndex& index) {
      return index.kind == LogicalIndex::Kind::Relation;
    });
    const bool isWritable = std::all_of(table.indexData.begin(), table.indexData.end(),
                                        [&](const IndexData& index) { return WhyNotWritable(table, index).empty(); });
    if (!isRelated && isWritable) names.push_back(name);
  }
  return names;
}

/// Real database files, in the folder named by the environment variable JET_SAMPLES, put into the shape of each habit.
class OtherWritersOfRealFiles : public ::testing::TestWithParam<Habit> {
 protected:
  void SetUp() override {
    const auto folder = platform::EnvironmentVariable("JET_SAMPLES");
    if (!folder || !std::filesystem::is_directory(*folder)) {
      GTEST_SKIP() << "JET_SAMPLES does not name a folder of database files";
    }
    const auto files = platform::MakeFileSystem();
    for (const auto& entry : std::filesystem::directory_iterator(*folder)) {
      if (entry.path().extension() == ".mdb") Add(platform::ReadWhole(*files, entry.path().string()));
    }
    ASSERT_FALSE(images_.empty());
  }

  /// Keeps a file that is a plain Jet 4 database, and not so large that the test takes long.
  void Add(Bytes image) {
    constexpr std::size_t kMostBytes = 2 * 1024 * 1024;
    if (image.size() > kMostBytes) return;
    testing::MemoryFileSystem files;
    files.Put(kPath, image);
    try {
      Database::Open(files, kPath, PageFile::Mode::ReadWrite);
      images_.push_back(std::move(image));
    } catch (const Error&) {
      // Which files are refused, and why, is another test.
    }
  }

  /// Repeats, changes and deletes some rows. Returns what the table should hold then.
  RowValues ChangeRows(Table& table, std::mt19937& random) {
    RowValues rows = ValuesOf(table);
    const RowValues before = rows;
    for (const auto& [row, values] : before) {
      if (random() % 3 != 0) continue;
      try {
        table.Delete(row);
        rows.erase(row);
        ++changes_;
        if (random() % 2 == 0) continue;
        const RowId added = table.Insert(values);
        rows[added] = table.ReadRow(added);
        EXPECT_EQ(rows[added], values);
      } catch (const Error& error) {
        // A key or a value that another engine has stored and this one does not build.
        EXPECT_NE(error.Description().find("key"), std::string::npos) << error.Description();
      }
    }
    return rows;
  }

  std::vector<Bytes> images_;
  int changes_ = 0;
};

TEST_P(OtherWritersOfRealFiles, AreReadAndWrittenOnAndStaySound) {
  std::mt19937 random(5);
  for (const Bytes& image : images_) {
    testing::MemoryFileSystem files;
    files.Put(kPath, image);
    const bool wasSound = testing::ReportOf(image).IsSound();
    std::map<std::string, RowValues> expected;
    {
      const auto database = Database::Open(files, kPath, PageFile::Mode::ReadWrite);
      for (const std::string& name : LooseTables(*database)) {
        Table& table = database->OpenTable(name);
        const RowValues before = ValuesOf(table);
        GetParam().apply(database->Pages(), table);
        ASSERT_EQ(ValuesOf(table), before);
      }
      database->Commit();
    }
    EXPECT_TRUE(testing::ReportOf(files.Content(kPath)).IsSound() || !wasSound);
    {
      const auto database = Database::Open(files, kPath, PageFile::Mode::ReadWrite);
      for (const std::string& name : LooseTables(*database)) {
        expected[name] = ChangeRows(database->OpenTable(name), random);
      }
      database->Commit();
    }
    const auto database = Database::Open(files, kPath, PageFile::Mode::ReadOnly);
    for (const auto& [name, rows] : expected) EXPECT_EQ(ValuesOf(database->OpenTable(name)), rows) << name;
    const check::Report report = testing::ReportOf(files.Content(kPath));
    EXPECT_TRUE(report.IsSound() || !wasSound) << LineOf(report.findings.front());
  }
  EXPECT_GT(changes_, 100);
}

/// All but those that need texts of a kind which the files do not have.
std::vector<Habit> HabitsForAnyFile() {
  std::vector<Habit> habits = Habits();
  std::erase_if(habits, [](const Habit& habit) { return std::string_view(habit.name).starts_with("Letters"); });
  return habits;
}

INSTANTIATE_TEST_SUITE_P(Habits, OtherWritersOfRealFiles, ::testing::ValuesIn(HabitsForAnyFile()),
                         [](const auto& habit) { return std::string(habit.param.name); });

}  // namespace
}  // namespace mv::jet
