#include "config/posix/ListenService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace mv {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// A systemctl that answers by its first word; others succeed.
class ListenServiceTest : public ::testing::Test {
 protected:
  std::optional<int> Run(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) line += (line.empty() ? "" : " ") + word;
    lines_.push_back(line);
    const auto found = answers_.find(words.front());
    return found == answers_.end() ? 0 : found->second;
  }

  std::map<std::string, std::optional<int>> answers_;
  std::vector<std::string> lines_;
  ListenService service_{[this](const std::vector<std::string>& words) { return Run(words); }};
};

TEST_F(ListenServiceTest, SwitchingOnEnablesAndStartsTheUnit) {
  answers_ = {{"is-enabled", 1}};
  EXPECT_THAT(service_.SwitchOn(), HasSubstr("a run starts by itself from now on"));
  EXPECT_THAT(lines_, ElementsAre("is-enabled mvppcsync-listen.service", "enable --now mvppcsync-listen.service"));
}

TEST_F(ListenServiceTest, AUnitThatIsEnabledButDeadIsStarted) {
  answers_ = {{"is-active", 3}};
  EXPECT_NE(service_.SwitchOn(), "");
  EXPECT_EQ(lines_.back(), "enable --now mvppcsync-listen.service");
}

TEST_F(ListenServiceTest, WhatIsOnAlreadyIsLeftAloneWithoutAWord) {
  EXPECT_EQ(service_.SwitchOn(), "");
  EXPECT_EQ(lines_.size(), 2U);
}

TEST_F(ListenServiceTest, SwitchingOffDisablesAndStopsTheUnit) {
  EXPECT_THAT(service_.SwitchOff(), HasSubstr("No run starts by itself any more"));
  EXPECT_EQ(lines_.back(), "disable --now mvppcsync-listen.service");
}

TEST_F(ListenServiceTest, WhatIsOffAlreadyIsLeftAloneWithoutAWord) {
  answers_ = {{"is-enabled", 1}, {"is-active", 3}};
  EXPECT_EQ(service_.SwitchOff(), "");
  EXPECT_EQ(lines_.size(), 2U);
}

TEST_F(ListenServiceTest, AMissingUnitIsNamed) {
  answers_ = {{"is-enabled", 1}, {"enable", 1}, {"cat", 1}};
  EXPECT_THAT(service_.SwitchOn(), HasSubstr("is not installed"));
}

TEST_F(ListenServiceTest, ASystemWithoutSystemdIsNamed) {
  answers_ = {{"is-enabled", std::nullopt}, {"enable", std::nullopt}, {"cat", std::nullopt}};
  EXPECT_THAT(service_.SwitchOn(), HasSubstr("systemctl did not answer"));
}

TEST_F(ListenServiceTest, ARefusalTellsWhereToLook) {
  answers_ = {{"is-enabled", 1}, {"enable", 1}};
  EXPECT_THAT(service_.SwitchOn(), HasSubstr("systemctl --user status"));
}

}  // namespace
}  // namespace mv
