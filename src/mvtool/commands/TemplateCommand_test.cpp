#include <gtest/gtest.h>

#include "jet/Database.h"
#include "support/CommandTest.h"
#include "support/ExpectSound.h"
#include "support/Hex.h"
#include "support/JetDatabase.h"

namespace mv::tool {
namespace {

constexpr std::string_view kSchema = R"({"tables":[
  {"name":"Shop",
   "columns":[
     {"name":"ID","type":"Long","autonumber":true},{"name":"KY","type":"Text","size":20,"compressed":false},
     {"name":"B","type":"Boolean"},{"name":"BY","type":"Byte"},{"name":"I","type":"Integer"},
     {"name":"CU","type":"Currency"},{"name":"S","type":"Single"},{"name":"D","type":"Double"},
     {"name":"DT","type":"DateTime"},{"name":"BI","type":"Binary","size":8},{"name":"O","type":"Ole"},
     {"name":"M","type":"Memo"},{"name":"G","type":"Guid"},
     {"name":"DE","type":"Decimal","precision":10,"scale":3}],
   "indexes":[
     {"name":"PrimaryKey","columns":["ID"],"primary":true},
     {"name":"Two","columns":[{"name":"CU","descending":true},"KY"],"unique":true,"ignoreNulls":true},
     {"name":"Day","columns":["DT"],"required":true}],
   "rows":[{"KY":"a","DT":"2024-05-17","M":"memo"},{"KY":"b","DT":"2024-05-18"}]},
  {"name":"Empty","columns":[{"name":"N","type":"Long"}]}]})";

class TemplateTest : public testing::CommandTest {
 protected:
  void SetUp() override { Create("x.db", kSchema); }

  std::string SchemaOf(const std::string& path, const std::string& table) {
    EXPECT_EQ(Run({"show", path, table, "--schema"}), kSucceeded) << err_;
    return out_;
  }
};

TEST_F(TemplateTest, TablesColumnsAndIndexesAreCopiedWithoutRows) {
  ASSERT_EQ(Run({"template", "x.db", "_20"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "");
  EXPECT_EQ(err_, "");
  Run({"list", "_20"});
  EXPECT_EQ(out_, "Shop\nEmpty\n");
  for (const char* table : {"Shop", "Empty"}) {
    EXPECT_EQ(SchemaOf("_20", table), SchemaOf("x.db", table));
    EXPECT_EQ(Shown("_20", table), "");
  }
}

TEST_F(TemplateTest, TemplateOfATemplateIsTheSameFile) {
  ASSERT_EQ(Run({"template", "x.db", "one"}), kSucceeded) << err_;
  ASSERT_EQ(Run({"template", "one", "two"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("one"), files_.Content("two"));
}

TEST_F(TemplateTest, CreationDateIsThatOfTheClock) {
  ASSERT_EQ(Run({"template", "x.db", "one"}), kSucceeded) << err_;
  clock_ = testing::FakeClock({CivilTime{2031, 2, 3, 4, 5, 6}});
  ASSERT_EQ(Run({"template", "x.db", "two"}), kSucceeded) << err_;
  Run({"show", "two", "MSysObjects", "--csv"});
  EXPECT_NE(out_.find("2031-02-03T04:05:06"), std::string::npos);
  EXPECT_NE(files_.Content("one"), files_.Content("two"));
}

TEST_F(TemplateTest, AutonumbersStartAnew) {
  ASSERT_EQ(Run({"template", "x.db", "_20"}), kSucceeded) << err_;
  ASSERT_EQ(Run({"apply", "_20", "Shop"}, R"({"op":"insert","row":{"KY":"z","DT":"2024-05-17"}})"), kSucceeded) << err_;
  EXPECT_TRUE(Shown("_20", "Shop").starts_with("{\"ID\":1,"));
}

TEST_F(TemplateTest, PropertiesAreCarriedOver) {
  const Bytes properties = testing::FromHex(
      "4D 52 32 00 | 18 00 00 00 80 00 | 10 00 \"Required\""
      "1B 00 00 00 01 00 | 0C 00 00 00 06 00 \"Tip\" | 09 00 01 01 00 00 01 00 01");
  {
    const auto database = jet::Database::Create(files_, "p.db", clock_.Now());
    jet::TableSpec design = testing::JetTable("T").Text("Tip", 20).Column("G", jet::ColumnType::Guid).Spec();
    design.columns[1].guidAutonumber = true;
    design.properties = properties;
    database->CreateTable(design, clock_.Now());
    database->Commit();
  }
  ASSERT_EQ(Run({"template", "p.db", "_20"}), kSucceeded) << err_;
  const auto copy = jet::Database::Open(files_, "_20", jet::PageFile::Mode::ReadOnly);
  EXPECT_EQ(copy->PropertyList(copy->Objects().back()), properties);
  EXPECT_TRUE(copy->OpenTable("T").Definition().columns[1].IsGuidAutonumber());
}

TEST_F(TemplateTest, OtherObjectsAreNamedAndLeftOut) {
  {
    const auto database = jet::Database::Open(files_, "x.db", jet::PageFile::Mode::ReadWrite);
    jet::Table& objects = database->OpenTable("MSysObjects");
    std::int32_t id = -1;
    for (const auto& [name, type] : std::vector<std::pair<std::string, std::int16_t>>{
             {"Far", 4}, {"Sales", 5}, {"ShopTrip", 8}, {"Main", -32768}, {"SummaryInfo", -32757}}) {
      std::vector<Value> values;
      for (const jet::Column& column : objects.Definition().columns) {
        values.push_back(Null{});
        if (column.name == "Id") values.back() = id--;
        if (column.name == "ParentId") values.back() = jet::kTablesId;
        if (column.name == "Name") values.back() = name;
        if (column.name == "Type") values.back() = type;
        if (column.name == "Flags") values.back() = std::int32_t{0};
      }
      objects.Insert(std::move(values));
    }
    database->Commit();
  }
  ASSERT_EQ(Run({"template", "x.db", "_20"}), kSucceeded);
  EXPECT_EQ(err_,
            "mvtool: not copied: linked table \"Far\"\nmvtool: not copied: query \"Sales\"\n"
            "mvtool: not copied: relation \"ShopTrip\"\nmvtool: not copied: form \"Main\"\n");
  Run({"template", "_20", "again"});
  EXPECT_EQ(err_, "");
}

TEST_F(TemplateTest, OldFileIsReplacedWithForceOnly) {
  Put("_20", "old");
  EXPECT_EQ(Run({"template", "x.db", "_20"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"_20\" exists; --force replaces it\n");
  EXPECT_EQ(TextOf("_20"), "old");
  EXPECT_EQ(Run({"template", "x.db", "_20", "--force"}), kSucceeded) << err_;
  EXPECT_EQ(SchemaOf("_20", "Shop"), SchemaOf("x.db", "Shop"));
}

TEST_F(TemplateTest, DatabaseOverItselfIsRefused) {
  const Bytes before = files_.Content("x.db");
  EXPECT_EQ(Run({"template", "x.db", "x.db", "--force"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: Could not use 'x.db'; file already in use.\n");
  EXPECT_EQ(files_.Content("x.db"), before);
}

TEST_F(TemplateTest, TextOfAnotherSortOrderIsGeneralInTheCopyAndSaysSo) {
  // The column block of KY: type Text, 1625, id 1, ..., then the sort order's language and version.
  Bytes image = files_.Content("x.db");
  const Bytes block = testing::FromHex("0A 59 06 00 00 01 00 00 00 01 00 09 04");
  const auto at = std::search(image.begin(), image.end(), block.begin(), block.end());
  ASSERT_NE(at, image.end());
  *(at + 11) = 0x1A;
  files_.Put("x.db", image);
  ASSERT_EQ(Run({"template", "x.db", "_20"}), kSucceeded);
  EXPECT_EQ(err_, "mvtool: table \"Shop\": text is sorted by the General order in the copy\n");
  EXPECT_EQ(Run({"apply", "_20", "Shop"}, R"({"op":"insert","row":{"KY":"z","DT":"2024-05-17"}})"), kSucceeded) << err_;
}

TEST_F(TemplateTest, TemplateIsSound) {
  ASSERT_EQ(Run({"template", "x.db", "_20"}), kSucceeded) << err_;
  testing::ExpectSound(files_.Content("_20"));
}

}  // namespace
}  // namespace mv::tool
