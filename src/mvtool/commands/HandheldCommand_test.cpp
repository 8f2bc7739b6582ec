#include <gtest/gtest.h>

#include <sstream>

#include "mvtool/commands/Command.h"
#include "mvtool/commands/HandheldSession.h"
#include "support/FakeClock.h"
#include "support/FakeRapi.h"
#include "support/MemoryFileSystem.h"
#include "support/RecordingSettings.h"

namespace mv::tool {
namespace {

/// The handheld is the folder D:\card, unless a test takes it away.
class HandheldCommandTest : public ::testing::Test {
 protected:
  HandheldCommandTest() {
    settings_.Put("Handheld", "Root", "D:\\card");
    files_.Put("D:\\card\\Program Files\\Motorva\\a.pdb", {1, 2, 3});
    files_.Put("D:\\card\\Program Files\\Motorva\\empty.pdb", {});
    files_.Put("D:\\card\\Program Files\\Motorva\\sub\\deep.txt", {4});
    files_.Put("new.pdb", {9, 9});
  }

  int Run(const std::vector<std::string>& words) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream err;
    ToolContext context{in, out, err, files_, clock_};
    context.openSettings = [this] { return std::make_unique<testing::RecordingSettings>(settings_); };
    context.programFolder = "C:\\Motorva";
    const int status = RunTool(words, context);
    out_ = out.str();
    err_ = err.str();
    return status;
  }
  int Handheld(std::vector<std::string> words) {
    words.insert(words.begin(), "handheld");
    return Run(words);
  }

  testing::RecordingSettings settings_;
  testing::MemoryFileSystem files_;
  testing::FakeClock clock_;
  std::string out_;
  std::string err_;
};

TEST_F(HandheldCommandTest, InfoTellsTheWayAndWhatIsKnown) {
  EXPECT_EQ(Handheld({"info"}), kSucceeded) << err_;
  EXPECT_EQ(out_, "Reached:  folder\nAddress:  D:\\card\n");
}

TEST_F(HandheldCommandTest, HandheldThatDoesNotAnswerIsSaid) {
  settings_.Put("Handheld", "Root", "D:\\none");
  EXPECT_EQ(Handheld({"ls"}), kOperationFailed);
  EXPECT_EQ(
      err_,
      "mvtool: the handheld does not answer\n  \"D:\\none\", the Root of [Handheld], is no folder: put the card in and "
      "mount it, or correct Root\n");
}

TEST_F(HandheldCommandTest, MistypedSettingIsNamed) {
  settings_.Put("Handheld", "Connection", "foldre");
  EXPECT_EQ(Handheld({"ls"}), kOperationFailed);
  EXPECT_EQ(err_,
            "mvtool: the setting Connection of [Handheld], \"foldre\", is none of \"folder\", \"library\" and "
            "\"network\"\n");
}

TEST_F(HandheldCommandTest, LsListsAFolderAndAFile) {
  EXPECT_EQ(Handheld({"ls"}), kSucceeded) << err_;
  EXPECT_NE(out_.find("Program Files\\\n"), std::string::npos) << out_;
  EXPECT_EQ(Handheld({"ls", "\\program files\\motorva\\", "--json"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "{\"name\":\"a.pdb\",\"folder\":false,\"bytes\":3,\"written\":null,\"attributes\":32}\n"
            "{\"name\":\"empty.pdb\",\"folder\":false,\"bytes\":0,\"written\":null,\"attributes\":32}\n"
            "{\"name\":\"sub\",\"folder\":true,\"bytes\":null,\"written\":null,\"attributes\":16}\n");
  EXPECT_EQ(Handheld({"ls", "/Program Files/Motorva/A.PDB"}), kSucceeded) << err_;
  EXPECT_EQ(out_, std::string(29, ' ') + "3" + "  a.pdb\n");
  EXPECT_EQ(Handheld({"ls", "\\Program Files\\Motorva\\*.txt"}), kSucceeded) << "a pattern may fit nothing";
  EXPECT_EQ(out_, "");
  EXPECT_EQ(Handheld({"ls", "\\None"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"\\None\" on the handheld: there is nothing of that name\n");
}

TEST_F(HandheldCommandTest, GetCopiesAFileAndAnEmptyOneToo) {
  EXPECT_EQ(Handheld({"get", "\\Program Files\\Motorva\\a.pdb", "copy"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("copy"), (Bytes{1, 2, 3}));
  EXPECT_EQ(out_, "3 bytes\n");
  EXPECT_EQ(Handheld({"get", "\\Program Files\\Motorva\\empty.pdb", "none"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("none"), Bytes());
}

TEST_F(HandheldCommandTest, GetReplacesNothingUnlessForced) {
  files_.Put("copy", {7});
  EXPECT_EQ(Handheld({"get", "\\Program Files\\Motorva\\a.pdb", "copy"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"copy\" exists; --force replaces it\n");
  EXPECT_EQ(Handheld({"get", "\\Program Files\\Motorva\\a.pdb", "copy", "--force"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("copy"), (Bytes{1, 2, 3}));
}

TEST_F(HandheldCommandTest, GetTellsTheCodeInWords) {
  EXPECT_EQ(Handheld({"get", "\\none.pdb", "copy"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: \"\\none.pdb\" on the handheld: it is missing, in use, or cannot be read (code 1)\n");
  EXPECT_FALSE(files_.FileExists("copy"));
}

TEST_F(HandheldCommandTest, PutCopiesAFileAndReplacesNoneUnlessForced) {
  EXPECT_EQ(Handheld({"put", "new.pdb", "\\Program Files\\Motorva\\b.pdb"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("D:\\card\\Program Files\\Motorva\\b.pdb"), (Bytes{9, 9}));
  EXPECT_EQ(Handheld({"put", "new.pdb", "\\Program Files\\Motorva\\a.pdb"}), kOperationFailed);
  EXPECT_EQ(err_,
            "mvtool: \"\\Program Files\\Motorva\\a.pdb\" on the handheld: it exists; --force replaces it (code 4)\n");
  EXPECT_EQ(files_.Content("D:\\card\\Program Files\\Motorva\\a.pdb"), (Bytes{1, 2, 3}));
  EXPECT_EQ(Handheld({"put", "--force", "new.pdb", "\\Program Files\\Motorva\\a.pdb"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("D:\\card\\Program Files\\Motorva\\a.pdb"), (Bytes{9, 9}));
}

TEST_F(HandheldCommandTest, PutTellsWhatIsWrong) {
  files_.Put("empty", {});
  EXPECT_EQ(Handheld({"put", "empty", "\\Program Files\\Motorva\\a.pdb", "--force"}), kOperationFailed);
  EXPECT_NE(err_.find("the file to send is empty (code 2)"), std::string::npos) << err_;
  EXPECT_EQ(files_.Content("D:\\card\\Program Files\\Motorva\\a.pdb"), (Bytes{1, 2, 3}));
  EXPECT_EQ(Handheld({"put", "new.pdb", "\\None\\b.pdb"}), kOperationFailed);
  EXPECT_NE(err_.find("its folder is missing, or it is in use or read-only (code 7)"), std::string::npos) << err_;
  EXPECT_EQ(Handheld({"put", "none", "\\b.pdb"}), kOperationFailed);
}

TEST_F(HandheldCommandTest, BackupTakesTheTablesFolderWithAllBelowIt) {
  EXPECT_EQ(Handheld({"backup", "D:\\backup"}), kSucceeded) << err_;
  EXPECT_EQ(out_,
            "\\Program Files\\Motorva\\a.pdb  3 bytes\n\\Program Files\\Motorva\\empty.pdb  0 bytes\n"
            "\\Program Files\\Motorva\\sub\\deep.txt  1 bytes\n3 files, 4 bytes\n");
  EXPECT_EQ(files_.Content("D:\\backup\\a.pdb"), (Bytes{1, 2, 3}));
  EXPECT_EQ(files_.Content("D:\\backup\\empty.pdb"), Bytes());
  EXPECT_EQ(files_.Content("D:\\backup\\sub\\deep.txt"), Bytes{4});
  EXPECT_EQ(Handheld({"backup", "D:\\other", "\\Program Files\\Motorva\\sub\\"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("D:\\other\\deep.txt"), Bytes{4});
}

TEST_F(HandheldCommandTest, BackupGoesIntoAnEmptyFolderUnlessForced) {
  files_.Put("D:\\backup\\a.pdb", {7});
  EXPECT_EQ(Handheld({"backup", "D:\\backup"}), kOperationFailed);
  EXPECT_EQ(files_.Content("D:\\backup\\a.pdb"), Bytes{7});
  EXPECT_EQ(Handheld({"backup", "D:\\backup", "--force"}), kSucceeded) << err_;
  EXPECT_EQ(files_.Content("D:\\backup\\a.pdb"), (Bytes{1, 2, 3}));
}

TEST_F(HandheldCommandTest, BackupOfOneFileThatCannotBeReadTakesTheOthers) {
  const auto held = files_.Open("D:\\card\\Program Files\\Motorva\\a.pdb", platform::Access::Read,
                                platform::Disposition::OpenExisting, platform::Sharing::None);
  EXPECT_EQ(Handheld({"backup", "D:\\backup"}), kOperationFailed);
  EXPECT_NE(err_.find("not copied: \"\\Program Files\\Motorva\\a.pdb\""), std::string::npos) << err_;
  EXPECT_NE(err_.find("mvtool: 1 could not be copied\n"), std::string::npos) << err_;
  EXPECT_FALSE(files_.FileExists("D:\\backup\\a.pdb"));
  EXPECT_EQ(files_.Content("D:\\backup\\sub\\deep.txt"), Bytes{4});
}

/// A handheld that tells what no file is called.
class LyingRapi : public testing::FakeRapi {
 public:
  std::int32_t CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) override {
    entries.clear();
    entries.push_back({"..\\..\\evil.txt", rapi::kFileAttributeArchive, 1, 0});
    entries.push_back({"..", rapi::kFileAttributeDirectory, 0, 0});
    entries.push_back({"C:evil", rapi::kFileAttributeArchive, 1, 0});
    Put(pattern.substr(0, pattern.size() - 1) + "..\\..\\evil.txt", {6});
    Put(pattern.substr(0, pattern.size() - 1) + "C:evil", {6});
    return 1;
  }
};

TEST_F(HandheldCommandTest, BackupBelievesNoNameAndNoDepth) {
  settings_.Put("Handheld", "Root", "");
  files_.CreateFolders("D:\\backup");
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream err;
  ToolContext context{in, out, err, files_, clock_};
  context.openSettings = [this] { return std::make_unique<testing::RecordingSettings>(settings_); };
  context.makeRapi = [] { return std::make_unique<LyingRapi>(); };
  EXPECT_EQ(RunTool(std::vector<std::string>{"handheld", "backup", "D:\\backup\\here"}, context), kOperationFailed);
  EXPECT_EQ(files_.List("D:\\backup").size(), 1U);
  EXPECT_FALSE(files_.FileExists("D:\\evil.txt"));
  EXPECT_EQ(files_.Content("D:\\backup\\here\\..%5C..%5Cevil.txt"), Bytes{6});
  EXPECT_EQ(files_.Content("D:\\backup\\here\\%2E%2E\\C%3Aevil"), Bytes{6});
  EXPECT_NE(err.str().find("it lies too deep"), std::string::npos);
}

TEST_F(HandheldCommandTest, WhatIsShownSteersNoTerminal) {
  EXPECT_EQ(Printable("a\x1B[2Jb\n\x7F\xC2\x9Bz\xC3\xA4"), "a?[2Jb???z\xC3\xA4");
}

TEST_F(HandheldCommandTest, WordsThatMakeNoSenseAreMisuse) {
  for (const std::vector<std::string>& words : {std::vector<std::string>{},
                                                {"format"},
                                                {"get", "a"},
                                                {"put", "a"},
                                                {"info", "a"},
                                                {"ls", "a", "b"},
                                                {"backup"}}) {
    EXPECT_EQ(Handheld(words), kNotUnderstood);
  }
  for (const char* option : {"--family=C", "--version=3", "--port=x", "--port=70000", "--desktop=here", "--address=x"})
    EXPECT_EQ(Handheld({"simulate", "D:\\card", option}), kNotUnderstood) << option;
}

TEST_F(HandheldCommandTest, ListeningNeedsAHandheldOnTheNetwork) {
  EXPECT_EQ(Run({"listen"}), kOperationFailed);
  EXPECT_EQ(err_, "mvtool: the settings choose no handheld on the network (Connection and Listen of [Handheld])\n");
  EXPECT_EQ(Run({"listen", "--run", "3"}), kNotUnderstood);
}

}  // namespace
}  // namespace mv::tool
