#include "base/EditDistance.h"

#include <gtest/gtest.h>

namespace mv {
namespace {

TEST(EditDistanceTest, CountsWhatIsPutInTakenOutAndReplaced) {
  EXPECT_EQ(EditDistance("Root", "Root"), 0u);
  EXPECT_EQ(EditDistance("Rooot", "Root"), 1u);
  EXPECT_EQ(EditDistance("Rot", "Root"), 1u);
  EXPECT_EQ(EditDistance("Roof", "Root"), 1u);
  EXPECT_EQ(EditDistance("kitten", "sitting"), 3u);
  EXPECT_EQ(EditDistance("", "abc"), 3u);
}

TEST(EditDistanceTest, CaseDoesNotCount) {
  EXPECT_EQ(EditDistance("SYNCMODE", "SyncMode"), 0u);
}

}  // namespace
}  // namespace mv
