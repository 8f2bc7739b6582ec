#include "ui/qt/FileDialog.h"

#include <gtest/gtest.h>

#include "ui/Texts.h"

namespace mv::qt {
namespace {

TEST(QtFileDialogTest, AFilterIsItsNameAndItsPatternsInBrackets) {
  EXPECT_EQ(NameFilters(texts::kLogFilter), QStringList{"Sync Log Files (*.txt,*.log) (*.txt *.log)"});
}

TEST(QtFileDialogTest, ThePatternForEveryFileTakesNamesWithoutADot) {
  EXPECT_EQ(NameFilters(texts::kDatabaseFilter),
            (QStringList{"Motorva Database Files(*.db) (*.db)", "All Files (*.*) (*)"}));
}

TEST(QtFileDialogTest, NoFilterIsNone) {
  EXPECT_EQ(NameFilters(""), QStringList());
}

}  // namespace
}  // namespace mv::qt
