#include "mvtool/text/SchemaJson.h"

#include <gtest/gtest.h>

#include "mvtool/demo/SampleSchema.h"
#include "support/ExpectError.h"

namespace mv::tool {
namespace {

using jet::ColumnType;

std::vector<SchemaTable> Read(std::string_view text) {
  return SchemaFromJson(ParseJson(text)).tables;
}

std::vector<SchemaRelation> ReadRelations(const std::string& relations) {
  return SchemaFromJson(ParseJson("{\"tables\":[],\n\"relations\":[" + relations + "]}")).relations;
}

std::string MessageFor(std::string_view text) {
  return testing::ErrorOf([&] { Read(text); }).Description();
}

std::string JsonOf(const jet::TableSpec& table) {
  JsonWriter writer;
  WriteTableSpec(writer, table);
  return writer.Result();
}

TEST(SchemaRead, ColumnsAndIndexesTakeTheirMembers) {
  const std::vector<SchemaTable> tables = Read(R"({"tables":[{"name":"Shop","columns":[
      {"name":"A","type":"Text","size":20,"compressed":false},
      {"name":"B","type":"Decimal","precision":9,"scale":2},
      {"name":"C","type":"Long","autonumber":true}],
    "indexes":[{"name":"PrimaryKey","columns":["A"],"primary":true},
               {"name":"Two","columns":[{"name":"B","descending":true},"C"],"ignoreNulls":true}]}]})");
  ASSERT_EQ(tables.size(), 1u);
  const jet::TableSpec& design = tables[0].design;
  EXPECT_EQ(design.name, "Shop");
  EXPECT_EQ(design.columns[0].type, ColumnType::Text);
  EXPECT_EQ(design.columns[0].characters, 20);
  EXPECT_FALSE(design.columns[0].compressed);
  EXPECT_EQ(design.columns[1].precision, 9);
  EXPECT_EQ(design.columns[1].scale, 2);
  EXPECT_TRUE(design.columns[2].autonumber);
  EXPECT_FALSE(design.indexes[1].columns[0].ascending);
  EXPECT_EQ(design.indexes[1].columns[0].column, "B");
  EXPECT_TRUE(design.indexes[1].columns[1].ascending);
  EXPECT_TRUE(design.indexes[1].ignoreNulls);
  EXPECT_FALSE(design.indexes[1].unique);
}

TEST(SchemaRead, PrimaryIndexIsUniqueAndRequiredWithoutSayingSo) {
  const std::vector<SchemaTable> tables = Read(R"({"tables":[{"name":"T","columns":[{"name":"A","type":"Long"}],
      "indexes":[{"name":"PrimaryKey","columns":["A"],"primary":true}]}]})");
  EXPECT_TRUE(tables[0].design.indexes[0].unique);
  EXPECT_TRUE(tables[0].design.indexes[0].required);
}

TEST(SchemaRead, RowsAreConvertedByTheirColumnsAndKeepTheirPlace) {
  const std::vector<SchemaTable> tables = Read(
      "{\"tables\":[{\"name\":\"T\",\"columns\":[{\"name\":\"A\",\"type\":\"Byte\"},{\"name\":\"B\",\"type\":"
      "\"Currency\"}],\n"
      "\"rows\":[{\"B\":\"1.5\",\"A\":7},\n {}]}]}");
  ASSERT_EQ(tables[0].rows.size(), 2u);
  EXPECT_EQ(tables[0].rows[0].values[0], Value(std::uint8_t{7}));
  EXPECT_EQ(tables[0].rows[0].values[1], Value(Currency{15000}));
  EXPECT_EQ(tables[0].rows[1].values[0], Value(Null{}));
  EXPECT_EQ(tables[0].rows[1].position.line, 3u);
  EXPECT_EQ(tables[0].rows[1].position.column, 2u);
}

TEST(SchemaRead, MistakesAreNamedWithTheirPlace) {
  EXPECT_EQ(MessageFor("{}"), "line 1, column 1: the member \"tables\" is missing");
  EXPECT_EQ(MessageFor(R"({"tables":[],"x":1})"), "line 1, column 18: unknown member \"x\"");
  EXPECT_EQ(MessageFor(R"({"tables":[{"name":"T","columns":[{"name":"A","type":"text"}]}]})"),
            "line 1, column 54: unknown column type \"text\"");
  EXPECT_EQ(MessageFor(R"({"tables":[{"name":"T","columns":[{"name":"A","type":"RawBlock"}]}]})"),
            "line 1, column 54: unknown column type \"RawBlock\"");
  EXPECT_EQ(MessageFor(R"({"tables":[{"name":"T","columns":[{"name":"A","type":"Text"}]}]})"),
            "line 1, column 35: the member \"size\" is missing");
  EXPECT_EQ(MessageFor(R"({"tables":[{"name":"T","columns":[{"name":"A","type":"Text","size":256}]}]})"),
            "line 1, column 68: a whole number from 1 to 255 is wanted here");
  EXPECT_EQ(MessageFor(R"({"tables":[{"name":"T","columns":[{"name":"A","type":"Long","size":4}]}]})"),
            "line 1, column 68: a column of this type has no \"size\"");
  EXPECT_EQ(MessageFor(R"({"tables":[{"name":"T","columns":[{"name":"A","type":"Byte","autonumber":true}]}]})"),
            "line 1, column 74: a column of this type has no \"autonumber\"");
  EXPECT_EQ(MessageFor(R"({"tables":[{"name":"T","columns":[],"indexes":[{"name":"I","columns":["A"]}]}]})"),
            "line 1, column 71: the table has no column \"A\"");
  EXPECT_EQ(MessageFor(R"({"tables":[{"name":"T","columns":[],"rows":[{"A":1}]}]})"),
            "line 1, column 50: the table has no column \"A\"");
}

TEST(SchemaRead, RelationsTakeTheirMembersAndKeepTheirPlace) {
  const std::vector<SchemaRelation> relations = ReadRelations(
      R"({"name":"R","table":"Visit","columns":["A","B"],"references":"Shop","referencedColumns":["C","D"],
                        "onUpdate":"cascade","onDelete":"setNull"})");
  ASSERT_EQ(relations.size(), 1u);
  const jet::RelationSpec& design = relations[0].design;
  EXPECT_EQ(design.name, "R");
  EXPECT_EQ(design.table, "Visit");
  EXPECT_EQ(design.columns, (std::vector<std::string>{"A", "B"}));
  EXPECT_EQ(design.references, "Shop");
  EXPECT_EQ(design.referencedColumns, (std::vector<std::string>{"C", "D"}));
  EXPECT_TRUE(design.cascadeUpdate);
  EXPECT_EQ(design.onDelete, jet::RelationSpec::OnDelete::SetNull);
  EXPECT_EQ(relations[0].position.line, 2u);
}

TEST(SchemaRead, RelationsWithoutActionsRefuseChanges) {
  const std::string plain = R"("name":"R","table":"V","columns":["A"],"references":"S","referencedColumns":["C"])";
  const jet::RelationSpec refusing = ReadRelations("{" + plain + "}")[0].design;
  EXPECT_FALSE(refusing.cascadeUpdate);
  EXPECT_EQ(refusing.onDelete, jet::RelationSpec::OnDelete::Refuse);
  EXPECT_EQ(ReadRelations("{" + plain + R"(,"onDelete":"cascade"})")[0].design.onDelete,
            jet::RelationSpec::OnDelete::Cascade);
}

TEST(SchemaRead, UnknownActionsAreNamed) {
  const auto message = [](const std::string& action) {
    return MessageFor(R"({"tables":[],"relations":[{"name":"R","table":"V","columns":["A"],"references":"S",)"
                      R"("referencedColumns":["C"],)" +
                      action + "}]}");
  };
  EXPECT_NE(message(R"("onUpdate":"setNull")").find(R"("onUpdate" can only be "cascade")"), std::string::npos);
  EXPECT_NE(message(R"("onDelete":"drop")").find(R"("onDelete" can only be "cascade" or "setNull")"),
            std::string::npos);
}

TEST(SchemaWrite, WhatIsWrittenReadsBackTheSame) {
  const std::string text =
      R"({"name":"T","columns":[{"name":"A","type":"Text","size":20,"compressed":true},)"
      R"({"name":"B","type":"Binary","size":16},{"name":"C","type":"Memo","compressed":false},)"
      R"({"name":"D","type":"Decimal","precision":18,"scale":4},{"name":"E","type":"Long","autonumber":true},)"
      R"({"name":"F","type":"Guid"}],"indexes":[{"name":"PrimaryKey","columns":["A",{"name":"E","descending":true}],)"
      R"("primary":true,"unique":true,"required":true},{"name":"Other","columns":["F"],"ignoreNulls":true}]})";
  EXPECT_EQ(JsonOf(Read("{\"tables\":[" + text + "]}")[0].design), text);
}

TEST(SchemaWrite, DefinitionOfAFileBecomesItsSpecification) {
  jet::TableDefinition definition;
  definition.name = "T";
  definition.columns.resize(2);
  definition.columns[0].name = "A";
  definition.columns[0].length = 40;
  definition.columns[0].moreFlags = 0x01;
  definition.columns[1].name = "B";
  definition.columns[1].id = 3;
  definition.columns[1].type = ColumnType::Long;
  definition.columns[1].flags = 0x07;
  definition.indexData.resize(2);
  definition.indexData[0].columns = {{3, false}};
  definition.indexData[0].flags = 0x89;
  definition.indexes.resize(2);
  definition.indexes[0].name = "PrimaryKey";
  definition.indexes[0].kind = jet::LogicalIndex::Kind::PrimaryKey;
  definition.indexes[1].name = "Hidden";
  definition.indexes[1].kind = jet::LogicalIndex::Kind::Relation;
  EXPECT_EQ(JsonOf(SpecOf(definition)),
            R"({"name":"T","columns":[{"name":"A","type":"Text","size":20,"compressed":true},)"
            R"({"name":"B","type":"Long","autonumber":true}],"indexes":[{"name":"PrimaryKey",)"
            R"("columns":[{"name":"B","descending":true}],"primary":true,"unique":true,"required":true}]})");
}

TEST(SampleSchema, HasTheThirteenTablesInTheOrderOfARun) {
  const std::vector<jet::TableSpec> tables = SampleTables();
  ASSERT_EQ(tables.size(), 13u);
  for (std::size_t i = 0; i < tables.size(); ++i) EXPECT_EQ(tables[i].name, kTables[i].name);
}

TEST(SampleSchema, EveryTableHasOnePrimaryKeyOverItsFirstColumn) {
  for (const jet::TableSpec& table : SampleTables()) {
    ASSERT_EQ(table.indexes.size(), 1u) << table.name;
    EXPECT_EQ(table.indexes[0].name, "PrimaryKey");
    EXPECT_TRUE(table.indexes[0].primaryKey);
    ASSERT_EQ(table.indexes[0].columns.size(), 1u);
    EXPECT_EQ(table.indexes[0].columns[0].column, table.columns[kKeyColumn].name);
    EXPECT_EQ(table.columns[kKeyColumn].name, FindTable(table.name)->keyField);
  }
}

TEST(SampleSchema, VehicleHasItsColumnsInOrder) {
  EXPECT_EQ(JsonOf(SampleTables()[12]),
            R"({"name":"brnd_Vehicle","columns":[{"name":"TX_VIN","type":"Text","size":20,"compressed":true},)"
            R"({"name":"TX_MAKE","type":"Text","size":30,"compressed":true},)"
            R"({"name":"TX_MODEL","type":"Text","size":40,"compressed":true},{"name":"NM_YEAR","type":"Integer"},)"
            R"({"name":"TX_COLOR","type":"Text","size":20,"compressed":true},)"
            R"({"name":"TX_PLATE","type":"Text","size":12,"compressed":true},)"
            R"({"name":"DT_PURCHASED","type":"DateTime"},{"name":"CU_PRICE","type":"Currency"},)"
            R"({"name":"NM_ODOMETER","type":"Long"},{"name":"NM_TANK","type":"Double"},)"
            R"({"name":"BL_ACTIVE","type":"Boolean"},{"name":"TX_NOTES","type":"Memo","compressed":true}],)"
            R"("indexes":[{"name":"PrimaryKey","columns":["TX_VIN"],"primary":true,"unique":true,"required":true}]})");
}

}  // namespace
}  // namespace mv::tool
