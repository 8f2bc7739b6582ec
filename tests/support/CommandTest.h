#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "mvtool/commands/Command.h"
#include "support/FakeClock.h"
#include "support/MemoryFileSystem.h"

namespace mv::testing {

/// Runs commands of mvtool over a file system in memory.
class CommandTest : public ::testing::Test {
 protected:
  /// The exit status; the output is in out_ and err_.
  int Run(const std::vector<std::string>& words, const std::string& input = {}) {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    tool::ToolContext context{in, out, err, files_, clock_};
    const int status = tool::RunTool(words, context);
    out_ = out.str();
    err_ = err.str();
    return status;
  }

  void Put(const std::string& path, std::string_view text) { files_.Put(path, Bytes(text.begin(), text.end())); }
  std::string TextOf(const std::string& path) const {
    const Bytes content = files_.Content(path);
    return std::string(content.begin(), content.end());
  }
  /// Makes a database of a JSON schema.
  void Create(const std::string& path, std::string_view schema) {
    Put("schema.json", schema);
    ASSERT_EQ(Run({"create", path, "schema.json", "--force"}), tool::kSucceeded) << err_;
  }
  std::string Shown(const std::string& path, const std::string& table) {
    EXPECT_EQ(Run({"show", path, table}), tool::kSucceeded) << err_;
    return out_;
  }

  MemoryFileSystem files_;
  FakeClock clock_;
  std::string out_;
  std::string err_;
};

}  // namespace mv::testing
