#include "run/Rehearsal.h"

#include <gtest/gtest.h>

#include "pdb/RecordFlags.h"
#include "run/JournalTexts.h"
#include "run/SilentSync.h"
#include "support/ExpectError.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using history::TableState;
using testing::ErrorNumberOf;
using testing::ErrorOf;
using testing::RunWorld;

class RehearsalTest : public ::testing::Test {
 protected:
  RehearsalTest() {
    world_.state.safety.stopsOnMassLoss = true;
    world_.run.rehearse = [this](std::span<const SyncTable> tables) {
      rehearsed_ += tables.size();
      return result_;
    };
  }

  void Require(RunMode mode) {
    SetMode(world_.state, mode);
    RequireGoodRehearsal(world_.run, kSilentTables);
  }
  /// The objection to what the copy met; empty when there is none.
  std::string ObjectionIn(RunMode mode) const {
    const auto objection = ObjectionTo(mode, result_);
    return objection ? objection->Description() : "";
  }
  void Meets(TableState state, std::int32_t code) {
    history::TableRecord& table = result_.record.tables.emplace_back();
    table.table = "brnd_Fuel";
    table.state = state;
    table.code = code;
  }
  /// The copy's run ends with `error`, at a table in that state.
  void StopsAt(TableState state, const Error& error) {
    result_.status = ExitStatus::Stopped;
    result_.stop = error;
    Meets(state, 0);
  }

  RunWorld world_;
  PreviewResult result_;
  std::size_t rehearsed_ = 0;  ///< tables
};

TEST_F(RehearsalTest, AnOverwritePcIsDoneOnACopyFirst) {
  Require(RunMode::OverwritePc);
  EXPECT_EQ(rehearsed_, kSilentTables.size());
  EXPECT_EQ(world_.ui.calls.at(0), "progress: " + journal_texts::RehearsalLine());
}

TEST_F(RehearsalTest, TheOtherModesStopInTime) {
  Require(RunMode::Synchronize);
  Require(RunMode::OverwritePda);
  EXPECT_EQ(rehearsed_, 0u);
}

TEST_F(RehearsalTest, WhereTheDatabaseIsWrittenInPlaceEveryModeIsDoneOnACopyFirst) {
  world_.database.writesInPlace = true;
  Require(RunMode::Synchronize);
  Require(RunMode::OverwritePda);
  EXPECT_EQ(rehearsed_, 2 * kSilentTables.size());
}

TEST_F(RehearsalTest, NobodyPaysWhoDidNotAskForIt) {
  world_.state.safety.stopsOnMassLoss = false;
  world_.database.writesInPlace = true;
  Require(RunMode::OverwritePc);
  EXPECT_EQ(rehearsed_, 0u);
}

TEST_F(RehearsalTest, AnObjectionStopsTheRunBeforeItBegins) {
  result_.objection = Failure("the loss");
  EXPECT_EQ(ErrorOf([&] { Require(RunMode::OverwritePc); }).Description(), "the loss");
}

TEST_F(RehearsalTest, ErrorsWithoutAnObjectionAreTheRunsOwn) {
  StopsAt(TableState::Retrieved, StandardError(errors::kSubscriptOutOfRange));
  EXPECT_NO_THROW(Require(RunMode::OverwritePc));
}

TEST_F(RehearsalTest, ALossIsAnObjectionInEveryMode) {
  StopsAt(TableState::Held, Failure("the loss"));
  for (const RunMode mode : {RunMode::Synchronize, RunMode::OverwritePda, RunMode::OverwritePc}) {
    EXPECT_EQ(ObjectionIn(mode), "the loss");
  }
}

TEST_F(RehearsalTest, AnOverwritePcThatStopsForAnythingElseWouldLeaveTablesEmpty) {
  StopsAt(TableState::Retrieved, StandardError(errors::kSubscriptOutOfRange));
  EXPECT_EQ(ObjectionIn(RunMode::OverwritePc),
            journal_texts::RehearsalStop("Error 9: Subscript out of range", RunMode::OverwritePc));
  EXPECT_EQ(ObjectionIn(RunMode::Synchronize), "");
}

TEST_F(RehearsalTest, SoWouldAnOverwritePcThatDoesNotTakeEveryTable) {
  result_.status = ExitStatus::TablesFailed;
  Meets(TableState::NotRetrieved, 1);
  EXPECT_EQ(ObjectionIn(RunMode::OverwritePc),
            journal_texts::RehearsalStop("brnd_Fuel not fetched (code 1)", RunMode::OverwritePc));
  EXPECT_EQ(ObjectionIn(RunMode::OverwritePda), "");
}

TEST_F(RehearsalTest, AHandheldThatGoesAwayMeanwhileIsNamed) {
  result_.status = ExitStatus::NoHandheld;
  EXPECT_EQ(ObjectionIn(RunMode::OverwritePc),
            journal_texts::RehearsalStop("the handheld went away", RunMode::OverwritePc));
}

TEST_F(RehearsalTest, ALossSaysOnTheCopyThatNothingWasChanged) {
  world_.run.rehearse = nullptr;
  world_.PutAllDeviceTables();
  world_.state.settings.SyncMode = static_cast<std::int16_t>(RunMode::Synchronize);
  world_.database.writesInPlace = true;
  world_.database.tables["brnd_Fuel"].rows = {{Value(std::string("A")), Value(std::string("x"))}};
  world_.PutDeviceTable("brnd_Fuel", {{{Value(std::string("A")), Value(std::string("x"))}, kRecordDeleted}});
  EXPECT_EQ(SilentSync(world_.run), ExitStatus::Stopped);
  ASSERT_TRUE(world_.state.stop.has_value());
  EXPECT_EQ(world_.state.stop->Description(),
            journal_texts::RehearsalStop("brnd_Fuel: the PC loses 1 of 1 rows", RunMode::Synchronize));
}

TEST_F(RehearsalTest, AWindowClosedMeanwhileStopsTheRunAsElsewhere) {
  result_.objection = Failure("the loss");
  world_.ui.closed = true;
  EXPECT_EQ(ErrorNumberOf([&] { Require(RunMode::OverwritePc); }), errors::kUserInterrupt);
}

}  // namespace
}  // namespace mv
