#include <gtest/gtest.h>

#include "jet/file/Header.h"
#include "support/CommandTest.h"
#include "support/EncodedDatabase.h"

namespace mv::tool {
namespace {

using testing::Encoded;

constexpr std::uint32_t kKey = 0x12345678;
constexpr std::string_view kSchema = R"({"tables":[
  {"name":"Shop","columns":[{"name":"KY_ID","type":"Text","size":20},{"name":"NM","type":"Long"},
                            {"name":"TX","type":"Memo"}],
   "indexes":[{"name":"PrimaryKey","columns":["KY_ID"],"primary":true}],
   "rows":[{"KY_ID":"a","NM":1,"TX":"memo"},{"KY_ID":"b","NM":2}]}]})";

class EncodeCommandTest : public testing::CommandTest {
 protected:
  void SetUp() override {
    Create("x.db", kSchema);
    plain_ = files_.Content("x.db");
  }
  void Encode() { ASSERT_EQ(Run({"encode", "x.db", "--key", "12345678"}), kSucceeded) << err_; }
  std::uint32_t KeyOf(const std::string& path) {
    jet::Page start{};
    const Bytes content = files_.Content(path);
    std::copy_n(content.begin(), start.size(), start.begin());
    return jet::Header::FromPage(start).PageKey();
  }
  /// What a command prints of the plain database and of the encoded one must be the same.
  void ExpectSameOutput(const std::vector<std::string>& words) {
    files_.Put("x.db", plain_);
    ASSERT_EQ(Run(words), kSucceeded) << err_;
    const std::string expected = out_;
    Encode();
    EXPECT_EQ(Run(words), kSucceeded) << err_;
    EXPECT_EQ(out_, expected);
    EXPECT_EQ(KeyOf("x.db"), kKey);
  }

  Bytes plain_;
};

TEST_F(EncodeCommandTest, EncodesWithTheKeyGivenAndDecodesToTheSameBytes) {
  Encode();
  EXPECT_EQ(out_ + err_, "");
  EXPECT_EQ(files_.Content("x.db"), Encoded(plain_, kKey));
  EXPECT_EQ(Run({"decode", "x.db"}), kSucceeded);
  EXPECT_EQ(out_ + err_, "");
  EXPECT_EQ(files_.Content("x.db"), plain_);
}

TEST_F(EncodeCommandTest, TakesARandomKeyThatIsNot0WhenNoneIsGiven) {
  ASSERT_EQ(Run({"encode", "x.db"}), kSucceeded) << err_;
  const std::uint32_t key = KeyOf("x.db");
  EXPECT_NE(key, 0U);
  EXPECT_EQ(files_.Content("x.db"), Encoded(plain_, key));
  files_.Put("x.db", plain_);
  ASSERT_EQ(Run({"encode", "x.db"}), kSucceeded) << err_;
  EXPECT_NE(KeyOf("x.db"), key);
}

TEST_F(EncodeCommandTest, SaysWhenThereIsNothingToDo) {
  EXPECT_EQ(Run({"decode", "x.db"}), kSucceeded);
  EXPECT_EQ(out_, "\"x.db\" is not encoded; nothing was changed\n");
  Encode();
  const std::size_t writes = files_.Writes();
  for (const auto& words : {std::vector<std::string>{"encode", "x.db"}, {"encode", "x.db", "--key=12345678"}}) {
    EXPECT_EQ(Run(words), kSucceeded);
    EXPECT_EQ(out_, "\"x.db\" is encoded already; nothing was changed\n");
  }
  EXPECT_EQ(files_.Writes(), writes);
}

TEST_F(EncodeCommandTest, EncodedDatabaseGetsAnotherKeyWhenOneIsGiven) {
  Encode();
  ASSERT_EQ(Run({"encode", "x.db", "--key", "FEdcBA98"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("x.db"), Encoded(plain_, 0xFEDCBA98));
}

TEST_F(EncodeCommandTest, KeyMustBeEightHexadecimalDigits) {
  for (const std::string key : {"", "0", "1234567", "123456789", "0x123456", "1234567g", "-1234567", "00000000"}) {
    EXPECT_EQ(Run({"encode", "x.db", "--key", key}), kNotUnderstood) << key;
    EXPECT_EQ(err_, "mvtool: --key needs eight hexadecimal digits that are not all 0, not \"" + key + "\"\n");
  }
  EXPECT_EQ(files_.Content("x.db"), plain_);
}

TEST_F(EncodeCommandTest, PasswordsOtherFilesAndDatabasesInUseAreRefused) {
  Bytes content = plain_;
  content[0x42] ^= 1;
  files_.Put("secret.db", content);
  Put("x.txt", "no database");
  const auto held =
      files_.Open("x.db", platform::Access::ReadWrite, platform::Disposition::OpenExisting, platform::Sharing::None);
  for (const char* command : {"encode", "decode"}) {
    EXPECT_EQ(Run({command, "secret.db"}), kOperationFailed);
    EXPECT_EQ(err_, "mvtool: Not a valid password. 'secret.db' is protected by a password; remove it in Access.\n");
    EXPECT_EQ(Run({command, "x.txt"}), kOperationFailed);
    EXPECT_EQ(err_, "mvtool: Unrecognized database format 'x.txt'.\n");
    EXPECT_EQ(Run({command, "missing.db"}), kOperationFailed);
    EXPECT_EQ(err_, "mvtool: Could not find file 'missing.db'.\n");
    EXPECT_EQ(Run({command, "x.db"}), kOperationFailed);
    EXPECT_EQ(err_, "mvtool: Could not use 'x.db'; file already in use.\n");
  }
  EXPECT_EQ(files_.Content("secret.db"), content);
}

TEST_F(EncodeCommandTest, CommandsThatReadPrintTheSameOfAnEncodedDatabase) {
  ExpectSameOutput({"list", "x.db"});
  ExpectSameOutput({"show", "x.db", "Shop"});
  ExpectSameOutput({"show", "x.db", "Shop", "--schema"});
  ExpectSameOutput({"show", "x.db", "MSysObjects"});
  ExpectSameOutput({"check", "x.db", "--strict"});
}

TEST_F(EncodeCommandTest, ExportOfAnEncodedDatabaseIsThatOfThePlainOne) {
  ASSERT_EQ(Run({"export", "x.db", "plain"}), kSucceeded) << err_;
  Encode();
  ASSERT_EQ(Run({"export", "x.db", "encoded"}), kSucceeded) << err_;
  EXPECT_EQ(TextOf("encoded/Shop.csv"), TextOf("plain/Shop.csv"));
}

TEST_F(EncodeCommandTest, ApplyLeavesAnEncodedDatabaseEncoded) {
  constexpr const char* kLines =
      "{\"op\":\"insert\",\"row\":{\"KY_ID\":\"c\",\"NM\":3}}\n{\"op\":\"delete\",\"where\":{\"KY_ID\":\"a\"}}\n";
  ASSERT_EQ(Run({"apply", "x.db", "Shop"}, kLines), kSucceeded) << err_;
  const Bytes expected = files_.Content("x.db");
  files_.Put("x.db", plain_);
  Encode();
  ASSERT_EQ(Run({"apply", "x.db", "Shop"}, kLines), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("x.db"), Encoded(expected, kKey));
}

TEST_F(EncodeCommandTest, TemplateOfAnEncodedDatabaseIsPlain) {
  ASSERT_EQ(Run({"template", "x.db", "plain"}), kSucceeded) << err_;
  Encode();
  ASSERT_EQ(Run({"template", "x.db", "_20"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("_20"), files_.Content("plain"));
}

TEST_F(EncodeCommandTest, DamageInEncodedPagesIsNamedAsInPlainOnes) {
  Bytes damaged = plain_;
  constexpr std::size_t kTypeOfFirstTable = 16 * jet::kPageSize + 40;
  damaged[kTypeOfFirstTable] = 0x11;
  files_.Put("x.db", Encoded(damaged, kKey));
  EXPECT_EQ(Run({"check", "x.db"}), kOperationFailed);
  EXPECT_NE(out_.find("damage: table Shop, page 16: the table is of the unknown type 17\n"), out_.npos) << out_;
}

}  // namespace
}  // namespace mv::tool
