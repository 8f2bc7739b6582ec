#include "check/DatabaseCheck.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "platform/FileSystem.h"
#include "platform/System.h"
#include "support/CheckWorld.h"
#include "support/EncodedDatabase.h"
#include "support/ExternalTool.h"
#include "support/RichDatabase.h"

namespace mv::check {
namespace {

using mv::testing::Encoded;
using mv::testing::FileBytes;
using mv::testing::FindingsIn;
using mv::testing::JetCheck;
using mv::testing::JetDatabase;
using mv::testing::Lines;
using mv::testing::LinesOf;
using mv::testing::TempFolder;

constexpr std::uint32_t kPageKey = 0x12345678;

const Bytes& Rich() {
  static const Bytes image = mv::testing::RichImage();
  return image;
}

TEST(DatabaseCheck, NewDatabaseIsSound) {
  const Report report = CheckDatabase(JetDatabase().Image());
  EXPECT_EQ(LinesOf(report), Lines());
  EXPECT_EQ(SummaryOf(report), "16 pages, 0 tables, 0 rows, 0 indexes: sound");
}

TEST(DatabaseCheck, DatabaseWithEverythingIsSoundAndAllItsKeysAreCompared) {
  const Report report = CheckDatabase(Rich());
  EXPECT_EQ(LinesOf(report), Lines());
  EXPECT_EQ(report.tables, 2U);
  EXPECT_EQ(report.rows, 416U);
  EXPECT_EQ(report.indexes, 9U);
  EXPECT_GT(report.keysRebuilt, 208U * 8);
}

TEST(DatabaseCheck, PageOfTwoTablesIsDamage) {
  JetDatabase database;
  for (const char* name : {"A", "B"}) {
    database.Add(mv::testing::JetTable(name).Column("N", jet::ColumnType::Long)).Insert({std::int32_t{1}});
  }
  const jet::TableDefinition& a = database->OpenTable("A").Definition();
  const jet::TableDefinition& b = database->OpenTable("B").Definition();
  const PageNumber page = database->OpenTable("A").First()->page;
  FileBytes file(database.Image());
  file.Byte(b.ownedPages.page, file.RowStart({b.ownedPages.page, b.ownedPages.slot}) + 5 + page / 8) |=
      static_cast<std::uint8_t>(1U << page % 8);
  EXPECT_EQ(FindingsIn(file.All()), Lines{"damage: table B, page " + std::to_string(page) +
                                          ": the page already belongs to the rows of table A"});
  EXPECT_NE(a.page, b.page);
}

TEST(DatabaseCheck, OwnedPageThatIsFreeIsDamage) {
  FileBytes file(JetDatabase().Image());
  file.Byte(1, file.RowStart({1, 0}) + 5 + 1) |= 0x40;
  EXPECT_EQ(FindingsIn(file.All()),
            Lines{"damage: page 14: the page is free, but belongs to the rows of table MSysObjects"});
}

TEST(DatabaseCheck, PageOfNobodyIsNoted) {
  Bytes image = JetDatabase().Image();
  image.resize(image.size() + jet::kPageSize);
  FileBytes file(std::move(image));
  file.Byte(1, file.RowStart({1, 0}) + 5 + 2) &= 0xFE;
  EXPECT_EQ(FindingsIn(file.All()), Lines{"note: pages that are neither free nor in use: 16"});
}

TEST(DatabaseCheck, CatalogThatCannotBeReadIsOneFinding) {
  FileBytes file(Rich());
  file.Byte(2, 0) = 9;
  EXPECT_EQ(FindingsIn(file.All()),
            Lines{"damage: table MSysObjects, page 2: the page should be a definition, but begins with 0901"});
}

TEST(DatabaseCheck, CutFileEndsWithFindingsAtEveryLength) {
  for (std::size_t pages = 2; pages * jet::kPageSize < Rich().size(); ++pages) {
    const ByteView cut = ByteView(Rich()).first(pages * jet::kPageSize);
    EXPECT_FALSE(CheckDatabase(cut).IsSound()) << pages;
  }
}

TEST(EncodedDatabase, IsAsSoundAsThePlainOneAndCountedAlike) {
  const Report plain = CheckDatabase(Rich());
  const Report report = CheckDatabase(Encoded(Rich(), kPageKey));
  EXPECT_TRUE(report.checked);
  EXPECT_EQ(LinesOf(report), Lines());
  EXPECT_EQ(SummaryOf(report), SummaryOf(plain));
  EXPECT_EQ(report.keysRebuilt, plain.keysRebuilt);
}

TEST(EncodedDatabase, BytesBehindTheLastPageAreNamedAndNotDecoded) {
  Bytes file = Encoded(Rich(), kPageKey);
  file.push_back(0);
  EXPECT_EQ(FindingsIn(file), Lines{"damage: the file has " + std::to_string(file.size()) +
                                    " bytes, no multiple of 4096: it was cut off or added to"});
}

TEST(EncodedDatabase, KeyThatIsNotThatOfThePagesIsOneFinding) {
  for (const Bytes& file :
       {mv::testing::WithKeyInHeader(Rich(), kPageKey), mv::testing::WithKeyedPages(Rich(), kPageKey)}) {
    const Lines lines = FindingsIn(file);
    ASSERT_FALSE(lines.empty());
    EXPECT_THAT(lines.back(),
                ::testing::StartsWith("damage: table MSysObjects, page 2: the page should be a definition"));
  }
}

TEST(EncodedDatabase, WithAPasswordCannotBeChecked) {
  Bytes file = Encoded(Rich(), kPageKey);
  file[0x42] ^= 1;
  EXPECT_EQ(FindingsIn(file), Lines{"damage: the file is protected by a password and cannot be checked"});
}

/// Random changes of used pages; heads of pages are likelier to be hit.
Bytes Mutant(const Bytes& image, std::mt19937& random) {
  Bytes mutant = image;
  const std::size_t hits = 1 + random() % 3;
  for (std::size_t i = 0; i < hits; ++i) {
    const std::size_t page = random() % (image.size() / jet::kPageSize);
    const std::size_t offset = random() % 2 == 0 ? random() % 64 : random() % jet::kPageSize;
    std::uint8_t& byte = mutant[page * jet::kPageSize + offset];
    const std::uint8_t choices[] = {0x00,
                                    0xFF,
                                    0x01,
                                    static_cast<std::uint8_t>(byte ^ 1U << random() % 8),
                                    static_cast<std::uint8_t>(byte + 1),
                                    static_cast<std::uint8_t>(random())};
    byte = choices[random() % std::size(choices)];
  }
  return mutant;
}

TEST(HostileFile, BytesReplacedAtRandomGiveFindingsAndNothingElse) {
  std::size_t damaged = 0;
  for (unsigned seed = 1; seed <= 200; ++seed) {
    std::mt19937 random(seed);
    damaged += CheckDatabase(Mutant(Rich(), random)).IsSound() ? 0 : 1;
  }
  EXPECT_GT(damaged, 50U);
}

TEST(HostileFile, FindingsOfDamageAreTheSameInPlainAndInEncodedPages) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    std::mt19937 random(seed);
    Bytes mutant = Mutant(Rich(), random);
    std::copy_n(Rich().begin(), jet::kPageSize, mutant.begin());  // else the key could be hit
    EXPECT_EQ(FindingsIn(Encoded(mutant, kPageKey)), FindingsIn(mutant)) << seed;
  }
}

TEST(HostileFile, BytesOfEncodedPagesReplacedGiveFindingsAndNothingElse) {
  const Bytes encoded = Encoded(Rich(), kPageKey);
  std::size_t damaged = 0;
  for (unsigned seed = 1; seed <= 100; ++seed) {
    std::mt19937 random(seed);
    damaged += CheckDatabase(Mutant(encoded, random)).IsSound() ? 0 : 1;
  }
  EXPECT_GT(damaged, 25U);
}

TEST(HostileFile, WholePagesOfRandomBytesGiveFindingsAndNothingElse) {
  for (unsigned seed = 1; seed <= 80; ++seed) {
    std::mt19937 random(seed);
    Bytes file = Rich();
    for (int i = 0; i < 3; ++i) {
      const std::size_t page = 1 + random() % (file.size() / jet::kPageSize - 1);
      // The first bytes stay, so that the page is looked at.
      for (std::size_t at = 8; at < jet::kPageSize; ++at) {
        file[page * jet::kPageSize + at] = static_cast<std::uint8_t>(random());
      }
    }
    CheckDatabase(file);
  }
}

TEST(HostileFile, PagesThatTakeEachOthersPlaceGiveFindingsAndNothingElse) {
  for (unsigned seed = 1; seed <= 80; ++seed) {
    std::mt19937 random(seed);
    Bytes file = Rich();
    for (int i = 0; i < 4; ++i) {
      const auto page = [&] {
        const std::size_t pages = file.size() / jet::kPageSize - 1;
        return file.begin() + static_cast<std::ptrdiff_t>((1 + random() % pages) * jet::kPageSize);
      };
      const auto left = page();
      std::copy_n(left, jet::kPageSize, page());
    }
    EXPECT_FALSE(CheckDatabase(file).IsSound() && file != Rich());
  }
}

TEST(HostileFile, EveryRowBrokenIsReportedAHundredTimesAndCounted) {
  JetDatabase database;
  jet::Table& table = database.Add(mv::testing::JetTable("T").Column("N", jet::ColumnType::Long));
  for (std::int32_t i = 0; i < 2000; ++i) table.Insert({i});
  FileBytes file(database.Image());
  for (auto row = table.First(); row; row = table.Next(*row)) {
    file.Set16(row->page, file.RowStart({row->page, row->slot}), 0xFFFF);
  }
  const Report report = CheckDatabase(file.All());
  EXPECT_EQ(report.damages, 2000U);
  EXPECT_EQ(report.findings.size(), 100U);
  ASSERT_EQ(report.omissions.size(), 1U);
  EXPECT_EQ(LineOf(report.omissions[0]), "damage: row: and 1900 more");
}

/// Database files in the folder that JET_SAMPLES names.
std::vector<std::filesystem::path> Samples() {
  std::vector<std::filesystem::path> paths;
  if (const auto folder = platform::EnvironmentVariable("JET_SAMPLES")) {
    for (const auto& entry : std::filesystem::directory_iterator(*folder)) {
      const std::string extension = entry.path().extension().string();
      if (extension == ".mdb" || extension == ".accdb") paths.push_back(entry.path());
    }
  }
  return paths;
}

TEST(RealFile, OfThisVersionIsSound) {
  const std::vector<std::filesystem::path> samples = Samples();
  if (samples.empty()) GTEST_SKIP() << "JET_SAMPLES does not name a folder with database files";
  const auto files = platform::MakeFileSystem();
  std::size_t checked = 0;
  for (const std::filesystem::path& path : samples) {
    const Report report = CheckDatabase(platform::ReadWhole(*files, path.string()));
    const std::string name = path.filename().string();
    const bool isOther = name.find("97") != name.npos || name.ends_with(".accdb");
    EXPECT_EQ(report.checked, !isOther) << name;
    EXPECT_EQ(report.damages, isOther ? 1U : 0U) << name << ": " << ::testing::PrintToString(LinesOf(report));
    checked += report.checked ? 1 : 0;
  }
  EXPECT_GT(checked, 0U);
}

/// True when the external checker finds violations.
bool IsBrokenForOthers(const JetCheck& checker, const Bytes& file) {
  const TempFolder folder;
  folder.Write("mutant.mdb", std::string(file.begin(), file.end()));
  return checker.Run("--quiet", (std::filesystem::path(folder.Path()) / "mutant.mdb").string()).status != 0;
}

TEST(Mutants, BrokenByTheExternalCheckerAreBrokenByOurs) {
  const auto checker = JetCheck::Find();
  if (!checker) GTEST_SKIP() << "JETCHECK does not name a checker that runs here";
  std::size_t broken = 0;
  for (unsigned seed = 1; seed <= 15; ++seed) {
    std::mt19937 random(seed);
    const Bytes mutant = Mutant(Rich(), random);
    if (!IsBrokenForOthers(*checker, mutant)) continue;
    ++broken;
    EXPECT_FALSE(CheckDatabase(mutant).IsSound()) << "seed " << seed;
  }
  EXPECT_GT(broken, 3U);
}

}  // namespace
}  // namespace mv::check
