#include "platform/windows/NoSystemBoxes.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <windows.h>

namespace mv::platform {
namespace {

constexpr UINT kQuiet = SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX;

UINT SystemMode() {
  const UINT mode = ::SetErrorMode(0);
  ::SetErrorMode(mode);
  return mode;
}

int LibraryMode() {
  return ::_set_error_mode(_REPORT_ERRMODE);
}

TEST(NoSystemBoxesTest, BothModesAreQuietWhileItLivesAndAsBeforeAfterwards) {
  const UINT system = SystemMode();
  const int library = LibraryMode();
  {
    const NoSystemBoxes quiet;
    EXPECT_EQ(SystemMode() & kQuiet, kQuiet);
    EXPECT_EQ(LibraryMode(), _OUT_TO_STDERR);
  }
  EXPECT_EQ(SystemMode(), system);
  EXPECT_EQ(LibraryMode(), library);
}

TEST(NoSystemBoxesTest, OneInsideAnotherLeavesTheOuterOneQuiet) {
  const NoSystemBoxes outer;
  { const NoSystemBoxes inner; }
  EXPECT_EQ(SystemMode() & kQuiet, kQuiet);
  EXPECT_EQ(LibraryMode(), _OUT_TO_STDERR);
}

TEST(NoSystemBoxesTest, WhatWasQuietBeforeStaysSo) {
  const UINT before = SystemMode();
  ::SetErrorMode(SEM_NOALIGNMENTFAULTEXCEPT);
  const UINT expected = SystemMode();
  {
    const NoSystemBoxes quiet;
    EXPECT_EQ(SystemMode(), expected | kQuiet);
  }
  ::SetErrorMode(before);
}

}  // namespace
}  // namespace mv::platform
