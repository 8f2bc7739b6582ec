#include "run/JournalTexts.h"

#include <gtest/gtest.h>

namespace mv::journal_texts {
namespace {

TEST(JournalTextsTest, PathsAreShownWithOneSeparator) {
  const std::string database = "/home/kim/cars\\Motorva.db";
  EXPECT_NE(StoppedLine("", StandardError(errors::kPermissionDenied), database)
                .find("\"/home/kim/cars/Motorva.db\" is in use"),
            std::string::npos);
  EXPECT_NE(StoppedLine("", Error(errors::kFileNotFound, database, "File not found"), "")
                .find("File not found (/home/kim/cars/Motorva.db);"),
            std::string::npos);
  EXPECT_NE(OtherRunLine(database).find("\"/home/kim/cars/Motorva.db\""), std::string::npos);
  EXPECT_NE(LogBesideProgram("/opt/mv\\SyncLog.txt").find("\"/opt/mv/SyncLog.txt\""), std::string::npos);
}

}  // namespace
}  // namespace mv::journal_texts
