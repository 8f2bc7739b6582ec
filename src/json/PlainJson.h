#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "json/Json.h"

namespace mv {

/// The value of a JSON text, as ParseJson gives it, when the text is right and plain: without \u escapes, exponents and
/// numbers of more than kLongestPlainNumber characters. Nothing for any other text, wrong ones included: what is wrong,
/// and where, ParseJson finds out. Most texts are rows and changes of rows by the hundred thousand, all of them plain.
std::optional<Json> ReadPlainJson(std::string_view text, std::size_t firstLine);

/// No number of so few characters and without an exponent is too large for a double.
inline constexpr std::size_t kLongestPlainNumber = 64;

}  // namespace mv
