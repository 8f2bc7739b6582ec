#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace mv::testing {

/// A new folder below the system's temporary folder, removed with all it holds.
class TempFolder {
 public:
  TempFolder() {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = test == nullptr ? "fixture" : test->test_suite_name();
    std::replace(name.begin(), name.end(), '/', '-');
    // The test's name alone is not enough, nor is the time: several processes may run tests of one suite.
    do {
      const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
      path_ = std::filesystem::temp_directory_path() / ("mvtest-" + name + "-" + std::to_string(ticks));
    } while (!std::filesystem::create_directory(path_));
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  /// The folder, without a separator at its end.
  std::string Path() const { return path_.string(); }
  /// A path in the folder, joined as the program joins paths.
  std::string File(std::string_view name) const { return Path() + "\\" + std::string(name); }

  /// Content of a file in the folder; fails the test when it cannot be read.
  std::string Read(std::string_view name) const {
    std::ifstream in(path_ / name, std::ios::binary);
    EXPECT_TRUE(in.good()) << "cannot read " << name;
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  void Write(std::string_view name, std::string_view content) const {
    std::filesystem::create_directories((path_ / name).parent_path());
    std::ofstream out(path_ / name, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    EXPECT_TRUE(out.good()) << "cannot write " << name;
  }
  bool Has(std::string_view name) const { return std::filesystem::exists(path_ / name); }

 private:
  std::filesystem::path path_;
};

}  // namespace mv::testing
