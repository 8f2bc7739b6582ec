#include "jet/CreateDatabase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <initializer_list>
#include <utility>

#include "base/ByteOrder.h"
#include "jet/Database.h"
#include "jet/definition/SystemTables.h"
#include "jet/file/Header.h"
#include "support/ExpectSound.h"
#include "support/Hex.h"
#include "support/MemoryFileSystem.h"
#include "support/TempFolder.h"

namespace mv::jet {
namespace {

using testing::FromHex;
using testing::ToHex;

/// A page of zeros but for the bytes given.
Page PageOf(std::initializer_list<std::pair<std::size_t, const char*>> parts) {
  Page page{};
  for (const auto& [at, hex] : parts) {
    const Bytes bytes = FromHex(hex);
    std::copy(bytes.begin(), bytes.end(), page.begin() + static_cast<std::ptrdiff_t>(at));
  }
  return page;
}

/// An empty database made at the instant 3E 85 D3 3B 3E AB E4 40 (2015-11-21, with fractions of a second).
class NewDatabaseTest : public ::testing::Test {
 protected:
  NewDatabaseTest() : file_(PageFile::Create(files_, "new.mdb")) {
    const auto bits = LoadLittle<std::uint64_t>(FromHex("3E 85 D3 3B 3E AB E4 40").data());
    created_ = Date{std::bit_cast<double>(bits)};
    FillNewDatabase(*file_, created_);
  }

  void ExpectPage(PageNumber number, const Page& expected) {
    EXPECT_EQ(ToHex(file_->Read(number)), ToHex(expected)) << "page " << number;
  }

  testing::MemoryFileSystem files_;
  std::unique_ptr<PageFile> file_;
  Date created_;
};

TEST_F(NewDatabaseTest, HasSixteenPages) {
  EXPECT_EQ(file_->PageCount(), 16u);
}

TEST_F(NewDatabaseTest, Page0IsTheHeader) {
  ExpectPage(0, Header::ForNewDatabase(created_).ToPage());
}

TEST_F(NewDatabaseTest, Page1CallsEverythingBehindTheFileFree) {
  Page expected = PageOf({{0, "01 01 64 0F 01 00 00 00 00 00 00 00 02 00 BB 0F 76 0F"}});
  std::fill(expected.begin() + 0xFBB + 5 + 2, expected.end(), std::uint8_t{0xFF});
  ExpectPage(1, expected);
}

TEST_F(NewDatabaseTest, Pages2To5AreTheDefinitionsWithTheirCounters) {
  const std::vector<TableDefinition> tables = NewSystemTables();
  const std::uint16_t freeBytes[] = {3038, 3753, 3563, 3275};
  const std::uint32_t rowCounts[] = {8, 16, 0, 0};
  const std::vector<std::uint32_t> distinctKeys[] = {{8, 8}, {8}, {0}, {0, 0, 0}};
  for (std::size_t i = 0; i < tables.size(); ++i) {
    Bytes expected = BuildDefinition(tables[i]);
    expected.resize(kPageSize);
    StoreLittle(expected.data() + 2, freeBytes[i]);
    StoreLittle(expected.data() + 16, rowCounts[i]);
    for (std::size_t k = 0; k < distinctKeys[i].size(); ++k) {
      StoreLittle(expected.data() + 63 + 12 * k + 4, distinctKeys[i][k]);
    }
    EXPECT_EQ(ToHex(file_->Read(tables[i].page)), ToHex(expected)) << tables[i].name;
  }
}

TEST_F(NewDatabaseTest, Page6HoldsTheMapsOfTheSystemTables) {
  Page expected = PageOf({{0, "01 01 59 07 00 00 00 00 00 00 00 00 1F 00"}});
  const auto rowStart = [](std::size_t row) { return kPageSize - 69 * (row + 1); };
  for (std::size_t row = 0; row < 31; ++row) {
    StoreLittle(expected.data() + 14 + 2 * row, static_cast<std::uint16_t>(rowStart(row)));
  }
  const auto setBit = [&](std::size_t row, std::size_t page) {
    expected[rowStart(row) + 5 + page / 8] = static_cast<std::uint8_t>(1u << page % 8);
  };
  setBit(0, 14);
  setBit(1, 14);
  setBit(16, 7);
  setBit(17, 8);
  setBit(18, 15);
  setBit(19, 15);
  setBit(20, 9);
  setBit(25, 10);
  setBit(28, 11);
  setBit(29, 12);
  setBit(30, 13);
  ExpectPage(6, expected);
}

TEST_F(NewDatabaseTest, Pages7To9AreTheLeavesOfTheCatalogsIndexes) {
  ExpectPage(7, PageOf({{0x000, "04 01 6F 0D 02 "},
                        {0x01D, "20 00 00 40 00 00 01 00 10 00 00 08 00 00 04 00 00 80 00 00 02 "},
                        {0x1E0,
                         "7F 8F 00 00 00 7F 4F 4A 6D 4A 4C 4A 6B 51 6B 01 00 00 00 0E 01 "
                         "7F 8F 00 00 00 7F 69 51 5E 4A 6D 59 64 62 6B 57 59 66 6B 01 00 00 00 0E 02 "
                         "7F 8F 00 00 00 7F 6D 4A 4C 5E 51 6B 01 00 00 00 0E 00 "
                         "7F 8F 00 00 01 7F 60 6B 76 6B 4A 4D 51 6B 01 00 00 00 0E 05 "
                         "7F 8F 00 00 01 7F 60 6B 76 6B 64 4C 5B 51 4D 6D 6B 01 00 00 00 0E 04 "
                         "7F 8F 00 00 01 7F 60 6B 76 6B 68 6F 51 69 59 51 6B 01 00 00 00 0E 06 "
                         "7F 8F 00 00 01 7F 60 6B 76 6B 69 51 5E 4A 6D 59 64 62 6B 57 59 66 6B 01 00 00 00 0E 07 "
                         "7F 8F 00 00 02 7F 60 6B 76 6B 4F 4C 01 00 00 00 0E 03 "}}));
  ExpectPage(8, PageOf({{0x000, "04 01 D8 0D 02 "},
                        {0x01C, "02 04 08 10 20 40 80 00 01 "},
                        {0x1E0,
                         "7F 80 00 00 02 00 00 0E 04 "
                         "7F 80 00 00 03 00 00 0E 05 "
                         "7F 80 00 00 04 00 00 0E 06 "
                         "7F 80 00 00 05 00 00 0E 07 "
                         "7F 8F 00 00 01 00 00 0E 00 "
                         "7F 8F 00 00 02 00 00 0E 01 "
                         "7F 8F 00 00 03 00 00 0E 02 "
                         "7F 90 00 00 00 00 00 0E 03 "}}));
  ExpectPage(9, PageOf({{0x000, "04 01 90 0D 03 "},
                        {0x01C, "02 04 08 10 20 40 80 00 01 02 04 08 10 20 40 80 00 01 "},
                        {0x1E0,
                         "7F 80 00 00 02 00 00 0F 00 "
                         "7F 80 00 00 02 00 00 0F 0D "
                         "7F 80 00 00 03 00 00 0F 01 "
                         "7F 80 00 00 04 00 00 0F 02 "
                         "7F 80 00 00 04 00 00 0F 0B "
                         "7F 80 00 00 05 00 00 0F 03 "
                         "7F 80 00 00 05 00 00 0F 0C "
                         "7F 8F 00 00 01 00 00 0F 04 "
                         "7F 8F 00 00 01 00 00 0F 05 "
                         "7F 8F 00 00 01 00 00 0F 0E "
                         "7F 8F 00 00 02 00 00 0F 08 "
                         "7F 8F 00 00 03 00 00 0F 06 "
                         "7F 8F 00 00 03 00 00 0F 07 "
                         "7F 8F 00 00 03 00 00 0F 0F "
                         "7F 90 00 00 00 00 00 0F 09 "
                         "7F 90 00 00 00 00 00 0F 0A "}}));
}

TEST_F(NewDatabaseTest, Pages10To13AreEmptyLeaves) {
  for (const PageNumber page : {10u, 11u, 12u, 13u}) {
    ExpectPage(page, PageOf({{0, page == 10 ? "04 01 20 0E 04" : "04 01 20 0E 05"}}));
  }
}

TEST_F(NewDatabaseTest, Page14HoldsTheRowsOfTheCatalog) {
  ExpectPage(
      14, PageOf({{0x000, "01 01 48 0D 02 00 00 00 00 00 00 00 08 00 B5 0F 64 0F 0B 0F C0 0E 6B 0E 1C 0E C7 0D 66 0D "},
                  {0xD66,
                   "11 00 05 00 00 00 01 00 00 0F 01 00 3E 85 D3 3B 3E AB E4 40 3E 85 D3 3B 3E AB E4 40 00 00 00 80 4D "
                   "00 53 00 "
                   "79 00 73 00 52 00 65 00 6C 00 61 00 74 00 69 00 6F 00 6E 00 73 00 68 00 69 00 70 00 73 00 65 89 44 "
                   "00 44 00 "
                   "44 00 44 00 44 00 44 00 44 00 44 00 44 00 44 00 42 00 20 00 0B 00 FF 00 00 "
                   "11 00 04 00 00 00 01 00 00 0F 01 00 3E 85 D3 3B 3E AB E4 40 3E 85 D3 3B 3E AB E4 40 00 00 00 80 4D "
                   "00 53 00 "
                   "79 00 73 00 51 00 75 00 65 00 72 00 69 00 65 00 73 00 65 89 38 00 38 00 38 00 38 00 38 00 38 00 38 "
                   "00 38 00 "
                   "38 00 38 00 36 00 20 00 0B 00 FF 00 00 "
                   "11 00 03 00 00 00 01 00 00 0F 01 00 3E 85 D3 3B 3E AB E4 40 3E 85 D3 3B 3E AB E4 40 00 00 00 80 4D "
                   "00 53 00 "
                   "79 00 73 00 41 00 43 00 45 00 73 00 65 89 32 00 32 00 32 00 32 00 32 00 32 00 32 00 32 00 32 00 32 "
                   "00 30 00 "
                   "20 00 0B 00 FF 00 00 "
                   "11 00 02 00 00 00 01 00 00 0F 01 00 3E 85 D3 3B 3E AB E4 40 3E 85 D3 3B 3E AB E4 40 00 00 00 80 4D "
                   "00 53 00 "
                   "79 00 73 00 4F 00 62 00 6A 00 65 00 63 00 74 00 73 00 65 89 38 00 38 00 38 00 38 00 38 00 38 00 38 "
                   "00 38 00 "
                   "38 00 38 00 36 00 20 00 0B 00 FF 00 00 "
                   "11 00 00 00 00 10 02 00 00 0F 02 00 3E 85 D3 3B 3E AB E4 40 3E 85 D3 3B 3E AB E4 40 00 00 00 80 4D "
                   "00 53 00 "
                   "79 00 73 00 44 00 62 00 64 8B 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2C 00 20 "
                   "00 0B 00 "
                   "FF 00 00 "
                   "11 00 03 00 00 0F 00 00 00 0F 03 00 3E 85 D3 3B 3E AB E4 40 3E 85 D3 3B 3E AB E4 40 00 00 00 80 52 "
                   "00 65 00 "
                   "6C 00 61 00 74 00 69 00 6F 00 6E 00 73 00 68 00 69 00 70 00 73 00 65 89 3C 00 3C 00 3C 00 3C 00 3C "
                   "00 3C 00 "
                   "3C 00 3C 00 3C 00 3C 00 3A 00 20 00 0B 00 FF 00 00 "
                   "11 00 02 00 00 0F 00 00 00 0F 03 00 3E 85 D3 3B 3E AB E4 40 3E 85 D3 3B 3E AB E4 40 00 00 00 80 44 "
                   "00 61 00 "
                   "74 00 61 00 62 00 61 00 73 00 65 00 73 00 65 89 34 00 34 00 34 00 34 00 34 00 34 00 34 00 34 00 34 "
                   "00 34 00 "
                   "32 00 20 00 0B 00 FF 00 00 "
                   "11 00 01 00 00 0F 00 00 00 0F 03 00 3E 85 D3 3B 3E AB E4 40 3E 85 D3 3B 3E AB E4 40 00 00 00 80 54 "
                   "00 61 00 "
                   "62 00 6C 00 65 00 73 00 65 89 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2E 00 2C 00 20 "
                   "00 0B 00 "
                   "FF "}}));
}

TEST_F(NewDatabaseTest, Page15HoldsThePermissions) {
  ExpectPage(15,
             PageOf({{0x000,
                      "01 01 A2 0E 03 00 00 00 00 00 00 00 10 00 ED 0F DA 0F C7 0F B4 0F A1 0F 8E 0F 7B 0F 68 0F 55 0F "
                      "42 0F 2F 0F 1C 0F 09 0F F6 0E E3 0E D0 0E "},
                     {0xED0,
                      "04 00 03 00 00 0F FF FF 0F 00 65 8B 0C 00 0A 00 01 00 0F "
                      "04 00 01 00 00 0F FF FE 0F 00 65 8B 0C 00 0A 00 01 00 0F "
                      "04 00 02 00 00 00 14 00 00 00 65 8B 0C 00 0A 00 01 00 07 "
                      "04 00 05 00 00 00 14 00 00 00 65 8B 0C 00 0A 00 01 00 07 "
                      "04 00 04 00 00 00 14 00 00 00 65 8B 0C 00 0A 00 01 00 07 "
                      "04 00 00 00 00 10 0E 00 00 00 65 8B 0C 00 0A 00 01 00 07 "
                      "04 00 00 00 00 10 0E 00 06 00 64 8B 0C 00 0A 00 01 00 07 "
                      "04 00 02 00 00 0F 00 00 06 00 64 8B 0C 00 0A 00 01 00 07 "
                      "04 00 03 00 00 0F 01 00 06 00 64 8B 0C 00 0A 00 01 00 07 "
                      "04 00 03 00 00 0F FE 00 0F 00 65 8E 0C 00 0A 00 01 00 0F "
                      "04 00 01 00 00 0F 01 00 06 00 64 8B 0C 00 0A 00 01 00 07 "
                      "04 00 01 00 00 0F FE 00 0F 00 65 8E 0C 00 0A 00 01 00 0F "
                      "04 00 05 00 00 00 00 00 0E 00 64 8B 0C 00 0A 00 01 00 07 "
                      "04 00 04 00 00 00 00 00 06 00 64 8B 0C 00 0A 00 01 00 07 "
                      "04 00 03 00 00 00 00 00 06 00 64 8B 0C 00 0A 00 01 00 07 "
                      "04 00 02 00 00 00 00 00 06 00 64 8B 0C 00 0A 00 01 00 07 "}}));
}

TEST_F(NewDatabaseTest, HasNoUserTables) {
  file_->Commit();
  file_.reset();
  const auto database = Database::Open(files_, "new.mdb", PageFile::Mode::ReadOnly);
  EXPECT_TRUE(database->TableNames().empty());
}

TEST(NewDatabase, IsSound) {
  const testing::TempFolder folder;
  const std::string path = (std::filesystem::path(folder.Path()) / "new.mdb").string();
  const auto files = platform::MakeFileSystem();
  Database::Create(*files, path, CivilTime{2026, 11, 21, 14, 5, 9})->Commit();
  testing::ExpectSound(platform::ReadWhole(*files, path));
}

}  // namespace
}  // namespace mv::jet
