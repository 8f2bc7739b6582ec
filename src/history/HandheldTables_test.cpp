#include "history/HandheldTables.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/FakeRapi.h"

namespace mv::history {
namespace {

constexpr std::int32_t kTransportFailed = -7;

class HandheldTablesTest : public ::testing::Test {
 protected:
  static constexpr const char* kFuel = "\\Motorva\\brnd_Fuel.pdb";

  testing::FakeRapi rapi_;
  HandheldTables tables_{rapi_, "\\Motorva"};
};

TEST_F(HandheldTablesTest, FetchedTableIsTheDevicesFile) {
  rapi_.Put(kFuel, {1, 2, 3});
  EXPECT_EQ(tables_.Fetch("brnd_Fuel"), (Bytes{1, 2, 3}));
  EXPECT_EQ(rapi_.OpenHandles(), 0u);
}

TEST_F(HandheldTablesTest, MissingAndEmptyTablesAreNone) {
  EXPECT_EQ(tables_.Fetch("brnd_Fuel"), std::nullopt);
  rapi_.Put(kFuel, {});
  EXPECT_EQ(tables_.Fetch("brnd_Fuel"), std::nullopt);
  EXPECT_EQ(rapi_.OpenHandles(), 0u);
}

TEST_F(HandheldTablesTest, SentTableReplacesTheDevicesFile) {
  rapi_.Put(kFuel, {9, 9, 9, 9, 9});
  EXPECT_EQ(tables_.Send("brnd_Fuel", {1, 2, 3}), DeviceCopyResult::Copied);
  EXPECT_EQ(rapi_.Content(kFuel), (Bytes{1, 2, 3}));
}

TEST_F(HandheldTablesTest, TableThatIsRefusedIsACode) {
  rapi_.Fail("CeCreateFile", 0);
  EXPECT_EQ(tables_.Send("brnd_Fuel", {1, 2, 3}), DeviceCopyResult::CannotCreate);
  EXPECT_EQ(RefusalText("brnd_Fuel", DeviceCopyResult::CannotCreate), "the handheld did not take brnd_Fuel (code 7)");
  EXPECT_EQ(tables_.Send("brnd_Fuel", {1, 2, 3}), DeviceCopyResult::Copied);
}

TEST_F(HandheldTablesTest, HandheldThatDoesNotAnswerIsAnError) {
  rapi_.initResult = kTransportFailed;
  EXPECT_EQ(testing::ErrorOf([&] { tables_.Connect(); }).Description(), "the handheld does not answer");
  EXPECT_EQ(testing::ErrorOf([&] { tables_.Fetch("brnd_Fuel"); }).Description(), "the handheld does not answer");
}

TEST_F(HandheldTablesTest, TransportThatFailsIsNoMissingTable) {
  rapi_.Put(kFuel, {1});
  rapi_.Fail("CeFindFirstFile", kTransportFailed);
  EXPECT_EQ(testing::ErrorOf([&] { tables_.Fetch("brnd_Fuel"); }).Description(), "the handheld does not answer");
}

TEST_F(HandheldTablesTest, TableThatCannotBeOpenedOrReadIsAnErrorThatNamesIt) {
  rapi_.Put(kFuel, {1});
  rapi_.Fail("CeCreateFile", 0);
  EXPECT_EQ(testing::ErrorOf([&] { tables_.Fetch("brnd_Fuel"); }).Description(),
            "the handheld's table brnd_Fuel cannot be fetched (it cannot be opened)");
  rapi_.Fail("CeReadFile", 0);
  EXPECT_EQ(testing::ErrorOf([&] { tables_.Fetch("brnd_Fuel"); }).Description(),
            "the handheld's table brnd_Fuel cannot be fetched (code 1)");
}

TEST_F(HandheldTablesTest, ConnectionEndsWithTheObject) {
  {
    HandheldTables tables(rapi_, "\\Motorva");
    tables.Connect();
    EXPECT_TRUE(rapi_.Connected());
  }
  EXPECT_FALSE(rapi_.Connected());
}

}  // namespace
}  // namespace mv::history
