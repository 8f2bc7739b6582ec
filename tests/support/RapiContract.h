#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "device/Rapi.h"

namespace mv::testing {

/// A handheld under test. The folder \Motorva exists.
class Handheld {
 public:
  virtual ~Handheld() = default;
  virtual Rapi& Api() = 0;
};

/// What every implementation of Rapi must do.
template <typename AHandheld>
class RapiContract : public ::testing::Test {
 protected:
  static constexpr std::uint32_t kRead = 0x80000000;
  static constexpr std::uint32_t kWrite = 0x40000000;
  static constexpr std::uint32_t kCreateAlways = 2;
  static constexpr std::uint32_t kOpenExisting = 3;
  static constexpr std::uint32_t kNoFileSize = 0xFFFFFFFF;
  static constexpr const char* kPath = "\\Motorva\\a.pdb";

  /// Returns the connection's result.
  std::int32_t Connect() {
    EXPECT_EQ(rapi_.CeRapiInitEx(init_), 0);
    EXPECT_EQ(rapi_.WaitForSingleObject(init_.heRapiInit, 5000), 0U);
    return init_.hrRapiInit;
  }
  RapiHandle OpenForRead(const std::string& path) { return rapi_.CeCreateFile(path, kRead, 1, 1, kOpenExisting, 0x80); }
  RapiHandle OpenForUpload(const std::string& path) {
    return rapi_.CeCreateFile(path, kWrite, 1, 1, kCreateAlways, 0x80);
  }
  void Upload(const std::string& path, const Bytes& content) {
    const RapiHandle file = OpenForUpload(path);
    std::uint32_t written = 0;
    ASSERT_NE(rapi_.CeWriteFile(file, content, written), 0);
    ASSERT_EQ(written, content.size());
    ASSERT_NE(rapi_.CeCloseHandle(file), 0);
  }
  Bytes Download(const std::string& path) {
    const RapiHandle file = OpenForRead(path);
    Bytes content(rapi_.CeGetFileSize(file));
    std::uint32_t read = 0;
    EXPECT_NE(rapi_.CeReadFile(file, content, read), 0);
    EXPECT_EQ(read, content.size());
    EXPECT_NE(rapi_.CeCloseHandle(file), 0);
    return content;
  }

  AHandheld handheld_;
  Rapi& rapi_ = handheld_.Api();
  RAPIINIT init_{12, 0, 0};
};

TYPED_TEST_SUITE_P(RapiContract);

TYPED_TEST_P(RapiContract, ConnectionIsUpAfterTheWait) {
  EXPECT_EQ(this->Connect(), 0);
}

TYPED_TEST_P(RapiContract, WithoutAConnectionCallsFailInTheTransport) {
  EXPECT_EQ(this->OpenForRead(this->kPath), kInvalidRapiHandle);
  EXPECT_NE(this->rapi_.CeRapiGetError(), 0);
}

TYPED_TEST_P(RapiContract, UploadedFileReadsBack) {
  this->Connect();
  this->Upload(this->kPath, {1, 0, 255});
  EXPECT_EQ(this->Download(this->kPath), (Bytes{1, 0, 255}));
}

TYPED_TEST_P(RapiContract, WritesInARowAreAppended) {
  this->Connect();
  const RapiHandle file = this->OpenForUpload(this->kPath);
  std::uint32_t written = 0;
  this->rapi_.CeWriteFile(file, Bytes{1, 2}, written);
  this->rapi_.CeWriteFile(file, Bytes{3}, written);
  this->rapi_.CeCloseHandle(file);
  EXPECT_EQ(this->Download(this->kPath), (Bytes{1, 2, 3}));
}

TYPED_TEST_P(RapiContract, ReadsInARowGoOnWhereTheLastStopped) {
  this->Connect();
  this->Upload(this->kPath, {1, 2, 3});
  const RapiHandle file = this->OpenForRead(this->kPath);
  Bytes first(2);
  Bytes rest(1);
  std::uint32_t read = 0;
  this->rapi_.CeReadFile(file, first, read);
  EXPECT_NE(this->rapi_.CeReadFile(file, rest, read), 0);
  EXPECT_EQ(first, (Bytes{1, 2}));
  EXPECT_EQ(read, 1U);
  EXPECT_EQ(rest, Bytes{3});
}

TYPED_TEST_P(RapiContract, ShorterUploadReplacesTheWholeFile) {
  this->Connect();
  this->Upload(this->kPath, {1, 2, 3, 4});
  this->Upload(this->kPath, {9});
  EXPECT_EQ(this->Download(this->kPath), Bytes{9});
}

TYPED_TEST_P(RapiContract, MissingFileIsRefusedByTheDevice) {
  this->Connect();
  EXPECT_EQ(this->rapi_.CeFindFirstFile(this->kPath), kInvalidRapiHandle);
  EXPECT_EQ(this->rapi_.CeRapiGetError(), 0);
  EXPECT_EQ(this->OpenForRead(this->kPath), kInvalidRapiHandle);
  EXPECT_EQ(this->rapi_.CeRapiGetError(), 0);
}

TYPED_TEST_P(RapiContract, ExistingFileIsFoundWithoutRegardToCase) {
  this->Connect();
  this->Upload(this->kPath, {1});
  const RapiHandle found = this->rapi_.CeFindFirstFile("\\MOTORVA\\A.PDB");
  EXPECT_NE(found, kInvalidRapiHandle);
  EXPECT_NE(this->rapi_.CeFindClose(found), 0);
}

TYPED_TEST_P(RapiContract, SizeOfAFileIsItsBytes) {
  this->Connect();
  this->Upload(this->kPath, Bytes(70000, 1));
  EXPECT_EQ(this->rapi_.CeGetFileSize(this->OpenForRead(this->kPath)), 70000U);
}

TYPED_TEST_P(RapiContract, EmptyUploadIsAnEmptyFile) {
  this->Connect();
  this->rapi_.CeCloseHandle(this->OpenForUpload(this->kPath));
  EXPECT_EQ(this->rapi_.CeGetFileSize(this->OpenForRead(this->kPath)), 0U);
}

TYPED_TEST_P(RapiContract, InvalidHandleIsRefusedByEveryCall) {
  this->Connect();
  Bytes buffer(1);
  std::uint32_t count = 0;
  EXPECT_EQ(this->rapi_.CeGetFileSize(kInvalidRapiHandle), this->kNoFileSize);
  EXPECT_EQ(this->rapi_.CeReadFile(kInvalidRapiHandle, buffer, count), 0);
  EXPECT_EQ(this->rapi_.CeWriteFile(kInvalidRapiHandle, buffer, count), 0);
  EXPECT_EQ(this->rapi_.CeCloseHandle(kInvalidRapiHandle), 0);
  EXPECT_EQ(this->rapi_.CeFindClose(kInvalidRapiHandle), 0);
}

TYPED_TEST_P(RapiContract, HandlesEndWithTheConnection) {
  this->Connect();
  this->Upload(this->kPath, {1});
  const RapiHandle file = this->OpenForRead(this->kPath);
  EXPECT_EQ(this->rapi_.CeRapiUninit(), 0);
  this->Connect();
  EXPECT_EQ(this->rapi_.CeGetFileSize(file), this->kNoFileSize);
}

TYPED_TEST_P(RapiContract, ListingTellsNamesSizesAndKinds) {
  this->Connect();
  this->Upload("\\Motorva\\a.pdb", {1, 2, 3});
  this->Upload("\\Motorva\\b.pdb", {});
  std::vector<DeviceEntry> entries;
  ASSERT_NE(this->rapi_.CeFindAllFiles("\\MOTORVA\\*", entries), 0);
  std::map<std::string, std::uint64_t> sizes;
  for (const DeviceEntry& entry : entries) {
    EXPECT_FALSE(entry.IsFolder());
    sizes[entry.name] = entry.size;
  }
  EXPECT_EQ(sizes, (std::map<std::string, std::uint64_t>{{"a.pdb", 3}, {"b.pdb", 0}}));
}

TYPED_TEST_P(RapiContract, ListingByANameTellsOfThatOneInAnyCase) {
  this->Connect();
  this->Upload("\\Motorva\\a.pdb", {1, 2, 3});
  this->Upload("\\Motorva\\b.pdb", {1});
  std::vector<DeviceEntry> entries;
  ASSERT_NE(this->rapi_.CeFindAllFiles("\\Motorva\\A.PDB", entries), 0);
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].name, "a.pdb");
  EXPECT_EQ(entries[0].size, 3U);
}

TYPED_TEST_P(RapiContract, ListingThatNothingFitsIsAnEmptySuccess) {
  this->Connect();
  std::vector<DeviceEntry> entries(1);
  for (const char* pattern : {"\\Motorva\\*.none", "\\Motorva\\none.pdb", "\\None\\*"}) {
    EXPECT_NE(this->rapi_.CeFindAllFiles(pattern, entries), 0) << pattern;
    EXPECT_TRUE(entries.empty()) << pattern;
    EXPECT_EQ(this->rapi_.CeRapiGetError(), 0) << pattern;
  }
}

TYPED_TEST_P(RapiContract, ConnectedHandheldCanBeDescribed) {
  this->Connect();
  HandheldFacts facts;
  EXPECT_NE(this->rapi_.DescribeHandheld(facts), 0);
  EXPECT_EQ(this->rapi_.CeRapiGetError(), 0);
}

TYPED_TEST_P(RapiContract, WithoutAConnectionThereIsNothingToListOrDescribe) {
  std::vector<DeviceEntry> entries(1);
  HandheldFacts facts{std::nullopt, "left over", "", "", ""};
  EXPECT_EQ(this->rapi_.CeFindAllFiles("\\Motorva\\*", entries), 0);
  EXPECT_TRUE(entries.empty());
  EXPECT_NE(this->rapi_.CeRapiGetError(), 0);
  EXPECT_EQ(this->rapi_.DescribeHandheld(facts), 0);
  EXPECT_EQ(facts, HandheldFacts());
  EXPECT_NE(this->rapi_.CeRapiGetError(), 0);
}

REGISTER_TYPED_TEST_SUITE_P(RapiContract, ConnectionIsUpAfterTheWait, WithoutAConnectionCallsFailInTheTransport,
                            UploadedFileReadsBack, WritesInARowAreAppended, ReadsInARowGoOnWhereTheLastStopped,
                            ShorterUploadReplacesTheWholeFile, MissingFileIsRefusedByTheDevice,
                            ExistingFileIsFoundWithoutRegardToCase, SizeOfAFileIsItsBytes, EmptyUploadIsAnEmptyFile,
                            InvalidHandleIsRefusedByEveryCall, HandlesEndWithTheConnection,
                            ListingTellsNamesSizesAndKinds, ListingByANameTellsOfThatOneInAnyCase,
                            ListingThatNothingFitsIsAnEmptySuccess, ConnectedHandheldCanBeDescribed,
                            WithoutAConnectionThereIsNothingToListOrDescribe);

}  // namespace mv::testing
