#include "sync/clsSyncableRS_PDB.h"

#include <gtest/gtest.h>

#include <limits>

#include "base/Error.h"
#include "fileio/cFileIO.h"
#include "pdb/RecordFlags.h"
#include "pdb/TableFormat.h"
#include "recordset/Conversions.h"
#include "support/ExpectError.h"
#include "support/FakeClock.h"
#include "support/Hex.h"
#include "support/MemoryFileSystem.h"
#include "sync/KeyClasses.h"
#include "sync/clsSyncPolicy.h"
#include "sync/clsSyncableRS_ADO.h"

namespace mv {
namespace {

using testing::ErrorNumberOf;
using testing::ErrorOf;
using testing::FromHex;
using testing::ToHex;

constexpr const char* kFolder = "C:\\Users\\john.smith\\source";
constexpr const char* kTable = "brnd_Fuel.pdb";

struct Field {
  const char* name;
  std::int32_t type;
};

/// A folder with table files and a run around it.
class PdbSide : public ::testing::Test {
 protected:
  PdbSide() { files_.CreateFolders(kFolder); }

  /// Starts a table file in the current folder, to be filled by Append and written by CloseDatabase.
  std::unique_ptr<PDBDatabase> NewTable(const std::vector<Field>& fields, const std::string& name = "brnd_Fuel") {
    auto table = std::make_unique<PDBDatabase>(cFileIO(files_, shell_, folder_), clock_);
    table->CreateDatabase();
    table->PDBFilePath(folder_ + "\\");
    table->PDBDatabaseName(name);
    table->CreatorId(table_format::kCreator);
    PDBAppforgeDefinition definition;
    for (const Field& field : fields) definition.AddFieldName(field.name, field.type);
    table->WriteAppInfoBlock(definition.AppInfoBlock());
    return table;
  }
  static void Append(PDBDatabase& table, Bytes record, std::int32_t attributes = 0) {
    record.push_back(0);
    table.Update(-1, 0, 0, attributes, std::move(record));
  }
  /// A table of the fields KY_RECID and NB_MILES with `count` records "a", 1.
  void WriteRecords(std::int32_t count) {
    const auto table = NewTable({{"KY_RECID", 5}, {"NB_MILES", 3}});
    for (std::int32_t i = 0; i < count; ++i) Append(*table, FromHex("61 00 00 00 00 01"));
    table->CloseDatabase();
  }
  /// The handheld's side over the table file; lives as long as the test.
  clsSyncableRS_PDB& Loaded() {
    clsSyncableRS_PDB& side = *loaded_.emplace_back(std::make_unique<clsSyncableRS_PDB>(context_));
    side.name(kTable);
    side.createADORS();
    return side;
  }
  /// Creates the output table with the fields of `rows`, appends its current row, and writes the file.
  Bytes OutputOf(MemoryRecordset& rows) {
    clsSyncableRS_ADO source;
    source.SetADORS(rows);
    clsSyncableRS_PDB output(context_);
    output.createDB(kTable, rows);
    output.closeDB();
    output.openDB(kTable);
    output.copyRecordToNative(source);
    output.closeDB();
    return files_.Content(folder_ + "\\" + kTable);
  }
  /// The bytes of the only record of an output made of one row.
  std::string RecordOf(MemoryRecordset& rows) {
    const Bytes file = OutputOf(rows);
    const std::size_t start = static_cast<std::size_t>(file[80]) << 8 | file[81];
    return ToHex(ByteView(file).subspan(start, file.size() - start - 1));
  }
  /// Merges a table with the desktop's; the output is the file out.pdb.
  void Merge(clsSyncableRS_PDB& device, MemoryRecordset& desktop, clsSyncableRS_PDB& output) {
    clsSyncableRS_ADO desktopSide;
    desktopSide.SetADORS(desktop);
    output.createDB("out.pdb", desktop);
    output.closeDB();
    output.openDB("out.pdb");
    clsSyncPolicy(context_).Sync(device, desktopSide, output);
    output.closeDB();
  }
  static MemoryRecordset OneRow(std::vector<FieldDefinition> fields, const std::vector<Value>& values) {
    MemoryRecordset rows(std::move(fields));
    rows.AddNew();
    for (std::size_t i = 0; i < values.size(); ++i) rows.SetFieldValue(i, values[i]);
    rows.Update();
    return rows;
  }

  testing::MemoryFileSystem files_;
  platform::SystemShell shell_;
  testing::FakeClock clock_;
  RunMode mode_ = RunMode::Synchronize;
  std::string folder_ = kFolder;
  std::size_t progress_ = 0;
  std::vector<std::string> messages_;
  std::vector<std::unique_ptr<clsSyncableRS_PDB>> loaded_;
  SyncContext context_{
      mode_,  folder_, [this] { ++progress_; }, [this](const std::string& text) { messages_.push_back(text); }, files_,
      shell_, clock_};
};

std::string FieldsText(const Recordset& rows) {
  std::string text;
  for (const FieldDefinition& field : rows.Fields()) {
    text += field.name + ":" + std::to_string(static_cast<std::int32_t>(field.type)) + " ";
  }
  return text;
}

// ---- Reading a table

TEST_F(PdbSide, EveryKnownFieldTypeHasItsRecordsetType) {
  NewTable({{"A", 1}, {"B", 2}, {"C", 3}, {"D", 4}, {"E", 5}, {"F", 6}, {"G", 7}, {"H", 8}, {"I", 9}})->CloseDatabase();
  const clsSyncableRS_PDB& side = Loaded();
  EXPECT_EQ(FieldsText(side.adors()), "A:17 B:2 C:3 D:4 E:8 F:11 G:7 H:5 I:6 _D:11 _M:11 ");
  EXPECT_EQ(side.nSyncableFields(), 9);
}

TEST_F(PdbSide, ValuesOfEveryTypeAreReadFromTheRecord) {
  const auto table =
      NewTable({{"A", 1}, {"B", 2}, {"C", 3}, {"D", 4}, {"E", 5}, {"F", 6}, {"G", 7}, {"H", 8}, {"I", 9}});
  Append(*table, FromHex("FF | FF FE | 00 00 00 07 | 3F C0 00 00 | 61 C3 A9 00 | 01 | 7F E8 17 8A |"
                         "C0 04 00 00 00 00 00 00 | FF FF FF FF FF FF FF FF"));
  table->CloseDatabase();
  const clsSyncableRS_PDB& side = Loaded();
  const Recordset& row = side.adors();
  EXPECT_EQ(row.FieldValue(0), Value(std::uint8_t{255}));
  EXPECT_EQ(row.FieldValue(1), Value(std::int16_t{-2}));
  EXPECT_EQ(row.FieldValue(2), Value(std::int32_t{7}));
  EXPECT_EQ(row.FieldValue(3), Value(1.5F));
  EXPECT_EQ(row.FieldValue(4), Value(std::string("a\xC3\xA9")));
  EXPECT_EQ(row.FieldValue(5), Value(true));
  EXPECT_EQ(row.FieldValue(6), Value(*DateFromIso("1972-01-01T00:00:10")));
  EXPECT_EQ(row.FieldValue(7), Value(-2.5));
  EXPECT_EQ(row.FieldValue(8), Value(Currency{-1}));
}

TEST_F(PdbSide, RecordsComeInFileOrder) {
  const auto table = NewTable({{"KY_RECID", 5}});
  for (const char* record : {"62 00", "61 00", "63 00"}) Append(*table, FromHex(record));
  table->CloseDatabase();
  const clsSyncableRS_PDB& side = Loaded();
  Recordset& rows = side.adors();
  std::string keys;
  for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext()) keys += TextOf(rows.FieldValue(0));
  EXPECT_EQ(keys, "bac");
}

struct FlagCase {
  std::int32_t attributes;
  bool deleted;
  bool modified;
};

class PdbFlags : public PdbSide, public ::testing::WithParamInterface<FlagCase> {};

TEST_P(PdbFlags, AttributeBitsBecomeTheTwoFlags) {
  const auto table = NewTable({{"KY_RECID", 5}});
  Append(*table, FromHex("61 00"), GetParam().attributes);
  table->CloseDatabase();
  const clsSyncableRS_PDB& side = Loaded();
  EXPECT_EQ(side.RecordIsDeleted(), GetParam().deleted);
  EXPECT_EQ(side.RecordIsModified(), GetParam().modified);
  EXPECT_EQ(side.adors().FieldValue("_D"), Value(GetParam().deleted));
  EXPECT_EQ(side.adors().FieldValue("_M"), Value(GetParam().modified));
}

INSTANTIATE_TEST_SUITE_P(Attributes, PdbFlags,
                         ::testing::Values(FlagCase{0x00, false, false}, FlagCase{0x3F, false, false},
                                           FlagCase{kRecordModified, false, true},
                                           FlagCase{kRecordDeleted, true, false}, FlagCase{0xC0, true, true}));

TEST_F(PdbSide, OverwritePdaLeavesTheRecordsetWithFieldsButWithoutRows) {
  mode_ = RunMode::OverwritePda;
  WriteRecords(16);
  const clsSyncableRS_PDB& side = Loaded();
  EXPECT_EQ(FieldsText(side.adors()), "KY_RECID:8 NB_MILES:3 _D:11 _M:11 ");
  EXPECT_EQ(side.adors().RecordCount(), 0);
  EXPECT_EQ(progress_, 0U);
}

TEST_F(PdbSide, OverwritePcLoadsTheRowsAsSynchronizeDoes) {
  mode_ = RunMode::OverwritePc;
  WriteRecords(3);
  EXPECT_EQ(Loaded().adors().RecordCount(), 3);
}

TEST_F(PdbSide, SixteenRecordsReportProgressSixteenTimes) {
  WriteRecords(16);
  Loaded();
  EXPECT_EQ(progress_, 16U);
}

TEST_F(PdbSide, RecordCountThatIsNoMultipleOfEightNeverReportsProgress) {
  for (const std::int32_t count : {1, 4, 12, 15, 17}) {
    WriteRecords(count);
    Loaded();
    EXPECT_EQ(progress_, 0U) << count;
  }
}

TEST_F(PdbSide, EmptyTableHasFieldsAndNoRows) {
  WriteRecords(0);
  const clsSyncableRS_PDB& side = Loaded();
  EXPECT_EQ(side.adors().Fields().size(), 4U);
  EXPECT_TRUE(side.adors().Bof());
  EXPECT_TRUE(side.adors().Eof());
}

TEST_F(PdbSide, LoadingLeavesTheFileClosedAndUntouched) {
  WriteRecords(2);
  const std::string path = folder_ + "\\" + kTable;
  const Bytes before = files_.Content(path);
  const std::size_t writes = files_.Writes();
  Loaded();
  EXPECT_FALSE(files_.IsRangeLocked(path, 0, 1));
  EXPECT_EQ(files_.Content(path), before);
  EXPECT_EQ(files_.Writes(), writes);
}

TEST_F(PdbSide, UnknownFieldTypeIsReportedAndLeftOutButCounted) {
  mode_ = RunMode::OverwritePda;
  NewTable({{"A", 3}, {"X", 12}, {"B", 5}, {"Y", 0}})->CloseDatabase();
  const clsSyncableRS_PDB& side = Loaded();
  EXPECT_EQ(messages_, (std::vector<std::string>{"Unknown PDB field type: 12", "Unknown PDB field type: 0"}));
  EXPECT_EQ(FieldsText(side.adors()), "A:3 B:8 _D:11 _M:11 ");
  EXPECT_EQ(side.nSyncableFields(), 4);
}

TEST_F(PdbSide, FieldsBehindAnUnknownTypeAreAssignedOnePlaceOff) {
  const auto table = NewTable({{"A", 5}, {"X", 12}, {"B", 5}, {"C", 6}});
  Append(*table, FromHex("61 00 | 31 00 | FF"));
  table->CloseDatabase();
  const clsSyncableRS_PDB& side = Loaded();
  const Recordset& row = side.adors();
  EXPECT_EQ(FieldsText(row), "A:8 B:8 C:11 _D:11 _M:11 ");
  EXPECT_EQ(row.FieldValue("A"), Value(std::string("a")));
  EXPECT_TRUE(IsNull(row.FieldValue("B")));
  EXPECT_EQ(row.FieldValue("C"), Value(true));  // B's "1"
  EXPECT_TRUE(side.RecordIsDeleted());          // C's FF
}

TEST_F(PdbSide, MissingFileGivesARecordsetWithoutFields) {
  const clsSyncableRS_PDB& side = Loaded();
  EXPECT_TRUE(side.adors().Fields().empty());
  EXPECT_EQ(side.adors().RecordCount(), 0);
  EXPECT_EQ(side.nSyncableFields(), 0);
}

class PdbWithoutMark : public PdbSide {
 protected:
  void WriteTableWithoutMark(std::int32_t records) {
    const auto table = NewTable({{"KY_RECID", 5}});
    table->WriteAppInfoBlock(Bytes(400, 0));
    for (std::int32_t i = 0; i < records; ++i) Append(*table, FromHex("61 00"));
    table->CloseDatabase();
  }
};

TEST_F(PdbWithoutMark, WithRecordsStopsBecauseThereIsNoFlagToSet) {
  WriteTableWithoutMark(1);
  for (const RunMode mode : {RunMode::Synchronize, RunMode::OverwritePc}) {
    mode_ = mode;
    EXPECT_EQ(ErrorNumberOf([&] { Loaded(); }), errors::kItemNotFound);
    loaded_.clear();  // gives the file free
  }
}

TEST_F(PdbWithoutMark, WithRecordsInOverwritePdaGoesOn) {
  WriteTableWithoutMark(1);
  mode_ = RunMode::OverwritePda;
  EXPECT_TRUE(Loaded().adors().Fields().empty());
}

TEST_F(PdbWithoutMark, WithoutRecordsGoesOn) {
  WriteTableWithoutMark(0);
  EXPECT_TRUE(Loaded().adors().Fields().empty());
}

TEST_F(PdbSide, RecordThatEndsBeforeItsFieldsRaisesTheStreamsError) {
  const auto table = NewTable({{"NB_MILES", 3}});
  Append(*table, FromHex("00 01"));
  table->CloseDatabase();
  EXPECT_EQ(ErrorNumberOf([&] { Loaded(); }), errors::kSubscriptOutOfRange);
}

TEST_F(PdbSide, FieldCalledLikeAFlagIsRefused) {
  NewTable({{"_D", 6}})->CloseDatabase();
  EXPECT_EQ(ErrorNumberOf([&] { Loaded(); }), errors::kObjectInCollection);
}

TEST_F(PdbSide, CreateADORSAgainBuildsANewRecordset) {
  WriteRecords(2);
  clsSyncableRS_PDB& side = Loaded();
  side.adors().Delete();
  side.createADORS();
  EXPECT_EQ(side.adors().RecordCount(), 2);
}

TEST_F(PdbSide, ForgottenRecordsetIsGoneUntilTheNextIsBuilt) {
  WriteRecords(2);
  clsSyncableRS_PDB& side = Loaded();
  side.ForgetADORS();
  EXPECT_EQ(ErrorNumberOf([&] { side.adors(); }), errors::kObjectNotSet);
  side.createADORS();
  EXPECT_EQ(side.adors().RecordCount(), 2);
}

// ---- Names

TEST_F(PdbSide, FileNameLosesItsFolderItsBlanksAndItsLastFourCharacters) {
  WriteRecords(1);
  for (const char* name : {"brnd_Fuel.pdb", "D:\\else.where\\brnd_Fuel.pdb", "  brnd_Fuel.pdb ", "brnd_Fuel.xyz"}) {
    clsSyncableRS_PDB side(context_);
    side.name(name);
    side.createADORS();
    EXPECT_EQ(side.adors().RecordCount(), 1) << name;
    EXPECT_EQ(side.name(), name);
  }
}

TEST_F(PdbSide, FileNameShorterThanAnExtensionNamesNoTable) {
  clsSyncableRS_PDB side(context_);
  side.name("x");
  side.createADORS();
  EXPECT_TRUE(side.adors().Fields().empty());
}

TEST_F(PdbSide, FolderAtTheTimeOfTheCallIsTheOneThatCounts) {
  WriteRecords(1);
  clsSyncableRS_PDB side(context_);
  side.name(kTable);
  folder_ = "C:\\elsewhere";
  side.createADORS();
  EXPECT_TRUE(side.adors().Fields().empty());
  folder_ = kFolder;
  side.createADORS();
  EXPECT_EQ(side.adors().RecordCount(), 1);
}

TEST_F(PdbSide, FoldersWithAndWithoutDotsAndSeparatorsAllWork) {
  for (const char* folder :
       {"C:\\plain", "C:\\with.dot", "C:\\plain\\", "C:\\with.dot\\", "C:/with.dot/sub", "C:\\.x"}) {
    files_.CreateFolders(folder);
    folder_ = folder;
    MemoryRecordset rows = OneRow({{"A", DataType::VarWChar, 0}}, {std::string("x")});
    OutputOf(rows);
    EXPECT_EQ(Loaded().adors().RecordCount(), 1) << folder;
  }
}

// ---- Flags and key without a table

TEST_F(PdbSide, BeforeCreateADORSTheFlagsRaiseTheirOwnError) {
  const clsSyncableRS_PDB side(context_);
  const Error deleted = ErrorOf([&] { side.RecordIsDeleted(); });
  EXPECT_EQ(deleted.Number(), -2);
  EXPECT_EQ(deleted.Source(), "RecordIsDeleted");
  EXPECT_EQ(deleted.Description(), "Unexpected null recordset");
  const Error modified = ErrorOf([&] { side.RecordIsModified(); });
  EXPECT_EQ(modified.Number(), -2);
  EXPECT_EQ(modified.Source(), "RecordIsModified");
  EXPECT_EQ(modified.Description(), "Unexpected null recordset");
  EXPECT_EQ(ErrorNumberOf([&] { side.adors(); }), errors::kObjectNotSet);
}

TEST_F(PdbSide, KeyTextsAreBothTheCriterion) {
  WriteRecords(1);
  clsSyncableRS_PDB& side = Loaded();
  side.keyInfo(MakeKeyInfo("brnd_Fuel"));
  EXPECT_EQ(side.keyCriteria(side.adors()), "KY_RECID='a'");
  EXPECT_EQ(side.keyPrintableString(side.adors()), "KY_RECID='a'");
}

TEST_F(PdbSide, KeyInfoIsNotHandedBack) {
  clsSyncableRS_PDB side(context_);
  side.keyInfo(MakeKeyInfo("brnd_Fuel"));
  EXPECT_EQ(side.keyInfo(), nullptr);
}

TEST_F(PdbSide, KeyCriteriaWithoutAKeyFails) {
  WriteRecords(1);
  const clsSyncableRS_PDB& side = Loaded();
  EXPECT_EQ(ErrorNumberOf([&] { side.keyCriteria(side.adors()); }), errors::kObjectNotSet);
}

// ---- Type codes

TEST(adoTypeToPDBType, KnownTypesMapAsHandheldsExpect) {
  const std::vector<std::pair<std::int32_t, std::int32_t>> expected = {{17, 1},  {129, 1}, {2, 2},   {3, 3},  {4, 4},
                                                                       {8, 5},   {202, 5}, {203, 5}, {11, 6}, {7, 7},
                                                                       {133, 7}, {135, 7}, {5, 8},   {6, 9}};
  for (const auto& [type, code] : expected) {
    EXPECT_EQ(clsSyncableRS_PDB::adoTypeToPDBType(static_cast<DataType>(type)), code) << type;
  }
}

TEST(adoTypeToPDBType, EveryOtherTypeRaisesMinusOneWithItsCode) {
  for (const std::int32_t type : {0, 72, 128, 130, 131, 204, 205}) {
    const Error error = ErrorOf([&] { clsSyncableRS_PDB::adoTypeToPDBType(static_cast<DataType>(type)); });
    EXPECT_EQ(error.Number(), -1);
    EXPECT_EQ(error.Source(), "adoTypeToPDBType");
    EXPECT_EQ(error.Description(), "Unknown field type: " + std::to_string(type));
  }
}

// ---- Writing a table

TEST_F(PdbSide, OutputOfOneRecordIsThisFile) {
  MemoryRecordset rows =
      OneRow({{"ID", DataType::Integer, 0}, {"Name", DataType::VarWChar, 10}}, {std::int32_t{7}, std::string("ab")});
  Bytes expected = FromHex(
      // name, 32 bytes
      "62 72 6E 64 5F 46 75 65 6C 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 |"
      // attributes, version; creation and modification date (day 21 of the month as seconds); backup, modification no.
      "00 00 | 00 01 | 00 00 00 00 | 00 00 00 00 | 00 00 00 00 | 00 00 00 00 |"
      // AppInfo at 86, no SortInfo, "DATA", "BRND", highest and next ID, one record
      "00 00 00 56 | 00 00 00 00 | 44 41 54 41 | 42 52 4E 44 | 00 00 00 01 | 00 00 00 02 | 00 01 |"
      // entry: data at 409, no flags, ID 1
      "00 00 01 99 | 00 | 01 00 00");
  expected.resize(expected.size() + 276, 0);
  const Bytes rest = FromHex(
      "41 50 50 46 4F 52 47 32 | 00 00 00 00 | 00 2C | 00 24 | 00 02 | 00 05 | 00 00 00 00 |"
      "00 25 00 03 00 00 | 00 28 00 05 00 00 | 00 | 49 44 00 | 4E 61 6D 65 00 |"
      // gap, record, spare byte
      "00 00 | 00 00 00 07 61 62 00 | 00");
  expected.insert(expected.end(), rest.begin(), rest.end());
  Bytes file = OutputOf(rows);
  std::fill(file.begin() + 36, file.begin() + 44, std::uint8_t{0});  // both dates have their own tests
  EXPECT_EQ(ToHex(file), ToHex(expected));
}

TEST_F(PdbSide, OutputWithoutRecordsIsHeaderAndFields) {
  const MemoryRecordset rows({{"ID", DataType::Integer, 0}, {"Name", DataType::VarWChar, 10}});
  clsSyncableRS_PDB output(context_);
  output.createDB(kTable, rows);
  output.closeDB();
  output.openDB(kTable);
  output.closeDB();
  EXPECT_EQ(files_.Content(folder_ + "\\" + kTable).size(), 78U + 321U);
}

TEST_F(PdbSide, EveryTypeIsWrittenByItsValue) {
  MemoryRecordset rows = OneRow({{"A", DataType::UnsignedTinyInt, 0},
                                 {"B", DataType::SmallInt, 0},
                                 {"C", DataType::Integer, 0},
                                 {"D", DataType::Single, 0},
                                 {"E", DataType::BStr, 0},
                                 {"F", DataType::VarWChar, 9},
                                 {"G", DataType::LongVarWChar, 0},
                                 {"H", DataType::Boolean, 0},
                                 {"I", DataType::Date, 0},
                                 {"J", DataType::DBDate, 0},
                                 {"K", DataType::DBTimeStamp, 0},
                                 {"L", DataType::Double, 0},
                                 {"M", DataType::Currency, 0}},
                                {std::uint8_t{255}, std::int16_t{-2}, std::int32_t{7}, 1.5F, std::string("a"),
                                 std::string("\xC3\xA9"), std::string(""), true, *DateFromIso("1904-01-01T00:00:01"),
                                 *DateFromIso("1972-01-01"), *DateFromIso("1904-01-02"), -2.5, Currency{-1}});
  EXPECT_EQ(RecordOf(rows),
            "FF FF FE 00 00 00 07 3F C0 00 00 61 00 C3 A9 00 00 FF 00 00 00 01 7F E8 17 80 00 01 51 80 "
            "C0 04 00 00 00 00 00 00 FF FF FF FF FF FF FF FF");
}

TEST_F(PdbSide, NullOfEveryTypeIsWrittenAsItsZero) {
  MemoryRecordset rows = OneRow({{"A", DataType::UnsignedTinyInt, 0},
                                 {"B", DataType::SmallInt, 0},
                                 {"C", DataType::Integer, 0},
                                 {"D", DataType::Single, 0},
                                 {"E", DataType::VarWChar, 0},
                                 {"F", DataType::Boolean, 0},
                                 {"G", DataType::DBTimeStamp, 0},
                                 {"H", DataType::Double, 0},
                                 {"I", DataType::Currency, 0},
                                 {"J", DataType::Char, 1}},
                                {});
  EXPECT_EQ(RecordOf(rows),
            "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
}

TEST_F(PdbSide, LastFieldOfOneByteIsKept) {
  MemoryRecordset rows = OneRow({{"ID", DataType::Integer, 0}, {"ON", DataType::Boolean, 0}}, {std::int32_t{7}, true});
  EXPECT_EQ(RecordOf(rows), "00 00 00 07 FF");
}

TEST_F(PdbSide, CharFieldIsWrittenAsTheByteItReadsAs) {
  MemoryRecordset rows = OneRow({{"A", DataType::Char, 3}}, {std::string("200")});
  EXPECT_EQ(RecordOf(rows), "C8");
}

TEST_F(PdbSide, CharFieldThatIsNoNumberRaisesATypeMismatch) {
  MemoryRecordset rows = OneRow({{"A", DataType::Char, 1}}, {std::string("x")});
  EXPECT_EQ(ErrorNumberOf([&] { OutputOf(rows); }), errors::kTypeMismatch);
}

TEST_F(PdbSide, CharacterOutsideTheCodePageIsWrittenAsAQuestionMark) {
  MemoryRecordset rows = OneRow({{"A", DataType::VarWChar, 0}}, {std::string("\xE2\x82\xAC\xD0\x96\xF0\x9F\x9A\x97")});
  EXPECT_EQ(RecordOf(rows), "80 3F 3F 00");
}

TEST_F(PdbSide, WrittenRecordHasNoFlags) {
  const auto table = NewTable({{"KY_RECID", 5}});
  Append(*table, FromHex("61 00"), kRecordModified);
  table->CloseDatabase();
  clsSyncableRS_PDB& device = Loaded();
  const MemoryRecordset desktop({{"KY_RECID", DataType::VarWChar, 0}});
  clsSyncableRS_PDB output(context_);
  output.createDB("out.pdb", desktop);
  output.openDB("out.pdb");
  EXPECT_FALSE(output.copyRecordToNative(device));
  output.closeDB();
  EXPECT_EQ(files_.Content(folder_ + "\\out.pdb")[82], 0);
}

TEST_F(PdbSide, FlagFieldsOfTheTemplateAreNotDefinedButCounted) {
  const MemoryRecordset rows(
      {{"_M", DataType::Boolean, 0}, {"ID", DataType::Integer, 0}, {"_D", DataType::Boolean, 0}});
  clsSyncableRS_PDB output(context_);
  output.createDB(kTable, rows);
  EXPECT_EQ(output.nSyncableFields(), 3);
  EXPECT_EQ(FieldsText(Loaded().adors()), "ID:3 _D:11 _M:11 ");
}

TEST_F(PdbSide, TemplateFieldOfAnUnknownTypeRaisesAndWritesNothing) {
  const MemoryRecordset rows({{"ID", DataType::Integer, 0}, {"G", DataType::Guid, 0}});
  clsSyncableRS_PDB output(context_);
  const Error error = ErrorOf([&] { output.createDB(kTable, rows); });
  EXPECT_EQ(error.Number(), -1);
  EXPECT_EQ(error.Description(), "Unknown field type: 72");
  EXPECT_FALSE(files_.FileExists(folder_ + "\\" + kTable));
}

TEST_F(PdbSide, DeviceTableNarrowerThanTheDesktopsReadsOnIntoItsFlagsThenFails) {
  const auto table = NewTable({{"KY_RECID", 5}});
  Append(*table, FromHex("61 00"), kRecordModified);
  table->CloseDatabase();
  clsSyncableRS_PDB& device = Loaded();
  const MemoryRecordset twoMore(
      {{"KY_RECID", DataType::VarWChar, 0}, {"X", DataType::Boolean, 0}, {"Y", DataType::Integer, 0}});
  clsSyncableRS_PDB output(context_);
  output.createDB("two.pdb", twoMore);
  output.openDB("two.pdb");
  output.copyRecordToNative(device);
  output.closeDB();
  const Bytes file = files_.Content(folder_ + "\\two.pdb");
  EXPECT_EQ(ToHex(ByteView(file).last(8)), "61 00 00 00 00 00 01 00");

  const MemoryRecordset threeMore({{"KY_RECID", DataType::VarWChar, 0},
                                   {"X", DataType::Boolean, 0},
                                   {"Y", DataType::Integer, 0},
                                   {"Z", DataType::Integer, 0}});
  clsSyncableRS_PDB wider(context_);
  wider.createDB("three.pdb", threeMore);
  wider.openDB("three.pdb");
  EXPECT_EQ(ErrorNumberOf([&] { wider.copyRecordToNative(device); }), errors::kItemNotFound);
}

TEST_F(PdbSide, OpenDBOfAMissingFileFailsAtTheFirstRecord) {
  MemoryRecordset rows = OneRow({{"ID", DataType::Integer, 0}}, {std::int32_t{7}});
  clsSyncableRS_ADO source;
  source.SetADORS(rows);
  clsSyncableRS_PDB output(context_);
  output.createDB(kTable, rows);
  output.openDB("missing.pdb");
  EXPECT_EQ(ErrorNumberOf([&] { output.copyRecordToNative(source); }), errors::kSubscriptOutOfRange);
}

TEST_F(PdbSide, OutputFolderThatIsMissingRaisesTheFilesError) {
  folder_ = "C:\\nowhere";
  const MemoryRecordset rows({{"ID", DataType::Integer, 0}});
  clsSyncableRS_PDB output(context_);
  EXPECT_EQ(ErrorNumberOf([&] { output.createDB(kTable, rows); }), errors::kPathNotFound);
}

TEST_F(PdbSide, WrittenTableReadsBackAsItWas) {
  MemoryRecordset rows =
      OneRow({{"A", DataType::VarWChar, 0}, {"B", DataType::Double, 0}, {"C", DataType::Date, 0}},
             {std::string("\xC3\xA9t\xC3\xA9 \xE2\x82\xAC"), 0.1, *DateFromIso("2026-11-21T14:05:09")});
  OutputOf(rows);
  const clsSyncableRS_PDB& side = Loaded();
  for (std::size_t i = 0; i < rows.Fields().size(); ++i) {
    EXPECT_EQ(TextOf(side.adors().FieldValue(i)), TextOf(rows.FieldValue(i)));
  }
}

// ---- The merge over real table files

TEST_F(PdbSide, MergeOfATableKeepsBothSidesInStep) {
  const auto table = NewTable({{"KY_RECID", 5}, {"NB_MILES", 3}});
  Append(*table, FromHex("61 00 | 00 00 00 01"));                   // unchanged, desktop wins
  Append(*table, FromHex("62 00 | 00 00 00 02"), kRecordModified);  // edited on the handheld
  Append(*table, FromHex("63 00 | 00 00 00 03"), kRecordDeleted);   // deleted on the handheld
  Append(*table, FromHex("64 00 | 00 00 00 04"), kRecordModified);  // new on the handheld
  Append(*table, FromHex("65 00 | 00 00 00 05"));                   // deleted on the desktop
  table->CloseDatabase();
  clsSyncableRS_PDB& device = Loaded();
  device.keyInfo(MakeKeyInfo("brnd_Fuel"));

  MemoryRecordset desktop({{"KY_RECID", DataType::VarWChar, 20}, {"NB_MILES", DataType::Integer, 0}});
  for (const char* key : {"a", "b", "c", "f"}) {
    desktop.AddNew();
    desktop.SetFieldValue(0, std::string(key));
    desktop.SetFieldValue(1, std::int32_t{100});
    desktop.Update();
  }
  desktop.MoveFirst();
  clsSyncableRS_PDB output(context_);
  Merge(device, desktop, output);

  std::string onDesktop;
  for (desktop.MoveFirst(); !desktop.Eof(); desktop.MoveNext()) {
    onDesktop += TextOf(desktop.FieldValue(0)) + "=" + TextOf(desktop.FieldValue(1)) + " ";
  }
  EXPECT_EQ(onDesktop, "a=100 b=2 f=100 d=4 ");

  device.name("out.pdb");
  device.createADORS();
  Recordset& result = device.adors();
  std::string onDevice;
  for (result.MoveFirst(); !result.Eof(); result.MoveNext()) {
    onDevice += TextOf(result.FieldValue(0)) + "=" + TextOf(result.FieldValue(1)) + " ";
    EXPECT_FALSE(device.RecordIsModified() || device.RecordIsDeleted());
  }
  EXPECT_EQ(onDevice, "a=100 b=2 f=100 d=4 ");
}

/// Counts the rows that a merge tells of.
class ChangedRows : public MergeObserver {
 public:
  void Walked(std::int64_t) override {}
  void Added(Side, const Row&) override { ++others; }
  void Changed(Side side, const Row&, const Row&) override { ++(side == Side::Handheld ? onHandheld : others); }
  void Deleted(Side, const Row&) override { ++others; }
  void Dropped(const Row&) override { ++others; }

  int onHandheld = 0;
  int others = 0;
};

class PdbComparison : public PdbSide {
 protected:
  /// How many rows a merge says to have changed on the handheld, whose table has one record of these bytes; `row` is
  /// the desktop's.
  int ChangedBy(const std::vector<Field>& fields, const std::string& record, std::vector<FieldDefinition> desktopFields,
                const std::vector<Value>& row) {
    const auto table = NewTable(fields);
    Append(*table, FromHex(record));
    table->CloseDatabase();
    clsSyncableRS_PDB& device = Loaded();
    device.keyInfo(MakeKeyInfo("brnd_Fuel"));
    MemoryRecordset desktop = OneRow(std::move(desktopFields), row);
    clsSyncableRS_PDB output(context_);
    ChangedRows observer;
    context_.observer = &observer;
    Merge(device, desktop, output);
    EXPECT_EQ(observer.others, 0);
    copied_ = output.copiedFields() ? ToHex(output.copiedFields()->bytes) : "nothing";
    return observer.onHandheld;
  }

  std::string copied_;  ///< the bytes of the copy, where they say all
};

const FieldDefinition kKeyField = {"KY_RECID", DataType::VarWChar, 20};

TEST_F(PdbComparison, CopyOfTheSameBytesChangesNothing) {
  const std::vector<Field> fields = {{"KY_RECID", 5}, {"NB_MILES", 3}};
  const std::vector<FieldDefinition> desktop = {kKeyField, {"NB_MILES", DataType::Integer, 0}};
  EXPECT_EQ(ChangedBy(fields, "61 00 00 00 00 01", desktop, {std::string("a"), std::int32_t{1}}), 0);
  EXPECT_EQ(copied_, "61 00 00 00 00 01");
  EXPECT_EQ(ChangedBy(fields, "61 00 00 00 00 02", desktop, {std::string("a"), std::int32_t{1}}), 1);
  EXPECT_EQ(ChangedBy(fields, "61 00 00 00 00 00", desktop, {std::string("a"), Null()}), 0);
}

TEST_F(PdbComparison, RecordInAnotherFormThatReadsTheSameChangesNothing) {
  const std::vector<Field> fields = {{"KY_RECID", 5}, {"BL_FULL", 6}};
  const std::vector<FieldDefinition> desktop = {kKeyField, {"BL_FULL", DataType::Boolean, 0}};
  EXPECT_EQ(ChangedBy(fields, "61 00 07", desktop, {std::string("a"), true}), 0);
  EXPECT_NE(copied_, "61 00 07");
}

TEST_F(PdbComparison, NotANumberDiffersFromItself) {
  const float single = std::numeric_limits<float>::quiet_NaN();
  const double number = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(ChangedBy({{"KY_RECID", 5}, {"N", 4}}, "61 00 7F C0 00 00", {kKeyField, {"N", DataType::Single, 0}},
                      {std::string("a"), single}),
            1);
  EXPECT_EQ(ChangedBy({{"KY_RECID", 5}, {"N", 8}}, "61 00 7F F8 00 00 00 00 00 00",
                      {kKeyField, {"N", DataType::Double, 0}}, {std::string("a"), number}),
            1);
  EXPECT_EQ(copied_, "nothing");
}

TEST_F(PdbComparison, ZeroInATextMakesOtherFieldsOfTheSameBytes) {
  const std::vector<Field> fields = {{"KY_RECID", 5}, {"A", 5}, {"N", 3}, {"B", 5}};
  const std::vector<FieldDefinition> desktop = {
      kKeyField, {"A", DataType::VarWChar, 20}, {"N", DataType::Integer, 0}, {"B", DataType::VarWChar, 20}};
  EXPECT_EQ(ChangedBy(fields, "61 00 78 00 00 01 02 03 62 63 00", desktop,
                      {std::string("a"), std::string("x\0", 2), std::int32_t{0x01020362}, std::string("c")}),
            1);
}

TEST_F(PdbComparison, SameBytesOfOtherTypesAreAChange) {
  EXPECT_EQ(ChangedBy({{"KY_RECID", 5}, {"N", 4}}, "61 00 00 00 00 01", {kKeyField, {"N", DataType::Integer, 0}},
                      {std::string("a"), std::int32_t{1}}),
            1);
}

}  // namespace
}  // namespace mv
