#include "json/JsonLinesAhead.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <istream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "base/Error.h"
#include "support/ScriptedInput.h"

namespace mv {
namespace {

using testing::ScriptedInput;

class JsonLinesAheadTest : public ::testing::Test {
 protected:
  /// What a line like this is made into: {"number":1,"text":"one"}
  struct Item {
    std::int64_t number = 0;
    std::string text;
  };
  using Lines = JsonLinesAhead<Item>;

  static void Make(const Json& json, Item& item) {
    item.number = json.At("number").Integer(0, 1'000'000);
    item.text = json.At("text").Text();
  }
  static std::string Line(std::size_t number, const std::string& text = "some text that is no short one") {
    return "{\"number\":" + std::to_string(number) + ",\"text\":\"" + text + "\"}\n";
  }
  /// Lines that make several blocks, numbered from 1.
  static std::string ManyLines(std::size_t count = kMany) {
    std::string lines;
    for (std::size_t number = 1; number <= count; ++number) lines += Line(number);
    return lines;
  }
  /// Takes items until an error comes or the end; returns the error, with the number of items before.
  static std::pair<std::size_t, std::string> TakenUntilFailure(Lines& lines) {
    std::size_t taken = 0;
    try {
      for (; lines.Next() != nullptr; ++taken) {
      }
    } catch (const Error& error) {
      return {taken, error.Description()};
    }
    return {taken, ""};
  }

  static constexpr std::size_t kMany = 4'000;
};

TEST_F(JsonLinesAheadTest, ItemsAreThoseOfTheLinesOneByOne) {
  std::mt19937 random(7);
  const auto below = [&random](unsigned limit) { return static_cast<unsigned>(random() % limit); };
  std::string text;
  while (text.size() < 10 * LineBlocks::kMostBytes) {
    text += below(4) == 0 ? " \t\r\n\n" : "";
    text += Line(below(1000), std::string(below(500) == 0 ? below(200'000) : below(100), 't'));
  }
  std::istringstream in(text);
  std::istringstream expectedIn(text);
  Lines lines(in, &Make);
  JsonLines expectedLines(expectedIn);
  while (const Json* const json = expectedLines.Next()) {
    Item expected;
    Make(*json, expected);
    Item* const item = lines.Next();
    ASSERT_NE(item, nullptr);
    ASSERT_EQ(lines.Number(), expectedLines.Number());
    ASSERT_EQ(item->number, expected.number) << lines.Number();
    ASSERT_EQ(item->text, expected.text) << lines.Number();
    item->text = "left over";
  }
  EXPECT_EQ(lines.Next(), nullptr);
  EXPECT_EQ(lines.Next(), nullptr);
  EXPECT_TRUE(lines.HasThread());
}

TEST_F(JsonLinesAheadTest, WhatFitsOneBlockStartsNoThread) {
  std::istringstream in(ManyLines(100));
  Lines lines(in, &Make);
  EXPECT_EQ(TakenUntilFailure(lines), std::pair(std::size_t{100}, std::string()));
  EXPECT_FALSE(lines.HasThread());
}

TEST_F(JsonLinesAheadTest, InputThatComesLineByLineStartsNoThread) {
  std::vector<std::string> pieces;
  for (std::size_t number = 1; number <= kMany; ++number) pieces.push_back(Line(number));
  ScriptedInput input(std::move(pieces));
  std::istream in(&input);
  Lines lines(in, &Make);
  EXPECT_EQ(TakenUntilFailure(lines).first, kMany);
  EXPECT_FALSE(lines.HasThread());
}

TEST_F(JsonLinesAheadTest, LineThatCannotBeReadOrMadeCountsBehindAllBeforeIt) {
  for (const std::size_t good : {std::size_t{0}, std::size_t{900}, kMany}) {
    const std::string place = "line " + std::to_string(good + 1) + ", column ";
    for (const auto& [line, message] : {std::pair("{\"number\":1}\n", "1: the member \"text\" is missing"),
                                        std::pair("x\n", "1: syntax error while parsing value - invalid literal")}) {
      for (const std::string& rest : {std::string(), "x\n" + ManyLines()}) {
        std::istringstream in(ManyLines(good) + line + rest);
        Lines lines(in, &Make);
        EXPECT_EQ(TakenUntilFailure(lines), std::pair(good, place + message));
      }
    }
  }
}

TEST_F(JsonLinesAheadTest, NothingIsWaitedForWhileThereAreLines) {
  const std::string many = ManyLines();
  const std::string start = Line(1).substr(0, 20);
  const std::string rest = Line(1).substr(20);
  std::vector<std::string> pieces = {Line(1) + Line(1) + start, rest, many + start, rest + many, many + many + Line(1)};
  // Whole lines that have come when the reader waits for the first, the second ... time.
  const std::vector<std::size_t> come = {0, 2, 3, kMany + 3, 2 * kMany + 4, 4 * kMany + 5};
  std::size_t given = 0;
  std::size_t waits = 0;
  ScriptedInput input(std::move(pieces), [&] { EXPECT_EQ(given, come.at(waits++)); });
  std::istream in(&input);
  Lines lines(in, &Make);
  while (lines.Next() != nullptr) ++given;
  EXPECT_EQ(given, come.back());
  EXPECT_EQ(waits, come.size());
  EXPECT_TRUE(lines.HasThread());
}

TEST_F(JsonLinesAheadTest, FailureIsToldWhileTheInputStaysOpen) {
  for (const std::size_t good : {std::size_t{0}, std::size_t{1}, kMany}) {
    for (const std::string& rest : {std::string(), std::string("start of a line"), ManyLines()}) {
      ScriptedInput input({ManyLines(good) + "x\n" + rest}, [&input] {
        if (input.Waits() > 1) ADD_FAILURE() << "waits for what need not come";
      });
      std::istream in(&input);
      Lines lines(in, &Make);
      EXPECT_EQ(TakenUntilFailure(lines).first, good);
    }
  }
}

TEST_F(JsonLinesAheadTest, InputThatCannotBeReadIsToldBehindItsLines) {
  ScriptedInput input({ManyLines(), ManyLines() + "start of a line"}, [&input] {
    if (input.Waits() == 3) throw std::runtime_error("broken");
  });
  std::istream in(&input);
  Lines lines(in, &Make);
  EXPECT_EQ(TakenUntilFailure(lines), std::pair(2 * kMany, std::string("standard input could not be read")));
}

TEST_F(JsonLinesAheadTest, CallerMayStopAnywhere) {
  const std::string many = ManyLines();
  for (const std::size_t taken : {std::size_t{0}, std::size_t{1}, kMany / 2, kMany - 1}) {
    std::istringstream in(many);
    Lines lines(in, &Make);
    for (std::size_t number = 1; number <= taken; ++number) {
      ASSERT_EQ(lines.Next()->number, static_cast<std::int64_t>(number));
    }
  }
}

TEST_F(JsonLinesAheadTest, InputIsReadNoFartherAheadThanSomeBlocks) {
  const std::string many = ManyLines(3 * kMany);
  std::istringstream in(many);
  Lines lines(in, &Make);
  std::size_t given = 0;
  std::size_t farthest = 0;
  for (std::size_t number = 1; lines.Next() != nullptr; ++number) {
    given += Line(number).size();
    const std::size_t left = static_cast<std::size_t>(std::max<std::streamsize>(in.rdbuf()->in_avail(), 0));
    farthest = std::max(farthest, many.size() - left - given);
  }
  EXPECT_LE(farthest, 4 * LineBlocks::kMostBytes);
  EXPECT_GT(farthest, LineBlocks::kMostBytes);
}

/// An item that counts the bytes of all texts kept.
struct CountedItem {
  std::string text;
  std::size_t counted = 0;
  std::size_t* kept = nullptr;

  CountedItem() = default;
  CountedItem(CountedItem&& other) noexcept
      : text(std::move(other.text)), counted(std::exchange(other.counted, 0)), kept(other.kept) {}
  ~CountedItem() {
    if (kept != nullptr) *kept -= counted;
  }
};

TEST_F(JsonLinesAheadTest, LongTextsAreNotKeptInEveryItem) {
  // In each block the long line comes one line later, so that in the end every item has held a long text.
  constexpr std::size_t kLong = LineBlocks::kMostBytes * 3 / 4;
  std::string input;
  for (std::size_t block = 0; block < 75; ++block) {
    for (std::size_t i = 0; i < block; ++i) input += "\"short\"\n";
    input += '"' + std::string(kLong, 'l') + "\"\n" + std::string(LineBlocks::kMostBytes - kLong, '\n');
  }
  std::istringstream in(input);
  std::size_t kept = 0;
  std::size_t most = 0;
  JsonLinesAhead<CountedItem> lines(in, [&](const Json& json, CountedItem& item) {
    item.kept = &kept;
    item.text = json.Text();
    kept += item.text.capacity() - item.counted;
    item.counted = item.text.capacity();
    most = std::max(most, kept);
  });
  while (lines.Next() != nullptr) {
  }
  EXPECT_GT(most, kLong);
  EXPECT_LE(most, 45 * LineBlocks::kMostBytes);
}

}  // namespace
}  // namespace mv
