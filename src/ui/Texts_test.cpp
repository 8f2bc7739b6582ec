#include "ui/Texts.h"

#include <gtest/gtest.h>

namespace mv::texts {
namespace {

TEST(TextsTest, MessagesNameTheirPath) {
  EXPECT_EQ(LogDoesNotExist("C:\\log é.txt"), "Sync Log: C:\\log é.txt does not exist.");
  EXPECT_EQ(UnableToOpen("C:\\log.txt"), "Unable to open: C:\\log.txt");
  EXPECT_EQ(DatabaseInUse("C:\\a.db"), "Unable to overwite [C:\\a.db] database. Close the Desktop Edition and retry.");
}

TEST(TextsTest, AnErrorIsTwoLinesSeparatedByACarriageReturn) {
  EXPECT_EQ(ErrorOccurred(Error(-5, "source", "why")), "Error: -5 has occurred.\rDescription: why");
}

TEST(TextsTest, AnErrorThatSaysWhatItIsAboutHasAThirdLine) {
  EXPECT_EQ(ErrorOccurred(Error(-5, "source", "why").About("C:\\a.db")),
            "Error: -5 has occurred.\rDescription: why\rC:\\a.db");
}

}  // namespace
}  // namespace mv::texts
