#include "jet/rules/Expression.h"

#include <gtest/gtest.h>

#include <regex>

#include "base/Error.h"
#include "jet/rows/Guid.h"
#include "jet/rules/ExpressionParser.h"
#include "support/ExpectError.h"

namespace mv::jet {
namespace {

using testing::ErrorNumberOf;

/// Columns N (Long), T (Text), D (DateTime), P (Decimal), "TWO WORDS" (Long), B (Boolean), C (Currency).
TableDefinition Design() {
  TableDefinition table;
  const std::vector<std::pair<const char*, ColumnType>> columns = {
      {"N", ColumnType::Long},    {"T", ColumnType::Text},         {"D", ColumnType::DateTime},
      {"P", ColumnType::Decimal}, {"TWO WORDS", ColumnType::Long}, {"B", ColumnType::Boolean},
      {"C", ColumnType::Currency}};
  for (const auto& [name, type] : columns) {
    Column column;
    column.name = name;
    column.type = type;
    table.columns.push_back(column);
  }
  return table;
}

const ExpressionSources kSources = {[] { return CivilTime{2004, 2, 29, 13, 45, 10}; },
                                    [] { return std::string("{01234567-89AB-4DEF-8123-456789ABCDEF}"); }};

/// The value of an expression over a row of Design.
Value ValueOf(std::string_view text, const std::vector<Value>& row = std::vector<Value>(7)) {
  const auto expression = ParseExpression(text, Design(), std::nullopt);
  EXPECT_TRUE(expression) << text;
  if (!expression) return Null();
  return expression->Evaluate([&](std::size_t column) { return row.at(column); }, kSources);
}

/// What the rule of the column `subject` says to its value.
Value RuleOn(std::string_view rule, const Value& value, std::size_t subject = 0) {
  const auto expression = ParseExpression(rule, Design(), subject);
  EXPECT_TRUE(expression) << rule;
  if (!expression) return Null();
  return expression->Evaluate([&](std::size_t column) { return column == subject ? value : Value(); }, kSources);
}

bool IsUnderstood(std::string_view text, std::optional<std::size_t> subject = std::nullopt) {
  return ParseExpression(text, Design(), subject).has_value();
}

Value Text(const char* text) {
  return std::string(text);
}
Value Long(std::int32_t number) {
  return number;
}
Value Day(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return DateFromCivil({year, month, day, hour, minute, second});
}

TEST(Expression, LiteralsHaveTheirValues) {
  EXPECT_EQ(ValueOf("12"), Value(12.0));
  EXPECT_EQ(ValueOf(" -1.5E3 "), Value(-1500.0));
  EXPECT_EQ(ValueOf(".5"), Value(0.5));
  EXPECT_EQ(ValueOf("\"say \"\"yes\"\"\""), Text("say \"yes\""));
  EXPECT_EQ(ValueOf("'it''s'"), Text("it's"));
  EXPECT_EQ(ValueOf("\"\""), Text(""));
  EXPECT_EQ(ValueOf("Null"), Value(Null()));
  for (const char* word : {"True", "YES", "on"}) EXPECT_EQ(ValueOf(word), Value(true)) << word;
  for (const char* word : {"False", "No", "OFF"}) EXPECT_EQ(ValueOf(word), Value(false)) << word;
}

TEST(Expression, LeadingEqualsSignMeansNothingWithoutASubject) {
  EXPECT_EQ(ValueOf("=5"), Value(5.0));
  EXPECT_EQ(ValueOf("= \"x\""), Text("x"));
}

TEST(Expression, DateLiteralsAreMonthFirstOrIso) {
  EXPECT_EQ(ValueOf("#2/28/2004#"), Day(2004, 2, 28));
  EXPECT_EQ(ValueOf("#2004-02-28#"), Day(2004, 2, 28));
  EXPECT_EQ(ValueOf("#12/31/99 11:59:58 PM#"), Day(1999, 12, 31, 23, 59, 58));
  EXPECT_EQ(ValueOf("#1/2/29 12:00 AM#"), Day(2029, 1, 2));
  EXPECT_EQ(ValueOf("#1/2/30#"), Day(1930, 1, 2));
  EXPECT_EQ(ValueOf("#13:30#"), Day(1899, 12, 30, 13, 30));
  for (const char* text : {"#13/1/2004#", "#2/30/2004#", "#2/29/2003#", "#1/1/99999#", "#1/1#", "#24:00#", "#13:00 PM#",
                           "#1-2-2004#", "#x#", "##", "#2004-02-28", "#1:2:3:4#"}) {
    EXPECT_FALSE(IsUnderstood(text)) << text;
  }
}

TEST(Expression, FunctionsAskTheirSources) {
  EXPECT_EQ(ValueOf("Now()"), Day(2004, 2, 29, 13, 45, 10));
  EXPECT_EQ(ValueOf("=date()"), Day(2004, 2, 29));
  EXPECT_EQ(ValueOf("Time()"), Day(1899, 12, 30, 13, 45, 10));
  EXPECT_EQ(ValueOf("GenGUID()"), Text("{01234567-89AB-4DEF-8123-456789ABCDEF}"));
  EXPECT_EQ(ValueOf("Date()+1"), Day(2004, 3, 1));
  EXPECT_EQ(ValueOf("Len(\"añb\")"), Value(3.0));
  EXPECT_EQ(ValueOf("Len(Null)"), Value(Null()));
}

TEST(Expression, RandomGuidsAreOfVersionFourAndDiffer) {
  const std::string guid = RandomGuid();
  EXPECT_TRUE(
      std::regex_match(guid, std::regex("\\{[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\}")))
      << guid;
  EXPECT_NE(guid, RandomGuid());
}

TEST(Expression, OperatorsBindInTheirOrder) {
  EXPECT_EQ(ValueOf("1 + 2 * 3 - 4 / 2"), Value(5.0));
  EXPECT_EQ(ValueOf("(1 + 2) * 3"), Value(9.0));
  EXPECT_EQ(ValueOf("10 - 4 - 3"), Value(3.0));
  EXPECT_EQ(ValueOf("1 & 2 + 3"), Text("15"));
  EXPECT_EQ(ValueOf("2 * -3"), Value(-6.0));
  EXPECT_EQ(ValueOf("Not 1 = 2"), Value(true));
  EXPECT_EQ(ValueOf("True Or True And False"), Value(true));
  EXPECT_EQ(ValueOf("\"a\" + \"b\" & Null & 1.5"), Text("ab1.5"));
}

TEST(Expression, ColumnsAreNamedInBracketsOrAlone) {
  const std::vector<Value> row = {Long(7), Text("x"), Null(), Text("2.5000"), Long(3), true, Currency{125000}};
  EXPECT_EQ(ValueOf("[N] + n", row), Value(14.0));
  EXPECT_EQ(ValueOf("[two words] * 2", row), Value(6.0));
  EXPECT_EQ(ValueOf("[P] * 2", row), Value(5.0));
  EXPECT_EQ(ValueOf("[C] = 12.5", row), Value(true));
  EXPECT_EQ(ValueOf("[B]", row), Value(true));
  EXPECT_EQ(ValueOf("[B] + 0", row), Value(-1.0));
  EXPECT_EQ(ValueOf("[D]", row), Value(Null()));
}

TEST(Expression, ComparisonsOfTextsIgnoreCaseAndTrailingBlanks) {
  EXPECT_EQ(ValueOf("\"ABC\" = \"abc \""), Value(true));
  EXPECT_EQ(ValueOf("\"a\" < \"B\""), Value(true));
  EXPECT_EQ(ValueOf("\"é\" = \"e\""), Value(false));
  EXPECT_EQ(ValueOf("\"\xF0\x9F\x9A\x97\" = \"\xF0\x9F\x9A\x97\""), Value(true));
}

TEST(Expression, NullMakesOperationsNullUnlessTheOtherSideDecides) {
  for (const char* text : {"Null = 1", "1 + Null", "-Null", "Not Null", "Null Like \"*\"", "Null And True",
                           "Null Or False", "Null & Null", "1 Between Null And 2", "1 In (Null)"}) {
    EXPECT_EQ(ValueOf(text), Value(Null())) << text;
  }
  EXPECT_EQ(ValueOf("Null And False"), Value(false));
  EXPECT_EQ(ValueOf("Null Or True"), Value(true));
  EXPECT_EQ(ValueOf("Null Is Null"), Value(true));
  EXPECT_EQ(ValueOf("1 Is Null"), Value(false));
  EXPECT_EQ(ValueOf("1 In (Null, 1)"), Value(true));
}

TEST(Expression, RuleOfAColumnHasItOnTheLeftWhereNothingIsWritten) {
  EXPECT_EQ(RuleOn(">0 And <10", Long(5)), Value(true));
  EXPECT_EQ(RuleOn(">0 And <10", Long(10)), Value(false));
  EXPECT_EQ(RuleOn(">0", Null()), Value(Null()));
  EXPECT_EQ(RuleOn("=5", Long(5)), Value(true));
  EXPECT_EQ(RuleOn("<>5", Long(5)), Value(false));
  EXPECT_EQ(RuleOn("1 Or 2", Long(2)), Value(true));
  EXPECT_EQ(RuleOn("1 Or 2", Long(3)), Value(false));
  EXPECT_EQ(RuleOn("Not 5", Long(5)), Value(false));
  EXPECT_EQ(RuleOn("Between 1 And 5", Long(5)), Value(true));
  EXPECT_EQ(RuleOn("Not Between 1 And 5", Long(5)), Value(false));
  EXPECT_EQ(RuleOn("In (1, 2, -3)", Long(-3)), Value(true));
  EXPECT_EQ(RuleOn("Not In (1,2)", Long(1)), Value(false));
  EXPECT_EQ(RuleOn("Is Not Null", Null()), Value(false));
  EXPECT_EQ(RuleOn("Is Null Or >3", Null()), Value(true));
  EXPECT_EQ(RuleOn("\"M\" Or \"F\"", Text("f"), 1), Value(true));
  EXPECT_EQ(RuleOn("Like \"A*\"", Text("abc"), 1), Value(true));
  EXPECT_EQ(RuleOn("Not Like \"A*\"", Text("abc"), 1), Value(false));
  EXPECT_EQ(RuleOn("<=Now()", Day(2004, 2, 29, 14, 0, 0), 2), Value(false));
  EXPECT_EQ(RuleOn(">=#1/1/2000# And <Date()+1", Day(2004, 2, 29), 2), Value(true));
  EXPECT_EQ(RuleOn("Len([T])>2", Text("abc"), 1), Value(true));
  EXPECT_EQ(RuleOn("(>0 And <5) Or 10", Long(10)), Value(true));
  EXPECT_EQ(RuleOn(">=0.5", Text("0.5000"), 3), Value(true));
  EXPECT_EQ(RuleOn("True", true, 5), Value(true));
}

TEST(Expression, WhatIsNotKnownIsNotUnderstood) {
  for (const char* text : {"",
                           "=",
                           "DLookup(\"x\")",
                           "Forms!Main!Name",
                           "[No column]",
                           "Unknown",
                           "1 +",
                           "(1",
                           "1)",
                           "\"open",
                           "[open",
                           "1 2",
                           "5 Mod 2",
                           "2^3",
                           "1 Xor 2",
                           "In 1",
                           "1 In ()",
                           "1 Between 2",
                           "1 Is 2",
                           "> 5",
                           "Len()",
                           "Now(1)",
                           "Now",
                           "1 In (1",
                           "\\",
                           "1.5E",
                           "Like \"a\"",
                           "Is Null"}) {
    EXPECT_FALSE(IsUnderstood(text)) << text;
  }
  EXPECT_FALSE(IsUnderstood("Between 1", 0));
  EXPECT_FALSE(IsUnderstood("And", 0));
}

TEST(Expression, NestingAndLengthHaveALimit) {
  const std::string deep(39, '(');
  EXPECT_TRUE(IsUnderstood(deep + "1" + std::string(39, ')')));
  EXPECT_FALSE(IsUnderstood(std::string(1000, '(') + "1" + std::string(1000, ')')));
  EXPECT_FALSE(IsUnderstood(std::string(1000, '-') + "1"));
  std::string many = "Not 1";
  for (int i = 0; i < 100; ++i) many = "Not " + many;
  EXPECT_FALSE(IsUnderstood(many));
  std::string sum = "1";
  while (sum.size() + 2 <= 2048) sum += "+1";
  EXPECT_EQ(ValueOf(sum), Value(1024.0));
  EXPECT_FALSE(IsUnderstood(sum + "+1"));
}

TEST(Expression, OperandsThatDoNotGoTogetherAreError13) {
  for (const char* text : {"1 = \"a\"", "1 + \"a\"", "Not \"a\"", "\"a\" And True", "#1/1/2004# & \"x\"",
                           "\"a\" Like 1", "\"a\" Like \"[a\""}) {
    EXPECT_EQ(ErrorNumberOf([&] { ValueOf(text); }), errors::kTypeMismatch) << text;
  }
  EXPECT_EQ(ErrorNumberOf([] { ValueOf("1/0"); }), errors::kOverflow);
}

TEST(Like, PatternsMatchTheWholeText) {
  struct Case {
    const char* text;
    const char* pattern;
    bool matches;
  };
  const std::vector<Case> cases = {
      {"abc", "abc", true},
      {"abc", "ABC", true},
      {"abc", "ab", false},
      {"abc", "a*", true},
      {"abc", "*c", true},
      {"abc", "*b*", true},
      {"abc", "*d*", false},
      {"", "*", true},
      {"", "?", false},
      {"é", "?", true},
      {"a1", "a#", true},
      {"ab", "a#", false},
      {"cat", "[a-d]at", true},
      {"eat", "[a-d]at", false},
      {"cat", "[!a-d]at", false},
      {"eat", "[!a-d]at", true},
      {"a*b", "a[*]b", true},
      {"axb", "a[*]b", false},
      {"[", "[[]", true},
      {"-", "[a-]", true},
      {"!", "[!]", true},
      {"mississippi", "*is*ip*", true},
      {"mississippi", "*is*ix*", false},
      {"aaab", "a*ab", true},
      {"AB-12", "[A-Z][A-Z]-##", true},
  };
  for (const Case& one : cases) EXPECT_EQ(IsLike(one.text, one.pattern), one.matches) << one.text << " " << one.pattern;
}

TEST(Like, ManyStarsCostNoMoreThanTextTimesPattern) {
  const std::string text(20000, 'a');
  std::string pattern;
  for (int i = 0; i < 30; ++i) pattern += "*a";
  EXPECT_FALSE(IsLike(text, pattern + "*b"));
}

}  // namespace
}  // namespace mv::jet
