#include "json/PlainJson.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "base/Error.h"

namespace mv {
namespace {

/// Everything that a value holds, with its places, as one text.
std::string Described(const Json& json) {
  std::string text = std::to_string(json.Position().line) + ":" + std::to_string(json.Position().column) + " ";
  if (const auto* const elements = json.As<Json::Array>()) {
    for (const Json& element : *elements) text += "[" + Described(element) + "]";
  } else if (const auto* const members = json.As<Json::Object>()) {
    for (const Json::Member& member : *members) text += "{" + member.name + "=" + Described(member.value) + "}";
  } else if (const auto* const string = json.As<std::string>()) {
    text += "text " + *string;
  } else {
    text += json.Shown();
  }
  return text;
}

/// The first of two elements, or the complaint.
std::string FirstOfTwo(const std::string& first, const char* second) {
  try {
    const Json array = ParseJson("[" + first + "\n," + second + "]");
    return array.Elements().size() == 2 ? Described(array.Elements()[0]) : "another number of elements";
  } catch (const Error&) {
    return "refused";
  }
}

/// Reads a value as a part of a plain text and of one that is none for its exponent: there must be no difference.
void ExpectReadAlike(const std::string& value) {
  EXPECT_EQ(FirstOfTwo(value, "1"), FirstOfTwo(value, "1e0")) << value;
}

std::string Mutated(std::string text, std::mt19937& random) {
  constexpr std::string_view kBytes =
      "{}[]:,\"\\ \t\n\r-.0129eEtfnu/b\x01\x7F\xC3\xA9\xE2\x82\xAC\xED\xA0\x80\xF0\x9F\xFF";
  for (std::size_t changes = 1 + random() % 3; changes > 0 && !text.empty(); --changes) {
    const std::size_t at = random() % text.size();
    const char byte = kBytes[random() % kBytes.size()];
    switch (random() % 3) {
      case 0:
        text[at] = byte;
        break;
      case 1:
        text.insert(at, 1, byte);
        break;
      default:
        text.erase(at, 1);
        break;
    }
  }
  return text;
}

const std::vector<std::string>& Samples() {
  static const std::vector<std::string> kSamples = {
      R"({"op":"insert","row":{"KY_ID":"a1","CU_COST":"12.5000","NM":-1.250,"BL":true,"X":null}})",
      R"( { "op" : "update" , "where" : { "KY_ID" : "Étoile €" } , "set" : { "a" : 0 , "b" : [ ] } } )",
      R"(["a\"\\\/\b\f\n\r\tz", -0, 0.50, 100, [[], {}], false])",
      "{\"\xC3\xA9\":\"\xF0\x9F\x98\x80\",\n\t\"b\":[1,\r\n2]}",
  };
  return kSamples;
}

TEST(PlainJson, RowsAndChangesArePlain) {
  for (const std::string& sample : Samples()) {
    EXPECT_TRUE(ReadPlainJson(sample, 1)) << sample;
    ExpectReadAlike(sample);
  }
}

TEST(PlainJson, WhatIsLeftToTheLibraryIsNotTaken) {
  for (const char* const text : {"1e2", "1E2", R"("\u0041")", R"({"\u0041":1})"}) {
    EXPECT_FALSE(ReadPlainJson(text, 1)) << text;
    EXPECT_NO_THROW(ParseJson(text)) << text;
  }
  EXPECT_TRUE(ReadPlainJson(std::string(kLongestPlainNumber, '9'), 1));
  EXPECT_FALSE(ReadPlainJson(std::string(kLongestPlainNumber + 1, '9'), 1));
}

TEST(PlainJson, WrongTextsAreNotTaken) {
  for (const char* const text : {"",
                                 " ",
                                 "01",
                                 "-",
                                 "-01",
                                 "1.",
                                 ".5",
                                 "+1",
                                 "tru",
                                 "nul",
                                 "truex",
                                 "\"a",
                                 "\"a\nb\"",
                                 "\"\\x\"",
                                 "\"\\",
                                 "[1 2]",
                                 "[1,]",
                                 "[,1]",
                                 "[1",
                                 "{\"a\" 1}",
                                 "{\"a\":1,}",
                                 "{a:1}",
                                 "{\"a\":1",
                                 "{\"a\"",
                                 "{1:2}",
                                 "[1}",
                                 "]",
                                 "1 1",
                                 "\"\xC0\x80\"",
                                 "\"\xED\xA0\x80\"",
                                 "\xC3\xA9",
                                 "\xEF\xBB\xBF",
                                 R"({"a":1,"a":2})"}) {
    EXPECT_FALSE(ReadPlainJson(text, 1)) << text;
    EXPECT_THROW(ParseJson(text), Error) << text;
  }
  EXPECT_FALSE(ReadPlainJson(std::string_view("1\0", 2), 1));
}

TEST(PlainJson, NestingUpToTheLimitIsTaken) {
  const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(ReadPlainJson(nested(kMaxJsonDepth), 1));
  EXPECT_FALSE(ReadPlainJson(nested(kMaxJsonDepth + 1), 1));
  std::string objects;
  for (std::size_t i = 0; i <= kMaxJsonDepth; ++i) objects += "{\"a\":";
  EXPECT_FALSE(ReadPlainJson(objects + "1" + std::string(kMaxJsonDepth + 1, '}'), 1));
}

TEST(PlainJson, OfManyMembersTheOneThatIsRepeatedIsFound) {
  std::string members;
  for (int i = 0; i < 2000; ++i) members += "\"name" + std::to_string(i) + "\":0,";
  EXPECT_TRUE(ReadPlainJson("{" + members + "\"other\":0}", 1));
  EXPECT_FALSE(ReadPlainJson("{" + members + "\"name7\":0}", 1));
}

TEST(PlainJson, ChangedTextsAreReadAsTheLibraryReadsThem) {
  std::mt19937 random(1);
  for (int i = 0; i < 5000; ++i) ExpectReadAlike(Mutated(Samples()[random() % Samples().size()], random));
}

TEST(PlainJson, PlacesCountCharactersAndLines) {
  const std::optional<Json> json =
      ReadPlainJson("\xEF\xBB\xBF{\"\xC3\xA9\" : [ 12,\n\t-3.5 ,true, {}],\n\"b\":\"x\"}", 5);
  ASSERT_TRUE(json);
  EXPECT_EQ(Described(*json), "5:1 {\xC3\xA9=5:8 [5:10 12][6:2 -3.5][6:8 true][6:14 ]}{b=7:5 text x}");
}

}  // namespace
}  // namespace mv
