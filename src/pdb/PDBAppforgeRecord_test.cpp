#include "pdb/PDBAppforgeRecord.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "pdb/HandheldType.h"
#include "pdb/TableFormat.h"
#include "support/ExpectError.h"
#include "support/Hex.h"

namespace mv {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::FromHex;
using mv::testing::ToHex;

/// A code that a file may hold, known or not.
struct Code {
  Code(HandheldType type) : number(CodeOf(type)) {}
  Code(std::int32_t any) : number(any) {}

  std::int32_t number;
};

std::shared_ptr<PDBAppforgeDefinition> DefinitionOf(const std::vector<Code>& types) {
  auto definition = std::make_shared<PDBAppforgeDefinition>();
  for (const Code& type : types) definition->AddFieldName("F", type.number);
  return definition;
}

PDBAppforgeRecord RecordOf(const std::vector<Code>& types) {
  PDBAppforgeRecord record;
  record.AppforgeDefinition(DefinitionOf(types));
  return record;
}

void Read(PDBAppforgeRecord& record, Bytes bytes) {
  PDBByteStream stream;
  stream.ByteArray(std::move(bytes));
  record.ByteStream(stream);
}

/// The record's bytes without the spare byte, which must be there and zero.
Bytes Written(PDBAppforgeRecord& record) {
  Bytes bytes = record.ByteStream().ByteArray();
  EXPECT_EQ(bytes.size(), static_cast<std::size_t>(record.DataLength()) + 1);
  EXPECT_EQ(bytes.back(), 0);
  bytes.pop_back();
  return bytes;
}

std::string RoundTrip(HandheldType type, std::string_view hex) {
  PDBAppforgeRecord record = RecordOf({type});
  Read(record, FromHex(hex));
  return ToHex(Written(record));
}

Date At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return DateFromCivil({year, month, day, hour, minute, second});
}

// --- The record as a whole ------------------------------------------------------------------------------------------

TEST(PDBAppforgeRecordTest, WithoutADefinitionARecordHasNoFields) {
  PDBAppforgeRecord record;
  EXPECT_EQ(record.AppforgeDefinition()->FieldCount(), 0);
  EXPECT_EQ(record.DataLength(), 0);
  EXPECT_EQ(ToHex(record.ByteStream().ByteArray()), "00");
  EXPECT_EQ(record.StringValue(0), "");
  EXPECT_EQ(ErrorNumberOf([&] { record.StringValue(1); }), errors::kSubscriptOutOfRange);
}

TEST(PDBAppforgeRecordTest, LongTextAndBooleanByteForByte) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Long, HandheldType::Text, HandheldType::Boolean});
  record.LongValue(1, 7);
  record.StringValue(2, "ab");
  record.BooleanValue(3, true);
  EXPECT_EQ(record.DataLength(), 8);
  EXPECT_EQ(ToHex(Written(record)), "00 00 00 07 61 62 00 FF");
}

TEST(PDBAppforgeRecordTest, TheStreamEndsInASpareByteAlsoBehindALastFieldOfOneByte) {
  for (const std::int32_t last : {CodeOf(HandheldType::Byte), CodeOf(HandheldType::Boolean), CodeOf(HandheldType::Text),
                                  CodeOf(HandheldType::Long), 0}) {
    PDBAppforgeRecord record = RecordOf({HandheldType::Byte, last});
    record.ByteValue(1, 200);
    if (last != CodeOf(HandheldType::Text)) record.ByteValue(2, 1);
    EXPECT_EQ(record.ByteStream().Length(), record.DataLength()) << last;
  }
}

TEST(PDBAppforgeRecordTest, AllTypesByteForByte) {
  PDBAppforgeRecord record = RecordOf({1, 2, 3, 4, 5, 6, 7, 8, 9});
  record.ByteValue(1, 200);
  record.IntegerValue(2, -2);
  record.LongValue(3, -3);
  record.SingleValue(4, 0.5F);
  record.StringValue(5, "\xC3\xA9");
  record.BooleanValue(6, false);
  record.DateValue(7, At(1972, 1, 1));
  record.DoubleValue(8, -2.5);
  record.CurrencyValue(9, -125'000);
  EXPECT_EQ(ToHex(Written(record)),
            "C8 FF FE FF FF FF FD 3F 00 00 00 C3 A9 00 00 7F E8 17 80 C0 04 00 00 00 00 00 00 "
            "FF FF FF FF FF FE 17 B8");
}

TEST(PDBAppforgeRecordTest, ReadingABooleanTakesAnyByteButZeroForTrueAndWritesFF) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Boolean, HandheldType::Boolean});
  Read(record, {1, 0});
  EXPECT_TRUE(record.BooleanValue(1));
  EXPECT_FALSE(record.BooleanValue(2));
  EXPECT_EQ(ToHex(Written(record)), "FF 00");
}

TEST(PDBAppforgeRecordTest, AFieldOfAnUnknownTypeOccupiesNothingAndKeepsItsValue) {
  PDBAppforgeRecord record = RecordOf({0, HandheldType::Byte, 10});
  record.StringValue(1, "kept");
  Read(record, {5});
  EXPECT_EQ(record.StringValue(1), "kept");
  EXPECT_EQ(record.ByteValue(2), 5);
  EXPECT_EQ(record.DataLength(), 1);
  EXPECT_EQ(ToHex(Written(record)), "05");
}

TEST(PDBAppforgeRecordTest, ANewDefinitionEmptiesAllValues) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Text});
  record.StringValue(0, "zero");
  record.StringValue(1, "one");
  record.AppforgeDefinition(DefinitionOf({HandheldType::Text, HandheldType::Text}));
  EXPECT_EQ(record.StringValue(0), "");
  EXPECT_EQ(record.StringValue(1), "");
  EXPECT_EQ(record.StringValue(2), "");
}

TEST(PDBAppforgeRecordTest, ADefinitionThatGrewBehindTheRecordsBackIsOutOfRange) {
  const auto definition = DefinitionOf({HandheldType::Text});
  PDBAppforgeRecord record;
  record.AppforgeDefinition(definition);
  definition->AddFieldName("G", CodeOf(HandheldType::Text));
  EXPECT_EQ(ErrorNumberOf([&] { record.ByteStream(); }), errors::kSubscriptOutOfRange);
}

TEST(PDBAppforgeRecordTest, NumbersOutsideTheFieldsAreOutOfRangeAndZeroBelongsToNoField) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Byte});
  record.StringValue(0, "free");
  EXPECT_EQ(record.StringValue(0), "free");
  Read(record, {1});
  EXPECT_EQ(record.StringValue(0), "free");
  for (const std::int16_t outside : {std::int16_t{-1}, std::int16_t{2}, std::int16_t{32767}}) {
    EXPECT_EQ(ErrorNumberOf([&] { record.ByteValue(outside); }), errors::kSubscriptOutOfRange);
    EXPECT_EQ(ErrorNumberOf([&] { record.ByteValue(outside, 1); }), errors::kSubscriptOutOfRange);
    EXPECT_EQ(ErrorNumberOf([&] { record.StringValue(outside, "x"); }), errors::kSubscriptOutOfRange);
  }
}

TEST(PDBAppforgeRecordTest, ARecordThatEndsBeforeItsFieldsIsOutOfRange) {
  for (const std::int32_t type : {1, 2, 3, 4, 6, 7, 8, 9}) {
    PDBAppforgeRecord record = RecordOf({type});
    const Bytes tooShort(static_cast<std::size_t>(FieldWidth(type)) - 1);
    EXPECT_EQ(ErrorNumberOf([&] { Read(record, tooShort); }), errors::kSubscriptOutOfRange) << type;
  }
}

TEST(PDBAppforgeRecordTest, ATextMayEndWithTheRecordInsteadOfATerminator) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Byte, HandheldType::Text, HandheldType::Text});
  Read(record, {1, 'a', 'b'});
  EXPECT_EQ(record.StringValue(2), "ab");
  EXPECT_EQ(record.StringValue(3), "");
}

TEST(PDBAppforgeRecordTest, BytesBehindTheLastFieldAreNotLookedAt) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Byte});
  Read(record, {1, 2, 3});
  EXPECT_EQ(ToHex(Written(record)), "01");
}

TEST(PDBAppforgeRecordTest, OneObjectServesOneRecordAfterTheOther) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Text, HandheldType::Long});
  Read(record, FromHex("61 62 63 64 65 66 67 68 69 6A 6B 6C 6D 6E 6F 70 71 72 00 FF FF FF FF"));
  EXPECT_EQ(record.StringValue(1), "abcdefghijklmnopqr");
  Read(record, FromHex("78 00 00 00 00 01"));
  EXPECT_EQ(record.StringValue(1), "x");
  EXPECT_EQ(ToHex(Written(record)), "78 00 00 00 00 01");
}

TEST(PDBAppforgeRecordTest, TheStreamsSettingsAreTakenOver) {
  PDBByteStream stream;
  stream.ByteArray(FromHex("01 00 E9 00"));
  stream.UTF8Strings(false);
  stream.GlobalByteSwap(true);
  PDBAppforgeRecord record = RecordOf({HandheldType::Integer, HandheldType::Text});
  record.ByteStream(stream);
  EXPECT_EQ(record.IntegerValue(1), 1);
  EXPECT_EQ(record.StringValue(2), "\xC3\xA9");
  EXPECT_EQ(record.DataLength(), 5) << "the text counts in its UTF-8 form all the same";
  EXPECT_EQ(ToHex(record.ByteStream().ByteArray()), "01 00 E9 00 00 00");
}

// --- Reading and writing gives the same bytes -----------------------------------------------------------------------

TEST(PDBAppforgeRecordTest, EveryByteAndIntegerComesBack) {
  for (const char* hex : {"00", "7F", "80", "FF"}) EXPECT_EQ(RoundTrip(HandheldType::Byte, hex), hex);
  for (const char* hex : {"00 00", "7F FF", "80 00", "FF FF"}) EXPECT_EQ(RoundTrip(HandheldType::Integer, hex), hex);
  for (const char* hex : {"00 00 00 00", "7F FF FF FF", "80 00 00 00", "FF FF FF FF"}) {
    EXPECT_EQ(RoundTrip(HandheldType::Long, hex), hex);
  }
}

TEST(PDBAppforgeRecordTest, EverySingleComesBackWithZerosSignInfinitiesAndPayloadsOfNotANumbers) {
  for (const char* hex : {"00 00 00 00", "80 00 00 00", "00 00 00 01", "7F 7F FF FF", "7F 80 00 00", "FF 80 00 00",
                          "7F C0 00 00", "7F 80 00 01", "FF 80 00 01", "FF FF FF FF", "3D CC CC CD"}) {
    EXPECT_EQ(RoundTrip(HandheldType::Single, hex), hex);
  }
}

TEST(PDBAppforgeRecordTest, EveryDoubleComesBackWithZerosSignInfinitiesAndPayloadsOfNotANumbers) {
  for (const char* hex :
       {"00 00 00 00 00 00 00 00", "80 00 00 00 00 00 00 00", "00 00 00 00 00 00 00 01", "7F EF FF FF FF FF FF FF",
        "7F F0 00 00 00 00 00 00", "FF F0 00 00 00 00 00 00", "7F F8 00 00 00 00 00 00", "7F F0 00 00 00 00 00 01",
        "FF F0 00 00 00 00 00 01", "FF FF FF FF FF FF FF FF", "3F B9 99 99 99 99 99 9A"}) {
    EXPECT_EQ(RoundTrip(HandheldType::Double, hex), hex);
  }
}

TEST(PDBAppforgeRecordTest, EveryCurrencyComesBackUpToBothEnds) {
  for (const char* hex : {"00 00 00 00 00 00 00 00", "80 00 00 00 00 00 00 00", "7F FF FF FF FF FF FF FF",
                          "FF FF FF FF FF FF FF FF", "00 00 00 00 00 00 00 01"}) {
    EXPECT_EQ(RoundTrip(HandheldType::Currency, hex), hex);
  }
}

TEST(PDBAppforgeRecordTest, EveryDateWordComesBack) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Date});
  constexpr std::uint64_t kEnd = std::uint64_t{1} << 32;
  constexpr std::uint64_t kPrimeStep = 20'011;
  Bytes bytes(4);
  for (std::uint64_t word = 0; word < kEnd; word += kPrimeStep) {
    for (std::size_t i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(word >> (24 - 8 * i));
    Read(record, bytes);
    ASSERT_EQ(Written(record), bytes) << word;
  }
  for (const char* hex : {"00 00 00 00", "7F E8 17 7F", "7F E8 17 80", "7F FF FF FF", "80 00 00 00", "FF FF FF FF"}) {
    EXPECT_EQ(RoundTrip(HandheldType::Date, hex), hex);
  }
}

TEST(PDBAppforgeRecordTest, RecordsOfRandomValuesComeBack) {
  constexpr unsigned kSeed = 20261121;
  SCOPED_TRACE(kSeed);
  std::mt19937 random(kSeed);
  PDBAppforgeRecord record = RecordOf({1, 2, 3, 4, 5, 7, 8, 9, 5});
  for (int round = 0; round < 3000; ++round) {
    Bytes bytes(1 + 2 + 4 + 4);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    for (int i = 0; i < 10; ++i) bytes.push_back(static_cast<std::uint8_t>('a' + random() % 26));
    bytes.push_back(0);
    for (int i = 0; i < 4 + 8 + 8; ++i) bytes.push_back(static_cast<std::uint8_t>(random()));
    bytes.insert(bytes.end(), {0xC3, 0xA9, 0x80, 0});
    Read(record, bytes);
    ASSERT_EQ(ToHex(Written(record)), ToHex(bytes));
  }
}

TEST(PDBAppforgeRecordTest, TheTradeMarkSignDoesNotSurviveARoundTripBecauseItsLeadByteIsNotDecoded) {
  EXPECT_EQ(RoundTrip(HandheldType::Text, "C2 99 00"), "C3 82 C2 99 00");
}

TEST(PDBAppforgeRecordTest, ATextOf32767BytesIsReadAndALongerOneOverflows) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Text});
  record.StringValue(1, std::string(table_format::kLongestText, 'x'));
  Bytes bytes = Written(record);
  Read(record, bytes);
  EXPECT_EQ(record.StringValue(1).size(), 32767u);
  record.StringValue(1, std::string(32768, 'x'));
  bytes = Written(record);
  EXPECT_EQ(ErrorNumberOf([&] { Read(record, bytes); }), errors::kOverflow) << "it can be written, but not read back";
}

// --- Dates ----------------------------------------------------------------------------------------------------------

TEST(PDBAppforgeRecordTest, DatesAreSecondsSince1904) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Date});
  record.DateValue(1, At(1904, 1, 1));
  EXPECT_EQ(ToHex(Written(record)), "00 00 00 00");
  record.DateValue(1, At(1972, 1, 1));
  EXPECT_EQ(ToHex(Written(record)), "7F E8 17 80");
  record.DateValue(1, At(2026, 11, 21, 14, 5, 9));
  EXPECT_EQ(ToHex(Written(record)), "E7 27 55 95");
  EXPECT_EQ(record.DateValue(1), At(2026, 11, 21, 14, 5, 9));
  EXPECT_EQ(record.StringValue(1), "2026-11-21T14:05:09");
}

TEST(PDBAppforgeRecordTest, SettingADateRoundsToTheNearestSecond) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Date});
  record.DateValue(1, Date{1462 + 1.4 / 86400});
  EXPECT_EQ(ToHex(Written(record)), "00 00 00 01");
  record.DateValue(1, Date{1462 + 1.6 / 86400});
  EXPECT_EQ(ToHex(Written(record)), "00 00 00 02");
}

TEST(PDBAppforgeRecordTest, DatesBefore1904AreNegativeSecondsAndReadBackAsLateOnes) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Date});
  record.DateValue(1, At(1903, 12, 31, 23, 59, 59));
  EXPECT_EQ(ToHex(Written(record)), "FF FF FF FF");
  Read(record, Written(record));
  EXPECT_EQ(record.DateValue(1), At(2040, 2, 6, 6, 28, 15));
}

TEST(PDBAppforgeRecordTest, DatesThat32BitsCannotHoldOverflow) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Date});
  record.DateValue(1, At(2040, 2, 6, 6, 28, 15));
  EXPECT_EQ(ToHex(Written(record)), "FF FF FF FF");
  record.DateValue(1, At(2040, 2, 6, 6, 28, 16));
  EXPECT_EQ(ErrorNumberOf([&] { record.ByteStream(); }), errors::kOverflow);
  record.DateValue(1, At(1835, 12, 12, 20, 45, 52));
  EXPECT_EQ(ToHex(Written(record)), "80 00 00 00");
  record.DateValue(1, At(1835, 12, 12, 20, 45, 51));
  EXPECT_EQ(ErrorNumberOf([&] { record.ByteStream(); }), errors::kOverflow);
}

TEST(PDBAppforgeRecordTest, ADateOutsideTheCalendarLeavesTheValue) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Date});
  record.DateValue(1, At(2000, 1, 1));
  EXPECT_EQ(ErrorNumberOf([&] { record.DateValue(1, Date{1e10}); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { record.DateValue(1, Date{std::numeric_limits<double>::quiet_NaN()}); }),
            errors::kOverflow);
  EXPECT_EQ(record.DateValue(1), At(2000, 1, 1));
}

// --- Accessors do not look at the type ------------------------------------------------------------------------------

TEST(PDBAppforgeRecordTest, StringValueIsTheStoredTextOfAnyField) {
  PDBAppforgeRecord record = RecordOf({3, 4, 6, 8, 9});
  Read(record, FromHex("FF FF FF FE 3D CC CC CD 01 3F B9 99 99 99 99 99 9A 00 00 00 00 00 01 E8 48"));
  EXPECT_EQ(record.StringValue(1), "-2");
  EXPECT_EQ(record.StringValue(2), "0.1");
  EXPECT_EQ(record.StringValue(3), "1");
  EXPECT_EQ(record.StringValue(4), "0.1");
  EXPECT_EQ(record.StringValue(5), "12.5");
}

TEST(PDBAppforgeRecordTest, AnyAccessorConvertsWhatItCan) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Text});
  record.StringValue(1, " 2.5 ");
  EXPECT_EQ(record.ByteValue(1), 2) << "half to even";
  EXPECT_EQ(record.IntegerValue(1), 2);
  EXPECT_EQ(record.LongValue(1), 2);
  EXPECT_EQ(record.DoubleValue(1), 2.5);
  EXPECT_EQ(record.SingleValue(1), 2.5F);
  EXPECT_EQ(record.CurrencyValue(1), 25'000);
  EXPECT_FALSE(record.BooleanValue(1));
  record.BooleanValue(1, true);
  EXPECT_EQ(record.LongValue(1), 1);
  record.StringValue(1, "2026-11-21");
  EXPECT_EQ(record.DateValue(1), At(2026, 11, 21));
}

TEST(PDBAppforgeRecordTest, TheTypeAloneDecidesHowAValueIsWritten) {
  PDBAppforgeRecord record =
      RecordOf({HandheldType::Long, HandheldType::Text, HandheldType::Boolean, HandheldType::Date});
  record.DoubleValue(1, 3.5);
  record.BooleanValue(2, true);
  record.LongValue(3, 2);
  record.StringValue(4, "1904-01-01T00:00:01");
  EXPECT_EQ(ToHex(Written(record)), "00 00 00 04 31 00 00 00 00 00 01");
}

TEST(PDBAppforgeRecordTest, TextThatDoesNotConvertIsATypeMismatch) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Long});
  for (const char* text : {"", "abc", "True", "1,5", "2026-11-21T00:00:00"}) {
    record.StringValue(1, text);
    EXPECT_EQ(ErrorNumberOf([&] { record.LongValue(1); }), errors::kTypeMismatch) << text;
    EXPECT_EQ(ErrorNumberOf([&] { record.DoubleValue(1); }), errors::kTypeMismatch) << text;
    EXPECT_EQ(ErrorNumberOf([&] { record.CurrencyValue(1); }), errors::kTypeMismatch) << text;
    EXPECT_EQ(ErrorNumberOf([&] { record.ByteStream(); }), errors::kTypeMismatch) << text;
  }
  record.StringValue(1, "12");
  EXPECT_EQ(ErrorNumberOf([&] { record.DateValue(1); }), errors::kTypeMismatch);
}

TEST(PDBAppforgeRecordTest, ValuesOutsideTheTypeOverflow) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Byte});
  record.LongValue(1, 256);
  EXPECT_EQ(ErrorNumberOf([&] { record.ByteValue(1); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { record.ByteStream(); }), errors::kOverflow);
  record.LongValue(1, 40000);
  EXPECT_EQ(ErrorNumberOf([&] { record.IntegerValue(1); }), errors::kOverflow);
  record.DoubleValue(1, 1e300);
  EXPECT_EQ(ErrorNumberOf([&] { record.LongValue(1); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { record.SingleValue(1); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { record.CurrencyValue(1); }), errors::kOverflow);
}

TEST(PDBAppforgeRecordTest, AValueMayBeSetFromAnotherFieldOrItself) {
  PDBAppforgeRecord record = RecordOf({HandheldType::Text, HandheldType::Text});
  record.StringValue(1, "a text longer than a small string holds");
  record.StringValue(1, record.StringValue(1));
  record.StringValue(2, record.StringValue(1));
  EXPECT_EQ(record.StringValue(2), "a text longer than a small string holds");
}

}  // namespace
}  // namespace mv
