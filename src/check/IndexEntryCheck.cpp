#include "check/IndexEntryCheck.h"

#include <algorithm>

namespace mv::check {

IndexEntryCheck::IndexEntryCheck(Context& context, const Definition& definition, const Index& index,
                                 const std::vector<PageNumber>& leaves)
    : context_(context),
      definition_(definition),
      index_(index),
      leaves_(leaves),
      place_(definition.Where().OfIndex(index.title)),
      reader_(definition),
      builder_(context, definition),
      seen_(definition.endRowNumber - definition.firstRowNumber) {}

void IndexEntryCheck::Run() {
  for (const PageNumber leaf : leaves_) {
    page_.Read(context_.pages.At(leaf));
    const Place place = place_.OnPage(leaf);
    for (std::size_t i = 0; i < page_.Count(); ++i) CheckEntry(page_.At(i), place);
  }
  if (unknownKeys_ != 0) {
    context_.findings.Note(
        Kind::IndexKey, place_, unknownKeys_,
        " keys were not compared with their rows: of their sort order, characters or type no key can "
        "be built");
  }
  std::sort(otherKeys_.begin(), otherKeys_.end());
  if (index_.IsUnique()) CheckUniqueAcrossRules();
  CheckRowsWithoutEntry();
}

void IndexEntryCheck::CheckEntry(const Entry& entry, const Place& place) {
  CheckOrder(entry, place);
  Previous now{true, entry, false};
  std::swap(previous_, now);
  const RowId home = AddressOf(entry);
  if (!TakeRow(home, place) || context_.rows.MarkOf(home) == Mark::Damaged || !index_.HasColumns()) return;
  isOther_ = false;
  CheckKey(entry, home, place);
  previous_.countsAsUnique = !key_.allNull && !isOther_;
  if (!index_.IsUnique() || !now.countsAsUnique || !previous_.countsAsUnique) return;
  if (Compare(now.entry.Without(kAddressSize), entry.Without(kAddressSize)) == 0) {
    context_.findings.Damage(Kind::Unique, place, "rows ", AddressOf(now.entry), " and ", home, " have the same key ",
                             Hex{entry.Without(kAddressSize).Copy()});
  }
}

void IndexEntryCheck::CheckOrder(const Entry& entry, const Place& place) {
  if (!previous_.exists || Compare(previous_.entry, entry) < 0) return;
  context_.findings.Damage(Kind::IndexOrder, place, "entry ", Hex{entry.Copy()}, " does not come after ",
                           Hex{previous_.entry.Copy()});
}

/// False when the entry's row cannot be looked at.
bool IndexEntryCheck::TakeRow(RowId row, const Place& place) {
  const bool isTables = context_.pages.Has(row.page) && context_.owners.OwnerOf(row.page) == definition_.rowsOwner &&
                        context_.rows.Has(row);
  const Mark mark = isTables ? context_.rows.MarkOf(row) : Mark::None;
  if (mark != Mark::Row && mark != Mark::Damaged) {
    context_.findings.Damage(Kind::IndexEntry, place, "an entry leads to ", row, ", where no row is");
    return false;
  }
  const std::size_t number = context_.rows.NumberOf(row) - definition_.firstRowNumber;
  if (seen_[number]) {
    context_.findings.Damage(Kind::IndexEntry, place, "row ", row, " has two entries");
    return false;
  }
  seen_[number] = true;
  return true;
}

void IndexEntryCheck::CheckKey(const Entry& entry, RowId home, const Place& place) {
  const Row row = reader_.At(context_.rows, home);
  builder_.Build(index_, row, KeyBuilder::Style::Usual, key_);
  if (key_.allNull && index_.IgnoresNulls()) {
    context_.findings.Damage(Kind::IndexEntry, place, "row ", home, " is null and should have no entry");
  }
  if (key_.anyNull && index_.RefusesNulls()) {
    context_.findings.Damage(Kind::Null, place, "row ", home, " has a null in a key that refuses it");
  }
  if (key_.known) {
    CompareKey(entry.Without(kAddressSize), row, home, place);
  } else {
    ++unknownKeys_;
  }
}

void IndexEntryCheck::CompareKey(const Entry& stored, const Row& row, RowId home, const Place& place) {
  ++context_.report.keysRebuilt;
  if (stored.Equals(key_.bytes)) return;
  const KeyBuilder::Key usual = key_;
  isOther_ = IsOfOtherRules(stored, row);
  key_ = usual;
  if (isOther_) {
    context_.findings.Note(Kind::IndexKey, place, "the key of row ", home,
                           " was built by another version of the engine's rules");
    if (!usual.allNull) otherKeys_.push_back(usual.bytes);
  } else {
    context_.findings.Damage(Kind::IndexKey, place, "the key of row ", home, " is ", Hex{stored.Copy()},
                             ", but its values make ", Hex{usual.bytes});
  }
}

bool IndexEntryCheck::IsOfOtherRules(const Entry& stored, const Row& row) {
  for (const auto style : {KeyBuilder::Style::Other, KeyBuilder::Style::OtherAccents}) {
    builder_.Build(index_, row, style, key_);
    if (key_.known && stored.Equals(key_.bytes)) return true;
  }
  return false;
}

/// Entries of one key that were built by different rules do not stand side by side.
void IndexEntryCheck::CheckUniqueAcrossRules() {
  if (otherKeys_.empty()) return;
  std::size_t duplicates = 0;
  for (std::size_t i = 1; i < otherKeys_.size(); ++i) duplicates += otherKeys_[i] == otherKeys_[i - 1] ? 1 : 0;
  for (const PageNumber leaf : leaves_) {
    page_.Read(context_.pages.At(leaf));
    for (std::size_t i = 0; i < page_.Count(); ++i) {
      const Entry entry = page_.At(i);
      const Bytes key = entry.Without(kAddressSize).Copy();
      const RowId home = AddressOf(entry);
      if (!std::binary_search(otherKeys_.begin(), otherKeys_.end(), key) || !IsRow(home)) continue;
      builder_.Build(index_, reader_.At(context_.rows, home), KeyBuilder::Style::Usual, key_);
      if (key_.bytes == key) ++duplicates;
    }
  }
  if (duplicates != 0) {
    context_.findings.Damage(Kind::Unique, place_, duplicates,
                             " rows have the key of another one, built by other rules");
  }
}

void IndexEntryCheck::CheckRowsWithoutEntry() {
  for (const PageNumber page : definition_.dataPages) {
    for (unsigned slot = 0; slot < context_.rows.SlotCount(page); ++slot) {
      const RowId row{page, static_cast<std::uint8_t>(slot)};
      if (context_.rows.MarkOf(row) != Mark::Row) continue;
      if (seen_[context_.rows.NumberOf(row) - definition_.firstRowNumber] || MayLackEntry(row)) continue;
      context_.findings.Damage(Kind::IndexEntry, place_.AtRow(row), "the row has no entry in the index");
    }
  }
}

/// Whether a sound row of the table is there.
bool IndexEntryCheck::IsRow(RowId row) const {
  return context_.pages.Has(row.page) && context_.owners.OwnerOf(row.page) == definition_.rowsOwner &&
         context_.rows.Has(row) && context_.rows.MarkOf(row) == Mark::Row;
}

bool IndexEntryCheck::MayLackEntry(RowId home) {
  if (!index_.IgnoresNulls() || !index_.HasColumns()) return false;
  builder_.Build(index_, reader_.At(context_.rows, home), KeyBuilder::Style::Usual, key_);
  return key_.allNull;
}

}  // namespace mv::check
