#include "mvtool/text/RowWriter.h"

#include <gtest/gtest.h>

#include <sstream>

namespace mv::tool {
namespace {

const std::vector<Value> kFirst = {std::string("a\"1"), Currency{125000}, Null{}};
const std::vector<Value> kSecond = {std::string(), Null{}, true};

std::string Written(RowFormat format) {
  std::ostringstream out;
  const auto writer = MakeRowWriter(format, out, {"KEY", "COST, NET", "DONE"});
  writer->Write(kFirst);
  writer->Write(kSecond);
  return out.str();
}

TEST(RowWriterTest, JsonLinesAreOneObjectARow) {
  EXPECT_EQ(Written(RowFormat::JsonLines),
            "{\"KEY\":\"a\\\"1\",\"COST, NET\":\"12.5000\",\"DONE\":null}\n"
            "{\"KEY\":\"\",\"COST, NET\":null,\"DONE\":true}\n");
}

TEST(RowWriterTest, CsvHasAHeaderAndCrLfLineEnds) {
  EXPECT_EQ(Written(RowFormat::Csv),
            "KEY,\"COST, NET\",DONE\r\n"
            "\"a\"\"1\",12.5000,\r\n"
            "\"\",,true\r\n");
}

TEST(RowWriterTest, CsvWithoutRowsIsTheHeader) {
  std::ostringstream out;
  MakeRowWriter(RowFormat::Csv, out, {"A", "B"});
  EXPECT_EQ(out.str(), "A,B\r\n");
}

}  // namespace
}  // namespace mv::tool
