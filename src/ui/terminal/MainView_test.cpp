#include "ui/terminal/MainView.h"

#include <gtest/gtest.h>

#include "support/FakeTerminal.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingSettings.h"
#include "support/RecordingShell.h"
#include "ui/terminal/TerminalToolkit.h"

namespace mv::terminal {
namespace {

using Event = platform::Terminal::Event;

/// The program's window on a terminal: the real frmMain, and a run that is what the test says.
class TerminalMainViewTest : public ::testing::Test {
 protected:
  TerminalMainViewTest() { settings_.SyncLogPath = "C:\\SyncLog.txt"; }

  /// The window is open, the handheld has answered, and what was written so far is forgotten.
  void Open() {
    form_.Show();
    form_.ProcessMessages();
    form_.EnableStart();
    terminal_.output.clear();
  }
  bool Wrote(const std::string& text) const { return terminal_.output.find(text) != std::string::npos; }
  std::optional<std::string> StoredMode() const { return store_.Stored("PPC_Mobile", "SyncMode"); }

  mv::testing::FakeTerminal terminal_;
  TableCount tables_{0, 13};
  TerminalToolkit toolkit_{terminal_, [this] { return tables_; }};
  const std::array<std::string, 3> modeNames_ = {"Synchronize", "Overwrite PDA", "Overwrite PC"};
  Settings settings_;
  mv::testing::RecordingSettings store_;
  SettingsRegistryStrings registry_{store_};
  mv::testing::MemoryFileSystem files_;
  mv::testing::RecordingShell shell_;
  std::function<void()> run_ = [] {};
  frmMain form_{toolkit_, {settings_, modeNames_, store_, registry_, files_, shell_, "1.2.3", [this] { run_(); }}};
};

TEST_F(TerminalMainViewTest, TheWindowShowsItsCaptionItsStatusAndTheCommands) {
  form_.Show();
  form_.ProcessMessages();
  form_.EnableStart();
  form_.RunUntilClosed();
  EXPECT_EQ(terminal_.output,
            "Motorva\u2122 Mobile Edition - Pocket PC Sync Utility\n"
            "Last sync: Unknown\n"
            "Synchronize: [S]tart  E[x]it Program  S[e]ttings...  Sync [L]og...  [A]bout...  \n");
}

TEST_F(TerminalMainViewTest, StartIsNotOfferedBeforeTheHandheldHasAnswered) {
  int runs = 0;
  run_ = [&] { ++runs; };
  form_.Show();
  form_.ProcessMessages();
  terminal_.Type("s");
  form_.RunUntilClosed();
  EXPECT_EQ(runs, 0);
  EXPECT_TRUE(Wrote("Synchronize: E[x]it Program"));
}

TEST_F(TerminalMainViewTest, CommandsAreChosenByTheirLetters) {
  files_.Put("C:\\SyncLog.txt", {});
  int runs = 0;
  run_ = [&] { ++runs; };
  Open();
  terminal_.Type("SlaX");
  form_.RunUntilClosed();
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(shell_.opened, std::vector<std::string>{"C:\\SyncLog.txt"});
  EXPECT_TRUE(Wrote("About Motorva\u2122 Mobile Edition\nVersion: 1.2.3\n"));
  EXPECT_TRUE(form_.Closed());
  EXPECT_TRUE(terminal_.coming.empty());
}

TEST_F(TerminalMainViewTest, AfterARunStartIsOfferedAsTheToolbarDoes) {
  int runs = 0;
  run_ = [&] {
    ++runs;
    form_.DisableStart();
    form_.DisableCommands();
    form_.EnableCommands();
  };
  Open();
  terminal_.Type("ss");
  form_.RunUntilClosed();
  EXPECT_EQ(runs, 2);
}

TEST_F(TerminalMainViewTest, CtrlCClosesTheWindowWhichSavesTheSettings) {
  Open();
  settings_.SyncMode = 2;
  terminal_.Happens(Event::Closed);
  form_.RunUntilClosed();
  EXPECT_TRUE(form_.Closed());
  EXPECT_EQ(StoredMode(), "2");
}

TEST_F(TerminalMainViewTest, CtrlCInARunClosesTheWindowAndTheRunGoesOnToItsNextSafePoint) {
  bool seen = false;
  run_ = [&] {
    form_.DisableCommands();
    terminal_.Happens(Event::Closed);
    terminal_.Happens(Event::Closed);
    form_.AddProgressLine("one");
    seen = form_.Closed();
    form_.AddProgressLine("two");
  };
  Open();
  terminal_.Type("s");
  form_.RunUntilClosed();
  EXPECT_TRUE(seen);
  EXPECT_TRUE(terminal_.output.ends_with("one\nClosing. The run stops at its next safe point...\n"))
      << terminal_.output;
  EXPECT_TRUE(StoredMode());
}

TEST_F(TerminalMainViewTest, DuringARunOnlyAboutIsOffered) {
  int runs = 0;
  run_ = [&] {
    ++runs;
    form_.DisableStart();
    form_.DisableCommands();
    terminal_.Type(
        "sxel\x04"
        "a");
    form_.AddProgressLine("one");
  };
  Open();
  terminal_.Type("s");
  form_.mnuSyncStart_Click();
  EXPECT_EQ(runs, 1);
  EXPECT_FALSE(form_.Closed());
  EXPECT_TRUE(Wrote("Version: 1.2.3\n"));
}

TEST_F(TerminalMainViewTest, ARunShowsSpinnerTableCountStatusAndMode) {
  terminal_.canDraw = true;
  terminal_.columns = 50;
  settings_.SyncMode = 1;
  Open();
  form_.SetHourglass(true);
  form_.DisableCommands();
  tables_.done = 4;
  terminal_.output.clear();
  form_.SetStatus("Synchronizing brnd_Fuel...");
  EXPECT_EQ(terminal_.Written(), "\r\x1b[K| 4 of 13  Synchronizing brnd_Fu  \x1b[1;7m! Overwrite PDA\x1b[0m");
  form_.AdvanceSpinner(false);
  EXPECT_TRUE(Wrote("/ 4 of 13"));
}

TEST_F(TerminalMainViewTest, APipeGetsTheLinesOfARunAndNothingElse) {
  Open();
  form_.SetHourglass(true);
  form_.DisableCommands();
  form_.SetStatus("Synchronizing brnd_Fuel...");
  form_.AdvanceSpinner(false);
  form_.AddProgressLine("one");
  form_.AddProgressLine("two");
  EXPECT_EQ(terminal_.output, "one\ntwo\n");
}

TEST_F(TerminalMainViewTest, ANarrowTerminalHasTheCommandsInSeveralLines) {
  terminal_.columns = 30;
  Open();
  terminal_.Type("q");
  form_.RunUntilClosed();
  EXPECT_EQ(
      terminal_.output,
      "Last sync: Unknown\nSynchronize: [S]tart  \nE[x]it Program  S[e]ttings...  \nSync [L]og...  [A]bout...  \n");
}

TEST_F(TerminalMainViewTest, ATerminalOfOneColumnIsSurvived) {
  terminal_.canDraw = true;
  terminal_.columns = 1;
  Open();
  form_.SetHourglass(true);
  form_.DisableCommands();
  form_.SetStatus("Synchronizing brnd_Fuel...");
  form_.RunUntilClosed();
  EXPECT_TRUE(form_.Closed());
}

TEST_F(TerminalMainViewTest, AQuestionIsAnsweredByKey) {
  Open();
  terminal_.Type("r");
  EXPECT_EQ(form_.ShowMessage("One.\r\rTwo.", "Title", MessageButtons::RetryCancel, MessageIcon::Information),
            MessageAnswer::Retry);
  EXPECT_EQ(terminal_.Written(), "Title\nOne.\n\nTwo.\n[R]etry  [C]ancel: Retry\n");
  terminal_.Type("xC");
  EXPECT_EQ(form_.ShowMessage("x", "x", MessageButtons::RetryCancel, MessageIcon::None), MessageAnswer::Cancel);
  EXPECT_FALSE(form_.Closed()) << "the letters of commands mean nothing here";
}

TEST_F(TerminalMainViewTest, EnterIsTheFirstAnswerAndEscapeTheLast) {
  Open();
  terminal_.Type("\r");
  EXPECT_EQ(form_.ShowMessage("x", "x", MessageButtons::RetryCancel, MessageIcon::None), MessageAnswer::Retry);
  terminal_.Type("\x1b");
  terminal_.Happens(Event::None);
  EXPECT_EQ(form_.ShowMessage("x", "x", MessageButtons::RetryCancel, MessageIcon::None), MessageAnswer::Cancel);
  terminal_.Type("\r");
  EXPECT_EQ(form_.ShowMessage("x", "x", MessageButtons::Ok, MessageIcon::Critical), MessageAnswer::Ok);
}

TEST_F(TerminalMainViewTest, CtrlCAtAQuestionRefusesAndClosesTheWindow) {
  Open();
  EXPECT_EQ(form_.ShowMessage("x", "x", MessageButtons::RetryCancel, MessageIcon::None), MessageAnswer::Cancel);
  EXPECT_TRUE(form_.Closed());
  EXPECT_TRUE(StoredMode());
}

TEST_F(TerminalMainViewTest, AfterAChangeOfSizeTheFootIsDrawnAgain) {
  terminal_.canDraw = true;
  Open();
  form_.SetHourglass(true);
  form_.DisableCommands();
  form_.SetStatus("Transferring");
  terminal_.columns = 30;
  terminal_.output.clear();
  terminal_.Happens(Event::Resized);
  form_.ProcessMessages();
  EXPECT_EQ(terminal_.output, "\r\x1b[K| 0 of 13  Trans  Synchronize");
}

TEST_F(TerminalMainViewTest, AModeChangedInTheSettingsIsShownAfterThem) {
  Open();
  terminal_.Type("e9c");
  form_.RunUntilClosed();
  EXPECT_TRUE(
      terminal_.output.ends_with("! Overwrite PDA: [S]tart  E[x]it Program  S[e]ttings...  Sync [L]og...  \n"
                                 "[A]bout...  \n"))
      << terminal_.output;
}

}  // namespace
}  // namespace mv::terminal
