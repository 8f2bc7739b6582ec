#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "check/DatabaseCheck.h"
#include "support/ExternalTool.h"
#include "support/TempFolder.h"

namespace mv::testing {

/// Who wrote a database, which decides what may be found in it.
enum class WrittenBy {
  UsAlone,    ///< nothing
  OthersToo,  ///< what other engines are known to leave behind
};

/// What our own checker finds.
inline check::Report ReportOf(const Bytes& image) {
  return check::CheckDatabase(image);
}

/// Fails the test when the structure of a database is not what it should be: by our own checker, and by the one that
/// JETCHECK names, if any.
inline void ExpectSound(const Bytes& image, WrittenBy writer = WrittenBy::UsAlone) {
  const check::Report report = ReportOf(image);
  EXPECT_TRUE(report.checked);
  for (const check::Finding& finding : report.findings) {
    const bool isNote = finding.severity == check::Severity::Note;
    // What a handheld can take is no matter of structure.
    const bool isAllowed = isNote && (writer == WrittenBy::OthersToo || finding.kind == check::Kind::Handheld);
    EXPECT_TRUE(isAllowed) << LineOf(finding);
  }
  const auto external = JetCheck::Find();
  if (!external) return;
  const TempFolder folder;
  folder.Write("check.mdb", std::string(image.begin(), image.end()));
  const std::string options = writer == WrittenBy::UsAlone ? "--strict --quiet" : "--quiet";
  const ToolResult result = external->Run(options, folder.Path() + "/check.mdb");
  EXPECT_EQ(result.status, 0) << result.output;
}

/// How many violations of each kind the external checker finds in a file when it is strict, which is more than sound
/// files of other writers keep to; nothing when there is no such checker.
inline std::optional<std::map<std::string, std::size_t>> StrictViolationsOf(const Bytes& image) {
  const auto external = JetCheck::Find();
  if (!external) return std::nullopt;
  const TempFolder folder;
  folder.Write("check.mdb", std::string(image.begin(), image.end()));
  constexpr std::string_view kMark = "  VIOLATION ";
  std::map<std::string, std::size_t> counts;
  const std::string options = "--strict --quiet --limit 1000000";
  for (const std::string& line : external->Run(options, folder.Path() + "/check.mdb").Lines()) {
    if (!line.starts_with(kMark)) continue;
    ++counts[line.substr(kMark.size(), line.find(':') - kMark.size())];
  }
  return counts;
}

}  // namespace mv::testing
