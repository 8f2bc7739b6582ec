#include "check/IndexEntryCheck.h"

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
  CheckRowsWithoutEntry();
}

void IndexEntryCheck::CheckEntry(const Entry& entry, const Place& place) {
  CheckOrder(entry, place);
  Previous now{true, entry, false};
  std::swap(previous_, now);
  const RowId home = AddressOf(entry);
  if (!TakeRow(home, place) || context_.rows.MarkOf(home) == Mark::Damaged || !index_.HasColumns()) return;
  CheckKey(entry, home, place);
  previous_.countsAsUnique = !key_.allNull;
  if (!index_.IsUnique() || !now.countsAsUnique || key_.allNull) return;
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
  const bool allNull = key_.allNull;
  const Bytes usual = key_.bytes;
  builder_.Build(index_, row, KeyBuilder::Style::Other, key_);
  const bool isOther = key_.known && stored.Equals(key_.bytes);
  key_.allNull = allNull;
  if (isOther) {
    context_.findings.Note(Kind::IndexKey, place, "the key of row ", home,
                           " was built by another version of the engine's rules");
  } else {
    context_.findings.Damage(Kind::IndexKey, place, "the key of row ", home, " is ", Hex{stored.Copy()},
                             ", but its values make ", Hex{usual});
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

bool IndexEntryCheck::MayLackEntry(RowId home) {
  if (!index_.IgnoresNulls() || !index_.HasColumns()) return false;
  builder_.Build(index_, reader_.At(context_.rows, home), KeyBuilder::Style::Usual, key_);
  return key_.allNull;
}

}  // namespace mv::check
