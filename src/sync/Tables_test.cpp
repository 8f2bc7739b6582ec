#include "sync/Tables.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace mv {
namespace {

std::vector<std::string> NamesOf(std::span<const SyncTable> tables) {
  std::vector<std::string> names;
  for (const SyncTable& table : tables) names.emplace_back(table.name);
  return names;
}

TEST(TablesTest, ThirteenInTheOrderOfARun) {
  EXPECT_EQ(NamesOf(kTables),
            (std::vector<std::string>{"brnd_Accessories", "brnd_AccItems", "brnd_Customer", "brnd_FieldValues",
                                      "brnd_Fuel", "brnd_Maintenance", "brnd_MaintTasks", "brnd_Models", "brnd_Parts",
                                      "brnd_Payment", "brnd_SchedMaint", "brnd_Trip", "brnd_Vehicle"}));
}

TEST(TablesTest, ASilentRunLeavesOutAccessoriesAndTheirItems) {
  EXPECT_EQ(NamesOf(kSilentTables),
            (std::vector<std::string>{"brnd_Customer", "brnd_FieldValues", "brnd_Fuel", "brnd_Maintenance",
                                      "brnd_MaintTasks", "brnd_Models", "brnd_Parts", "brnd_Payment", "brnd_SchedMaint",
                                      "brnd_Trip", "brnd_Vehicle"}));
}

TEST(TablesTest, ATableIsFoundByItsNameAsItIsWritten) {
  for (const SyncTable& table : kTables) EXPECT_EQ(FindTable(table.name), &table);
  EXPECT_EQ(FindTable("brnd_fuel"), nullptr);
  EXPECT_EQ(FindTable(""), nullptr);
}

}  // namespace
}  // namespace mv
