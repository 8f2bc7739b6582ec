#include "check/RelationCheck.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "check/IndexPage.h"
#include "check/KeyBuilder.h"
#include "check/SystemTable.h"

namespace mv::check {
namespace {

constexpr std::int32_t kNotEnforced = 2;

const Definition* Find(const Definitions& definitions, PageNumber page) {
  const auto found = definitions.find(page);
  return found == definitions.end() ? nullptr : found->second.get();
}

const LogicalIndex* FindIndex(const Definition& definition, std::uint32_t number) {
  for (const LogicalIndex& index : definition.logicalIndexes) {
    if (index.number == number) return &index;
  }
  return nullptr;
}

const Index* TreeOf(const Definition& definition, const LogicalIndex& index) {
  return index.dataNumber < definition.indexes.size() ? &definition.indexes[index.dataNumber] : nullptr;
}

bool AreOpposite(LogicalIndex::Side left, LogicalIndex::Side right) {
  using Side = LogicalIndex::Side;
  return (left == Side::Primary && right == Side::Foreign) || (left == Side::Foreign && right == Side::Primary);
}

void CheckSide(const Definition& table, const LogicalIndex& index, const Definitions& definitions, Findings& findings) {
  const Place place = table.Where().OnPage(table.page).OfIndex(index.name);
  const Definition* other = Find(definitions, index.otherTable);
  if (other == nullptr) {
    findings.Damage(Kind::Relation, place, "the other table of the relation should be page ", index.otherTable,
                    ", which is no table");
    return;
  }
  const LogicalIndex* back = FindIndex(*other, index.otherIndex);
  if (back == nullptr) {
    findings.Damage(Kind::Relation, place, "table ", other->name,
                    ", the other side of the relation, has no index number ", index.otherIndex);
    return;
  }
  if (back->kind != LogicalIndex::Kind::Relation || back->otherTable != table.page ||
      back->otherIndex != index.number || !AreOpposite(index.side, back->side)) {
    findings.Damage(Kind::Relation, place, "index ", back->name, " of table ", other->name,
                    ", the other side of the relation, does not name it back");
  }
}

/// Goes through the entries of a tree in order.
class EntryCursor {
 public:
  EntryCursor(const PageReader& pages, const Index& index) : pages_(pages), leaves_(index.leaves) { FindLeaf(); }

  bool AtEnd() const { return leaf_ == leaves_.size(); }
  Entry Get() const { return page_.At(entry_); }
  void Next() {
    if (++entry_ < page_.Count()) return;
    ++leaf_;
    FindLeaf();
  }

 private:
  void FindLeaf() {
    entry_ = 0;
    for (; leaf_ < leaves_.size(); ++leaf_) {
      page_.Read(pages_.At(leaves_[leaf_]));
      if (page_.Count() != 0) return;
    }
  }

  const PageReader& pages_;
  const std::vector<PageNumber>& leaves_;
  std::size_t leaf_ = 0;
  std::size_t entry_ = 0;
  IndexPage page_;
};

/// True when equal values have equal keys in both trees.
bool AreComparable(const Definition& left, const Index& leftTree, const Definition& right, const Index& rightTree) {
  if (!leftTree.HasColumns() || !rightTree.HasColumns() || leftTree.columns.size() != rightTree.columns.size()) {
    return false;
  }
  for (std::size_t i = 0; i < leftTree.columns.size(); ++i) {
    const Column& a = left.columns[*leftTree.columns[i].column];
    const Column& b = right.columns[*rightTree.columns[i].column];
    if (a.type != b.type || leftTree.columns[i].ascending != rightTree.columns[i].ascending) return false;
    if (a.type == ColumnType::Text && a.sortOrder != b.sortOrder) return false;
  }
  return true;
}

/// A row that refers to a key which is not in the other tree.
struct Missing {
  Bytes key;  ///< by the usual rules; empty when it is not known
  RowId row;
};

/// Takes out those whose key is there after all, but on either side built by the rules of others.
void RemoveOfOtherRules(Context& context, const Index& primaryTree, std::vector<Missing>& missing) {
  std::stable_sort(missing.begin(), missing.end(),
                   [](const Missing& left, const Missing& right) { return left.key < right.key; });
  EntryCursor there(context.pages, primaryTree);
  const std::vector<Bytes>& others = primaryTree.keysOfOtherRules;
  std::erase_if(missing, [&](const Missing& one) {
    if (one.key.empty()) return false;
    if (std::binary_search(others.begin(), others.end(), one.key)) return true;
    const Entry wanted = {{}, one.key};
    int order = -1;
    while (!there.AtEnd() && (order = Compare(there.Get().Without(kAddressSize), wanted)) < 0) there.Next();
    return !there.AtEnd() && order == 0;
  });
  std::sort(missing.begin(), missing.end(),
            [](const Missing& left, const Missing& right) { return left.row < right.row; });
}

void CheckReference(Context& context, const Definition& foreign, const LogicalIndex& relation,
                    const Definition& primary, const LogicalIndex& primaryIndex) {
  const Index* foreignTree = TreeOf(foreign, relation);
  const Index* primaryTree = TreeOf(primary, primaryIndex);
  if (foreignTree == nullptr || primaryTree == nullptr || !foreignTree->sound || !primaryTree->sound) return;
  if (!AreComparable(foreign, *foreignTree, primary, *primaryTree)) return;
  KeyBuilder builder(context, foreign);
  const RowReader reader(foreign);
  KeyBuilder::Key key;
  std::vector<Missing> missing;
  EntryCursor wanted(context.pages, *foreignTree);
  EntryCursor there(context.pages, *primaryTree);
  for (; !wanted.AtEnd(); wanted.Next()) {
    const Entry entry = wanted.Get();
    const Entry wantedKey = entry.Without(kAddressSize);
    int order = -1;
    while (!there.AtEnd() && (order = Compare(there.Get().Without(kAddressSize), wantedKey)) < 0) there.Next();
    if (!there.AtEnd() && order == 0) continue;
    const RowId row = AddressOf(entry);
    builder.Build(*foreignTree, reader.At(context.rows, row), KeyBuilder::Style::Usual, key);
    if (!key.anyNull) missing.push_back({key.known ? key.bytes : Bytes(), row});
  }
  RemoveOfOtherRules(context, *primaryTree, missing);
  for (const Missing& one : missing) {
    context.findings.Note(Kind::Reference, foreign.Where().AtRow(one.row).OfIndex(relation.name),
                          "the row refers to a row that table ", primary.name, " does not have");
  }
}

}  // namespace

void CheckRelationSides(const Definitions& definitions, Findings& findings) {
  for (const auto& [page, definition] : definitions) {
    for (const LogicalIndex& index : definition->logicalIndexes) {
      if (index.kind == LogicalIndex::Kind::Relation) CheckSide(*definition, index, definitions, findings);
    }
  }
}

void CheckRelationships(Context& context, const Definition& relationships, const std::vector<CatalogObject>& objects,
                        const Definitions& definitions) {
  SystemTable table(context, relationships);
  const std::size_t name = table.Column("szRelationship", ColumnType::Text);
  const std::size_t options = table.Column("grbit", ColumnType::Long);
  const std::size_t foreignTable = table.Column("szObject", ColumnType::Text);
  const std::size_t foreignColumn = table.Column("szColumn", ColumnType::Text);
  const std::size_t primaryTable = table.Column("szReferencedObject", ColumnType::Text);
  const std::size_t primaryColumn = table.Column("szReferencedColumn", ColumnType::Text);
  if (!table.IsComplete()) return;
  std::set<std::string> relations;
  std::set<std::string> rowSources;
  for (const CatalogObject& object : objects) {
    (object.type == CatalogObject::Type::Relation ? relations : rowSources).insert(object.name);
  }
  std::map<std::string, const Definition*> tables;
  for (const auto& [page, definition] : definitions) tables[definition->name] = definition.get();

  ForEachRow(context.rows, relationships, [&](RowId at, const Row& row) {
    const Place place = relationships.Where().AtRow(at);
    const std::string relation = table.Text(row, name).value_or("");
    if (!relations.contains(relation)) {
      context.findings.Note(Kind::Relation, place, "the catalog has no relation named ", relation);
    }
    const auto checkSide = [&](std::size_t tableColumn, std::size_t columnColumn) -> const Definition* {
      const std::string tableName = table.Text(row, tableColumn).value_or("");
      const std::string columnName = table.Text(row, columnColumn).value_or("");
      const auto found = tables.find(tableName);
      if (found == tables.end()) {
        if (!rowSources.contains(tableName)) {
          context.findings.Note(Kind::Relation, place, "relation ", relation, " names table ", tableName,
                                ", which does not exist");
        }
        return nullptr;
      }
      if (!found->second->ColumnByName(columnName)) {
        context.findings.Note(Kind::Relation, place, "relation ", relation, " names column ", columnName, " of table ",
                              tableName, ", which does not exist");
      }
      return found->second;
    };
    const Definition* foreign = checkSide(foreignTable, foreignColumn);
    checkSide(primaryTable, primaryColumn);
    if (foreign == nullptr || (table.Number(row, options).value_or(0) & kNotEnforced) != 0) return;
    const bool hasIndex = std::any_of(
        foreign->logicalIndexes.begin(), foreign->logicalIndexes.end(),
        [&](const LogicalIndex& index) { return index.side == LogicalIndex::Side::Foreign && index.name == relation; });
    if (!hasIndex) {
      context.findings.Note(Kind::Relation, place, "relation ", relation, " is enforced, but table ", foreign->name,
                            " has no index of its name");
    }
  });
}

void CheckReferences(Context& context, const Definitions& definitions) {
  for (const auto& [page, definition] : definitions) {
    for (const LogicalIndex& index : definition->logicalIndexes) {
      if (index.kind != LogicalIndex::Kind::Relation || index.side != LogicalIndex::Side::Foreign) continue;
      const Definition* primary = Find(definitions, index.otherTable);
      const LogicalIndex* other = primary == nullptr ? nullptr : FindIndex(*primary, index.otherIndex);
      if (other != nullptr) CheckReference(context, *definition, index, *primary, *other);
    }
  }
}

}  // namespace mv::check
