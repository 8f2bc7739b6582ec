#include "pdb/TableFile.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/ExpectError.h"
#include "support/FakeClock.h"
#include "support/Hex.h"
#include "support/MemoryFileSystem.h"

namespace mv {
namespace {

using testing::MemoryFileSystem;

const std::vector<TableFileField> kEveryType = {{"A", 1}, {"B", 2}, {"C", 3}, {"D", 4}, {"E", 5},
                                                {"F", 6}, {"G", 7}, {"H", 8}, {"I", 9}, {"J", 12}};

const std::vector<Value> kEveryValue = {std::uint8_t{255},
                                        std::int16_t{-32768},
                                        std::int32_t{-2},
                                        0.1f,
                                        std::string("Zo\xC3\xA9 \xE2\x82\xAC"),
                                        true,
                                        DateFromCivil({2024, 5, 17, 8, 30, 1}),
                                        -1e300,
                                        Currency{std::numeric_limits<std::int64_t>::min()},
                                        Null{}};

Bytes FileWith(const TableFileHeader& header, const std::vector<HandheldRecord>& records) {
  MemoryFileSystem files;
  const testing::FakeClock clock;
  TableFileWriter writer(header, clock);
  for (const HandheldRecord& record : records) writer.Add(record);
  writer.WriteTo(files, "any name");
  return files.Content("any name");
}

std::vector<HandheldRecord> RecordsOf(const Bytes& content) {
  MemoryFileSystem files;
  files.Put("other.name", content);
  TableFileReader reader(files, "other.name");
  std::vector<HandheldRecord> records;
  while (const std::optional<HandheldRecord> record = reader.Next()) records.push_back(*record);
  return records;
}

TEST(TableFileTest, SmallTableHasExactlyTheseBytes) {
  const Bytes content =
      FileWith({"T", "BRND", {{"ID", 3}, {"N", 5}}}, {{64, 17, {std::int32_t{7}, std::string("ab")}}});
  const Bytes start = testing::FromHex(
      "54 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"  // name
      "00 00 00 01 00 1A 5E 00 00 1A 5E 00 00 00 00 00 00 00 00 00"                                      // dates
      "00 00 00 56 00 00 00 00 44 41 54 41 42 52 4E 44 00 00 00 11 00 00 00 12 00 01"
      "00 00 01 96 40 11 00 00");
  ASSERT_GE(content.size(), start.size());
  EXPECT_EQ(testing::ToHex(ByteView(content).first(start.size())), testing::ToHex(start));
  const Bytes end = testing::FromHex("00 00 00 00 00 07 61 62 00 00");
  EXPECT_EQ(testing::ToHex(ByteView(content).last(end.size())), testing::ToHex(end));
  EXPECT_EQ(content.size(), 0x196u + 8);
}

TEST(TableFileTest, EveryTypeOfValueIsReadBack) {
  const std::vector<HandheldRecord> records = RecordsOf(FileWith({"T", "BRND", kEveryType}, {{0, 1, kEveryValue}}));
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].values, kEveryValue);
}

TEST(TableFileTest, AllAttributesAndUniqueIdsAreReadBack) {
  std::vector<HandheldRecord> written;
  for (std::uint32_t i = 0; i < 256; ++i) {
    written.push_back({static_cast<std::uint8_t>(i), i == 0 ? 0xFFFFFF : i * 65793, {std::int32_t{1}}});
  }
  const std::vector<HandheldRecord> read = RecordsOf(FileWith({"T", "BRND", {{"ID", 3}}}, written));
  ASSERT_EQ(read.size(), written.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    EXPECT_EQ(read[i].attributes, written[i].attributes);
    EXPECT_EQ(read[i].uniqueId, written[i].uniqueId);
  }
}

TEST(TableFileTest, UniqueIdZeroDrawsTheNextFreeOne) {
  const std::vector<HandheldRecord> read = RecordsOf(FileWith(
      {"T", "BRND", {{"ID", 3}}}, {{0, 0, {std::int32_t{1}}}, {0, 17, {std::int32_t{2}}}, {0, 0, {std::int32_t{3}}}}));
  EXPECT_EQ(read[0].uniqueId, 18u);
  EXPECT_EQ(read[1].uniqueId, 17u);
  EXPECT_EQ(read[2].uniqueId, 19u);
}

TEST(TableFileTest, HeaderIsReadBack) {
  MemoryFileSystem files;
  files.Put("f", FileWith({"a.b/c", "ABCD", kEveryType}, {}));
  const TableFileReader reader(files, "f");
  EXPECT_EQ(reader.Header().name, "a.b/c");
  EXPECT_EQ(reader.Header().creator, "ABCD");
  EXPECT_EQ(reader.Header().fields, kEveryType);
}

TEST(TableFileTest, RecordWithoutBytesHasNullValues) {
  Bytes content = FileWith({"T", "BRND", {{"ID", 3}}}, {{0x80, 5, {std::int32_t{1}}}, {0, 6, {std::int32_t{2}}}});
  constexpr std::size_t kSecondOffset = 78 + 3;
  content[kSecondOffset + 8] = content[kSecondOffset];  // the second record begins where the first one does
  const std::vector<HandheldRecord> read = RecordsOf(content);
  ASSERT_EQ(read.size(), 2u);
  EXPECT_EQ(read[0].attributes, 0x80);
  EXPECT_EQ(read[0].values, (std::vector<Value>{Null{}}));
}

TEST(TableFileTest, RecordCutShortIsNamed) {
  Bytes content = FileWith({"T", "BRND", {{"ID", 3}}}, {{0, 1, {std::int32_t{1}}}});
  content.resize(content.size() - 3);
  const Error error = testing::ErrorOf([&] { RecordsOf(content); });
  EXPECT_EQ(error.Description(), "record 1 is damaged: Subscript out of range");
}

TEST(TableFileTest, FileWithoutFieldDefinitionsIsRefused) {
  const Error error = testing::ErrorOf([] { RecordsOf(Bytes(79)); });
  EXPECT_EQ(error.Description(), "other.name: no field definitions (no \"APPFORG2\" block)");
}

TEST(TableFileTest, FileThatEndsInItsHeaderIsError9) {
  EXPECT_EQ(testing::ErrorNumberOf([] { RecordsOf(Bytes(50)); }), errors::kSubscriptOutOfRange);
}

TEST(TableFileTest, FirstAndLastDateOfAHandheldAreReadBack) {
  for (const CivilTime& time : {CivilTime{1904, 1, 1, 0, 0, 0}, CivilTime{2040, 2, 6, 6, 28, 15}}) {
    const Bytes content = FileWith({"T", "BRND", {{"D", 7}}}, {{0, 1, {DateFromCivil(time)}}});
    EXPECT_EQ(RecordsOf(content)[0].values[0], Value(DateFromCivil(time)));
  }
}

TEST(TableFileTest, DateOutsideTheHandheldsRangeIsRefused) {
  for (const CivilTime& time : {CivilTime{1903, 12, 31, 23, 59, 59}, CivilTime{2040, 2, 6, 6, 28, 16}}) {
    EXPECT_EQ(testing::ErrorNumberOf([&] {
                FileWith({"T", "BRND", {{"D", 7}}}, {{0, 1, {DateFromCivil(time)}}});
              }),
              errors::kOperationFailed);
  }
}

TEST(TableFileTest, FailedWriteLeavesTheOldFile) {
  MemoryFileSystem files;
  files.Put("f", {1, 2, 3});
  files.FailWrite(1);
  const testing::FakeClock clock;
  TableFileWriter writer({"T", "BRND", {}}, clock);
  EXPECT_EQ(testing::ErrorNumberOf([&] { writer.WriteTo(files, "f"); }), errors::kDiskFull);
  EXPECT_EQ(files.Content("f"), (Bytes{1, 2, 3}));
}

}  // namespace
}  // namespace mv
