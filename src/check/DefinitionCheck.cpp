#include "check/DefinitionCheck.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/Utf.h"

namespace mv::check {
namespace {

constexpr std::size_t kReserve = 8;
constexpr std::size_t kFirstPageBytes = kPageSize;
constexpr std::size_t kNextPageBytes = kPageSize - 8;
constexpr std::uint32_t kTag = 0x659;
constexpr std::uint32_t kIndexTag = 0x783;
constexpr std::uint8_t kUserTable = 0x4E;
constexpr std::uint8_t kSystemTable = 0x53;
constexpr std::uint8_t kNoRelationAction = 4;
constexpr std::uint32_t kNoOtherIndex = 0xFFFFFFFF;

/// Names are compared without regard to the case of ASCII letters, which is enough to find most that are the same.
std::string Folded(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return folded;
}

/// Numbers or names that may occur once.
template <typename T>
class Once {
 public:
  /// False when it was there before.
  bool Add(const T& item) { return seen_.insert(item).second; }

 private:
  std::set<T> seen_;
};

class Checker {
 public:
  Checker(const Definition& definition, const SortOrderBytes& order, Findings& findings)
      : definition_(definition),
        order_(order),
        findings_(findings),
        place_(definition.Where().OnPage(definition.page)) {}

  void Run() {
    CheckLength();
    CheckFreeSpace();
    CheckTags();
    CheckColumns();
    CheckFixedArea();
    CheckRowWidth();
    CheckIndexes();
    CheckLogicalIndexes();
    CheckLongValueMaps();
  }

 private:
  template <typename... Parts>
  void Damage(Kind kind, const Place& place, const Parts&... parts) {
    findings_.Damage(kind, place, parts...);
  }
  template <typename... Parts>
  void Note(Kind kind, const Place& place, const Parts&... parts) {
    findings_.Note(kind, place, parts...);
  }

  void CheckLength() {
    if (definition_.length != definition_.end) {
      Damage(Kind::Definition, place_, "the definition takes ", definition_.end, " bytes, but its length field is ",
             definition_.length);
    }
    if (definition_.tableType != kUserTable && definition_.tableType != kSystemTable) {
      Damage(Kind::Definition, place_, "the table is of the unknown type ", definition_.tableType);
    }
  }

  void CheckFreeSpace() {
    std::size_t left = definition_.length + kReserve;
    for (std::size_t i = 0; i < definition_.parts.size(); ++i) {
      const std::size_t room = i == 0 ? kFirstPageBytes : kNextPageBytes;
      const std::size_t here = std::min(left, room);
      left -= here;
      if (definition_.parts[i].freeSpace == room - here) continue;
      Note(Kind::Definition, place_.OnPage(definition_.parts[i].page), "the free-space word is ",
           definition_.parts[i].freeSpace, ", but ", room - here, " bytes are free");
    }
    if (left > kReserve) {
      Damage(Kind::Definition, place_, "the definition is longer than its pages");
    } else if (left != 0) {
      Note(Kind::Definition, place_, "the definition leaves no room for the 8 bytes behind it");
    }
  }

  /// Some writers leave the tags 0; any other number shows that a block is none.
  void CheckTags() {
    std::vector<std::uint32_t> tags = {definition_.tag};
    for (const Column& column : definition_.columns) tags.push_back(column.tag);
    for (const LogicalIndex& index : definition_.logicalIndexes) tags.push_back(index.tag);
    CheckTags(tags, kTag, "the head, a column block or an index block");
    std::vector<std::uint32_t> indexTags;
    for (const Index& index : definition_.indexes) indexTags.push_back(index.tag);
    CheckTags(indexTags, kIndexTag, "an index data block");
  }

  void CheckTags(const std::vector<std::uint32_t>& tags, std::uint32_t right, std::string_view what) {
    const auto isOther = [right](std::uint32_t tag) { return tag != right && tag != 0; };
    if (const auto other = std::find_if(tags.begin(), tags.end(), isOther); other != tags.end()) {
      Damage(Kind::Definition, place_, what, " has the tag ", *other, ", not ", right);
    } else if (std::find(tags.begin(), tags.end(), 0u) != tags.end()) {
      Note(Kind::Definition, place_, what, " lacks its tag");
    }
  }

  void CheckName(Kind kind, const Place& place, std::string_view name, std::size_t units, Once<std::string>& names) {
    if (units < 1 || units > kMaxNameUnits) Damage(kind, place, "the name has ", units, " characters");
    if (!names.Add(Folded(name))) Damage(kind, place, "the name occurs twice");
  }

  void CheckColumns() {
    Once<std::uint16_t> ids;
    Once<std::uint16_t> variableIndexes;
    Once<std::string> names;
    for (const Column& column : definition_.columns) {
      const Place place = place_.OfColumn(column.name);
      CheckName(Kind::Column, place, column.name, column.nameUnits, names);
      if (column.id >= definition_.nextColumnId || !ids.Add(column.id)) {
        Damage(Kind::Column, place, "the id ", column.id, " is repeated or not below ", definition_.nextColumnId);
      }
      if (!column.IsFixed() &&
          (column.variableIndex >= definition_.nextVariableIndex || !variableIndexes.Add(column.variableIndex))) {
        Damage(Kind::Column, place, "the variable index ", column.variableIndex, " is repeated or not below ",
               definition_.nextVariableIndex);
      }
      CheckType(column, place);
    }
  }

  void CheckType(const Column& column, const Place& place) {
    const bool isText = column.type == ColumnType::Text || column.type == ColumnType::Memo;
    if (isText && column.sortOrder != order_) {
      Note(Kind::Column, place, "the sort order ", Hex{column.sortOrder}, " is not that of the file, ", Hex{order_});
    }
    if (column.IsLongValue() && column.IsFixed()) {
      Damage(Kind::Column, place, "a long value column is marked as having a fixed place");
    }
    if (column.type == ColumnType::Text &&
        (column.length % 2 != 0 || column.length == 0 || column.length > kMaxTextBytes)) {
      Damage(Kind::Column, place, "a text column cannot have a length of ", column.length, " bytes");
    }
    const std::optional<std::size_t> size = column.SizeOfType();
    if (size && *size != column.length) {
      Note(Kind::Column, place, "the length field is ", column.length, ", but values of the type have ", *size,
           " bytes");
    }
    if (!size && !isText && column.type != ColumnType::Binary && column.type != ColumnType::Ole &&
        column.type != ColumnType::RawBlock) {
      Note(Kind::Column, place, "the type ", static_cast<unsigned>(column.type), " is not known");
    }
  }

  std::vector<const Column*> FixedColumns() const {
    std::vector<const Column*> fixed;
    for (const Column& column : definition_.columns) {
      if (column.IsFixed() && column.type != ColumnType::Boolean) fixed.push_back(&column);
    }
    std::sort(fixed.begin(), fixed.end(),
              [](const Column* left, const Column* right) { return left->fixedOffset < right->fixedOffset; });
    return fixed;
  }

  void CheckFixedArea() {
    const std::vector<const Column*> fixed = FixedColumns();
    for (std::size_t i = 1; i < fixed.size(); ++i) {
      if (fixed[i]->fixedOffset >= fixed[i - 1]->fixedOffset + fixed[i - 1]->FixedSize()) continue;
      Damage(Kind::Column, place_.OfColumn(fixed[i]->name), "the column overlaps column ", fixed[i - 1]->name,
             " in the fixed area");
    }
  }

  void CheckRowWidth() {
    std::size_t fixed = 0;
    for (const Column* column : FixedColumns()) fixed = std::max(fixed, column->fixedOffset + column->FixedSize());
    const std::size_t variables = definition_.nextVariableIndex;
    const std::size_t width =
        2 + fixed + (variables == 0 ? 4 : 2 * (variables + 1) + 2) + (definition_.nextColumnId + 7u) / 8;
    if (width > kMaxRowSize) {
      Damage(Kind::Column, place_, "the shortest row takes ", width, " bytes, at most ", kMaxRowSize, " can be");
    }
  }

  void CheckIndexes() {
    for (const Index& index : definition_.indexes) {
      const Place place = place_.OfIndex(index.title);
      if (index.columns.empty()) Damage(Kind::Index, place, "the index has no columns");
      Once<std::uint16_t> ids;
      for (const Index::KeyColumn& key : index.columns) {
        if (!key.column) Damage(Kind::Index, place, "there is no column with the id ", key.id);
        if (!ids.Add(key.id)) Damage(Kind::Index, place, "the column with the id ", key.id, " occurs twice");
      }
    }
    if (definition_.indexes.size() > kMaxIndexes) {
      Damage(Kind::Index, place_, "the table has ", definition_.indexes.size(), " trees, at most ", kMaxIndexes,
             " can be");
    }
  }

  void CheckLogicalIndexes() {
    Once<std::uint32_t> numbers;
    Once<std::string> names;
    std::size_t primaryKeys = 0;
    for (const LogicalIndex& index : definition_.logicalIndexes) {
      const Place place = place_.OfIndex(index.name);
      CheckName(Kind::Index, place, index.name, index.nameUnits, names);
      if (!numbers.Add(index.number)) Damage(Kind::Index, place, "the index number ", index.number, " occurs twice");
      if (index.dataNumber >= definition_.indexes.size()) {
        Damage(Kind::Index, place, "the index names tree ", index.dataNumber, ", but the table has ",
               definition_.indexes.size());
      }
      if (index.kind == LogicalIndex::Kind::PrimaryKey) ++primaryKeys;
      if (index.kind != LogicalIndex::Kind::Relation) CheckNoRelation(index, place);
    }
    if (primaryKeys > 1) Damage(Kind::Index, place_, "the table has ", primaryKeys, " primary keys");
    if (definition_.logicalIndexes.size() > kMaxIndexes) {
      Damage(Kind::Index, place_, "the table has ", definition_.logicalIndexes.size(), " indexes, at most ",
             kMaxIndexes, " can be");
    }
  }

  void CheckNoRelation(const LogicalIndex& index, const Place& place) {
    if (index.side != LogicalIndex::Side::None || index.otherIndex != kNoOtherIndex || index.otherTable != 0 ||
        index.onUpdate != kNoRelationAction || index.onDelete != kNoRelationAction) {
      Note(Kind::Relation, place, "an index without relation names a relation's other side or actions");
    }
  }

  void CheckLongValueMaps() {
    Once<std::uint16_t> ids;
    for (const LongValueMaps& maps : definition_.longValueMaps) {
      const std::optional<std::size_t> column = definition_.ColumnById(maps.columnId);
      if (!ids.Add(maps.columnId)) {
        Damage(Kind::Definition, place_, "the column with the id ", maps.columnId, " has maps twice");
      }
      if (!column || !definition_.columns[*column].IsLongValue()) {
        Note(Kind::Definition, place_, "there are maps for the column with the id ", maps.columnId,
             ", which is no long value column");
      } else if (maps.pages.IsNone() || maps.freeSpace.IsNone()) {
        Note(Kind::Definition, place_.OfColumn(definition_.columns[*column].name),
             "the column lacks a map of its owned pages or of those with room");
      }
    }
    for (const Column& column : definition_.columns) {
      if (!column.IsLongValue() || !ids.Add(column.id)) continue;
      Note(Kind::Definition, place_.OfColumn(column.name), "the long value column has no maps");
    }
  }

  const Definition& definition_;
  const SortOrderBytes& order_;
  Findings& findings_;
  Place place_;
};

}  // namespace

void CheckDefinition(const Definition& definition, const SortOrderBytes& order, Findings& findings) {
  Checker(definition, order, findings).Run();
}

}  // namespace mv::check
