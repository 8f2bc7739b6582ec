#include "history/SendAgain.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/HistoryWorld.h"

namespace mv::history {
namespace {

using testing::HistoryWorld;
using testing::OdoRow;

class SendAgainTest : public ::testing::Test {
 protected:
  /// A run that fetched `fetched` and was to send `result`.
  std::string PutRun(const std::vector<OdoRow>& fetched, const std::vector<OdoRow>& result) {
    world_.PutHandheld("brnd_Fuel", fetched);
    const std::string entry = world_.KeepAll({"brnd_Fuel"});
    PutResult(entry, world_.TableFileOf("brnd_Fuel", result));
    return entry;
  }
  void PutResult(const std::string& entry, const Bytes& file) {
    world_.files.Put(world_.folder.ResultFileOf(entry, "brnd_Fuel"), file);
  }
  std::vector<ResultFile> Find(const SendOrder& order) {
    const ResultSources sources{world_.files, HistoryWorld::kDatabase, "C:\\source", "C:\\dest"};
    const auto handheld = world_.Connection();
    return FindResults(sources, *handheld, order);
  }
  std::string ErrorTextOf(const SendOrder& order) {
    return testing::ErrorOf([&] { Find(order); }).Description();
  }
  const SendOrder kFuel{{"brnd_Fuel"}, {}, false};
  const SendOrder kFuelForced{{"brnd_Fuel"}, {}, true};

  HistoryWorld world_;
};

TEST_F(SendAgainTest, NewestResultIsTaken) {
  PutRun({{"a", 1}}, {{"a", 2}});
  const std::string newest = PutRun({{"a", 3}}, {{"a", 4}});
  world_.KeepAll({});
  const auto results = Find(kFuel);
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(results[0].entry, newest);
  EXPECT_EQ(HistoryWorld::RowsOfFile(results[0].content), (std::vector<OdoRow>{{"a", 4}}));
}

TEST_F(SendAgainTest, ResultOfTheRunThatIsAskedForIsTaken) {
  const std::string first = PutRun({{"a", 1}}, {{"a", 2}});
  PutRun({{"a", 3}}, {{"a", 4}});
  EXPECT_EQ(HistoryWorld::RowsOfFile(Find({{"brnd_Fuel"}, first, false})[0].content), (std::vector<OdoRow>{{"a", 2}}));
}

TEST_F(SendAgainTest, WithoutHistoryTheResultFolderCounts) {
  world_.files.Put("C:\\dest\\brnd_Fuel.pdb", world_.TableFileOf("brnd_Fuel", {{"a", 1}}));
  const auto results = Find(kFuel);
  EXPECT_EQ(results[0].entry, "");
  EXPECT_EQ(HistoryWorld::RowsOfFile(results[0].content), (std::vector<OdoRow>{{"a", 1}}));
}

TEST_F(SendAgainTest, TableWithoutAResultIsRefused) {
  EXPECT_EQ(ErrorTextOf(kFuel), "there is no \"C:\\dest\\brnd_Fuel.pdb\"");
  const std::string run = world_.KeepAll({});
  EXPECT_EQ(ErrorTextOf(kFuel), "no run in \"C:\\Cars\\sync\\history\" has a result of brnd_Fuel");
  EXPECT_EQ(ErrorTextOf({{"brnd_Fuel"}, run, true}), "the run " + run + " has no result of brnd_Fuel");
}

TEST_F(SendAgainTest, NameThatIsNoTableOrGivenTwiceIsRefused) {
  EXPECT_EQ(ErrorTextOf({{"brnd_fuel"}, {}, true}), "\"brnd_fuel\" is no table of the handheld");
  EXPECT_EQ(ErrorTextOf({{"..\\x"}, {}, true}), "\"..\\x\" is no table of the handheld");
  EXPECT_EQ(ErrorTextOf({{"brnd_Fuel", "brnd_Fuel"}, {}, true}), "\"brnd_Fuel\" is named twice");
}

TEST_F(SendAgainTest, EmptyResultOfATableThatHadRecordsIsRefused) {
  const std::string run = PutRun({{"a", 1}}, {});
  EXPECT_EQ(ErrorTextOf(kFuel), "\"" + world_.folder.ResultFileOf(run, "brnd_Fuel") +
                                    "\" has no records, but the handheld had some; --force sends it all the same");
  EXPECT_EQ(Find(kFuelForced).size(), 1u);
}

TEST_F(SendAgainTest, EmptyResultOfAnEmptyTableIsTaken) {
  PutRun({}, {});
  EXPECT_EQ(Find(kFuel).size(), 1u);
}

TEST_F(SendAgainTest, DamagedResultIsRefused) {
  const std::string run = PutRun({{"a", 1}}, {{"a", 2}});
  Bytes file = world_.TableFileOf("brnd_Fuel", {{"a", 1}, {"b", 2}});
  file.resize(file.size() - 3);
  PutResult(run, file);
  const std::string text = ErrorTextOf(kFuel);
  EXPECT_TRUE(text.starts_with("\"" + world_.folder.ResultFileOf(run, "brnd_Fuel") + "\" is damaged (")) << text;
  EXPECT_EQ(Find(kFuelForced).size(), 1u);
}

TEST_F(SendAgainTest, ResultWithoutBytesIsAlwaysRefused) {
  const std::string run = PutRun({{"a", 1}}, {});
  PutResult(run, {});
  EXPECT_EQ(ErrorTextOf(kFuelForced), "\"" + world_.folder.ResultFileOf(run, "brnd_Fuel") + "\" is empty");
}

TEST_F(SendAgainTest, FlagsThatTheRunFetchedAreNothingNew) {
  PutRun({{"a", 1, 64}}, {{"a", 1}});
  EXPECT_EQ(Find(kFuel).size(), 1u);
}

TEST_F(SendAgainTest, FlagsThatCameSinceTheRunAreNotOverwritten) {
  PutRun({{"a", 1, 64}}, {{"a", 1}});
  world_.PutHandheld("brnd_Fuel", {{"a", 1, 64}, {"b", 2, 64}});
  EXPECT_EQ(ErrorTextOf(kFuel),
            "the handheld's brnd_Fuel has changed since that run, with 2 flagged records; --force sends it all the "
            "same");
  EXPECT_EQ(Find(kFuelForced).size(), 1u);
}

TEST_F(SendAgainTest, TornTableOnTheHandheldIsOverwritten) {
  PutRun({{"a", 1, 64}}, {{"a", 1}});
  Bytes torn = world_.TableFileOf("brnd_Fuel", {{"a", 1, 64}, {"b", 2, 64}});
  torn.resize(torn.size() / 2);
  world_.rapi.Put(HistoryWorld::DevicePath("brnd_Fuel"), torn);
  EXPECT_EQ(Find(kFuel).size(), 1u);
}

TEST_F(SendAgainTest, HandheldThatDoesNotAnswerIsAnError) {
  PutRun({{"a", 1}}, {{"a", 1}});
  world_.rapi.initResult = -1;
  EXPECT_EQ(ErrorTextOf(kFuel), "the handheld does not answer");
  EXPECT_EQ(ErrorTextOf(kFuelForced), "the handheld does not answer");
}

}  // namespace
}  // namespace mv::history
