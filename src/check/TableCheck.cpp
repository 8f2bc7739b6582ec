#include "check/TableCheck.h"

#include <algorithm>

#include "base/Utf.h"
#include "check/StoredText.h"
#include "pdb/PDBUtils.h"
#include "pdb/TableFormat.h"

namespace mv::check {
namespace {

constexpr std::size_t kRowAddressSize = 4;

/// Pages of long values with fewer bytes free are never listed as having room.
constexpr std::size_t kLongValueRoom = 257;

}  // namespace

TableCheck::TableCheck(Context& context, UsageMaps& maps, Definition& definition)
    : context_(context), maps_(maps), definition_(definition), reader_(definition), longValues_(context) {}

bool TableCheck::Run() {
  const Place place = definition_.Where();
  const auto owned = maps_.Read(definition_.ownedPages, place, "the map of owned pages");
  const auto listed = maps_.Read(definition_.freeSpacePages, place, "the map of pages with room");
  CheckLongValuePages();
  if (!owned || !listed) return false;
  CheckSubset(*listed, *owned, place, "the page is listed as having room, but is not the table's", context_.findings);
  definition_.rowsOwner = context_.owners.Add({PageOwners::Owner::Use::Rows, definition_.name});
  definition_.firstRowNumber = context_.rows.NextNumber();
  definition_.dataPages = TakePages(*owned, definition_.rowsOwner, definition_.page, place);
  definition_.endRowNumber = context_.rows.NextNumber();
  CheckRows();
  NoteOrphans();
  CheckCounters();
  return true;
}

/// Values of rows that cannot be read are nobody's because of that; there is no more to be said about them.
void TableCheck::NoteOrphans() const {
  if (hasDamagedRows_) return;
  for (const LongValuePages& part : longValuePages_) {
    longValues_.NoteOrphans(part.pages, definition_.Where().OfColumn(definition_.columns[part.column].name));
  }
}

/// Pages that could be taken and are data pages.
std::vector<PageNumber> TableCheck::TakePages(const std::vector<PageNumber>& pages, PageOwners::Id owner,
                                              std::uint32_t ownerWord, const Place& place) {
  std::vector<PageNumber> taken;
  for (const PageNumber page : pages) {
    if (context_.owners.Claim(page, owner, place) && context_.rows.Add(page, ownerWord, place)) taken.push_back(page);
  }
  return taken;
}

/// Maps of a deleted column stay behind; its pages are read all the same, so that they have an owner.
void TableCheck::CheckLongValuePages() {
  for (const LongValueMaps& maps : definition_.longValueMaps) {
    const std::optional<std::size_t> position = definition_.ColumnById(maps.columnId);
    Column deleted;
    Column& column = position ? definition_.columns[*position] : deleted;
    const Place place = definition_.Where().OfColumn(position ? std::string_view(column.name) : "(deleted)");
    std::optional<std::vector<PageNumber>> owned;
    std::optional<std::vector<PageNumber>> listed;
    if (!maps.pages.IsNone()) owned = maps_.Read(maps.pages, place, "the map of owned pages");
    if (!maps.freeSpace.IsNone()) listed = maps_.Read(maps.freeSpace, place, "the map of pages with room");
    column.hasFreeSpaceMap = !maps.freeSpace.IsNone();
    if (!owned) continue;
    if (listed) {
      CheckSubset(*listed, *owned, place, "the page is listed as having room, but is not the column's",
                  context_.findings);
    }
    column.longValues = context_.owners.Add({PageOwners::Owner::Use::LongValues, definition_.name, place.column});
    std::vector<PageNumber> taken = TakePages(*owned, column.longValues, kLongValueOwner, place);
    if (listed) CheckFreeSpaceMap(*listed, place);
    if (position) longValuePages_.push_back({*position, std::move(taken)});
  }
}

void TableCheck::CheckFreeSpaceMap(const std::vector<PageNumber>& listed, const Place& place) {
  for (const PageNumber page : listed) {
    if (context_.rows.SlotCount(page) == 0 || context_.rows.FreeSpaceOf(page) > kLongValueRoom) continue;
    context_.findings.Note(Kind::Map, place.OnPage(page), "the page is listed as having room, but only ",
                           context_.rows.FreeSpaceOf(page), " bytes are free");
  }
}

void TableCheck::CheckRows() {
  for (const PageNumber page : definition_.dataPages) {
    for (unsigned slot = 0; slot < context_.rows.SlotCount(page); ++slot) {
      CheckSlot({page, static_cast<std::uint8_t>(slot)});
    }
  }
  for (const PageNumber page : definition_.dataPages) {
    for (unsigned slot = 0; slot < context_.rows.SlotCount(page); ++slot) {
      const RowId row{page, static_cast<std::uint8_t>(slot)};
      if (context_.rows.StateOf(row) != SlotState::Landing || context_.rows.MarkOf(row) != Mark::None) continue;
      context_.findings.Note(Kind::MovedRow, definition_.Where().AtRow(row), "no moved row leads to this landing row");
    }
  }
}

void TableCheck::CheckSlot(RowId home) {
  const SlotState state = context_.rows.StateOf(home);
  if (state == SlotState::Landing || state == SlotState::Dead) return;
  ++rowCount_;
  const Place place = definition_.Where().AtRow(home);
  std::optional<RowId> landing = home;
  if (state == SlotState::Moved) landing = FollowMove(home, place);
  const bool sound = landing && CheckRow(context_.rows.Bytes(*landing), place);
  hasDamagedRows_ = hasDamagedRows_ || !sound;
  context_.rows.SetMark(home, sound ? Mark::Row : Mark::Damaged);
}

/// The landing row of a moved row: one hop, and nobody else's.
std::optional<RowId> TableCheck::FollowMove(RowId home, const Place& place) {
  Findings& findings = context_.findings;
  const ByteView pointer = context_.rows.Bytes(home);
  if (pointer.size() < kRowAddressSize) {
    findings.Damage(Kind::MovedRow, place, "the row was moved, but has no room for the address");
    return std::nullopt;
  }
  const RowId landing = RowAt(pointer, 0);
  if (!context_.pages.Has(landing.page) || context_.owners.OwnerOf(landing.page) != definition_.rowsOwner) {
    findings.Damage(Kind::MovedRow, place, "the row was moved to ", landing, ", which is on no page of the table");
    return std::nullopt;
  }
  if (!context_.rows.Has(landing) || context_.rows.StateOf(landing) != SlotState::Landing) {
    findings.Damage(Kind::MovedRow, place, "the row was moved to ", landing, ", where no landing row is");
    return std::nullopt;
  }
  if (context_.rows.MarkOf(landing) != Mark::None) {
    findings.Damage(Kind::MovedRow, place, "the row was moved to ", landing, ", which is another row's landing row");
    return std::nullopt;
  }
  context_.rows.SetMark(landing, Mark::Used);
  return landing;
}

bool TableCheck::CheckRow(ByteView bytes, const Place& place) {
  Row row;
  if (const std::string_view wrong = reader_.Parse(bytes, row); !wrong.empty()) {
    context_.findings.Damage(Kind::Row, place, wrong);
    return false;
  }
  row_ = &row;
  bool sound = true;
  for (std::size_t i = 0; i < definition_.columns.size(); ++i) {
    const Column& column = definition_.columns[i];
    const Cell cell = reader_.Read(row, i);
    sound = CheckCell(column, cell, place.OfColumn(column.name)) && sound;
  }
  row_ = nullptr;
  return sound;
}

bool TableCheck::CheckCell(const Column& column, const Cell& cell, const Place& place) {
  if (column.type == ColumnType::Boolean) return true;
  if (cell.state == Cell::State::Outside) {
    context_.findings.Damage(Kind::Value, place, "the row's fixed area ends before the column");
    return false;
  }
  const bool isNull = cell.state == Cell::State::Null || (column.IsLongValue() && cell.bytes.empty());
  if (isNull) {
    if (column.required) context_.findings.Note(Kind::Null, place, "the column may not be null, but is");
    return true;
  }
  if (column.IsLongValue()) {
    if (!longValues_.Check(column, cell.bytes, place)) return false;
    if (column.type == ColumnType::Memo && definition_.isUserTable) NoteMemoBeyondHandheld(place);
    return true;
  }
  const std::optional<std::size_t> size = column.SizeOfType();
  if (size && cell.bytes.size() != *size) {
    context_.findings.Damage(Kind::Value, place, "the value has ", cell.bytes.size(), " bytes, its type takes ", *size);
    return false;
  }
  if (column.IsAutonumber()) RememberAutonumber(cell.bytes);
  if (column.type == ColumnType::Text) return CheckText(column, cell.bytes, place);
  if (column.type == ColumnType::Binary && cell.bytes.size() > column.length) {
    context_.findings.Damage(Kind::Value, place, "the value has ", cell.bytes.size(), " bytes, at most ", column.length,
                             " can be");
  }
  return true;
}

bool TableCheck::CheckText(const Column& column, ByteView bytes, const Place& place) {
  if (!DecodeStoredText(bytes, units_)) {
    context_.findings.Damage(Kind::Value, place, "the text ends within a character");
    return false;
  }
  if (2 * units_.size() > column.length) {
    context_.findings.Damage(Kind::Value, place, "the text has ", units_.size(), " characters, at most ",
                             column.length / 2, " can be");
  }
  return true;
}

/// "KY_RECID = FV20040105", the primary key of the row under check; empty when the table has none of text or numbers.
std::string TableCheck::KeyText() {
  std::string text;
  for (const Index& index : definition_.indexes) {
    if (!index.isPrimary || !index.HasColumns()) continue;
    for (const Index::KeyColumn& key : index.columns) {
      const Column& column = definition_.columns[*key.column];
      const Cell cell = reader_.Read(*row_, *key.column);
      if (!text.empty()) text += ", ";
      text += column.name + " = ";
      if (column.type == ColumnType::Text && DecodeStoredText(cell.bytes, units_)) {
        text += Utf8FromUtf16(units_);
      } else if (column.type == ColumnType::Long && cell.bytes.size() == sizeof(std::int32_t)) {
        text += std::to_string(static_cast<std::int32_t>(Word32(cell.bytes, 0)));
      } else {
        text += "(not shown)";
      }
    }
  }
  return text;
}

void TableCheck::NoteMemoBeyondHandheld(const Place& place) {
  constexpr std::size_t kMost = table_format::kLongestText;
  if (longValues_.Units().size() <= kMost / 2) return;
  const auto size = static_cast<std::size_t>(PDBUtils::UTF8Length(Utf8FromUtf16(longValues_.Units())));
  if (size <= kMost) return;
  const std::string key = KeyText();
  context_.findings.Note(Kind::Handheld, place, "the memo takes ", size, " bytes as Windows-1252 text; handhelds read ",
                         kMost, ", so a run would stop at this table with an overflow",
                         key.empty() ? "" : " (row with " + key + ")");
}

void TableCheck::RememberAutonumber(ByteView bytes) {
  const auto number = static_cast<std::int32_t>(Word32(bytes, 0));
  if (!highestAutonumber_ || number > *highestAutonumber_) highestAutonumber_ = number;
}

void TableCheck::CheckCounters() {
  const Place place = definition_.Where().OnPage(definition_.page);
  if (rowCount_ != definition_.rowCount) {
    context_.findings.Note(Kind::RowCount, place, "the definition counts ", definition_.rowCount,
                           " rows, but there are ", rowCount_);
  }
  if (definition_.autonumberStep == 1 && highestAutonumber_ && *highestAutonumber_ > definition_.lastAutonumber) {
    context_.findings.Note(Kind::Autonumber, place, "the autonumber ", *highestAutonumber_,
                           " was given, but the last one is said to be ", definition_.lastAutonumber);
  }
  if (!definition_.isUserTable) return;
  ++context_.report.tables;
  context_.report.rows += rowCount_;
}

}  // namespace mv::check
