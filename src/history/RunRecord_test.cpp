#include "history/RunRecord.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"

namespace mv::history {
namespace {

RunRecord FullRecord() {
  RunRecord record;
  record.version = "2.0.1";
  record.mode = 2;
  record.modeName = "Overwrite PC";
  record.began = "2026-11-22T06:30:00";
  record.ended = "2026-11-22T06:31:00";
  record.status = 2;
  record.error = "70 \"Permission denied\"";
  record.databasePath = "C:\\Autos é\\Motorva.db";
  record.kept = KeptDatabase{"Motorva.db", {4096, -7}};
  record.unfilled = {"brnd_Trip"};
  record.settings = {{"Keep", "10"}, {"OnMassLoss", "stop"}};
  record.tables = {{"brnd_Fuel", TableState::NotReturned, 5, {1, 2, 3, 4, 5}, {6, 7, 8, 9, 10}, 11, 12}};
  record.warnings = {"brnd_Fuel lost rows"};
  record.restore = RestoreRecord{"20261121-140509", true, {"brnd_Fuel", "brnd_Trip"}, true, {"brnd_Fuel"}};
  return record;
}

TEST(RunRecord, TextOfARecordGivesTheSameRecord) {
  EXPECT_EQ(RecordFromText(TextOf(FullRecord())), FullRecord());
}

TEST(RunRecord, EmptyRecordGivesTheSameRecord) {
  EXPECT_EQ(RecordFromText(TextOf({})), RunRecord());
}

TEST(RunRecord, TextIsOneLineOfJson) {
  RunRecord record;
  record.version = "2.0.1";
  record.modeName = "Synchronize";
  record.began = "2026-11-22T06:30:00";
  record.databasePath = "C:\\Motorva.db";
  EXPECT_EQ(TextOf(record),
            "{\"version\":\"2.0.1\",\"mode\":0,\"modeName\":\"Synchronize\",\"began\":\"2026-11-22T06:30:00\","
            "\"ended\":null,\"status\":null,\"error\":null,\"database\":{\"path\":\"C:\\\\Motorva.db\"},"
            "\"unfilled\":[],\"settings\":{},\"tables\":[],\"warnings\":[]}\n");
}

TEST(RunRecord, TableIsFoundByItsName) {
  RunRecord record = FullRecord();
  ASSERT_NE(record.Find("brnd_Fuel"), nullptr);
  EXPECT_EQ(record.Find("brnd_Fuel")->code, 5);
  EXPECT_EQ(record.Find("brnd_fuel"), nullptr);
}

TEST(RunRecord, UnknownMembersAreSkippedAndMissingOnesTakeTheirDefaults) {
  EXPECT_EQ(RecordFromText("{\"later\":[1,{\"x\":null}]}"), RunRecord());
}

TEST(RunRecord, MangledTextIsAnError) {
  for (const char* text :
       {"", "{", "[]", "7", "{\"mode\":40000}", "{\"mode\":\"restore\"}", "{\"status\":-1}", "{\"status\":256}",
        "{\"began\":7}", "{\"tables\":{}}", "{\"tables\":[{\"table\":\"x\"}]}",
        "{\"tables\":[{\"table\":\"x\",\"state\":\"lost\"}]}", "{\"database\":{\"kept\":\"Motorva.db\"}}",
        "{\"tables\":[{\"table\":\"x\",\"state\":\"merged\",\"dropped\":9223372036854775808}]}",
        "{\"tables\":[{\"table\":\"x\",\"state\":\"merged\",\"dropped\":1.5}]}", "{\"restore\":[]}",
        "{\"restore\":{\"tables\":[1]}}", "{\"version\":\"a\",\"version\":\"b\"}"}) {
    EXPECT_EQ(testing::ErrorNumberOf([&] { RecordFromText(text); }), errors::kOperationFailed) << text;
  }
}

TEST(RunRecord, EveryCutOfATextIsAnErrorOrNone) {
  const std::string text = TextOf(FullRecord());
  for (std::size_t length = 0; length + 2 < text.size(); ++length) {
    EXPECT_EQ(testing::ErrorNumberOf([&] { RecordFromText(text.substr(0, length)); }), errors::kOperationFailed);
  }
}

}  // namespace
}  // namespace mv::history
