#include "fileio/cFileIO.h"

#include <gtest/gtest.h>

#include <map>

#include "platform/System.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingShell.h"
#include "support/TempFolder.h"

namespace mv {
namespace {

using mv::testing::MemoryFileSystem;
using mv::testing::RecordingShell;
using mv::testing::TempFolder;

Bytes BytesOf(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

class cFileIOTest : public ::testing::Test {
 protected:
  cFileIOTest() {
    files_.CreateFolders("C:\\Program");
    files_.CreateFolders("C:\\data");
  }

  void Put(const std::string& name, std::string_view content) { files_.Put("C:\\data\\" + name, BytesOf(content)); }
  std::string Content(const std::string& name) const {
    const Bytes bytes = files_.Content("C:\\data\\" + name);
    return std::string(bytes.begin(), bytes.end());
  }
  bool Open(const std::string& name, const std::string& mode) { return file_.OpenFile("C:\\data\\" + name, mode); }
  std::int32_t ErrorNumber() const {
    std::string text;
    std::int32_t number = 0;
    file_.ReadErrorHandler(text, number);
    return number;
  }
  std::string ErrorText() const {
    std::string text;
    std::int32_t number = 0;
    file_.ReadErrorHandler(text, number);
    return text;
  }

  MemoryFileSystem files_;
  RecordingShell shell_;
  cFileIO file_{files_, shell_, "C:\\Program"};
};

TEST_F(cFileIOTest, ANewObjectIsClosedAndStandsInTheProgramsFolder) {
  EXPECT_FALSE(file_.IsOpen());
  EXPECT_EQ(file_.Filename(), "");
  EXPECT_EQ(file_.FilePath(), "C:\\Program");
  EXPECT_EQ(file_.CurrentPos(), 0);
  EXPECT_EQ(file_.FileSize(), 0);
  EXPECT_TRUE(file_.IsEOF());
  EXPECT_TRUE(file_.CloseFile());
}

// --- Names ----------------------------------------------------------------------------------------------------------

TEST_F(cFileIOTest, FullFileNameSplitsAtTheLastSeparatorOfEitherKind) {
  file_.FullFileName("C:\\a\\b.pdb");
  EXPECT_EQ(file_.FilePath(), "C:\\a\\");
  EXPECT_EQ(file_.Filename(), "b.pdb");
  file_.FullFileName("C:\\a/c.pdb");
  EXPECT_EQ(file_.FilePath(), "C:\\a/");
  EXPECT_EQ(file_.Filename(), "c.pdb");
  EXPECT_EQ(file_.FullFileName(), "C:\\a/c.pdb");
}

TEST_F(cFileIOTest, ANameWithoutAPathKeepsThePathOrTakesTheProgramsFolder) {
  file_.FilePath("D:\\x");
  file_.FullFileName("b.pdb");
  EXPECT_EQ(file_.FilePath(), "D:\\x");
  EXPECT_EQ(file_.FullFileName(), "D:\\xb.pdb");
  file_.FilePath("");
  file_.FullFileName("c.pdb");
  EXPECT_EQ(file_.FilePath(), "C:\\Program");
}

TEST_F(cFileIOTest, FileNameNoExtRemovesTheLastExtensionOnly) {
  const std::map<std::string, std::string> bases = {{"a.b.pdb", "a.b"}, {"table.pdb", "table"}, {"plain", "plain"},
                                                    {".pdb", ""},       {"end.", "end"},        {"", ""}};
  for (const auto& [name, base] : bases) {
    file_.FullFileName("C:\\x.y\\" + name);
    EXPECT_EQ(file_.FileNameNoExt(), base) << name;
  }
}

TEST_F(cFileIOTest, FileExtIsReadAndReplaced) {
  file_.FullFileName("C:\\x\\a.b.pdb");
  EXPECT_EQ(file_.FileExt(), "pdb");
  file_.FileExt("db");
  EXPECT_EQ(file_.Filename(), "a.b.db");
  file_.FileExt("");
  EXPECT_EQ(file_.Filename(), "a.b");
  file_.FullFileName("plain");
  EXPECT_EQ(file_.FileExt(), "");
  file_.FileExt("txt");
  EXPECT_EQ(file_.Filename(), "plain.txt");
}

TEST_F(cFileIOTest, ValidateDirectoryTellsFoldersFromEverythingElse) {
  Put("file", "");
  EXPECT_TRUE(file_.ValidateDirectory("C:\\data"));
  EXPECT_TRUE(file_.ValidateDirectory("C:\\data\\"));
  EXPECT_FALSE(file_.ValidateDirectory("C:\\data\\file"));
  EXPECT_FALSE(file_.ValidateDirectory("C:\\none"));
  EXPECT_FALSE(file_.ValidateDirectory(""));
}

// --- Opening --------------------------------------------------------------------------------------------------------

TEST_F(cFileIOTest, AnyOtherModeTextReadsAFileThatMustExist) {
  for (const char* mode : {"R", "r", "w", "rw", "X", "W "}) {
    EXPECT_FALSE(Open("none", mode)) << mode;
    EXPECT_EQ(ErrorNumber(), errors::kFileNotFound);
    EXPECT_FALSE(files_.FileExists("C:\\data\\none"));
  }
  Put("some", "abc");
  EXPECT_TRUE(Open("some", "R"));
  EXPECT_FALSE(file_.WriteByteArray(Bytes{1}));
  EXPECT_EQ(ErrorNumber(), errors::kBadFileMode);
}

TEST_F(cFileIOTest, TheWritingModesCreateAMissingFile) {
  for (const char* mode : {"", "WR", "RW", "W"}) {
    const std::string name = std::string("new") + mode;
    EXPECT_TRUE(Open(name, mode)) << mode;
    EXPECT_TRUE(files_.FileExists("C:\\data\\" + name)) << mode;
    EXPECT_TRUE(file_.WriteByteArray(Bytes{1})) << mode;
  }
}

TEST_F(cFileIOTest, ModeWDoesNotRead) {
  Put("some", "abc");
  ASSERT_TRUE(Open("some", "W"));
  EXPECT_TRUE(file_.ReadByteArray().empty());
  EXPECT_EQ(ErrorText(), "modMain.ReadData():Bad file mode");
}

TEST_F(cFileIOTest, ReadIntoGivesWhatTheFileHoldsAndMovesTheCursor) {
  Put("some", "abcdef");
  ASSERT_TRUE(Open("some", "R"));
  Bytes room(4, '.');
  EXPECT_EQ(file_.ReadInto(room, 1), 4U);
  EXPECT_EQ(room, BytesOf("bcde"));
  EXPECT_EQ(file_.CurrentPos(), 5);
  EXPECT_EQ(file_.ReadInto(room, 4), 2U);
  EXPECT_EQ(room, BytesOf("efde"));
  EXPECT_TRUE(file_.IsEOF());
  files_.FailRead(1);
  EXPECT_EQ(file_.ReadInto(room, 0), 0U);
  EXPECT_EQ(ErrorNumber(), errors::kDeviceIo);
}

TEST_F(cFileIOTest, AFailedOpeningSaysWhyUnderTheNameAsGiven) {
  EXPECT_FALSE(file_.OpenFile("C:\\data\\none", "R"));
  EXPECT_EQ(ErrorText(), "modMain.OpenFile(C:\\data\\none):File not found");
  EXPECT_FALSE(file_.OpenFile("C:\\no\\none", "R"));
  EXPECT_EQ(ErrorNumber(), errors::kPathNotFound);
  EXPECT_FALSE(file_.IsOpen());
}

TEST_F(cFileIOTest, ReadErrorHandlerForgetsAFailureAfterTheNextSuccess) {
  Put("some", "abc");
  std::string text = "x";
  std::int32_t number = 1;
  EXPECT_FALSE(file_.ReadErrorHandler(text, number));
  EXPECT_EQ(text, "");
  EXPECT_EQ(number, 0);
  Open("none", "R");
  EXPECT_TRUE(file_.ReadErrorHandler(text, number));
  EXPECT_EQ(number, errors::kFileNotFound);
  Open("some", "R");
  EXPECT_FALSE(file_.ReadErrorHandler(text, number));
}

TEST_F(cFileIOTest, OpeningAppendsABackslashToThePath) {
  Put("some", "abc");
  EXPECT_TRUE(file_.OpenFile("some", "R", "C:\\data"));
  EXPECT_EQ(file_.FilePath(), "C:\\data\\");
  EXPECT_TRUE(file_.OpenFile("", "R", "C:/data/"));
  EXPECT_EQ(file_.FilePath(), "C:/data/\\");
}

TEST_F(cFileIOTest, AnOpenFileIsKeptFromEverybodyElse) {
  Put("some", "abc");
  ASSERT_TRUE(Open("some", "R"));
  cFileIO other(files_, shell_, "C:\\Program");
  EXPECT_FALSE(other.OpenFile("C:\\data\\some", "R"));
  std::string text;
  std::int32_t number = 0;
  EXPECT_TRUE(other.ReadErrorHandler(text, number));
  EXPECT_EQ(number, errors::kPermissionDenied);
}

TEST_F(cFileIOTest, OpeningClosesTheFileThatWasOpen) {
  ASSERT_TRUE(Open("one", "W"));
  file_.WriteData("abc");
  ASSERT_TRUE(Open("two", "W"));
  EXPECT_EQ(Content("one"), "abc");
  EXPECT_TRUE(cFileIO(files_, shell_, "").OpenFile("C:\\data\\one", "R"));
}

TEST_F(cFileIOTest, TheDestructorClosesLikeCloseFile) {
  Put("some", "0123456789");
  {
    cFileIO file(files_, shell_, "C:\\Program");
    ASSERT_TRUE(file.OpenFile("C:\\data\\some", "RW"));
    file.WriteData("abc");
  }
  EXPECT_EQ(Content("some"), "abc");
}

TEST_F(cFileIOTest, AMovedFileStaysOpenInItsNewPlace) {
  ASSERT_TRUE(Open("some", "W"));
  cFileIO moved(std::move(file_));
  EXPECT_TRUE(moved.WriteData("abc"));
  EXPECT_TRUE(moved.CloseFile());
  EXPECT_EQ(Content("some"), "abc");
}

// --- Closing --------------------------------------------------------------------------------------------------------

TEST_F(cFileIOTest, AWritableFileEndsAtTheCursorWhenClosed) {
  Put("some", std::string(200, 'x'));
  ASSERT_TRUE(Open("some", "RW"));
  EXPECT_TRUE(file_.WriteByteArray(Bytes(100, 'y')));
  EXPECT_TRUE(file_.CloseFile());
  EXPECT_EQ(Content("some"), std::string(100, 'y'));
}

TEST_F(cFileIOTest, ACursorBehindTheEndExtendsTheFileWithZeros) {
  Put("some", "abc");
  ASSERT_TRUE(Open("some", "RW"));
  file_.SetCursorPos(5);
  EXPECT_TRUE(file_.CloseFile());
  EXPECT_EQ(Content("some"), std::string("abc\0\0", 5));
}

TEST_F(cFileIOTest, AFileOpenedForReadingIsNotCut) {
  Put("some", "abc");
  ASSERT_TRUE(Open("some", "R"));
  file_.Reset();
  EXPECT_TRUE(file_.CloseFile());
  EXPECT_EQ(Content("some"), "abc");
}

TEST_F(cFileIOTest, WhatIsWrittenIsOnTheDiskAfterCloseFileUnlessThatMayComeLater) {
  Put("some", "old");
  ASSERT_TRUE(Open("some", "W"));
  EXPECT_TRUE(file_.WriteData("abcd"));
  EXPECT_TRUE(file_.CloseFile(OnDisk::Later));
  EXPECT_EQ(Content("some"), "abcd");
  EXPECT_EQ(files_.AfterPowerCut({}).at("C:/data/some"), (Bytes{'o', 'l', 'd'}));
  ASSERT_TRUE(Open("some", "RW"));
  file_.SetCursorPos(2);
  EXPECT_TRUE(file_.CloseFile());
  EXPECT_EQ(files_.AfterPowerCut({}).at("C:/data/some"), (Bytes{'a', 'b'}));
}

TEST_F(cFileIOTest, CloseFileReportsWhatCouldNotBeCutOrFlushed) {
  ASSERT_TRUE(Open("some", "W"));
  files_.FailSync(1);
  EXPECT_FALSE(file_.CloseFile());
  EXPECT_EQ(ErrorNumber(), errors::kDiskFull);
  EXPECT_FALSE(file_.IsOpen());

  ASSERT_TRUE(Open("some", "W"));
  files_.FailWrite(1);
  EXPECT_FALSE(file_.CloseFile());
  EXPECT_EQ(ErrorText(), "modMain.CloseFile():Disk full");

  ASSERT_TRUE(Open("some", "W"));
  file_.SetCursorPos(-5);
  EXPECT_FALSE(file_.CloseFile());
  EXPECT_EQ(ErrorNumber(), errors::kSubscriptOutOfRange);
}

// --- Reading and writing --------------------------------------------------------------------------------------------

TEST_F(cFileIOTest, ReadsAndWritesMoveTheCursor) {
  Put("some", "abcdef");
  ASSERT_TRUE(Open("some", "RW"));
  EXPECT_EQ(file_.ReadByteArray(2), BytesOf("ab"));
  EXPECT_EQ(file_.CurrentPos(), 2);
  EXPECT_TRUE(file_.WriteByteArray(BytesOf("X")));
  EXPECT_EQ(file_.ReadByteArray(), BytesOf("def"));
  EXPECT_TRUE(file_.IsEOF());
  EXPECT_EQ(file_.ReadByteArray(2, 1), BytesOf("bX"));
  EXPECT_EQ(file_.CurrentPos(), 3);
  EXPECT_FALSE(file_.IsEOF());
  file_.Reset();
  EXPECT_EQ(file_.CurrentPos(), 0);
}

TEST_F(cFileIOTest, ReadingBehindTheEndGivesNothingAndIsNoFailure) {
  Put("some", "abc");
  ASSERT_TRUE(Open("some", "R"));
  EXPECT_EQ(file_.ReadByteArray(10), BytesOf("abc"));
  EXPECT_TRUE(file_.ReadByteArray(10).empty());
  EXPECT_TRUE(file_.ReadByteArray(10, 1000).empty());
  EXPECT_EQ(ErrorNumber(), 0);
}

TEST_F(cFileIOTest, AHugeCountAllocatesNoMoreThanTheFileHolds) {
  Put("some", "abc");
  ASSERT_TRUE(Open("some", "R"));
  const Bytes bytes = file_.ReadByteArray(2'000'000'000);
  EXPECT_EQ(bytes, BytesOf("abc"));
  EXPECT_LT(bytes.capacity(), 100u);
}

TEST_F(cFileIOTest, NegativePositionsFail) {
  ASSERT_TRUE(Open("some", "RW"));
  EXPECT_FALSE(file_.WriteByteArray(Bytes{1}, -2));
  EXPECT_EQ(ErrorNumber(), errors::kSubscriptOutOfRange);
  EXPECT_TRUE(file_.ReadByteArray(1, -2).empty());
  EXPECT_EQ(ErrorNumber(), errors::kSubscriptOutOfRange);
}

TEST_F(cFileIOTest, TheCursorCannotPassTwoGigabytes) {
  ASSERT_TRUE(Open("some", "RW"));
  EXPECT_FALSE(file_.WriteByteArray(Bytes{1, 2}, 2'147'483'646));
  EXPECT_EQ(ErrorNumber(), errors::kOverflow);
  EXPECT_EQ(file_.FileSize(), 0);
  file_.Reset();
}

TEST_F(cFileIOTest, WithoutAnOpenFileReadsAndWritesFail) {
  EXPECT_TRUE(file_.ReadByteArray().empty());
  EXPECT_EQ(ErrorText(), "modMain.ReadData():Bad file name or number");
  EXPECT_FALSE(file_.WriteData("x"));
  EXPECT_EQ(ErrorText(), "modMain.WriteData():Bad file name or number");
  EXPECT_FALSE(file_.PrintLine("x"));
  EXPECT_EQ(ErrorText(), "modMain.PrintLine():Bad file name or number");
  file_.FullFileName("C:\\data\\some");
  EXPECT_EQ(file_.InputLine(), "");
  EXPECT_EQ(ErrorText(), "InputLine(some):Bad file name or number");
}

TEST_F(cFileIOTest, AFailingDeviceIsReportedWithTheTagOfTheMember) {
  Put("some", "abc");
  ASSERT_TRUE(Open("some", "RW"));
  files_.FailRead(1);
  EXPECT_EQ(file_.ReadData(), "");
  EXPECT_EQ(ErrorText(), "modMain.ReadData():Device I/O error");
  EXPECT_EQ(ErrorNumber(), errors::kDeviceIo);
  files_.FailWrite(1);
  EXPECT_FALSE(file_.WriteByteArray(Bytes{1, 2}));
  EXPECT_FALSE(file_.IsEOF());
  EXPECT_EQ(ErrorText(), "modMain.WriteData():Disk full");
  EXPECT_EQ(file_.CurrentPos(), 0);
  file_.SetCursorPos(3);
}

TEST_F(cFileIOTest, AFileWhoseStartCannotBeReadIsNotOpened) {
  Put("some", "abc");
  files_.FailRead(1);
  EXPECT_FALSE(Open("some", "R"));
  EXPECT_EQ(ErrorNumber(), errors::kDeviceIo);
  EXPECT_FALSE(file_.IsOpen());
}

TEST_F(cFileIOTest, TextIsWindows1252InTheFile) {
  ASSERT_TRUE(Open("some", "RW"));
  EXPECT_TRUE(file_.WriteData("\xC3\xA9\xE2\x84\xA2\xD0\x96\xF0\x9F\x9A\x97"));  // é ™ Ж and an astral character
  EXPECT_EQ(file_.ReadData(cFileIO::kToEnd, 0), "\xC3\xA9\xE2\x84\xA2??");
  EXPECT_TRUE(file_.CloseFile());
  EXPECT_EQ(Content("some"), "\xE9\x99??");
}

TEST_F(cFileIOTest, LinesEndInCarriageReturnAndLineFeed) {
  Put("some", "one\r\n\r\nlone\nfeed\rhere\r\nlast");
  ASSERT_TRUE(Open("some", "R"));
  EXPECT_EQ(file_.InputLine(), "one");
  EXPECT_EQ(file_.InputLine(), "");
  EXPECT_EQ(file_.InputLine(), "lone\nfeed\rhere");
  EXPECT_EQ(file_.InputLine(), "last");
  EXPECT_TRUE(file_.IsEOF());
  EXPECT_EQ(file_.InputLine(), "");
}

TEST_F(cFileIOTest, ALineEndAcrossTwoPiecesOfReadingIsFound) {
  for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 8191u}) {
    const std::string line(length, 'x');
    Put("some", line + "\r\nnext");
    ASSERT_TRUE(Open("some", "R"));
    EXPECT_EQ(file_.InputLine(), line);
    EXPECT_EQ(file_.ReadAllData(), "next");
  }
}

TEST_F(cFileIOTest, PrintLineAppendsTheLineEndAtTheCursor) {
  ASSERT_TRUE(Open("some", "W"));
  EXPECT_TRUE(file_.PrintLine("caf\xC3\xA9"));
  EXPECT_TRUE(file_.PrintLine(""));
  EXPECT_TRUE(file_.CloseFile());
  EXPECT_EQ(Content("some"), "caf\xE9\r\n\r\n");
}

// --- Files with the mark FF FE --------------------------------------------------------------------------------------

TEST_F(cFileIOTest, AFileWithTheMarkIsReadAsUtf16BehindIt) {
  Put("some", std::string_view("\xFF\xFE"
                               "a\0\x16\x04\r\0\n\0"
                               "b\0",
                               12));
  ASSERT_TRUE(Open("some", "R"));
  EXPECT_EQ(file_.InputLine(), "a\xD0\x96");
  EXPECT_EQ(file_.ReadAllData(), "b");
  EXPECT_EQ(file_.ReadByteArray(3, 0), BytesOf(std::string_view("a\0", 2))) << "whole units only";
}

TEST_F(cFileIOTest, WritingAtTheStartOfAFileWithTheMarkKeepsTheMark) {
  Put("some", std::string_view("\xFF\xFE"
                               "a\0",
                               4));
  ASSERT_TRUE(Open("some", "RW"));
  EXPECT_TRUE(file_.WriteData("bc", 0));
  EXPECT_TRUE(file_.CloseFile());
  EXPECT_EQ(Content("some"), std::string("\xFF\xFE"
                                         "b\0c\0",
                                         6));
}

TEST_F(cFileIOTest, TheCursorStaysWhenAFileWithTheMarkIsOpenedAndGoesToTheStartForAnyOther) {
  Put("marked", std::string_view("\xFF\xFE"
                                 "a\0b\0",
                                 6));
  Put("plain", "abc");
  file_.SetCursorPos(4);
  ASSERT_TRUE(Open("marked", "R"));
  EXPECT_EQ(file_.CurrentPos(), 4);
  ASSERT_TRUE(Open("plain", "R"));
  EXPECT_EQ(file_.CurrentPos(), 0);
}

TEST_F(cFileIOTest, AFileOpenedForWritingOnlyIsNeverTakenForAUtf16File) {
  Put("marked", std::string_view("\xFF\xFE"
                                 "a\0",
                                 4));
  ASSERT_TRUE(Open("marked", "R"));
  ASSERT_TRUE(Open("other", "W"));
  EXPECT_TRUE(file_.WriteData("abc", 0));
  EXPECT_TRUE(file_.CloseFile());
  EXPECT_EQ(Content("other"), "abc");
}

// --- Making, removing and moving files ------------------------------------------------------------------------------

TEST_F(cFileIOTest, ValidateFileCreatesAMissingFileEmpty) {
  EXPECT_TRUE(file_.ValidateFile("C:\\data\\new"));
  EXPECT_EQ(Content("new"), "");
  EXPECT_FALSE(file_.IsOpen());
}

TEST_F(cFileIOTest, ValidateFileLeavesAnExistingFileUnchanged) {
  Put("some", "abc");
  Put("marked", std::string_view("\xFF\xFE"
                                 "a\0",
                                 4));
  EXPECT_TRUE(file_.ValidateFile("C:\\data\\some"));
  EXPECT_EQ(Content("some"), "abc");
  EXPECT_TRUE(file_.ValidateFile("C:\\data\\marked"));
  EXPECT_EQ(Content("marked").size(), 4u);
}

/// A file whose size a 32-bit cursor cannot hold; writes down how it is cut.
class HugeFile : public platform::File {
 public:
  explicit HugeFile(std::vector<std::uint64_t>& cuts) : cuts_(cuts) {}
  std::uint64_t Size() const override { return 5'000'000'000; }
  std::size_t ReadAt(std::uint64_t, ByteSpan) override { return 0; }
  void WriteAt(std::uint64_t, ByteView) override {}
  void Resize(std::uint64_t size) override { cuts_.push_back(size); }
  void Sync() override {}

 private:
  std::vector<std::uint64_t>& cuts_;
};

class HugeFileSystem : public MemoryFileSystem {
 public:
  std::unique_ptr<platform::File> Open(const std::string&, platform::Access, platform::Disposition,
                                       platform::Sharing) override {
    return std::make_unique<HugeFile>(cuts);
  }
  std::vector<std::uint64_t> cuts;
};

TEST(cFileIOHugeTest, ValidateFileDoesNotCutAFileThatTheCursorCannotMeasure) {
  HugeFileSystem files;
  RecordingShell shell;
  cFileIO file(files, shell, "C:\\");
  file.ValidateFile("huge");
  EXPECT_TRUE(files.cuts.empty());
}

TEST_F(cFileIOTest, ValidateFileSwallowsItsErrors) {
  EXPECT_FALSE(file_.ValidateFile("C:\\none\\file"));
  EXPECT_EQ(ErrorText(), "");
}

TEST_F(cFileIOTest, TemporaryFilesAreNewEmptyAndNamedAfterThePrefix) {
  const std::string folder = TemporaryFolder(platform::EnvironmentVariable);
  files_.CreateFolders(folder);
  ASSERT_TRUE(file_.SetTempFileInfo(""));
  const std::string first = file_.FullFileName();
  EXPECT_EQ(file_.TempFileName(), first);
  EXPECT_EQ(file_.Filename().substr(0, 3), "nts");
  EXPECT_EQ(file_.FileExt(), "tmp");
  EXPECT_TRUE(files_.Content(first).empty());
  EXPECT_TRUE(first.starts_with(folder)) << first;

  ASSERT_TRUE(file_.SetTempFileInfo("\xC3\xA9_prefix"));
  EXPECT_TRUE(file_.Filename().starts_with("\xC3\xA9_p")) << file_.Filename();
  ASSERT_TRUE(file_.SetTempFileInfo(""));
  EXPECT_NE(file_.FullFileName(), first);
}

TEST_F(cFileIOTest, WithoutATemporaryFolderThereIsNoTemporaryFile) {
  EXPECT_FALSE(file_.SetTempFileInfo(""));
  EXPECT_EQ(ErrorNumber(), errors::kPathNotFound);
  EXPECT_FALSE(file_.OpenTempFile("RW", "", ""));
  EXPECT_EQ(file_.TempFileName(), "");
}

TEST_F(cFileIOTest, OpenTempFileOpensItAtTheStart) {
  files_.CreateFolders(TemporaryFolder(platform::EnvironmentVariable));
  file_.SetCursorPos(7);
  ASSERT_TRUE(file_.OpenTempFile("W", "", "log"));
  EXPECT_EQ(file_.CurrentPos(), 0);
  EXPECT_TRUE(file_.WriteData("abc"));
  ASSERT_TRUE(file_.OpenTempFile("W", "C:\\data", "log"));
  EXPECT_EQ(file_.FilePath(), "C:\\data\\");
}

TEST(TemporaryFolder, TempComesBeforeTmpdirAndSlashTmpIsTheLastResort) {
  std::map<std::string, std::string> variables = {{"TEMP", "C:\\Temp"}, {"TMPDIR", "/var/tmp"}};
  const auto lookUp = [&](const std::string& name) -> std::optional<std::string> {
    const auto found = variables.find(name);
    return found == variables.end() ? std::nullopt : std::optional(found->second);
  };
  EXPECT_EQ(TemporaryFolder(lookUp), "C:\\Temp");
  variables["TEMP"] = "";
  EXPECT_EQ(TemporaryFolder(lookUp), "/var/tmp");
  variables.clear();
  EXPECT_EQ(TemporaryFolder(lookUp), "/tmp");
}

TEST_F(cFileIOTest, DeleteFileClosesFirstAndIgnoresAMissingFile) {
  ASSERT_TRUE(Open("some", "W"));
  file_.DeleteFile();
  EXPECT_FALSE(file_.IsOpen());
  EXPECT_FALSE(files_.FileExists("C:\\data\\some"));
  file_.DeleteFile();
  EXPECT_EQ(ErrorText(), "");
}

TEST_F(cFileIOTest, RecycleHandsTheFullNameToTheShell) {
  file_.FullFileName("C:\\data\\some");
  EXPECT_TRUE(file_.Recycle());
  EXPECT_EQ(shell_.recycled, std::vector<std::string>{"C:\\data\\some"});
  shell_.succeeds = false;
  EXPECT_FALSE(file_.Recycle());
  EXPECT_EQ(ErrorNumber(), errors::kPathFileAccess);
}

TEST_F(cFileIOTest, MoveFileTakesTheNewNameOverAndReplacesNothing) {
  Put("some", "abc");
  Put("taken", "old");
  file_.FullFileName("C:\\data\\some");
  EXPECT_FALSE(file_.MoveFile("C:\\data\\taken"));
  EXPECT_EQ(ErrorNumber(), errors::kFileAlreadyExists);
  EXPECT_TRUE(file_.MoveFile("C:\\Program\\moved"));
  EXPECT_EQ(file_.FullFileName(), "C:\\Program\\moved");
  EXPECT_EQ(files_.Content("C:\\Program\\moved"), BytesOf("abc"));
  EXPECT_FALSE(files_.FileExists("C:\\data\\some"));
  EXPECT_FALSE(file_.MoveFile("C:\\none\\moved"));
  EXPECT_EQ(ErrorNumber(), errors::kPathNotFound);
  EXPECT_EQ(file_.FullFileName(), "C:\\Program\\moved");
}

TEST_F(cFileIOTest, CopyFileReplacesTheTargetAndKeepsItsOwnName) {
  Put("some", "abc");
  Put("taken", "old");
  file_.FullFileName("C:\\data\\some");
  EXPECT_TRUE(file_.CopyFile("C:\\data\\taken"));
  EXPECT_EQ(Content("taken"), "abc");
  EXPECT_EQ(Content("some"), "abc");
  EXPECT_EQ(file_.Filename(), "some");
  file_.FullFileName("C:\\data\\none");
  EXPECT_FALSE(file_.CopyFile("C:\\data\\taken"));
  EXPECT_EQ(ErrorNumber(), errors::kFileNotFound);
}

TEST_F(cFileIOTest, ANewNameIsOnTheDisk) {
  Put("some", "abc");
  file_.FullFileName("C:\\data\\some");
  EXPECT_TRUE(file_.RenameFile("other"));
  EXPECT_TRUE(files_.AfterPowerCut({}).contains("C:/data/other"));
  EXPECT_TRUE(file_.MoveFile("C:\\data\\third"));
  EXPECT_TRUE(files_.AfterPowerCut({}).contains("C:/data/third"));
}

TEST_F(cFileIOTest, RenameFileStaysInTheFolder) {
  Put("some", "abc");
  Put("taken", "old");
  file_.FullFileName("C:\\data\\some");
  EXPECT_FALSE(file_.RenameFile("taken"));
  EXPECT_EQ(ErrorNumber(), errors::kFileAlreadyExists);
  EXPECT_TRUE(file_.RenameFile("other"));
  EXPECT_EQ(file_.FullFileName(), "C:\\data\\other");
  EXPECT_EQ(Content("other"), "abc");
}

// --- INI files ------------------------------------------------------------------------------------------------------

constexpr const char* kIni = "C:\\data\\set.ini";

TEST_F(cFileIOTest, ReadIniFindsKeysWithoutRegardToCaseAndTrimsTheirValues) {
  Put("set.ini", "[General]\r\n Path =  C:\\cars \t\r\nQuoted=\" x \"\r\nSingle=' y '\r\nEmpty=\r\n");
  EXPECT_EQ(file_.ReadINI(kIni, "GENERAL", "path"), "C:\\cars");
  EXPECT_EQ(file_.ReadINI(kIni, "general", "Quoted"), " x ");
  EXPECT_EQ(file_.ReadINI(kIni, "general", "Single"), " y ");
  EXPECT_EQ(file_.ReadINI(kIni, "General", "Empty", "default"), "");
  EXPECT_EQ(ErrorText(), "");
}

TEST_F(cFileIOTest, ReadIniGivesTheFallbackForAMissingKeyAndAnErrorWithoutOne) {
  Put("set.ini", "[General]\r\nA=1\r\n");
  EXPECT_EQ(file_.ReadINI(kIni, "General", "B", "none"), "none");
  EXPECT_EQ(ErrorText(), "");
  EXPECT_EQ(file_.ReadINI(kIni, "General", "B"), "");
  EXPECT_EQ(ErrorText(), "IniFile::ReadIni [General] B not Found");
  EXPECT_EQ(file_.ReadINI(kIni, "Other", "A", "none"), "none");
}

TEST_F(cFileIOTest, ReadIniCutsValuesAt99Characters) {
  const std::string accents = "\xC3\xA9" + std::string(98, 'x');
  Put("set.ini", "[S]\r\nA=" + std::string(120, 'x') + "\r\nB=\xE9" + std::string(99, 'x') + "\r\n");
  EXPECT_EQ(file_.ReadINI(kIni, "S", "A"), std::string(99, 'x'));
  EXPECT_EQ(file_.ReadINI(kIni, "S", "B"), accents);
  EXPECT_EQ(file_.ReadINI(kIni, "S", "C", std::string(120, 'y')), std::string(99, 'y'));
}

TEST_F(cFileIOTest, ReadIniCreatesAMissingFileEmpty) {
  EXPECT_EQ(file_.ReadINI(kIni, "S", "A", "x"), "x");
  EXPECT_EQ(Content("set.ini"), "");
  EXPECT_EQ(file_.ReadINI("C:\\none\\set.ini", "S", "A", "x"), "x");
}

TEST_F(cFileIOTest, ReadIniReportsAFailingDevice) {
  Put("set.ini", "[S]\r\nA=1\r\n");
  files_.FailRead(2);
  EXPECT_EQ(file_.ReadINI(kIni, "S", "A", "x"), "x");
  EXPECT_EQ(ErrorText(), "IniFile::ReadIniDevice I/O error");
}

TEST_F(cFileIOTest, WriteIniChangesOneValueAndKeepsEverythingElse) {
  Put("set.ini", "; caf\xE9 \x81\r\n[S]\r\nA = 1 \r\n\r\nstray line\r\n[T]\r\nB=2");
  EXPECT_TRUE(file_.WriteIni(kIni, "s", "a", "\xC3\xBC"));
  EXPECT_EQ(Content("set.ini"), "; caf\xE9 \x81\r\n[S]\r\nA = \xFC \r\n\r\nstray line\r\n[T]\r\nB=2");
  EXPECT_TRUE(file_.WriteIni(kIni, "T", "C", "3"));
  EXPECT_EQ(Content("set.ini"), "; caf\xE9 \x81\r\n[S]\r\nA = \xFC \r\n\r\nstray line\r\n[T]\r\nB=2\r\nC=3\r\n");
}

TEST_F(cFileIOTest, WriteIniCreatesAMissingFile) {
  EXPECT_TRUE(file_.WriteIni(kIni, "S", "A", "1"));
  EXPECT_EQ(Content("set.ini"), "[S]\r\nA=1\r\n");
}

TEST_F(cFileIOTest, WriteIniKeepsAUtf16FileUtf16) {
  Put("set.ini", std::string_view("\xFF\xFE[\0S\0]\0\r\0\n\0", 12));
  EXPECT_TRUE(file_.WriteIni(kIni, "S", "A", "\xD0\x96"));
  EXPECT_EQ(Content("set.ini"), std::string("\xFF\xFE[\0S\0]\0\r\0\n\0A\0=\0\x16\x04\r\0\n\0", 22));
  EXPECT_EQ(file_.ReadINI(kIni, "S", "A"), "\xD0\x96");
}

TEST_F(cFileIOTest, WriteIniRefusesAValueOfTwoLines) {
  Put("set.ini", "[S]\r\n");
  EXPECT_FALSE(file_.WriteIni(kIni, "S", "A", "1\r\n[T]"));
  EXPECT_EQ(ErrorText(), "IniFile::WriteIniInvalid procedure call or argument");
  EXPECT_EQ(Content("set.ini"), "[S]\r\n");
}

TEST_F(cFileIOTest, AFailedWriteIniLeavesTheFile) {
  Put("set.ini", "[S]\r\nA=1\r\n");
  files_.FailWrite(1);
  EXPECT_FALSE(file_.WriteIni(kIni, "S", "A", "2"));
  EXPECT_EQ(ErrorNumber(), errors::kDiskFull);
  EXPECT_EQ(Content("set.ini"), "[S]\r\nA=1\r\n");
}

TEST_F(cFileIOTest, DeleteIniTakesAKeyAndDeleteIniAllASection) {
  Put("set.ini", "[S]\r\nA=1\r\nB=2\r\n[T]\r\nC=3\r\n");
  EXPECT_TRUE(file_.DeleteIni(kIni, "s", "a"));
  EXPECT_EQ(Content("set.ini"), "[S]\r\nB=2\r\n[T]\r\nC=3\r\n");
  EXPECT_TRUE(file_.DeleteIniAll(kIni, "s"));
  EXPECT_EQ(Content("set.ini"), "[T]\r\nC=3\r\n");
  files_.FailWrite(1);
  EXPECT_FALSE(file_.DeleteIniAll(kIni, "t"));
  EXPECT_EQ(ErrorText(), "IniFile::DeleteIniAllDisk full");
  files_.FailWrite(1);
  EXPECT_FALSE(file_.DeleteIni(kIni, "t", "c"));
  EXPECT_EQ(ErrorText(), "IniFile::DeleteIniDisk full");
}

TEST_F(cFileIOTest, DeletingWhatIsNotThereWritesNothing) {
  EXPECT_TRUE(file_.DeleteIni(kIni, "S", "A"));
  EXPECT_FALSE(files_.FileExists(kIni));
  Put("set.ini", "[S]\r\n");
  EXPECT_TRUE(file_.DeleteIni(kIni, "S", "A"));
  EXPECT_TRUE(file_.DeleteIniAll(kIni, "T"));
  EXPECT_EQ(files_.Writes(), 0u);
}

TEST_F(cFileIOTest, ReadIniSectionListsWholeValues) {
  Put("set.ini", "[S]\r\nA=1\r\nB=" + std::string(120, 'x') + "\r\n");
  const std::vector<IniDocument::Entry> expected = {{"A", "1"}, {"B", std::string(120, 'x')}};
  EXPECT_EQ(file_.ReadINISection(kIni, "s"), expected);
  EXPECT_TRUE(file_.ReadINISection("C:\\data\\none.ini", "s").empty());
  EXPECT_FALSE(files_.FileExists("C:\\data\\none.ini"));
}

// --- On the disk ----------------------------------------------------------------------------------------------------

TEST(cFileIOOnDisk, AFileIsWrittenCutReadAndDeleted) {
  const TempFolder folder;
  folder.Write("some.bin", "0123456789");
  const std::unique_ptr<platform::FileSystem> files = platform::MakeFileSystem();
  RecordingShell shell;
  cFileIO file(*files, shell, folder.Path());

  ASSERT_TRUE(file.OpenFile("some.bin", "W"));
  EXPECT_TRUE(file.WriteData("abc"));
  EXPECT_TRUE(file.CloseFile());
  EXPECT_EQ(folder.Read("some.bin"), "abc");

  ASSERT_TRUE(file.OpenFile("", "R"));
  EXPECT_EQ(file.FileSize(), 3);
  EXPECT_EQ(file.ReadAllData(), "abc");
  file.DeleteFile();
  EXPECT_FALSE(folder.Has("some.bin"));
}

TEST(cFileIOOnDisk, TemporaryFilesAreMadeInTheUsersFolder) {
  const TempFolder folder;
  const std::unique_ptr<platform::FileSystem> files = platform::MakeFileSystem();
  RecordingShell shell;
  cFileIO file(*files, shell, folder.Path());
  ASSERT_TRUE(file.OpenTempFile("RW", "", "mvt"));
  EXPECT_TRUE(file.WriteData("abc"));
  EXPECT_TRUE(files->FileExists(file.FullFileName()));
  file.DeleteFile();
  EXPECT_FALSE(files->FileExists(file.FullFileName()));
}

}  // namespace
}  // namespace mv
