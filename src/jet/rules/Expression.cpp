#include "jet/rules/Expression.h"

#include <array>
#include <cmath>
#include <random>
#include <string>

#include "base/Error.h"
#include "base/NumberText.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "jet/index/TextKeys.h"
#include "jet/rows/Guid.h"
#include "platform/System.h"

namespace mv::jet {
namespace {

using Operation = Expression::Operation;

[[noreturn]] void Fail() {
  throw StandardError(errors::kTypeMismatch);
}

bool IsText(const Value& value) {
  return std::holds_alternative<std::string>(value);
}

/// A stored value as expressions take it.
Value Operand(const Value& stored, bool isDecimal) {
  return std::visit(
      [&](const auto& value) -> Value {
        using Type = std::decay_t<decltype(value)>;
        if constexpr (std::is_same_v<Type, Currency>) {
          return static_cast<double>(value.tenThousandths) / 10000;
        } else if constexpr (std::is_same_v<Type, std::string>) {
          return isDecimal ? Value(ParseDouble(value)) : Value(value);
        } else if constexpr (std::is_arithmetic_v<Type> && !std::is_same_v<Type, bool>) {
          return static_cast<double>(value);
        } else {
          return value;
        }
      },
      stored);
}

double NumberOf(const Value& value) {
  if (const auto* number = std::get_if<double>(&value)) return *number;
  if (const auto* date = std::get_if<Date>(&value)) return date->days;
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? -1 : 0;
  Fail();
}

/// The truth of a value; nothing for null.
std::optional<bool> TruthOf(const Value& value) {
  if (IsNull(value)) return std::nullopt;
  return NumberOf(value) != 0;
}

Value ValueOf(std::optional<bool> truth) {
  return truth ? Value(*truth) : Value(Null());
}

int Sign(bool isLess, bool isGreater) {
  return isLess ? -1 : static_cast<int>(isGreater);
}

int CompareTexts(const std::string& left, const std::string& right) {
  constexpr std::size_t kUnitsInKeys = 255;
  Bytes leftKey;
  Bytes rightKey;
  const bool haveKeys = Utf16FromUtf8(left).size() <= kUnitsInKeys && Utf16FromUtf8(right).size() <= kUnitsInKeys &&
                        !AppendTextKey(leftKey, left) && !AppendTextKey(rightKey, right);
  if (haveKeys) return Sign(leftKey<rightKey, leftKey> rightKey);
  const std::string leftFolded = FoldCase(left);
  const std::string rightFolded = FoldCase(right);
  return Sign(leftFolded<rightFolded, leftFolded> rightFolded);
}

/// Nothing when one of them is null.
std::optional<int> Compare(const Value& left, const Value& right) {
  if (IsNull(left) || IsNull(right)) return std::nullopt;
  if (IsText(left) && IsText(right)) return CompareTexts(std::get<std::string>(left), std::get<std::string>(right));
  const double leftNumber = NumberOf(left);
  const double rightNumber = NumberOf(right);
  return Sign(leftNumber<rightNumber, leftNumber> rightNumber);
}

bool Satisfies(Operation operation, int sign) {
  switch (operation) {
    case Operation::Less:
      return sign < 0;
    case Operation::LessOrEqual:
      return sign <= 0;
    case Operation::Equal:
      return sign == 0;
    case Operation::NotEqual:
      return sign != 0;
    case Operation::GreaterOrEqual:
      return sign >= 0;
    default:
      return sign > 0;
  }
}

double Calculated(Operation operation, double left, double right) {
  switch (operation) {
    case Operation::Add:
      return left + right;
    case Operation::Subtract:
      return left - right;
    case Operation::Multiply:
      return left * right;
    default:
      if (right == 0) throw StandardError(errors::kOverflow);
      return left / right;
  }
}

/// A date plus or minus a number is a date.
Value Calculate(Operation operation, const Value& left, const Value& right) {
  if (IsNull(left) || IsNull(right)) return Null();
  if (operation == Operation::Add && IsText(left) && IsText(right)) {
    return std::get<std::string>(left) + std::get<std::string>(right);
  }
  const double result = Calculated(operation, NumberOf(left), NumberOf(right));
  const bool leftIsDate = std::holds_alternative<Date>(left);
  const bool rightIsDate = std::holds_alternative<Date>(right);
  const bool isDate = (operation == Operation::Add && leftIsDate != rightIsDate) ||
                      (operation == Operation::Subtract && leftIsDate && !rightIsDate);
  return isDate ? Value(Date{result}) : Value(result);
}

/// Dates are left out: how they read depends on the user's settings.
std::string TextToJoin(const Value& value) {
  if (IsNull(value)) return {};
  if (IsText(value)) return std::get<std::string>(value);
  if (std::holds_alternative<Date>(value)) Fail();
  return TextOfDouble(NumberOf(value));
}

Value Joined(const Value& left, const Value& right) {
  if (IsNull(left) && IsNull(right)) return Null();
  return TextToJoin(left) + TextToJoin(right);
}

Value Likeness(const Value& left, const Value& right) {
  if (IsNull(left) || IsNull(right)) return Null();
  if (!IsText(right)) Fail();
  return IsLike(TextToJoin(left), std::get<std::string>(right));
}

Value LengthOf(const Value& value) {
  if (IsNull(value)) return Null();
  return static_cast<double>(Utf16FromUtf8(TextToJoin(value)).size());
}

/// Three-valued: what one side decides alone needs no other.
std::optional<bool> Both(std::optional<bool> left, std::optional<bool> right) {
  if (left == false || right == false) return false;
  if (!left || !right) return std::nullopt;
  return true;
}
std::optional<bool> Either(std::optional<bool> left, std::optional<bool> right) {
  if (left == true || right == true) return true;
  if (!left || !right) return std::nullopt;
  return false;
}
std::optional<bool> Opposite(std::optional<bool> truth) {
  if (!truth) return std::nullopt;
  return !*truth;
}

Value NowFrom(const ExpressionSources& sources, Operation operation) {
  CivilTime now = sources.now();
  if (operation == Operation::Today) now.hour = now.minute = now.second = 0;
  if (operation == Operation::TimeOfDay) {
    const CivilTime dayZero;
    now.year = dayZero.year;
    now.month = dayZero.month;
    now.day = dayZero.day;
  }
  return DateFromCivil(now);
}

Value Negated(const Value& value) {
  if (IsNull(value)) return Null();
  return -NumberOf(value);
}

/// One member of a pattern's bracket list, from `at`, which advances: a character or a range of them.
bool IsInMember(char32_t character, std::u32string_view list, std::size_t& at) {
  const char32_t first = list[at++];
  if (at + 1 >= list.size() || list[at] != U'-') return character == first;
  const char32_t last = list[at + 1];
  at += 2;
  return first <= character && character <= last;
}

bool IsInList(char32_t character, std::u32string_view list) {
  const bool isNegated = list.size() > 1 && list.front() == U'!';
  bool isFound = false;
  for (std::size_t at = isNegated ? 1 : 0; at < list.size();) isFound = IsInMember(character, list, at) || isFound;
  return isFound != isNegated;
}

/// Length of the pattern's element at `at` and whether it matches the character.
struct ElementMatch {
  std::size_t length = 1;
  bool matches = false;
};
ElementMatch MatchElement(std::u32string_view pattern, std::size_t at, char32_t character) {
  switch (pattern[at]) {
    case U'?':
      return {1, true};
    case U'#':
      return {1, character >= U'0' && character <= U'9'};
    case U'[': {
      const std::size_t end = pattern.find(U']', at + 1);
      if (end == std::u32string_view::npos) Fail();
      return {end - at + 1, IsInList(character, pattern.substr(at + 1, end - at - 1))};
    }
    default:
      return {1, pattern[at] == character};
  }
}

}  // namespace

CivilTime SystemNow() {
  return platform::SystemClock().Now();
}

std::string RandomGuid() {
  std::random_device device;
  std::uniform_int_distribution<int> anyByte(0, 255);
  GuidBytes guid;
  for (std::uint8_t& byte : guid) byte = static_cast<std::uint8_t>(anyByte(device));
  // Version 4 and the variant of the standard.
  guid[6] = static_cast<std::uint8_t>((guid[6] & 0x0F) | 0x40);
  guid[8] = static_cast<std::uint8_t>((guid[8] & 0x3F) | 0x80);
  return TextOfGuid(guid);
}

bool IsLike(std::string_view text, std::string_view pattern) {
  const std::u32string characters = CodePointsFromUtf8(FoldCase(text));
  const std::u32string elements = CodePointsFromUtf8(FoldCase(pattern));
  std::size_t at = 0;
  std::size_t element = 0;
  // Where to go on when what follows the last star does not match: that star takes one character more.
  std::optional<std::size_t> afterStar;
  std::size_t starEnd = 0;
  while (at < characters.size()) {
    if (element < elements.size() && elements[element] == U'*') {
      afterStar = ++element;
      starEnd = at;
      continue;
    }
    if (element < elements.size()) {
      const ElementMatch match = MatchElement(elements, element, characters[at]);
      if (match.matches) {
        element += match.length;
        ++at;
        continue;
      }
    }
    if (!afterStar) return false;
    element = *afterStar;
    at = ++starEnd;
  }
  while (element < elements.size() && elements[element] == U'*') ++element;
  return element == elements.size();
}

Value Expression::Evaluate(const Row& row, const ExpressionSources& sources) const {
  std::vector<Value> results;
  for (const Step& step : steps_) {
    const auto left = [&]() -> const Value& { return results[step.left]; };
    const auto right = [&]() -> const Value& { return results[step.right]; };
    Value result;
    switch (step.operation) {
      case Operation::Constant:
        result = step.constant;
        break;
      case Operation::Column:
        result = Operand(row(step.column), step.isDecimal);
        break;
      case Operation::Negate:
        result = Negated(left());
        break;
      case Operation::Add:
      case Operation::Subtract:
      case Operation::Multiply:
      case Operation::Divide:
        result = Calculate(step.operation, left(), right());
        break;
      case Operation::Join:
        result = Joined(left(), right());
        break;
      case Operation::Less:
      case Operation::LessOrEqual:
      case Operation::Equal:
      case Operation::NotEqual:
      case Operation::GreaterOrEqual:
      case Operation::Greater:
        if (const auto sign = Compare(left(), right())) result = Satisfies(step.operation, *sign);
        break;
      case Operation::Like:
        result = Likeness(left(), right());
        break;
      case Operation::IsNull:
        result = IsNull(left());
        break;
      case Operation::Not:
        result = ValueOf(Opposite(TruthOf(left())));
        break;
      case Operation::And:
        result = ValueOf(Both(TruthOf(left()), TruthOf(right())));
        break;
      case Operation::Or:
        result = ValueOf(Either(TruthOf(left()), TruthOf(right())));
        break;
      case Operation::Length:
        result = LengthOf(left());
        break;
      case Operation::Now:
      case Operation::Today:
      case Operation::TimeOfDay:
        result = NowFrom(sources, step.operation);
        break;
      case Operation::NewGuid:
        result = sources.newGuid();
        break;
    }
    results.push_back(std::move(result));
  }
  return results.back();
}

}  // namespace mv::jet
