#include "mvtool/text/RecordJson.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"

namespace mv::tool {
namespace {

const TableFileHeader kTable = {"T", "BRND", {{"ID", 3}, {"NAME", 5}, {"PAID", 9}, {"ODD", 12}}};

HandheldRecord Read(std::string_view text) {
  return RecordFromJson(ParseJson(text), kTable);
}

std::string MessageFor(std::string_view text) {
  return testing::ErrorOf([&] { Read(text); }).Description();
}

std::string HeaderMessageFor(std::string_view text) {
  return testing::ErrorOf([&] { HeaderFromJson(ParseJson(text), "file"); }).Description();
}

TEST(RecordJsonHeader, MembersAreTaken) {
  const TableFileHeader header =
      HeaderFromJson(ParseJson(R"({"name":"T","creator":"ABCD","fields":[{"name":"ID","type":3}]})"), "file");
  EXPECT_EQ(header.name, "T");
  EXPECT_EQ(header.creator, "ABCD");
  EXPECT_EQ(header.fields, (std::vector<TableFileField>{{"ID", 3}}));
}

TEST(RecordJsonHeader, NameAndCreatorHaveDefaults) {
  const TableFileHeader header = HeaderFromJson(ParseJson(R"({"fields":[]})"), "file");
  EXPECT_EQ(header.name, "file");
  EXPECT_EQ(header.creator, "BRND");
}

TEST(RecordJsonHeader, WhatIsWrittenReadsBackTheSame) {
  const std::string text = R"({"name":"T","creator":"BRND","fields":[{"name":"ID","type":3},{"name":"X","type":0}]})";
  JsonWriter writer;
  WriteHeader(writer, HeaderFromJson(ParseJson(text), "file"));
  EXPECT_EQ(writer.Result(), text);
}

TEST(RecordJsonHeader, MistakesAreNamed) {
  EXPECT_EQ(HeaderMessageFor("{}"), "line 1, column 1: the member \"fields\" is missing");
  EXPECT_EQ(HeaderMessageFor(R"({"creator":"ABC","fields":[]})"), "line 1, column 12: a creator has four characters");
  EXPECT_EQ(HeaderMessageFor(R"({"name":"123456789012345678901234567890123","fields":[]})"),
            "line 1, column 9: the table's name is longer than 32 characters");
  EXPECT_EQ(testing::ErrorOf([] { HeaderFromJson(ParseJson(R"({"fields":[]})"), std::string(33, 'x')); }).Description(),
            "line 1, column 1: the table's name is longer than 32 characters");
  EXPECT_EQ(HeaderMessageFor(R"({"fields":[{"name":"A","type":32768}]})"),
            "line 1, column 31: a whole number from 0 to 32767 is wanted here");
  EXPECT_EQ(HeaderMessageFor(R"({"fields":[{"name":"A","type":1,"size":4}]})"),
            "line 1, column 40: unknown member \"size\"");
}

TEST(RecordJsonRecord, NamedValuesGoToTheirFields) {
  const HandheldRecord record = Read(R"({"attributes":192,"uniqueId":17,"values":{"NAME":"x","ID":-7,"PAID":"1.5"}})");
  EXPECT_EQ(record.attributes, 192);
  EXPECT_EQ(record.uniqueId, 17u);
  EXPECT_EQ(record.values, (std::vector<Value>{std::int32_t{-7}, std::string("x"), Currency{15000}, Null{}}));
}

TEST(RecordJsonRecord, ArrayOfValuesIsTakenInFieldOrder) {
  const HandheldRecord record = Read(R"({"values":[5,"y",0,null]})");
  EXPECT_EQ(record.attributes, 0);
  EXPECT_EQ(record.uniqueId, 0u);
  EXPECT_EQ(record.values, (std::vector<Value>{std::int32_t{5}, std::string("y"), Currency{0}, Null{}}));
}

TEST(RecordJsonRecord, RecordAsShownIsTaken) {
  const HandheldRecord record = Read(R"({"_attributes":255,"_uniqueId":16777215,"ID":1,"NAME":"z"})");
  EXPECT_EQ(record.attributes, 255);
  EXPECT_EQ(record.uniqueId, 0xFFFFFFu);
  EXPECT_EQ(record.values, (std::vector<Value>{std::int32_t{1}, std::string("z"), Currency{0}, Null{}}));
}

TEST(RecordJsonRecord, NullAndAbsentValuesAreZero) {
  EXPECT_EQ(Read(R"({"values":{"NAME":null}})").values,
            (std::vector<Value>{std::int32_t{0}, std::string(), Currency{0}, Null{}}));
}

TEST(RecordJsonRecord, MistakesAreNamed) {
  EXPECT_EQ(MessageFor("{}"), "line 1, column 1: the member \"values\" is missing");
  EXPECT_EQ(MessageFor(R"({"values":[1]})"), "line 1, column 11: 4 values are wanted here");
  EXPECT_EQ(MessageFor(R"({"values":{"id":1}})"), "line 1, column 17: the table has no field \"id\"");
  EXPECT_EQ(MessageFor(R"({"values":{"ODD":1}})"), "line 1, column 18: a field of type 12 holds nothing but null");
  EXPECT_EQ(MessageFor(R"({"values":{"NAME":"a\u0000b"}})"),
            "line 1, column 19: a text of a table file cannot hold a zero character");
  EXPECT_EQ(MessageFor(R"({"attributes":256,"values":{}})"),
            "line 1, column 15: a whole number from 0 to 255 is wanted here");
  EXPECT_EQ(MessageFor(R"({"uniqueId":16777216,"values":{}})"),
            "line 1, column 13: a whole number from 0 to 16777215 is wanted here");
  EXPECT_EQ(MessageFor(R"({"_attributes":0,"values":{}})"), "line 1, column 27: the table has no field \"values\"");
}

}  // namespace
}  // namespace mv::tool
