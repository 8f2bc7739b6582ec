#include "sync/HandheldForm.h"

#include <string>

#include "base/Cp1252.h"
#include "base/Date.h"
#include "base/Error.h"
#include "pdb/FieldValue.h"
#include "pdb/HandheldType.h"
#include "recordset/Conversions.h"

namespace mv {
namespace {

std::string TextOnHandheld(const std::string& text) {
  return Utf8FromCp1252(Cp1252FromUtf8(text.substr(0, text.find('\0'))));
}

}  // namespace

bool IsSameOnHandheld(DataType type, const Value& handheld, const Value& desktop) {
  if (handheld == desktop) return true;
  const std::optional<Value> stored = HandheldForm(type, desktop);
  return stored && *stored == HandheldForm(type, handheld);
}

std::optional<Value> HandheldForm(DataType type, const Value& value) {
  const std::optional<HandheldType> known = HandheldTypeOf(type);
  if (!known) return std::nullopt;
  try {
    Value stored = IsNull(value) ? ZeroValueOf(*known) : ConvertedTo(type, value);
    if (const auto* text = std::get_if<std::string>(&stored)) return TextOnHandheld(*text);
    if (const auto* date = std::get_if<Date>(&stored)) return DateFromSeconds(SecondsFromDate(*date));
    return stored;
  } catch (const Error&) {
    return std::nullopt;
  }
}

bool IsSameOnHandheld(std::span<const FieldDefinition> fields, std::span<const Value> handheld,
                      std::span<const Value> desktop) {
  if (handheld.size() != desktop.size() || fields.size() < desktop.size()) return false;
  for (std::size_t i = 0; i < desktop.size(); ++i) {
    if (!IsSameOnHandheld(fields[i].type, handheld[i], desktop[i])) return false;
  }
  return true;
}

}  // namespace mv
