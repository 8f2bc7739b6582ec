#include "run/windows/Notice.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

namespace mv {
namespace {

class RecordingOutlet : public NoticeOutlet {
 public:
  std::vector<std::string> calls;
  void ShowBox(const std::string& text) override { calls.push_back("box: " + text); }
  void WriteToStandardError(const std::string& text) override { calls.push_back("stderr: " + text); }
  void WriteToStandardOutput(const std::string& text) override { calls.push_back("stdout: " + text); }
};

std::vector<std::string> Told(const std::string& words, const std::string& commandLine) {
  RecordingOutlet outlet;
  TellUser(words, ParseInvocation(commandLine), outlet);
  return outlet.calls;
}

using Calls = std::vector<std::string>;

TEST(NoticeTest, AStartThatWasToOpenTheWindowShowsABox) {
  EXPECT_EQ(Told("MVPPCSync: no window\n", ""), Calls{"box: MVPPCSync: no window"});
  EXPECT_EQ(Told("MVPPCSync: no window\n", "\"-Mode1\""), Calls{"box: MVPPCSync: no window"});
}

TEST(NoticeTest, ASilentRunNeverShowsABox) {
  for (const char* line : {"-Mode0", " -MODE1 ", "-mode2"}) {
    EXPECT_EQ(Told("MVPPCSync: failed\n", line), Calls{"stderr: MVPPCSync: failed\n"}) << line;
  }
}

TEST(NoticeTest, NothingToSayIsNotSaid) {
  EXPECT_TRUE(Told("", "").empty());
  EXPECT_TRUE(Told("", "-Mode0").empty());
}

/// What `write` puts into the standard handle `which`.
std::string WrittenTo(DWORD which, void (SystemNoticeOutlet::*write)(const std::string&), const std::string& text) {
  HANDLE reading = nullptr;
  HANDLE writing = nullptr;
  EXPECT_TRUE(::CreatePipe(&reading, &writing, nullptr, 0));
  const HANDLE before = ::GetStdHandle(which);
  ::SetStdHandle(which, writing);
  SystemNoticeOutlet outlet;
  (outlet.*write)(text);
  ::SetStdHandle(which, before);
  ::CloseHandle(writing);
  char bytes[16] = {};
  DWORD count = 0;
  EXPECT_TRUE(::ReadFile(reading, bytes, sizeof bytes, &count, nullptr));
  ::CloseHandle(reading);
  return std::string(bytes, count);
}

TEST(NoticeTest, StandardErrorAndOutputAreThoseTheProgramWasStartedWith) {
  EXPECT_EQ(WrittenTo(STD_ERROR_HANDLE, &SystemNoticeOutlet::WriteToStandardError, "caf\xC3\xA9\n"), "caf\xC3\xA9\n");
  EXPECT_EQ(WrittenTo(STD_OUTPUT_HANDLE, &SystemNoticeOutlet::WriteToStandardOutput, "1.0\n"), "1.0\n");
}

}  // namespace
}  // namespace mv
