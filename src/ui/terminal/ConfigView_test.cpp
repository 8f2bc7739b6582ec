#include "ui/terminal/ConfigView.h"

#include <gtest/gtest.h>

#include "support/FakeTerminal.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingSettings.h"

namespace mv::terminal {
namespace {

class TerminalConfigViewTest : public ::testing::Test {
 protected:
  TerminalConfigViewTest() {
    settings_.DesktopDBPath = "C:\\Cars\\Motorva.db";
    settings_.PDADBPath = "\\Motorva";
    settings_.SyncLogPath = "C:\\Cars\\SyncLog.txt";
    settings_.SyncLog = 1;
    store_.Put("Handheld", "Root", "/media/card");
  }
  /// The dialog, in which the user types that; false when the program shall end.
  bool Show(const std::string& keys) {
    terminal_.Type(keys);
    Session session(terminal_);
    frmConfig form(settings_, registry_, files_, {&store_, nullptr});
    return ConfigView(form, session).ShowModal();
  }

  mv::testing::FakeTerminal terminal_;
  Settings settings_;
  mv::testing::RecordingSettings store_;
  SettingsRegistryStrings registry_{store_};
  mv::testing::MemoryFileSystem files_;
};

TEST_F(TerminalConfigViewTest, EverySettingHasANumberedLine) {
  EXPECT_TRUE(Show("c"));
  EXPECT_EQ(terminal_.output,
            "  Motorva\u2122 Mobile Edition - Settings\n"
            "Database/File Locations\n"
            "  1  Desktop Edition Database Location: C:\\Cars\\Motorva.db\n"
            "  2  Mobile Edition Location on PDA: \\Motorva\n"
            "  3  Synchronization Log File: C:\\Cars\\SyncLog.txt\n"
            "  4  [x] Logging On\n"
            "  5  [ ] Retain History\n"
            "Handheld\n"
            "  6  Folder in the Handheld's Place: /media/card\n"
            "  7  [ ] Handheld Connects over the Network\n"
            "A change here takes effect at the next start of this program.\n"
            "Process Options\n"
            "  8  (*) Synchronize Databases [Normal Mode] - RECOMMENDED\n"
            "  9  ( ) Desktop (PC) Database Completely Overwrites Mobile (PDA) Database\n"
            "  a  ( ) Mobile (PDA) Database Completely Overwrites Desktop (PC) Database\n"
            "  b  [ ] Auto Run in Silent Mode whenever Active Sync is Launched\n"
            "Use this dialog to setup your sync options. Use care when using any mode other than [Normal Mode] as a "
            "complete database replacement will occur.\n"
            "Sign of a line to change it, [O]K, [C]ancel: Cancel\n");
}

TEST_F(TerminalConfigViewTest, OkTakesWhatWasChanged) {
  EXPECT_TRUE(Show("2\\Storage Card\n5bo"));
  EXPECT_EQ(settings_.PDADBPath, "\\Storage Card");
  EXPECT_EQ(settings_.SyncLogHistory, 1);
  EXPECT_EQ(settings_.AutoStart, 1);
}

TEST_F(TerminalConfigViewTest, CancelTakesNothingButTheMode) {
  EXPECT_TRUE(Show("2x\n5ac"));
  EXPECT_EQ(settings_.PDADBPath, "\\Motorva");
  EXPECT_EQ(settings_.SyncLogHistory, 0);
  EXPECT_EQ(settings_.SyncMode, 2);
}

TEST_F(TerminalConfigViewTest, OnlyTheLinesThatChangeAreShownAgain) {
  EXPECT_TRUE(Show("9c"));
  EXPECT_TRUE(
      terminal_.output.ends_with("Sign of a line to change it, [O]K, [C]ancel: 9\n"
                                 "  8  ( ) Synchronize Databases [Normal Mode] - RECOMMENDED\n"
                                 "  9  (*) Desktop (PC) Database Completely Overwrites Mobile (PDA) Database\n"
                                 "Sign of a line to change it, [O]K, [C]ancel: Cancel\n"))
      << terminal_.output;
}

TEST_F(TerminalConfigViewTest, OkStoresTheWayToTheHandheld) {
  EXPECT_TRUE(Show("6/media/other\no"));
  EXPECT_EQ(store_.Stored("Handheld", "Root"), "/media/other");
  EXPECT_TRUE(Show("7o"));
  EXPECT_EQ(store_.Stored("Handheld", "Connection"), "network");
}

TEST_F(TerminalConfigViewTest, OverTheNetworkTheFolderCannotBeChanged) {
  EXPECT_TRUE(Show("76c"));
  EXPECT_TRUE(terminal_.output.find("  -  Folder in the Handheld's Place: /media/card\n"
                                    "  7  [x] Handheld Connects over the Network\n") != std::string::npos)
      << terminal_.output;
  EXPECT_EQ(store_.Stored("Handheld", "Root"), "/media/card");
}

TEST_F(TerminalConfigViewTest, WithoutLoggingTheLogsLinesCannotBeChanged) {
  EXPECT_TRUE(Show("435o"));
  EXPECT_TRUE(terminal_.output.find("  -  Synchronization Log File: C:\\Cars\\SyncLog.txt\n  4  [ ] Logging On\n"
                                    "  -  [ ] Retain History\n") != std::string::npos)
      << terminal_.output;
  EXPECT_EQ(settings_.SyncLogHistory, 0);
  EXPECT_EQ(settings_.SyncLogPath, "C:\\Cars\\SyncLog.txt");
}

TEST_F(TerminalConfigViewTest, APathIsChangedInPlaceWhereThatCanBeDrawn) {
  terminal_.canDraw = true;
  EXPECT_TRUE(Show("2\x7f\x7fs\ro"));
  EXPECT_EQ(settings_.PDADBPath, "\\Motors");
  EXPECT_EQ(terminal_.linesAsked, 0);
}

TEST_F(TerminalConfigViewTest, EscapeLeavesAPath) {
  terminal_.canDraw = true;
  terminal_.Type("2xyz\x1b");
  terminal_.Happens(platform::Terminal::Event::None);
  EXPECT_TRUE(Show("o"));
  EXPECT_EQ(settings_.PDADBPath, "\\Motorva");
}

TEST_F(TerminalConfigViewTest, WhereNothingCanBeDrawnTheSystemShowsWhatIsTyped) {
  EXPECT_TRUE(Show("2\no"));
  EXPECT_EQ(terminal_.linesAsked, 1);
  EXPECT_EQ(terminal_.input, platform::Terminal::Input::Keys) << "afterwards";
  EXPECT_EQ(settings_.PDADBPath, "\\Motorva") << "an empty line changes nothing";
  EXPECT_TRUE(terminal_.output.find("Mobile Edition Location on PDA [\\Motorva]: ") != std::string::npos);
}

TEST_F(TerminalConfigViewTest, CtrlCClosesTheDialogWithoutOk) {
  EXPECT_FALSE(Show("5"));
  EXPECT_EQ(settings_.SyncLogHistory, 0);
  EXPECT_FALSE(Show("2x"));
  EXPECT_EQ(settings_.PDADBPath, "\\Motorva");
}

}  // namespace
}  // namespace mv::terminal
