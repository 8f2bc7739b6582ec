#include "history/UnfilledTables.h"

#include <gtest/gtest.h>

#include "support/ExpectError.h"
#include "support/MemoryFileSystem.h"

namespace mv::history {
namespace {

constexpr const char* kFile = "C:\\Cars\\sync\\unfilled.json";

class UnfilledTablesTest : public ::testing::Test {
 protected:
  UnfilledTablesTest() { files_.Put("C:\\Cars\\Motorva.db", {}); }
  void Put(std::string_view text) { files_.Put(kFile, Bytes(text.begin(), text.end())); }

  testing::MemoryFileSystem files_;
  UnfilledTables tables_{files_, "C:\\Cars\\Motorva.db"};
};

TEST_F(UnfilledTablesTest, WithoutTheFileThereAreNone) {
  EXPECT_TRUE(tables_.Load().empty());
}

TEST_F(UnfilledTablesTest, SavedTablesAreLoadedInTheirOrder) {
  tables_.Save({"brnd_Trip", "brnd_Fuel"});
  EXPECT_EQ(tables_.Load(), (std::vector<std::string>{"brnd_Trip", "brnd_Fuel"}));
  const Bytes content = files_.Content(kFile);
  EXPECT_EQ(std::string(content.begin(), content.end()), "{\"tables\":[\"brnd_Trip\",\"brnd_Fuel\"]}\n");
}

TEST_F(UnfilledTablesTest, SavingNoneTakesTheFileAway) {
  tables_.Save({"brnd_Trip"});
  tables_.Save({});
  EXPECT_FALSE(files_.FileExists(kFile));
  tables_.Save({});
}

TEST_F(UnfilledTablesTest, FileThatCannotBeUnderstoodIsAnErrorThatNamesIt) {
  for (const char* text : {"", "{}", "{\"tables\":7}", "{\"tables\":[7]}", "[\"brnd_Trip\"]"}) {
    Put(text);
    const Error error = testing::ErrorOf([&] { tables_.Load(); });
    EXPECT_TRUE(error.Description().starts_with("\"C:\\Cars\\sync\\unfilled.json\": ")) << error.Description();
  }
}

TEST_F(UnfilledTablesTest, SaveThatFailsLeavesTheOldList) {
  tables_.Save({"brnd_Trip"});
  files_.FailWrite(2);
  EXPECT_EQ(testing::ErrorNumberOf([&] { tables_.Save({"brnd_Fuel"}); }), errors::kDiskFull);
  EXPECT_EQ(tables_.Load(), std::vector<std::string>{"brnd_Trip"});
}

}  // namespace
}  // namespace mv::history
