#include "jet/file/Header.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>

#include "base/ByteOrder.h"
#include "support/ExpectError.h"
#include "support/Hex.h"

namespace mv::jet {
namespace {

using testing::ErrorOf;
using testing::FromHex;
using testing::ToHex;

Date DateFromBytes(std::string_view hex) {
  return Date{std::bit_cast<double>(LoadLittle<std::uint64_t>(FromHex(hex).data()))};
}

const char* const kMaskHex =
    "B5 6F 03 62 61 08 C2 55 EB A9 67 72 43 3F 00 9C 7A 9F 90 FF 80 9A 31 C5 79 BA ED 30 BC DF CC 9D "
    "63 D9 E4 C3 7B 42 FB 8A BC 4E 86 FB EC 37 5D 44 9C FA C6 5E 28 E6 13 B6 8A 60 54 94 7B 36 F5 72 "
    "DF B1 77 F4 13 43 CF AF B1 33 34 61 79 5B 92 B5 7C 2A 05 F1 7C 99 01 1B 98 FD 12 4F 4A 94 6C 3E "
    "60 26 5F 95 F8 D0 89 24 85 67 C6 1F 27 44 D2 EE CF 65 ED FF 07 C7 46 A1 78 16 0C ED E9 2D 62 D4";

/// A page 0 with some unmasked bytes replaced.
Page ChangedHeader(std::size_t at, std::string_view hex) {
  Page page = Header::ForNewDatabase(Date{38143}).ToPage();
  const Bytes mask = FromHex(kMaskHex);
  const Bytes bytes = FromHex(hex);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::size_t where = at + i;
    const bool masked = where >= 0x18 && where < 0x98;
    page[where] = masked ? bytes[i] ^ mask[where - 0x18] : bytes[i];
  }
  return page;
}

TEST(Header, NewDatabaseIsTheHeaderThatJetWrites) {
  const Page page = Header::ForNewDatabase(DateFromBytes("3E 85 D3 3B 3E AB E4 40")).ToPage();
  Bytes expected = FromHex(
      "00 01 00 00 53 74 61 6E 64 61 72 64 20 4A 65 74 20 44 42 00 01 00 00 00 "
      "B5 6E 03 62 60 09 C2 55 E9 A9 67 72 40 3F 00 9C 7E 9F 90 FF 85 9A 31 C5 79 BA ED 30 BC DF CC 9D "
      "63 D9 E4 C3 9F 46 FB 8A BC 4E DF 5E EC 37 04 E1 9C FA 9F FB 28 E6 4A 13 8A 60 0D 31 7B 36 AC D7 "
      "DF B1 2E 51 13 43 96 0A B1 33 6D C4 79 5B CB 10 7C 2A 19 D7 7C 99 08 1F 98 FD 2C CA 99 AF 52 95 "
      "84 66 5F 95 F8 D0 89 24 85 67 C6 1F 27 44 D2 EE CF 65 ED FF 07 C7 46 A1 78 16 0C ED E9 2D 62 D4 "
      "54 06 00 00 34 2E 30 00");
  expected.resize(kPageSize);
  expected[0xE00] = 0x01;
  for (std::size_t at = 0xE01; at < kPageSize; at += 2) expected[at] = 0x01;
  EXPECT_EQ(ToHex(page), ToHex(expected));
}

TEST(Header, NewDatabaseReadsBackAsWritten) {
  const Header header = Header::FromPage(Header::ForNewDatabase(Date{38143.25}).ToPage());
  EXPECT_EQ(header.CodePage(), 1252);
  EXPECT_EQ(header.PageKey(), 0u);
  EXPECT_EQ(header.Build(), 9756u);
  EXPECT_EQ(header.TextOrder(), (SortOrder{0x0409, 0, 0}));
  EXPECT_EQ(header.Created(), Date{38143.25});
  EXPECT_FALSE(header.HasPassword());
  EXPECT_EQ(header.SuspectCommitWord(), std::nullopt);
}

TEST(Header, PasswordFieldIsScrambledWithTheDayNumber) {
  const Header plain = Header::FromPage(ChangedHeader(0x42, "FF 94 00 00"));
  EXPECT_FALSE(plain.HasPassword());
  const Header set = Header::FromPage(ChangedHeader(0x42, "BE 94 00 00"));
  EXPECT_TRUE(set.HasPassword());
}

TEST(Header, PageKeyIsReadAndPutWithoutTouchingAnythingElse) {
  EXPECT_EQ(Header::FromPage(ChangedHeader(0x3E, "78 56 34 12")).PageKey(), 0x12345678u);
  const Header plain = Header::ForNewDatabase(Date{38143});
  const Header encoded = plain.WithPageKey(0x12345678);
  EXPECT_EQ(encoded.PageKey(), 0x12345678u);
  EXPECT_EQ(ToHex(encoded.ToPage()), ToHex(ChangedHeader(0x3E, "78 56 34 12")));
  EXPECT_EQ(encoded.Identifier(Account::Admin), plain.Identifier(Account::Admin));
  EXPECT_EQ(encoded.WithPageKey(0).ToPage(), plain.ToPage());
}

TEST(Header, AccountIdentifiersComeFromDatePasswordBuildAndSortOrder) {
  const Header first = Header::ForNewDatabase(DateFromBytes("3E 85 D3 3B 3E AB E4 40"));
  EXPECT_EQ(ToHex(first.Identifier(Account::Admin)), "64 8B");
  EXPECT_EQ(ToHex(first.Identifier(Account::Users)), "65 8B");
  EXPECT_EQ(ToHex(first.Identifier(Account::Engine)), "65 89");
  EXPECT_EQ(ToHex(first.Identifier(Account::Creator)), "65 8E");
}

TEST(Header, AccountIdentifiersOfAnotherBuildDifferWithTheBuildNumber) {
  Page page = Header::ForNewDatabase(DateFromBytes("81 AF D4 6B 4F EC E4 40")).ToPage();
  const Bytes mask = FromHex(kMaskHex);
  page[0x6A] = 0xA6 ^ mask[0x6A - 0x18];
  page[0x6B] = 0x11 ^ mask[0x6B - 0x18];
  const Header header = Header::FromPage(page);
  EXPECT_EQ(header.Build(), 4518u);
  EXPECT_EQ(ToHex(header.Identifier(Account::Engine)), "06 EA");
  EXPECT_EQ(ToHex(header.Identifier(Account::Admin)), "07 E8");
}

TEST(Header, CreationDateThatIsNoNumberIsReadWithoutHarm) {
  const Header header = Header::FromPage(ChangedHeader(0x72, "00 00 00 00 00 00 F8 7F"));
  EXPECT_TRUE(header.HasPassword());
  EXPECT_EQ(header.Identifier(Account::Admin).size(), 2u);
}

/// The description of the error that recognising a file with these first bytes raises; "" when it is a Jet 4 file.
std::string Refusal(const Page& page, std::uint64_t length) {
  try {
    CheckFileKind("C:\\Motorva.db", page, length);
  } catch (const Error& error) {
    EXPECT_EQ(error.Number(), errors::kJetGeneral);
    return error.Description();
  }
  return "";
}

constexpr std::uint64_t kLength = 16 * kPageSize;
const std::string kUnrecognized = "Unrecognized database format 'C:\\Motorva.db'.";

Page NamedPage(std::string_view name, std::uint8_t version) {
  Page page = Header::ForNewDatabase(Date{38143}).ToPage();
  std::copy(name.begin(), name.end(), page.begin() + 4);
  page[0x14] = version;
  return page;
}

TEST(CheckFileKind, Jet4FileIsAccepted) {
  EXPECT_EQ(Refusal(NamedPage("Standard Jet DB", 1), kLength), "");
  EXPECT_EQ(Refusal(NamedPage("Standard Jet DB", 1), 2 * kPageSize), "");
}

TEST(CheckFileKind, FileShorterThanTwoPagesIsNoDatabase) {
  EXPECT_EQ(Refusal(NamedPage("Standard Jet DB", 1), 8191), kUnrecognized);
  EXPECT_EQ(ErrorOf([] { CheckFileKind("x", Bytes(3), 8192); }).Description(), "Unrecognized database format 'x'.");
}

TEST(CheckFileKind, OtherFirstBytesAreNoDatabase) {
  for (std::size_t at : {0u, 1u, 2u, 3u, 4u, 18u, 19u}) {
    Page page = NamedPage("Standard Jet DB", 1);
    page[at] ^= 0x20;
    EXPECT_EQ(Refusal(page, kLength), kUnrecognized) << at;
  }
}

struct OtherKind {
  const char* name;
  std::uint8_t version;
  const char* reason;
};

TEST(CheckFileKind, FilesOfOtherEnginesSayWhatTheyAreAndWhatToDo) {
  static constexpr OtherKind kKinds[] = {
      {"Standard Jet DB", 0,
       "It is an Access 97 database (Jet 3). Open it with Access 2000, 2002 or 2003 and convert it to the Access 2000 "
       "format."},
      {"Standard Jet DB", 2, "It was made by a newer version of the engine (version 2)."},
      {"Standard ACE DB", 2,
       "It was made by Access 2007 (ACE). Open it there and save it as an Access 2000 or Access 2002-2003 database "
       "(*.mdb)."},
      {"Standard ACE DB", 3,
       "It was made by Access 2010 (ACE). Open it there and save it as an Access 2000 or Access 2002-2003 database "
       "(*.mdb)."},
      {"Standard ACE DB", 4,
       "It was made by Access 2013 or 2016 (ACE). Open it there and save it as an Access 2000 or Access 2002-2003 "
       "database (*.mdb)."},
      {"Standard ACE DB", 5,
       "It was made by Access 2013 or 2016 (ACE). Open it there and save it as an Access 2000 or Access 2002-2003 "
       "database (*.mdb)."},
      {"Standard ACE DB", 6,
       "It was made by Access 2019 (ACE). Open it there and save it as an Access 2000 or Access 2002-2003 database "
       "(*.mdb)."},
      {"Standard ACE DB", 9,
       "It was made by a version of Access from 2007 on (ACE). Open it there and save it as an Access 2000 or Access "
       "2002-2003 database (*.mdb)."},
      // Its version is that of Jet 4.
      {"MSISAM Database", 1, "It is an MSISAM database, which another program made; export its tables there."},
  };
  for (const OtherKind& kind : kKinds) {
    EXPECT_EQ(Refusal(NamedPage(kind.name, kind.version), kLength), kUnrecognized + " " + kind.reason);
    // Files of older engines have smaller pages: the kind comes before the length.
    EXPECT_EQ(Refusal(NamedPage(kind.name, kind.version), kLength + 2048), kUnrecognized + " " + kind.reason);
  }
}

TEST(CheckFileKind, LengthThatIsNoMultipleOf4096IsDamage) {
  EXPECT_EQ(Refusal(NamedPage("Standard Jet DB", 1), kLength + 1),
            kUnrecognized + " Its length of 65537 bytes is no multiple of 4096; it is damaged or cut off.");
}

TEST(CheckAccess, PasswordSetIsNotAValidPassword) {
  const Header header = Header::FromPage(ChangedHeader(0x68, "01 00"));
  const Error error = ErrorOf([&] { CheckAccess("a.mdb", header); });
  EXPECT_EQ(error.Number(), -2147217843);
  EXPECT_EQ(error.Description(), "Not a valid password. 'a.mdb' is protected by a password; remove it in Access.");
}

TEST(CheckAccess, EncodedPagesAreNoReasonToRefuseButAPasswordIs) {
  Page page = ChangedHeader(0x3E, "01 00 00 00");
  EXPECT_NO_THROW(CheckAccess("a.mdb", Header::FromPage(page)));
  page[0x42] ^= 1;
  EXPECT_EQ(ErrorOf([&] { CheckAccess("a.mdb", Header::FromPage(page)); }).Number(), errors::kJetNotAValidPassword);
}

TEST(CheckAccess, PlainFileWithoutPasswordIsAccepted) {
  EXPECT_NO_THROW(CheckAccess("a.mdb", Header::ForNewDatabase(Date{38143})));
}

TEST(CheckWritable, CommitWordOfAnUnfinishedWriteForbidsWriting) {
  const Error error = ErrorOf([] { CheckWritable("a.mdb", Header::FromPage(ChangedHeader(0xE06, "00 00"))); });
  EXPECT_EQ(error.Number(), errors::kJetGeneral);
  EXPECT_EQ(
      error.Description(),
      "The database file is damaged: the header of 'a.mdb' says that a program stopped while writing to it or met "
      "damage (commit word 3); repair the file before it is changed. Nothing was changed.");
}

TEST(CheckWritable, MapsOfFreePagesInAnotherPlaceForbidWriting) {
  for (const std::size_t at : {0x18, 0x1C}) {
    const Header header = Header::FromPage(ChangedHeader(at, "02 01 00 00"));
    EXPECT_NE(ErrorOf([&] { CheckWritable("a.mdb", header); }).Description().find("another place"), std::string::npos);
  }
}

TEST(CheckWritable, CommitWordOfADamagedPageForbidsWriting) {
  EXPECT_EQ(Header::FromPage(ChangedHeader(0xFFE, "01 00")).SuspectCommitWord(), 255u);
}

TEST(CheckWritable, CountersFrom0100OnAreHarmless) {
  EXPECT_NO_THROW(CheckWritable("a.mdb", Header::FromPage(ChangedHeader(0xE00, "FF FF 00 01 EA 22"))));
}

}  // namespace
}  // namespace mv::jet
