#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "jet/Database.h"
#include "support/CommandTest.h"
#include "support/Hex.h"
#include "support/JetDatabase.h"

namespace mv::tool {
namespace {

constexpr std::string_view kSchema = R"({"tables":[
  {"name":"Shop",
   "columns":[{"name":"KY_ID","type":"Text","size":5},{"name":"NM","type":"Long"},{"name":"TX","type":"Memo"}],
   "indexes":[{"name":"PrimaryKey","columns":["KY_ID"],"primary":true}],
   "rows":[{"KY_ID":"a","NM":1,"TX":"one"},{"KY_ID":"b","NM":1,"TX":"ONE"},{"KY_ID":"c","TX":""}]},
  {"name":"All",
   "columns":[
     {"name":"ID","type":"Long","autonumber":true},{"name":"B","type":"Boolean"},{"name":"BY","type":"Byte"},
     {"name":"I","type":"Integer"},{"name":"CU","type":"Currency"},{"name":"S","type":"Single"},
     {"name":"D","type":"Double"},{"name":"DT","type":"DateTime"},{"name":"BI","type":"Binary","size":8},
     {"name":"T","type":"Text","size":20},{"name":"M","type":"Memo"},{"name":"O","type":"Ole"},
     {"name":"G","type":"Guid"},{"name":"DE","type":"Decimal","precision":10,"scale":3}]}]})";

class ApplyTest : public testing::CommandTest {
 protected:
  void SetUp() override {
    Create("x.db", kSchema);
    before_ = files_.Content("x.db");
  }

  int Apply(const std::string& lines, const std::string& table = "Shop") {
    return Run({"apply", "x.db", table}, lines);
  }
  void ExpectRefused(const std::string& lines, const std::string& message) {
    EXPECT_EQ(Apply(lines), kOperationFailed) << lines;
    EXPECT_EQ(err_, "mvtool: " + message + "\n");
    EXPECT_EQ(out_, "");
    EXPECT_EQ(files_.Content("x.db"), before_);
  }

  Bytes before_;
};

TEST_F(ApplyTest, InsertUpdateAndDeleteAreDoneInOrderAndCounted) {
  ASSERT_EQ(Apply("{\"op\":\"insert\",\"row\":{\"KY_ID\":\"d\",\"TX\":\"four\"}}\n\n"
                  "{\"op\":\"update\",\"where\":{\"KY_ID\":\"d\"},\"set\":{\"NM\":4}}\r\n"
                  "{\"op\":\"update\",\"where\":{\"KY_ID\":\"a\"},\"set\":{\"TX\":null,\"NM\":7}}\n"
                  "{\"where\":{\"KY_ID\":\"b\"},\"op\":\"delete\"}"),
            kSucceeded)
      << err_;
  EXPECT_EQ(out_, "1 inserted, 2 updated, 1 deleted\n");
  EXPECT_EQ(err_, "");
  EXPECT_EQ(Shown("x.db", "Shop"),
            "{\"KY_ID\":\"a\",\"NM\":7,\"TX\":null}\n{\"KY_ID\":\"c\",\"NM\":null,\"TX\":\"\"}\n"
            "{\"KY_ID\":\"d\",\"NM\":4,\"TX\":\"four\"}\n");
}

TEST_F(ApplyTest, ADateWithDecimalsIsKeptAndFoundByThem) {
  ASSERT_EQ(Apply("{\"op\":\"insert\",\"row\":{\"I\":1,\"DT\":\"2024-05-17T08:30:00\"}}\n"
                  "{\"op\":\"insert\",\"row\":{\"I\":2,\"DT\":\"2024-05-17T08:30:00.125\"}}\n"
                  "{\"op\":\"insert\",\"row\":{\"I\":3,\"DT\":\"2024-05-17T08:30:00.25\"}}\n"
                  "{\"op\":\"delete\",\"where\":{\"DT\":\"2024-05-17T08:30:00.125\"}}\n"
                  "{\"op\":\"delete\",\"where\":{\"DT\":\"2024-05-17T08:30:00\"}}\n",
                  "All"),
            kSucceeded)
      << err_;
  const std::string shown = Shown("x.db", "All");
  EXPECT_NE(shown.find("\"I\":3,"), std::string::npos) << shown;
  EXPECT_NE(shown.find("\"DT\":\"2024-05-17T08:30:00.25\""), std::string::npos) << shown;
  EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 1) << shown;
  EXPECT_EQ(Apply("{\"op\":\"update\",\"where\":{\"DT\":\"2024-05-17T08:30:00\"},\"set\":{\"I\":4}}\n", "All"),
            kSucceeded)
      << err_;
}

TEST_F(ApplyTest, NoLinesChangeNothing) {
  EXPECT_EQ(Apply("\n \n"), kSucceeded);
  EXPECT_EQ(out_, "0 inserted, 0 updated, 0 deleted\n");
  EXPECT_EQ(files_.Content("x.db"), before_);
}

TEST_F(ApplyTest, ColumnsLeftOutGetTheirDefaultValues) {
  {
    const auto database = jet::Database::Create(files_, "d.db", clock_.Now());
    jet::TableSpec design = testing::JetTable("T").Text("KY", 5).Column("NM", jet::ColumnType::Long).Spec();
    design.properties = testing::FromHex(
        "4D 52 32 00 | 20 00 00 00 80 00 | 18 00 \"DefaultValue\""
        "1A 00 00 00 01 00 | 0A 00 00 00 04 00 \"NM\" | 0A 00 01 0C 00 00 02 00 \"7\"");
    database->CreateTable(design, clock_.Now());
    database->Commit();
  }
  ASSERT_EQ(Run({"apply", "d.db", "T"},
                "{\"op\":\"insert\",\"row\":{\"KY\":\"a\"}}\n{\"op\":\"insert\",\"row\":{\"KY\":\"b\",\"NM\":null}}"),
            kSucceeded)
      << err_;
  EXPECT_EQ(Shown("d.db", "T"), "{\"KY\":\"a\",\"NM\":7}\n{\"KY\":\"b\",\"NM\":null}\n");
}

TEST_F(ApplyTest, ColumnNamesCompareWithoutRegardToCase) {
  ASSERT_EQ(Apply("{\"op\":\"update\",\"where\":{\"ky_id\":\"a\"},\"set\":{\"nm\":9}}"), kSucceeded) << err_;
  EXPECT_TRUE(Shown("x.db", "Shop").starts_with("{\"KY_ID\":\"a\",\"NM\":9,"));
}

TEST_F(ApplyTest, WhereTakesTheFirstRowStoredWhateverTheCase) {
  ASSERT_EQ(Apply("{\"op\":\"delete\",\"where\":{\"NM\":1,\"TX\":\"oNe\"}}"), kSucceeded) << err_;
  EXPECT_TRUE(Shown("x.db", "Shop").starts_with("{\"KY_ID\":\"b\""));
}

TEST_F(ApplyTest, NullInWhereFitsNullAndNoEmptyText) {
  ExpectRefused("{\"op\":\"delete\",\"where\":{\"TX\":null}}", "line 1: no row fits \"where\"");
  ASSERT_EQ(Apply("{\"op\":\"delete\",\"where\":{\"NM\":null,\"TX\":\"\"}}"), kSucceeded) << err_;
  EXPECT_EQ(Shown("x.db", "Shop").find("\"c\""), std::string::npos);
}

TEST_F(ApplyTest, LineThatFailsIsNamedAndNothingChanges) {
  const std::string good = "{\"op\":\"delete\",\"where\":{\"KY_ID\":\"a\"}}\n";
  ExpectRefused(good + "\n" + good, "line 3: no row fits \"where\"");
  ExpectRefused(good + "{\"op\":\"insert\",\"row\":{\"KY_ID\":\"toolong\"}}",
                "line 2: The field is too small to accept the amount of data you attempted to add. Try inserting or "
                "pasting less data. Table 'Shop', column 'KY_ID'.");
  EXPECT_EQ(Apply(good + "{\"op\":\"insert\",\"row\":{\"KY_ID\":\"B\"}}"), kOperationFailed);
  EXPECT_TRUE(err_.starts_with("mvtool: line 2: The changes you requested to the table were not successful")) << err_;
  EXPECT_EQ(files_.Content("x.db"), before_);
}

TEST_F(ApplyTest, KeepKeepsWhatCameBefore) {
  EXPECT_EQ(Run({"apply", "x.db", "Shop", "--keep"},
                "{\"op\":\"delete\",\"where\":{\"KY_ID\":\"a\"}}\n{\"op\":\"delete\",\"where\":{\"KY_ID\":\"a\"}}\n"
                "{\"op\":\"delete\",\"where\":{\"KY_ID\":\"b\"}}\n"),
            kOperationFailed);
  EXPECT_EQ(out_, "0 inserted, 0 updated, 1 deleted\n");
  EXPECT_EQ(err_, "mvtool: line 2: no row fits \"where\"\n");
  EXPECT_TRUE(Shown("x.db", "Shop").starts_with("{\"KY_ID\":\"b\""));
}

class LongApplyTest : public ApplyTest {
 protected:
  /// More lines than are read at once: each adds a row.
  static std::string ManyInserts(int first) {
    std::string lines;
    for (int i = first; i < first + kMany; ++i) lines += Insert(std::to_string(i));
    return lines;
  }
  static std::string Insert(const std::string& key) {
    return "{\"op\":\"insert\",\"row\":{\"KY_ID\":\"" + key + "\",\"TX\":\"a text\"}}\n";
  }
  void ExpectKept(const std::string& lines, int inserted, const std::string& message) {
    ExpectRefused(lines, message);
    EXPECT_EQ(Run({"apply", "x.db", "Shop", "--keep"}, lines), kOperationFailed);
    EXPECT_EQ(out_, std::to_string(inserted) + " inserted, 0 updated, 0 deleted\n");
    EXPECT_EQ(err_, "mvtool: " + message + "\n");
    const std::string shown = Shown("x.db", "Shop");
    EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), inserted + 3);
  }

  static constexpr int kMany = 1500;
};

TEST_F(LongApplyTest, LineThatCannotBeReadCountsBehindAllBeforeIt) {
  ExpectKept(ManyInserts(0) + "x\n" + ManyInserts(kMany), kMany,
             "line 1501, column 1: syntax error while parsing value - invalid literal");
}

TEST_F(LongApplyTest, LineThatCannotBeDoneComesBeforeOneThatCannotBeRead) {
  const std::string message =
      "line 1501: The field is too small to accept the amount of data you attempted to add. Try "
      "inserting or pasting less data. Table 'Shop', column 'KY_ID'.";
  ExpectKept(ManyInserts(0) + Insert("toolong") + "x\n" + ManyInserts(kMany), kMany, message);
}

TEST_F(LongApplyTest, LineThatCannotBeDoneEndsItWhateverComesAfter) {
  ExpectKept(Insert("1") + Insert("toolong") + ManyInserts(2) + "x\n", 1,
             "line 2: The field is too small to accept the amount of data you attempted to add. Try inserting or "
             "pasting less data. Table 'Shop', column 'KY_ID'.");
}

TEST_F(LongApplyTest, AllLinesAreDone) {
  EXPECT_EQ(Apply(ManyInserts(0) + ManyInserts(kMany)), kSucceeded) << err_;
  EXPECT_EQ(out_, "3000 inserted, 0 updated, 0 deleted\n");
}

TEST_F(ApplyTest, MistakesInALineAreNamedWithTheirPlace) {
  ExpectRefused("x", "line 1, column 1: syntax error while parsing value - invalid literal");
  ExpectRefused("[]", "line 1, column 1: an object is wanted here");
  ExpectRefused("{\"row\":{}}", "line 1, column 1: the member \"op\" is missing");
  ExpectRefused("\n{\"op\":\"frob\"}",
                "line 2, column 7: unknown op \"frob\"; there are \"insert\", \"update\" and \"delete\"");
  ExpectRefused("{\"op\":\"insert\",\"row\":{},\"where\":{}}", "line 1, column 33: unknown member \"where\"");
  ExpectRefused("{\"op\":\"update\",\"where\":{\"KY_ID\":\"a\"}}", "line 1, column 1: the member \"set\" is missing");
  ExpectRefused("{\"op\":\"delete\"}", "line 1, column 1: the member \"where\" is missing");
  ExpectRefused("{\"op\":\"delete\",\"where\":{}}", "line 1, column 24: a column that tells the row is missing");
  ExpectRefused("{\"op\":\"insert\",\"row\":{\"X\":1}}", "line 1, column 27: the table has no column \"X\"");
  ExpectRefused("{\"op\":\"delete\",\"where\":{\"NM\":1,\"nm\":2}}",
                "line 1, column 37: a second value for column \"nm\"");
  ExpectRefused("{\"op\":\"insert\",\"row\":{\"NM\":\"1\"}}",
                "line 1, column 28: a number is wanted here, not \"1\". Table 'Shop', column 'NM'.");
}

TEST_F(ApplyTest, EveryTypeRoundTripsThroughItsShownForm) {
  const std::string row =
      "{\"ID\":7,\"B\":true,\"BY\":255,\"I\":-32768,\"CU\":\"-922337203685477.5808\",\"S\":1.1754944e-38,"
      "\"D\":5e-324,\"DT\":\"0100-01-01T00:00:01\",\"BI\":\"00ff10\",\"T\":\"Z\u00FC\\u0001rich \\\"\","
      "\"M\":\"" +
      std::string(5000, 'm') + "\",\"O\":\"" + std::string(9000, 'a') +
      "\",\"G\":\"{01234567-89AB-CDEF-0123-456789ABCDEF}\",\"DE\":\"-1234567.125\"}";
  const std::string numbers =
      "{\"ID\":8,\"B\":false,\"BY\":0,\"I\":null,\"CU\":null,\"S\":\"NaN\",\"D\":\"-Infinity\",\"DT\":null,\"BI\":\"\","
      "\"T\":\"\",\"M\":\"\",\"O\":null,\"G\":null,\"DE\":\"0.000\"}";
  ASSERT_EQ(Apply("{\"op\":\"insert\",\"row\":" + row + "}\n{\"op\":\"insert\",\"row\":" + numbers + "}", "All"),
            kSucceeded)
      << err_;
  EXPECT_TRUE(Shown("x.db", "All") == row + "\n" + numbers + "\n");  // too long to be printed
  ASSERT_EQ(Apply("{\"op\":\"update\",\"where\":" + numbers +
                      ",\"set\":{\"BY\":5}}\n{\"op\":\"delete\",\"where\":" + row + "}",
                  "All"),
            kSucceeded)
      << err_;
  EXPECT_EQ(out_, "0 inserted, 1 updated, 1 deleted\n");
}

TEST_F(ApplyTest, NumberThatAColumnCannotHoldExactlyIsRefusedAndTheRowStays) {
  ASSERT_EQ(Apply("{\"op\":\"insert\",\"row\":{\"ID\":1,\"CU\":\"7.5\",\"DE\":\"1.5\",\"D\":0.5}}", "All"), kSucceeded)
      << err_;
  before_ = files_.Content("x.db");
  const auto refused = [&](const std::string& column, const std::string& number, const std::string& wish) {
    const std::string assigned = "{\"" + column + "\":" + number + "}";
    for (const std::string& line :
         {"{\"op\":\"update\",\"where\":{\"ID\":1},\"set\":" + assigned + "}",
          "{\"op\":\"insert\",\"row\":" + assigned + "}", "{\"op\":\"delete\",\"where\":" + assigned + "}"}) {
      EXPECT_EQ(Apply("{\"op\":\"update\",\"where\":{\"ID\":1},\"set\":{\"BY\":1}}\n" + line, "All"), kOperationFailed)
          << line;
      EXPECT_EQ(err_, "mvtool: line 2, column " + std::to_string(line.find(assigned) + column.size() + 5) + ": " +
                          wish + " is wanted here, not " + number + ". Table 'All', column '" + column + "'.\n");
      EXPECT_EQ(files_.Content("x.db"), before_);
    }
  };
  refused("CU", "12.50001", "a number with at most 4 decimals");
  refused("CU", "\"12.50001\"", "a number with at most 4 decimals");
  refused("CU", "9007199254740993", "a number within the column's range");
  refused("DE", "1.2345", "a number with at most 3 decimals");
  refused("DE", "12345678", "a number within the column's range");
  refused("BY", "256", "a whole number from 0 to 255");
  refused("I", "1.5", "a whole number from -32768 to 32767");
  refused("ID", "2147483648", "a whole number from -2147483648 to 2147483647");
  refused("S", "1e39", "a number within the column's range");
  refused("D", "1e-400", "a number within the column's range");
  ExpectRefused("{\"op\":\"delete\",\"where\":{\"D\":1e400}}", "line 1, column 29: 1e400 is out of range");
}

TEST_F(ApplyTest, NumberThatAColumnHoldsExactlyIsTakenHoweverItIsWritten) {
  ASSERT_EQ(
      Apply(
          "{\"op\":\"insert\",\"row\":{\"ID\":1E2,\"CU\":12.50000,\"DE\":9007.1990,\"I\":-0,\"D\":0.1,\"S\":16777217}}",
          "All"),
      kSucceeded)
      << err_;
  const std::string shown = Shown("x.db", "All");
  for (const char* const value :
       {"\"ID\":100,", "\"CU\":\"12.5000\"", "\"DE\":\"9007.199\"", "\"I\":0,", "\"D\":0.1,", "\"S\":16777216,"}) {
    EXPECT_NE(shown.find(value), shown.npos) << value << " in " << shown;
  }
}

TEST_F(ApplyTest, NewRowDrawsItsNumber) {
  ASSERT_EQ(
      Apply("{\"op\":\"insert\",\"row\":{}}\n{\"op\":\"delete\",\"where\":{\"ID\":1}}\n{\"op\":\"insert\",\"row\":{}}",
            "All"),
      kSucceeded)
      << err_;
  EXPECT_TRUE(Shown("x.db", "All").starts_with("{\"ID\":2,"));
}

TEST_F(ApplyTest, TablesOfTheSystemAndUnknownOnesAreRefused) {
  EXPECT_EQ(Apply("{\"op\":\"delete\",\"where\":{\"Name\":\"Shop\"}}", "MSysObjects"), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"MSysObjects\" is a table of the system\n");
  EXPECT_EQ(Apply("", "Nowhere"), kOperationFailed);
  EXPECT_EQ(files_.Content("x.db"), before_);
}

TEST_F(ApplyTest, RelationOfATableWithItselfTakesRowsAlong) {
  Create("x.db", R"({"tables":[{"name":"Part",
    "columns":[{"name":"KY","type":"Long"},{"name":"KY_OF","type":"Long"},{"name":"TX","type":"Text","size":9}],
    "indexes":[{"name":"PrimaryKey","columns":["KY"],"primary":true}],
    "rows":[{"KY":1,"TX":"a"},{"KY":2,"KY_OF":1,"TX":"b"},{"KY":3,"KY_OF":2,"TX":"c"},{"KY":4,"TX":"b"}]}],
    "relations":[{"name":"PartOf","table":"Part","columns":["KY_OF"],"references":"Part","referencedColumns":["KY"],
                  "onDelete":"cascade"}]})");
  before_ = files_.Content("x.db");
  EXPECT_EQ(Apply("{\"op\":\"update\",\"where\":{\"TX\":\"a\"},\"set\":{\"TX\":\"A\"}}\n"
                  "{\"op\":\"insert\",\"row\":{\"KY\":5,\"KY_OF\":9}}",
                  "Part"),
            kOperationFailed);
  EXPECT_TRUE(err_.starts_with("mvtool: line 2: ")) << err_;
  EXPECT_EQ(files_.Content("x.db"), before_);
  // The second line looks through the index of texts that the first one made.
  ASSERT_EQ(Apply("{\"op\":\"delete\",\"where\":{\"TX\":\"a\"}}\n{\"op\":\"delete\",\"where\":{\"TX\":\"b\"}}", "Part"),
            kSucceeded)
      << err_;
  EXPECT_EQ(Shown("x.db", "Part"), "");
}

TEST_F(ApplyTest, DatabaseThatSomebodyReadsIsInUse) {
  const auto reader = jet::Database::Open(files_, "x.db", jet::PageFile::Mode::ReadOnly);
  EXPECT_EQ(Apply(""), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: Could not use 'x.db'; file already in use.\n");
}

TEST_F(ApplyTest, FullDiskLeavesTheOldDatabase) {
  files_.FailWrite(1);
  EXPECT_EQ(Apply("{\"op\":\"delete\",\"where\":{\"KY_ID\":\"a\"}}"), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: Disk full\n");
  EXPECT_EQ(out_, "");
  EXPECT_EQ(files_.Content("x.db"), before_);
}

}  // namespace
}  // namespace mv::tool
