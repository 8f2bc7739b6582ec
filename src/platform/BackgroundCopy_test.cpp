#include "platform/BackgroundCopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <random>
#include <thread>

#include "base/Error.h"
#include "support/TempFolder.h"

namespace mv::platform {
namespace {

using mv::testing::TempFolder;

constexpr std::size_t kPiece = std::size_t{256} << 10;  ///< that is copied at a time
/// So long that it is no wait on any machine, and so short that a test which waits for nothing ends.
constexpr std::chrono::seconds kLongWait(20);

Bytes AnyBytes(std::size_t count) {
  std::mt19937 random(static_cast<unsigned>(count));
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
  return bytes;
}

/// A file in memory; what is read and written can be watched and refused.
class WatchedFile : public File {
 public:
  explicit WatchedFile(Bytes content = {}) : content_(std::move(content)) {}

  std::uint64_t Size() const override { return content_.size(); }
  std::size_t ReadAt(std::uint64_t offset, ByteSpan out) override {
    onRead(offset);
    const std::size_t count = std::min(out.size(), content_.size() - static_cast<std::size_t>(offset));
    std::copy_n(content_.begin() + static_cast<std::ptrdiff_t>(offset), count, out.begin());
    return count;
  }
  void WriteAt(std::uint64_t offset, ByteView data) override {
    onWrite(offset);
    if (content_.size() < offset + data.size()) content_.resize(static_cast<std::size_t>(offset) + data.size());
    std::copy(data.begin(), data.end(), content_.begin() + static_cast<std::ptrdiff_t>(offset));
  }
  void Resize(std::uint64_t size) override { content_.resize(static_cast<std::size_t>(size)); }
  void Sync() override {}

  const Bytes& Content() const { return content_; }

  std::function<void(std::uint64_t offset)> onRead = [](std::uint64_t) {};
  std::function<void(std::uint64_t offset)> onWrite = [](std::uint64_t) {};

 private:
  Bytes content_;
};

/// Something that threads wait for.
class Event {
 public:
  void Set() {
    {
      const std::scoped_lock lock(mutex_);
      isSet_ = true;
    }
    changed_.notify_all();
  }
  /// False when it did not come.
  bool Wait() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kLongWait, [this] { return isSet_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isSet_ = false;
};

TEST(BackgroundCopy, HasTheContentWhateverItsLength) {
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, kPiece - 1, kPiece, kPiece + 1, 9 * kPiece + 77}) {
    WatchedFile from(AnyBytes(length));
    WatchedFile to;
    BackgroundCopy copy(from, to);
    EXPECT_TRUE(copy.Finish());
    EXPECT_TRUE(to.Content() == from.Content()) << length;
  }
}

TEST(BackgroundCopy, GoesOnWhileNobodyWaitsForIt) {
  WatchedFile from(AnyBytes(3 * kPiece));
  WatchedFile to;
  Event last;
  to.onWrite = [&](std::uint64_t offset) {
    if (offset == 2 * kPiece) last.Set();
  };
  BackgroundCopy copy(from, to);
  EXPECT_TRUE(last.Wait());
  EXPECT_TRUE(copy.Finish());
}

TEST(BackgroundCopy, PieceThatFailsIsTold) {
  for (const std::uint64_t failing : {std::uint64_t{0}, std::uint64_t{3 * kPiece}}) {
    for (const bool reads : {false, true}) {
      WatchedFile from(AnyBytes(5 * kPiece));
      WatchedFile to;
      (reads ? from.onRead : to.onWrite) = [&](std::uint64_t offset) {
        if (offset == failing) throw StandardError(reads ? errors::kDeviceIo : errors::kDiskFull);
      };
      BackgroundCopy copy(from, to);
      EXPECT_FALSE(copy.Finish()) << failing << (reads ? " read" : " written");
      EXPECT_TRUE(to.Content().empty()) << "the room is given back";
    }
  }
}

TEST(BackgroundCopy, FileThatWasCutMeanwhileIsTold) {
  WatchedFile from(AnyBytes(3 * kPiece));
  WatchedFile to;
  Event cut;
  from.onRead = [&](std::uint64_t) { EXPECT_TRUE(cut.Wait()); };
  BackgroundCopy copy(from, to);
  from.Resize(3 * kPiece - 1);
  cut.Set();
  EXPECT_FALSE(copy.Finish());
}

TEST(BackgroundCopy, CopyThatIsGivenUpStops) {
  /// As long as no disk.
  class EndlessFile : public WatchedFile {
   public:
    std::uint64_t Size() const override { return std::uint64_t{1} << 60; }
    std::size_t ReadAt(std::uint64_t, ByteSpan out) override { return out.size(); }
    void WriteAt(std::uint64_t, ByteView) override { begun.Set(); }
    Event begun;
  };
  EndlessFile from;
  EndlessFile to;
  auto copy = std::make_unique<BackgroundCopy>(from, to);
  EXPECT_TRUE(to.begun.Wait());
  copy.reset();  // comes back
}

/// This machine's files.
class CopyOnDisk : public ::testing::Test {
 protected:
  std::unique_ptr<File> Open(const std::string& name) {
    return files_->Open(folder_.File(name), Access::ReadWrite, Disposition::OpenAlways, Sharing::None);
  }

  TempFolder folder_;
  std::unique_ptr<FileSystem> files_ = MakeFileSystem();
};

TEST_F(CopyOnDisk, IsMadeWhileTheFileIsRead) {
  const Bytes content = AnyBytes(20 * kPiece + 5);
  const auto from = Open("from");
  const auto to = Open("to");
  from->WriteAt(0, content);
  const auto copy = to->BeginCopyOf(*from);
  ASSERT_TRUE(copy);
  EXPECT_TRUE(ReadWhole(*from) == content);
  ASSERT_TRUE(copy->Finish());
  EXPECT_TRUE(ReadWhole(*to) == content);
}

TEST_F(CopyOnDisk, GivenUpFilesCanBeUsedAtOnce) {
  const auto from = Open("from");
  const auto to = Open("to");
  from->WriteAt(0, AnyBytes(40 * kPiece));
  to->BeginCopyOf(*from).reset();
  to->Resize(0);
  to->WriteAt(0, AnyBytes(3));
  EXPECT_TRUE(ReadWhole(*to) == AnyBytes(3));
}

TEST_F(CopyOnDisk, FileThatIsNotNeededSoonKeepsItsContent) {
  const auto file = Open("file");
  const Bytes content = AnyBytes(kPiece);
  file->WriteAt(0, content);
  files_->NotNeededSoon(folder_.File("file"));
  EXPECT_TRUE(ReadWhole(*file) == content) << "what was not synced stays too";
  file->Sync();
  files_->NotNeededSoon(folder_.File("file"));
  EXPECT_TRUE(ReadWhole(*file) == content);
  files_->NotNeededSoon(folder_.File("none"));  // never raises
}

}  // namespace
}  // namespace mv::platform
