#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Date.h"
#include "recordset/Value.h"

namespace mv::jet {

/// The machine's clock.
CivilTime SystemNow();
/// A new random GUID (version 4), as columns hold it.
std::string RandomGuid();

/// Where Now(), Date(), Time() and GenGUID() get their values from.
struct ExpressionSources {
  std::function<CivilTime()> now = SystemNow;
  std::function<std::string()> newGuid = RandomGuid;
};

/// An expression of a table's design: the default value of a column, or the rule that a value or a row must satisfy.
/// ExpressionParser.h reads it from its text:
///
///   literals    12  1.5E3  "text" 'text' (a quote inside doubled)  #2/28/2004 10:30 PM#  #2004-02-28#  #10:30#
///               True Yes On False No Off Null
///   columns     [Any name], or a name alone when it has no blanks
///   functions   Now() Date() Time() GenGUID() Len(x)
///   operators   * /   + -   &   = <> < <= > >= Like, Between x And y, In (x, y), Is Null, each also with Not
///               Not   And   Or, binding less tightly in this order; parentheses
///
/// In a column's rule the column itself stands on the left where nothing is written: ">0 And <10", "Is Not Null", and
/// "1 Or 2" for "=1 Or =2". A "=" in front of anything else means nothing.
///
/// Values are null, true (-1 as a number) and false, numbers (all as double), dates and texts. Null makes an operation
/// null, except "&", "Is Null", and And or Or that the other side decides. Texts compare in the sort order General, in
/// the way of FoldCase where that has no place for a character or is not asked about it (behind the 255th).
class Expression {
 public:
  enum class Operation : std::uint8_t {
    Constant,
    Column,
    Negate,
    Add,
    Subtract,
    Multiply,
    Divide,
    Join,
    Less,
    LessOrEqual,
    Equal,
    NotEqual,
    GreaterOrEqual,
    Greater,
    Like,
    IsNull,
    Not,
    And,
    Or,
    Length,
    Now,
    Today,
    TimeOfDay,
    NewGuid,
  };
  /// One step of the evaluation; its operands are steps before it.
  struct Step {
    Operation operation = Operation::Constant;
    Value constant;          ///< Constant
    std::size_t column = 0;  ///< Column
    bool isDecimal = false;  ///< Column: its values are numbers held as text
    std::size_t left = 0;    ///< the only operand of those that have one
    std::size_t right = 0;
  };

  /// `steps`: at least one; the last one is the result.
  explicit Expression(std::vector<Step> steps) : steps_(std::move(steps)) {}

  /// Gives the value of a column of the row, by position, as the table stores it.
  using Row = std::function<Value(std::size_t)>;
  /// Null, bool, double, Date or text. Error 13 for operands that do not go together, error 6 for a division by zero.
  Value Evaluate(const Row& row, const ExpressionSources& sources) const;

 private:
  std::vector<Step> steps_;
};

/// Jet's patterns: "?" one character, "*" any number of them, "#" a digit, "[ace-g]" one of these, "[!ace-g]" one that
/// is not. The whole text must match; case does not matter. Error 13 for a bracket that is not closed.
bool IsLike(std::string_view text, std::string_view pattern);

}  // namespace mv::jet
