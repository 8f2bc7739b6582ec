#include "pdb/FieldBytes.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "base/Date.h"
#include "base/Error.h"
#include "pdb/FieldValue.h"
#include "pdb/PDBAppforgeRecord.h"
#include "support/Hex.h"

namespace mv {
namespace {

using testing::ToHex;

constexpr unsigned kSeed = 1904;
constexpr std::array kTypes = {HandheldType::Byte,   HandheldType::Integer, HandheldType::Long,
                               HandheldType::Single, HandheldType::Text,    HandheldType::Boolean,
                               HandheldType::Date,   HandheldType::Double,  HandheldType::Currency};

using Types = std::vector<HandheldType>;

/// The number of the error that `action` raises; 0 for none.
std::int32_t ErrorIn(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& error) {
    return error.Number();
  }
  return 0;
}

/// What a record's bytes give, or the number of the error.
struct Outcome {
  std::int32_t error = 0;
  std::vector<Value> values;
};

/// The class that the functions under test must not differ from.
PDBAppforgeRecord RecordOf(const Types& types) {
  const auto definition = std::make_shared<PDBAppforgeDefinition>();
  for (const HandheldType type : types) definition->AddFieldName("F", CodeOf(type));
  PDBAppforgeRecord record;
  record.AppforgeDefinition(definition);
  return record;
}

Outcome ReadByRecord(const Types& types, const Bytes& bytes) {
  Outcome outcome;
  PDBAppforgeRecord record = RecordOf(types);
  outcome.error = ErrorIn([&] {
    PDBByteStream stream;
    stream.ByteArray(bytes);
    record.ByteStream(stream);
  });
  if (outcome.error != 0) return outcome;
  for (std::size_t i = 0; i < types.size(); ++i) {
    outcome.values.push_back(FieldValueOf(record, static_cast<std::int16_t>(i + 1), types[i]));
  }
  return outcome;
}

Outcome ReadByField(const Types& types, const Bytes& bytes, std::vector<Value> values) {
  Outcome outcome;
  values.resize(types.size());
  outcome.error = ErrorIn([&] {
    std::int32_t pos = 0;
    for (std::size_t i = 0; i < types.size(); ++i) ReadField(bytes, pos, types[i], values[i]);
  });
  if (outcome.error == 0) outcome.values = std::move(values);
  return outcome;
}

std::int32_t ErrorOfSkipping(const Types& types, const Bytes& bytes) {
  return ErrorIn([&] {
    std::int32_t pos = 0;
    for (const HandheldType type : types) SkipField(bytes, pos, type);
  });
}

bool IsSame(const Value& left, const Value& right) {
  const auto* const number = std::get_if<double>(&left);
  if (number != nullptr && std::isnan(*number)) return std::isnan(std::get<double>(right));
  const auto* const single = std::get_if<float>(&left);
  if (single != nullptr && std::isnan(*single)) return std::isnan(std::get<float>(right));
  return left == right;
}

class FieldBytesTest : public ::testing::Test {
 protected:
  std::size_t Below(std::size_t limit) { return random_() % limit; }

  Types RandomTypes() {
    Types types(Below(8));
    for (HandheldType& type : types) type = kTypes[Below(2) == 0 ? 4 : Below(kTypes.size())];
    return types;
  }
  /// Much of it bytes on which the reading of text turns.
  Bytes RandomBytes(std::size_t count) {
    constexpr std::uint8_t kTurns[] = {0, 0, 'a', 'Z', 0x7F, 0x80, 0xA9, 0xBF, 194, 195, 195, 198, 199, 225, 255};
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes) {
      byte = Below(4) == 0 ? static_cast<std::uint8_t>(random_()) : kTurns[Below(std::size(kTurns))];
    }
    return bytes;
  }
  std::string RandomText() {
    constexpr std::array kPieces = {"a",  "plain text ",  "\xC3\xA9", "\xC2\xA0", "\xE2\x82\xAC",    "\xC4\x80",
                                    "\r", "\xE2\x80\x93", "\xC3\xBF", "\xC2\x80", "\xF0\x9F\x9A\x97"};
    std::string text;
    for (std::size_t i = Below(6); i-- > 0;) text += kPieces[Below(kPieces.size())];
    return text;
  }
  Value RandomValue(HandheldType type) {
    if (Below(8) == 0) return Null();
    switch (type) {
      case HandheldType::Byte:
        return static_cast<std::uint8_t>(random_());
      case HandheldType::Integer:
        return static_cast<std::int16_t>(random_());
      case HandheldType::Long:
        return static_cast<std::int32_t>(random_());
      case HandheldType::Single:
        return static_cast<float>(random_()) / 7;
      case HandheldType::Text:
        return RandomText();
      case HandheldType::Boolean:
        return Below(2) == 0;
      case HandheldType::Date:
        return Date{1462 + static_cast<double>(random_()) / std::numeric_limits<std::uint32_t>::max() * 49700};
      case HandheldType::Double:
        return static_cast<double>(random_()) / 3;
      case HandheldType::Currency:
        return Currency{static_cast<std::int64_t>(random_()) << 20};
    }
    return Null();
  }

  std::mt19937 random_{kSeed};
};

TEST_F(FieldBytesTest, AnyBytesAreReadAndSkippedAsARecordReadsThem) {
  int failures = 0;
  for (int round = 0; round < 20000; ++round) {
    const Types types = RandomTypes();
    const Bytes bytes = RandomBytes(Below(round % 2 == 0 ? 24 : 80));
    SCOPED_TRACE(ToHex(bytes));
    const Outcome expected = ReadByRecord(types, bytes);
    // Once into nothing, once over values of any types.
    std::vector<Value> used(types.size());
    for (Value& value : used) value = RandomValue(kTypes[Below(kTypes.size())]);
    for (const auto& room : {std::vector<Value>(), used}) {
      const Outcome outcome = ReadByField(types, bytes, room);
      ASSERT_EQ(outcome.error, expected.error);
      for (std::size_t i = 0; i < expected.values.size(); ++i) {
        ASSERT_TRUE(IsSame(outcome.values[i], expected.values[i])) << "field " << i;
      }
    }
    ASSERT_EQ(ErrorOfSkipping(types, bytes), expected.error);
    failures += expected.error != 0 ? 1 : 0;
  }
  EXPECT_GT(failures, 1000);
  EXPECT_LT(failures, 19000);
}

TEST_F(FieldBytesTest, TextsRunAsFarAsInARecord) {
  const Types types = {HandheldType::Text, HandheldType::Text, HandheldType::Byte};
  for (const std::size_t length : {32764, 32765, 32766, 32767, 32768, 40000}) {
    for (const char* end : {"", "\xC3\xA9", "\xC3"}) {
      const std::string text = std::string(length, 'x') + end;
      Bytes bytes(text.begin(), text.end());
      bytes.resize(bytes.size() + 3);
      SCOPED_TRACE(text.size());
      const Outcome expected = ReadByRecord(types, bytes);
      const Outcome outcome = ReadByField(types, bytes, {});
      EXPECT_EQ(outcome.error, expected.error);
      EXPECT_EQ(outcome.values, expected.values);
      EXPECT_EQ(ErrorOfSkipping(types, bytes), expected.error);
    }
  }
}

TEST_F(FieldBytesTest, ValuesOfTheFieldsTypesAreWrittenAsARecordWritesThem) {
  for (int round = 0; round < 5000; ++round) {
    const Types types = RandomTypes();
    PDBAppforgeRecord record = RecordOf(types);
    Bytes bytes;
    for (std::size_t i = 0; i < types.size(); ++i) {
      const Value value = RandomValue(types[i]);
      ASSERT_TRUE(AppendField(bytes, types[i], value));
      SetFieldValue(record, static_cast<std::int16_t>(i + 1), types[i], value);
    }
    bytes.push_back(0);
    ASSERT_EQ(ToHex(bytes), ToHex(record.ByteStream().ByteArray()));
  }
}

TEST_F(FieldBytesTest, ValuesOfOtherTypesAreLeftToTheRecord) {
  for (const HandheldType type : kTypes) {
    for (const HandheldType other : kTypes) {
      Bytes bytes = {7};
      EXPECT_EQ(AppendField(bytes, type, ZeroValueOf(other)), type == other);
      EXPECT_EQ(bytes == Bytes{7}, type != other);
    }
  }
}

TEST_F(FieldBytesTest, DatesThatAHandheldCannotHoldAreLeftToTheRecord) {
  const Date last = DateFromCivil({2040, 2, 5, 23, 59, 59});
  Bytes bytes;
  EXPECT_TRUE(AppendField(bytes, HandheldType::Date, kHandheldEpoch));
  EXPECT_TRUE(AppendField(bytes, HandheldType::Date, last));
  EXPECT_EQ(ToHex(bytes), "00 00 00 00 FF FF A4 FF");
  for (const double days : {kHandheldEpoch.days - 0.5, 51172.0, -1e9, 1e9, std::nan("")}) {
    EXPECT_FALSE(AppendField(bytes, HandheldType::Date, Date{days})) << days;
  }
  EXPECT_EQ(bytes.size(), 8U);
}

}  // namespace
}  // namespace mv
