#include <gtest/gtest.h>

#include <string>

#include "jet/Database.h"
#include "support/CommandTest.h"

namespace mv::tool {
namespace {

constexpr std::string_view kEverything = R"({"tables":[
  {"name":"Shop","columns":[
     {"name":"ID","type":"Long","autonumber":true},{"name":"B","type":"Boolean"},{"name":"BY","type":"Byte"},
     {"name":"I","type":"Integer"},{"name":"CU","type":"Currency"},{"name":"S","type":"Single"},
     {"name":"D","type":"Double"},{"name":"DT","type":"DateTime"},{"name":"BI","type":"Binary","size":8},
     {"name":"T","type":"Text","size":20,"compressed":false},{"name":"M","type":"Memo"},{"name":"O","type":"Ole"},
     {"name":"G","type":"Guid"},{"name":"DE","type":"Decimal","precision":10,"scale":3}],
   "indexes":[{"name":"PrimaryKey","columns":["ID"],"primary":true},
     {"name":"Second","columns":[{"name":"T","descending":true},"I"],"unique":true,"ignoreNulls":true},
     {"name":"Third","columns":["D"],"required":true}]},
  {"name":"Visit","columns":[{"name":"SHOP","type":"Long"},{"name":"OTHER","type":"Text","size":20},{"name":"N","type":"Integer"}]}],
 "relations":[
  {"name":"ShopVisit","table":"Visit","columns":["SHOP"],"references":"Shop","referencedColumns":["ID"],
   "onUpdate":"cascade","onDelete":"setNull"},
  {"name":"ShopOther","table":"Visit","columns":["OTHER","N"],"references":"Shop","referencedColumns":["T","I"],
   "onDelete":"cascade"}]})";

class SchemaTest : public testing::CommandTest {};

TEST_F(SchemaTest, ADatabaseMadeOfASchemaHasThatSchema) {
  Create("a.db", kEverything);
  ASSERT_EQ(Run({"schema", "a.db"}), kSucceeded) << err_;
  const std::string schema = out_;
  EXPECT_NE(schema.find(R"({"name":"ShopOther","table":"Visit","columns":["OTHER","N"],"references":"Shop",)"
                        R"("referencedColumns":["T","I"],"onDelete":"cascade"})"),
            std::string::npos)
      << schema;
  EXPECT_NE(schema.find(R"("onUpdate":"cascade","onDelete":"setNull")"), std::string::npos) << schema;
  Create("b.db", schema);
  ASSERT_EQ(Run({"schema", "b.db", "--json"}), kSucceeded) << err_;
  EXPECT_EQ(out_, schema);
  EXPECT_EQ(err_, "");
}

TEST_F(SchemaTest, AnEmptyDatabaseHasAnEmptySchema) {
  Create("a.db", R"({"tables":[]})");
  ASSERT_EQ(Run({"schema", "a.db"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "{\"tables\":[],\n\"relations\":[]}\n");
}

TEST_F(SchemaTest, SqlHasTheStatementsThatMakeTheDatabase) {
  Create("a.db", kEverything);
  ASSERT_EQ(Run({"schema", "--sql", "a.db"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "CREATE TABLE [Shop] (\n  [ID] COUNTER,\n  [B] BIT,\n  [BY] BYTE,\n  [I] SHORT,\n  [CU] CURRENCY,\n"
            "  [S] REAL,\n  [D] DOUBLE,\n  [DT] DATETIME,\n  [BI] VARBINARY(8),\n  [T] TEXT(20),\n"
            "  [M] MEMO WITH COMPRESSION,\n  [O] LONGBINARY,\n  [G] GUID,\n  [DE] DECIMAL(10, 3)\n);\n"
            "CREATE INDEX [PrimaryKey] ON [Shop] ([ID]) WITH PRIMARY;\n"
            "CREATE UNIQUE INDEX [Second] ON [Shop] ([T] DESC, [I]) WITH IGNORE NULL;\n"
            "CREATE INDEX [Third] ON [Shop] ([D]) WITH DISALLOW NULL;\n"
            "CREATE TABLE [Visit] (\n  [SHOP] LONG,\n  [OTHER] TEXT(20) WITH COMPRESSION,\n  [N] SHORT\n);\n"
            "ALTER TABLE [Visit] ADD CONSTRAINT [ShopVisit]\n  FOREIGN KEY ([SHOP]) REFERENCES [Shop] ([ID])"
            " ON UPDATE CASCADE ON DELETE SET NULL;\n"
            "ALTER TABLE [Visit] ADD CONSTRAINT [ShopOther]\n  FOREIGN KEY ([OTHER], [N]) REFERENCES [Shop] ([T], [I])"
            " ON DELETE CASCADE;\n");
}

constexpr std::string_view kWithProperties =
    R"json({"tables":[
{"name":"Shop","validationRule":"[N]<100 Or [K]=\"x\"","validationText":"too\r\nmany","description":"All shops","columns":[)json"
    R"json({"name":"K","type":"Text","size":20,"compressed":true,"required":true,"allowZeroLength":false},)json"
    R"json({"name":"N","type":"Long","defaultValue":"=1+1","validationRule":">0","validationText":"More!",)json"
    R"json("description":"How many","caption":"Number","format":"0.0"},)json"
    R"json({"name":"D","type":"DateTime","required":true,"defaultValue":"Now()"}],"indexes":[]}],
"relations":[]}
)json";

TEST_F(SchemaTest, PropertiesAreInTheJsonAndMakeADatabaseThatKeepsThem) {
  Create("a.db", kWithProperties);
  ASSERT_EQ(Run({"schema", "a.db"}), kSucceeded) << err_;
  EXPECT_EQ(out_, kWithProperties);
  EXPECT_EQ(err_, "");
  ASSERT_EQ(Run({"show", "a.db", "shop", "--schema"}), kSucceeded) << err_;
  EXPECT_NE(out_.find(R"("caption":"Number")"), std::string::npos) << out_;
  EXPECT_EQ(Run({"apply", "a.db", "Shop"}, R"({"op":"insert","row":{"K":"a","N":0}})"), kOperationFailed);
  EXPECT_NE(err_.find("More!"), std::string::npos) << err_;
  ASSERT_EQ(Run({"apply", "a.db", "Shop"}, R"({"op":"insert","row":{"K":"a"}})"), kSucceeded) << err_;
  EXPECT_NE(Shown("a.db", "Shop").find(R"("N":2)"), std::string::npos) << out_;
}

TEST_F(SchemaTest, PropertiesAreInTheSqlWhereItHasAPlaceAndBeforeItWhereItHasNone) {
  Create("a.db", kWithProperties);
  ASSERT_EQ(Run({"schema", "a.db", "--sql"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "-- [Shop] validation rule: [N]<100 Or [K]=\"x\"\n"
            "-- [Shop] validation text: too  many\n"
            "-- [Shop] description: All shops\n"
            "-- [Shop].[K] allow zero length: no\n"
            "-- [Shop].[N] validation rule: >0\n"
            "-- [Shop].[N] validation text: More!\n"
            "-- [Shop].[N] description: How many\n"
            "-- [Shop].[N] caption: Number\n"
            "-- [Shop].[N] format: 0.0\n"
            "CREATE TABLE [Shop] (\n  [K] TEXT(20) WITH COMPRESSION NOT NULL,\n  [N] LONG DEFAULT 1+1,\n"
            "  [D] DATETIME DEFAULT Now() NOT NULL\n);\n");
}

TEST_F(SchemaTest, APropertyThatTheColumnsTypeLacksIsAMistake) {
  Put("s.json", R"({"tables":[{"name":"T","columns":[{"name":"N","type":"Long","allowZeroLength":false}]}]})");
  EXPECT_EQ(Run({"create", "b.db", "s.json"}), kOperationFailed);
  EXPECT_NE(err_.find("has no \"allowZeroLength\""), std::string::npos) << err_;
}

TEST_F(SchemaTest, ADamagedPropertyListIsNamedAndTheRestIsShown) {
  Create("a.db", kWithProperties);
  {
    const auto database = jet::Database::Open(files_, "a.db", jet::PageFile::Mode::ReadWrite);
    jet::Table& objects = database->OpenTable("MSysObjects");
    const std::size_t lists[] = {*objects.Definition().PositionOf(std::string_view("LvProp"))};
    const std::size_t name = *objects.Definition().PositionOf(std::string_view("Name"));
    for (auto row = objects.First(); row; row = objects.Next(*row)) {
      if (objects.ReadRow(*row)[name] != Value(std::string("Shop"))) continue;
      objects.Update(*row, lists, std::vector<Value>{Bytes{'M', 'R', '2', 0, 1}});
    }
    database->Commit();
  }
  ASSERT_EQ(Run({"schema", "a.db"}), kSucceeded) << err_;
  EXPECT_TRUE(out_.starts_with("{\"tables\":[\n{\"name\":\"Shop\",\"columns\":")) << out_;
  EXPECT_TRUE(err_.starts_with("mvtool: not in the schema: properties of table \"Shop\": ")) << err_;
}

TEST_F(SchemaTest, RelationsThatAreNotEnforcedAreNamedAndLeftOut) {
  Create("a.db", kEverything);
  {
    const auto database = jet::Database::Open(files_, "a.db", jet::PageFile::Mode::ReadWrite);
    jet::Table& relations = database->OpenTable("MSysRelationships");
    const std::size_t bits[] = {*relations.Definition().PositionOf(std::string_view("grbit"))};
    for (auto row = relations.First(); row; row = relations.Next(*row)) {
      relations.Update(*row, bits, std::vector<Value>{jet::relation_bits::kNotEnforced});
    }
    database->Commit();
  }
  ASSERT_EQ(Run({"schema", "a.db"}), kSucceeded) << err_;
  EXPECT_TRUE(out_.ends_with("\"relations\":[]}\n")) << out_;
  EXPECT_EQ(err_,
            "mvtool: not in the schema: relation \"ShopVisit\", which is not enforced\n"
            "mvtool: not in the schema: relation \"ShopOther\", which is not enforced\n");
}

TEST_F(SchemaTest, ATableFileHasTheLineThatMakeReads) {
  const std::string line = R"({"name":"T","creator":"BRND","fields":[{"name":"A","type":1},{"name":"B","type":5}]})"
                           "\n";
  ASSERT_EQ(Run({"make", "a.pdb"}, line), kSucceeded) << err_;
  ASSERT_EQ(Run({"schema", "a.pdb"}), kSucceeded) << err_;
  EXPECT_EQ(out_, line);
  ASSERT_EQ(Run({"schema", "a.pdb", "--sql"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "CREATE TABLE [T] (\n  [A] BYTE,\n  [B] MEMO WITH COMPRESSION\n);\n");
}

TEST_F(SchemaTest, OneFormAtATime) {
  Create("a.db", kEverything);
  EXPECT_EQ(Run({"schema", "a.db", "--sql", "--json"}), kNotUnderstood);
}

}  // namespace
}  // namespace mv::tool
