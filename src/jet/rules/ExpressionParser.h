#pragma once

#include <optional>
#include <string_view>

#include "base/Date.h"
#include "jet/definition/TableDefinition.h"
#include "jet/rules/Expression.h"

namespace mv::jet {

/// Nothing when the text is not understood: another function or operator, an unknown column, more than 2048 bytes or
/// 40 parentheses in each other. `subject`: the column whose rule it is, by position.
std::optional<Expression> ParseExpression(std::string_view text, const TableDefinition& table,
                                          std::optional<std::size_t> subject);

/// The date between two "#", in the order month, day, year or as year-month-day, with or without a time (12 or 24
/// hours), or a time alone; years below 30 are of this century, below 100 of the last. Nothing for anything else.
std::optional<Date> DateFromLiteral(std::string_view text);

}  // namespace mv::jet
