#include <gtest/gtest.h>

#include <sstream>

#include "base/Utf.h"
#include "config/IniSettingsStore.h"
#include "mvtool/commands/Command.h"
#include "mvtool/demo/DemoFolder.h"
#include "mvtool/demo/SampleDatabase.h"
#include "platform/System.h"
#include "support/FakeClock.h"
#include "support/MemoryFileSystem.h"

namespace mv::tool {
namespace {

/// A user with a card that has tables, a program with its template, and a settings file of his own.
class SetupCommandTest : public ::testing::Test {
 protected:
  SetupCommandTest() {
    files_.CreateFolders(platform::TemporaryFolder());
    LayOutDemo(files_, "D:\\demo", DemoPlan::Varied());
    files_.CreateFolders("C:\\Motorva");
    files_.CreateFolders("C:\\Cars");
    MakeSampleDatabase(files_, "C:\\Motorva\\_20")->Commit();
  }

  int Run(const std::vector<std::string>& words, const std::string& input = {}) {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    ToolContext context{in, out, err, files_, clock_};
    context.openSettings = [this] { return std::make_unique<IniSettingsStore>(files_, config_); };
    context.programFolder = "C:\\Motorva";
    const int status = RunTool(words, context);
    out_ = out.str();
    err_ = err.str();
    return status;
  }
  std::optional<std::string> Stored(const std::string& section, const std::string& key) {
    return IniSettingsStore(files_, config_).GetSetting("Motorva32", section, key);
  }
  void PutSettings(const std::string& text) {
    files_.Put("C:\\config\\Motorva32.ini", Bytes(text.begin(), text.end()));
  }
  bool Says(const std::string& text) const { return out_.find(text) != std::string::npos; }

  testing::MemoryFileSystem files_;
  testing::FakeClock clock_;
  std::string config_ = "C:\\config";
  std::string out_;
  std::string err_;
};

TEST_F(SetupCommandTest, AnAskedUserGetsSettingsADatabaseAndAFirstRunThatFillsIt) {
  EXPECT_EQ(Run({"setup"}, "C:\\Cars\n\nD:\\demo\\handheld\n\ny\n"), 1) << err_ << out_;
  EXPECT_EQ(Stored("PPC_Mobile", "DesktopDBPath"), "C:/Cars/Motorva.db");
  EXPECT_EQ(Stored("PPC_Mobile", "PCSyncDestPath"), "C:/Cars/sync/dest");
  EXPECT_EQ(Stored("PPC_Mobile", "SyncLogPath"), "C:/Cars/SyncLog.txt");
  EXPECT_EQ(Stored("Handheld", "Connection"), "folder");
  EXPECT_EQ(Stored("Handheld", "Root"), "D:/demo/handheld");
  EXPECT_EQ(files_.Content("C:\\Cars\\Motorva.db"), files_.Content("C:\\Motorva\\_20"));
  EXPECT_TRUE(Says("MVPPCSync -Mode2"));
  EXPECT_FALSE(Says("MVPPCSync -Mode0")) << "a Synchronize would empty the handheld";
  EXPECT_TRUE(Says("0 failures")) << "doctor's answer";
}

TEST_F(SetupCommandTest, ADatabaseWithRowsIsKeptAndSynchronizedFirst) {
  const Bytes before = files_.Content("D:\\demo\\Motorva.db");
  EXPECT_EQ(Run({"setup", "--database", "D:\\demo\\Motorva.db", "--handheld", "folder", "--root", "D:\\demo\\handheld",
                 "--yes"}),
            kSucceeded)
      << err_ << out_;
  EXPECT_EQ(files_.Content("D:\\demo\\Motorva.db"), before);
  EXPECT_TRUE(Says("MVPPCSync -Mode0"));
  EXPECT_FALSE(Says("-Mode2"));
}

TEST_F(SetupCommandTest, WhatElseTheSettingsHoldStays) {
  const std::string text = "# mine\r\n[Handheld]\r\nWait=9\r\n";
  files_.Put("C:\\config\\Motorva32.ini", Bytes(text.begin(), text.end()));
  Run({"setup", "--database", "D:\\demo", "--root", "D:\\demo\\handheld", "--yes"});
  const Bytes content = files_.Content("C:\\config\\Motorva32.ini");
  EXPECT_TRUE(std::string(content.begin(), content.end()).starts_with("# mine\r\n[Handheld]\r\nWait=9\r\n"));
  EXPECT_EQ(Stored("Handheld", "Root"), "D:/demo/handheld");
}

TEST_F(SetupCommandTest, TablesInAnotherFolderOfTheCardAreFound) {
  files_.Put("E:\\My\\Tables\\BRND_FUEL.PDB",
             files_.Content("D:\\demo\\handheld\\Program Files\\Motorva\\brnd_Fuel.pdb"));
  Run({"setup", "--database", "D:\\demo", "--root", "E:", "--yes"});
  EXPECT_EQ(Stored("PPC_Mobile", "PDADBPath"), "\\My\\Tables");
}

TEST_F(SetupCommandTest, WhoSaysNoOrStopsAnsweringChangesNothing) {
  EXPECT_EQ(Run({"setup"}, "C:\\Cars\n\nD:\\demo\\handheld\n\nn\n"), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: nothing was written\n");
  EXPECT_EQ(Run({"setup"}, "C:\\Cars\n"), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: an answer is missing; nothing was written\n");
  EXPECT_FALSE(files_.FileExists("C:\\Cars\\Motorva.db"));
  EXPECT_FALSE(files_.FileExists("C:\\config\\Motorva32.ini"));
}

TEST_F(SetupCommandTest, WhatIsNeededAndNotGivenIsNotUnderstood) {
  EXPECT_EQ(Run({"setup", "--yes"}), kNotUnderstood);
  EXPECT_NE(err_.find("--database"), std::string::npos);
  EXPECT_EQ(Run({"setup", "--yes", "--database", "C:\\Cars"}), kNotUnderstood);
  EXPECT_NE(err_.find("--root"), std::string::npos);
  EXPECT_EQ(Run({"setup", "--yes", "--database", "C:\\Cars", "--handheld", "cable"}), kNotUnderstood);
  EXPECT_EQ(Run({"setup", "--yes", "--database", "C:\\Cars", "--handheld", "library"}), kNotUnderstood);
}

TEST_F(SetupCommandTest, AWrongAnswerIsAskedForAgain) {
  EXPECT_EQ(Run({"setup"}, "\nC:\\Cars\ncable\nlibrary\nFolder\n\nD:\\demo\\handheld\n\nwhat\ny\n"), 1) << err_ << out_;
  EXPECT_TRUE(Says("Desktop database, a file or its folder:   the database is missing.\nDesktop database")) << out_;
  EXPECT_TRUE(Says("the handheld is reached by folder, library or network, not by \"cable\".\n")) << out_;
  EXPECT_TRUE(Says("this system has no handheld library.\n")) << out_;
  EXPECT_TRUE(Says("the handheld's folder is missing.\n")) << out_;
  EXPECT_EQ(Stored("Handheld", "Connection"), "folder");
  EXPECT_EQ(Stored("Handheld", "Root"), "D:/demo/handheld");
}

TEST_F(SetupCommandTest, APathMayStandInQuotes) {
  EXPECT_EQ(Run({"setup"}, "\"C:\\Cars\\My Cars.db\"\n\n\"D:\\demo\\handheld\"\n\ny\n"), 1) << err_ << out_;
  EXPECT_EQ(Stored("PPC_Mobile", "DesktopDBPath"), "C:/Cars/My Cars.db");
  EXPECT_EQ(Stored("Handheld", "Root"), "D:/demo/handheld");
}

TEST_F(SetupCommandTest, ADatabaseWithoutAnEndingIsAFolderToBeMade) {
  for (const char* folder : {"C:\\New", "C:\\New\\", "C:/My.Cars/"}) {
    Run({"setup", "--database", folder, "--root", "D:\\demo\\handheld", "--yes"});
    EXPECT_TRUE(Stored("PPC_Mobile", "DesktopDBPath")->ends_with("/Motorva.db")) << folder;
  }
  files_.Put("C:\\Plain", files_.Content("D:\\demo\\Motorva.db"));
  Run({"setup", "--database", "C:\\Plain", "--root", "D:\\demo\\handheld", "--yes"});
  EXPECT_EQ(Stored("PPC_Mobile", "DesktopDBPath"), "C:/Plain");
}

TEST_F(SetupCommandTest, ADatabaseThatCannotBeMadeIsNamed) {
  files_.Put("C:\\file", {1});
  EXPECT_EQ(Run({"setup", "--database", "C:\\file\\Motorva.db", "--root", "D:\\demo\\handheld", "--yes"}),
            kOperationFailed);
  EXPECT_TRUE(err_.starts_with("mvtool: \"C:/file/Motorva.db\" cannot be made: ")) << err_;
  EXPECT_FALSE(files_.FileExists("C:\\config\\Motorva32.ini"));
}

// --- setup for the network: no handheld calls in tests, which is doctor's failure, status 2
// ---------------------------

constexpr const char* kNoHandheldCalls = "[Handheld]\nControlPortA=0\nControlPortB=0\nWakeUpPortB=0\nWait=1\n";

TEST_F(SetupCommandTest, DefaultsOfTheNetworkAreShownAndNotStored) {
  PutSettings(kNoHandheldCalls);
  EXPECT_EQ(Run({"setup"}, "D:\\demo\nnetwork\n\n\n\n\ny\n"), 2) << err_ << out_;
  EXPECT_TRUE(Says("Addresses of this PC at which it may call [127.0.0.1 192.168.131.102 169.254.2.2]: ")) << out_;
  EXPECT_TRUE(Says("File with the handheld's password [none]: ")) << out_;
  EXPECT_TRUE(Says("Seconds that the handheld has to answer [1]: ")) << out_;
  EXPECT_EQ(Stored("Handheld", "Connection"), "network");
  EXPECT_EQ(Stored("Handheld", "Listen"), std::nullopt);
  EXPECT_EQ(Stored("Handheld", "PasswordFile"), std::nullopt);
  EXPECT_EQ(Stored("Handheld", "Wait"), "1");
}

TEST_F(SetupCommandTest, AnswersForTheNetworkAreStoredOnceTheyMakeSense) {
  PutSettings(kNoHandheldCalls);
  EXPECT_EQ(Run({"setup"}, "D:\\demo\nnetwork\nlocalhost\n127.0.0.1/8, 10.1.2.3\n/no/such/file\n\n0\n2\n\ny\n"), 2)
      << err_ << out_;
  EXPECT_TRUE(Says("holds \"localhost\", which is not an address such as")) << out_;
  EXPECT_TRUE(Says("there is no file \"")) << out_;
  EXPECT_TRUE(Says("\"0\", is no whole number from 1 to 3600")) << out_;
  EXPECT_TRUE(Says("network, Listen 127.0.0.1/8, 10.1.2.3, Wait 2\n")) << out_;
  EXPECT_EQ(Stored("Handheld", "Listen"), "127.0.0.1/8, 10.1.2.3");
  EXPECT_EQ(Stored("Handheld", "PasswordFile"), std::nullopt);
  EXPECT_EQ(Stored("Handheld", "Wait"), "2");
  EXPECT_TRUE(Says("failure  handheld: ")) << out_;
}

TEST_F(SetupCommandTest, OptionsForTheNetworkAreCheckedBeforeAnythingIsWritten) {
  for (const auto& [option, value] : std::vector<std::pair<std::string, std::string>>{
           {"--listen", "1.2.3"}, {"--password-file", "/no/such/file"}, {"--wait", "soon"}}) {
    EXPECT_EQ(Run({"setup", "--database", "C:\\Cars", "--handheld", "network", option, value, "--yes"}),
              kNotUnderstood);
    EXPECT_TRUE(err_.starts_with("mvtool: " + option + ": the setting ")) << err_;
  }
  EXPECT_FALSE(files_.FileExists("C:\\config\\Motorva32.ini"));
  EXPECT_FALSE(files_.FileExists("C:\\Cars\\Motorva.db"));
}

TEST_F(SetupCommandTest, NoneTakesAPasswordFileAway) {
  PutSettings(std::string(kNoHandheldCalls) + "PasswordFile=/gone\n");
  EXPECT_EQ(Run({"setup", "--database", "D:\\demo", "--handheld", "network", "--password-file", "none", "--yes"}), 2)
      << err_ << out_;
  EXPECT_EQ(Stored("Handheld", "PasswordFile"), "");
  EXPECT_TRUE(Says("network, PasswordFile none\n")) << out_;
}

TEST_F(SetupCommandTest, AFileThatIsNoDatabaseIsLeftAloneAndNoSettingIsWritten) {
  files_.Put("C:\\Cars\\Motorva.db", {1, 2, 3});
  EXPECT_EQ(Run({"setup", "--database", "C:\\Cars", "--root", "D:\\demo\\handheld", "--yes"}), kOperationFailed);
  EXPECT_EQ(files_.Content("C:\\Cars\\Motorva.db"), (Bytes{1, 2, 3}));
  EXPECT_FALSE(files_.FileExists("C:\\config\\Motorva32.ini"));
}

TEST_F(SetupCommandTest, WithoutATemplateAMissingDatabaseCannotBeMade) {
  files_.RemoveFile("C:\\Motorva\\_20");
  EXPECT_EQ(Run({"setup", "--database", "C:\\Cars", "--root", "D:\\demo\\handheld", "--yes"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: there is no \"C:/Cars/Motorva.db\", and no template \"C:\\Motorva\\_20\" to make it of\n");
}

// --- demo -----------------------------------------------------------------------------------------------------------

TEST_F(SetupCommandTest, ADemoForARegistryHasAFileToImport) {
  class RegistryLike : public IniSettingsStore {
   public:
    using IniSettingsStore::IniSettingsStore;
    std::string PlaceOf(const std::string&) const override { return "HKEY_CURRENT_USER\\Settings\\Motorva32"; }
  };
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream err;
  ToolContext context{in, out, err, files_, clock_};
  context.openSettings = [this] { return std::make_unique<RegistryLike>(files_, config_); };
  ASSERT_EQ(RunTool(std::vector<std::string>{"demo", "D:\\two"}, context), kSucceeded) << err.str();
  EXPECT_NE(out.str().find("reg import \"D:/two/settings.reg\""), std::string::npos) << out.str();
  const Bytes content = files_.Content("D:\\two\\settings.reg");
  EXPECT_EQ(Bytes(content.begin(), content.begin() + 4), (Bytes{0xFF, 0xFE, 'W', 0}));
  const std::string text = Utf8FromUtf16(ByteView(content).subspan(2));
  EXPECT_NE(text.find("\r\n[HKEY_CURRENT_USER\\Settings\\Motorva32\\PPC_Mobile]\r\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\"PDADBPath\"=\"\\\\Program Files\\\\Motorva\"\r\n"), std::string::npos) << text;
}

// --- doctor ---------------------------------------------------------------------------------------------------------

TEST_F(SetupCommandTest, DoctorOfAWholeSetupEndsWith0AndChangesNothing) {
  config_ = "D:\\demo\\config";
  const Bytes database = files_.Content("D:\\demo\\Motorva.db");
  EXPECT_EQ(Run({"doctor"}), 0) << out_;
  EXPECT_TRUE(Says("Synchronize would go well"));
  EXPECT_TRUE(Says("0 failures, 0 warnings\n"));
  EXPECT_EQ(files_.Content("D:\\demo\\Motorva.db"), database);
  EXPECT_FALSE(files_.FileExists("D:\\demo\\SyncLog.txt"));
  EXPECT_TRUE(files_.List(platform::TemporaryFolder()).empty());
}

TEST_F(SetupCommandTest, DoctorEndsWith1ForWarningsAnd2ForFailures) {
  config_ = "D:\\demo\\config";
  files_.RemoveFile("C:\\Motorva\\_20");
  EXPECT_EQ(Run({"doctor"}), 1) << out_;
  files_.RemoveFile("D:\\demo\\Motorva.db");
  EXPECT_EQ(Run({"doctor"}), 2) << out_;
  EXPECT_EQ(Run({"doctor", "--frob"}), kNotUnderstood);
}

TEST_F(SetupCommandTest, DoctorStopsAtSettingsThatNoRunWouldStartWith) {
  const std::string text = "[PPC_Mobile]\nSyncLog=yes\n";
  files_.Put("C:\\config\\Motorva32.ini", Bytes(text.begin(), text.end()));
  EXPECT_EQ(Run({"doctor"}), 2);
  EXPECT_TRUE(Says("the setting SyncLog of [PPC_Mobile], \"yes\", is no number")) << out_;
}

TEST_F(SetupCommandTest, DoctorTellsAProgram) {
  config_ = "D:\\demo\\config";
  EXPECT_EQ(Run({"doctor", "--json"}), 0);
  EXPECT_TRUE(out_.starts_with("{\"level\":\"ok\",\"subject\":\"settings\"")) << out_.substr(0, 80);
  EXPECT_TRUE(out_.ends_with("{\"warnings\":0,\"failures\":0}\n"));
}

}  // namespace
}  // namespace mv::tool
