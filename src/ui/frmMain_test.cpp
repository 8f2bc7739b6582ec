#include "ui/frmMain.h"

#include <gtest/gtest.h>

#include "support/FakeToolkit.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingSettings.h"
#include "support/RecordingShell.h"

namespace mv {
namespace {

using testing::FakeConfigView;
using Calls = std::vector<std::string>;
using Message = testing::RecordingUi::Message;

/// A settings store that cannot be reached.
class BrokenSettings : public SettingsStore {
 public:
  std::optional<std::string> GetSetting(const std::string&, const std::string&, const std::string&) override {
    throw StandardError(errors::kPathFileAccess);
  }
  void SaveSetting(const std::string&, const std::string&, const std::string&, const std::string&) override {
    throw StandardError(errors::kPathFileAccess);
  }
};

class frmMainTest : public ::testing::Test {
 protected:
  frmMainTest() { settings_.SyncLogPath = "C:\\Cars\\SyncLog.txt"; }

  frmMain::Services ServicesOn(SettingsStore& store) {
    return {settings_, modeNames_,
            store,     registry_,
            files_,    shell_,
            "1.2.3",   [this] { startRun_(); },
            nullptr,   [this] { return now_; }};
  }
  void Pass(std::chrono::milliseconds time) { now_ += time; }
  /// The window open, and nothing noted yet.
  void Open() {
    form_.Show();
    toolkit_.calls.clear();
  }
  bool Saved() const { return store_.Stored("PPC_Mobile", "SyncMode").has_value(); }

  const std::array<std::string, 3> modeNames_ = {"Synchronize", "Overwrite PDA", "Overwrite PC"};
  Settings settings_;
  testing::RecordingSettings store_;
  SettingsRegistryStrings registry_{store_};
  testing::MemoryFileSystem files_;
  testing::RecordingShell shell_;
  testing::FakeToolkit toolkit_;
  std::function<void()> startRun_ = [] {};
  std::chrono::steady_clock::time_point now_{std::chrono::hours(1)};
  frmMain form_{toolkit_, ServicesOn(store_)};
};

TEST_F(frmMainTest, TheWindowOpensWithStartDisabledAndTheTimeOfTheLastRun) {
  store_.Put("PPC_Mobile", "LastSync", "11/21/26 14:05:09");
  form_.Show();
  EXPECT_EQ(toolkit_.calls, (Calls{"disable button 1", "disable mnuSyncStart", "column",
                                   "status: Last sync: 11/21/26 14:05:09", "show"}));
}

TEST_F(frmMainTest, WithoutAnEarlierRunItsTimeIsUnknown) {
  form_.Show();
  EXPECT_EQ(toolkit_.CallsThatStart("status"), Calls{"status: Last sync: Unknown"});
}

TEST_F(frmMainTest, AnEmptyTimeIsUnknownToo) {
  store_.Put("PPC_Mobile", "LastSync", "");
  form_.Show();
  EXPECT_EQ(toolkit_.CallsThatStart("status"), Calls{"status: Last sync: Unknown"});
}

TEST_F(frmMainTest, SettingsThatCannotBeReadAreToldAndTheWindowOpens) {
  BrokenSettings broken;
  frmMain form(toolkit_, ServicesOn(broken));
  form.Show();
  EXPECT_EQ(toolkit_.messages,
            (std::vector<Message>{{"Error: 75 has occurred.\rDescription: Path/File access error",
                                   "Database Synchronization Utility", MessageButtons::Ok, MessageIcon::Exclamation}}));
  EXPECT_EQ(toolkit_.calls.back(), "show");
}

TEST_F(frmMainTest, ActivationShowsTheModeAndLetsMessagesRun) {
  Open();
  settings_.SyncMode = 2;
  form_.Form_Activate();
  EXPECT_EQ(toolkit_.calls, (Calls{"mode: Overwrite PC", "picture 2: You are set to Overwrite PC", "messages"}));
}

TEST_F(frmMainTest, AStoredModeOutsideTheThreeHasNoName) {
  Open();
  settings_.SyncMode = 7;
  form_.Form_Activate();
  EXPECT_EQ(toolkit_.calls, (Calls{"mode: ", "picture 7: You are set to ", "messages"}));
}

TEST_F(frmMainTest, AModeChangedInTheSettingsShowsWhenTheWindowIsActiveAgain) {
  Open();
  toolkit_.inSettings = [](frmConfig& form, FakeConfigView& view) {
    view.SelectMode(1);
    form.optSync_Click(view, 1);
    form.cmdCancel_Click(view);
  };
  form_.mnuViewSettings_Click();
  form_.Form_Activate();
  EXPECT_EQ(toolkit_.CallsThatStart("mode"), Calls{"mode: Overwrite PDA"});
}

TEST_F(frmMainTest, ExitSavesTheSettingsAndClosesTheWindow) {
  Open();
  settings_.SyncMode = 1;
  form_.mnuSyncExit_Click();
  EXPECT_EQ(store_.Stored("PPC_Mobile", "SyncMode"), "1");
  EXPECT_EQ(toolkit_.calls, Calls{"unload"});
  EXPECT_TRUE(form_.Closed());
}

TEST_F(frmMainTest, ClosingSavesTheSettingsOnce) {
  Open();
  form_.Form_Unload();
  EXPECT_TRUE(Saved());
  const std::size_t calls = store_.calls.size();
  form_.Form_Unload();
  form_.Unload();
  EXPECT_EQ(store_.calls.size(), calls);
}

TEST_F(frmMainTest, SettingsThatCannotBeSavedAreToldAndTheWindowClosesAllTheSame) {
  BrokenSettings broken;
  frmMain form(toolkit_, ServicesOn(broken));
  form.Show();
  toolkit_.messages.clear();
  form.Unload();
  EXPECT_EQ(toolkit_.messages,
            (std::vector<Message>{{"Error: 75 has occurred.\rDescription: Path/File access error",
                                   "Database Synchronization Utility", MessageButtons::Ok, MessageIcon::Exclamation}}));
  EXPECT_EQ(toolkit_.calls.back(), "unload");
}

TEST_F(frmMainTest, BeforeItIsShownTheWindowShowsNothingAndRefuses) {
  form_.SetStatus("x");
  form_.AddProgressLine("x");
  form_.AdvanceSpinner(false);
  form_.SetHourglass(true);
  form_.ProcessMessages();
  form_.EnableStart();
  form_.EnableCommands();
  form_.RunUntilClosed();
  form_.Unload();
  EXPECT_EQ(form_.ShowMessage("x", "x", MessageButtons::RetryCancel, MessageIcon::None), MessageAnswer::Cancel);
  EXPECT_EQ(form_.ShowMessage("x", "x", MessageButtons::Ok, MessageIcon::None), MessageAnswer::Ok);
  EXPECT_EQ(toolkit_.calls, Calls{});
  EXPECT_FALSE(Saved());
  EXPECT_FALSE(form_.Closed());
}

TEST_F(frmMainTest, TheWindowOpensUnderThePointerThatWasSetBefore) {
  form_.SetHourglass(true);
  form_.Show();
  EXPECT_EQ(toolkit_.CallsThatStart("hourglass"), Calls{"hourglass"});
}

TEST_F(frmMainTest, OnceClosedTheWindowShowsNothingAndRefuses) {
  Open();
  form_.Unload();
  toolkit_.calls.clear();
  form_.SetStatus("x");
  form_.AddProgressLine("x");
  form_.AdvanceSpinner(true);
  form_.SetHourglass(true);
  form_.ProcessMessages();
  form_.EnableStart();
  form_.EnableCommands();
  form_.RunUntilClosed();
  form_.Form_Activate();
  form_.mnuViewSettings_Click();
  form_.mnuAbout_Click();
  EXPECT_EQ(form_.ShowMessage("x", "x", MessageButtons::RetryCancel, MessageIcon::None), MessageAnswer::Cancel);
  EXPECT_EQ(toolkit_.calls, Calls{});
}

TEST_F(frmMainTest, AProgressLineIsAddedAndMessagesRun) {
  Open();
  form_.AddProgressLine("one");
  EXPECT_EQ(toolkit_.calls, (Calls{"progress: one", "messages"}));
}

TEST_F(frmMainTest, TheSpinnerHasFourFramesAndMessagesRunAfterEach) {
  Open();
  for (int i = 0; i < 5; ++i) {
    form_.AdvanceSpinner(false);
    Pass(std::chrono::milliseconds(50));
  }
  form_.AdvanceSpinner(true);
  EXPECT_EQ(toolkit_.calls, (Calls{"spinner 1", "messages", "spinner 2", "messages", "spinner 3", "messages",
                                   "spinner 0", "messages", "spinner 1", "messages", "spinner 0", "messages"}));
}

TEST_F(frmMainTest, TheSpinnerAdvancesByTimeHoweverOftenItIsAsked) {
  Open();
  for (int i = 0; i < 1000; ++i) {
    form_.AdvanceSpinner(false);
    Pass(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(toolkit_.CallsThatStart("spinner").size(), 20u);
  EXPECT_EQ(toolkit_.CallsThatStart("messages").size(), 20u);
}

TEST_F(frmMainTest, MessagesAreHandledByTimeWhileARunAsksForThem) {
  startRun_ = [this] {
    for (int i = 0; i < 1000; ++i) {
      form_.ProcessMessages();
      Pass(std::chrono::milliseconds(1));
    }
  };
  Open();
  form_.mnuSyncStart_Click();
  EXPECT_EQ(toolkit_.CallsThatStart("messages").size(), 100u);
}

TEST_F(frmMainTest, ALineOfARunIsShownAtOnce) {
  startRun_ = [this] {
    form_.ProcessMessages();
    form_.AddProgressLine("one");
  };
  Open();
  form_.mnuSyncStart_Click();
  EXPECT_EQ(toolkit_.calls, (Calls{"messages", "progress: one", "messages"}));
}

TEST_F(frmMainTest, WithoutARunMessagesAreHandledWheneverThatIsAsked) {
  Open();
  form_.ProcessMessages();
  form_.ProcessMessages();
  EXPECT_EQ(toolkit_.calls, (Calls{"messages", "messages"}));
}

TEST_F(frmMainTest, AResetSpinnerIsShownAtOnce) {
  Open();
  form_.AdvanceSpinner(false);
  form_.AdvanceSpinner(true);
  EXPECT_EQ(toolkit_.CallsThatStart("spinner"), (Calls{"spinner 1", "spinner 0"}));
}

TEST_F(frmMainTest, TheToolbarRunsTheMenusCommandsByIndex) {
  files_.Put("C:\\Cars\\SyncLog.txt", {});
  int runs = 0;
  startRun_ = [&] { ++runs; };
  Open();
  for (int index = 0; index <= 5; ++index) form_.tb_ButtonClick(index);
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(toolkit_.calls, Calls{"settings"});
  EXPECT_EQ(shell_.opened.size(), 1u);
}

TEST_F(frmMainTest, EachToolbarButtonRunsItsOwnCommand) {
  files_.Put("C:\\Cars\\SyncLog.txt", {});
  int runs = 0;
  startRun_ = [&] { ++runs; };
  Open();
  form_.tb_ButtonClick(1);
  EXPECT_EQ(runs, 1);
  form_.tb_ButtonClick(3);
  EXPECT_EQ(toolkit_.calls, Calls{"settings"});
  form_.tb_ButtonClick(4);
  EXPECT_EQ(shell_.opened, Calls{"C:\\Cars\\SyncLog.txt"});
}

TEST_F(frmMainTest, EachCommandRunsItsMenuEntry) {
  using Command = frmMainView::Command;
  files_.Put("C:\\Cars\\SyncLog.txt", {});
  int runs = 0;
  startRun_ = [&] { ++runs; };
  Open();
  form_.Perform(Command::Start);
  EXPECT_EQ(runs, 1);
  form_.Perform(Command::Settings);
  EXPECT_EQ(toolkit_.calls, Calls{"settings"});
  form_.Perform(Command::Log);
  EXPECT_EQ(shell_.opened, Calls{"C:\\Cars\\SyncLog.txt"});
  form_.Perform(Command::About);
  EXPECT_EQ(toolkit_.calls, (Calls{"settings", "about"}));
  form_.Perform(Command::Exit);
  EXPECT_TRUE(form_.Closed());
}

TEST_F(frmMainTest, ARunIsNotStartedInsideARun) {
  int runs = 0;
  startRun_ = [&] {
    ++runs;
    form_.mnuSyncStart_Click();
    form_.tb_ButtonClick(1);
  };
  Open();
  form_.mnuSyncStart_Click();
  EXPECT_EQ(runs, 1);
  form_.mnuSyncStart_Click();
  EXPECT_EQ(runs, 2) << "but after it";
}

TEST_F(frmMainTest, CommandsAreThreeButtonsAndTwoMenus) {
  Open();
  form_.DisableCommands();
  form_.EnableCommands();
  EXPECT_EQ(toolkit_.calls,
            (Calls{"disable button 1", "disable button 3", "disable button 4", "disable mnuSync", "disable mnuView",
                   "enable button 1", "enable button 3", "enable button 4", "enable mnuSync", "enable mnuView"}));
}

TEST_F(frmMainTest, ALogThatIsNotThereIsNamed) {
  Open();
  form_.mnuViewLog_Click();
  EXPECT_EQ(toolkit_.messages,
            (std::vector<Message>{{"Sync Log: C:\\Cars\\SyncLog.txt does not exist.", "Motorva\u00A9 Mobile Edition",
                                   MessageButtons::Ok, MessageIcon::Information}}));
  EXPECT_TRUE(shell_.opened.empty());
}

TEST_F(frmMainTest, ALogThatTheShellCannotOpenIsNamed) {
  files_.Put("C:\\Cars\\SyncLog.txt", {});
  shell_.succeeds = false;
  Open();
  form_.mnuViewLog_Click();
  EXPECT_EQ(toolkit_.messages,
            (std::vector<Message>{{"Unable to open: C:\\Cars\\SyncLog.txt", "Motorva\u00A9 Mobile Edition",
                                   MessageButtons::Ok, MessageIcon::Exclamation}}));
}

TEST_F(frmMainTest, ALogThatARunStillHoldsIsOpened) {
  files_.Put("C:\\Cars\\SyncLog.txt", {});
  const auto held = files_.Open("C:\\Cars\\SyncLog.txt", platform::Access::Write, platform::Disposition::OpenAlways,
                                platform::Sharing::Read);
  Open();
  form_.mnuViewLog_Click();
  EXPECT_EQ(shell_.opened, Calls{"C:\\Cars\\SyncLog.txt"});
}

TEST_F(frmMainTest, TheSettingsDialogEditsTheSettingsInMemoryOnly) {
  Open();
  toolkit_.inSettings = [](frmConfig& form, FakeConfigView& view) {
    view.SetPath(1, "\\Storage Card");
    form.cmdOK_Click(view);
  };
  form_.mnuViewSettings_Click();
  EXPECT_EQ(settings_.PDADBPath, "\\Storage Card");
  EXPECT_EQ(store_.Stored("PPC_Mobile", "PDADBPath"), std::nullopt);
  form_.Unload();
  EXPECT_EQ(store_.Stored("PPC_Mobile", "PDADBPath"), "\\Storage Card");
}

TEST_F(frmMainTest, TheAboutBoxShowsTheVersionAndItsButtonClosesIt) {
  Open();
  std::string version;
  toolkit_.inAbout = [&](frmAbout& form, testing::FakeAboutView& view) {
    version = view.version;
    form.cmdOp_Click(view);
    EXPECT_EQ(view.unloaded, 1);
  };
  form_.mnuAbout_Click();
  EXPECT_EQ(version, "Version: 1.2.3");
}

TEST_F(frmMainTest, TheAboutBoxOfTwoCallsIsOne) {
  std::vector<frmAbout*> shown;
  toolkit_.inAbout = [&](frmAbout& form, testing::FakeAboutView&) { shown.push_back(&form); };
  Open();
  form_.mnuAbout_Click();
  form_.mnuAbout_Click();
  ASSERT_EQ(shown.size(), 2u);
  EXPECT_EQ(shown[0], shown[1]) << "the view keeps it while the box is open";
}

}  // namespace
}  // namespace mv
