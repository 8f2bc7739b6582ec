#include <gtest/gtest.h>

#include <string>

#include "support/CommandTest.h"

namespace mv::tool {
namespace {

constexpr int kSame = 0;
constexpr int kDifferent = 1;
constexpr int kFailed = 3;

class DiffTest : public testing::CommandTest {
 protected:
  /// A database with the table Shop of these rows.
  void Shop(const std::string& path, const std::string& rows, const std::string& index = kPrimaryKey) {
    Create(path, R"({"tables":[{"name":"Shop","columns":[{"name":"K","type":"Text","size":9},{"name":"N","type":"Long"},
      {"name":"T","type":"Memo"}],"indexes":[)" +
                     index + R"(],"rows":[)" + rows + "]}]}");
  }
  int Diff(const std::string& left, const std::string& right, std::vector<std::string> options = {}) {
    std::vector<std::string> words = {"diff", left, right};
    words.insert(words.end(), options.begin(), options.end());
    return Run(words);
  }

  static constexpr const char* kPrimaryKey = R"({"name":"P","columns":["K"],"primary":true})";
};

TEST_F(DiffTest, TheSameRowsInAnotherOrderAreTheSame) {
  Shop("a.db", R"({"K":"a","N":1},{"K":"b","N":2})");
  Shop("b.db", R"({"K":"b","N":2},{"K":"a","N":1})");
  EXPECT_EQ(Diff("a.db", "b.db"), kSame) << err_;
  EXPECT_EQ(out_, "");
}

TEST_F(DiffTest, RowsAreMatchedByThePrimaryKeyWithoutRegardToCase) {
  Shop("a.db", R"({"K":"a","N":1,"T":"x"},{"K":"b","N":2},{"K":"c","N":3})");
  Shop("b.db", R"({"K":"B","N":null},{"K":"c","N":3},{"K":"d","N":4})");
  EXPECT_EQ(Diff("a.db", "b.db"), kDifferent) << err_;
  EXPECT_EQ(out_,
            "Shop b: changed: K \"b\" -> \"B\", N 2 -> null\n"
            "Shop d: added: K \"d\", N 4, T null\n"
            "Shop a: deleted: K \"a\", N 1, T \"x\"\n"
            "Shop: +1 ~1 -1\n");
}

TEST_F(DiffTest, JsonHasTheWholeRows) {
  Shop("a.db", R"({"K":"a","N":1})");
  Shop("b.db", R"({"K":"a","N":2})");
  EXPECT_EQ(Diff("a.db", "b.db", {"--json"}), kDifferent) << err_;
  EXPECT_EQ(out_,
            "{\"table\":\"Shop\",\"key\":\"a\",\"what\":\"changed\",\"before\":{\"K\":\"a\",\"N\":1,\"T\":null},"
            "\"after\":{\"K\":\"a\",\"N\":2,\"T\":null}}\n"
            "{\"table\":\"Shop\",\"added\":0,\"changed\":1,\"deleted\":0}\n");
}

TEST_F(DiffTest, WithoutAKeyRowsAreEqualOrTheyAreNot) {
  Shop("a.db", R"({"K":"a","N":1},{"K":"a","N":1},{"K":"x"})", "");
  Shop("b.db", R"({"K":"a","N":1},{"K":"X"})", "");
  EXPECT_EQ(Diff("a.db", "b.db"), kDifferent) << err_;
  EXPECT_EQ(out_,
            "Shop: added: K \"X\", N null, T null\n"
            "Shop: deleted: K \"a\", N 1, T null\n"
            "Shop: deleted: K \"x\", N null, T null\n"
            "Shop: +1 ~0 -2\n");
}

TEST_F(DiffTest, AKeyOfSeveralColumnsAndOneOfSeveralRows) {
  const std::string index = R"({"name":"P","columns":["K","N"],"primary":true})";
  Shop("a.db", R"({"K":"a","N":1,"T":"x"},{"K":"a","N":2})", index);
  Shop("b.db", R"({"K":"a","N":2},{"K":"a","N":1,"T":"y"})", index);
  EXPECT_EQ(Diff("a.db", "b.db"), kDifferent) << err_;
  EXPECT_EQ(out_, "Shop a, 1: changed: T \"x\" -> \"y\"\nShop: +0 ~1 -0\n");
}

TEST_F(DiffTest, OfSeveralRowsWithOneKeyTheFirstIsComparedWithTheFirst) {
  const std::string table = R"({"tables":[{"name":"brnd_Fuel","columns":[{"name":"KY_RECID","type":"Text","size":9},
    {"name":"N","type":"Long"}],"rows":[)";
  Create("a.db", table + R"({"KY_RECID":"k","N":1},{"KY_RECID":"k","N":2},{"KY_RECID":"k","N":3}]}]})");
  Create("b.db", table + R"({"KY_RECID":"k","N":1},{"KY_RECID":"k","N":9}]}]})");
  EXPECT_EQ(Diff("a.db", "b.db"), kDifferent) << err_;
  EXPECT_EQ(out_,
            "brnd_Fuel k: changed: N 2 -> 9\n"
            "brnd_Fuel k: deleted: KY_RECID \"k\", N 3\n"
            "brnd_Fuel: +0 ~1 -1\n");
}

TEST_F(DiffTest, TablesAndColumnsThatOneSideAloneHasAreNamed) {
  Create("a.db", R"({"tables":[{"name":"Both","columns":[{"name":"A","type":"Long"},{"name":"X","type":"Long"}]},
    {"name":"Left","columns":[{"name":"A","type":"Long"}]}]})");
  Create("b.db", R"({"tables":[{"name":"Right","columns":[{"name":"A","type":"Long"}]},
    {"name":"both","columns":[{"name":"Y","type":"Long"},{"name":"a","type":"Long"}]}]})");
  EXPECT_EQ(Diff("a.db", "b.db"), kDifferent) << err_;
  EXPECT_EQ(out_,
            "Both: column X only in A\nBoth: column Y only in B\nBoth: +0 ~0 -0\n"
            "Left: only in A\nRight: only in B\n");
  EXPECT_EQ(Diff("a.db", "b.db", {"--json"}), kDifferent);
  EXPECT_EQ(
      out_,
      "{\"table\":\"Both\",\"column\":\"X\",\"onlyIn\":\"A\"}\n{\"table\":\"Both\",\"column\":\"Y\",\"onlyIn\":\"B\"}\n"
      "{\"table\":\"Both\",\"added\":0,\"changed\":0,\"deleted\":0}\n"
      "{\"table\":\"Left\",\"onlyIn\":\"A\"}\n{\"table\":\"Right\",\"onlyIn\":\"B\"}\n");
}

TEST_F(DiffTest, OneTableIsComparedAlone) {
  Create(
      "a.db",
      R"({"tables":[{"name":"S","columns":[{"name":"A","type":"Long"}]},{"name":"Left","columns":[{"name":"A","type":"Long"}]}]})");
  Create("b.db", R"({"tables":[{"name":"S","columns":[{"name":"A","type":"Long"}]}]})");
  EXPECT_EQ(Diff("a.db", "b.db", {"--table", "s"}), kSame) << err_;
  EXPECT_EQ(Diff("a.db", "b.db", {"--table", "Left"}), kFailed);
}

constexpr std::string_view kFuelFields =
    R"({"name":"brnd_Fuel","fields":[{"name":"KY_RECID","type":5},{"name":"DT","type":7},{"name":"N","type":3}]})"
    "\n";

TEST_F(DiffTest, ATableFileIsComparedWithADatabaseByWhatTheHandheldCanHold) {
  Create("a.db", R"({"tables":[{"name":"brnd_Fuel","columns":[{"name":"KY_RECID","type":"Text","size":9},
    {"name":"DT","type":"DateTime"},{"name":"N","type":"Long"}],"rows":[
    {"KY_RECID":"k1","DT":"2024-05-17T08:30:00.125"},{"KY_RECID":"\u0416","N":1},{"KY_RECID":"k3","N":1}]}]})");
  ASSERT_EQ(Run({"make", "f.pdb"}, std::string(kFuelFields) +
                                       R"({"_attributes":64,"KY_RECID":"K1","DT":"2024-05-17T08:30:00","N":0})"
                                       "\n"
                                       R"({"_attributes":0,"KY_RECID":"?","N":1})"
                                       "\n"
                                       R"({"_attributes":0,"KY_RECID":"k3","N":2})"),
            kSucceeded)
      << err_;
  EXPECT_EQ(Diff("a.db", "f.pdb"), kDifferent) << err_;
  EXPECT_EQ(out_,
            "brnd_Fuel k1: changed: KY_RECID \"k1\" -> \"K1\"\n"
            "brnd_Fuel k3: changed: N 1 -> 2\n"
            "brnd_Fuel: +0 ~2 -0\n");
  EXPECT_EQ(Diff("f.pdb", "a.db", {"--table", "brnd_Fuel"}), kDifferent) << err_;
  EXPECT_TRUE(out_.ends_with("brnd_Fuel k3: changed: N 2 -> 1\nbrnd_Fuel: +0 ~2 -0\n")) << out_;
}

TEST_F(DiffTest, OfTwoTableFilesTheFlagsCountAndTheUniqueIdsDoNot) {
  Run({"make", "a.pdb"}, std::string(kFuelFields) + R"({"_attributes":0,"_uniqueId":5,"KY_RECID":"a"})"
                                                    "\n"
                                                    R"({"_attributes":0,"_uniqueId":6,"KY_RECID":"b"})");
  Run({"make", "b.pdb"}, std::string(kFuelFields) + R"({"_attributes":0,"_uniqueId":9,"KY_RECID":"a"})"
                                                    "\n"
                                                    R"({"_attributes":128,"_uniqueId":6,"KY_RECID":"b"})");
  EXPECT_EQ(Diff("a.pdb", "b.pdb"), kDifferent) << err_;
  EXPECT_EQ(out_, "brnd_Fuel b: changed: _attributes 0 -> 128\nbrnd_Fuel: +0 ~1 -0\n");
  EXPECT_EQ(Diff("a.pdb", "a.pdb"), kSame);
  EXPECT_EQ(Diff("a.pdb", "b.pdb", {"--table", "brnd_Fuel"}), kNotUnderstood);
}

TEST_F(DiffTest, AFailureIsNoDifference) {
  Shop("a.db", "");
  EXPECT_EQ(Diff("a.db", "no.db"), kFailed);
  EXPECT_EQ(err_, "mvtool: no.db: File not found\n");
  EXPECT_EQ(Run({"diff", "a.db"}), kNotUnderstood);
}

}  // namespace
}  // namespace mv::tool
