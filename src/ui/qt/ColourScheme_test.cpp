#include "ui/qt/ColourScheme.h"

#include <gtest/gtest.h>

#include "ui/qt/Colours.h"

namespace mv::qt {
namespace {

TEST(QtColourSchemeTest, DarkColoursCanBeRead) {
  const QPalette dark = DarkPalette();
  const std::pair<QPalette::ColorRole, QPalette::ColorRole> pairs[] = {
      {QPalette::WindowText, QPalette::Window},         {QPalette::Text, QPalette::Base},
      {QPalette::ButtonText, QPalette::Button},         {QPalette::ToolTipText, QPalette::ToolTipBase},
      {QPalette::HighlightedText, QPalette::Highlight}, {QPalette::PlaceholderText, QPalette::Base}};
  for (const auto& [text, background] : pairs) {
    EXPECT_GT(Contrast(dark.color(text), dark.color(background)), 4.5) << text;
  }
}

TEST(QtColourSchemeTest, WhatIsDisabledIsFainterAndStillSeen) {
  const QPalette dark = DarkPalette();
  for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    const QColor disabled = dark.color(QPalette::Disabled, role);
    EXPECT_NE(disabled, dark.color(QPalette::Active, role));
    EXPECT_GT(Contrast(disabled, dark.color(QPalette::Window)), 3);
  }
}

}  // namespace
}  // namespace mv::qt
