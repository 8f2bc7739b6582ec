#include "run/Main.h"

#include <gtest/gtest.h>

#include <new>
#include <sstream>

#include "run/SilentSync.h"
#include "support/RunWorld.h"

namespace mv {
namespace {

using Calls = std::vector<std::string>;

/// Writes its calls into the same list as the user interface does.
class RecordingWindow : public MainWindow {
 public:
  explicit RecordingWindow(Calls& calls) : calls_(calls) {}
  void Show() override { calls_.push_back("show"); }
  void Unload() override { calls_.push_back("unload"); }
  void EnableStart() override { calls_.push_back("enable start"); }
  void DisableStart() override { calls_.push_back("disable start"); }
  void EnableCommands() override { calls_.push_back("enable commands"); }
  void DisableCommands() override { calls_.push_back("disable commands"); }
  void RunUntilClosed() override { calls_.push_back("run"); }

 private:
  Calls& calls_;
};

class MainTest : public ::testing::Test {
 protected:
  MainTest() {
    world_.PutAllDeviceTables();
    world_.settings.Put("General", "DBPath", "C:\\Cars");
    world_.state = RunState();
  }

  std::optional<ExitStatus> Start(const std::string& commandLine, MainWindow* window) {
    const EntryContext entry{world_.run, ParseInvocation(commandLine), window,
                             [this] {
                               world_.ui.calls.push_back("common controls");
                               return false;
                             },
                             errors_};
    return Main(entry);
  }

  testing::RunWorld world_;
  RecordingWindow window_{world_.ui.calls};
  std::ostringstream errors_;
};

TEST_F(MainTest, ASwitchRunsSilentlyInItsModeWhateverIsStored) {
  world_.settings.Put("PPC_Mobile", "SyncMode", "2");
  EXPECT_EQ(Start(" -mode1 ", &window_), ExitStatus::Success);
  EXPECT_NE(world_.Log().find(">> SUCCESSFUL [brnd_Vehicle] PC Table Replaced PDA Table\r\n"), std::string::npos);
  EXPECT_FALSE(world_.state.InteractiveRun);
  EXPECT_EQ(world_.settings.Stored("PPC_Mobile", "SyncMode"), "2") << "a switch holds for its process only";
  EXPECT_EQ(errors_.str(), "");
}

TEST_F(MainTest, TheStatusIsThatOfTheRun) {
  world_.rapi.Fail("CeCreateFile", 0, 1);
  EXPECT_EQ(Start("-Mode0", nullptr), ExitStatus::TablesFailed);
  world_.database.tables.clear();
  EXPECT_EQ(Start("-Mode0", nullptr), ExitStatus::Stopped);
}

TEST_F(MainTest, TheEntryPreparesThingsInTheirOrder) {
  Start("-Mode0", nullptr);
  EXPECT_EQ(Calls(world_.ui.calls.begin(), world_.ui.calls.begin() + 5),
            (Calls{"common controls", "hourglass", "messages", "hourglass", "messages"}));
  EXPECT_EQ(world_.settings.calls.front(), "get Motorva32/General/DBFileName");
  EXPECT_EQ(world_.state.ModeNames, (std::array<std::string, 3>{"Synchronize", "Overwrite PDA", "Overwrite PC"}));
  EXPECT_EQ(
      world_.state.ModeResultTexts,
      (std::array<std::string, 3>{"Table Synchronized", "PC Table Replaced PDA Table", "PDA Table Replaced PC Table"}));
  EXPECT_EQ(world_.state.settings.DesktopDBPath, "C:\\Cars\\Motorva.db");
}

TEST_F(MainTest, ASilentRunShowsNothing) {
  Start("-Mode0", &window_);
  EXPECT_TRUE(world_.ui.messages.empty());
  EXPECT_TRUE(world_.ui.CallsThatStart("show").empty());
  EXPECT_TRUE(world_.ui.CallsThatStart("status").empty());
}

TEST_F(MainTest, TheDeviceIsTestedOnceMoreAfterASilentRun) {
  Start("-Mode0", nullptr);
  const std::size_t connections = world_.rapi.Count("CeRapiInitEx");
  world_.rapi.calls.clear();
  SilentSync(world_.run);
  EXPECT_EQ(connections, world_.rapi.Count("CeRapiInitEx") + 1);
  EXPECT_FALSE(world_.rapi.Connected());
}

TEST_F(MainTest, ASilentRunWithoutAHandheldEndsWithoutAMessage) {
  world_.rapi.initResult = -1;
  EXPECT_EQ(Start("-Mode0", &window_), ExitStatus::NoHandheld);
  EXPECT_TRUE(world_.ui.messages.empty());
  EXPECT_EQ(world_.rapi.Count("CeRapiInitEx"), 2u);
  EXPECT_TRUE(world_.Log().ends_with(std::string(60, '-') + "\r\n"));
  EXPECT_EQ(errors_.str(), "");
}

TEST_F(MainTest, AnUnknownSwitchOpensTheWindowWithTheStoredMode) {
  world_.settings.Put("PPC_Mobile", "SyncMode", "1");
  EXPECT_EQ(Start("-MODE3", &window_), std::nullopt);
  EXPECT_EQ(world_.state.settings.SyncMode, 1);
  EXPECT_TRUE(world_.state.InteractiveRun);
  EXPECT_FALSE(world_.HasLog());
}

TEST_F(MainTest, StartIsEnabledOnceTheHandheldHasAnswered) {
  EXPECT_EQ(Start("", &window_), std::nullopt);
  EXPECT_EQ(world_.ui.calls,
            (Calls{"common controls", "hourglass", "messages", "show", "messages", "enable start", "pointer"}));
  EXPECT_FALSE(world_.rapi.Connected());
}

TEST_F(MainTest, AHandheldThatDoesNotAnswerIsAskedForUntilItDoes) {
  world_.rapi.initResult = -1;
  world_.ui.answers = {MessageAnswer::Retry, MessageAnswer::Retry, MessageAnswer::Cancel};
  EXPECT_EQ(Start("", &window_), ExitStatus::NoHandheld);
  const testing::RecordingUi::Message message{
      "Please connect your PDA to your PC, turn it on, then click Retry to continue.\r\rClick Cancel to end this "
      "program.",
      "Unable to Communicate with Pocket PC", MessageButtons::RetryCancel, MessageIcon::Information};
  EXPECT_EQ(world_.ui.messages, std::vector<testing::RecordingUi::Message>(3, message));
  EXPECT_EQ(world_.rapi.Count("CeRapiInitEx"), 3u);
  EXPECT_EQ(world_.ui.calls.back(), "unload") << "which saves the settings";
  EXPECT_TRUE(world_.ui.CallsThatStart("enable").empty());
}

TEST_F(MainTest, TheHandheldIsAskedForUnderThePlainPointer) {
  world_.hooks.showHourglass = [this] { world_.ui.calls.push_back("hourglass of the connection"); };
  world_.rapi.initResult = -1;
  world_.ui.answers = {MessageAnswer::Retry};
  Start("", &window_);
  const std::string message = "message: " + world_.ui.messages.at(0).text;
  EXPECT_EQ(world_.ui.calls,
            (Calls{"common controls", "hourglass", "messages", "show", "messages", "hourglass of the connection",
                   "pointer", message, "hourglass of the connection", "pointer", message, "unload"}));
}

TEST_F(MainTest, AHandheldThatAnswersLaterEnablesStart) {
  world_.rapi.initResult = -1;
  struct Connecting : testing::RecordingUi {
    testing::FakeRapi* rapi = nullptr;
    MessageAnswer ShowMessage(const std::string& text, const std::string& title, MessageButtons buttons,
                              MessageIcon icon) override {
      rapi->initResult = 0;
      RecordingUi::ShowMessage(text, title, buttons, icon);
      return MessageAnswer::Retry;
    }
  } ui;
  ui.rapi = &world_.rapi;
  RecordingWindow window(ui.calls);
  const RunContext& usual = world_.run;
  RunContext run{usual.state,
                 usual.log,
                 ui,
                 usual.settings,
                 usual.databases,
                 usual.connection,
                 usual.deviceFiles,
                 usual.createFileTransfer,
                 usual.files,
                 usual.shell,
                 usual.clock,
                 usual.programFolder,
                 usual.version,
                 usual.protectedFiles};
  const EntryContext entry{run, {}, &window, [] { return true; }, errors_};
  EXPECT_EQ(Main(entry), std::nullopt);
  EXPECT_EQ(ui.messages.size(), 1u);
  EXPECT_EQ(ui.CallsThatStart("enable start").size(), 1u);
  EXPECT_EQ(ui.calls.back(), "pointer");
}

TEST_F(MainTest, WithoutWindowAndTerminalAStartSaysWhyAndNamesTheSwitches) {
  const EntryContext entry{world_.run, ParseInvocation(""), nullptr, [] { return true; }, errors_, "no display"};
  EXPECT_EQ(Main(entry), ExitStatus::Stopped);
  EXPECT_EQ(
      errors_.str(),
      "MVPPCSync: no window: no display; and no terminal on standard input, which --terminal needs. Start it with "
      "-Mode0 (Synchronize), -Mode1 (Overwrite PDA) or -Mode2 (Overwrite PC).\n");
  EXPECT_TRUE(world_.rapi.calls.empty());
}

TEST_F(MainTest, ATerminalInThePlaceOfTheWindowSaysWhy) {
  const EntryContext entry{world_.run, ParseInvocation(""), &window_, [] { return true; }, errors_, "no display"};
  EXPECT_EQ(Main(entry), std::nullopt);
  EXPECT_EQ(errors_.str(), "MVPPCSync: no window: no display; here is the terminal instead\n");
}

TEST_F(MainTest, ATerminalThatIsNotThereIsToldAlone) {
  EXPECT_EQ(Start("--terminal", nullptr), ExitStatus::Stopped);
  EXPECT_EQ(errors_.str(),
            "MVPPCSync: --terminal needs a terminal on standard input. Start it with -Mode0 (Synchronize), -Mode1 "
            "(Overwrite PDA) or -Mode2 (Overwrite PC).\n");
}

/// The next step after an error that no log could tell.
const std::string kDoctor = "; \"mvtool doctor\" says what to do\n";

TEST_F(MainTest, ASettingThatIsNoNumberEndsTheProgramWithAnError) {
  world_.settings.Put("PPC_Mobile", "SyncLog", "yes");
  EXPECT_EQ(Start("-Mode0", nullptr), ExitStatus::Stopped);
  EXPECT_EQ(errors_.str(),
            "MVPPCSync: Error: 13 has occurred. Description: Type mismatch: the setting "
            "SyncLog of [PPC_Mobile], \"yes\", is no number from -32768 to 32767" +
                kDoctor);
  EXPECT_TRUE(world_.rapi.calls.empty());
}

TEST_F(MainTest, AnUnwritableLogIsNamedToTheUser) {
  world_.settings.Put("PPC_Mobile", "SyncLogPath", "C:\\none\\SyncLog.txt");
  EXPECT_EQ(Start("-Mode0", nullptr), ExitStatus::Stopped);
  EXPECT_EQ(errors_.str(),
            "MVPPCSync: sync log C:\\none\\SyncLog.txt: Error: 76 has occurred. Description: Path not found" + kDoctor);
  EXPECT_TRUE(world_.database.calls.empty());
}

TEST_F(MainTest, NoExceptionLeavesTheProgram) {
  const EntryContext entry{world_.run, ParseInvocation("-Mode0"), nullptr, []() -> bool { throw std::bad_alloc(); },
                           errors_};
  EXPECT_EQ(Main(entry), ExitStatus::Stopped);
  EXPECT_EQ(errors_.str(), "MVPPCSync: Error: 7 has occurred. Description: Out of memory\n");
}

}  // namespace
}  // namespace mv
