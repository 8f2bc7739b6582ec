#include "pdb/HandheldType.h"

#include <gtest/gtest.h>

#include <set>

namespace mv {
namespace {

TEST(HandheldTypeTest, WidthsOfAllTypes) {
  const std::vector<std::int32_t> widths = {0, 1, 2, 4, 4, 1, 1, 4, 8, 8, 0};
  for (std::int32_t type = 0; type <= 10; ++type) EXPECT_EQ(FieldWidth(type), widths[static_cast<std::size_t>(type)]);
  EXPECT_EQ(FieldWidth(-1), 0);
}

TEST(HandheldTypeTest, CodesFrom1To9HaveAMeaning) {
  for (std::int32_t code = 1; code <= 9; ++code) EXPECT_EQ(CodeOf(HandheldTypeNumbered(code).value()), code);
  for (const std::int64_t code : {std::int64_t{-1}, std::int64_t{0}, std::int64_t{10}, std::int64_t{1} << 32 | 1}) {
    EXPECT_FALSE(HandheldTypeNumbered(code)) << code;
  }
}

TEST(HandheldTypeTest, EveryTypeIsReadIntoARecordsetTypeThatLeadsBackToIt) {
  std::set<DataType> types;
  for (std::int32_t code = 1; code <= 9; ++code) {
    const DataType type = DataTypeOf(HandheldTypeNumbered(code).value());
    EXPECT_EQ(HandheldTypeOf(type), HandheldTypeNumbered(code));
    types.insert(type);
  }
  EXPECT_EQ(types.size(), 9u);
}

TEST(HandheldTypeTest, RecordsetTypesOfOneKindShareAType) {
  EXPECT_EQ(HandheldTypeOf(DataType::Char), HandheldType::Byte);
  EXPECT_EQ(HandheldTypeOf(DataType::VarWChar), HandheldType::Text);
  EXPECT_EQ(HandheldTypeOf(DataType::LongVarWChar), HandheldType::Text);
  EXPECT_EQ(HandheldTypeOf(DataType::DBDate), HandheldType::Date);
  EXPECT_EQ(HandheldTypeOf(DataType::DBTimeStamp), HandheldType::Date);
}

TEST(HandheldTypeTest, RecordsetTypesThatHandheldsLackHaveNone) {
  for (const DataType type : {DataType::Guid, DataType::Binary, DataType::WChar, DataType::Numeric, DataType::VarBinary,
                              DataType::LongVarBinary}) {
    EXPECT_FALSE(HandheldTypeOf(type)) << static_cast<std::int32_t>(type);
  }
}

TEST(HandheldTypeTest, TheEpochIsTheStartOf1904) {
  EXPECT_EQ(kHandheldEpoch, DateFromCivil({1904, 1, 1, 0, 0, 0}));
}

}  // namespace
}  // namespace mv
