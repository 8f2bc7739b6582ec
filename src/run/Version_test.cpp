#include "run/Version.h"

#include <gtest/gtest.h>

#include <string>

namespace mv {
namespace {

TEST(VersionTest, IsThreeNumbers) {
  const std::string version = kProgramVersion;
  EXPECT_EQ(version.find_first_not_of("0123456789."), std::string::npos) << version;
  const std::size_t first = version.find('.');
  const std::size_t last = version.rfind('.');
  EXPECT_TRUE(first != std::string::npos && first > 0 && last > first + 1 && last + 1 < version.size()) << version;
}

}  // namespace
}  // namespace mv
