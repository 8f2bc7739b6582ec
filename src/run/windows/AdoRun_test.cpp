#include <gtest/gtest.h>

#include <array>
#include <random>

#include "ado/AdoConnection.h"
#include "support/FakeAdo.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using testing::DeviceRecord;
using testing::FakeAdo;
using testing::RunWorld;
using testing::Values;
using Rows = std::vector<Values>;

const std::string kTable = "brnd_Fuel";

/// One table's content on both sides before a run.
struct BothSides {
  Rows desktop;
  std::vector<DeviceRecord> device;
};

/// What a run leaves behind.
struct Outcome {
  Rows desktop;
  Bytes device;
  std::string log;
  std::int32_t error = 0;
  std::int16_t tablesSynchronized = 0;

  friend bool operator==(const Outcome&, const Outcome&) = default;
};

/// Synchronises the table; returns the number of the error that stops it, or 0.
std::int32_t Synchronize(const RunContext& run) {
  try {
    RunJournal journal(run, kTables);
    TableDriver(run, journal).SynchronizeTable(kTable);
    return 0;
  } catch (const Error& error) {
    return error.Number();
  }
}

Outcome OutcomeOf(RunWorld& world, Rows desktop, std::int32_t error) {
  return {std::move(desktop), world.rapi.Content(RunWorld::DevicePath(kTable)), world.Log(), error,
          world.state.TablesSynchronized};
}

Outcome RunInMemory(const BothSides& sides, std::int16_t mode) {
  RunWorld world;
  world.state.settings.SyncMode = mode;
  world.PutDeviceTable(kTable, sides.device);
  world.database.tables[kTable].rows = sides.desktop;
  const std::int32_t error = Synchronize(world.run);
  return OutcomeOf(world, world.database.tables[kTable].rows, error);
}

void Fill(FakeAdo& ado, const Rows& rows) {
  for (const FieldDefinition& field : RunWorld::FieldsOf(kTable)) {
    ado.tables[kTable].fields.push_back({field.name, field.type, field.definedSize, 0});
  }
  for (const Values& row : rows) ado.AddRow(kTable, row);
}

Outcome RunThroughAdo(FakeAdo& ado, const BothSides& sides, std::int16_t mode) {
  RunWorld world;
  world.state.settings.SyncMode = mode;
  world.PutDeviceTable(kTable, sides.device);
  Fill(ado, sides.desktop);
  ado::AdoDatabaseProvider provider(ado, world.database);
  const RunContext& usual = world.run;
  const RunContext run{usual.state,   usual.log,           usual.ui,          usual.settings,
                       provider,      usual.connection,    usual.deviceFiles, usual.createFileTransfer,
                       usual.files,   usual.shell,         usual.clock,       usual.programFolder,
                       usual.version, usual.protectedFiles};
  const std::int32_t error = Synchronize(run);
  return OutcomeOf(world, ado.RowsOf(kTable), error);
}

/// Few keys, so that many are on both sides and some occur twice.
BothSides RandomSides(unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); };
  BothSides sides;
  for (int i = below(12); i > 0; --i)
    sides.desktop.push_back({"k" + std::to_string(below(10)), "desktop " + std::to_string(i)});
  for (int i = below(12); i > 0; --i) {
    const std::uint8_t attributes = std::array<std::uint8_t, 4>{
        0, kRecordModified, kRecordDeleted, kRecordModified | kRecordDeleted}[static_cast<std::size_t>(below(4))];
    sides.device.push_back({{"K" + std::to_string(below(10)), "device " + std::to_string(i)}, attributes});
  }
  return sides;
}

TEST(AdoRun, LeavesWhatARunInMemoryLeaves) {
  for (std::int16_t mode = 0; mode <= 2; ++mode) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
      SCOPED_TRACE("mode " + std::to_string(mode) + ", seed " + std::to_string(seed));
      const BothSides sides = RandomSides(seed);
      FakeAdo ado;
      const Outcome expected = RunInMemory(sides, mode);
      const Outcome outcome = RunThroughAdo(ado, sides, mode);
      EXPECT_EQ(expected.error, 0);
      EXPECT_EQ(outcome.desktop, expected.desktop);
      EXPECT_TRUE(outcome == expected) << outcome.log;
    }
  }
}

const BothSides kThreeRows = {{{std::string("A"), std::string("desktop a")},
                               {std::string("B"), std::string("desktop b")},
                               {std::string("C"), std::string("desktop c")}},
                              {{{std::string("A"), std::string("device a")}, kRecordModified},
                               {{std::string("B"), std::string("device b")}, kRecordModified},
                               {{std::string("C"), std::string("device c")}, kRecordModified}}};

TEST(AdoRun, ErrorInTheMergeKeepsTheRowsBeforeIt) {
  FakeAdo ado;
  ado.Fail("Recordset.Update", {static_cast<HRESULT>(0x80040E21), "the provider", "no", testing::Told::ByErrorInfo, 1});
  const Outcome outcome = RunThroughAdo(ado, kThreeRows, 0);
  EXPECT_EQ(outcome.error, errors::kJetConstraint);
  EXPECT_EQ(outcome.tablesSynchronized, 0);
  EXPECT_EQ(outcome.desktop, (Rows{{std::string("A"), std::string("device a")},
                                   {std::string("B"), std::string("desktop b")},
                                   {std::string("C"), std::string("desktop c")}}));
}

TEST(AdoRun, ErrorAtAnyCallReleasesEverything) {
  // Each FakeAdo checks that when it dies.
  for (const char* call :
       {"Connection.Open", "Recordset.Open", "Recordset.Fields", "Recordset.MoveLast", "Recordset.MoveFirst",
        "Recordset.MoveNext", "Recordset.Update", "Field.get_Value", "Field.put_Value", "Recordset.EOF"}) {
    FakeAdo ado;
    ado.Fail(call, {E_FAIL, "the provider", call, testing::Told::ByErrorInfo, 0});
    EXPECT_EQ(RunThroughAdo(ado, kThreeRows, 0).error, errors::kJetGeneral) << call;
  }
}

TEST(AdoRun, ErrorsOfClosingDoNotStopARun) {
  FakeAdo ado;
  ado.Fail("Recordset.Close", {});
  ado.Fail("Connection.Close", {});
  const Outcome outcome = RunThroughAdo(ado, kThreeRows, 0);
  EXPECT_EQ(outcome.error, 0);
  EXPECT_EQ(outcome.tablesSynchronized, 1);
}

TEST(AdoRun, CallsGrowWithTheRecordsOnly) {
  BothSides sides;
  constexpr int kRecords = 2000;
  for (int i = 0; i < kRecords; ++i) {
    const std::string key = "k" + std::to_string(i);
    sides.desktop.push_back({key, std::string("desktop")});
    sides.device.push_back({{"k" + std::to_string(kRecords - 1 - i), std::string("device")}, kRecordModified});
  }
  FakeAdo ado;
  const Outcome outcome = RunThroughAdo(ado, sides, 0);
  EXPECT_EQ(outcome.tablesSynchronized, 1);
  EXPECT_LE(ado.moves, kRecords + 2);
  EXPECT_LE(ado.reads, kRecords * 5);
}

}  // namespace
}  // namespace mv
