#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/Error.h"
#include "jet/definition/TableDefinition.h"
#include "jet/definition/TableRules.h"
#include "jet/rules/Expression.h"
#include "recordset/Value.h"

namespace mv::jet {

/// The expressions among a table's rules, read once: default values, and the validation rules of columns and table.
///
/// A validation rule is broken when it is false; null is not false, so a column without a value breaks only a rule that
/// asks for one. A rule that the engine does not understand, or cannot apply to the values, might be broken by
/// anything: a change that gives its column a value is refused, for the table's rule any change that gives one.
class RuleCheck {
 public:
  /// Both must outlive the object.
  RuleCheck(const TableDefinition& table, const TableRules& rules, ExpressionSources sources);

  /// What a new row holds in a column that nobody gave a value, of whatever type the expression has; null without a
  /// default value. UnsupportedError, naming table, column and expression, for one that is not understood.
  Value DefaultOf(std::size_t column) const;

  /// `row` gives the values as they will be, `isGiven` tells by position whether the change gives a column its value.
  /// ConstraintError with the rule's own text, or the platform's, and the names of table and column; UnsupportedError
  /// for a rule that is not understood.
  void Check(const Expression::Row& row, const std::function<bool(std::size_t)>& isGiven) const;
  /// True when there is nothing to check.
  bool IsEmpty() const { return checks_.empty(); }

 private:
  struct Rule {
    std::optional<std::size_t> column;  ///< nothing: the table's
    const std::string* text = nullptr;
    const std::string* message = nullptr;
    std::optional<Expression> expression;  ///< nothing: not understood
  };

  void AddDefault(const std::string& text);
  void AddRule(const std::string& text, const std::string& message, std::optional<std::size_t> column);
  std::optional<bool> ResultOf(const Rule& rule, const Expression::Row& row) const;
  Error BrokenError(const Rule& rule) const;
  Error NotUnderstoodError(const std::string& what, const std::string& text, std::optional<std::size_t> column) const;

  const TableDefinition& table_;
  const TableRules& rules_;
  ExpressionSources sources_;
  std::vector<std::optional<Expression>> defaults_;  ///< by position; nothing: none, or not understood
  std::vector<Rule> checks_;
};

}  // namespace mv::jet
