#include "pdb/PDBDatabase.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <optional>

#include "pdb/HandheldType.h"
#include "pdb/PDBAppforgeDefinition.h"
#include "pdb/PDBAppforgeRecord.h"
#include "pdb/TableFormat.h"
#include "support/ExpectError.h"
#include "support/FakeClock.h"
#include "support/Hex.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingShell.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

using mv::testing::ErrorNumberOf;
using mv::testing::ErrorOf;
using mv::testing::FakeClock;
using mv::testing::FromHex;
using mv::testing::MemoryFileSystem;
using mv::testing::TempFolder;
using mv::testing::ToHex;

constexpr const char* kFile = "C:\\tables\\t.pdb";

/// The header of a file called "t", with the fields from the AppInfo offset on as given.
Bytes HeaderOf(std::string_view hexFromAppInfoOffset) {
  Bytes bytes(52);
  bytes[0] = 't';
  const Bytes rest = FromHex(hexFromAppInfoOffset);
  bytes.insert(bytes.end(), rest.begin(), rest.end());
  return bytes;
}

Bytes Joined(Bytes bytes, std::string_view hex) {
  const Bytes more = FromHex(hex);
  bytes.insert(bytes.end(), more.begin(), more.end());
  return bytes;
}

/// Three records of 2, 3 and 1 bytes with IDs 17, 5 and 9, the last with the file's spare byte.
Bytes ThreeRecords() {
  return Joined(HeaderOf("00 00 00 00 00 00 00 00 44 41 54 41 42 52 4E 44 00 00 00 11 00 00 00 12 00 03"),
                "00 00 00 68 40 11 00 00 "
                "00 00 00 6A 80 05 00 00 "
                "00 00 00 6D 05 09 00 00 "
                "00 00 "
                "A1 A2 B1 B2 B3 C1 00");
}

class PDBDatabaseTest : public ::testing::Test {
 protected:
  /// What ReadNext and its kin hand out.
  struct Record {
    std::int32_t index = -7;
    std::int32_t uniqueId = -7;
    std::int16_t category = -7;
    std::int32_t attributes = -7;
    std::string hex;
    friend bool operator==(const Record&, const Record&) = default;
  };

  PDBDatabaseTest() {
    files_.CreateFolders("C:\\tables");
    Restart();
  }

  /// A new database object for the same file.
  void Restart() {
    database_.emplace(cFileIO(files_, shell_, "C:\\Program"), clock_);
    database_->PDBFilePath("C:\\tables\\");
    database_->PDBDatabaseName("t");
  }
  void OpenFileOf(Bytes content) {
    database_.reset();
    files_.Put(kFile, std::move(content));
    Restart();
    ASSERT_TRUE(database_->OpenDatabase());
  }
  std::int32_t OpenError(Bytes content) {
    database_.reset();
    files_.Put(kFile, std::move(content));
    Restart();
    return ErrorNumberOf([&] { database_->OpenDatabase(); });
  }
  Record Next() {
    Record record;
    record.hex = ToHex(database_->ReadNext(record.index, record.uniqueId, record.category, record.attributes));
    return record;
  }
  Record NextModified() {
    Record record;
    record.hex = ToHex(database_->ReadNextModified(record.index, record.uniqueId, record.category, record.attributes));
    return record;
  }
  Record ById(std::int32_t id) {
    Record record;
    record.hex = ToHex(database_->ReadNextById(id, record.index, record.uniqueId, record.category, record.attributes));
    return record;
  }
  Record ByIndex(std::int32_t i) {
    Record record;
    record.index = i;
    record.hex = ToHex(database_->ReadNextByIndex(i, record.uniqueId, record.category, record.attributes));
    return record;
  }
  void Append(std::string_view hex, std::int32_t id = 0, std::int32_t attributes = 0) {
    database_->Update(-1, id, 0, attributes, FromHex(hex));
  }
  std::string Saved() {
    database_->CloseDatabase();
    return ToHex(files_.Content(kFile));
  }
  /// The saved file from the AppInfo offset on.
  std::string SavedTail() {
    database_->CloseDatabase();
    const Bytes content = files_.Content(kFile);
    return ToHex(ByteView(content).subspan(52));
  }

  MemoryFileSystem files_;
  testing::RecordingShell shell_;
  FakeClock clock_;  // 2026-11-21: header dates of 20 days, 00 1A 5E 00
  std::optional<PDBDatabase> database_;
};

TEST_F(PDBDatabaseTest, FileThatIsLeftForLaterIsOnTheDiskAfterTheNextCloseThoughNothingWasAdded) {
  files_.Put(kFile, Bytes{1});
  database_->CreateDatabase();
  database_->CloseDatabase(OnDisk::Later);
  const Bytes written = files_.Content(kFile);
  const auto onDisk = [&] { return files_.AfterPowerCut({}).begin()->second; };
  EXPECT_EQ(onDisk(), Bytes{1});
  ASSERT_TRUE(database_->OpenDatabase());
  database_->CloseDatabase();
  EXPECT_EQ(onDisk(), written);
  EXPECT_EQ(files_.Content(kFile), written);
}

TEST_F(PDBDatabaseTest, FileThatIsLeftForLaterAndCannotBeSyncedIsAnError) {
  database_->CreateDatabase();
  database_->CloseDatabase(OnDisk::Later);
  files_.FailSync(1);
  EXPECT_EQ(ErrorNumberOf([&] { database_->CloseDatabase(); }), errors::kDiskFull);
}

// --- The worked example of docs/formats/pdb.md ----------------------------------------------------------------------

TEST_F(PDBDatabaseTest, TheWorkedExampleByteForByte) {
  auto definition = std::make_shared<PDBAppforgeDefinition>();
  definition->AddFieldName("ID", CodeOf(HandheldType::Long));
  definition->AddFieldName("Name", CodeOf(HandheldType::Text));
  database_->CreateDatabase();
  database_->PDBDatabaseName("brnd_Demo");
  database_->CreatorId("BRND");
  database_->WriteAppInfoBlock(definition->AppInfoBlock());
  database_->CloseDatabase();

  ASSERT_TRUE(database_->OpenDatabase());
  PDBAppforgeRecord record;
  record.AppforgeDefinition(definition);
  record.LongValue(1, 7);
  record.StringValue(2, "ab");
  database_->Update(-1, 0, 0, 0x40, record.ByteStream().ByteArray());
  record.LongValue(1, 8);
  record.StringValue(2, "\xC3\xA9");
  database_->Update(-1, 0, 0, 0, record.ByteStream().ByteArray());
  database_->CloseDatabase();

  Bytes expected = FromHex(
      "62 72 6E 64 5F 44 65 6D 6F 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
      "00 00 00 01 00 1A 5E 00 00 1A 5E 00 00 00 00 00 00 00 00 00 "
      "00 00 00 5E 00 00 00 00 44 41 54 41 42 52 4E 44 00 00 00 02 00 00 00 03 00 02 "
      "00 00 01 A1 40 01 00 00 "
      "00 00 01 A8 00 02 00 00 ");
  expected.resize(expected.size() + 276);
  expected = Joined(std::move(expected),
                    "41 50 50 46 4F 52 47 32 00 00 00 00 00 2C 00 24 00 02 00 05 00 00 00 00 "
                    "00 25 00 03 00 00 00 28 00 05 00 00 "
                    "00 49 44 00 4E 61 6D 65 00 "
                    "00 00 "
                    "00 00 00 07 61 62 00 "
                    "00 00 00 08 C3 A9 00 "
                    "00");
  EXPECT_EQ(ToHex(files_.Content("C:\\tables\\brnd_Demo.pdb")), ToHex(expected));
}

// --- Names ----------------------------------------------------------------------------------------------------------

TEST_F(PDBDatabaseTest, APathWithoutADotIsTheFolder) {
  database_->PDBFilePath("C:\\other");
  EXPECT_EQ(database_->PDBFilePath(), "C:\\other");
  EXPECT_EQ(database_->PDBDatabaseName(), "t");
}

TEST_F(PDBDatabaseTest, APathWithADotIsAFileThatGivesFolderAndName) {
  database_->PDBFilePath("C:\\tables\\brnd_Fuel.old.pdb");
  EXPECT_EQ(database_->PDBFilePath(), "C:\\tables\\");
  EXPECT_EQ(database_->PDBDatabaseName(), "brnd_Fuel.old");
}

TEST_F(PDBDatabaseTest, AFolderWithADotWorksWithASeparatorAtItsEndAndTheNameSetAfterIt) {
  files_.CreateFolders("C:\\Users\\john.smith\\work");
  database_->PDBFilePath("C:\\Users\\john.smith\\work\\");
  EXPECT_EQ(database_->PDBDatabaseName(), "");
  database_->PDBDatabaseName("t");
  database_->CreateDatabase();
  database_->CloseDatabase();
  EXPECT_TRUE(files_.FileExists("C:\\Users\\john.smith\\work\\t.pdb"));
}

// --- Opening --------------------------------------------------------------------------------------------------------

TEST_F(PDBDatabaseTest, OpeningAMissingFileIsFalse) {
  EXPECT_FALSE(database_->OpenDatabase());
}

TEST_F(PDBDatabaseTest, OpeningAFileInUseIsFalse) {
  files_.Put(kFile, ThreeRecords());
  const auto held =
      files_.Open(kFile, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_FALSE(database_->OpenDatabase());
}

TEST_F(PDBDatabaseTest, TheHeaderGivesNameAndCreatorEachUpToItsZero) {
  Bytes content = ThreeRecords();
  content[5] = 'x';
  content[66] = 0;
  OpenFileOf(content);
  EXPECT_EQ(database_->PDBDatabaseName(), "t");
  EXPECT_EQ(database_->CreatorId(), "BR");
}

TEST_F(PDBDatabaseTest, RecordsComeInEntryOrderWithTheLengthUpToTheNext) {
  OpenFileOf(ThreeRecords());
  EXPECT_EQ(database_->RecordCount(), 3);
  EXPECT_EQ(ByIndex(1), (Record{1, 17, 0, 0x40, "A1 A2"}));
  EXPECT_EQ(Next(), (Record{2, 5, 0, 0x80, "B1 B2 B3"}));
  EXPECT_EQ(Next(), (Record{3, 9, 0, 0x05, "C1 00"})) << "the last record reaches to the file's end";
}

TEST_F(PDBDatabaseTest, AFreshlyOpenedDatabaseIsAtBofAndItsIndexNamesNoEntry) {
  OpenFileOf(ThreeRecords());
  EXPECT_EQ(database_->IterationIndex(), 0);
  EXPECT_TRUE(database_->Bof());
  EXPECT_FALSE(database_->Eof());
  EXPECT_EQ(ErrorNumberOf([&] { Next(); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(database_->IterationIndex(), 0);
}

TEST_F(PDBDatabaseTest, ReadNextAtTheEndGivesNothingLeavesTheOutputsAndMovesOn) {
  OpenFileOf(ThreeRecords());
  database_->IterationIndex(4);
  EXPECT_TRUE(database_->Eof());
  EXPECT_EQ(Next(), Record{});
  EXPECT_EQ(database_->IterationIndex(), 5);
  database_->IterationIndex(2'147'483'647);
  EXPECT_EQ(ErrorNumberOf([&] { Next(); }), errors::kOverflow);
}

TEST_F(PDBDatabaseTest, ReadNextByIdFindsTheFirstEntryWithThatId) {
  OpenFileOf(ThreeRecords());
  EXPECT_EQ(ById(5), (Record{2, 5, 0, 0x80, "B1 B2 B3"}));
  EXPECT_EQ(database_->IterationIndex(), 3);
  EXPECT_EQ(ById(99), Record{});
  EXPECT_EQ(database_->IterationIndex(), 4);
  EXPECT_TRUE(database_->Eof());
}

TEST_F(PDBDatabaseTest, ReadNextModifiedSkipsOneEntryAndNeverLooksAtTheLast) {
  OpenFileOf(ThreeRecords());
  EXPECT_EQ(NextModified(), (Record{1, 17, 0, 0x40, "A1 A2"}));
  EXPECT_EQ(NextModified(), Record{}) << "the index stood at 2 and was moved to 3, the last entry";
  EXPECT_EQ(database_->IterationIndex(), 4);
  database_->IterationIndex(1);
  EXPECT_EQ(NextModified(), (Record{2, 5, 0, 0x80, "B1 B2 B3"}));

  Bytes lastModified = ThreeRecords();
  lastModified[78 + 16 + 4] = 0x40;
  OpenFileOf(lastModified);
  database_->IterationIndex(2);
  EXPECT_EQ(NextModified(), Record{});
}

TEST_F(PDBDatabaseTest, TheRecordListAndTheRecordsAreReadInOnePieceEach) {
  OpenFileOf(ThreeRecords());
  const std::size_t afterOpening = files_.Reads();
  EXPECT_LE(afterOpening, 3u) << "the mark of a text file, the header, the list";
  for (std::int32_t i = 1; i <= 3; ++i) ByIndex(i);
  EXPECT_EQ(files_.Reads(), afterOpening + 1);
}

TEST_F(PDBDatabaseTest, OpeningReadingAndClosingLeavesTheFileUntouched) {
  OpenFileOf(ThreeRecords());
  ByIndex(1);
  database_->ReadAppInfoBlock();
  database_->CloseDatabase();
  EXPECT_EQ(files_.Writes(), 0u);
  EXPECT_EQ(ToHex(files_.Content(kFile)), ToHex(ThreeRecords()));
}

TEST_F(PDBDatabaseTest, UniqueIdsAreLittleEndianAndUnsigned) {
  Bytes content = ThreeRecords();
  content[78 + 5] = 0x01;
  content[78 + 6] = 0x02;
  content[78 + 7] = 0xFF;
  OpenFileOf(content);
  EXPECT_EQ(ByIndex(1).uniqueId, 0xFF0201);
}

TEST_F(PDBDatabaseTest, BlocksReachToWhatFollowsThem) {
  const std::string_view entry = "00 00 00 5E 00 00 00 00 ";
  OpenFileOf(Joined(HeaderOf("00 00 00 56 00 00 00 5A 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01"),
                    std::string(entry) + "A1 A2 A3 A4 51 52 00 00 01"));
  EXPECT_EQ(ToHex(database_->ReadAppInfoBlock()), "A1 A2 A3 A4") << "up to the SortInfo block";
  EXPECT_EQ(ToHex(database_->ReadSortInfoBlock()), "51 52 00 00") << "up to the first record, the gap included";

  OpenFileOf(Joined(HeaderOf("00 00 00 56 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01"),
                    std::string(entry) + "A1 A2 A3 A4 A5 A6 00 00 01"));
  EXPECT_EQ(ToHex(database_->ReadAppInfoBlock()), "A1 A2 A3 A4 A5 A6 00 00");
  EXPECT_TRUE(database_->ReadSortInfoBlock().empty());

  OpenFileOf(Joined(HeaderOf("00 00 00 4E 00 00 00 51 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"),
                    "A1 A2 A3 51 52"));
  EXPECT_EQ(ToHex(database_->ReadAppInfoBlock()), "A1 A2 A3");
  EXPECT_EQ(ToHex(database_->ReadSortInfoBlock()), "51 52") << "without records up to the file's end";
}

TEST_F(PDBDatabaseTest, AReopenedObjectStartsAnew) {
  OpenFileOf(ThreeRecords());
  ByIndex(3);
  database_->CloseDatabase();
  files_.Put(kFile, HeaderOf("00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"));
  ASSERT_TRUE(database_->OpenDatabase());
  EXPECT_EQ(database_->IterationIndex(), 0);
  EXPECT_EQ(database_->RecordCount(), 0);
}

TEST_F(PDBDatabaseTest, OpeningAnotherTableWithoutClosingTheFirstReadsTheOther) {
  Bytes other = ThreeRecords();
  other[104] = 0xEE;
  files_.Put("C:\\tables\\u.pdb", other);
  OpenFileOf(ThreeRecords());
  EXPECT_EQ(ByIndex(1).hex, "A1 A2");
  database_->PDBDatabaseName("u");
  ASSERT_TRUE(database_->OpenDatabase());
  EXPECT_EQ(ByIndex(1).hex, "EE A2");
}

TEST_F(PDBDatabaseTest, OpeningAFileEndsTheCreationBeforeIt) {
  files_.Put(kFile, ThreeRecords());
  database_->CreateDatabase();
  ASSERT_TRUE(database_->OpenDatabase());
  database_->CloseDatabase();
  EXPECT_EQ(files_.Writes(), 0u);
  EXPECT_EQ(ToHex(files_.Content(kFile)), ToHex(ThreeRecords()));
}

// --- Damaged files --------------------------------------------------------------------------------------------------

TEST_F(PDBDatabaseTest, AFileShorterThanItsHeaderOrListIsOutOfRange) {
  const Bytes whole = ThreeRecords();
  for (const std::size_t size : {0u, 1u, 77u, 78u, 85u, 101u}) {
    EXPECT_EQ(OpenError(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))),
              errors::kSubscriptOutOfRange)
        << size;
  }
}

TEST_F(PDBDatabaseTest, ACountOfRecordsBeyondTheFileIsOutOfRange) {
  Bytes content = ThreeRecords();
  content[76] = 0xFF;
  content[77] = 0xFF;
  EXPECT_EQ(OpenError(content), errors::kSubscriptOutOfRange);
}

TEST_F(PDBDatabaseTest, OffsetsThatDecreaseOrLeadBehindTheEndAreOutOfRange) {
  Bytes decreasing = ThreeRecords();
  decreasing[78 + 3] = 0x6B;
  EXPECT_EQ(OpenError(decreasing), errors::kSubscriptOutOfRange);
  Bytes behind = ThreeRecords();
  behind[78 + 16 + 3] = 0x70;
  EXPECT_EQ(OpenError(behind), errors::kSubscriptOutOfRange);
  Bytes negative = ThreeRecords();
  negative[78] = 0x80;
  EXPECT_EQ(OpenError(negative), errors::kSubscriptOutOfRange);
}

TEST_F(PDBDatabaseTest, BlockOffsetsThatLeadBehindWhatFollowsAreOutOfRange) {
  Bytes appInfo = ThreeRecords();
  appInfo[55] = 0x69;
  EXPECT_EQ(OpenError(appInfo), errors::kSubscriptOutOfRange);
  Bytes sortInfo = ThreeRecords();
  sortInfo[59] = 0x69;
  EXPECT_EQ(OpenError(sortInfo), errors::kSubscriptOutOfRange);
}

TEST_F(PDBDatabaseTest, NegativeBlockOffsetsMeanNoBlock) {
  Bytes content = ThreeRecords();
  content[52] = 0x80;
  content[56] = 0x80;
  OpenFileOf(content);
  EXPECT_TRUE(database_->ReadAppInfoBlock().empty());
  EXPECT_TRUE(database_->ReadSortInfoBlock().empty());
}

TEST_F(PDBDatabaseTest, ASortInfoBlockAbove32767BytesOverflows) {
  Bytes content = HeaderOf("00 00 00 00 00 00 00 4E 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
  content.resize(78 + 32767);
  OpenFileOf(content);
  EXPECT_EQ(database_->ReadSortInfoBlock().size(), 32767u);
  content.resize(78 + 32768);
  EXPECT_EQ(OpenError(content), errors::kOverflow);
}

TEST_F(PDBDatabaseTest, ADamagedFileIsClosedAndLeavesTheObjectAsItWas) {
  Bytes content = ThreeRecords();
  content[0] = 'X';
  content[77] = 99;
  EXPECT_EQ(OpenError(content), errors::kSubscriptOutOfRange);
  EXPECT_EQ(database_->PDBDatabaseName(), "t");
  EXPECT_EQ(database_->RecordCount(), 0);
  EXPECT_NO_THROW(files_.RemoveFile(kFile)) << "still open";
}

TEST_F(PDBDatabaseTest, AFailingDeviceIsRaisedWithNumberAndTextOfTheFile) {
  files_.Put(kFile, ThreeRecords());
  files_.FailRead(2);
  const Error error = ErrorOf([&] { database_->OpenDatabase(); });
  EXPECT_EQ(error.Number(), errors::kDeviceIo);
  EXPECT_EQ(error.Description(), "modMain.ReadData():Device I/O error");
  OpenFileOf(ThreeRecords());
  files_.FailRead(1);
  EXPECT_EQ(ErrorNumberOf([&] { ByIndex(1); }), errors::kDeviceIo);
  EXPECT_EQ(ByIndex(1).hex, "A1 A2");
}

// --- Creating and saving --------------------------------------------------------------------------------------------

TEST_F(PDBDatabaseTest, AnEmptyDatabaseIsTheHeaderAndOneSpareByte) {
  EXPECT_TRUE(database_->CreateDatabase());
  EXPECT_FALSE(files_.FileExists(kFile)) << "nothing is written before closing";
  EXPECT_EQ(Saved(),
            "74 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
            "00 00 00 01 00 1A 5E 00 00 1A 5E 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 44 41 54 41 "
            "00 00 00 00 00 00 00 00 00 00 00 01 00 00 00");
}

TEST_F(PDBDatabaseTest, AResultWithoutRecordsEndsWithItsAppInfoBlockWithoutGapOrSpareByte) {
  database_->CreateDatabase();
  database_->WriteAppInfoBlock({0xA1, 0xA2});
  EXPECT_EQ(SavedTail(), "00 00 00 4E 00 00 00 00 44 41 54 41 00 00 00 00 00 00 00 00 00 00 00 01 00 00 A1 A2");
}

TEST_F(PDBDatabaseTest, BlocksGapAndRecordsFollowTheList) {
  database_->CreateDatabase();
  database_->WriteAppInfoBlock({0xA1, 0xA2, 0xA3});
  database_->WriteSortInfoBlock({0x51, 0x52});
  Append("01 02 00", 0, 0x1C5);
  Append("03 00", 0x010203);
  EXPECT_EQ(SavedTail(),
            "00 00 00 5E 00 00 00 61 44 41 54 41 00 00 00 00 00 01 02 04 00 01 02 05 00 02 "
            "00 00 00 65 C5 04 02 01 "
            "00 00 00 67 00 03 02 01 "
            "A1 A2 A3 51 52 00 00 01 02 03 00");
}

TEST_F(PDBDatabaseTest, ARecordOfSixBytesOccupiesFiveAndOnlyTheFilesLastByteIsSpare) {
  database_->CreateDatabase();
  Append("01 02 03 04 05 EE");
  Append("06 FF");
  EXPECT_TRUE(SavedTail().ends_with("00 00 00 60 00 01 00 00 00 00 00 65 00 02 00 00 00 00 01 02 03 04 05 06 FF"));
}

TEST_F(PDBDatabaseTest, NameAndCreatorAreCutToTheirWidths) {
  database_->CreateDatabase();
  const std::string name = "caf\xC3\xA9_" + std::string(40, 'x');
  database_->PDBDatabaseName(name);
  database_->CreatorId("ABCDE");
  database_->CloseDatabase();
  const Bytes content = files_.Content("C:\\tables\\" + name + ".pdb");
  EXPECT_EQ(ToHex(ByteView(content).first(6)), "63 61 66 E9 5F 78");
  EXPECT_EQ(content[31], 'x');
  EXPECT_EQ(content[32], 0);
  EXPECT_EQ(ToHex(ByteView(content).subspan(60, 8)), "44 41 54 41 41 42 43 44");
}

TEST_F(PDBDatabaseTest, CreateDatabaseKeepsNameAndCreatorAndDropsEverythingElse) {
  OpenFileOf(ThreeRecords());
  database_->CreateDatabase();
  EXPECT_EQ(database_->PDBDatabaseName(), "t");
  EXPECT_EQ(database_->CreatorId(), "BRND");
  EXPECT_EQ(database_->RecordCount(), 0);
  database_->CloseDatabase();
  EXPECT_EQ(files_.Content(kFile).size(), 79u);
}

TEST_F(PDBDatabaseTest, ASaveIsOneWriteAndASecondCloseWritesNothing) {
  database_->CreateDatabase();
  for (int i = 0; i < 100; ++i) Append("01 02 03");
  database_->CloseDatabase();
  const std::size_t writes = files_.Writes();
  EXPECT_EQ(writes, 2u) << "the content, and the cut behind it";
  database_->CloseDatabase();
  EXPECT_EQ(files_.Writes(), writes);
}

TEST_F(PDBDatabaseTest, ASaveCutsALongerOldFile) {
  files_.Put(kFile, Bytes(5000, 0xEE));
  database_->CreateDatabase();
  database_->CloseDatabase();
  EXPECT_EQ(files_.Content(kFile).size(), 79u);
}

// --- Editing --------------------------------------------------------------------------------------------------------

TEST_F(PDBDatabaseTest, EveryOtherHeaderFieldIsCarriedThroughAnEdit) {
  Bytes content = ThreeRecords();
  for (std::size_t i = 32; i < 52; ++i) content[i] = static_cast<std::uint8_t>(i);
  OpenFileOf(content);
  database_->RemoveAll();
  database_->CloseDatabase();
  const Bytes saved = files_.Content(kFile);
  EXPECT_EQ(ToHex(ByteView(saved).subspan(32, 8)), "20 21 22 23 24 25 26 27") << "attributes, version, creation date";
  EXPECT_EQ(ToHex(ByteView(saved).subspan(40, 4)), "00 1A 5E 00") << "the modification date alone is new";
  EXPECT_EQ(ToHex(ByteView(saved).subspan(44, 8)), "2C 2D 2E 2F 30 31 32 33") << "backup date, modification number";
}

TEST_F(PDBDatabaseTest, ARemovedRecordIsDroppedButItsRoomInTheListStays) {
  OpenFileOf(ThreeRecords());
  database_->Remove(5);
  EXPECT_EQ(database_->RecordCount(), 2);
  EXPECT_EQ(SavedTail(),
            "00 00 00 00 00 00 00 00 44 41 54 41 42 52 4E 44 00 00 00 11 00 00 00 12 00 02 "
            "00 00 00 68 40 11 00 00 "
            "00 00 00 6A 05 09 00 00 "
            "00 00 00 00 00 00 00 00 "
            "00 00 "
            "A1 A2 C1 00");
}

TEST_F(PDBDatabaseTest, AfterARemovalTheFileReadsBack) {
  OpenFileOf(ThreeRecords());
  database_->Remove(17);
  database_->CloseDatabase();
  ASSERT_TRUE(database_->OpenDatabase());
  EXPECT_EQ(database_->RecordCount(), 2);
  EXPECT_EQ(ByIndex(1).hex, "B1 B2 B3");
  EXPECT_EQ(ByIndex(2).hex, "C1 00");
}

TEST_F(PDBDatabaseTest, RemovingAnUnknownIdChangesNothing) {
  OpenFileOf(ThreeRecords());
  database_->Remove(99);
  EXPECT_EQ(database_->RecordCount(), 3);
  database_->CloseDatabase();
  EXPECT_EQ(files_.Writes(), 0u);
}

TEST_F(PDBDatabaseTest, RemovedEntriesStayInTheIterationAsEmptyAndDeletedWhateverTheirAttributesWere) {
  OpenFileOf(ThreeRecords());
  for (const std::int32_t id : {17, 5, 9}) database_->Remove(id);
  EXPECT_EQ(ByIndex(1), (Record{1, 17, 0, 0x80, ""}));
  EXPECT_EQ(ByIndex(2), (Record{2, 5, 0, 0x80, ""}));
  EXPECT_EQ(ByIndex(3), (Record{3, 9, 0, 0x80, ""}));
}

TEST_F(PDBDatabaseTest, RemoveAllLeavesAnEmptyList) {
  OpenFileOf(ThreeRecords());
  database_->RemoveAll();
  EXPECT_EQ(database_->RecordCount(), 0);
  EXPECT_EQ(SavedTail(), "00 00 00 00 00 00 00 00 44 41 54 41 42 52 4E 44 00 00 00 00 00 00 00 01 00 00 00");
}

TEST_F(PDBDatabaseTest, NewRecordsGetTheIdsBehindTheHighestInEntryOrder) {
  OpenFileOf(ThreeRecords());
  Append("D1 00");
  Append("E1 00");
  database_->CloseDatabase();
  ASSERT_TRUE(database_->OpenDatabase());
  EXPECT_EQ(ByIndex(4).uniqueId, 18);
  EXPECT_EQ(ByIndex(5).uniqueId, 19);
  const Bytes saved = files_.Content(kFile);
  EXPECT_EQ(ToHex(ByteView(saved).subspan(68, 8)), "00 00 00 13 00 00 00 14");
}

TEST_F(PDBDatabaseTest, IdsOfRemovedRecordsDoNotCountForTheHighest) {
  OpenFileOf(ThreeRecords());
  database_->Remove(17);
  Append("D1 00");
  database_->CloseDatabase();
  ASSERT_TRUE(database_->OpenDatabase());
  EXPECT_EQ(ByIndex(3).uniqueId, 10);
}

TEST_F(PDBDatabaseTest, UpdateReplacesAnEntryInPlace) {
  OpenFileOf(ThreeRecords());
  database_->Update(2, 6, 3, 0x40, FromHex("D1 D2 00"));
  EXPECT_EQ(ByIndex(2), (Record{2, 6, 0, 0x40, "D1 D2 00"})) << "from memory, with the spare byte";
  database_->CloseDatabase();
  ASSERT_TRUE(database_->OpenDatabase());
  EXPECT_EQ(ByIndex(2), (Record{2, 6, 0, 0x40, "D1 D2"}));
  EXPECT_EQ(ByIndex(3).hex, "C1 00");
}

TEST_F(PDBDatabaseTest, UpdateBehindTheListAppendsOneEntry) {
  OpenFileOf(ThreeRecords());
  database_->Update(100, 1, 0, 0, FromHex("D1 00"));
  EXPECT_EQ(database_->RecordCount(), 4);
  EXPECT_EQ(ByIndex(4).hex, "D1 00");
  for (const std::int32_t outside : {0, -2}) {
    EXPECT_EQ(ErrorNumberOf([&] { database_->Update(outside, 1, 0, 0, FromHex("D1 00")); }),
              errors::kSubscriptOutOfRange);
  }
}

TEST_F(PDBDatabaseTest, ARecordOfOneByteCountsAsRemoved) {
  database_->CreateDatabase();
  Append("01");
  Append("02 00");
  EXPECT_EQ(database_->RecordCount(), 1);
  EXPECT_TRUE(SavedTail().ends_with("00 01 00 00 00 60 00 01 00 00 00 00 00 00 00 00 00 00 00 00 02 00"));
}

TEST_F(PDBDatabaseTest, ARecordWithoutBytesIsOutOfRange) {
  database_->CreateDatabase();
  EXPECT_EQ(ErrorNumberOf([&] { Append(""); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(database_->RecordCount(), 0);
}

TEST_F(PDBDatabaseTest, BlocksThatWereNeverReadSurviveAnEdit) {
  OpenFileOf(Joined(HeaderOf("00 00 00 4E 00 00 00 51 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"),
                    "A1 A2 A3 51 52"));
  Append("01 00");
  EXPECT_TRUE(SavedTail().ends_with("00 00 00 5D 00 01 00 00 A1 A2 A3 51 52 00 00 01 00"));
}

TEST_F(PDBDatabaseTest, AReplacedBlockIsWhatIsReadAndWritten) {
  OpenFileOf(Joined(HeaderOf("00 00 00 4E 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"), "A1"));
  database_->WriteAppInfoBlock({0xB1, 0xB2});
  EXPECT_EQ(ToHex(database_->ReadAppInfoBlock()), "B1 B2");
  EXPECT_TRUE(SavedTail().ends_with("B1 B2"));
}

TEST_F(PDBDatabaseTest, AReplacedSortInfoBlockIsWhatIsReadAndWritten) {
  OpenFileOf(Joined(HeaderOf("00 00 00 00 00 00 00 4E 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"), "51"));
  database_->WriteSortInfoBlock({0x61});
  EXPECT_EQ(ToHex(database_->ReadSortInfoBlock()), "61");
  EXPECT_EQ(SavedTail(), "00 00 00 00 00 00 00 4E 44 41 54 41 00 00 00 00 00 00 00 00 00 00 00 01 00 00 61");
}

TEST_F(PDBDatabaseTest, AnEmptyBlockIsNone) {
  OpenFileOf(Joined(HeaderOf("00 00 00 4E 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"), "A1"));
  database_->WriteAppInfoBlock({});
  EXPECT_EQ(SavedTail(), "00 00 00 00 00 00 00 00 44 41 54 41 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00");
}

TEST_F(PDBDatabaseTest, ATooLargeSortInfoBlockOverflows) {
  database_->CreateDatabase();
  EXPECT_EQ(ErrorNumberOf([&] { database_->WriteSortInfoBlock(Bytes(32768)); }), errors::kOverflow);
  database_->WriteSortInfoBlock(Bytes(32767));
  database_->CloseDatabase();
  EXPECT_EQ(files_.Content(kFile).size(), 78u + 32767u);
}

TEST_F(PDBDatabaseTest, TheLastRecordKeepsTheSpareByteThatItWasReadWith) {
  OpenFileOf(ThreeRecords());
  Append("D1 00");
  database_->CloseDatabase();
  ASSERT_TRUE(database_->OpenDatabase());
  EXPECT_EQ(ByIndex(3).hex, "C1 00");
  EXPECT_EQ(ByIndex(4).hex, "D1 00");
}

TEST_F(PDBDatabaseTest, DataLiesWhereTheContentIsThatWasTaken) {
  files_.Put(kFile, ThreeRecords());
  ASSERT_TRUE(database_->OpenDatabase());
  std::int32_t attributes = 0;
  const ByteView second = database_->DataAt(2, attributes);
  EXPECT_EQ(attributes, 0x80);
  EXPECT_EQ(database_->IterationIndex(), 0);
  const FileContent content = database_->TakeContent();
  database_->CloseDatabase();
  EXPECT_EQ(ToHex(content.View()), ToHex(ThreeRecords()));
  EXPECT_EQ(second.data(), content.View().data() + 0x6A);
  EXPECT_EQ(ToHex(second), "B1 B2 B3");
}

TEST_F(PDBDatabaseTest, DataOfAnEntryOutsideTheListIsOutOfRange) {
  files_.Put(kFile, ThreeRecords());
  ASSERT_TRUE(database_->OpenDatabase());
  std::int32_t attributes = 0;
  EXPECT_EQ(ErrorNumberOf([&] { database_->DataAt(0, attributes); }), errors::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { database_->DataAt(4, attributes); }), errors::kSubscriptOutOfRange);
}

TEST_F(PDBDatabaseTest, MoreThan32767RecordsOverflowBeforeTheFileIsTouched) {
  database_->CreateDatabase();
  for (int i = 0; i < 32768; ++i) Append("01 00");
  EXPECT_EQ(ErrorNumberOf([&] { database_->RecordCount(); }), errors::kOverflow);
  EXPECT_EQ(ErrorNumberOf([&] { database_->CloseDatabase(); }), errors::kOverflow);
  EXPECT_FALSE(files_.FileExists(kFile));
}

TEST_F(PDBDatabaseTest, ThirtyTwoThousandRecordsComeBack) {
  database_->CreateDatabase();
  for (std::size_t i = 0; i < table_format::kMostRecords; ++i) {
    database_->Update(-1, 0, 0, 0, Bytes{static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i & 0xFF), 0});
  }
  database_->CloseDatabase();
  ASSERT_TRUE(database_->OpenDatabase());
  EXPECT_EQ(database_->RecordCount(), 32767);
  EXPECT_EQ(ByIndex(32766), (Record{32766, 32766, 0, 0, "7F FD"}));
}

// --- Other platforms ------------------------------------------------------------------------------------------------

TEST_F(PDBDatabaseTest, Platform0GivesBlocks512BytesAndWritesNoIds) {
  database_->DatabaseFor(0);
  database_->CreateDatabase();
  database_->WriteAppInfoBlock({0xA1});
  Append("01 00", 17);
  database_->CloseDatabase();
  const Bytes saved = files_.Content(kFile);
  EXPECT_EQ(ToHex(ByteView(saved).subspan(52, 34)),
            "00 00 00 56 00 00 00 00 44 41 54 41 00 00 00 00 00 00 00 00 00 00 00 00 00 01 "
            "00 00 02 58 00 00 00 00");
  EXPECT_EQ(saved.size(), 0x258u + 2);
  EXPECT_EQ(saved[0x258], 1);
}

TEST_F(PDBDatabaseTest, Platform1IsLittleEndianAndReadsBack) {
  database_->DatabaseFor(1);
  database_->CreateDatabase();
  Append("01 00", 0x0A0B0C);
  EXPECT_EQ(SavedTail(),
            "00 00 00 00 00 00 00 00 44 41 54 41 00 00 00 00 0C 0B 0A 00 0D 0B 0A 00 01 00 "
            "58 00 00 00 00 0A 0B 0C 00 00 01 00");
  ASSERT_TRUE(database_->OpenDatabase());
  EXPECT_EQ(ByIndex(1), (Record{1, 0x0A0B0C, 0, 0, "01 00"}));
}

TEST_F(PDBDatabaseTest, Platform0And1GiveBothBlocks512BytesWhenBothAreThere) {
  database_->DatabaseFor(1);
  database_->CreateDatabase();
  database_->WriteAppInfoBlock({0xA1});
  database_->WriteSortInfoBlock({0x51});
  Append("01 00");
  database_->CloseDatabase();
  const Bytes saved = files_.Content(kFile);
  EXPECT_EQ(ToHex(ByteView(saved).subspan(52, 8)), "56 00 00 00 56 02 00 00");
  EXPECT_EQ(saved[86], 0xA1);
  EXPECT_EQ(saved[598], 0x51);
  EXPECT_EQ(saved.size(), 86u + 1024u + 2u + 2u);
}

// --- Failures while saving ------------------------------------------------------------------------------------------

TEST_F(PDBDatabaseTest, AFullDiskIsRaisedAndLeavesAnEmptyFileInsteadOfACutOne) {
  database_->CreateDatabase();
  Append("01 00");
  files_.FailWrite(1);
  const Error error = ErrorOf([&] { database_->CloseDatabase(); });
  EXPECT_EQ(error.Number(), errors::kDiskFull);
  EXPECT_EQ(error.Description(), "modMain.WriteData():Disk full");
  EXPECT_TRUE(files_.Content(kFile).empty());
  EXPECT_NO_THROW(files_.RemoveFile(kFile)) << "still open";
}

TEST_F(PDBDatabaseTest, ALargeFileIsWrittenInPiecesAndHoldsEveryByte) {
  constexpr std::size_t kRecords = 2000;
  constexpr std::size_t kLength = 700;
  constexpr std::size_t kDataStart = 78 + 8 * kRecords + 2;
  database_->CreateDatabase();
  const std::size_t writesBefore = files_.Writes();
  for (std::size_t i = 0; i < kRecords; ++i) {
    Bytes record(kLength, static_cast<std::uint8_t>(i % 251 + 1));
    record.push_back(0);
    database_->Update(-1, 0, 0, 0, record);
  }
  database_->CloseDatabase();
  EXPECT_GE(files_.Writes() - writesBefore, 5u);
  const Bytes saved = files_.Content(kFile);
  ASSERT_EQ(saved.size(), kDataStart + kRecords * kLength + 1);
  for (std::size_t i = 0; i < kRecords; ++i) {
    const ByteView record = ByteView(saved).subspan(kDataStart + i * kLength, kLength);
    ASSERT_TRUE(std::all_of(record.begin(), record.end(), [&](std::uint8_t byte) { return byte == i % 251 + 1; })) << i;
  }
  EXPECT_EQ(saved.back(), 0);

  database_->CreateDatabase();
  for (std::size_t i = 0; i < kRecords; ++i) database_->Update(-1, 0, 0, 0, Bytes(kLength, 7));
  files_.FailWrite(3);
  EXPECT_EQ(ErrorNumberOf([&] { database_->CloseDatabase(); }), errors::kDiskFull);
  EXPECT_TRUE(files_.Content(kFile).empty()) << "two pieces were written";
}

TEST_F(PDBDatabaseTest, AFailingCutOrFlushIsRaised) {
  database_->CreateDatabase();
  files_.FailWrite(2);
  EXPECT_EQ(ErrorNumberOf([&] { database_->CloseDatabase(); }), errors::kDiskFull);
  database_->CreateDatabase();
  files_.FailSync(1);
  EXPECT_EQ(ErrorNumberOf([&] { database_->CloseDatabase(); }), errors::kDiskFull);
}

TEST_F(PDBDatabaseTest, AFileThatCannotBeOpenedForWritingIsRaised) {
  database_->CreateDatabase();
  database_->PDBFilePath("C:\\none");
  const Error error = ErrorOf([&] { database_->CloseDatabase(); });
  EXPECT_EQ(error.Number(), errors::kPathNotFound);
  EXPECT_EQ(error.Description(), "modMain.OpenFile(t.pdb):Path not found");
}

TEST_F(PDBDatabaseTest, AFailedSaveOfANewDatabaseCanBeRepeated) {
  database_->CreateDatabase();
  Append("01 00");
  files_.FailWrite(1);
  ErrorNumberOf([&] { database_->CloseDatabase(); });
  EXPECT_TRUE(SavedTail().ends_with("00 00 00 58 00 01 00 00 00 00 01 00"));
}

TEST_F(PDBDatabaseTest, AReadThatFailsWhileSavingLeavesTheFile) {
  OpenFileOf(ThreeRecords());
  Append("D1 00");
  files_.FailRead(1);
  EXPECT_EQ(ErrorNumberOf([&] { database_->CloseDatabase(); }), errors::kDeviceIo);
  EXPECT_EQ(ToHex(files_.Content(kFile)), ToHex(ThreeRecords()));
}

// --- Destruction and removal ----------------------------------------------------------------------------------------

TEST_F(PDBDatabaseTest, DestroyingAnEditedDatabaseThatIsOpenSavesIt) {
  OpenFileOf(ThreeRecords());
  database_->RemoveAll();
  database_.reset();
  EXPECT_EQ(files_.Content(kFile).size(), 79u);
}

TEST_F(PDBDatabaseTest, DestroyingACreatedDatabaseThatWasNeverOpenWritesNothing) {
  database_->CreateDatabase();
  database_.reset();
  EXPECT_FALSE(files_.FileExists(kFile));
}

TEST_F(PDBDatabaseTest, DestroyingSwallowsAFailingSave) {
  OpenFileOf(ThreeRecords());
  database_->RemoveAll();
  files_.FailWrite(1);
  EXPECT_NO_THROW(database_.reset());
}

TEST_F(PDBDatabaseTest, RemoveDatabaseDeletesTheFileOpenOrNot) {
  OpenFileOf(ThreeRecords());
  database_->RemoveDatabase();
  EXPECT_FALSE(files_.FileExists(kFile));
  files_.Put(kFile, ThreeRecords());
  Restart();
  database_->PDBFilePath("C:\\tables");
  database_->RemoveDatabase();
  EXPECT_FALSE(files_.FileExists(kFile));
  EXPECT_NO_THROW(database_->RemoveDatabase());
}

// --- On the disk ----------------------------------------------------------------------------------------------------

TEST(PDBDatabaseOnDisk, ATableIsWrittenReadBackAndEdited) {
  const TempFolder folder;
  const std::unique_ptr<platform::FileSystem> files = platform::MakeFileSystem();
  testing::RecordingShell shell;
  const FakeClock clock;
  PDBDatabase database(cFileIO(*files, shell, folder.Path()), clock);
  database.CreateDatabase();
  database.PDBDatabaseName("brnd_Trip");
  database.PDBFilePath(folder.Path() + "\\");
  database.PDBDatabaseName("brnd_Trip");
  database.Update(-1, 0, 0, 0, Bytes{1, 2, 0});
  database.CloseDatabase();
  EXPECT_EQ(folder.Read("brnd_Trip.pdb").size(), 78u + 8u + 2u + 3u);

  ASSERT_TRUE(database.OpenDatabase());
  database.Update(-1, 0, 0, 0, Bytes{3, 0});
  database.CloseDatabase();
  ASSERT_TRUE(database.OpenDatabase());
  std::int32_t uniqueId = 0;
  std::int16_t category = 0;
  std::int32_t attributes = 0;
  EXPECT_EQ(database.ReadNextByIndex(2, uniqueId, category, attributes), (Bytes{3, 0}));
  EXPECT_EQ(uniqueId, 2);
}

}  // namespace
}  // namespace mv
