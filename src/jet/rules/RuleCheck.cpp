#include "jet/rules/RuleCheck.h"

#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "jet/file/JetErrors.h"
#include "jet/rules/ExpressionParser.h"
#include "recordset/Conversions.h"

namespace mv::jet {

RuleCheck::RuleCheck(const TableDefinition& table, const TableRules& rules, ExpressionSources sources)
    : table_(table), rules_(rules), sources_(std::move(sources)) {
  for (std::size_t column = 0; column < rules.columns.size(); ++column) {
    AddDefault(rules.columns[column].defaultValue);
    AddRule(rules.columns[column].validationRule, rules.columns[column].validationText, column);
  }
  AddRule(rules.validationRule, rules.validationText, std::nullopt);
}

void RuleCheck::AddDefault(const std::string& text) {
  defaults_.emplace_back();
  if (Trim(text).empty()) return;
  // The other columns of a new row have no values to refer to.
  defaults_.back() = ParseExpression(text, TableDefinition(), std::nullopt);
}

void RuleCheck::AddRule(const std::string& text, const std::string& message, std::optional<std::size_t> column) {
  if (Trim(text).empty()) return;
  checks_.push_back({column, &text, &message, ParseExpression(text, table_, column)});
}

Value RuleCheck::DefaultOf(std::size_t column) const {
  if (column >= rules_.columns.size()) return Null();
  const std::string& text = rules_.columns[column].defaultValue;
  if (Trim(text).empty()) return Null();
  try {
    if (defaults_[column]) return defaults_[column]->Evaluate([](std::size_t) { return Value(); }, sources_);
  } catch (const Error&) {
    // Refused below like every other expression that has no value.
  }
  throw NotUnderstoodError("default value", text, column);
}

void RuleCheck::Check(const Expression::Row& row, const std::function<bool(std::size_t)>& isGiven) const {
  for (const Rule& rule : checks_) {
    if (rule.column && !isGiven(*rule.column)) continue;
    if (ResultOf(rule, row) == false) throw BrokenError(rule);
  }
}

/// Nothing when the rule comes out null, or is not understood but for a column without a value.
std::optional<bool> RuleCheck::ResultOf(const Rule& rule, const Expression::Row& row) const {
  try {
    if (rule.expression) {
      const Value result = rule.expression->Evaluate(row, sources_);
      if (IsNull(result)) return std::nullopt;
      return std::get<bool>(ConvertedTo(DataType::Boolean, result));
    }
  } catch (const Error& error) {
    if (error.Number() == errors::kJetGeneral) throw;  // about the file, not the rule
  }
  if (rule.column && IsNull(row(*rule.column))) return std::nullopt;
  throw NotUnderstoodError("validation rule", *rule.text, rule.column);
}

Error RuleCheck::BrokenError(const Rule& rule) const {
  const std::string place = rule.column ? table_.name + "." + table_.columns[*rule.column].name : table_.name;
  if (rule.message->empty()) {
    return ConstraintError("One or more values are prohibited by the validation rule '" + *rule.text + "' set for '" +
                           place + "'. Enter a value that the expression for this field can accept.");
  }
  const std::string column = rule.column ? ", column '" + table_.columns[*rule.column].name + "'" : std::string();
  return ConstraintError(*rule.message + " Table '" + table_.name + "'" + column + ".");
}

Error RuleCheck::NotUnderstoodError(const std::string& what, const std::string& text,
                                    std::optional<std::size_t> column) const {
  const std::string place = column ? ", column '" + table_.columns[*column].name + "'" : std::string();
  return UnsupportedError("table '" + table_.name + "'" + place + ": its " + what + " '" + text +
                          "' is not understood");
}

}  // namespace mv::jet
