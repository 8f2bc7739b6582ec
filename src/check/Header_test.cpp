#include "check/Header.h"

#include <gtest/gtest.h>

#include "jet/file/Rc4.h"
#include "support/CheckWorld.h"
#include "support/JetDatabase.h"

namespace mv::check {
namespace {

using mv::testing::FileBytes;
using mv::testing::FindingsIn;
using mv::testing::Lines;
using mv::testing::LinesOf;

/// A new database whose page 0 can be changed behind its mask.
class HeaderTest : public ::testing::Test {
 protected:
  HeaderTest() : file_(mv::testing::JetDatabase().Image()), mask_(jet::Rc4KeyStream(kMaskKey, 0x80)) {}

  void SetMasked16(std::size_t at, std::uint16_t word) {
    file_.Set16(0, at, static_cast<std::uint16_t>(word ^ LoadLittle<std::uint16_t>(mask_.data() + at - 0x18)));
  }
  Lines Check() {
    Findings findings;
    Header(PageView(file_.Page(0), kPageSize)).Check(findings);
    Report report;
    findings.MoveInto(report);
    return LinesOf(report);
  }

  /// What is said of a file that is not for the checker.
  Lines Refusal() {
    Findings findings;
    EXPECT_FALSE(IsCheckable(file_.All(), findings));
    Report report;
    findings.MoveInto(report);
    return LinesOf(report);
  }

  static constexpr std::uint8_t kMaskKey[] = {0xC7, 0xDA, 0x39, 0x6B};
  FileBytes file_;
  Bytes mask_;
};

TEST_F(HeaderTest, OfANewDatabaseIsSound) {
  EXPECT_EQ(Check(), Lines());
}

TEST_F(HeaderTest, PointersThatAreNotTheFixedOnesAreDamage) {
  SetMasked16(0x18, 0x0102);
  SetMasked16(0x2C, 6);
  EXPECT_EQ(Check(), (Lines{"damage: page 0: the pointer to the map of free pages is 258, not 256",
                            "damage: page 0: the pointer to the definition of MSysRelationships is 6, not 5"}));
}

TEST_F(HeaderTest, CodePageMustBeOneOfWindows) {
  SetMasked16(0x3C, 1250);
  EXPECT_EQ(Check(), Lines());
  SetMasked16(0x3C, 7);
  EXPECT_EQ(Check(), Lines{"note: page 0: the code page 7 is no ANSI code page"});
}

TEST_F(HeaderTest, EngineVersionIs40) {
  file_.Byte(0, 0x9C) = '5';
  EXPECT_EQ(Check(), Lines{"note: page 0: the engine's version is not 4.0"});
}

TEST_F(HeaderTest, CreationDateIsADate) {
  SetMasked16(0x78, 0x7FF8);
  EXPECT_THAT(Check(), ::testing::Contains("note: page 0: the creation date is no date"));
}

TEST_F(HeaderTest, APasswordIsNoKindThatCanBeChecked) {
  SetMasked16(0x42, 'x');
  EXPECT_EQ(Refusal(), Lines{"damage: the file is protected by a password and cannot be checked"});
}

TEST_F(HeaderTest, CommitWordsBelow0100AreDamage) {
  file_.Set16(0, 0xE00 + 2 * 5, 0x0000);
  file_.Set16(0, 0xE00 + 2 * 9, 0x0001);
  file_.Set16(0, 0xE00 + 2 * 10, 0x0100);
  EXPECT_EQ(Check(), (Lines{"damage: page 0: commit word 5 is 0: a writer stopped half-way, or met damage",
                            "damage: page 0: commit word 9 is 1: a writer stopped half-way, or met damage"}));
}

TEST_F(HeaderTest, IdentifiersAreThoseOfTheFile) {
  const jet::Header other = jet::Header::FromPage([&] {
    jet::Page page;
    std::copy_n(file_.Page(0), page.size(), page.begin());
    return page;
  }());
  const Header header(PageView(file_.Page(0), kPageSize));
  EXPECT_EQ(header.AccountOf(other.Identifier(jet::Account::Admin)), Account::Admin);
  EXPECT_EQ(header.AccountOf(other.Identifier(jet::Account::Users)), Account::Users);
  EXPECT_EQ(header.AccountOf(other.Identifier(jet::Account::Engine)), Account::Engine);
  EXPECT_EQ(header.AccountOf(other.Identifier(jet::Account::Creator)), Account::Creator);
  EXPECT_EQ(header.AccountOf(Bytes{0x03, 0x01}), std::nullopt);
  EXPECT_EQ(header.AccountOf(Bytes{0x03}), std::nullopt);
}

TEST_F(HeaderTest, FilesOfOtherKindsHaveOneFindingThatSaysWhatTheyAre) {
  const auto withMark = [&](std::string_view mark, std::uint8_t version) {
    FileBytes file = file_;
    std::copy(mark.begin(), mark.end(), file.Page(0) + 4);
    file.Byte(0, 0x14) = version;
    return FindingsIn(file.All());
  };
  EXPECT_EQ(FindingsIn({}), Lines{"damage: the file is no database and cannot be checked"});
  EXPECT_EQ(FindingsIn(Bytes(10000, 'x')), Lines{"damage: the file is no database and cannot be checked"});
  EXPECT_EQ(withMark("Standard Xyz DB", 1), Lines{"damage: the file is no database and cannot be checked"});
  EXPECT_EQ(withMark("Standard Jet DB", 0),
            Lines{"damage: the file is a Jet 3 database (Access 97 or earlier) and cannot be checked"});
  EXPECT_EQ(withMark("Standard Jet DB", 9),
            Lines{"damage: the file is a database of a later engine and cannot be checked"});
  EXPECT_EQ(withMark("Standard ACE DB", 2),
            Lines{"damage: the file is a database of the later engine ACE (.accdb) and cannot be checked"});
  EXPECT_EQ(withMark("MSISAM Database", 1),
            Lines{"damage: the file is a database of another engine (MSISAM) and cannot be checked"});
  const Bytes start(file_.All().begin(), file_.All().begin() + 8191);
  EXPECT_EQ(FindingsIn(start), Lines{"damage: the file is too short for a database and cannot be checked"});
}

TEST_F(HeaderTest, PageKeyIsReadBehindTheMask) {
  EXPECT_EQ(Header(PageView(file_.Page(0), kPageSize)).PageKey(), 0U);
  SetMasked16(0x3E, 0x5678);
  SetMasked16(0x40, 0x1234);
  EXPECT_EQ(Header(PageView(file_.Page(0), kPageSize)).PageKey(), 0x12345678U);
  EXPECT_EQ(Check(), Lines());
}

TEST_F(HeaderTest, LengthThatIsNoMultipleOfAPageIsDamageAndTheWholePagesAreChecked) {
  Bytes longer = file_.All();
  longer.push_back(0);
  EXPECT_EQ(FindingsIn(longer),
            Lines{"damage: the file has 65537 bytes, no multiple of 4096: it was cut off or added to"});
}

}  // namespace
}  // namespace mv::check
