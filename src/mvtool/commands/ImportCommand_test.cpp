#include <gtest/gtest.h>

#include <string>

#include "support/CommandTest.h"

namespace mv::tool {
namespace {

constexpr std::string_view kSchema = R"({"tables":[
  {"name":"Shop",
   "columns":[{"name":"KY_ID","type":"Text","size":5},{"name":"NM","type":"Long"},{"name":"TX","type":"Memo"},
              {"name":"DT","type":"DateTime"},{"name":"BL","type":"Boolean"}],
   "indexes":[{"name":"PrimaryKey","columns":["KY_ID"],"primary":true}],
   "rows":[{"KY_ID":"a","NM":1,"TX":"one","BL":true},{"KY_ID":"b","NM":2}]},
  {"name":"Keyless","columns":[{"name":"NM","type":"Long"}]},
  {"name":"brnd_Customer",
   "columns":[{"name":"ID","type":"Long"},{"name":"TX_NAME","type":"Text","size":20},{"name":"NM","type":"Long"}],
   "indexes":[{"name":"PrimaryKey","columns":["ID"],"primary":true}],
   "rows":[{"ID":1,"TX_NAME":"Smith","NM":5}]}]})";

class ImportTest : public testing::CommandTest {
 protected:
  void SetUp() override {
    Create("x.db", kSchema);
    before_ = files_.Content("x.db");
  }

  int Import(const std::string& csv, std::vector<std::string> options = {}, const std::string& table = "Shop") {
    Put("rows.csv", csv);
    std::vector<std::string> words = {"import", "x.db", table, "--csv", "rows.csv"};
    words.insert(words.end(), options.begin(), options.end());
    return Run(words);
  }
  void ExpectRefused(const std::string& csv, const std::string& message, std::vector<std::string> options = {}) {
    EXPECT_EQ(Import(csv, std::move(options)), kOperationFailed) << csv;
    EXPECT_EQ(err_, "mvtool: " + message + "\n");
    EXPECT_EQ(out_, "");
    EXPECT_EQ(files_.Content("x.db"), before_);
  }

  Bytes before_;
};

TEST_F(ImportTest, RowsAreAddedWithTheirValuesToTheMillisecond) {
  ASSERT_EQ(Import("\xEF\xBB\xBFky_id,TX,DT,BL\r\nc,\"two\r\nlines, "
                   "\"\"x\"\"\",2024-05-17T08:30:00.125,TRUE\r\nd,\"\",,false\r\n"),
            kSucceeded)
      << err_;
  EXPECT_EQ(out_, "2 inserted, 0 updated, 0 deleted\n");
  Run({"show", "--csv", "x.db", "Shop"});
  EXPECT_EQ(out_,
            "KY_ID,NM,TX,DT,BL\r\na,1,one,,true\r\nb,2,,,false\r\n"
            "c,,\"two\r\nlines, \"\"x\"\"\",2024-05-17T08:30:00.125,true\r\nd,,\"\",,false\r\n");
}

TEST_F(ImportTest, AnExportedTableComesBackTheSame) {
  Run({"show", "--csv", "x.db", "Shop"});
  const std::string csv = out_;
  Create("y.db", R"({"tables":[{"name":"Shop","columns":[{"name":"KY_ID","type":"Text","size":5},
    {"name":"NM","type":"Long"},{"name":"TX","type":"Memo"},{"name":"DT","type":"DateTime"},
    {"name":"BL","type":"Boolean"}]}]})");
  ASSERT_EQ(Run({"import", "y.db", "Shop", "--csv", "-"}, csv), kSucceeded) << err_;
  EXPECT_EQ(Shown("y.db", "Shop"), Shown("x.db", "Shop"));
}

TEST_F(ImportTest, AFailureAnywhereChangesNothingAndSaysWhere) {
  ExpectRefused("KY_ID,NM\nc,3\nd,four\n",
                "rows.csv: line 3, column 3: a number is wanted here, not \"four\". Table 'Shop', column 'NM'.");
  ExpectRefused(
      "KY_ID,NM\nc,3\na,4\n",
      "rows.csv: line 3: The changes you requested to the table were not successful because they would create "
      "duplicate values in the index, primary key, or relationship. Change the data in the field or fields that "
      "contain duplicate data, remove the index, or redefine the index to permit duplicate entries and try "
      "again. Table 'Shop', index 'PrimaryKey'.");
  ExpectRefused("KY_ID,XX\nc,3\n", "rows.csv: line 1, column 7: the table has no column \"XX\"");
}

TEST_F(ImportTest, UpdateGivesValuesToTheRowsOfTheKeyAndAddsTheOthers) {
  ASSERT_EQ(Import("NM,KY_ID\n7,A\n,b\n3,c\n", {"--update"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "1 inserted, 2 updated, 0 deleted\n");
  EXPECT_EQ(Shown("x.db", "Shop"),
            "{\"KY_ID\":\"A\",\"NM\":7,\"TX\":\"one\",\"DT\":null,\"BL\":true}\n"
            "{\"KY_ID\":\"b\",\"NM\":null,\"TX\":null,\"DT\":null,\"BL\":false}\n"
            "{\"KY_ID\":\"c\",\"NM\":3,\"TX\":null,\"DT\":null,\"BL\":false}\n");
}

TEST_F(ImportTest, ATableOfTheHandheldIsUpdatedByTheFieldThatRunsMatchBy) {
  ASSERT_EQ(Import("TX_NAME,NM\nsmith,6\n", {"--update"}, "brnd_Customer"), kSucceeded) << err_;
  EXPECT_EQ(Shown("x.db", "brnd_Customer"), "{\"ID\":1,\"TX_NAME\":\"smith\",\"NM\":6}\n");
}

TEST_F(ImportTest, UpdateNeedsAKeyInTheTableAndInTheFile) {
  EXPECT_EQ(Import("NM\n1\n", {"--update"}, "Keyless"), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: table \"Keyless\" has no primary key to find the rows to update by\n");
  ExpectRefused("NM\n1\n", "rows.csv: the key column \"KY_ID\" is missing", {"--update"});
}

TEST_F(ImportTest, ADryRunChangesNothing) {
  ASSERT_EQ(Import("KY_ID\nc\n", {"--dry-run"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "1 inserted, 0 updated, 0 deleted; not saved\n");
  EXPECT_EQ(files_.Content("x.db"), before_);
  ExpectRefused("KY_ID\nabcdef\n",
                "rows.csv: line 2: The field is too small to accept the amount of data you attempted to add. Try "
                "inserting or pasting "
                "less data. Table 'Shop', column 'KY_ID'.",
                {"--dry-run"});
}

TEST_F(ImportTest, TheFileMustBeNamedAndThere) {
  EXPECT_EQ(Run({"import", "x.db", "Shop"}), kNotUnderstood);
  EXPECT_EQ(Run({"import", "x.db", "Shop", "--csv", "no.csv"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: no.csv: File not found\n");
}

class MakeFromCsvTest : public testing::CommandTest {
 protected:
  void SetUp() override {
    Put("schema.jsonl", std::string(kFields) + "\n");
    ASSERT_EQ(
        Run({"make", "a.pdb"}, std::string(kFields) + "\n" +
                                   R"({"_attributes":64,"_uniqueId":7,"KY":"a","DT":"2024-05-17T08:30:00","BL":true})" +
                                   "\n" + R"({"_attributes":0,"_uniqueId":9,"KY":"é, \"x\"","BL":false})"),
        kSucceeded)
        << err_;
  }

  static constexpr std::string_view kFields =
      R"({"name":"a","creator":"TEST","fields":[{"name":"KY","type":5},{"name":"DT","type":7},{"name":"BL","type":6}]})";
};

TEST_F(MakeFromCsvTest, WhatShowPrintsMakesTheSameTableFile) {
  Run({"show", "--csv", "a.pdb"});
  const std::string csv = out_;
  Put("b.csv", csv);
  ASSERT_EQ(Run({"make", "b.pdb", "--csv", "b.csv", "--like", "a.pdb"}), kSucceeded) << err_;
  Run({"show", "--csv", "b.pdb"});
  EXPECT_EQ(out_, csv);
  Run({"show", "--schema", "b.pdb"});
  EXPECT_EQ(
      out_,
      R"({"name":"b","creator":"TEST","fields":[{"name":"KY","type":5},{"name":"DT","type":7},{"name":"BL","type":6}]})"
      "\n");
}

TEST_F(MakeFromCsvTest, ASchemaFileGivesTheFieldsAndWhatIsLeftOutIsZero) {
  ASSERT_EQ(Run({"make", "c.pdb", "--csv", "-", "--schema", "schema.jsonl"}, "BL,KY\ntrue,k\n,\n"), kSucceeded) << err_;
  Run({"show", "c.pdb"});
  EXPECT_EQ(out_,
            "{\"_attributes\":0,\"_uniqueId\":1,\"KY\":\"k\",\"DT\":\"1904-01-01T00:00:00\",\"BL\":true}\n"
            "{\"_attributes\":0,\"_uniqueId\":2,\"KY\":\"\",\"DT\":\"1904-01-01T00:00:00\",\"BL\":false}\n");
}

TEST_F(MakeFromCsvTest, MistakesAreNamedAndMakeNoFile) {
  EXPECT_EQ(Run({"make", "c.pdb", "--csv", "-", "--like", "a.pdb"}, "KY,DT\nk,2024-05-17T08:30:00.5\n"),
            kOperationFailed);
  EXPECT_EQ(err_,
            "mvtool: standard input: line 2, column 3: a date to the second is wanted here, not "
            "\"2024-05-17T08:30:00.5\". Table 'c', column 'DT'.\n");
  EXPECT_EQ(Run({"make", "c.pdb", "--csv", "-", "--like", "a.pdb"}, "KY,DT\nk,1850-01-01\n"), kOperationFailed);
  EXPECT_TRUE(err_.starts_with("mvtool: standard input: line 2: ")) << err_;
  EXPECT_EQ(Run({"make", "c.pdb", "--csv", "-", "--like", "a.pdb"}, "_attributes\n256\n"), kOperationFailed);
  EXPECT_FALSE(files_.FileExists("c.pdb"));
}

TEST_F(MakeFromCsvTest, CsvGoesWithOneOfLikeAndSchema) {
  EXPECT_EQ(Run({"make", "c.pdb", "--csv", "-"}, "KY\n"), kNotUnderstood);
  EXPECT_EQ(Run({"make", "c.pdb", "--csv", "-", "--like", "a.pdb", "--schema", "schema.jsonl"}, "KY\n"),
            kNotUnderstood);
  EXPECT_EQ(Run({"make", "c.pdb", "--like", "a.pdb"}, std::string(kFields)), kNotUnderstood);
}

}  // namespace
}  // namespace mv::tool
