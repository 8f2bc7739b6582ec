#include "fileio/IniDocument.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"

namespace mv {
namespace {

using testing::ErrorOf;

/// `text` after `key` of `section` was set.
std::string AfterSet(std::string_view text, std::string_view section, std::string_view key, std::string_view value) {
  IniDocument document(text);
  document.Set(section, key, value);
  return document.Text();
}

TEST(IniDocumentTest, SectionsAndKeysAreFoundInAnyCase) {
  const IniDocument document(
      "[ppc_MOBILE]\ndesktopDBpath=x\n[Gr\xC3\x96\xC3\x9F"
      "e]\n\xC3\x84=y\n");
  EXPECT_EQ(document.Get("PPC_Mobile", "DesktopDBPath"), "x");
  EXPECT_EQ(document.Get("Gr\xC3\xB6\xC3\x9F"
                         "e",
                         "\xC3\xA4"),
            "y")
      << "also outside ASCII";
}

TEST(IniDocumentTest, BlanksAndTabsAroundNamesAndValuesDoNotCount) {
  const IniDocument document("  [ General ]  ; the desktop's\n\tDBPath \t=  C:\\My Cars \t\r\nEmpty=\nBlank =   \n");
  EXPECT_EQ(document.Get("General", "DBPath"), "C:\\My Cars");
  EXPECT_EQ(document.Get("General", "Empty"), "");
  EXPECT_EQ(document.Get("General", "Blank"), "");
}

TEST(IniDocumentTest, QuotesKeepBlanksAndAreNotPartOfTheValue) {
  const IniDocument document("[S]\nA=\"  x \"\nB=\"\"\nC=\"\nD=\"a\" b\nE=\"\"a\"\"\n");
  EXPECT_EQ(document.Get("S", "A"), "  x ");
  EXPECT_EQ(document.Get("S", "B"), "");
  EXPECT_EQ(document.Get("S", "C"), "\"") << "one quote is no pair";
  EXPECT_EQ(document.Get("S", "D"), "\"a\" b");
  EXPECT_EQ(document.Get("S", "E"), "\"a\"");
}

TEST(IniDocumentTest, CommentsAndLinesOfOtherFormsMeanNothing) {
  const IniDocument document("Outside=1\n[S]\n;A=1\n  #B=2\nC\n[Torn\nD=4 ; kept\n");
  EXPECT_EQ(document.Get("S", "A"), std::nullopt);
  EXPECT_EQ(document.Get("S", ";A"), std::nullopt);
  EXPECT_EQ(document.Get("S", "B"), std::nullopt);
  EXPECT_EQ(document.Get("S", "C"), std::nullopt);
  EXPECT_EQ(document.Get("S", "Outside"), std::nullopt);
  EXPECT_EQ(document.Get("S", "D"), "4 ; kept") << "a comment is a line of its own";
}

TEST(IniDocumentTest, ValuesMayHoldEqualsSignsAndSemicolons) {
  EXPECT_EQ(IniDocument("[S]\nA=b=c;d\n").Get("S", "A"), "b=c;d");
}

TEST(IniDocumentTest, TheFirstOfTwoEqualKeysCounts) {
  const IniDocument document("[S]\nA=1\na=2\n[T]\n[s]\nA=3\nB=4\n");
  EXPECT_EQ(document.Get("S", "A"), "1");
  EXPECT_EQ(document.Get("S", "B"), "4") << "also when the section goes on further down";
}

TEST(IniDocumentTest, AByteOrderMarkBelongsToNoName) {
  EXPECT_EQ(IniDocument("\xEF\xBB\xBF[S]\r\nA=1\r\n").Get("S", "A"), "1");
}

TEST(IniDocumentTest, MalformedUtf8IsReplacedInTheValueOnly) {
  IniDocument document("[S]\nA=x\xFFy\nB=1\n");
  EXPECT_EQ(document.Get("S", "A"), "x\xEF\xBF\xBDy");
  document.Set("S", "B", "2");
  EXPECT_EQ(document.Text(), "[S]\nA=x\xFFy\nB=2\n");
}

TEST(IniDocumentTest, SettingAKeyChangesItsValueAndNoOtherByte) {
  const std::string text =
      "\xEF\xBB\xBF; mine\r\n\r\n[ general ]\r\n # note\r\n dbpath \t=  old value \t\r\nodd line\n[Other]\nDBPath=keep";
  EXPECT_EQ(
      AfterSet(text, "General", "DBPath", "new"),
      "\xEF\xBB\xBF; mine\r\n\r\n[ general ]\r\n # note\r\n dbpath \t=  new \t\r\nodd line\n[Other]\nDBPath=keep");
}

TEST(IniDocumentTest, SettingTheSameValueAgainChangesNothing) {
  const std::string text = "[S]\nA = \" x\"\n";
  EXPECT_EQ(AfterSet(text, "S", "A", " x"), text);
}

TEST(IniDocumentTest, AnEmptyValueIsFilledInPlace) {
  EXPECT_EQ(AfterSet("[S]\nA=\nB=1\n", "S", "A", "x"), "[S]\nA=x\nB=1\n");
}

TEST(IniDocumentTest, ANewKeyFollowsTheLastKeyOfItsSection) {
  EXPECT_EQ(AfterSet("[S]\nA=1\n\n; about T\n[T]\nB=2\n", "S", "C", "3"), "[S]\nA=1\nC=3\n\n; about T\n[T]\nB=2\n");
  EXPECT_EQ(AfterSet("[S]\n[T]\nB=2\n", "S", "C", "3"), "[S]\nC=3\n[T]\nB=2\n");
}

TEST(IniDocumentTest, ANewKeyGoesToTheFirstPartOfASectionThatStandsTwice) {
  EXPECT_EQ(AfterSet("[S]\nA=1\n[T]\n[S]\nB=2\n", "S", "C", "3"), "[S]\nA=1\nC=3\n[T]\n[S]\nB=2\n");
}

TEST(IniDocumentTest, ANewSectionStandsAtTheEndAfterABlankLine) {
  EXPECT_EQ(AfterSet("", "S", "A", "1"), "[S]\nA=1\n");
  EXPECT_EQ(AfterSet("[T]\nB=2\n", "S", "A", "1"), "[T]\nB=2\n\n[S]\nA=1\n");
  EXPECT_EQ(AfterSet("[T]\nB=2\n\n", "S", "A", "1"), "[T]\nB=2\n\n[S]\nA=1\n");
}

TEST(IniDocumentTest, NewLinesEndAsTheFirstLineDoes) {
  EXPECT_EQ(AfterSet("[T]\r\nB=2", "S", "A", "1"), "[T]\r\nB=2\r\n\r\n[S]\r\nA=1\r\n");
  EXPECT_EQ(AfterSet("[S]\nA=1", "S", "B", "2"), "[S]\nA=1\nB=2\n");
}

TEST(IniDocumentTest, ACarriageReturnAtTheTornEndIsNoPartOfTheValue) {
  IniDocument document("[S]\nA=1\r");
  document.Set("S", "B", "2");
  EXPECT_EQ(document.Get("S", "A"), "1");
  EXPECT_EQ(IniDocument(document.Text()).Get("S", "A"), "1");
}

TEST(IniDocumentTest, EveryValueOfOneLineReadsBackAsItWasSet) {
  for (const std::string value :
       {"", " ", "  x", "x\t", "\"", "\"\"", "\"x\"", "a=b", ";c", "#", "[d]",
        "caf\xC3\xA9 \xE2\x84\xA2 \xE4\xB8\xAD \xF0\x9F\x9A\x97", "\\Program Files\\Motorva"}) {
    EXPECT_EQ(IniDocument(AfterSet("", "S", "A", value)).Get("S", "A"), value) << value;
  }
}

TEST(IniDocumentTest, AValueOfTwoLinesIsRefused) {
  for (const char* value : {"a\nb", "a\r", "\r\nB=2"}) {
    IniDocument document("[S]\nA=1\n");
    EXPECT_EQ(ErrorOf([&] { document.Set("S", "A", value); }).Number(), 5);
    EXPECT_EQ(document.Text(), "[S]\nA=1\n");
  }
}

TEST(IniDocumentTest, SingleQuotesAroundAValueAreNotPartOfIt) {
  IniDocument document("[S]\nA='  x '\nB='mixed\"\n");
  EXPECT_EQ(document.Get("S", "A"), "  x ");
  EXPECT_EQ(document.Get("S", "B"), "'mixed\"");
  document.Set("S", "C", "'kept'");
  EXPECT_EQ(document.Get("S", "C"), "'kept'");
}

TEST(IniDocumentTest, EntriesListsAllPartsOfASectionInOrder) {
  const IniDocument document("[S]\nB = 1\n; c\nA=\" 2 \"\n[T]\nX=0\n[s]\nb=3\n");
  EXPECT_EQ(document.Entries("S"), (std::vector<IniDocument::Entry>{{"B", "1"}, {"A", " 2 "}, {"b", "3"}}));
  EXPECT_TRUE(document.Entries("U").empty());
}

TEST(IniDocumentTest, RemovingAKeyTakesEveryLineOfItAndNothingElse) {
  IniDocument document("; top\r\n[S]\r\nA=1\r\n; about B\r\nB=2\r\na=3\r\n[T]\r\nA=4");
  document.Remove("s", "A");
  EXPECT_EQ(document.Text(), "; top\r\n[S]\r\n; about B\r\nB=2\r\n[T]\r\nA=4");
  document.Remove("s", "A");
  EXPECT_EQ(document.Text(), "; top\r\n[S]\r\n; about B\r\nB=2\r\n[T]\r\nA=4");
}

TEST(IniDocumentTest, RemovingASectionTakesAllItsParts) {
  IniDocument document("K=0\n[S]\nA=1\n; note\n\n[T]\nA=2\n[s]\nB=3\n");
  document.RemoveSection("S");
  EXPECT_EQ(document.Text(), "K=0\n[T]\nA=2\n");
}

TEST(IniDocumentTest, AddedLinesEndAsAskedWhenTheTextHasNoLineEnd) {
  IniDocument document("", "\r\n");
  document.Set("S", "A", "1");
  EXPECT_EQ(document.Text(), "[S]\r\nA=1\r\n");
  IniDocument existing("[S]\n", "\r\n");
  existing.Set("S", "A", "1");
  EXPECT_EQ(existing.Text(), "[S]\nA=1\n");
}

TEST(IniDocumentTest, SectionsComeOnceAsTheyAreFirstWritten) {
  const IniDocument document("[ Handheld ]\nRoot=/card\n[b]\n[HANDHELD]\nWait=5\n; [no]\n");
  EXPECT_EQ(document.Sections(), (std::vector<std::string>{"Handheld", "b"}));
  EXPECT_TRUE(IniDocument("A=1\n").Sections().empty());
}

}  // namespace
}  // namespace mv
