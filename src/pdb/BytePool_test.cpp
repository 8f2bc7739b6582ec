#include "pdb/BytePool.h"

#include <gtest/gtest.h>

namespace mv {
namespace {

TEST(BytePool, PiecesStayWhereTheyAreHoweverManyCome) {
  BytePool pool;
  std::vector<ByteView> kept;
  for (std::size_t i = 0; i < 2000; ++i) kept.push_back(pool.Add(Bytes(i, static_cast<std::uint8_t>(i))));
  for (std::size_t i = 0; i < kept.size(); ++i) {
    ASSERT_EQ(Bytes(kept[i].begin(), kept[i].end()), Bytes(i, static_cast<std::uint8_t>(i)));
  }
}

TEST(BytePool, PieceLargerThanAnyChunkIsKeptWhole) {
  BytePool pool;
  const ByteView small = pool.Add(Bytes{1, 2});
  const ByteView large = pool.Add(Bytes(3'000'000, 9));
  EXPECT_EQ(Bytes(large.begin(), large.end()), Bytes(3'000'000, 9));
  EXPECT_EQ(Bytes(small.begin(), small.end()), (Bytes{1, 2}));
}

}  // namespace
}  // namespace mv
