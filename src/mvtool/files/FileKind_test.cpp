#include "mvtool/files/FileKind.h"

#include <gtest/gtest.h>

#include <string_view>

#include "base/Error.h"
#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"

namespace mv::tool {
namespace {

/// `start`, then zeros up to `size` bytes.
Bytes FileOf(std::string_view start, std::size_t size) {
  Bytes content(start.begin(), start.end());
  content.resize(size);
  return content;
}

FileKind KindOfContent(Bytes content) {
  testing::MemoryFileSystem files;
  files.Put("file", std::move(content));
  return KindOf(files, "file");
}

std::string MessageFor(Bytes content) {
  return testing::ErrorOf([&] { KindOfContent(std::move(content)); }).Description();
}

TEST(FileKindTest, DatabasesOfEitherEngineAreDatabases) {
  EXPECT_EQ(KindOfContent(FileOf(std::string_view("\0\1\0\0Standard Jet DB\0", 20), 8192)), FileKind::Database);
  EXPECT_EQ(KindOfContent(FileOf(std::string_view("\0\1\0\0Standard ACE DB\0", 20), 8192)), FileKind::Database);
}

TEST(FileKindTest, DatabaseCutShortIsStillADatabase) {
  EXPECT_EQ(KindOfContent(FileOf(std::string_view("\0\1\0\0Standard Jet DB\0", 20), 20)), FileKind::Database);
}

TEST(FileKindTest, HeaderWithRoomForItsRecordsIsATableFile) {
  Bytes content = FileOf("brnd_Fuel", 78 + 2 * 8);
  content[77] = 2;
  EXPECT_EQ(KindOfContent(content), FileKind::TableFile);
  content.pop_back();
  EXPECT_EQ(MessageFor(content), "\"file\" is neither a database nor a table file");
}

TEST(FileKindTest, RecordCountIsUnsignedAndBigEndian) {
  Bytes content = FileOf("t", 78 + 0x8000 * 8);
  content[76] = 0x80;
  EXPECT_EQ(KindOfContent(content), FileKind::TableFile);
}

TEST(FileKindTest, OtherFilesAreRefused) {
  EXPECT_EQ(MessageFor({}), "\"file\" is neither a database nor a table file");
  EXPECT_EQ(MessageFor(FileOf(std::string(77, 'x'), 77)), "\"file\" is neither a database nor a table file");
  EXPECT_EQ(MessageFor(FileOf(std::string(500, 'x'), 500)), "\"file\" is neither a database nor a table file");
}

TEST(FileKindTest, MissingFileIsError53) {
  testing::MemoryFileSystem files;
  EXPECT_EQ(testing::ErrorNumberOf([&] { KindOf(files, "file"); }), errors::kFileNotFound);
}

}  // namespace
}  // namespace mv::tool
