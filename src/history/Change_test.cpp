#include "history/Change.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"

namespace mv::history {
namespace {

const std::vector<std::string> kFields = {"KY_RECID", "NM_ODO", "TX_NOTE"};

Change ChangedRow() {
  return {"brnd_Fuel",
          "F-17",
          Side::Desktop,
          What::Changed,
          ObjectOf(kFields, {Value(std::string("F-17")), Value(std::int32_t{1200}), Value(Null())}),
          ObjectOf(kFields, {Value(std::string("F-17")), Value(std::int32_t{1250}), Value(Null())})};
}

TEST(Change, ObjectHasTheFieldsInTheirOrder) {
  EXPECT_EQ(ChangedRow().before, "{\"KY_RECID\":\"F-17\",\"NM_ODO\":1200,\"TX_NOTE\":null}");
}

TEST(Change, ObjectOfARowWithFewerValuesLeavesTheOthersOut) {
  EXPECT_EQ(ObjectOf(kFields, {Value(std::string("x"))}), "{\"KY_RECID\":\"x\"}");
}

TEST(Change, LineOfJsonGivesTheSameChange) {
  const Change change = ChangedRow();
  const std::string line = JsonLineOf(change);
  EXPECT_EQ(line,
            "{\"table\":\"brnd_Fuel\",\"key\":\"F-17\",\"side\":\"desktop\",\"what\":\"changed\","
            "\"before\":{\"KY_RECID\":\"F-17\",\"NM_ODO\":1200,\"TX_NOTE\":null},"
            "\"after\":{\"KY_RECID\":\"F-17\",\"NM_ODO\":1250,\"TX_NOTE\":null}}");
  EXPECT_EQ(JsonLineOf(ChangeFromJson(ParseJson(line))), line);
}

TEST(Change, RowThatIsNotThereIsNull) {
  Change change = ChangedRow();
  change.what = What::Dropped;
  change.side = Side::Handheld;
  change.after.clear();
  const Change read = ChangeFromJson(ParseJson(JsonLineOf(change)));
  EXPECT_EQ(read.after, "");
  EXPECT_EQ(read.what, What::Dropped);
  EXPECT_EQ(read.side, Side::Handheld);
}

TEST(Change, LineOfAChangedRowNamesOnlyWhatDiffers) {
  EXPECT_EQ(LineOf(ChangedRow()), "brnd_Fuel F-17: changed on the PC: NM_ODO 1200 -> 1250");
}

TEST(Change, LineOfADeletedRowHasAllItsValues) {
  Change change = ChangedRow();
  change.what = What::Deleted;
  change.side = Side::Handheld;
  change.after.clear();
  EXPECT_EQ(LineOf(change), "brnd_Fuel F-17: deleted on the handheld: KY_RECID \"F-17\", NM_ODO 1200, TX_NOTE null");
}

TEST(Change, SummaryCountsBothSides) {
  EXPECT_EQ(SummaryOf({"brnd_Fuel", TableState::Returned, 0, {0, 0, 2, 7, 4}, {0, 0, 2, 3, 8}, 1, 2}),
            "brnd_Fuel: PC +2 ~7 -4, handheld +2 ~3 -8, dropped 1, overruled 2");
}

TEST(Change, LossesAreWhatNobodyAskedFor) {
  EXPECT_TRUE(IsLoss(What::Dropped));
  EXPECT_TRUE(IsLoss(What::Overruled));
  EXPECT_FALSE(IsLoss(What::Deleted));
}

TEST(Change, LineOfAnotherFormIsAnError) {
  for (const char* line : {"{}", "[]", "{\"table\":\"x\",\"key\":\"k\",\"side\":\"left\",\"what\":\"added\"}",
                           "{\"table\":\"x\",\"key\":\"k\",\"side\":\"desktop\",\"what\":\"gone\"}",
                           "{\"table\":\"x\",\"key\":\"k\",\"side\":\"desktop\",\"what\":\"added\",\"before\":7,"
                           "\"after\":null}"}) {
    EXPECT_EQ(testing::ErrorNumberOf([&] { ChangeFromJson(ParseJson(line)); }), errors::kOperationFailed) << line;
  }
}

TEST(ChangeLines, LineIsThatOfTheSameChangeAsTexts) {
  const std::vector<JsonName> names(kFields.begin(), kFields.end());
  const ChangeLines::Row before = {std::string("F-17"), std::int32_t{1200}, Null()};
  const ChangeLines::Row after = {std::string("F-17"), std::int32_t{1250}, Null()};
  Change change = ChangedRow();
  ChangeLines lines;
  EXPECT_EQ(lines.LineOf("brnd_Fuel", "F-17", Side::Desktop, What::Changed, names, &before, &after),
            JsonLineOf(change) + '\n');
  change.what = What::Overruled;
  EXPECT_EQ(lines.SameLineWith(What::Overruled), JsonLineOf(change) + '\n');
  change.what = What::Added;
  change.side = Side::Handheld;
  change.before.clear();
  EXPECT_EQ(lines.LineOf("brnd_Fuel", "F-17", Side::Handheld, What::Added, names, nullptr, &after),
            JsonLineOf(change) + '\n');
}

}  // namespace
}  // namespace mv::history
