#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "base/Error.h"
#include "jet/Database.h"
#include "platform/System.h"
#include "support/ExpectSound.h"
#include "support/ExternalTool.h"
#include "support/TempFolder.h"

namespace mv::jet {
namespace {

using Strings = std::vector<std::string>;

/// Real database files, made by Access and by others, in the folder named by the environment variable JET_SAMPLES. They
/// are not part of the project.
class RealFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto folder = platform::EnvironmentVariable("JET_SAMPLES");
    if (!folder || !std::filesystem::is_directory(*folder)) {
      GTEST_SKIP() << "JET_SAMPLES does not name a folder of database files";
    }
    for (const auto& entry : std::filesystem::directory_iterator(*folder)) {
      const std::string extension = entry.path().extension().string();
      if (extension == ".mdb" || extension == ".accdb") paths_.push_back(entry.path().string());
    }
    ASSERT_FALSE(paths_.empty());
  }

  std::unique_ptr<Database> Open(const std::string& path) {
    return Database::Open(*files_, path, PageFile::Mode::ReadOnly);
  }

  /// The files that are Jet 4 databases.
  Strings ReadablePaths() {
    Strings readable;
    for (const std::string& path : paths_) {
      try {
        Open(path);
        readable.push_back(path);
      } catch (const Error&) {
        // Which files are refused, and why, is a test of its own.
      }
    }
    return readable;
  }

  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  Strings paths_;
};

Strings ColumnNames(const Table& table) {
  std::vector<Column> columns = table.Definition().columns;
  std::sort(columns.begin(), columns.end(), [](const Column& left, const Column& right) { return left.id < right.id; });
  Strings names;
  for (const Column& column : columns) names.push_back(column.name);
  return names;
}

/// Names out of the checker's lines "  column   3  NAME   Text   length ...".
Strings CheckersColumnNames(const testing::ToolResult& schema) {
  constexpr std::size_t kNameAt = 14;
  Strings names;
  for (const std::string& line : schema.Lines()) {
    if (!line.starts_with("  column ")) continue;
    std::string name = line.substr(kNameAt, line.find(" length ") - kNameAt);
    name.erase(name.find_last_not_of(' ') + 1);
    name.erase(name.find_last_of(' ') + 1);
    name.erase(name.find_last_not_of(' ') + 1);
    names.push_back(name);
  }
  return names;
}

TEST_F(RealFiles, FilesOfOtherKindsAreRefusedWithATextThatSaysWhatTheyAre) {
  for (const std::string& path : paths_) {
    const std::string name = std::filesystem::path(path).filename().string();
    std::string refusal;
    try {
      Open(path);
    } catch (const Error& error) {
      refusal = error.Description();
    }
    const auto expect = [&](const char* part) {
      EXPECT_NE(refusal.find(part), refusal.npos) << name << ": " << refusal;
    };
    if (name.find("97") != name.npos) {
      expect("Access 97");
    } else if (name.ends_with(".accdb")) {
      expect("ACE");
    } else {
      EXPECT_EQ(refusal, "") << name;
    }
  }
}

TEST_F(RealFiles, TablesAreThoseTheCheckerLists) {
  const auto checker = testing::JetCheck::Find();
  if (!checker) GTEST_SKIP() << "JETCHECK does not name a checker that runs here";
  for (const std::string& path : ReadablePaths()) {
    Strings expected;
    for (const std::string& line : checker->Run("--tables", path).Lines())
      expected.push_back(line.substr(0, line.find('\t')));
    EXPECT_EQ(Open(path)->TableNames(), expected) << path;
  }
}

TEST_F(RealFiles, ColumnsAndRowsAreThoseTheCheckerReads) {
  const auto checker = testing::JetCheck::Find();
  if (!checker) GTEST_SKIP() << "JETCHECK does not name a checker that runs here";
  for (const std::string& path : ReadablePaths()) {
    const auto database = Open(path);
    for (const std::string& name : database->TableNames()) {
      const Table& table = database->OpenTable(name);
      EXPECT_EQ(ColumnNames(table), CheckersColumnNames(checker->Run("--schema \"" + name + "\"", path))) << path;
      std::size_t rows = 0;
      for (auto row = table.First(); row; row = table.Next(*row), ++rows) table.ReadRow(*row);
      EXPECT_EQ(rows, checker->Run("--dump \"" + name + "\"", path).Lines().size()) << path << ' ' << name;
      EXPECT_EQ(table.Count(), static_cast<std::int64_t>(rows)) << path << ' ' << name;
    }
  }
}

TEST_F(RealFiles, SystemTablesOpenAndReadToo) {
  for (const std::string& path : ReadablePaths()) {
    const auto database = Open(path);
    for (const char* name : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"}) {
      const Table& table = database->OpenTable(name);
      for (auto row = table.First(); row; row = table.Next(*row)) EXPECT_NO_THROW(table.ReadRow(*row)) << path;
    }
  }
}

TEST_F(RealFiles, TableAddedToThemLeavesThemSound) {
  const testing::TempFolder folder;
  for (const std::string& path : ReadablePaths()) {
    const auto copy = std::filesystem::path(folder.Path()) / std::filesystem::path(path).filename();
    std::filesystem::copy_file(path, copy);
    std::filesystem::permissions(copy, std::filesystem::perms::owner_write, std::filesystem::perm_options::add);
    auto database = Database::Open(*files_, copy.string(), PageFile::Mode::ReadWrite);
    ColumnSpec key;
    key.name = "Key";
    key.characters = 20;
    ColumnSpec notes;
    notes.name = "Notes";
    notes.type = ColumnType::Memo;
    IndexSpec index;
    index.name = "PrimaryKey";
    index.columns = {{"Key"}};
    index.primaryKey = true;
    database->CreateTable({"Added table", {key, notes}, {index}}, CivilTime{2026, 11, 21, 14, 5, 9});
    Table& table = database->OpenTable("Added table");
    for (std::size_t i = 0; i < 300; ++i) table.Insert({std::to_string(i), std::string(30 * i, 'n')});
    database->Commit();
    database.reset();
    SCOPED_TRACE(path);
    testing::ExpectSound(platform::ReadWhole(*files_, copy.string()), testing::WrittenBy::OthersToo);
  }
}

}  // namespace
}  // namespace mv::jet
