#include "sync/HandheldRows.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/Error.h"
#include "pdb/RecordFlags.h"
#include "support/ExpectError.h"
#include "support/Hex.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;
using testing::FromHex;
using testing::ToHex;

HandheldRows LongAndText() {
  return HandheldRows({HandheldType::Long, HandheldType::Text, HandheldType::Byte}, 2);
}

TEST(HandheldRows, FieldsAreFollowedByTheFlags) {
  HandheldRows rows = LongAndText();
  const Bytes records = FromHex("00 00 00 07 61 00 05 | FF FF FF FE 00 06");
  FileContent content(records.size());
  std::copy(records.begin(), records.end(), content.Span().begin());
  rows.Add(content.View().first(7), kRecordDeleted);
  rows.Add(content.View().subspan(7), kRecordModified | 1);
  EXPECT_EQ(ToHex(rows.FieldBytes(0)), "00 00 00 07 61 00 05");
  rows.Keep(std::move(content));
  ASSERT_EQ(rows.Count(), 2U);
  const std::vector<std::vector<Value>> expected = {{std::int32_t{7}, std::string("a"), std::uint8_t{5}, true, false},
                                                    {std::int32_t{-2}, std::string(), std::uint8_t{6}, false, true}};
  std::vector<Value> values;
  for (std::size_t row = 0; row < 2; ++row) {
    rows.ReadRow(row, values);
    EXPECT_EQ(values, expected[row]);
    for (std::size_t field = 0; field < values.size(); ++field) {
      Value value;
      rows.ReadField(row, field, value);
      EXPECT_EQ(value, expected[row][field]) << field;
    }
  }
}

TEST(HandheldRows, WhatStandsBehindTheFieldsIsNotOfThem) {
  HandheldRows rows({HandheldType::Byte, HandheldType::Text}, 2);
  const Bytes content = FromHex("05 61 00 00 FF | 06 61");
  rows.Add(ByteView(content).first(5), 0);
  rows.Add(ByteView(content).subspan(5), 0);
  EXPECT_EQ(ToHex(rows.FieldBytes(0)), "05 61 00");
  EXPECT_EQ(ToHex(rows.FieldBytes(1)), "06 61") << "a text may end with its record";
}

TEST(HandheldRows, RecordThatEndsTooEarlyIsRefused) {
  HandheldRows rows = LongAndText();
  const Bytes cut = FromHex("00 00 00 07 61 00");
  EXPECT_EQ(ErrorNumberOf([&] { rows.Add(cut, 0); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(rows.Count(), 0U);
}

}  // namespace
}  // namespace mv
