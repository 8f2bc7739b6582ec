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
