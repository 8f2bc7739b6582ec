#include "ado/AdoConnection.h"

#include <gtest/gtest.h>

#include "recordset/MemoryRecordset.h"
#include "support/ExpectError.h"
#include "support/FakeAdo.h"
#include "support/FakeDatabase.h"

namespace mv::ado {
namespace {

using testing::ErrorNumberOf;
using testing::ErrorOf;
using testing::FakeAdo;
using testing::FakeDatabase;
using testing::PlannedFailure;
using testing::Told;
using Calls = std::vector<std::string>;

const std::string kDatabase = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=C:\\Cars\\Motorva.db;";

class AdoDatabase : public ::testing::Test {
 protected:
  AdoDatabase() {
    ado_.tables["brnd_Fuel"].fields = {{"KY_RECID", DataType::VarWChar, 20, 0}};
    ado_.AddRow("brnd_Fuel", {std::string("a")});
    ado_.AddRow("brnd_Fuel", {std::string("b")});
  }

  FakeAdo ado_;
  FakeDatabase own_;
  AdoDatabaseProvider provider_{ado_, own_};
};

TEST_F(AdoDatabase, OneTablesRoadMakesTheseCallsInThisOrder) {
  {
    const auto connection = provider_.Open(kDatabase);
    { const auto records = connection->OpenTable("brnd_Fuel"); }
    connection->Commit();
    connection->Close();
  }
  EXPECT_EQ(ado_.calls, (Calls{"Connection.CursorLocation 2", "Connection.Open " + kDatabase + "|||-1",
                               "Recordset.ActiveConnection", "Recordset.Open brnd_Fuel||2|3|2", "Recordset.Close",
                               "Connection.Close"}));
  EXPECT_EQ(own_.calls, Calls());
}

TEST_F(AdoDatabase, DestructorClosesAnOpenConnectionAndSwallowsErrors) {
  ado_.Fail("Connection.Close", {});
  { const auto connection = provider_.Open(kDatabase); }
  EXPECT_EQ(ado_.calls.back(), "Connection.Close");
}

TEST_F(AdoDatabase, CloseReportsWhatFailsAndClosesOnlyOnce) {
  ado_.Fail("Connection.Close", {E_FAIL, "the provider", "The disk is gone."});
  {
    const auto connection = provider_.Open(kDatabase);
    const Error error = ErrorOf([&] { connection->Close(); });
    EXPECT_EQ(error.Number(), errors::kJetGeneral);
    EXPECT_EQ(error.Description(), "The disk is gone.");
    EXPECT_NO_THROW(connection->Close());
  }
  EXPECT_EQ(std::count(ado_.calls.begin(), ado_.calls.end(), "Connection.Close"), 1);
}

TEST_F(AdoDatabase, TableOfAClosedConnectionCannotBeOpened) {
  const auto connection = provider_.Open(kDatabase);
  connection->Close();
  EXPECT_EQ(ErrorNumberOf([&] { connection->OpenTable("brnd_Fuel"); }), 3709);
}

TEST_F(AdoDatabase, UnknownTableRaisesTheProvidersError) {
  const auto connection = provider_.Open(kDatabase);
  const Error error = ErrorOf([&] { connection->OpenTable("brnd_Animal"); });
  EXPECT_EQ(error.Number(), errors::kJetNoSuchTable);
  EXPECT_EQ(error.Description(), "No table 'brnd_Animal'.");
}

TEST_F(AdoDatabase, RecordCountCountsWithACursorOfItsOwn) {
  const auto connection = provider_.Open(kDatabase);
  const auto records = connection->OpenTable("brnd_Fuel");
  records->MoveNext();
  ado_.calls.clear();
  EXPECT_EQ(records->RecordCount(), 2);
  EXPECT_EQ(ado_.calls, (Calls{"Recordset.ActiveConnection", "Recordset.Open brnd_Fuel||0|1|2", "Recordset.MoveNext",
                               "Recordset.MoveNext", "Recordset.Close"}));
  EXPECT_EQ(records->FieldValue(0), Value(std::string("b")));
}

TEST_F(AdoDatabase, EveryStepOfOpeningATableMayFailAndLeavesNothingBehind) {
  for (const char* step :
       {"Create Recordset", "Recordset.ActiveConnection", "Recordset.Open", "Recordset.Fields", "Recordset.EOF",
        "Fields.Count", "Fields.Item", "Field.Name", "Field.Type", "Field.Attributes", "Field.DefinedSize"}) {
    const auto connection = provider_.Open(kDatabase);
    const int before = ado_.liveObjects;
    ado_.Fail(step, {E_FAIL, "", "no luck"});
    EXPECT_EQ(ErrorNumberOf([&] { connection->OpenTable("brnd_Fuel"); }), errors::kJetGeneral) << step;
    EXPECT_EQ(ado_.liveObjects, before) << step;
  }
}

TEST_F(AdoDatabase, WithoutAdoTheOtherEngineOpensTheSameString) {
  ado_.createResult = REGDB_E_CLASSNOTREG;
  own_.tables["brnd_Fuel"] = {{{"KY_RECID", DataType::VarWChar, 20}}, {{std::string("own")}}};
  const auto connection = provider_.Open(kDatabase);
  EXPECT_EQ(connection->OpenTable("brnd_Fuel")->FieldValue(0), Value(std::string("own")));
  EXPECT_EQ(own_.calls, (Calls{"open " + kDatabase, "table brnd_Fuel"}));
  EXPECT_EQ(ado_.calls, Calls());
}

TEST_F(AdoDatabase, WithoutTheProviderTheOtherEngineOpensTheSameString) {
  for (const std::uint32_t bits : {0x800A0E7AU, 0x80040154U, 0x800401F3U}) {
    own_.calls.clear();
    ado_.Fail("Connection.Open", {static_cast<HRESULT>(bits), "ADODB.Connection", "Provider cannot be found."});
    provider_.Open(kDatabase);
    EXPECT_EQ(own_.calls, (Calls{"open " + kDatabase})) << std::hex << bits;
    EXPECT_EQ(ado_.liveObjects, 0);
  }
}

TEST_F(AdoDatabase, EachOpenDecidesAnew) {
  ado_.Fail("Connection.Open", {results::kProviderNotFound, "", ""});
  provider_.Open(kDatabase);
  own_.calls.clear();
  provider_.Open(kDatabase);
  EXPECT_EQ(own_.calls, Calls());
}

TEST_F(AdoDatabase, DatabaseInUseIsReportedAndNotOpenedOtherwise) {
  ado_.Fail("Connection.Open",
            {E_FAIL, "Microsoft JET Database Engine", "Could not use 'C:\\Cars\\Motorva.db'; file already in use."});
  const Error error = ErrorOf([&] { provider_.Open(kDatabase); });
  EXPECT_EQ(error.Number(), errors::kJetGeneral);
  EXPECT_EQ(error.Source(), "Microsoft JET Database Engine");
  EXPECT_EQ(error.Description(), "Could not use 'C:\\Cars\\Motorva.db'; file already in use.");
  EXPECT_EQ(own_.calls, Calls());
}

TEST_F(AdoDatabase, OtherFailuresOfOpeningAreReportedAndNotOpenedOtherwise) {
  ado_.Fail("Connection.CursorLocation", {E_FAIL, "", "no cursor"});
  EXPECT_EQ(ErrorOf([&] { provider_.Open(kDatabase); }).Description(), "no cursor");
  ado_.Fail("Connection.Open",
            {static_cast<HRESULT>(0x80040E4D), "", "Not a valid password.", Told::ByConnectionErrors});
  EXPECT_EQ(ErrorNumberOf([&] { provider_.Open(kDatabase); }), errors::kJetNotAValidPassword);
  ado_.createResult = E_OUTOFMEMORY;
  EXPECT_EQ(ErrorNumberOf([&] { provider_.Open(kDatabase); }), errors::kOutOfMemory);
  EXPECT_EQ(own_.calls, Calls());
}

TEST_F(AdoDatabase, ErrorOfTheOtherEngineIsTheRunsError) {
  ado_.createResult = REGDB_E_CLASSNOTREG;
  own_.openError = Error(errors::kJetGeneral, "", "Could not find file 'C:\\Cars\\Motorva.db'.");
  EXPECT_EQ(ErrorOf([&] { provider_.Open(kDatabase); }).Description(), "Could not find file 'C:\\Cars\\Motorva.db'.");
}

}  // namespace
}  // namespace mv::ado
