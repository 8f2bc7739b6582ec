#include "sync/HandheldForm.h"

#include <gtest/gtest.h>

#include <string>

#include "pdb/HandheldType.h"

namespace mv {
namespace {

Date On(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return DateFromCivil({year, month, day, hour, minute, second});
}

std::optional<Value> TextForm(const std::string& text) {
  return HandheldForm(DataType::VarWChar, Value(text));
}

TEST(HandheldFormTest, TextOfTheLettersThatItHasComesBackAsItIs) {
  for (const char* text : {"", "plain", "\xC3\xA4\xC3\xB6\xC3\x9F \xC3\x89toile", "12 \xE2\x82\xAC"}) {
    EXPECT_EQ(TextForm(text), Value(std::string(text)));
    EXPECT_FALSE(ComesBackChanged(Value(std::string(text)))) << text;
  }
}

TEST(HandheldFormTest, OtherCharactersOfTheCodePageComeBackAsTwo) {
  EXPECT_EQ(TextForm("20 \xC2\xB0"
                     "C"),
            Value(std::string("20 \xC3\x82\xC2\xB0"
                              "C")));
  EXPECT_TRUE(ComesBackChanged(Value(std::string("\xC2\xB0"))));
  EXPECT_TRUE(ComesBackChanged(Value(std::string("\xE2\x84\xA2"))));
}

TEST(HandheldFormTest, CharactersOutsideTheCodePageComeBackAsQuestionMarks) {
  EXPECT_EQ(TextForm("\xCE\xA9"), Value(std::string("?")));
  EXPECT_TRUE(ComesBackChanged(Value(std::string("\xCE\xA9"))));
}

TEST(HandheldFormTest, TextEndsAtItsFirstZero) {
  EXPECT_EQ(TextForm(std::string("a\0b", 3)), Value(std::string("a")));
  EXPECT_TRUE(ComesBackChanged(Value(std::string("a\0b", 3))));
}

TEST(HandheldFormTest, DateLosesAPartOfASecondWithoutCountingAsChanged) {
  const Date exact = On(2024, 5, 17, 8, 30, 5);
  const Date fraction{exact.days + 0.3 / 86400};
  EXPECT_EQ(HandheldForm(DataType::Date, Value(fraction)), Value(exact));
  EXPECT_FALSE(ComesBackChanged(Value(fraction)));
}

TEST(HandheldFormTest, DateBefore1904ComesBackAsALaterOne) {
  EXPECT_EQ(HandheldForm(DataType::Date, Value(On(1903, 12, 31, 23, 59, 59))), Value(On(2040, 2, 6, 6, 28, 15)));
  EXPECT_TRUE(ComesBackChanged(Value(On(1903, 12, 31, 23, 59, 59))));
  EXPECT_FALSE(ComesBackChanged(Value(kHandheldEpoch)));
  EXPECT_FALSE(ComesBackChanged(Value(On(2040, 2, 6, 6, 28, 15))));
}

TEST(HandheldFormTest, DateThatItCannotHoldHasNoForm) {
  EXPECT_EQ(HandheldForm(DataType::Date, Value(On(2040, 2, 6, 6, 28, 16))), std::nullopt);
  EXPECT_FALSE(ComesBackChanged(Value(On(2040, 2, 6, 6, 28, 16)))) << "the run stops there";
}

TEST(HandheldFormTest, NullIsTheZeroOfItsType) {
  EXPECT_EQ(HandheldForm(DataType::VarWChar, Value()), Value(std::string()));
  EXPECT_EQ(HandheldForm(DataType::Date, Value()), Value(kHandheldEpoch));
  EXPECT_FALSE(ComesBackChanged(Value()));
}

TEST(HandheldFormTest, RowIsTheSameWhenTheHandheldGaveItBackLikeThis) {
  EXPECT_TRUE(
      IsSameOnHandheld(DataType::VarWChar, Value(std::string("\xC3\x82\xC2\xB0")), Value(std::string("\xC2\xB0"))));
  EXPECT_TRUE(IsSameOnHandheld(DataType::Date, Value(On(2040, 2, 6, 6, 28, 15)), Value(On(1903, 12, 31, 23, 59, 59))));
  EXPECT_FALSE(IsSameOnHandheld(DataType::VarWChar, Value(std::string("x")), Value(std::string("\xC2\xB0"))));
}

}  // namespace
}  // namespace mv
