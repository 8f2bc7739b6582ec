#include "ui/SystemUi.h"

#include <gtest/gtest.h>

namespace mv {
namespace {

TEST(SystemUiTest, TheCommonControlsCanBeRegistered) {
  EXPECT_TRUE(InitCommonControls());
}

TEST(SystemUiTest, ASilentRunRefusesWithoutAsking) {
  const auto ui = MakeSilentUserInterface();
  EXPECT_EQ(ui->ShowMessage("text", "title", MessageButtons::RetryCancel, MessageIcon::Information),
            MessageAnswer::Cancel);
  EXPECT_EQ(ui->ShowMessage("text", "title", MessageButtons::Ok, MessageIcon::Critical), MessageAnswer::Ok);
}

}  // namespace
}  // namespace mv
