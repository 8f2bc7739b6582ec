#include "ui/SystemUi.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>

#include "ui/frmMain.h"

namespace mv {
namespace {

bool MessageIsWaiting() {
  MSG message = {};
  return ::PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE) != FALSE;
}

TEST(SilentUserInterfaceTest, PendingMessagesRun) {
  const auto ui = MakeSilentUserInterface();
  EXPECT_FALSE(MessageIsWaiting()) << "asking gives the thread its queue";
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(::PostThreadMessageW(::GetCurrentThreadId(), WM_APP, 0, 0));
  EXPECT_TRUE(MessageIsWaiting());
  ui->ProcessMessages();
  EXPECT_FALSE(MessageIsWaiting());
}

TEST(SilentUserInterfaceTest, MessagesAreLookedForAgainAfterAWhileOnly) {
  const auto ui = MakeSilentUserInterface();
  const auto began = std::chrono::steady_clock::now();
  ui->ProcessMessages();
  ASSERT_TRUE(::PostThreadMessageW(::GetCurrentThreadId(), WM_APP, 0, 0));
  while (MessageIsWaiting()) ui->ProcessMessages();
  EXPECT_GE(std::chrono::steady_clock::now() - began, frmMain::kMessageTime);
}

TEST(SilentUserInterfaceTest, ARequestToEndIsLeftForTheOuterLoop) {
  const auto ui = MakeSilentUserInterface();
  ::PostQuitMessage(3);
  ui->ProcessMessages();
  MSG message = {};
  ASSERT_TRUE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(message.wParam, WPARAM{3});
}

TEST(SilentUserInterfaceTest, TheHourglassIsThePointerUntilItIsTakenBack) {
  const auto ui = MakeSilentUserInterface();
  ui->SetHourglass(true);
  EXPECT_EQ(::GetCursor(), ::LoadCursorW(nullptr, IDC_WAIT));
  ui->SetHourglass(false);
  EXPECT_EQ(::GetCursor(), ::LoadCursorW(nullptr, IDC_ARROW));
}

}  // namespace
}  // namespace mv
