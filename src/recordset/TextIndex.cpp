#include "recordset/TextIndex.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <utility>

#include "base/Text.h"
#include "recordset/Conversions.h"

namespace mv {
namespace {

constexpr std::size_t kFewestPlaces = 16;

std::string KeyOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return FoldCase(*text);
  return FoldCase(TextOf(value));
}

std::uint32_t HashOf(std::string_view text) {
  return static_cast<std::uint32_t>(std::hash<std::string_view>()(text));
}

}  // namespace

void TextIndex::Reserve(std::size_t rows) {
  entries_.reserve(rows);
  if (const std::size_t places = std::bit_ceil(2 * rows); places > places_.size()) Grow(places);
}

void TextIndex::Grow(std::size_t places) {
  const std::vector<Place> old = std::exchange(places_, std::vector<Place>(places));
  for (const Place& place : old) {
    if (place.entry) places_[PlaceOf(TextAt(entries_[*place.entry]), place.hash)] = place;
  }
}

std::size_t TextIndex::PlaceOf(std::string_view text, std::uint32_t hash) const {
  const std::size_t mask = places_.size() - 1;
  for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
    const Place& place = places_[at];
    if (!place.entry || (place.hash == hash && TextAt(entries_[*place.entry]) == text)) return at;
  }
}

TextIndex::EntryNumber TextIndex::EntryOf(std::string_view text) {
  if (places_.size() < 2 * (entries_.size() + 1)) Grow(std::max(kFewestPlaces, 2 * places_.size()));
  const std::uint32_t hash = HashOf(text);
  Place& place = places_[PlaceOf(text, hash)];
  if (!place.entry) {
    place = {hash, static_cast<EntryNumber>(entries_.size())};
    entries_.push_back({texts_.size(), text.size(), std::nullopt});
    texts_ += text;
  }
  return *place.entry;
}

void TextIndex::Add(const Value& value, RowNumber row) {
  const EntryNumber number = EntryOf(KeyOf(value));
  std::optional<RowNumber>& lowest = entries_[number].lowest;
  if (lowest) further_[number].insert(std::max(*lowest, row));
  lowest = std::min(lowest.value_or(row), row);
}

void TextIndex::Remove(const Value& value, RowNumber row) {
  const EntryNumber number = EntryOf(KeyOf(value));
  std::optional<RowNumber>& lowest = entries_[number].lowest;
  const auto further = further_.find(number);
  if (further == further_.end()) {
    lowest.reset();
    return;
  }
  std::set<RowNumber>& rows = further->second;
  if (row == lowest) {
    lowest = *rows.begin();
    rows.erase(rows.begin());
  } else {
    rows.erase(row);
  }
  if (rows.empty()) further_.erase(further);
}

std::optional<TextIndex::RowNumber> TextIndex::FirstFrom(std::string_view text, RowNumber start) const {
  if (places_.empty()) return std::nullopt;
  const std::string key = FoldCase(text);
  const std::optional<EntryNumber> number = places_[PlaceOf(key, HashOf(key))].entry;
  if (!number) return std::nullopt;
  const std::optional<RowNumber> lowest = entries_[*number].lowest;
  if (!lowest || *lowest >= start) return lowest;
  const auto further = further_.find(*number);
  if (further == further_.end()) return std::nullopt;
  const auto row = further->second.lower_bound(start);
  if (row == further->second.end()) return std::nullopt;
  return *row;
}

}  // namespace mv
