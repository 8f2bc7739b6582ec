#pragma once

#include <string>
#include <string_view>

namespace mv {

/// What Recordset::Find looks for: the rows whose field `fieldName` reads as `text`.
struct FindCriterion {
  std::string fieldName;
  std::string text;

  friend bool operator==(const FindCriterion&, const FindCriterion&) = default;
};

/// Reads FIELD='text'. A quote inside the text is written twice; blanks may stand before and after the field name and
/// after the closing quote, blanks between the quotes belong to the text. Error 3001 for every other form, so also for
/// a single quote inside the text.
FindCriterion ParseFindCriterion(std::string_view criterion);

}  // namespace mv
