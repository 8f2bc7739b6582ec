#include "recordset/FindCriterion.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"

namespace mv {
namespace {

constexpr char kQuote = '\'';

/// The text of a whole quoted literal; its first character must be the opening quote and its last the closing one.
std::string Unquoted(std::string_view literal) {
  if (literal.size() < 2 || literal.front() != kQuote) throw StandardError(errors::kRecordsetArgument);
  std::string text;
  for (literal.remove_prefix(1);;) {
    const std::size_t quote = std::min(literal.find(kQuote), literal.size());
    text += literal.substr(0, quote);
    literal.remove_prefix(quote);
    if (literal.size() == 1) return text;
    const bool isDoubled = literal.size() > 1 && literal[1] == kQuote;
    if (!isDoubled) throw StandardError(errors::kRecordsetArgument);
    text += kQuote;
    literal.remove_prefix(2);
  }
}

}  // namespace

FindCriterion ParseFindCriterion(std::string_view criterion) {
  const std::size_t equals = criterion.find('=');
  if (equals == std::string_view::npos) throw StandardError(errors::kRecordsetArgument);
  const std::string_view fieldName = Trim(criterion.substr(0, equals));
  const bool isOneWord = !fieldName.empty() && fieldName.find_first_of(" '<>") == std::string_view::npos;
  if (!isOneWord) throw StandardError(errors::kRecordsetArgument);
  return {std::string(fieldName), Unquoted(Trim(criterion.substr(equals + 1)))};
}

}  // namespace mv
