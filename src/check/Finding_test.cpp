#include "check/Finding.h"

#include <gtest/gtest.h>

#include "check/Findings.h"

namespace mv::check {
namespace {

TEST(Finding, LineNamesThePlaceAsFarAsItIsKnown) {
  Finding finding;
  finding.text = "something is wrong";
  EXPECT_EQ(LineOf(finding), "damage: something is wrong");
  finding.severity = Severity::Note;
  finding.table = "Fuel";
  finding.index = "PrimaryKey";
  finding.column = "KY_RECID";
  finding.page = 123;
  finding.row = 4;
  EXPECT_EQ(LineOf(finding),
            "note: table Fuel, index PrimaryKey, column KY_RECID, page 123, row 4: something is wrong");
}

TEST(Finding, SummaryCountsAndSaysWhetherTheFileIsSound) {
  Report report;
  EXPECT_EQ(SummaryOf(report), "not checked");
  report.checked = true;
  report.pages = 123;
  report.tables = 13;
  report.rows = 4567;
  report.indexes = 16;
  EXPECT_EQ(SummaryOf(report), "123 pages, 13 tables, 4567 rows, 16 indexes: sound");
  report.notes = 1;
  EXPECT_EQ(SummaryOf(report), "123 pages, 13 tables, 4567 rows, 16 indexes: sound, 1 note");
  report.damages = 3;
  report.indexes = 1;
  report.notes = 2;
  EXPECT_EQ(SummaryOf(report), "123 pages, 13 tables, 4567 rows, 1 index: 3 damages, 2 notes");
}

TEST(Finding, EveryKindHasANameOfItsOwn) {
  for (std::size_t kind = 1; kind < kKinds; ++kind) {
    EXPECT_FALSE(NameOf(static_cast<Kind>(kind)).empty());
    EXPECT_NE(NameOf(static_cast<Kind>(kind)), NameOf(static_cast<Kind>(kind - 1)));
  }
}

TEST(Findings, TextsArePutTogetherFromTheirParts) {
  Findings findings;
  const Bytes bytes = {0x01, 0xAB};
  findings.Damage(Kind::Row, Place{.table = "T"}.AtRow({17, 3}), "row ", jet::RowId{9, 2}, " has ", 5,
                  " bytes: ", Hex{bytes});
  Report report;
  findings.MoveInto(report);
  ASSERT_EQ(report.findings.size(), 1U);
  EXPECT_EQ(LineOf(report.findings[0]), "damage: table T, page 17, row 3: row 9/2 has 5 bytes: 01ab");
}

TEST(Findings, LongHexIsCut) {
  Findings findings;
  findings.Note(Kind::Row, {}, Hex{Bytes(30, 0x7F)});
  Report report;
  findings.MoveInto(report);
  EXPECT_EQ(report.findings.at(0).text, "7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f7f... (30 bytes)");
}

TEST(Findings, BeyondTheFirstHundredOfAKindAreOnlyCounted) {
  Findings findings;
  for (int i = 0; i < 150; ++i) findings.Damage(Kind::Row, {}, "row ", i);
  for (int i = 0; i < 3; ++i) findings.Note(Kind::Row, {}, "note ", i);
  Report report;
  findings.MoveInto(report);
  EXPECT_EQ(report.damages, 150U);
  EXPECT_EQ(report.notes, 3U);
  EXPECT_EQ(report.findings.size(), 103U);
  ASSERT_EQ(report.omissions.size(), 1U);
  EXPECT_EQ(LineOf(report.omissions[0]), "damage: row: and 50 more");
}

}  // namespace
}  // namespace mv::check
