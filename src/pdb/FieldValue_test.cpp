#include "pdb/FieldValue.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/Error.h"
#include "support/ExpectError.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;

const std::vector<HandheldType> kTypes = {HandheldType::Byte,   HandheldType::Integer, HandheldType::Long,
                                          HandheldType::Single, HandheldType::Text,    HandheldType::Boolean,
                                          HandheldType::Date,   HandheldType::Double,  HandheldType::Currency};

/// One value of each type that no other type holds.
const std::vector<Value> kValues = {std::uint8_t{255},
                                    std::int16_t{-32768},
                                    std::numeric_limits<std::int32_t>::max(),
                                    0.1F,
                                    std::string("Zo\xC3\xA9"),
                                    true,
                                    DateFromCivil({2024, 5, 17, 8, 30, 1}),
                                    -1e300,
                                    Currency{std::numeric_limits<std::int64_t>::min()}};

class FieldValueTest : public ::testing::Test {
 protected:
  FieldValueTest() {
    const auto definition = std::make_shared<PDBAppforgeDefinition>();
    for (const HandheldType type : kTypes) definition->AddFieldName("F", CodeOf(type));
    record_.AppforgeDefinition(definition);
  }

  /// What the field of `type` holds once `value` was assigned.
  Value Stored(HandheldType type, const Value& value) {
    const auto field = static_cast<std::int16_t>(CodeOf(type));
    SetFieldValue(record_, field, type, value);
    return FieldValueOf(record_, field, type);
  }

  PDBAppforgeRecord record_;
};

TEST_F(FieldValueTest, ValuesOfTheFieldsOwnTypeComeBack) {
  for (std::size_t i = 0; i < kTypes.size(); ++i) EXPECT_EQ(Stored(kTypes[i], kValues[i]), kValues[i]);
}

TEST_F(FieldValueTest, OtherValuesAreConverted) {
  EXPECT_EQ(Stored(HandheldType::Long, std::string("17")), Value(std::int32_t{17}));
  EXPECT_EQ(Stored(HandheldType::Text, std::int16_t{-3}), Value(std::string("-3")));
  EXPECT_EQ(Stored(HandheldType::Boolean, 2.0), Value(true));
  EXPECT_EQ(Stored(HandheldType::Currency, 1.25), Value(Currency{12'500}));
}

TEST_F(FieldValueTest, ValuesThatDoNotFitAreRefusedAndLeaveTheField) {
  SetFieldValue(record_, 1, HandheldType::Byte, std::uint8_t{7});
  EXPECT_EQ(ErrorNumberOf([&] { Stored(HandheldType::Byte, std::int32_t{256}); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { Stored(HandheldType::Byte, std::string("x")); }), errors::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { Stored(HandheldType::Text, Bytes{1}); }), errors::kTypeMismatch);
  EXPECT_EQ(FieldValueOf(record_, 1, HandheldType::Byte), Value(std::uint8_t{7}));
}

TEST_F(FieldValueTest, NullBecomesTheTypesZero) {
  const std::vector<Value> zeros = {std::uint8_t{0},
                                    std::int16_t{0},
                                    std::int32_t{0},
                                    0.0F,
                                    std::string(),
                                    false,
                                    DateFromCivil({1904, 1, 1, 0, 0, 0}),
                                    0.0,
                                    Currency{}};
  for (std::size_t i = 0; i < kTypes.size(); ++i) {
    Stored(kTypes[i], kValues[i]);
    EXPECT_EQ(Stored(kTypes[i], Null{}), zeros[i]);
    EXPECT_EQ(ZeroValueOf(kTypes[i]), zeros[i]);
  }
}

TEST_F(FieldValueTest, FieldsAreNumberedFrom1) {
  EXPECT_EQ(ErrorNumberOf([&] { FieldValueOf(record_, 10, HandheldType::Byte); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { SetFieldValue(record_, 10, HandheldType::Byte, std::uint8_t{1}); }),
            errors::kSubscriptOutOfRange);
}

}  // namespace
}  // namespace mv
