#include "ui/frmConfig.h"

#include <gtest/gtest.h>

#include "support/FakeToolkit.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingSettings.h"

namespace mv {
namespace {

using CheckBox = frmConfigView::CheckBox;
using Modes = std::array<bool, 3>;
using Row = std::array<bool, 4>;

class RecordingRegistry : public RegistryStrings {
 public:
  void WriteRegistryString(RegistryRoot, const std::string& keyPath, const std::string& valueName,
                           const std::string& data) override {
    written.push_back(keyPath + "/" + valueName + "=" + data);
  }
  std::vector<std::string> written;
};

/// Writes down which folders it shall create, as they are called.
class RecordingFolders : public testing::MemoryFileSystem {
 public:
  void CreateFolders(const std::string& folder) override {
    created.push_back(folder);
    MemoryFileSystem::CreateFolders(folder);
  }
  std::vector<std::string> created;
};

std::vector<std::string> AutoStartEntry(const std::string& data) {
  return {"Software\\Microsoft\\Windows CE Services\\AutoStartOnConnect/Brindle Software=" + data};
}

class frmConfigTest : public ::testing::Test {
 protected:
  frmConfigTest() {
    files_.Put("C:\\Cars\\Motorva.db", {});
    files_.created.clear();
    settings_.DesktopDBPath = "C:\\Cars\\Motorva.db";
    settings_.PDADBPath = "\\Program Files\\Motorva";
    settings_.PCSyncSourcePath = "D:\\source";
    settings_.PCSyncDestPath = "D:\\dest";
    settings_.SyncLogPath = "C:\\Cars\\SyncLog.txt";
  }

  void Load() { form_.Form_Load(view_); }
  void LoadAndOk() {
    Load();
    form_.cmdOK_Click(view_);
  }

  RecordingFolders files_;
  RecordingRegistry registry_;
  Settings settings_;
  testing::FakeConfigView view_;
  frmConfig form_{settings_, registry_, files_};
};

TEST_F(frmConfigTest, LoadingFillsTheControlsFromTheSettings) {
  settings_.SyncMode = 1;
  settings_.SyncLogHistory = 1;
  Load();
  EXPECT_EQ(view_.modes, (Modes{false, true, false}));
  EXPECT_EQ(view_.modePictures, std::vector<std::size_t>{1});
  EXPECT_EQ(view_.paths,
            (std::array<std::string, 3>{"C:\\Cars\\Motorva.db", "\\Program Files\\Motorva", "C:\\Cars\\SyncLog.txt"}));
  EXPECT_TRUE(view_.Ticked(CheckBox::WriteLog));
  EXPECT_TRUE(view_.Ticked(CheckBox::History));
  EXPECT_FALSE(view_.Ticked(CheckBox::AutoStart));
  EXPECT_TRUE(registry_.written.empty());
}

TEST_F(frmConfigTest, AStoredModeOutsideTheThreeSelectsNoneAndSurvivesOk) {
  for (const std::int16_t mode : {std::int16_t{-1}, std::int16_t{3}}) {
    settings_.SyncMode = mode;
    view_ = testing::FakeConfigView();
    LoadAndOk();
    EXPECT_EQ(view_.modes, Modes{});
    EXPECT_EQ(settings_.SyncMode, mode);
  }
}

TEST_F(frmConfigTest, TheLogRowFollowsItsBoxAlsoRightAfterLoading) {
  settings_.SyncLog = 0;
  Load();
  EXPECT_EQ(view_.enabled, (Row{false, false, false, false}));
  view_.Tick(CheckBox::WriteLog, true);
  form_.chkWriteLog_Click(view_);
  EXPECT_EQ(view_.enabled, (Row{true, true, true, true}));
  view_.Tick(CheckBox::WriteLog, false);
  form_.chkWriteLog_Click(view_);
  EXPECT_EQ(view_.enabled, (Row{false, false, false, false}));
}

TEST_F(frmConfigTest, WithLoggingOnTheLogRowIsEnabledRightAfterLoading) {
  Load();
  EXPECT_EQ(view_.enabled, (Row{true, true, true, true}));
}

TEST_F(frmConfigTest, AModeIsInForceAtOnceAndCancelKeepsIt) {
  Load();
  view_.SelectMode(2);
  form_.optSync_Click(view_, 2);
  EXPECT_EQ(settings_.SyncMode, 2);
  EXPECT_EQ(view_.modePictures.back(), 2u);
  form_.cmdCancel_Click(view_);
  EXPECT_EQ(settings_.SyncMode, 2);
  EXPECT_EQ(view_.unloaded, 1);
}

TEST_F(frmConfigTest, CancelTakesNothingElseOver) {
  const Settings before = settings_;
  Load();
  view_.paths = {"x", "y", "z"};
  view_.ticks = {false, true, true};
  form_.cmdCancel_Click(view_);
  EXPECT_EQ(settings_, before);
  EXPECT_TRUE(registry_.written.empty());
  EXPECT_FALSE(files_.FolderExists("C:\\Cars\\sync"));
}

TEST_F(frmConfigTest, BrowsingForTheDatabaseAsksForAnExistingFile) {
  Load();
  form_.cmdBrowse_Click(view_, 0);
  EXPECT_EQ(view_.questions,
            std::vector<FileQuestion>{
                (FileQuestion{FileQuestion::Kind::Open, "Set Desktop Edition Database Location",
                              "Motorva Database Files(*.db)|*.db|All Files (*.*)|*.*", "", "C:\\Cars\\Motorva.db"})});
}

TEST_F(frmConfigTest, BrowsingForTheLogAsksForAPlaceToSave) {
  Load();
  form_.cmdBrowse_Click(view_, 1);
  EXPECT_EQ(view_.questions, std::vector<FileQuestion>{(FileQuestion{FileQuestion::Kind::Save, "Save Log File As",
                                                                     "Sync Log Files (*.txt,*.log)|*.txt;*.log", ".txt",
                                                                     "C:\\Cars\\SyncLog.txt"})});
}

TEST_F(frmConfigTest, ABrowsedPathIsInForceAtOnceAndCancelKeepsIt) {
  Load();
  view_.chosenFiles = {"E:\\other.db", "E:\\other.log"};
  form_.cmdBrowse_Click(view_, 0);
  EXPECT_EQ(settings_.DesktopDBPath, "E:\\other.db");
  EXPECT_EQ(view_.paths[0], "E:\\other.db");
  form_.cmdBrowse_Click(view_, 1);
  EXPECT_EQ(settings_.SyncLogPath, "E:\\other.log");
  EXPECT_EQ(view_.paths[2], "E:\\other.log");
  form_.cmdCancel_Click(view_);
  EXPECT_EQ(settings_.DesktopDBPath, "E:\\other.db");
  EXPECT_EQ(settings_.SyncLogPath, "E:\\other.log");
  EXPECT_EQ(settings_.PCSyncSourcePath, "D:\\source") << "the work folders follow with OK only";
}

TEST_F(frmConfigTest, ASecondBrowseStartsFromTheBrowsedPathNotFromTheTypedOne) {
  Load();
  view_.chosenFiles = {"E:\\other.db"};
  form_.cmdBrowse_Click(view_, 0);
  view_.paths[0] = "typed";
  form_.cmdBrowse_Click(view_, 0);
  EXPECT_EQ(view_.questions.back().startingFile, "E:\\other.db");
}

TEST_F(frmConfigTest, ACancelledFileDialogChangesNothing) {
  const Settings before = settings_;
  Load();
  view_.paths[0] = "typed";
  form_.cmdBrowse_Click(view_, 0);
  form_.cmdBrowse_Click(view_, 1);
  EXPECT_EQ(settings_, before);
  EXPECT_EQ(view_.paths[0], "typed");
}

TEST_F(frmConfigTest, AnotherBrowseIndexDoesNothing) {
  Load();
  form_.cmdBrowse_Click(view_, 2);
  EXPECT_TRUE(view_.questions.empty());
}

TEST_F(frmConfigTest, ABrowseButtonShowsItsPicturesWhenPressedAndReleased) {
  Load();
  form_.cmdBrowse_Pressed(view_, 1);
  form_.cmdBrowse_Released(view_, 1);
  form_.cmdBrowse_Pressed(view_, 0);
  EXPECT_EQ(view_.browsePictures, (std::vector<std::string>{"1 pressed", "1 released", "0 pressed"}));
}

TEST_F(frmConfigTest, OkTakesTheControlsOver) {
  Load();
  view_.SelectMode(1);
  view_.paths = {"E:\\Data\\Cars.db", "\\Storage Card", "E:\\log.txt"};
  view_.ticks = {false, true, false};
  form_.cmdOK_Click(view_);
  Settings expected;
  expected.DesktopDBPath = "E:\\Data\\Cars.db";
  expected.PDADBPath = "\\Storage Card";
  expected.PCSyncSourcePath = "E:\\Data\\sync\\source";
  expected.PCSyncDestPath = "E:\\Data\\sync\\dest";
  expected.SyncLogPath = "E:\\log.txt";
  expected.SyncMode = 1;
  expected.SyncLogHistory = 1;
  expected.SyncLog = 0;
  EXPECT_EQ(settings_, expected);
  EXPECT_EQ(view_.unloaded, 1);
}

TEST_F(frmConfigTest, OfSeveralSelectedModesTheFirstOneCounts) {
  Load();
  view_.modes = {false, true, true};
  form_.cmdOK_Click(view_);
  EXPECT_EQ(settings_.SyncMode, 1);
}

TEST_F(frmConfigTest, TheDatabasePathIsStoredTrimmedAndTheOthersAsTheyAre) {
  Load();
  view_.paths = {"  C:\\Cars\\Motorva.db ", " \\pda ", " C:\\log "};
  form_.cmdOK_Click(view_);
  EXPECT_EQ(settings_.DesktopDBPath, "C:\\Cars\\Motorva.db");
  EXPECT_EQ(settings_.PCSyncDestPath, "C:\\Cars\\sync\\dest");
  EXPECT_EQ(settings_.PDADBPath, " \\pda ");
  EXPECT_EQ(settings_.SyncLogPath, " C:\\log ");
}

TEST_F(frmConfigTest, ADatabaseWithoutAFolderHasRelativeWorkFolders) {
  Load();
  view_.paths[0] = "Motorva.db";
  form_.cmdOK_Click(view_);
  EXPECT_EQ(settings_.PCSyncSourcePath, "sync\\source");
  EXPECT_EQ(settings_.PCSyncDestPath, "sync\\dest");
  EXPECT_TRUE(files_.FolderExists("\\sync")) << "in the root of the current drive";
  EXPECT_TRUE(files_.FolderExists("sync\\source"));
  EXPECT_FALSE(files_.FolderExists("\\sync\\source"));
  EXPECT_EQ(files_.created, (std::vector<std::string>{"\\sync", "sync\\source", "sync\\dest"}));
}

TEST_F(frmConfigTest, ADatabasePathWithSlashesAloneHasNoFolder) {
  Load();
  view_.paths[0] = "/home/kim/cars/Motorva.db";
  form_.cmdOK_Click(view_);
  EXPECT_EQ(settings_.DesktopDBPath, "/home/kim/cars/Motorva.db");
  EXPECT_EQ(settings_.PCSyncSourcePath, "sync\\source");
  EXPECT_EQ(settings_.PCSyncDestPath, "sync\\dest");
  EXPECT_EQ(files_.created, (std::vector<std::string>{"\\sync", "sync\\source", "sync\\dest"}));
}

TEST_F(frmConfigTest, ASlashBehindTheLastBackslashDoesNotEndTheFolder) {
  Load();
  view_.paths[0] = "C:\\Cars\\old/Motorva.db";
  form_.cmdOK_Click(view_);
  EXPECT_EQ(settings_.PCSyncSourcePath, "C:\\Cars\\sync\\source");
  EXPECT_EQ(settings_.PCSyncDestPath, "C:\\Cars\\sync\\dest");
}

TEST_F(frmConfigTest, OkMakesTheWorkFolders) {
  LoadAndOk();
  EXPECT_TRUE(files_.FolderExists("C:\\Cars\\sync\\source"));
  EXPECT_TRUE(files_.FolderExists("C:\\Cars\\sync\\dest"));
  LoadAndOk();
  EXPECT_EQ(view_.unloaded, 2) << "folders that exist are no error";
}

TEST_F(frmConfigTest, TheSyncFolderOfADatabaseInAFolderLiesThereAndNotInTheRoot) {
  LoadAndOk();
  EXPECT_TRUE(files_.FolderExists("C:\\Cars\\sync"));
  EXPECT_FALSE(files_.FolderExists("\\sync"));
  EXPECT_EQ(files_.created,
            (std::vector<std::string>{"C:\\Cars\\\\sync", "C:\\Cars\\sync\\source", "C:\\Cars\\sync\\dest"}))
      << "a doubled separator is read as one";
}

TEST_F(frmConfigTest, AFolderThatCannotBeMadeDoesNotStopTheOthers) {
  files_.Put("C:\\Cars\\sync\\source", {1});
  LoadAndOk();
  EXPECT_TRUE(files_.FolderExists("C:\\Cars\\sync\\dest"));
  EXPECT_EQ(view_.unloaded, 1);
}

TEST_F(frmConfigTest, AutoStartIsRegisteredWithTheModesSwitchOnEveryOk) {
  settings_.AutoStart = 1;
  settings_.SyncMode = 2;
  LoadAndOk();
  EXPECT_EQ(registry_.written, AutoStartEntry("C:\\Program Files\\Motorva\\MVPPCSync.exe -Mode2"));
  registry_.written.clear();
  view_.SelectMode(0);
  form_.cmdOK_Click(view_);
  EXPECT_EQ(registry_.written, AutoStartEntry("C:\\Program Files\\Motorva\\MVPPCSync.exe -Mode0"));
}

TEST_F(frmConfigTest, AutoStartTurnedOffLeavesAnEmptyEntry) {
  settings_.AutoStart = 1;
  Load();
  view_.Tick(CheckBox::AutoStart, false);
  form_.cmdOK_Click(view_);
  EXPECT_EQ(registry_.written, AutoStartEntry(""));
  EXPECT_EQ(settings_.AutoStart, 0);
}

TEST_F(frmConfigTest, AutoStartThatIsOffIsUnregisteredOnEveryOk) {
  LoadAndOk();
  EXPECT_EQ(registry_.written, AutoStartEntry(""));
}

TEST_F(frmConfigTest, ADisabledLogRowIsTakenOverAllTheSame) {
  Load();
  view_.Tick(CheckBox::WriteLog, false);
  form_.chkWriteLog_Click(view_);
  view_.paths[2] = "C:\\other.txt";
  view_.Tick(CheckBox::History, true);
  form_.cmdOK_Click(view_);
  EXPECT_EQ(settings_.SyncLogPath, "C:\\other.txt");
  EXPECT_EQ(settings_.SyncLog, 0);
  EXPECT_EQ(settings_.SyncLogHistory, 1);
}

/// A dialog of an edition that shows the section for the handheld.
class HandheldConfigView : public testing::FakeConfigView, public HandheldSectionView {
 public:
  HandheldSectionView* HandheldSection() override { return this; }
  void SetFolder(const std::string& text) override { folder = text; }
  std::string Folder() const override { return folder; }
  void TickNetwork(bool ticked) override { network = ticked; }
  bool NetworkTicked() const override { return network; }
  void EnableFolder(bool on) override { folderEnabled = on; }
  std::optional<std::string> AskFolder(const std::string& title, const std::string& startingFolder) override {
    asked.push_back(title + " from " + startingFolder);
    return chosen;
  }

  std::string folder;
  bool network = false;
  bool folderEnabled = false;
  std::vector<std::string> asked;
  std::optional<std::string> chosen;
};

class HandheldSectionTest : public ::testing::Test {
 protected:
  void Store(const char* key, const char* text) { store_.Put("Handheld", key, text); }
  HandheldPlace Stored() { return LoadHandheldPlace(store_); }

  testing::RecordingSettings store_;
  RecordingFolders files_;
  RecordingRegistry registry_;
  Settings settings_;
  HandheldConfigView view_;
  frmConfig form_{settings_, registry_, files_, {&store_, nullptr}};
};

TEST_F(HandheldSectionTest, ShowsWhatIsStored) {
  Store("Root", "/home/kim/handheld");
  form_.Form_Load(view_);
  EXPECT_EQ(view_.folder, "/home/kim/handheld");
  EXPECT_FALSE(view_.network);
  EXPECT_TRUE(view_.folderEnabled);
}

TEST_F(HandheldSectionTest, TheNetworkNeedsNoFolder) {
  Store("Connection", "network");
  form_.Form_Load(view_);
  EXPECT_TRUE(view_.network);
  EXPECT_FALSE(view_.folderEnabled);
  view_.network = false;
  form_.chkNetwork_Click(view_);
  EXPECT_TRUE(view_.folderEnabled);
}

TEST_F(HandheldSectionTest, OkStoresTheChoiceAndCancelDoesNot) {
  form_.Form_Load(view_);
  view_.folder = "/home/kim/handheld";
  view_.network = true;
  form_.cmdCancel_Click(view_);
  EXPECT_EQ(Stored(), HandheldPlace());
  form_.cmdOK_Click(view_);
  EXPECT_EQ(Stored(), (HandheldPlace{"/home/kim/handheld", true}));
}

TEST_F(HandheldSectionTest, ABrowsedFolderIsShownAndStoredWithOkOnly) {
  Store("Root", "/old");
  form_.Form_Load(view_);
  form_.cmdBrowseHandheld_Click(view_);
  EXPECT_EQ(view_.folder, "/old");
  view_.chosen = "/new";
  form_.cmdBrowseHandheld_Click(view_);
  EXPECT_EQ(view_.asked.back(), "Browse to Set Handheld Folder from /old");
  EXPECT_EQ(view_.folder, "/new");
  EXPECT_EQ(Stored().root, "/old");
  form_.cmdOK_Click(view_);
  EXPECT_EQ(Stored().root, "/new");
}

TEST_F(HandheldSectionTest, AViewWithoutTheSectionChangesNothingOfIt) {
  Store("Root", "/old");
  testing::FakeConfigView plain;
  form_.Form_Load(plain);
  form_.cmdOK_Click(plain);
  EXPECT_EQ(Stored().root, "/old");
}

class RecordingService : public AutoStartService {
 public:
  std::string SwitchOn() override {
    calls.push_back("on");
    return "runs start by themselves";
  }
  std::string SwitchOff() override {
    calls.push_back("off");
    return "";
  }
  std::vector<std::string> calls;
};

TEST_F(frmConfigTest, AServiceThatStartsRunsIsSwitchedInsteadOfTheRegistration) {
  RecordingService service;
  frmConfig form(settings_, registry_, files_, {nullptr, &service});
  form.Form_Load(view_);
  view_.Tick(CheckBox::AutoStart, true);
  form.cmdCancel_Click(view_);
  EXPECT_TRUE(service.calls.empty());
  form.cmdOK_Click(view_);
  EXPECT_EQ(form.Notice(), "runs start by themselves");
  view_.Tick(CheckBox::AutoStart, false);
  form.cmdOK_Click(view_);
  EXPECT_EQ(form.Notice(), "");
  EXPECT_EQ(service.calls, (std::vector<std::string>{"on", "off"}));
  EXPECT_TRUE(registry_.written.empty());
}

}  // namespace
}  // namespace mv
