#include "mvtool/text/CsvReader.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "json/ValueJson.h"
#include "mvtool/text/RowWriter.h"
#include "mvtool/text/ValueText.h"
#include "support/ExpectError.h"

namespace mv::tool {
namespace {

using Cells = std::vector<std::vector<std::string>>;

/// The fields of each record, those in quotes between apostrophes.
Cells Read(const std::string& text) {
  std::istringstream in(text);
  CsvReader reader(in);
  Cells records;
  while (const auto cells = reader.Next()) {
    auto& record = records.emplace_back();
    for (const CsvCell& cell : *cells) record.push_back(cell.quoted ? "'" + cell.text + "'" : cell.text);
  }
  return records;
}

std::string FailureOf(const std::string& text) {
  return testing::ErrorOf([&] { Read(text); }).Description();
}

TEST(CsvReaderTest, LinesEndWithLfOrCrLfAndTheLastOneNeedNot) {
  const Cells expected = {{"a", "b"}, {"c", "d"}};
  EXPECT_EQ(Read("a,b\nc,d\n"), expected);
  EXPECT_EQ(Read("a,b\r\nc,d\r\n"), expected);
  EXPECT_EQ(Read("a,b\r\nc,d"), expected);
  EXPECT_EQ(Read(""), Cells());
}

TEST(CsvReaderTest, QuotesHoldCommasQuotesAndLineBreaks) {
  EXPECT_EQ(Read("\"a,b\",\"say \"\"x\"\"\"\n\"one\r\ntwo\nthree\rfour\",e"),
            (Cells{{"'a,b'", "'say \"x\"'"}, {"'one\r\ntwo\nthree\rfour'", "e"}}));
}

TEST(CsvReaderTest, NothingAndAnEmptyTextDiffer) {
  EXPECT_EQ(Read(",\"\"\n\n\"\"\na,"), (Cells{{"", "''"}, {""}, {"''"}, {"a", ""}}));
}

TEST(CsvReaderTest, AByteOrderMarkIsSkippedAndWhatOnlyStartsLikeOneIsNot) {
  EXPECT_EQ(Read("\xEF\xBB\xBF\"a\",b"), (Cells{{"'a'", "b"}}));
  EXPECT_EQ(Read("\xEF\xBC\xA1,b"), (Cells{{"\xEF\xBC\xA1", "b"}}));
  EXPECT_EQ(FailureOf("\xEF"), "line 1, column 1: this is not UTF-8");
}

TEST(CsvReaderTest, MistakesAreNamedWithTheirPlace) {
  EXPECT_EQ(FailureOf("a,b\nc,\"d\ne"), "line 2, column 3: the quote has no end");
  EXPECT_EQ(FailureOf("é,x\"y\""), "line 1, column 4: a field that holds a quote must stand in quotes");
  EXPECT_EQ(FailureOf("\"a\"b"), "line 1, column 4: behind a field in quotes a comma or the end of the line is wanted");
  EXPECT_EQ(FailureOf("a\rb"), "line 1, column 2: a CR that no LF follows must stand in quotes");
  EXPECT_EQ(FailureOf("a,\xFF"), "line 1, column 3: this is not UTF-8");
}

std::optional<DataType> TypeOf(const std::string& name) {
  if (name == "TX") return DataType::VarWChar;
  if (name == "NM") return DataType::Integer;
  if (name == "BL") return DataType::Boolean;
  if (name == "DT") return DataType::Date;
  return std::nullopt;
}

std::string RowsOf(const std::string& text) {
  std::istringstream in(text);
  CsvRows rows(in, &TypeOf);
  std::string found;
  while (const std::optional<Json> row = rows.Next()) {
    for (const Json::Member& member : row->Members()) found += member.name + "=" + member.value.Shown() + " ";
    found += "line " + std::to_string(row->Position().line) + "\n";
  }
  return found;
}

std::string RowFailureOf(const std::string& text) {
  return testing::ErrorOf([&] { RowsOf(text); }).Description();
}

TEST(CsvRowsTest, FieldsBecomeValuesByTheTypesOfTheirColumns) {
  EXPECT_EQ(RowsOf("NM,TX,BL,DT\n12,12,TRUE,45000.5\n,\"\",false,2024-05-17\nx,,1,\n"),
            "NM=12 TX=\"12\" BL=true DT=45000.5 line 2\n"
            "NM=null TX=\"\" BL=false DT=\"2024-05-17\" line 3\n"
            "NM=\"x\" TX=null BL=\"1\" DT=null line 4\n");
}

TEST(CsvRowsTest, EmptyLinesAreSkippedUnlessTheyAreTheNullsOfTheOnlyColumn) {
  EXPECT_EQ(RowsOf("TX,NM\n\na,1\n\n"), "TX=\"a\" NM=1 line 3\n");
  EXPECT_EQ(RowsOf("TX\n\na\n"), "TX=null line 2\nTX=\"a\" line 3\n");
}

TEST(CsvRowsTest, TheHeaderMustNameColumnsOnce) {
  EXPECT_EQ(RowFailureOf(""), "line 1, column 1: a line with the names of the columns is wanted here");
  EXPECT_EQ(RowFailureOf("TX,QQ"), "line 1, column 4: the table has no column \"QQ\"");
  EXPECT_EQ(RowFailureOf("TX,NM,TX"), "line 1, column 7: a second column \"TX\"");
}

TEST(CsvRowsTest, ARowHasAsManyFieldsAsTheHeader) {
  EXPECT_EQ(RowFailureOf("TX,NM\na,1\nb\n"), "line 3, column 1: 2 fields are wanted in a line, not 1");
  EXPECT_EQ(RowFailureOf("TX,NM\na,1,c\n"), "line 2, column 5: 2 fields are wanted in a line, not 3");
}

TEST(CsvRowsTest, WhatTheWriterMakesReadsBackAsTheSameValues) {
  const std::vector<DataType> types = {DataType::VarWChar, DataType::Double,    DataType::Date,
                                       DataType::Currency, DataType::VarBinary, DataType::Boolean};
  const std::vector<std::vector<Value>> rows = {
      {std::string("a,\"b\"\r\n"), 0.1, Date{45000.123456}, Currency{125000}, Bytes{0, 255}, true},
      {std::string(), -1e300, Date{0.25}, Currency{-1}, Bytes{}, false},
      {Null{}, Null{}, Null{}, Null{}, Null{}, Null{}},
  };
  std::ostringstream out;
  const auto writer = MakeRowWriter(RowFormat::Csv, out, {"0", "1", "2", "3", "4", "5"});
  for (const auto& row : rows) writer->Write(row);
  std::istringstream in(out.str());
  CsvRows csv(in, [&](const std::string& name) { return types.at(static_cast<std::size_t>(std::stoi(name))); });

  for (const auto& expected : rows) {
    const std::optional<Json> row = csv.Next();
    ASSERT_TRUE(row);
    for (std::size_t i = 0; i < types.size(); ++i) {
      EXPECT_EQ(ValueFromJson({.type = types[i]}, row->Members()[i].value), expected[i]) << out.str();
    }
  }
  EXPECT_FALSE(csv.Next());
}

}  // namespace
}  // namespace mv::tool
