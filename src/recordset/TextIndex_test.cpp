#include "recordset/TextIndex.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <string>

namespace mv {
namespace {

std::optional<TextIndex::RowNumber> FirstOf(const std::set<TextIndex::RowNumber>& rows, TextIndex::RowNumber start) {
  const auto row = rows.lower_bound(start);
  if (row == rows.end()) return std::nullopt;
  return *row;
}

TEST(TextIndexTest, AnEmptyOneFindsNothing) {
  EXPECT_EQ(TextIndex().FirstFrom("a", 0), std::nullopt);
}

TEST(TextIndexTest, ReservedRoomChangesNothingThatIsThere) {
  TextIndex index;
  index.Add(Value("a"), 3);
  index.Reserve(1000);
  EXPECT_EQ(index.FirstFrom("A", 0), 3u);
  EXPECT_EQ(index.FirstFrom("b", 0), std::nullopt);
}

TEST(TextIndexTest, ATextWhoseRowsAllWentTakesNewOnes) {
  TextIndex index;
  index.Add(Value("a"), 3);
  index.Remove(Value("A"), 3);
  EXPECT_EQ(index.FirstFrom("a", 0), std::nullopt);
  index.Add(Value("a"), 1);
  EXPECT_EQ(index.FirstFrom("a", 0), 1u);
  EXPECT_EQ(index.FirstFrom("a", 2), std::nullopt);
}

TEST(TextIndexTest, AnyRowsThatComeAndGoAreFoundAsInASortedList) {
  std::mt19937 random(20261122);
  const auto below = [&](unsigned count) { return static_cast<TextIndex::RowNumber>(random() % count); };
  TextIndex index;
  std::map<std::string, std::set<TextIndex::RowNumber>> expected;
  for (int step = 0; step < 20000; ++step) {
    const std::string text = "key " + std::to_string(below(700));
    std::set<TextIndex::RowNumber>& rows = expected[text];
    const TextIndex::RowNumber row = below(100);
    if (rows.insert(row).second) {
      index.Add(Value(text), row);
    } else {
      rows.erase(row);
      index.Remove(Value(text), row);
    }
    const TextIndex::RowNumber start = below(100);
    ASSERT_EQ(index.FirstFrom(text, start), FirstOf(rows, start)) << text << " from " << start;
  }
}

}  // namespace
}  // namespace mv
