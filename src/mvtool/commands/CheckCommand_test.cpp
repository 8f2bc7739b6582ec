#include <gtest/gtest.h>

#include "base/ByteOrder.h"
#include "support/CommandTest.h"

namespace mv::tool {
namespace {

constexpr std::string_view kSchema = R"({"tables":[
  {"name":"Shop","columns":[{"name":"KY_ID","type":"Text","size":20},{"name":"NM","type":"Long"}],
   "indexes":[{"name":"PrimaryKey","columns":["KY_ID"],"primary":true}],
   "rows":[{"KY_ID":"a","NM":1},{"KY_ID":"b","NM":2}]}]})";

class CheckCommandTest : public testing::CommandTest {
 protected:
  static constexpr std::size_t kPageSize = 4096;
  /// The definition of the first table that is made.
  static constexpr std::size_t kDefinition = 16 * kPageSize;
  static constexpr std::size_t kTypeAt = 40;
  static constexpr std::size_t kRowCountAt = 16;

  void SetUp() override { Create("x.db", kSchema); }

  void Set(std::size_t at, std::uint8_t byte) {
    Bytes content = files_.Content("x.db");
    content.at(at) = byte;
    files_.Put("x.db", content);
  }
};

TEST_F(CheckCommandTest, SoundDatabaseIsSummedUp) {
  EXPECT_EQ(Run({"check", "x.db"}), kSucceeded);
  EXPECT_EQ(out_, "20 pages, 1 table, 2 rows, 1 index: sound\n");
  EXPECT_EQ(err_, "");
  EXPECT_EQ(Run({"check", "--strict", "x.db"}), kSucceeded);
}

TEST_F(CheckCommandTest, DamageIsNamedAndFails) {
  Set(kDefinition + kTypeAt, 0x11);
  EXPECT_EQ(Run({"check", "x.db"}), kOperationFailed);
  EXPECT_EQ(out_,
            "damage: table Shop, page 16: the table is of the unknown type 17\n"
            "20 pages, 1 table, 2 rows, 1 index: 1 damage\n");
  EXPECT_EQ(err_, "mvtool: \"x.db\" is damaged\n");
}

TEST_F(CheckCommandTest, NotesFailOnlyWithStrict) {
  Set(kDefinition + kRowCountAt, 3);
  EXPECT_EQ(Run({"check", "x.db"}), kSucceeded);
  EXPECT_EQ(out_,
            "note: table Shop, page 16: the definition counts 3 rows, but there are 2\n"
            "20 pages, 1 table, 2 rows, 1 index: sound, 1 note\n");
  EXPECT_EQ(Run({"check", "x.db", "--strict"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"x.db\" is sound, but has notes\n");
}

TEST_F(CheckCommandTest, JsonIsOneObjectAFindingAndOneForAll) {
  Set(kDefinition + kRowCountAt, 3);
  EXPECT_EQ(Run({"check", "x.db", "--json"}), kSucceeded);
  EXPECT_EQ(out_,
            "{\"severity\":\"note\",\"kind\":\"row-count\",\"table\":\"Shop\",\"page\":16,"
            "\"text\":\"the definition counts 3 rows, but there are 2\"}\n"
            "{\"checked\":true,\"sound\":true,\"pages\":20,\"freePages\":0,\"tables\":1,\"rows\":2,\"indexes\":1,"
            "\"damages\":0,\"notes\":1}\n");
}

TEST_F(CheckCommandTest, JsonCountsWhatIsLeftOut) {
  Bytes content = files_.Content("x.db");
  for (std::size_t word = 0; word < 150; ++word) StoreLittle<std::uint16_t>(content.data() + 0xE00 + 2 * word, 0);
  files_.Put("x.db", content);
  EXPECT_EQ(Run({"check", "x.db", "--json"}), kOperationFailed);
  EXPECT_NE(out_.find("{\"severity\":\"damage\",\"kind\":\"commit-word\",\"more\":50}\n"), out_.npos) << out_;
}

TEST_F(CheckCommandTest, FileOfAnotherKindIsNotForThisProgramAndNotDamaged) {
  Put("x.txt", "no database");
  EXPECT_EQ(Run({"check", "x.txt"}), kNotUnderstood);
  EXPECT_EQ(out_, "");
  EXPECT_EQ(err_, "mvtool: \"x.txt\": not a Jet 4 database: the file is no database and cannot be checked\n");
}

TEST_F(CheckCommandTest, DatabasesOfOtherEnginesAndWithPasswordsAreNamed) {
  const Bytes sound = files_.Content("x.db");
  const auto refusal = [&](auto change) {
    Bytes content = sound;
    change(content);
    files_.Put("x.db", content);
    EXPECT_EQ(Run({"check", "x.db"}), kNotUnderstood);
    EXPECT_EQ(out_, "");
    return err_;
  };
  EXPECT_NE(
      refusal([](Bytes& content) { content[0x14] = 0; }).find("not a Jet 4 database: the file is a Jet 3 database"),
      std::string::npos);
  EXPECT_NE(refusal([](Bytes& content) {
              const std::string_view mark = "Standard ACE DB";
              std::copy(mark.begin(), mark.end(), content.begin() + 4);
            }).find("not a Jet 4 database: the file is a database of the later engine ACE"),
            std::string::npos);
  EXPECT_NE(refusal([](Bytes& content) { content[0x42] ^= 1; }).find("not a Jet 4 database: the file is"),
            std::string::npos);
}

TEST_F(CheckCommandTest, MissingFileIsAnError) {
  EXPECT_EQ(Run({"check", "missing.db"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: Could not find file 'missing.db'.\n");
}

TEST_F(CheckCommandTest, DatabaseInUseIsNotRead) {
  const auto held =
      files_.Open("x.db", platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(Run({"check", "x.db"}), kOperationFailed);
  EXPECT_EQ(out_, "");
  EXPECT_EQ(err_, "mvtool: Could not use 'x.db'; file already in use.\n");
}

TEST_F(CheckCommandTest, DatabaseThatTheEngineOfThePlatformHasOpenIsNotRead) {
  files_.Put("x.ldb", Bytes(64));
  const auto held =
      files_.Open("x.ldb", platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(Run({"check", "x.db"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: Could not use 'x.db'; file already in use.\n");
}

}  // namespace
}  // namespace mv::tool
