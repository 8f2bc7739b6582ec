#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

#include "base/Utf.h"
#include "pdb/PDBAppforgeDefinition.h"
#include "pdb/PDBAppforgeRecord.h"
#include "pdb/PDBDatabase.h"
#include "support/FakeClock.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingShell.h"

// Table files come from a device that anybody may hold. Whatever bytes come in, nothing but success or an mv::Error may
// come out: no crash, no other exception, no memory beyond the size of what came in.

namespace mv {
namespace {

constexpr unsigned kSeed = 1904;
constexpr int kRounds = 4000;

class HostileBytesTest : public ::testing::Test {
 protected:
  std::size_t Below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }

  Bytes RandomBytes(std::size_t count) {
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random_()); });
    return bytes;
  }

  /// A sound file or block with some bytes replaced, its end cut off, or both: this comes deeper than pure noise.
  Bytes Damaged(Bytes bytes) {
    for (std::size_t i = Below(6); i-- > 0;) bytes[Below(bytes.size())] = static_cast<std::uint8_t>(random_());
    if (Below(3) == 0) bytes.resize(Below(bytes.size()) + 1);
    return bytes;
  }

  /// Runs `action`; counts how often it succeeded and how often it raised the program's error.
  void Try(const std::function<void()>& action) {
    try {
      action();
      ++successes_;
    } catch (const Error& error) {
      EXPECT_TRUE(error.Number() == errors::kSubscriptOutOfRange || error.Number() == errors::kOverflow ||
                  error.Number() == errors::kTypeMismatch)
          << error.Number();
      ++failures_;
    }
  }

  /// Opens a table file and reads everything in it as a table is read.
  void ReadTable(Bytes content) {
    files_.Put("\\t.pdb", std::move(content));
    PDBDatabase database(cFileIO(files_, shell_, ""), clock_);
    database.PDBFilePath("\\");
    database.PDBDatabaseName("t");
    ASSERT_TRUE(database.OpenDatabase());
    EXPECT_TRUE(IsValidUtf8(database.PDBDatabaseName()));
    const auto definition = std::make_shared<PDBAppforgeDefinition>();
    definition->IsAppforgeData(database.ReadAppInfoBlock());
    PDBAppforgeRecord record;
    record.AppforgeDefinition(definition);
    std::size_t total = 0;
    for (std::int32_t i = 1; i <= database.RecordCount(); ++i) total += ReadRecord(database, i, record);
    EXPECT_LE(total, files_.Content("\\t.pdb").size()) << "records overlap";
    database.CloseDatabase();
  }

  std::size_t ReadRecord(PDBDatabase& database, std::int32_t i, PDBAppforgeRecord& record) {
    std::int32_t uniqueId = 0;
    std::int16_t category = 0;
    std::int32_t attributes = 0;
    PDBByteStream stream;
    stream.ByteArray(database.ReadNextByIndex(i, uniqueId, category, attributes));
    const std::size_t size = stream.ByteArray().size();
    record.ByteStream(stream);
    record.ByteStream();
    return size;
  }

  static Bytes SoundBlock() {
    PDBAppforgeDefinition definition;
    for (std::int32_t type = 1; type <= 9; ++type) definition.AddFieldName("Field", type);
    return definition.AppInfoBlock();
  }

  Bytes SoundFile() {
    PDBDatabase database(cFileIO(files_, shell_, ""), clock_);
    database.PDBFilePath("\\");
    database.PDBDatabaseName("sound");
    database.CreateDatabase();
    database.WriteAppInfoBlock(SoundBlock());
    Bytes record = {1, 0, 2, 0, 0, 0, 3, 0, 0, 0, 0, 'a', 0, 1, 0, 0, 0, 7};
    record.resize(18 + 8 + 8 + 1);
    for (int i = 0; i < 5; ++i) database.Update(-1, 0, 0, 0, record);
    database.CloseDatabase();
    return files_.Content("\\sound.pdb");
  }

  testing::MemoryFileSystem files_;
  testing::RecordingShell shell_;
  testing::FakeClock clock_;
  std::mt19937 random_{kSeed};
  int successes_ = 0;
  int failures_ = 0;
};

TEST_F(HostileBytesTest, RandomFilesOpenOrRaise) {
  SCOPED_TRACE(kSeed);
  for (int round = 0; round < kRounds; ++round) {
    Try([&] { ReadTable(RandomBytes(Below(400))); });
  }
  EXPECT_EQ(successes_ + failures_, kRounds);
}

TEST_F(HostileBytesTest, DamagedFilesOpenOrRaise) {
  SCOPED_TRACE(kSeed);
  const Bytes sound = SoundFile();
  ReadTable(sound);
  for (int round = 0; round < kRounds; ++round) {
    Try([&] { ReadTable(Damaged(sound)); });
  }
  EXPECT_GT(successes_, kRounds / 20) << "damage that always fails early tests nothing behind";
  EXPECT_GT(failures_, kRounds / 20);
}

TEST_F(HostileBytesTest, FilesOfSmallRandomNumbersOpenOrRaise) {
  SCOPED_TRACE(kSeed);
  for (int round = 0; round < kRounds; ++round) {
    Bytes content = RandomBytes(78 + Below(200));
    // Offsets and counts that fit come up when their high bytes are zero.
    for (const std::size_t high : {52, 53, 54, 56, 57, 58, 76}) content[high] = 0;
    content[77] = static_cast<std::uint8_t>(Below(6));
    for (std::size_t entry = 78; entry + 8 <= std::min<std::size_t>(content.size(), 126); entry += 8) {
      std::fill_n(content.begin() + static_cast<std::ptrdiff_t>(entry), 3, std::uint8_t{0});
      content[entry + 3] = static_cast<std::uint8_t>(entry + Below(60));
    }
    Try([&] { ReadTable(content); });
  }
  EXPECT_GT(successes_, kRounds / 100);
  EXPECT_GT(failures_, kRounds / 100);
}

TEST_F(HostileBytesTest, DamagedBlocksAreReadOrRaise) {
  SCOPED_TRACE(kSeed);
  const Bytes sound = SoundBlock();
  for (int round = 0; round < kRounds; ++round) {
    PDBAppforgeDefinition definition;
    Try([&] {
      if (!definition.IsAppforgeData(Damaged(sound))) return;
      const Bytes rebuilt = definition.AppInfoBlock();
      PDBAppforgeDefinition again;
      EXPECT_TRUE(again.IsAppforgeData(rebuilt));
    });
    Try([&] { definition.IsAppforgeData(RandomBytes(Below(2000))); });
    Try([&] { definition.SortInfoBlock(RandomBytes(Below(100))); });
  }
  EXPECT_GT(successes_, kRounds / 20);
  EXPECT_GT(failures_, kRounds / 20);
}

TEST_F(HostileBytesTest, RandomRecordsOfRandomDefinitionsAreReadOrRaise) {
  SCOPED_TRACE(kSeed);
  for (int round = 0; round < kRounds; ++round) {
    const auto definition = std::make_shared<PDBAppforgeDefinition>();
    for (std::size_t i = Below(12); i-- > 0;) definition->AddFieldName("F", static_cast<std::int32_t>(Below(11)));
    PDBAppforgeRecord record;
    record.AppforgeDefinition(definition);
    PDBByteStream stream;
    stream.ByteArray(RandomBytes(Below(80)));
    Try([&] {
      record.ByteStream(stream);
      record.ByteStream();
      for (std::int16_t i = 1; i <= definition->FieldCount(); ++i) EXPECT_TRUE(IsValidUtf8(record.StringValue(i)));
    });
  }
  EXPECT_GT(successes_, kRounds / 20);
  EXPECT_GT(failures_, kRounds / 20);
}

}  // namespace
}  // namespace mv
