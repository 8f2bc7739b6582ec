#include "ui/terminal/LogReader.h"

#include <gtest/gtest.h>

#include "base/Bytes.h"
#include "support/FakeTerminal.h"
#include "support/MemoryFileSystem.h"

namespace mv::terminal {
namespace {

class LogReaderTest : public ::testing::Test {
 protected:
  LogReaderTest() {
    const std::string text = "Motorva\x99 log\r\n\x1b[2J\r\n\r\nend";
    files_.Put("C:\\SyncLog.txt", Bytes(text.begin(), text.end()));
  }
  mv::testing::MemoryFileSystem files_;
  mv::testing::FakeTerminal terminal_;
  LogReader reader_{files_, terminal_};
};

TEST_F(LogReaderTest, TheLogIsReadInThePagerInTheTerminalsCharset) {
  EXPECT_TRUE(reader_.OpenDocument("C:\\SyncLog.txt"));
  EXPECT_EQ(terminal_.paged, std::vector<std::string>{"Motorva\u2122 log\n [2J\n\nend\n"});
  EXPECT_EQ(terminal_.output, "");
}

TEST_F(LogReaderTest, WithoutAPagerItIsWritten) {
  terminal_.hasPager = false;
  terminal_.charset = platform::Terminal::Charset::Ascii;
  EXPECT_TRUE(reader_.OpenDocument("C:\\SyncLog.txt"));
  EXPECT_EQ(terminal_.output, "Motorva(TM) log\n [2J\n\nend\n");
}

TEST_F(LogReaderTest, AFileThatIsNotThereCannotBeOpened) {
  EXPECT_FALSE(reader_.OpenDocument("C:\\none.txt"));
  EXPECT_TRUE(terminal_.paged.empty());
}

}  // namespace
}  // namespace mv::terminal
