#include "ui/terminal/Glyphs.h"

#include <gtest/gtest.h>

namespace mv::terminal {
namespace {

using Charset = platform::Terminal::Charset;

TEST(GlyphsTest, WhatATerminalWouldObeyBecomesBlanks) {
  EXPECT_EQ(Harmless("a\x1b[2Jb\r\nc\x7f\u009B"
                     "d\t"),
            "a [2Jb  c  d ");
  EXPECT_EQ(Harmless("\u2122 \u00E9"), "\u2122 \u00E9");
}

TEST(GlyphsTest, WideCharactersTakeTwoPlacesAndCombiningOnesNone) {
  EXPECT_EQ(Width("abc"), 3u);
  EXPECT_EQ(Width("\u00E9\u2122"), 2u);
  EXPECT_EQ(Width("\u8ECA"), 2u);
  EXPECT_EQ(Width("e\u0301"), 1u);
}

TEST(GlyphsTest, AStartNeverTakesMoreThanThePlaces) {
  EXPECT_EQ(Start("abc", 2), "ab");
  EXPECT_EQ(Start("abc", 3), "abc");
  EXPECT_EQ(Start("a\u8ECA", 2), "a");
  EXPECT_EQ(Start("abc", 0), "");
}

TEST(GlyphsTest, AnEndNeverTakesMoreThanThePlaces) {
  EXPECT_EQ(Tail("abc", 2), "bc");
  EXPECT_EQ(Tail("abc", 9), "abc");
  EXPECT_EQ(Tail("\u8ECA"
                 "b",
                 2),
            "b");
}

TEST(GlyphsTest, EachCharsetGetsWhatItHolds) {
  EXPECT_EQ(Encoded("\u00A9\u2122\u00E9\u8ECA", Charset::Utf8), "\u00A9\u2122\u00E9\u8ECA");
  EXPECT_EQ(Encoded("\u00A9\u2122\u00E9\u8ECA", Charset::Latin1), "\xA9(TM)\xE9?");
  EXPECT_EQ(Encoded("\u00A9\u2122\u00E9\u8ECA", Charset::Ascii), "(c)(TM)??");
}

}  // namespace
}  // namespace mv::terminal
