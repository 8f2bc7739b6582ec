#include "json/JsonLines.h"

#include <gtest/gtest.h>

#include <sstream>

#include "base/Error.h"

namespace mv {
namespace {

TEST(JsonLines, EachLineThatIsNotBlankIsAValue) {
  std::istringstream in("{\"a\":1}\n \t\r\n[2]\n\n\"end\"");
  JsonLines lines(in);
  EXPECT_EQ(lines.Next()->At("a").Number().text, "1");
  EXPECT_EQ(lines.Number(), 1u);
  EXPECT_EQ(lines.Next()->Elements().size(), 1u);
  EXPECT_EQ(lines.Number(), 3u);
  EXPECT_EQ(lines.Next()->Text(), "end");
  EXPECT_EQ(lines.Next(), nullptr);
}

TEST(JsonLines, LineOfItsOwnIsReadOrBlank) {
  Json value;
  EXPECT_TRUE(ReadJsonLine(" [1]\r", value, 7));
  EXPECT_EQ(value.Elements().at(0).Position().line, 7u);
  EXPECT_FALSE(ReadJsonLine(" \t\r", value, 8));
  EXPECT_FALSE(ReadJsonLine("", value, 8));
}

TEST(JsonLines, ErrorsNameTheLine) {
  std::istringstream in("1\n\n[1,\n");
  JsonLines lines(in);
  lines.Next();
  try {
    lines.Next();
    ADD_FAILURE() << "was read";
  } catch (const Error& error) {
    EXPECT_TRUE(error.Description().starts_with("line 3, column 4: ")) << error.Description();
  }
}

}  // namespace
}  // namespace mv
