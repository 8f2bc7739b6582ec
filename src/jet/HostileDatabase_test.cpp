#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "platform/System.h"
#include "support/AllocationLimit.h"
#include "support/JetExercise.h"
#include "support/JetMutation.h"
#include "support/JetSpecimens.h"

// Whatever bytes a file has: using it comes to an end soon, takes no more memory than the file gives reason for, and
// gives a result or an mv::Error. Writing to one table never changes another.

namespace mv::jet {
namespace {

using mv::testing::AllocationLimit;
using mv::testing::JetDamage;
using mv::testing::JetExercise;
using mv::testing::JetMutation;

/// Seconds that using one damaged file may take; a sound one takes a hundredth of that. Of this process, so that a busy
/// machine makes no difference.
constexpr double kMostSeconds = 5;

struct Tally {
  int files = 0;
  int readable = 0;
  int changed = 0;
};

class HostileDatabase : public ::testing::Test {
 protected:
  /// Damages a file in `count` ways and uses each. Fails the test, naming seed and damage, for whatever is not allowed.
  void UseDamaged(const Bytes& sound, unsigned firstSeed, unsigned count) {
    for (unsigned seed = firstSeed; seed < firstSeed + count; ++seed) {
      std::mt19937 random(seed);
      std::vector<JetMutation> mutations;
      for (std::size_t i = 1 + random() % 3; i > 0; --i) mutations.push_back(JetMutation::Random(random));
      Bytes image = sound;
      JetDamage(image).Apply(mutations);
      SCOPED_TRACE("seed " + std::to_string(seed) + ": " + ToText(mutations));
      ASSERT_NO_FATAL_FAILURE(Use(image, seed));
    }
  }

  void Use(const Bytes& image, unsigned seed) {
    // Vectors that grow with what they are given take up to twice their size.
    const AllocationLimit limit(4 * image.size() + 1024 * 1024);
    const std::clock_t start = std::clock();
    JetExercise exercise(image, seed);
    std::string complaint;
    try {
      complaint = exercise.Run();
    } catch (const std::exception& other) {
      complaint = std::string("raised another exception: ") + other.what();
    }
    EXPECT_EQ(complaint, "");
    EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, kMostSeconds);
    ++tally_.files;
    tally_.readable += exercise.TablesRead() > 4 ? 1 : 0;
    tally_.changed += exercise.Changes() > 0 ? 1 : 0;
  }

  Tally tally_;
};

TEST_F(HostileDatabase, SoundFilesAreReadAndChangedWithoutAComplaint) {
  for (const Bytes& sound : mv::testing::JetSpecimens()) Use(sound, 1);
  EXPECT_EQ(tally_.readable, 5);
  EXPECT_EQ(tally_.changed, 5);
}

TEST_F(HostileDatabase, DamagedFilesGiveAResultOrAnErrorAndOtherTablesStayAsTheyWere) {
  for (const Bytes& sound : mv::testing::JetSpecimens()) UseDamaged(sound, 1, 150);
  EXPECT_GT(tally_.readable, tally_.files / 4) << "damage that always fails early tests nothing behind";
  EXPECT_GT(tally_.changed, tally_.files / 8);
}

TEST_F(HostileDatabase, DamagedRealFilesGiveAResultOrAnErrorAndOtherTablesStayAsTheyWere) {
  const auto folder = platform::EnvironmentVariable("JET_SAMPLES");
  if (!folder) GTEST_SKIP() << "JET_SAMPLES does not name a folder of database files";
  constexpr std::uintmax_t kLargest = 400000;
  for (const auto& entry : std::filesystem::directory_iterator(*folder)) {
    if (entry.file_size() > kLargest) continue;
    SCOPED_TRACE(entry.path().filename().string());
    std::ifstream in(entry.path(), std::ios::binary);
    const Bytes sound{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    UseDamaged(sound, 1, 12);
  }
  EXPECT_GT(tally_.changed, tally_.files / 8);
}

}  // namespace
}  // namespace mv::jet
