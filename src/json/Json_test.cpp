#include "json/Json.h"

#include <gtest/gtest.h>

#include "base/Error.h"

namespace mv {
namespace {

std::string MessageFor(std::string_view text) {
  try {
    ParseJson(text);
  } catch (const Error& error) {
    return error.Description();
  }
  return "accepted";
}

std::string PlaceOf(const Json& json) {
  return std::to_string(json.Position().line) + ":" + std::to_string(json.Position().column);
}

/// All of a value, with the places of its parts.
std::string Dump(const Json& json) {
  std::string text = json.Shown() + "@" + PlaceOf(json);
  if (const auto* const elements = json.As<Json::Array>()) {
    for (const Json& element : *elements) text += "[" + Dump(element) + "]";
  }
  if (const auto* const members = json.As<Json::Object>()) {
    for (const Json::Member& member : *members) text += "{" + member.name + ":" + Dump(member.value) + "}";
  }
  return text;
}

TEST(JsonRead, ScalarsOfEachKindAreRead) {
  EXPECT_TRUE(ParseJson("null").IsNull());
  EXPECT_TRUE(ParseJson(" true ").Boolean());
  EXPECT_FALSE(ParseJson("false").Boolean());
  EXPECT_EQ(ParseJson("\"a\"").Text(), "a");
  EXPECT_EQ(ParseJson("-12").Integer(-100, 0), -12);
  EXPECT_EQ(ParseJson("1.5e3").Number().text, "1.5e3");
}

TEST(JsonRead, NumbersKeepTheTextTheyWereWrittenAs) {
  for (const char* const text :
       {"0", "-0", "7", "-7", "922337203685477.58070", "9223372036854775807", "-9223372036854775808",
        "18446744073709551615", "18446744073709551616", "-9223372036854775809", "9007199254740993", "1E2", "1e+2",
        "1.50", "-0.0e-0", "1e-400", "0.1000000000000000055511151231257827021181583404541015625"}) {
    EXPECT_EQ(ParseJson(text).Number().text, text);
    const Json among = ParseJson("[" + std::string(text) + " ,\t" + text + ",{\"a\":" + text + "}\n]");
    EXPECT_EQ(among.Elements()[0].Number().text, text);
    EXPECT_EQ(among.Elements()[1].Number().text, text);
    EXPECT_EQ(among.Elements()[2].At("a").Number().text, text);
  }
}

TEST(JsonRead, IntegersOf64BitsAreExact) {
  EXPECT_EQ(ParseJson("9223372036854775807").Integer(INT64_MIN, INT64_MAX), INT64_MAX);
  EXPECT_EQ(ParseJson("-9223372036854775808").Integer(INT64_MIN, INT64_MAX), INT64_MIN);
  EXPECT_EQ(ParseJson("9007199254740993").Integer(INT64_MIN, INT64_MAX), 9007199254740993);
  for (const char* const text : {"9223372036854775808", "-9223372036854775809", "18446744073709551617", "1e300"}) {
    EXPECT_THROW(ParseJson(text).Integer(INT64_MIN, INT64_MAX), Error) << text;
  }
}

TEST(JsonRead, WholeNumberIsAnIntegerHoweverItIsWritten) {
  EXPECT_EQ(ParseJson("1.0").Integer(0, 9), 1);
  EXPECT_EQ(ParseJson("1E2").Integer(0, 100), 100);
  EXPECT_EQ(ParseJson("1200e-2").Integer(0, 100), 12);
  EXPECT_EQ(ParseJson("-0").Integer(0, 9), 0);
  EXPECT_THROW(ParseJson("1.5").Integer(0, 9), Error);
  EXPECT_THROW(ParseJson("1e-1").Integer(0, 9), Error);
  EXPECT_THROW(ParseJson("1e-400").Integer(0, 9), Error);
}

TEST(JsonRead, MalformedNumbersAreRefused) {
  EXPECT_EQ(MessageFor("01"),
            "line 1, column 2: syntax error while parsing value - unexpected number literal; expected end of input");
  EXPECT_EQ(MessageFor("[01, 5]"),
            "line 1, column 3: syntax error while parsing array - unexpected number literal; expected ']'");
  EXPECT_EQ(MessageFor("-"),
            "line 1, column 2: syntax error while parsing value - invalid number; expected digit after '-'");
  EXPECT_EQ(MessageFor("1."),
            "line 1, column 3: syntax error while parsing value - invalid number; expected digit after '.'");
  EXPECT_EQ(MessageFor("1e+"),
            "line 1, column 4: syntax error while parsing value - invalid number; expected digit after exponent sign");
  EXPECT_EQ(MessageFor("+1"), "line 1, column 1: syntax error while parsing value - invalid literal");
  EXPECT_EQ(MessageFor(".5"), "line 1, column 1: syntax error while parsing value - invalid literal");
  EXPECT_EQ(MessageFor("NaN"), "line 1, column 1: syntax error while parsing value - invalid literal");
}

TEST(JsonRead, NumbersTooLargeForADoubleAreRefused) {
  EXPECT_EQ(MessageFor("1e999"), "line 1, column 1: 1e999 is out of range");
  EXPECT_EQ(MessageFor("[0, -1e400]"), "line 1, column 5: -1e400 is out of range");
  EXPECT_EQ(MessageFor(std::string(400, '9')), "line 1, column 1: " + std::string(60, '9') + "... is out of range");
}

TEST(JsonRead, EscapesGiveTheirCharacters) {
  EXPECT_EQ(ParseJson(R"("\"\\\/\b\f\n\r\t")").Text(), "\"\\/\b\f\n\r\t");
  EXPECT_EQ(ParseJson(R"("\u00e9\u20AC\u0000")").Text(), std::string("\xC3\xA9\xE2\x82\xAC\0", 6));
}

TEST(JsonRead, SurrogatePairGivesOneCharacter) {
  EXPECT_EQ(ParseJson(R"("\ud83d\uDE00")").Text(), "\xF0\x9F\x98\x80");
}

TEST(JsonRead, UnpairedSurrogatesAreRefused) {
  const std::string kNoSecondHalf =
      "syntax error while parsing value - invalid string: surrogate U+D800..U+DBFF must be followed by U+DC00..U+DFFF";
  EXPECT_EQ(MessageFor(R"("\ud83d")"), "line 1, column 8: " + kNoSecondHalf);
  EXPECT_EQ(MessageFor(R"("\ud83dx")"), "line 1, column 8: " + kNoSecondHalf);
  EXPECT_EQ(MessageFor(R"("\ud83d\u0041")"), "line 1, column 13: " + kNoSecondHalf);
  EXPECT_EQ(MessageFor(R"("\ude00")"),
            "line 1, column 7: syntax error while parsing value - invalid string: surrogate U+DC00..U+DFFF must follow "
            "U+D800..U+DBFF");
}

TEST(JsonRead, BadEscapesAreRefused) {
  EXPECT_EQ(MessageFor(R"("\x41")"),
            "line 1, column 3: syntax error while parsing value - invalid string: forbidden character after backslash");
  EXPECT_EQ(
      MessageFor(R"("\u00G0")"),
      "line 1, column 6: syntax error while parsing value - invalid string: '\\u' must be followed by 4 hex digits");
  EXPECT_EQ(MessageFor("\"\\"),
            "line 1, column 3: syntax error while parsing value - invalid string: forbidden character after backslash");
  EXPECT_EQ(
      MessageFor("\"\\u12"),
      "line 1, column 6: syntax error while parsing value - invalid string: '\\u' must be followed by 4 hex digits");
}

TEST(JsonRead, ControlCharactersInATextMustBeEscaped) {
  EXPECT_EQ(MessageFor("\"a\nb\""),
            "line 1, column 3: syntax error while parsing value - invalid string: control character U+000A (LF) must "
            "be escaped to \\u000A or \\n");
  EXPECT_EQ(MessageFor(std::string_view("\"\0\"", 3)),
            "line 1, column 2: syntax error while parsing value - invalid string: control character U+0000 (NUL) must "
            "be escaped to \\u0000");
}

TEST(JsonRead, TextWithoutEndIsReportedWhereItBegins) {
  EXPECT_EQ(MessageFor("[1,\n  \"abc"),
            "line 2, column 3: syntax error while parsing value - invalid string: missing closing quote");
}

TEST(JsonRead, Utf8IsTakenAsItIs) {
  EXPECT_EQ(ParseJson("\"\xC3\xA9\xEF\xBF\xBD\"").Text(), "\xC3\xA9\xEF\xBF\xBD");
}

TEST(JsonRead, MalformedUtf8IsRefusedAtItsColumn) {
  const std::string kIllFormed = "syntax error while parsing value - invalid string: ill-formed UTF-8 byte";
  EXPECT_EQ(MessageFor("\"\xC3\xA9\xFF\""), "line 1, column 3: " + kIllFormed);
  EXPECT_EQ(MessageFor("\"\xED\xA0\x80\""), "line 1, column 3: " + kIllFormed);
  EXPECT_EQ(MessageFor("\"\xC0\x80\""), "line 1, column 2: " + kIllFormed);
  EXPECT_EQ(MessageFor("\"\xE2\x82"), "line 1, column 3: " + kIllFormed);
}

TEST(JsonRead, ByteOrderMarkInFrontIsSkipped) {
  EXPECT_EQ(ParseJson("\xEF\xBB\xBF[1]").Elements().size(), 1u);
}

TEST(JsonRead, EmptyContainersAreRead) {
  EXPECT_TRUE(ParseJson("[ ]").Elements().empty());
  EXPECT_TRUE(ParseJson("{\n}").Members().empty());
  EXPECT_EQ(ParseJson("[[],{}]").Elements().size(), 2u);
}

TEST(JsonRead, MembersKeepTheirOrder) {
  const Json object = ParseJson(R"({"b":1,"a":{"c":[true,null]}})");
  EXPECT_EQ(object.Members()[0].name, "b");
  EXPECT_EQ(object.Members()[1].name, "a");
  EXPECT_TRUE(object.At("a").At("c").Elements()[1].IsNull());
  EXPECT_EQ(object.Find("c"), nullptr);
}

TEST(JsonRead, RepeatedMemberNameIsRefusedEvenWhenEscaped) {
  EXPECT_EQ(MessageFor(R"({"a":1,"b":2,"\u0061":3})"), "line 1, column 23: a second member \"a\"");
}

TEST(JsonRead, MalformedContainersSayWhatIsMissing) {
  EXPECT_EQ(
      MessageFor(""),
      "line 1, column 1: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal");
  EXPECT_EQ(MessageFor("[1 2]"),
            "line 1, column 4: syntax error while parsing array - unexpected number literal; expected ']'");
  EXPECT_EQ(MessageFor("[1,]"),
            "line 1, column 4: syntax error while parsing value - unexpected ']'; expected '[', '{', or a literal");
  EXPECT_EQ(MessageFor("[1,,22]"),
            "line 1, column 4: syntax error while parsing value - unexpected ','; expected '[', '{', or a literal");
  EXPECT_EQ(MessageFor("[1 22, 3]"),
            "line 1, column 4: syntax error while parsing array - unexpected number literal; expected ']'");
  EXPECT_EQ(MessageFor("[1,\n \"x\" \"long\"]"),
            "line 2, column 6: syntax error while parsing array - unexpected string literal; expected ']'");
  EXPECT_EQ(MessageFor("{\"a\" 1}"),
            "line 1, column 6: syntax error while parsing object separator - unexpected number literal; expected ':'");
  EXPECT_EQ(MessageFor("{\"a\":1,}"),
            "line 1, column 8: syntax error while parsing object key - unexpected '}'; expected string literal");
  EXPECT_EQ(MessageFor("{a:1}"), "line 1, column 2: syntax error while parsing object key - invalid literal");
  EXPECT_EQ(MessageFor("[1}"), "line 1, column 3: syntax error while parsing array - unexpected '}'; expected ']'");
  EXPECT_EQ(MessageFor("]"),
            "line 1, column 1: syntax error while parsing value - unexpected ']'; expected '[', '{', or a literal");
  EXPECT_EQ(MessageFor("[1] x"), "line 1, column 5: syntax error while parsing value - invalid literal");
  EXPECT_EQ(
      MessageFor("{\"a\":"),
      "line 1, column 6: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal");
}

TEST(JsonRead, ZeroCharacterDoesNotEndTheText) {
  EXPECT_EQ(MessageFor(std::string_view("1\0", 2)), "line 1, column 2: nothing may follow the value");
  EXPECT_EQ(MessageFor(std::string_view("[1]\n \0 x", 8)), "line 2, column 2: nothing may follow the value");
  EXPECT_EQ(
      MessageFor(std::string_view("[1,\0]", 6)),
      "line 1, column 4: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal");
}

TEST(JsonRead, ValuesRememberWhereTheyStood) {
  const Json object = ParseJson("\xEF\xBB\xBF{\"\xC3\xA9\" : [ 12,\n\t-3.5 ,true, {}],\n\"b\":\"x\"}");
  const Json& array = object.At("\xC3\xA9");
  EXPECT_EQ(PlaceOf(object), "1:1");
  EXPECT_EQ(PlaceOf(array), "1:8");
  EXPECT_EQ(PlaceOf(array.Elements()[0]), "1:10");
  EXPECT_EQ(PlaceOf(array.Elements()[1]), "2:2");
  EXPECT_EQ(PlaceOf(array.Elements()[2]), "2:8");
  EXPECT_EQ(PlaceOf(array.Elements()[3]), "2:14");
  EXPECT_EQ(PlaceOf(object.At("b")), "3:5");
}

TEST(JsonRead, ColumnsCountCharactersBehindLongTexts) {
  const Json json = ParseJson("[\"a text without end\",1,\n\"\u00e9t\u00e9 \u20ac et plus tard\",\"0123456\",2]");
  const Json::Array& elements = json.Elements();
  EXPECT_EQ(PlaceOf(elements[1]), "1:23");
  EXPECT_EQ(PlaceOf(elements[2]), "2:1");
  EXPECT_EQ(PlaceOf(elements[3]), "2:22");
  EXPECT_EQ(PlaceOf(elements[4]), "2:32");
}

TEST(JsonRead, ValueThatIsReadIntoIsAsIfItWereNew) {
  const std::vector<std::string> texts = {
      R"({"a":"text","b":[1,2,3],"c":{"d":null,"e":true}})",
      R"({"a":12.50,"b":[{"x":[]}]})",
      R"({"b":"other","a":[[],["p"],"q",7],"c":false,"z":{"d":[1],"e":{}}})",
      R"(["a",{"b":"c"}])",
      R"("scalar")",
      R"(1e5)",
      R"({})",
      R"([null, true, "", 0, {"a":1,"b":{"c":[[["deep"]]]}}])",
      R"(null)",
  };
  for (const std::string& before : texts) {
    for (const std::string& text : texts) {
      Json value = ParseJson(before);
      ReadJson(text, value, 3);
      EXPECT_EQ(Dump(value), Dump(ParseJson(text, 3))) << before;
    }
  }
}

TEST(JsonRead, ValueWhoseReadingFailedCanBeReadIntoAgain) {
  Json value = ParseJson(R"({"a":[1,{"b":2}],"c":"d"})");
  EXPECT_THROW(ReadJson(R"({"a":[{"b":"x","y":[)", value), Error);
  EXPECT_THROW(ReadJson(R"({"a":1,"a":2})", value), Error);
  ReadJson(R"({"a":[3]})", value);
  EXPECT_EQ(Dump(value), Dump(ParseJson(R"({"a":[3]})")));
}

TEST(JsonRead, NamesOfAnEarlierValueAreNotRepeatedOnes) {
  Json value = ParseJson(R"({"a":1,"b":2,"c":3})");
  ReadJson(R"({"b":1})", value);
  EXPECT_EQ(value.Members().size(), 1u);
  EXPECT_EQ(value.At("b").Number().text, "1");
}

TEST(JsonRead, WrongCharactersAreNotRepeatedInTheMessage) {
  EXPECT_EQ(MessageFor("{\x1B[31m}"), "line 1, column 2: syntax error while parsing object key - invalid literal");
}

TEST(JsonRead, NestingUpToTheLimitIsRead) {
  const std::string text = std::string(kMaxJsonDepth, '[') + std::string(kMaxJsonDepth, ']');
  EXPECT_EQ(ParseJson(text).Elements().size(), 1u);
}

TEST(JsonRead, HostileNestingIsRefusedWithoutRecursion) {
  EXPECT_EQ(MessageFor(std::string(1'000'000, '[')), "line 1, column 65: nested too deep");
  std::string objects;
  for (int i = 0; i < 100'000; ++i) objects += "{\"a\":";
  EXPECT_EQ(MessageFor(objects), "line 1, column 321: nested too deep");
}

TEST(JsonRead, FirstLineNumberCountsInMessages) {
  try {
    ParseJson("[1,\n x]", 7);
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.Description(), "line 8, column 2: syntax error while parsing value - invalid literal");
  }
}

TEST(JsonAccess, ValueOfTheWrongKindSaysWhatIsWantedAndWhere) {
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

TEST(JsonAccess, ShownIsTheValueAsJson) {
  EXPECT_EQ(ParseJson("null").Shown(), "null");
  EXPECT_EQ(ParseJson("false").Shown(), "false");
  EXPECT_EQ(ParseJson("-1.50").Shown(), "-1.50");
  EXPECT_EQ(ParseJson(R"("a\u000a\"")").Shown(), R"("a\n\"")");
  EXPECT_EQ(ParseJson("[1]").Shown(), "an array");
  EXPECT_EQ(ParseJson("{}").Shown(), "an object");
  EXPECT_EQ(ParseJson('"' + std::string(99, 'x') + '"').Shown(), '"' + std::string(59, 'x') + "...");
}

TEST(JsonWrite, NestedContainersGetTheirCommas) {
  JsonWriter writer;
  writer.BeginObject().Name("a").Integer(-1).Name("b").BeginArray().Null().Boolean(true).BeginObject().EndObject();
  writer.EndArray().Name("c").Text("x").EndObject();
  EXPECT_EQ(writer.Result(), R"({"a":-1,"b":[null,true,{}],"c":"x"})");
}

TEST(JsonWrite, SpecialCharactersAreEscapedAndReadBack) {
  const std::string text("\"\\/\b\f\n\r\t\x01\x1F\x7F\xC3\xA9\xF0\x9F\x98\x80\0", 18);
  JsonWriter writer;
  writer.Text(text);
  EXPECT_EQ(writer.Result(), "\"\\\"\\\\/\\b\\f\\n\\r\\t\\u0001\\u001f\x7F\xC3\xA9\xF0\x9F\x98\x80\\u0000\"");
  EXPECT_EQ(ParseJson(writer.Result()).Text(), text);
}

TEST(JsonWrite, CharactersAreEscapedWhereverTheyStand) {
  for (int character = 0; character < 0x80; ++character) {
    for (std::size_t place = 0; place < 20; ++place) {
      std::string text(20, 'x');
      text[place] = static_cast<char>(character);
      JsonWriter writer;
      writer.Text(text);
      const bool isEscaped = character < 0x20 || character == '"' || character == '\\';
      EXPECT_EQ(writer.Result().size() == 22, !isEscaped) << character << " at " << place;
      EXPECT_EQ(ParseJson(writer.Result()).Text(), text) << character << " at " << place;
    }
  }
}

TEST(JsonWrite, WhatIsNoUtf8IsReplacedBesideAnEscape) {
  JsonWriter writer;
  writer.Text("a\n\xC3");
  EXPECT_EQ(writer.Result(), "\"a\\n\xEF\xBF\xBD\"");
}

TEST(JsonWrite, ClearStartsANewText) {
  JsonWriter writer;
  writer.Integer(1);
  writer.Clear();
  writer.Integer(2);
  EXPECT_EQ(writer.Result(), "2");
}

TEST(JsonWrite, NameMadeBeforeIsTheSameName) {
  const JsonName name("a\"b");
  JsonWriter writer;
  writer.BeginObject().Name(name).Integer(1).Name(name).Null().EndObject();
  EXPECT_EQ(writer.Result(), R"({"a\"b":1,"a\"b":null})");
}

TEST(JsonWrite, FormStandsInQuotesWhenItSaysSo) {
  const auto form = [](const char* text, bool quoted) {
    return [=](std::string& json) {
      json += text;
      return quoted;
    };
  };
  JsonWriter writer;
  writer.BeginArray().Form(form("1.5", false)).Form(form("12.5000", true)).Form(form("", true)).EndArray();
  EXPECT_EQ(writer.Result(), R"([1.5,"12.5000",""])");
}

TEST(JsonWrite, TextBehindALineFeedStartsAnew) {
  JsonWriter writer;
  writer.Integer(1).EndLine().Integer(2);
  EXPECT_EQ(writer.Result(), "1\n2");
}

}  // namespace
}  // namespace mv
