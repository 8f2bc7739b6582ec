#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "jet/Expression.h"

namespace mv::jet {

/// Reads the texts of Expression into its steps; see Expression::Parse. Error 13 for what is not understood.
std::vector<Expression::Step> ParsedSteps(std::string_view text, const TableDefinition& table,
                                          std::optional<std::size_t> subject);

/// The date between two "#", in the order month, day, year or as year-month-day, with or without a time (12 or 24
/// hours), or a time alone; years below 30 are of this century, below 100 of the last. Nothing for anything else.
std::optional<Date> DateFromLiteral(std::string_view text);

}  // namespace mv::jet
