#include "jet/Relations.h"

#include <algorithm>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "base/Error.h"
#include "jet/RelationDesign.h"
#include "jet/Table.h"
#include "jet/file/JetErrors.h"
#include "jet/index/IndexKey.h"

namespace mv::jet {
namespace {

/// What happens to related rows when a key of the primary side goes; the numbers are those of the definition.
enum class Action : std::uint8_t { Refuse = 0, Cascade = 1, SetNull = 2 };

/// One side of a relation.
struct Side {
  Table* table = nullptr;
  std::size_t index = 0;             ///< number of the index data block
  std::vector<std::size_t> columns;  ///< positions, in the order of the index

  const IndexData& Data() const { return table->Definition().indexData[index]; }
  const Column& ColumnAt(std::size_t part) const { return table->Definition().columns[columns[part]]; }
};

Side SideOf(Table& table, const LogicalIndex& index) {
  Side side{&table, index.dataNumber, {}};
  side.columns = table.Definition().PositionsOf(side.Data());
  return side;
}

/// The key in the index of `to` of a row of `from`'s table.
IndexKey KeyIn(const Side& to, const Side& from, const std::vector<Value>& values) {
  const TableDefinition& definition = to.table->Definition();
  std::vector<Value> mapped(definition.columns.size());
  for (std::size_t part = 0; part < to.columns.size(); ++part) mapped[to.columns[part]] = values[from.columns[part]];
  return KeyOf(definition, to.Data(), mapped);
}

/// Nothing for a key that cannot be built: a character without a known place, written by another engine.
std::optional<IndexKey> KeyIfKnown(const Side& to, const Side& from, const std::vector<Value>& values) {
  try {
    return KeyIn(to, from, values);
  } catch (const Error&) {
    return std::nullopt;
  }
}

/// An index that names a row which has another key must not lead to that row being changed.
void RequireHeld(const Side& side, RowId row, const IndexKey& key) {
  const TableDefinition& definition = side.table->Definition();
  std::vector<Value> values(definition.columns.size());
  const bool isLive = side.table->IsLive(row);
  for (const std::size_t column : side.columns) {
    if (isLive) values[column] = side.table->ReadValue(row, column);
  }
  if (isLive && KeyOf(definition, side.Data(), values).bytes == key.bytes) return;
  throw DamagedFileError("table '" + definition.name + "', index '" + definition.IndexName(side.index) +
                         "' has an entry that is not of its row");
}

bool HaveSameColumns(const Side& left, const Side& right) {
  if (left.columns.size() != right.columns.size()) return false;
  for (std::size_t part = 0; part < left.columns.size(); ++part) {
    if (!CanBeRelated(left.ColumnAt(part), right.ColumnAt(part))) return false;
  }
  return true;
}

/// The index of `other` that `index` names and that names it back; nullptr when there is none.
const LogicalIndex* PartnerOf(const Table& table, const LogicalIndex& index, const Table& other) {
  const std::uint8_t otherSide =
      index.relation == LogicalIndex::kForeignSide ? LogicalIndex::kPrimarySide : LogicalIndex::kForeignSide;
  for (const LogicalIndex& partner : other.Definition().indexes) {
    const bool isNamed = std::int64_t{partner.number} == index.otherIndex;
    const bool namesBack = partner.kind == LogicalIndex::Kind::Relation && partner.relation == otherSide &&
                           partner.otherIndex == std::int64_t{index.number} &&
                           partner.otherTable == table.Definition().page;
    if (isNamed && namesBack) return &partner;
  }
  return nullptr;
}

bool HaveSameActions(const LogicalIndex& left, const LogicalIndex& right) {
  return left.onUpdate == right.onUpdate && left.onDelete == right.onDelete;
}

bool HasKnownActions(const LogicalIndex& index) {
  return index.onUpdate <= static_cast<std::uint8_t>(Action::Cascade) &&
         index.onDelete <= static_cast<std::uint8_t>(Action::SetNull);
}

std::string WhyNotKept(const Side& side) {
  const std::string reason = WhyNotWritable(side.table->Definition(), side.Data());
  return reason.empty() ? reason : "table '" + side.table->Definition().name + "': " + reason;
}

Error RequiredRecordError(const Side& primary) {
  return ConstraintError("You cannot add or change a record because a related record is required in table '" +
                         primary.table->Definition().name + "'.");
}

Error RelatedRecordsError(const Side& foreign) {
  return ConstraintError("The record cannot be deleted or changed because table '" + foreign.table->Definition().name +
                         "' includes related records.");
}

}  // namespace

struct Relations::Relation {
  Side foreign;
  Side primary;
  Action onUpdate = Action::Refuse;
  Action onDelete = Action::Refuse;
};

/// A relation of a table with itself is in both lists.
struct Relations::RelationsOfTable {
  std::vector<Relation> asForeign;
  std::vector<Relation> asPrimary;
};

/// What follows from one change of a row by somebody else, up to the end of its statement.
class Relations::Cascade {
 public:
  explicit Cascade(Relations& relations) : relations_(relations) {}

  /// Takes note of a change, whoever made it.
  void Add(Table& table, RowChange change);
  /// Goes on until nothing is left to be changed, then checks what has come of it.
  void Run();

 private:
  struct Step {
    Table* table = nullptr;
    RowChange change;
  };
  /// A key that went although no related row may be changed.
  struct LeftKey {
    const Relation* relation = nullptr;
    IndexKey foreign;
    IndexKey primary;
  };

  void CountChange(const Table& table, RowId row);
  void NoteWanted(const Relation& relation, const RowChange& change);
  void FollowKey(const Relation& relation, const RowChange& change);
  void ChangeRelated(const Relation& relation, Action action, RowId row, const RowChange& change);
  void CheckWanted() const;
  void CheckLeft() const;

  Relations& relations_;
  std::deque<Step> steps_;
  std::map<std::pair<const Relation*, RowId>, IndexKey> wanted_;  ///< keys of the primary side that rows refer to anew
  std::vector<LeftKey> left_;
  std::map<std::pair<const Table*, RowId>, std::size_t> changesOfRow_;
};

void Relations::Cascade::Add(Table& table, RowChange change) {
  CountChange(table, change.row);
  for (const Relation& relation : relations_.Of(table).asForeign) NoteWanted(relation, change);
  steps_.push_back({&table, std::move(change)});
}

/// Each change that follows from another gives a column its final value, so a row is changed once for each column at
/// most, unless the relations of a file chase each other.
void Relations::Cascade::CountChange(const Table& table, RowId row) {
  if (++changesOfRow_[{&table, row}] <= kMaxColumns) return;
  throw DamagedFileError("the relations of table '" + table.Definition().name + "' change a row without end");
}

void Relations::Cascade::NoteWanted(const Relation& relation, const RowChange& change) {
  const auto place = std::pair(&relation, change.row);
  if (change.after.empty()) {
    wanted_.erase(place);
    return;
  }
  IndexKey key = KeyIn(relation.primary, relation.foreign, change.after);
  if (!change.before.empty()) {
    const auto held = KeyIfKnown(relation.primary, relation.foreign, change.before);
    if (held && held->bytes == key.bytes) return;
  }
  if (key.anyNull) {
    wanted_.erase(place);
  } else {
    wanted_.insert_or_assign(place, std::move(key));
  }
}

void Relations::Cascade::Run() {
  while (!steps_.empty()) {
    const Step step = std::move(steps_.front());
    steps_.pop_front();
    if (step.change.before.empty()) continue;
    for (const Relation& relation : relations_.Of(*step.table).asPrimary) FollowKey(relation, step.change);
  }
  CheckWanted();
  CheckLeft();
}

/// A row of the primary side had a key; when it has gone, the rows that refer to it follow.
void Relations::Cascade::FollowKey(const Relation& relation, const RowChange& change) {
  const Side& primary = relation.primary;
  IndexKey key = KeyIn(primary, primary, change.before);
  const bool isDeleted = change.after.empty();
  if (key.anyNull) return;
  if (!isDeleted && KeyIn(primary, primary, change.after).bytes == key.bytes) return;
  IndexKey related = KeyIn(relation.foreign, primary, change.before);
  const Action action = isDeleted ? relation.onDelete : relation.onUpdate;
  if (action == Action::Refuse) {
    left_.push_back({&relation, std::move(related), std::move(key)});
    return;
  }
  for (const RowId row : relation.foreign.table->RowsWithKey(relation.foreign.index, related)) {
    RequireHeld(relation.foreign, row, related);
    ChangeRelated(relation, action, row, change);
  }
}

void Relations::Cascade::ChangeRelated(const Relation& relation, Action action, RowId row, const RowChange& change) {
  const Side& foreign = relation.foreign;
  if (action == Action::Cascade && change.after.empty()) return foreign.table->Delete(row);
  std::vector<Value> values(foreign.columns.size());
  if (action == Action::Cascade) {
    for (std::size_t part = 0; part < values.size(); ++part)
      values[part] = change.after[relation.primary.columns[part]];
  }
  foreign.table->Update(row, foreign.columns, values);
}

void Relations::Cascade::CheckWanted() const {
  for (const auto& [place, key] : wanted_) {
    const Side& primary = place.first->primary;
    if (!primary.table->HasKey(primary.index, key)) throw RequiredRecordError(primary);
  }
}

void Relations::Cascade::CheckLeft() const {
  for (const LeftKey& key : left_) {
    const Side& primary = key.relation->primary;
    const Side& foreign = key.relation->foreign;
    const bool isBack = primary.table->HasKey(primary.index, key.primary);
    if (!isBack && foreign.table->HasKey(foreign.index, key.foreign)) throw RelatedRecordsError(foreign);
  }
}

Relations::Relations(std::function<Table&(PageNumber)> tableAt) : tableAt_(std::move(tableAt)) {}
Relations::~Relations() = default;

void Relations::RequireKept(const Table& table) {
  Of(table);
}

void Relations::Follow(Table& table, RowChange change) {
  if (running_ != nullptr) return running_->Add(table, std::move(change));
  /// Ends with the statement, however that ends.
  struct Running {
    Running(Cascade*& place, Cascade& cascade) : place_(place) { place_ = &cascade; }
    ~Running() { place_ = nullptr; }
    Cascade*& place_;
  };
  Cascade cascade(*this);
  const Running running(running_, cascade);
  cascade.Add(table, std::move(change));
  cascade.Run();
}

void Relations::Forget() {
  known_.clear();
}

const Relations::RelationsOfTable& Relations::Of(const Table& table) {
  const PageNumber page = table.Definition().page;
  const auto known = known_.find(page);
  if (known != known_.end()) return known->second;
  Table& self = tableAt_(page);
  RelationsOfTable relations;
  for (const LogicalIndex& index : self.Definition().indexes) {
    if (index.kind != LogicalIndex::Kind::Relation) continue;
    Relation relation = Resolved(self, index);
    (index.relation == LogicalIndex::kForeignSide ? relations.asForeign : relations.asPrimary)
        .push_back(std::move(relation));
  }
  return known_.emplace(page, std::move(relations)).first->second;
}

Table& Relations::OtherTable(PageNumber page, const std::string& relation) {
  try {
    return tableAt_(page);
  } catch (const Error& error) {
    throw DamagedFileError(relation + "its other table cannot be used (" + error.Description() + ")");
  }
}

/// Follows an index to the other side of its relation and compares the two.
Relations::Relation Relations::Resolved(Table& table, const LogicalIndex& index) {
  std::string name = index.name;
  const auto where = [&] { return "table '" + table.Definition().name + "', relation '" + name + "': "; };
  if (index.relation != LogicalIndex::kPrimarySide && index.relation != LogicalIndex::kForeignSide) {
    throw UnsupportedError(where() + "of kind " + std::to_string(index.relation));
  }
  Table& other = OtherTable(index.otherTable, where());
  const LogicalIndex* partner = PartnerOf(table, index, other);
  if (partner == nullptr) throw DamagedFileError(where() + "its two sides do not name each other");
  if (index.relation == LogicalIndex::kPrimarySide) name = partner->name;

  Relation relation;
  relation.foreign = index.relation == LogicalIndex::kForeignSide ? SideOf(table, index) : SideOf(other, *partner);
  relation.primary = index.relation == LogicalIndex::kForeignSide ? SideOf(other, *partner) : SideOf(table, index);
  const bool isConsistent = HaveSameColumns(relation.foreign, relation.primary) && HaveSameActions(index, *partner);
  if (!isConsistent) throw DamagedFileError(where() + "its two sides differ");
  if (!relation.primary.Data().IsUnique()) throw DamagedFileError(where() + "the key it refers to is not unique");
  for (const Side* side : {&relation.foreign, &relation.primary}) {
    const std::string reason = WhyNotKept(*side);
    if (!reason.empty()) throw UnsupportedError(where() + reason);
  }
  if (!HasKnownActions(index)) throw UnsupportedError(where() + "it acts in a way that is not known");
  relation.onUpdate = static_cast<Action>(index.onUpdate);
  relation.onDelete = static_cast<Action>(index.onDelete);
  return relation;
}

}  // namespace mv::jet
