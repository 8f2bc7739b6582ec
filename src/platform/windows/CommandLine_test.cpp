#include "platform/windows/CommandLine.h"

#include <gtest/gtest.h>

namespace mv::platform {
namespace {

TEST(CommandLineTest, ThePlainProgramNameEndsAtTheFirstBlank) {
  EXPECT_EQ(ArgumentsOf(L"MVPPCSync.exe -Mode1"), L"-Mode1");
  EXPECT_EQ(ArgumentsOf(L"C:\\cars\\MVPPCSync.exe\t -Mode1"), L"-Mode1");
}

TEST(CommandLineTest, TheQuotedProgramNameEndsAtItsClosingQuote) {
  EXPECT_EQ(ArgumentsOf(L"\"C:\\Program Files\\Motorva\\MVPPCSync.exe\" -Mode2"), L"-Mode2");
  EXPECT_EQ(ArgumentsOf(L"\"C:\\a b\\MVPPCSync.exe\"-Mode2"), L"-Mode2");
}

TEST(CommandLineTest, WhatFollowsStaysAsItWasTyped) {
  EXPECT_EQ(ArgumentsOf(L"MVPPCSync.exe   \"-Mode1\"  x "), L"\"-Mode1\"  x ");
}

TEST(CommandLineTest, WithoutArgumentsNothingIsLeft) {
  for (const wchar_t* line : {L"", L"MVPPCSync.exe", L"MVPPCSync.exe  ", L"\"C:\\a b\\x.exe\"", L"\"C:\\unclosed x"}) {
    EXPECT_EQ(ArgumentsOf(line), L"") << line;
  }
}

}  // namespace
}  // namespace mv::platform
