#include "json/LineBlocks.h"

#include <gtest/gtest.h>

#include <istream>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "base/Error.h"
#include "support/ScriptedInput.h"

namespace mv {
namespace {

using testing::ScriptedInput;

std::vector<std::string> AllBlocks(std::istream& in) {
  LineBlocks blocks(in);
  std::vector<std::string> result;
  for (std::string block; blocks.Take(block);) result.push_back(block);
  return result;
}

TEST(LineBlocks, BlockIsTheWholeLinesAtHand) {
  ScriptedInput input({"one\ntwo\nth", "ree", "\nfour\n", "end"});
  std::istream in(&input);
  EXPECT_EQ(AllBlocks(in), (std::vector<std::string>{"one\ntwo\n", "three\nfour\n", "end"}));
}

TEST(LineBlocks, NothingIsWaitedForWhileThereIsALine) {
  ScriptedInput input({"one\ntwo\nth", "ree\n"});
  std::istream in(&input);
  LineBlocks blocks(in);
  std::string block;
  EXPECT_FALSE(blocks.TakeReady(block));
  EXPECT_EQ(input.Waits(), 0u);
  EXPECT_TRUE(blocks.Take(block));
  EXPECT_EQ(input.Waits(), 1u);
  EXPECT_FALSE(blocks.TakeReady(block));
  EXPECT_EQ(input.Waits(), 1u);
  EXPECT_TRUE(blocks.Take(block));
  EXPECT_EQ(block, "three\n");
  EXPECT_EQ(input.Waits(), 2u);
}

TEST(LineBlocks, LongInputComesInBlocksThatAreNearlyFull) {
  std::string text;
  while (text.size() < 5 * LineBlocks::kMostBytes) text += "line " + std::to_string(text.size()) + "\n";
  std::istringstream in(text + "end");
  const std::vector<std::string> blocks = AllBlocks(in);
  std::string together;
  for (const std::string& block : blocks) {
    EXPECT_LE(block.size(), LineBlocks::kMostBytes);
    together += block;
  }
  EXPECT_EQ(together, text + "end");
  EXPECT_EQ(blocks.size(), 7u);
}

TEST(LineBlocks, LineLongerThanABlockIsTakenWhole) {
  const std::string line = std::string(3 * LineBlocks::kMostBytes + 5, 'x') + "\n";
  std::istringstream at(line + "short\n");
  std::string together;
  for (const std::string& block : AllBlocks(at)) together += block;
  EXPECT_EQ(together, line + "short\n");

  ScriptedInput input({line.substr(0, 70'000), line.substr(70'000, 70'000), line.substr(140'000) + "short\nend"});
  std::istream in(&input);
  LineBlocks blocks(in);
  std::string block;
  ASSERT_TRUE(blocks.Take(block));
  EXPECT_EQ(block.substr(0, line.size()), line);
}

TEST(LineBlocks, EmptyInputHasNoBlock) {
  std::istringstream in("");
  EXPECT_TRUE(AllBlocks(in).empty());
}

TEST(LineBlocks, InputThatCannotBeReadIsAFailureBehindItsLines) {
  ScriptedInput input({"one\n", "tw"}, [&input] {
    if (input.Waits() == 3) throw std::runtime_error("broken");
  });
  std::istream in(&input);
  LineBlocks blocks(in);
  std::string block;
  ASSERT_TRUE(blocks.Take(block));
  EXPECT_EQ(block, "one\n");
  try {
    blocks.Take(block);
    ADD_FAILURE() << "was read: " << block;
  } catch (const Error& error) {
    EXPECT_EQ(error.Description(), "standard input could not be read");
  }
}

}  // namespace
}  // namespace mv
