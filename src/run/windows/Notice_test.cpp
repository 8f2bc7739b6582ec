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

TEST(NoticeTest, StandardErrorIsTheOneTheProgramWasStartedWith) {
  HANDLE reading = nullptr;
  HANDLE writing = nullptr;
  ASSERT_TRUE(::CreatePipe(&reading, &writing, nullptr, 0));
  const HANDLE before = ::GetStdHandle(STD_ERROR_HANDLE);
  ::SetStdHandle(STD_ERROR_HANDLE, writing);
  SystemNoticeOutlet().WriteToStandardError("caf\xC3\xA9\n");
  ::SetStdHandle(STD_ERROR_HANDLE, before);
  ::CloseHandle(writing);
  char bytes[16] = {};
  DWORD count = 0;
  ASSERT_TRUE(::ReadFile(reading, bytes, sizeof bytes, &count, nullptr));
  EXPECT_EQ(std::string(bytes, count), "caf\xC3\xA9\n");
  ::CloseHandle(reading);
}

}  // namespace
}  // namespace mv
