#include "history/TableChanges.h"

#include <utility>

#include "base/Text.h"
#include "pdb/RecordFlags.h"
#include "recordset/Conversions.h"
#include "sync/HandheldForm.h"

namespace mv::history {
namespace {

MergeObserver::Row RowOf(const Recordset& records, std::size_t count) {
  MergeObserver::Row row;
  row.reserve(count);
  for (std::size_t i = 0; i < count; ++i) row.push_back(records.FieldValue(i));
  return row;
}

std::vector<JsonName> JsonNamesOf(const std::vector<FieldDefinition>& fields) {
  const std::vector<std::string> names = UniqueNames(fields);
  return {names.begin(), names.end()};
}

}  // namespace

TableChanges::TableChanges(Setting setting) : setting_(std::move(setting)) {
  record_.table = setting_.table.name;
  if (ComparesDesktop()) record_.desktop.before = static_cast<std::int64_t>(setting_.desktopBefore->Count());
  record_.handheld.before =
      ComparesHandheld() ? static_cast<std::int64_t>(setting_.handheldBefore->Count()) : setting_.handheldRows;
  desktopNames_ = JsonNamesOf(setting_.desktopFields);
  handheldNames_ = JsonNamesOf(setting_.handheldFields);
  desktopKey_ = PlaceOfKey(setting_.desktopFields, setting_.table.keyField);
  handheldKey_ = PlaceOfKey(setting_.handheldFields, setting_.table.keyField);
}

void TableChanges::Walked(std::int64_t desktopRows) {
  // Rows that went until now were walked too.
  desktopRows_ += desktopRows;
  if (!ComparesDesktop()) record_.desktop.before = desktopRows;
}

void TableChanges::Added(Side side, const Row& row) {
  if (side == Side::Handheld) return AddedToHandheld(row);
  ++desktopRows_;
  if (ComparesDesktop()) return;
  ++record_.desktop.added;
  Write(What::Added, side, nullptr, &row);
}

void TableChanges::AddedToHandheld(const Row& row) {
  const KeyedRow* const before =
      ComparesHandheld() ? setting_.handheldBefore->Take(KeyOf(Side::Desktop, row)) : nullptr;
  const bool isNew = before == nullptr || (before->attributes & kRecordDeleted) != 0;
  if (!isNew && IsSameOnHandheld(setting_.handheldBefore->Fields(), before->values, row)) return;
  CheckValues(row);
  if (isNew) {
    if (before != nullptr) {
      ++flaggedDeleted_;
      ++record_.handheld.deleted;
      Write(What::Deleted, Side::Handheld, &before->values, nullptr);
    }
    ++record_.handheld.added;
    return Write(What::Added, Side::Handheld, nullptr, &row);
  }
  ++record_.handheld.changed;
  Write(What::Changed, Side::Handheld, &before->values, &row);
}

void TableChanges::Changed(Side side, const Row& before, const Row& after) {
  if (side == Side::Handheld) {
    CheckValues(after);
    ++record_.handheld.changed;
    return Write(What::Changed, side, &before, &after);
  }
  const bool overruled = IsOverruled(before);
  if (overruled) ++record_.overruled;
  if (!ComparesDesktop()) ++record_.desktop.changed;
  WriteLost(overruled, What::Changed, before, &after);
}

void TableChanges::Deleted(Side side, const Row& row) {
  if (side == Side::Handheld) {
    ++flaggedDeleted_;
    ++record_.handheld.deleted;
    return Write(What::Deleted, side, &row, nullptr);
  }
  --desktopRows_;
  const bool overruled = IsOverruled(row);
  if (overruled) ++record_.overruled;
  if (!ComparesDesktop()) ++record_.desktop.deleted;
  WriteLost(overruled, What::Deleted, row, nullptr);
}

void TableChanges::Dropped(const Row& row) {
  ++record_.dropped;
  Write(What::Dropped, Side::Handheld, &row, nullptr);
}

void TableChanges::Finish(Recordset& desktop) {
  if (ComparesHandheld()) FinishHandheld();
  if (ComparesDesktop()) FinishDesktop(desktop);
  record_.desktop.after = desktopRows_;
  record_.handheld.after =
      record_.handheld.before + record_.handheld.added - record_.handheld.deleted - record_.dropped;
}

void TableChanges::FinishHandheld() {
  setting_.handheldBefore->ForEachLeft([&](const KeyedRow& row) {
    if ((row.attributes & (kRecordDeleted | kRecordModified)) == 0) return Dropped(row.values);
    (row.attributes & kRecordDeleted) != 0 ? ++flaggedDeleted_ : ++handheldOverwritten_;
    ++record_.handheld.deleted;
    Write(What::Deleted, Side::Handheld, &row.values, nullptr);
  });
}

void TableChanges::FinishDesktop(Recordset& desktop) {
  RowSet& before = *setting_.desktopBefore;
  const std::size_t count = setting_.desktopFields.size();
  if (desktop.RecordCount() > 0) {
    for (desktop.MoveFirst(); !desktop.Eof(); desktop.MoveNext()) {
      const Row after = RowOf(desktop, count);
      const KeyedRow* const old = before.Take(KeyOf(Side::Desktop, after));
      if (old == nullptr) {
        ++record_.desktop.added;
        Write(What::Added, Side::Desktop, nullptr, &after);
      } else if (old->values != after) {
        ++record_.desktop.changed;
        Write(What::Changed, Side::Desktop, &old->values, &after);
      }
    }
  }
  before.ForEachLeft([&](const KeyedRow& row) {
    ++record_.desktop.deleted;
    Write(What::Deleted, Side::Desktop, &row.values, nullptr);
  });
}

bool TableChanges::IsOverruled(const Row& row) {
  if (setting_.mode != RunMode::Synchronize) return false;
  if (!agreed_) agreed_ = setting_.agreed ? setting_.agreed() : std::nullopt;
  if (!*agreed_) return true;
  const RowSet& agreed = **agreed_;
  const KeyedRow* const known = agreed.Find(KeyOf(Side::Desktop, row));
  return known == nullptr || !IsSameOnHandheld(agreed.Fields(), known->values, row);
}

void TableChanges::CheckValues(const Row& row) {
  for (const Value& value : row) {
    if (!ComesBackChanged(value)) continue;
    if (rowsThatChange_++ == 0) firstThatChanges_ = KeyOf(Side::Desktop, row);
    return;
  }
}

std::string TableChanges::KeyOf(Side side, const Row& row) const {
  const std::size_t place = side == Side::Desktop ? desktopKey_ : handheldKey_;
  return place < row.size() ? TextOf(row[place]) : std::string();
}

const std::string& TableChanges::LineOf(What what, Side side, const Row* before, const Row* after) {
  // What comes from the other side has its fields in this side's order: columns are matched by place.
  const std::vector<JsonName>& names = side == Side::Desktop || handheldNames_.empty() ? desktopNames_ : handheldNames_;
  const std::string key = KeyOf(side, before != nullptr ? *before : *after);
  return changeLines_.LineOf(record_.table, key, side, what, names, before, after);
}

void TableChanges::Write(What what, Side side, const Row* before, const Row* after) {
  if (setting_.lines) setting_.lines(LineOf(what, side, before, after));
}

void TableChanges::WriteLost(bool overruled, What what, const Row& before, const Row* after) {
  if (!setting_.lines || (ComparesDesktop() && !overruled)) return;
  const std::string& line = LineOf(what, Side::Desktop, &before, after);
  if (!ComparesDesktop()) setting_.lines(line);
  if (overruled) setting_.lines(changeLines_.SameLineWith(What::Overruled));
}

}  // namespace mv::history
