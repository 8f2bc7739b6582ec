#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "Targets.h"

// Inputs that once were findings, and some that reach far: each must go through its target without one.

namespace mv::fuzz {
namespace {

struct Target {
  const char* folder;
  void (*use)(ByteView input);
};

class Replay : public ::testing::TestWithParam<Target> {};

TEST_P(Replay, EveryInputOfTheCorpusIsUsedWithoutAFinding) {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::path(MV_FUZZ_CORPUS) / GetParam().folder)) {
    paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  ASSERT_FALSE(paths.empty());
  for (const std::filesystem::path& path : paths) {
    std::ifstream in(path, std::ios::binary);
    const Bytes input{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    EXPECT_NO_THROW(GetParam().use(input)) << path.filename().string();
  }
}

INSTANTIATE_TEST_SUITE_P(Database, Replay, ::testing::Values(Target{"database", &UseDatabase}));
INSTANTIATE_TEST_SUITE_P(TableFile, Replay, ::testing::Values(Target{"table-file", &UseTableFile}));
INSTANTIATE_TEST_SUITE_P(Settings, Replay, ::testing::Values(Target{"settings", &UseSettings}));
INSTANTIATE_TEST_SUITE_P(Json, Replay, ::testing::Values(Target{"json", &UseJson}));
INSTANTIATE_TEST_SUITE_P(Handheld, Replay, ::testing::Values(Target{"handheld", &UseHandheld}));
INSTANTIATE_TEST_SUITE_P(Desktop, Replay, ::testing::Values(Target{"desktop", &UseDesktop}));

}  // namespace
}  // namespace mv::fuzz
