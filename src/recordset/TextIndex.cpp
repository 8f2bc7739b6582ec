#include "recordset/TextIndex.h"

#include <algorithm>

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
  const auto [entry, isNew] = rows_.try_emplace(KeyOf(value), Rows{row, {}});
  if (isNew) return;
  Rows& rows = entry->second;
  rows.others.insert(std::max(rows.lowest, row));
  rows.lowest = std::min(rows.lowest, row);
}

void TextIndex::Remove(const Value& value, RowNumber row) {
  const auto found = rows_.find(KeyOf(value));
  Rows& rows = found->second;
  if (row != rows.lowest) {
    rows.others.erase(row);
  } else if (rows.others.empty()) {
    rows_.erase(found);
  } else {
    rows.lowest = *rows.others.begin();
    rows.others.erase(rows.others.begin());
  }
}

std::optional<TextIndex::RowNumber> TextIndex::FirstFrom(std::string_view text, RowNumber start) const {
  const auto found = rows_.find(FoldCase(text));
  if (found == rows_.end()) return std::nullopt;
  const Rows& rows = found->second;
  if (rows.lowest >= start) return rows.lowest;
  const auto row = rows.others.lower_bound(start);
  if (row == rows.others.end()) return std::nullopt;
  return *row;
}

}  // namespace mv
