#include "recordset/TextIndex.h"

#include "base/Text.h"
#include "recordset/Conversions.h"

namespace mv {
namespace {

std::string KeyOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return FoldCase(*text);
  return FoldCase(TextOf(value));
}

}  // namespace

void TextIndex::Add(const Value& value, RowNumber row) {
  rows_[KeyOf(value)].insert(row);
}

void TextIndex::Remove(const Value& value, RowNumber row) {
  const auto found = rows_.find(KeyOf(value));
  found->second.erase(row);
  if (found->second.empty()) rows_.erase(found);
}

std::optional<TextIndex::RowNumber> TextIndex::FirstFrom(std::string_view text, RowNumber start) const {
  const auto found = rows_.find(FoldCase(text));
  if (found == rows_.end()) return std::nullopt;
  const auto row = found->second.lower_bound(start);
  if (row == found->second.end()) return std::nullopt;
  return *row;
}

}  // namespace mv
