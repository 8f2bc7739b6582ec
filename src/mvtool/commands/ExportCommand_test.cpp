#include <gtest/gtest.h>

#include <algorithm>

#include "jet/Database.h"
#include "support/CommandTest.h"

namespace mv::tool {
namespace {

constexpr std::string_view kSchema = R"({"tables":[
  {"name":"Shop","columns":[{"name":"KY_ID","type":"Text","size":20},{"name":"TX_NOTES","type":"Memo"}],
   "rows":[{"KY_ID":"b","TX_NOTES":"Zo\u00e9, \"x\""},{"KY_ID":"a"}]},
  {"name":"50%","columns":[{"name":"N","type":"Long"}],"rows":[{"N":1}]}]})";

class ExportTest : public testing::CommandTest {
 protected:
  void SetUp() override { Create("x.db", kSchema); }

  /// Adds a row of the catalog that is not a table.
  void AddObject(const std::string& name, std::int16_t type) {
    const auto database = jet::Database::Open(files_, "x.db", jet::PageFile::Mode::ReadWrite);
    jet::Table& objects = database->OpenTable("MSysObjects");
    std::vector<Value> values;
    for (const jet::Column& column : objects.Definition().columns) {
      values.push_back(Null{});
      if (column.name == "Id") values.back() = nextId_--;
      if (column.name == "ParentId") values.back() = jet::kTablesId;
      if (column.name == "Name") values.back() = name;
      if (column.name == "Type") values.back() = type;
      if (column.name == "Flags") values.back() = std::int32_t{0};
    }
    objects.Insert(std::move(values));
    database->Commit();
  }

  std::int32_t nextId_ = -1;
};

TEST_F(ExportTest, EveryTableIsAFileAsShowPrintsIt) {
  ASSERT_EQ(Run({"export", "x.db", "new/folder"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "new/folder/Shop.csv\nnew/folder/50%25.csv\n");
  EXPECT_EQ(err_, "");
  EXPECT_EQ(TextOf("new/folder/Shop.csv"), "KY_ID,TX_NOTES\r\nb,\"Zoé, \"\"x\"\"\"\r\na,\r\n");
  EXPECT_EQ(TextOf("new/folder/50%25.csv"), "N\r\n1\r\n");
  EXPECT_EQ(files_.List("new/folder").size(), 2U);
}

TEST_F(ExportTest, FolderWithASeparatorAtItsEndIsTheSameFolder) {
  ASSERT_EQ(Run({"export", "x.db", "out\\"}), kSucceeded) << err_;
  EXPECT_TRUE(files_.FileExists("out/Shop.csv"));
}

TEST_F(ExportTest, FilesThatExistAreReplacedWithForceOnly) {
  Put("out/50%25.csv", "old");
  EXPECT_EQ(Run({"export", "x.db", "out"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"out/50%25.csv\" exists; --force replaces it\n");
  EXPECT_EQ(TextOf("out/50%25.csv"), "old");
  EXPECT_FALSE(files_.FileExists("out/Shop.csv"));
  EXPECT_EQ(Run({"export", "x.db", "out", "--force"}), kSucceeded) << err_;
  EXPECT_EQ(TextOf("out/50%25.csv"), "N\r\n1\r\n");
}

TEST_F(ExportTest, LinkedTablesAndQueriesAreNamedAndLeftOut) {
  AddObject("Sales", 5);
  AddObject("Far", 6);
  AddObject("~sq_form", 5);
  AddObject("Main", -32768);
  ASSERT_EQ(Run({"export", "x.db", "out"}), kSucceeded);
  EXPECT_EQ(err_, "mvtool: not exported: query \"Sales\"\nmvtool: not exported: linked table \"Far\"\n");
  EXPECT_EQ(files_.List("out").size(), 2U);
}

TEST_F(ExportTest, AnotherReaderIsNoHindrance) {
  const auto reader = jet::Database::Open(files_, "x.db", jet::PageFile::Mode::ReadOnly);
  EXPECT_EQ(Run({"export", "x.db", "out"}), kSucceeded) << err_;
}

TEST_F(ExportTest, TableThatCannotBeReadDoesNotKeepTheOthersBack) {
  AddObject("Broken", 1);
  EXPECT_EQ(Run({"export", "x.db", "out"}), kOperationFailed);
  EXPECT_TRUE(err_.starts_with("mvtool: not exported: table \"Broken\": ")) << err_;
  EXPECT_TRUE(err_.ends_with("mvtool: 1 of 3 tables were not exported\n")) << err_;
  EXPECT_EQ(files_.List("out").size(), 2U);
}

TEST_F(ExportTest, FullDiskEndsItAndLeavesNoPartOfATable) {
  files_.CreateFolders("out");
  files_.FailWrite(3);  // a table is one write and one replacement
  EXPECT_EQ(Run({"export", "x.db", "out"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: out/50%25.csv: Disk full\n");
  EXPECT_EQ(files_.List("out"), std::vector<std::string>{"Shop.csv"});
}

TEST_F(ExportTest, FileInPlaceOfTheFolderFails) {
  Put("out", "x");
  EXPECT_EQ(Run({"export", "x.db", "out"}), kOperationFailed);
  EXPECT_TRUE(err_.starts_with("mvtool: ")) << err_;
  EXPECT_EQ(TextOf("out"), "x");
}

}  // namespace
}  // namespace mv::tool
