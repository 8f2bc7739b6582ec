#include "sync/HandheldForm.h"

#include <string>

#include "base/Ascii.h"
#include "base/Date.h"
#include "base/Error.h"
#include "pdb/DateWord.h"
#include "pdb/FieldValue.h"
#include "pdb/HandheldType.h"
#include "pdb/PDBByteStream.h"
#include "recordset/Conversions.h"

namespace mv {
namespace {

std::string TextOnHandheld(const std::string& text) {
  if (IsAscii(text) && text.find('\0') == text.npos) return text;
  PDBByteStream stream;
  std::int32_t pos = 0;
  stream.StringToByte(text, pos);
  pos = 0;
  std::string read;
  stream.ByteToString(read, pos);
  return read;
}

Date DateOnHandheld(Date date) {
  return DateFromSeconds(SecondsFromDateWord(DateWordFromSeconds(SecondsFromDate(date))));
}

}  // namespace

bool IsSameOnHandheld(DataType type, const Value& handheld, const Value& desktop) {
  if (handheld == desktop) return true;
  return HandheldForm(type, desktop) == std::optional(handheld);
}

std::optional<Value> HandheldForm(DataType type, const Value& value) {
  const std::optional<HandheldType> known = HandheldTypeOf(type);
  if (!known) return std::nullopt;
  try {
    Value stored = IsNull(value) ? ZeroValueOf(*known) : ConvertedTo(type, value);
    if (const auto* text = std::get_if<std::string>(&stored)) return TextOnHandheld(*text);
    if (const auto* date = std::get_if<Date>(&stored)) return DateOnHandheld(*date);
    return stored;
  } catch (const Error&) {
    return std::nullopt;
  }
}

bool ComesBackChanged(const Value& desktop) {
  try {
    if (const auto* text = std::get_if<std::string>(&desktop)) return TextOnHandheld(*text) != *text;
    const auto* date = std::get_if<Date>(&desktop);
    return date != nullptr && SecondsFromDate(DateOnHandheld(*date)) != SecondsFromDate(*date);
  } catch (const Error&) {
    return false;  // The handheld takes no such value at all.
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
