#include "mvtool/text/Json.h"

#include <gtest/gtest.h>

#include "base/Error.h"

namespace mv::tool {
namespace {

std::string MessageFor(std::string_view text) {
  try {
    ParseJson(text);
  } catch (const Error& error) {
    return error.Description();
  }
  return "accepted";
}

TEST(JsonRead, ScalarsOfEachKind_AreRead) {
  EXPECT_TRUE(ParseJson("null").IsNull());
  EXPECT_TRUE(ParseJson(" true ").Boolean());
  EXPECT_FALSE(ParseJson("false").Boolean());
  EXPECT_EQ(ParseJson("\"a\"").Text(), "a");
  EXPECT_EQ(ParseJson("-12").Integer(-100, 0), -12);
  EXPECT_EQ(ParseJson("1.5e3").Number().real, 1500.0);
}

TEST(JsonRead, Numbers_KeepTheTextTheyWereWrittenAs) {
  const JsonNumber number = ParseJson("922337203685477.58070").Number();
  EXPECT_EQ(number.text, "922337203685477.58070");
  EXPECT_FALSE(number.integer.has_value());
}

TEST(JsonRead, IntegersBeyond64Bits_AreOnlyReal) {
  EXPECT_EQ(ParseJson("9223372036854775807").Number().integer, INT64_MAX);
  EXPECT_EQ(ParseJson("-9223372036854775808").Number().integer, INT64_MIN);
  EXPECT_FALSE(ParseJson("9223372036854775808").Number().integer.has_value());
}

TEST(JsonRead, NumberWithAPoint_IsNoInteger) {
  EXPECT_FALSE(ParseJson("1.0").Number().integer.has_value());
  EXPECT_FALSE(ParseJson("1e2").Number().integer.has_value());
}

TEST(JsonRead, MalformedNumbers_AreRefused) {
  EXPECT_EQ(MessageFor("01"), "line 1, column 2: nothing may follow the value");
  EXPECT_EQ(MessageFor("-"), "line 1, column 2: a digit is missing");
  EXPECT_EQ(MessageFor("1."), "line 1, column 3: a digit is missing");
  EXPECT_EQ(MessageFor("1e+"), "line 1, column 4: a digit is missing");
  EXPECT_EQ(MessageFor("+1"), "line 1, column 1: a value is missing");
  EXPECT_EQ(MessageFor(".5"), "line 1, column 1: a value is missing");
  EXPECT_EQ(MessageFor("NaN"), "line 1, column 1: a value is missing");
  EXPECT_EQ(MessageFor("1e999"), "line 1, column 1: this number is out of range");
}

TEST(JsonRead, Escapes_GiveTheirCharacters) {
  EXPECT_EQ(ParseJson(R"("\"\\\/\b\f\n\r\t")").Text(), "\"\\/\b\f\n\r\t");
  EXPECT_EQ(ParseJson(R"("\u00e9\u20AC\u0000")").Text(), std::string("\xC3\xA9\xE2\x82\xAC\0", 6));
}

TEST(JsonRead, SurrogatePair_GivesOneCharacter) {
  EXPECT_EQ(ParseJson(R"("\ud83d\uDE00")").Text(), "\xF0\x9F\x98\x80");
}

TEST(JsonRead, UnpairedSurrogates_AreRefused) {
  EXPECT_EQ(MessageFor(R"("\ud83d")"), "line 1, column 4: unpaired surrogate");
  EXPECT_EQ(MessageFor(R"("\ud83dx")"), "line 1, column 4: unpaired surrogate");
  EXPECT_EQ(MessageFor(R"("\ud83d\u0041")"), "line 1, column 4: unpaired surrogate");
  EXPECT_EQ(MessageFor(R"("\ude00")"), "line 1, column 4: unpaired surrogate");
}

TEST(JsonRead, BadEscapes_AreRefused) {
  EXPECT_EQ(MessageFor(R"("\x41")"), "line 1, column 3: unknown escape in a text");
  EXPECT_EQ(MessageFor(R"("\u00G0")"), "line 1, column 6: \\u needs four hex digits");
  EXPECT_EQ(MessageFor("\"\\"), "line 1, column 3: unknown escape in a text");
  EXPECT_EQ(MessageFor("\"\\u12"), "line 1, column 6: \\u needs four hex digits");
}

TEST(JsonRead, ControlCharactersInATextMustBeEscaped) {
  EXPECT_EQ(MessageFor("\"a\nb\""), "line 1, column 3: a control character in a text must be escaped");
  EXPECT_EQ(MessageFor(std::string_view("\"\0\"", 3)),
            "line 1, column 2: a control character in a text must be escaped");
}

TEST(JsonRead, TextWithoutEnd_IsReportedWhereItBegins) {
  EXPECT_EQ(MessageFor("[1,\n  \"abc"), "line 2, column 3: this text has no end");
}

TEST(JsonRead, Utf8_IsTakenAsItIs) {
  EXPECT_EQ(ParseJson("\"\xC3\xA9\xEF\xBF\xBD\"").Text(), "\xC3\xA9\xEF\xBF\xBD");
}

TEST(JsonRead, MalformedUtf8_IsRefusedAtItsColumn) {
  EXPECT_EQ(MessageFor("\"\xC3\xA9\xFF\""), "line 1, column 3: this is not UTF-8");
  EXPECT_EQ(MessageFor("\"\xED\xA0\x80\""), "line 1, column 2: this is not UTF-8");
  EXPECT_EQ(MessageFor("\"\xC0\x80\""), "line 1, column 2: this is not UTF-8");
  EXPECT_EQ(MessageFor("\"\xE2\x82"), "line 1, column 2: this is not UTF-8");
}

TEST(JsonRead, ByteOrderMarkInFront_IsSkipped) {
  EXPECT_EQ(ParseJson("\xEF\xBB\xBF[1]").Elements().size(), 1u);
}

TEST(JsonRead, EmptyContainers_AreRead) {
  EXPECT_TRUE(ParseJson("[ ]").Elements().empty());
  EXPECT_TRUE(ParseJson("{\n}").Members().empty());
  EXPECT_EQ(ParseJson("[[],{}]").Elements().size(), 2u);
}

TEST(JsonRead, Members_KeepTheirOrder) {
  const Json object = ParseJson(R"({"b":1,"a":{"c":[true,null]}})");
  EXPECT_EQ(object.Members()[0].name, "b");
  EXPECT_EQ(object.Members()[1].name, "a");
  EXPECT_TRUE(object.At("a").At("c").Elements()[1].IsNull());
  EXPECT_EQ(object.Find("c"), nullptr);
}

TEST(JsonRead, RepeatedMemberName_IsRefusedEvenWhenEscaped) {
  EXPECT_EQ(MessageFor(R"({"a":1,"b":2,"\u0061":3})"), "line 1, column 23: a second member \"a\"");
}

TEST(JsonRead, MalformedContainers_SayWhatIsMissing) {
  EXPECT_EQ(MessageFor(""), "line 1, column 1: the text ends too early");
  EXPECT_EQ(MessageFor("[1 2]"), "line 1, column 4: \",\" or \"]\" is missing");
  EXPECT_EQ(MessageFor("[1,]"), "line 1, column 4: a value is missing");
  EXPECT_EQ(MessageFor("{\"a\" 1}"), "line 1, column 6: \":\" is missing");
  EXPECT_EQ(MessageFor("{\"a\":1,}"), "line 1, column 8: a member name in quotes is missing");
  EXPECT_EQ(MessageFor("{a:1}"), "line 1, column 2: a member name in quotes is missing");
  EXPECT_EQ(MessageFor("[1}"), "line 1, column 3: \",\" or \"]\" is missing");
  EXPECT_EQ(MessageFor("]"), "line 1, column 1: a value is missing");
  EXPECT_EQ(MessageFor("[1] x"), "line 1, column 5: nothing may follow the value");
  EXPECT_EQ(MessageFor("{\"a\":"), "line 1, column 6: the text ends too early");
}

TEST(JsonRead, NestingUpToTheLimit_IsRead) {
  const std::string text = std::string(kMaxJsonDepth, '[') + std::string(kMaxJsonDepth, ']');
  EXPECT_EQ(ParseJson(text).Elements().size(), 1u);
}

TEST(JsonRead, HostileNesting_IsRefusedWithoutRecursion) {
  EXPECT_EQ(MessageFor(std::string(1'000'000, '[')), "line 1, column 65: nested too deep");
  std::string objects;
  for (int i = 0; i < 100'000; ++i) objects += "{\"a\":";
  EXPECT_EQ(MessageFor(objects), "line 1, column 321: nested too deep");
}

TEST(JsonRead, FirstLineNumber_CountsInMessages) {
  try {
    ParseJson("[1,\n x]", 7);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.Description(), "line 8, column 2: a value is missing");
  }
}

TEST(JsonAccess, ValueOfTheWrongKind_SaysWhatIsWantedAndWhere) {
  const Json object = ParseJson("{\n \"a\": 1, \"t\": \"x\"}");
  const auto message = [](auto&& read) {
    try {
      read();
    } catch (const Error& error) {
      return error.Description();
    }
    return std::string("accepted");
  };
  EXPECT_EQ(message([&] { object.At("a").Text(); }), "line 2, column 7: a text is wanted here");
  EXPECT_EQ(message([&] { object.At("t").Number(); }), "line 2, column 15: a number is wanted here");
  EXPECT_EQ(message([&] { object.At("t").Boolean(); }), "line 2, column 15: true or false is wanted here");
  EXPECT_EQ(message([&] { object.Elements(); }), "line 1, column 1: an array is wanted here");
  EXPECT_EQ(message([&] { object.At("t").Members(); }), "line 2, column 15: an object is wanted here");
  EXPECT_EQ(message([&] { object.At("a").Integer(2, 9); }),
            "line 2, column 7: a whole number from 2 to 9 is wanted here");
  EXPECT_EQ(message([&] { object.At("z"); }), "line 1, column 1: the member \"z\" is missing");
  EXPECT_EQ(message([&] { object.AllowOnly({"a"}); }), "line 2, column 15: unknown member \"t\"");
  EXPECT_EQ(message([&] { object.AllowOnly({"t", "a"}); }), "accepted");
}

TEST(JsonWrite, NestedContainers_GetTheirCommas) {
  JsonWriter writer;
  writer.BeginObject().Name("a").Integer(-1).Name("b").BeginArray().Null().Boolean(true).BeginObject().EndObject();
  writer.EndArray().Name("c").Text("x").EndObject();
  EXPECT_EQ(writer.Result(), R"({"a":-1,"b":[null,true,{}],"c":"x"})");
}

TEST(JsonWrite, SpecialCharacters_AreEscapedAndReadBack) {
  const std::string text("\"\\/\b\f\n\r\t\x01\x1F\x7F\xC3\xA9\xF0\x9F\x98\x80\0", 18);
  JsonWriter writer;
  writer.Text(text);
  EXPECT_EQ(writer.Result(), "\"\\\"\\\\/\\b\\f\\n\\r\\t\\u0001\\u001f\x7F\xC3\xA9\xF0\x9F\x98\x80\\u0000\"");
  EXPECT_EQ(ParseJson(writer.Result()).Text(), text);
}

TEST(JsonWrite, Clear_StartsANewText) {
  JsonWriter writer;
  writer.Integer(1);
  writer.Clear();
  writer.Integer(2);
  EXPECT_EQ(writer.Result(), "2");
}

}  // namespace
}  // namespace mv::tool
