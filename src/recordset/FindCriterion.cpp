#include "recordset/FindCriterion.h"

#include "base/Error.h"
#include "base/Text.h"

namespace mv {
namespace {

constexpr char kQuote = '\'';

/// The text of a whole quoted literal; its first character must be the opening quote and its last the closing one.
std::string Unquoted(std::string_view literal) {
  if (literal.empty() || literal.front() != kQuote) throw StandardError(errors::kRecordsetArgument);
  std::string text;
  for (std::size_t i = 1; i < literal.size(); ++i) {
    if (literal[i] != kQuote) {
      text += literal[i];
      continue;
    }
    const bool closes = i + 1 == literal.size();
    if (closes) return text;
    if (literal[++i] != kQuote) break;
    text += kQuote;
  }
  throw StandardError(errors::kRecordsetArgument);
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
