#include "jet/rules/ExpressionParser.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/NumberText.h"
#include "base/Text.h"

namespace mv::jet {
namespace {

using Operation = Expression::Operation;
using Step = Expression::Step;

constexpr std::size_t kLongestText = 2048;
constexpr std::size_t kDeepestNesting = 40;

[[noreturn]] void Fail() {
  throw StandardError(errors::kTypeMismatch);
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Bytes of characters outside ASCII count as letters.
bool IsWordCharacter(char c) {
  return IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         (static_cast<unsigned char>(c) & 0x80) != 0;
}

struct Token {
  enum class Kind : std::uint8_t { End, Literal, Name, Word, Symbol };
  Kind kind = Kind::End;
  std::string text;  ///< of a name without its brackets, of a word in upper case
  std::string name;  ///< of a word as it is written
  Value value;       ///< of a literal
};

/// Cuts a text into tokens.
class Lexer {
 public:
  explicit Lexer(std::string_view text) : rest_(text) {}

  std::vector<Token> Tokens() {
    std::vector<Token> tokens;
    do {
      tokens.push_back(Next());
    } while (tokens.back().kind != Token::Kind::End);
    return tokens;
  }

 private:
  Token Next() {
    while (!rest_.empty() && std::string_view(" \t\r\n").find(rest_.front()) != std::string_view::npos)
      rest_.remove_prefix(1);
    if (rest_.empty()) return {};
    const char c = rest_.front();
    if (c == '"' || c == '\'') return {Token::Kind::Literal, {}, {}, Quoted(c)};
    if (c == '#') return DateToken();
    if (c == '[') return {Token::Kind::Name, UpTo(']'), {}, {}};
    if (IsDigit(c) || (c == '.' && rest_.size() > 1 && IsDigit(rest_[1]))) return NumberToken();
    if (IsWordCharacter(c)) return WordToken();
    return SymbolToken();
  }

  /// What stands up to `end`; takes both ends off.
  std::string UpTo(char end) {
    const std::size_t at = rest_.find(end, 1);
    if (at == std::string_view::npos) Fail();
    std::string inside(rest_.substr(1, at - 1));
    rest_.remove_prefix(at + 1);
    return inside;
  }
  std::string Quoted(char quote) {
    std::string text = UpTo(quote);
    while (!rest_.empty() && rest_.front() == quote) text += quote + UpTo(quote);
    return text;
  }
  Token DateToken() {
    const std::optional<Date> date = DateFromLiteral(UpTo('#'));
    if (!date) Fail();
    return {Token::Kind::Literal, {}, {}, *date};
  }
  Token NumberToken() {
    std::size_t size = 0;
    const auto skipDigits = [&] {
      while (size < rest_.size() && IsDigit(rest_[size])) ++size;
    };
    skipDigits();
    if (size < rest_.size() && rest_[size] == '.') ++size;
    skipDigits();
    if (size < rest_.size() && (rest_[size] == 'E' || rest_[size] == 'e')) {
      ++size;
      if (size < rest_.size() && (rest_[size] == '+' || rest_[size] == '-')) ++size;
      skipDigits();
    }
    return {Token::Kind::Literal, {}, {}, ParseDouble(Taken(size))};
  }
  Token WordToken() {
    std::size_t size = 0;
    while (size < rest_.size() && IsWordCharacter(rest_[size])) ++size;
    std::string word = Taken(size);
    return {Token::Kind::Word, AsciiUpper(word), word, {}};
  }
  Token SymbolToken() {
    for (const std::string_view symbol : {"<=", ">=", "<>", "<", ">", "=", "(", ")", ",", "+", "-", "*", "/", "&"}) {
      if (rest_.starts_with(symbol)) return {Token::Kind::Symbol, Taken(symbol.size()), {}, {}};
    }
    Fail();
  }
  std::string Taken(std::size_t size) {
    std::string taken(rest_.substr(0, size));
    rest_.remove_prefix(size);
    return taken;
  }

  std::string_view rest_;
};

/// Reads tokens by the rules of precedence; every call returns the number of the step that has its result.
class Parser {
 public:
  Parser(std::vector<Token> tokens, const TableDefinition& table, std::optional<std::size_t> subject)
      : tokens_(std::move(tokens)), table_(table), subject_(subject) {}

  std::vector<Step> Steps() {
    if (!subject_) TakeSymbol("=");
    Or();
    if (Now().kind != Token::Kind::End) Fail();
    return std::move(steps_);
  }

 private:
  const Token& Now() const { return tokens_[at_]; }
  bool TakeSymbol(std::string_view symbol) { return Take(Token::Kind::Symbol, symbol); }
  bool TakeWord(std::string_view word) { return Take(Token::Kind::Word, word); }
  bool Take(Token::Kind kind, std::string_view text) {
    if (Now().kind != kind || Now().text != text) return false;
    ++at_;
    return true;
  }
  void Expect(bool isTaken) {
    if (!isTaken) Fail();
  }

  std::size_t Add(Operation operation, std::size_t left = 0, std::size_t right = 0) {
    Step& step = steps_.emplace_back();
    step.operation = operation;
    step.left = left;
    step.right = right;
    return steps_.size() - 1;
  }
  std::size_t AddConstant(Value value) {
    steps_.emplace_back().constant = std::move(value);
    return steps_.size() - 1;
  }
  std::size_t AddColumn(std::size_t position) {
    Step& step = steps_.emplace_back();
    step.operation = Operation::Column;
    step.column = position;
    step.isDecimal = table_.columns[position].type == ColumnType::Decimal;
    return steps_.size() - 1;
  }
  std::size_t AddColumnNamed(const std::string& name) {
    const std::optional<std::size_t> position = table_.PositionOf(name);
    if (!position) Fail();
    return AddColumn(*position);
  }
  std::size_t Subject() {
    if (!subject_) Fail();
    return AddColumn(*subject_);
  }

  std::size_t Or() {
    std::size_t left = And();
    while (TakeWord("OR")) left = Add(Operation::Or, left, And());
    return left;
  }
  std::size_t And() {
    std::size_t left = Not();
    while (TakeWord("AND")) left = Add(Operation::And, left, Not());
    return left;
  }
  std::size_t Not() {
    if (!TakeWord("NOT")) return Comparison();
    const Nesting nesting(*this);
    return Add(Operation::Not, Not());
  }

  std::size_t Comparison() {
    if (StartsComparison()) return ComparisonsOf(Subject());
    const std::size_t left = Join();
    if (StartsComparison()) return ComparisonsOf(left);
    return subject_ && IsPlainValue(left) ? Add(Operation::Equal, Subject(), left) : left;
  }
  bool StartsComparison() const {
    static constexpr std::array kSymbols = {"<=", ">=", "<>", "<", ">", "="};
    static constexpr std::array kWords = {"LIKE", "BETWEEN", "IN", "IS"};
    const bool isSymbol =
        Now().kind == Token::Kind::Symbol && std::find(kSymbols.begin(), kSymbols.end(), Now().text) != kSymbols.end();
    const Token& word = Now().kind == Token::Kind::Word && Now().text == "NOT" ? tokens_[at_ + 1] : Now();
    const bool isWord =
        word.kind == Token::Kind::Word && std::find(kWords.begin(), kWords.end(), word.text) != kWords.end();
    return isSymbol || isWord;
  }
  /// A value where a condition should stand is what the subject should be equal to.
  bool IsPlainValue(std::size_t step) const {
    const Operation operation = steps_[step].operation;
    const bool isCondition = operation >= Operation::Less && operation <= Operation::Or;
    return !isCondition && operation != Operation::Column;
  }
  std::size_t ComparisonsOf(std::size_t left) {
    while (StartsComparison()) left = ComparisonOf(left);
    return left;
  }
  std::size_t ComparisonOf(std::size_t left) {
    static constexpr std::array<std::pair<std::string_view, Operation>, 6> kOperations = {{
        {"<", Operation::Less},
        {"<=", Operation::LessOrEqual},
        {"=", Operation::Equal},
        {"<>", Operation::NotEqual},
        {">=", Operation::GreaterOrEqual},
        {">", Operation::Greater},
    }};
    for (const auto& [symbol, operation] : kOperations) {
      if (TakeSymbol(symbol)) return Add(operation, left, Join());
    }
    if (TakeWord("IS")) return IsNullTest(left);
    const bool isNegated = TakeWord("NOT");
    const std::size_t result = WordComparison(left);
    return isNegated ? Add(Operation::Not, result) : result;
  }
  std::size_t IsNullTest(std::size_t left) {
    const bool isNegated = TakeWord("NOT");
    Expect(TakeWord("NULL"));
    const std::size_t result = Add(Operation::IsNull, left);
    return isNegated ? Add(Operation::Not, result) : result;
  }
  std::size_t WordComparison(std::size_t left) {
    if (TakeWord("LIKE")) return Add(Operation::Like, left, Join());
    if (TakeWord("BETWEEN")) {
      const std::size_t lowest = Add(Operation::GreaterOrEqual, left, Join());
      Expect(TakeWord("AND"));
      return Add(Operation::And, lowest, Add(Operation::LessOrEqual, left, Join()));
    }
    Expect(TakeWord("IN"));
    Expect(TakeSymbol("("));
    std::size_t result = Add(Operation::Equal, left, Join());
    while (TakeSymbol(",")) result = Add(Operation::Or, result, Add(Operation::Equal, left, Join()));
    Expect(TakeSymbol(")"));
    return result;
  }

  std::size_t Join() {
    std::size_t left = Sum();
    while (TakeSymbol("&")) left = Add(Operation::Join, left, Sum());
    return left;
  }
  std::size_t Sum() {
    std::size_t left = Product();
    while (true) {
      if (TakeSymbol("+")) {
        left = Add(Operation::Add, left, Product());
      } else if (TakeSymbol("-")) {
        left = Add(Operation::Subtract, left, Product());
      } else {
        return left;
      }
    }
  }
  std::size_t Product() {
    std::size_t left = Signed();
    while (true) {
      if (TakeSymbol("*")) {
        left = Add(Operation::Multiply, left, Signed());
      } else if (TakeSymbol("/")) {
        left = Add(Operation::Divide, left, Signed());
      } else {
        return left;
      }
    }
  }
  std::size_t Signed() {
    const Nesting nesting(*this);
    if (TakeSymbol("-")) return Add(Operation::Negate, Signed());
    if (TakeSymbol("+")) return Signed();
    return Primary();
  }

  std::size_t Primary() {
    if (TakeSymbol("(")) {
      const std::size_t inside = Or();
      Expect(TakeSymbol(")"));
      return inside;
    }
    const Token token = Now();
    if (token.kind == Token::Kind::End || token.kind == Token::Kind::Symbol) Fail();
    ++at_;
    if (token.kind == Token::Kind::Literal) return AddConstant(token.value);
    if (token.kind == Token::Kind::Name) return AddColumnNamed(token.text);
    if (TakeSymbol("(")) return Function(token.text);
    if (const std::optional<Value> constant = ConstantNamed(token.text)) return AddConstant(*constant);
    return AddColumnNamed(token.name);
  }
  std::size_t Function(const std::string& name) {
    if (name == "LEN") {
      const std::size_t operand = Join();
      Expect(TakeSymbol(")"));
      return Add(Operation::Length, operand);
    }
    static constexpr std::array<std::pair<std::string_view, Operation>, 4> kFunctions = {{
        {"NOW", Operation::Now},
        {"DATE", Operation::Today},
        {"TIME", Operation::TimeOfDay},
        {"GENGUID", Operation::NewGuid},
    }};
    Expect(TakeSymbol(")"));
    for (const auto& [function, operation] : kFunctions) {
      if (name == function) return Add(operation);
    }
    Fail();
  }
  static std::optional<Value> ConstantNamed(const std::string& word) {
    if (word == "NULL") return Value(Null());
    if (word == "TRUE" || word == "YES" || word == "ON") return Value(true);
    if (word == "FALSE" || word == "NO" || word == "OFF") return Value(false);
    return std::nullopt;
  }

  /// Keeps a text from nesting deeper than the stack is.
  class Nesting {
   public:
    explicit Nesting(Parser& parser) : parser_(parser) {
      if (++parser_.depth_ > kDeepestNesting) Fail();
    }
    ~Nesting() { --parser_.depth_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

   private:
    Parser& parser_;
  };

  std::vector<Token> tokens_;
  const TableDefinition& table_;
  std::optional<std::size_t> subject_;
  std::size_t at_ = 0;
  std::size_t depth_ = 0;
  std::vector<Step> steps_;
};

/// Numbers of a date literal and the signs between them.
class DateReader {
 public:
  explicit DateReader(std::string_view text) : rest_(Trim(text)) {}

  std::size_t Left() const { return rest_.size(); }
  std::optional<int> Number() {
    std::size_t size = 0;
    while (size < rest_.size() && size < 5 && IsDigit(rest_[size])) ++size;
    if (size == 0 || size > 4) return std::nullopt;
    const auto number = static_cast<int>(ParseInteger(rest_.substr(0, size), 0, 9999));
    rest_.remove_prefix(size);
    return number;
  }
  bool Take(char sign) {
    if (rest_.empty() || rest_.front() != sign) return false;
    rest_.remove_prefix(1);
    return true;
  }
  void SkipBlanks() { rest_ = Trim(rest_); }
  std::string Rest() const { return AsciiUpper(rest_); }

 private:
  std::string_view rest_;
};

bool IsDayOfMonth(const CivilTime& date) {
  if (date.year < 100 || date.year > 9999 || date.month < 1 || date.month > 12 || date.day < 1) return false;
  const int nextYear = date.month == 12 ? date.year + 1 : date.year;
  const int nextMonth = date.month == 12 ? 1 : date.month + 1;
  return date.day <= DayNumber(nextYear, nextMonth, 1) - DayNumber(date.year, date.month, 1);
}

int FullYear(int year, bool isShort) {
  if (!isShort) return year;
  return year < 30 ? 2000 + year : 1900 + year;
}

/// The time behind the first number, which is the hour.
bool ReadTime(DateReader& reader, int hour, CivilTime& time) {
  time.hour = hour;
  if (reader.Take(':')) {
    const auto minute = reader.Number();
    if (!minute) return false;
    time.minute = *minute;
    if (reader.Take(':')) {
      const auto second = reader.Number();
      if (!second) return false;
      time.second = *second;
    }
  }
  reader.SkipBlanks();
  const std::string half = reader.Rest();
  if (half != "" && half != "AM" && half != "PM") return false;
  if (half != "" && (hour < 1 || hour > 12)) return false;
  if (half == "AM" && hour == 12) time.hour = 0;
  if (half == "PM" && hour != 12) time.hour += 12;
  return time.hour < 24 && time.minute < 60 && time.second < 60;
}

}  // namespace

std::optional<Date> DateFromLiteral(std::string_view text) {
  DateReader reader(text);
  CivilTime date;
  const auto first = reader.Number();
  if (!first) return std::nullopt;
  const bool isIso = *first > 99 && reader.Take('-');
  if (!isIso && !reader.Take('/')) {
    return ReadTime(reader, *first, date) ? std::optional(DateFromCivil(date)) : std::nullopt;
  }
  const char between = isIso ? '-' : '/';
  const auto second = reader.Number();
  if (!second || !reader.Take(between)) return std::nullopt;
  const std::size_t before = reader.Left();
  const auto third = reader.Number();
  if (!third) return std::nullopt;
  const bool isShort = before - reader.Left() <= 2;
  date.year = isIso ? *first : FullYear(*third, isShort);
  date.month = isIso ? *second : *first;
  date.day = isIso ? *third : *second;
  if (!IsDayOfMonth(date)) return std::nullopt;
  reader.SkipBlanks();
  if (reader.Left() == 0) return DateFromCivil(date);
  const auto hour = reader.Number();
  if (!hour || !ReadTime(reader, *hour, date)) return std::nullopt;
  return DateFromCivil(date);
}

std::optional<Expression> ParseExpression(std::string_view text, const TableDefinition& table,
                                          std::optional<std::size_t> subject) {
  if (text.size() > kLongestText) return std::nullopt;
  try {
    return Expression(Parser(Lexer(text).Tokens(), table, subject).Steps());
  } catch (const Error&) {
    return std::nullopt;  // by the contract
  }
}

}  // namespace mv::jet
