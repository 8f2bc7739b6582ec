#include "jet/definition/TableDefinition.h"

#include <algorithm>
#include <set>
#include <utility>

#include "base/ByteOrder.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "jet/definition/DefinitionLayout.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

constexpr std::uint8_t kFirstLaterType = 18;

/// Bytes of a definition, every access checked.
class DefinitionReader {
 public:
  DefinitionReader(ByteView bytes, const std::string& table) : bytes_(bytes), table_(table) {}

  [[noreturn]] void Fail(const std::string& what) const { throw DamagedFileError("table '" + table_ + "': " + what); }

  ByteView Part(std::size_t at, std::size_t size) const {
    if (at > bytes_.size() || size > bytes_.size() - at) Fail("its definition is cut off");
    return bytes_.subspan(at, size);
  }

  template <std::integral T>
  T Number(std::size_t at) const {
    return LoadLittle<T>(Part(at, sizeof(T)).data());
  }

  RowId Address(std::size_t at) const { return RowId::FromWord(Number<std::uint32_t>(at)); }

  /// Some writers leave the mark out; another number shows that the block is something else.
  void ExpectTag(std::size_t at, std::uint32_t tag, const std::string& what) const {
    const auto found = Number<std::uint32_t>(at);
    if (found != tag && found != 0) Fail(what + " lacks its mark");
  }

  /// A name at `at`, which advances past it.
  std::string Name(std::size_t& at) const {
    const std::size_t size = Number<std::uint16_t>(at);
    if (size == 0 || size % 2 != 0 || size > 2 * kMaxNameUnits) Fail("a name of " + std::to_string(size) + " bytes");
    const ByteView bytes = Part(at + 2, size);
    std::u16string units;
    for (std::size_t i = 0; i < size; i += 2) units += static_cast<char16_t>(LoadLittle<std::uint16_t>(&bytes[i]));
    at += 2 + size;
    return Utf8FromUtf16(units);
  }

  std::size_t Size() const { return bytes_.size(); }

 private:
  ByteView bytes_;
  const std::string& table_;
};

ColumnType TypeOf(std::uint8_t code, const std::string& table) {
  if (code >= kFirstLaterType) {
    throw UnsupportedError("table '" + table + "' has a column of type " + std::to_string(code) +
                           ", which later engines added");
  }
  // Nobody has met 13 and 14; as raw bytes they do no harm.
  if (code == 13 || code == 14) return ColumnType::RawBlock;
  if (code == 0) throw DamagedFileError("table '" + table + "': a column of type 0");
  return static_cast<ColumnType>(code);
}

Column ReadColumn(const DefinitionReader& reader, std::size_t at, const std::string& table) {
  reader.ExpectTag(at + layout::column::kTagAt, layout::kTag, "a column");
  Column column;
  column.type = TypeOf(reader.Number<std::uint8_t>(at + layout::column::kTypeAt), table);
  column.id = reader.Number<std::uint16_t>(at + layout::column::kIdAt);
  column.variableIndex = reader.Number<std::uint16_t>(at + layout::column::kVariableIndexAt);
  column.fixedOffset = reader.Number<std::uint16_t>(at + layout::column::kFixedOffsetAt);
  column.length = reader.Number<std::uint16_t>(at + layout::column::kLengthAt);
  column.flags = reader.Number<std::uint8_t>(at + layout::column::kFlagsAt);
  column.moreFlags = reader.Number<std::uint8_t>(at + layout::column::kMoreFlagsAt);
  if (column.type == ColumnType::Decimal) {
    column.precision = reader.Number<std::uint8_t>(at + layout::column::kPrecisionAt);
    column.scale = reader.Number<std::uint8_t>(at + layout::column::kScaleAt);
  } else {
    column.sortOrder = {reader.Number<std::uint16_t>(at + layout::column::kLanguageAt),
                        reader.Number<std::uint8_t>(at + layout::column::kSortIdAt),
                        reader.Number<std::uint8_t>(at + layout::column::kSortVersionAt)};
  }
  return column;
}

IndexData ReadIndexData(const DefinitionReader& reader, std::size_t at) {
  reader.ExpectTag(at + layout::index::kTagAt, layout::kIndexTag, "an index");
  IndexData index;
  for (std::size_t slot = 0; slot < layout::index::kColumnSlots; ++slot) {
    const std::size_t slotAt = at + layout::index::kColumnsAt + layout::index::kSlotSize * slot;
    const auto id = reader.Number<std::uint16_t>(slotAt);
    const bool ascending = (reader.Number<std::uint8_t>(slotAt + 2) & 1) != 0;
    if (id != layout::index::kUnusedSlot) index.columns.push_back({id, ascending});
  }
  index.map = reader.Address(at + layout::index::kMapAt);
  index.root = reader.Number<std::uint32_t>(at + layout::index::kRootAt);
  index.flags = reader.Number<std::uint8_t>(at + layout::index::kFlagsAt);
  return index;
}

LogicalIndex ReadLogicalIndex(const DefinitionReader& reader, std::size_t at) {
  reader.ExpectTag(at + layout::logical::kTagAt, layout::kTag, "an index");
  LogicalIndex index;
  index.number = reader.Number<std::uint32_t>(at + layout::logical::kNumberAt);
  index.dataNumber = reader.Number<std::uint32_t>(at + layout::logical::kDataNumberAt);
  index.relation = reader.Number<std::uint8_t>(at + layout::logical::kRelationAt);
  index.otherIndex = reader.Number<std::int32_t>(at + layout::logical::kOtherIndexAt);
  index.otherTable = reader.Number<std::uint32_t>(at + layout::logical::kOtherTableAt);
  index.onUpdate = reader.Number<std::uint8_t>(at + layout::logical::kOnUpdateAt);
  index.onDelete = reader.Number<std::uint8_t>(at + layout::logical::kOnDeleteAt);
  const auto kind = reader.Number<std::uint8_t>(at + layout::logical::kKindAt);
  if (kind > static_cast<std::uint8_t>(LogicalIndex::Kind::Relation)) {
    reader.Fail("an index of kind " + std::to_string(kind));
  }
  index.kind = static_cast<LogicalIndex::Kind>(kind);
  return index;
}

/// The map addresses of the Memo and OLE columns; returns the offset behind the list. Columns that were deleted leave
/// their entry behind.
std::size_t ReadLongValueMaps(const DefinitionReader& reader, std::size_t at, std::vector<Column>& columns) {
  while (reader.Number<std::uint16_t>(at) != layout::kListEnd) {
    const auto id = reader.Number<std::uint16_t>(at);
    const RowId pages = reader.Address(at + layout::kLongValuePagesAt);
    const RowId freeSpace = reader.Address(at + layout::kLongValueFreeSpaceAt);
    for (Column& column : columns) {
      if (column.id != id || !column.IsLongValue()) continue;
      column.longValuePages = pages;
      column.longValueFreeSpace = freeSpace;
    }
    at += layout::kLongValueMapsSize;
  }
  return at + sizeof(layout::kListEnd);
}

void CheckLength(const DefinitionReader& reader, const Column& column) {
  const bool limited = column.type == ColumnType::Text || column.type == ColumnType::Binary;
  if (limited && (column.length == 0 || column.length > kMaxTextBytes)) {
    reader.Fail("column '" + column.name + "' has a length of " + std::to_string(column.length) + " bytes");
  }
  if (column.type == ColumnType::Text && column.length % 2 != 0) {
    reader.Fail("column '" + column.name + "' ends within a character");
  }
  if (column.IsLongValue() && column.IsFixed()) reader.Fail("column '" + column.name + "' cannot have a fixed place");
}

void CheckIds(const DefinitionReader& reader, const TableDefinition& table) {
  std::set<std::uint16_t> ids;
  std::set<std::uint16_t> variableIndexes;
  for (const Column& column : table.columns) {
    if (column.id >= table.nextColumnId || !ids.insert(column.id).second) {
      reader.Fail("column '" + column.name + "' has an impossible id");
    }
    if (column.IsFixed() || column.type == ColumnType::Boolean) continue;
    if (column.variableIndex >= table.nextVariableIndex || !variableIndexes.insert(column.variableIndex).second) {
      reader.Fail("column '" + column.name + "' has an impossible place among the variable columns");
    }
  }
}

/// Two columns in the same bytes would change each other.
void CheckFixedArea(const DefinitionReader& reader, const TableDefinition& table) {
  std::vector<std::pair<std::size_t, std::size_t>> spans;
  for (const Column& column : table.columns) {
    const std::size_t size = FixedSize(column);
    if (column.IsFixed() && size != 0) spans.emplace_back(column.fixedOffset, column.fixedOffset + size);
  }
  std::sort(spans.begin(), spans.end());
  for (std::size_t i = 1; i < spans.size(); ++i) {
    if (spans[i].first < spans[i - 1].second) reader.Fail("two columns overlap");
  }
}

void CheckIndexes(const DefinitionReader& reader, const TableDefinition& table) {
  for (const IndexData& index : table.indexData) {
    if (index.columns.empty()) reader.Fail("an index without columns");
    if (index.root == 0) reader.Fail("an index without a root page");
    for (const IndexData::KeyColumn& key : index.columns) {
      if (table.ColumnById(key.columnId) == nullptr) reader.Fail("an index over a column that does not exist");
    }
  }
  std::set<std::uint32_t> numbers;
  for (const LogicalIndex& index : table.indexes) {
    if (index.dataNumber >= table.indexData.size()) reader.Fail("index '" + index.name + "' has no tree");
    if (!numbers.insert(index.number).second) reader.Fail("two indexes of the same number");
  }
}

void CheckDefinition(const DefinitionReader& reader, const TableDefinition& table) {
  for (const Column& column : table.columns) CheckLength(reader, column);
  CheckIds(reader, table);
  CheckFixedArea(reader, table);
  if (ShortestRow(table) > kMaxRowSize) reader.Fail("its rows do not fit on a page");
  CheckIndexes(reader, table);
}

/// A count that has been compared with the format's limit, before anything is allocated for it.
template <std::integral T>
std::size_t Count(const DefinitionReader& reader, std::size_t at, std::size_t limit, const std::string& what) {
  const std::size_t count = reader.Number<T>(at);
  if (count > limit) reader.Fail(std::to_string(count) + " " + what);
  return count;
}

void ReadHead(const DefinitionReader& reader, TableDefinition& table) {
  reader.ExpectTag(layout::kTagAt, layout::kTag, "its definition");
  table.tableType = reader.Number<std::uint8_t>(layout::kTableTypeAt);
  table.nextColumnId = reader.Number<std::uint16_t>(layout::kNextColumnIdAt);
  table.nextVariableIndex = reader.Number<std::uint16_t>(layout::kNextVariableIndexAt);
  table.ownedPages = reader.Address(layout::kOwnedPagesAt);
  table.freeSpacePages = reader.Address(layout::kFreeSpaceAt);
}

}  // namespace

const Column* TableDefinition::ColumnById(std::uint16_t id) const {
  const std::optional<std::size_t> position = PositionOf(id);
  return position ? &columns[*position] : nullptr;
}

std::optional<std::size_t> TableDefinition::PositionOf(std::uint16_t columnId) const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].id == columnId) return i;
  }
  return std::nullopt;
}

std::optional<std::size_t> TableDefinition::PositionOf(std::string_view columnName) const {
  const std::string wanted = FoldCase(columnName);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (FoldCase(columns[i].name) == wanted) return i;
  }
  return std::nullopt;
}

std::vector<std::size_t> TableDefinition::PositionsOf(const IndexData& index) const {
  std::vector<std::size_t> positions;
  for (const IndexData::KeyColumn& key : index.columns) positions.push_back(PositionOf(key.columnId).value());
  return positions;
}

std::string TableDefinition::IndexName(std::size_t dataNumber) const {
  std::string names;
  for (const LogicalIndex& index : indexes) {
    const bool hidden = index.kind == LogicalIndex::Kind::Relation && index.relation == LogicalIndex::kPrimarySide;
    if (index.dataNumber != dataNumber || hidden) continue;
    if (!names.empty()) names += ", ";
    names += index.name;
  }
  return names.empty() ? std::string("#") + std::to_string(dataNumber) : names;
}

std::size_t FixedSize(const Column& column) {
  switch (column.type) {
    case ColumnType::Boolean:
      return 0;
    case ColumnType::Byte:
      return 1;
    case ColumnType::Integer:
      return 2;
    case ColumnType::Long:
    case ColumnType::Single:
      return 4;
    case ColumnType::Currency:
    case ColumnType::Double:
    case ColumnType::DateTime:
      return 8;
    case ColumnType::Guid:
      return 16;
    case ColumnType::Decimal:
      return 17;
    case ColumnType::Binary:
    case ColumnType::Text:
    case ColumnType::Ole:
    case ColumnType::Memo:
    case ColumnType::RawBlock:
      break;
  }
  return column.length;
}

std::size_t ShortestRow(const TableDefinition& table) {
  constexpr std::size_t kCountField = 2;
  constexpr std::size_t kWithoutVariables = 4;
  std::size_t fixedArea = 0;
  for (const Column& column : table.columns) {
    if (column.IsFixed()) fixedArea = std::max(fixedArea, column.fixedOffset + FixedSize(column));
  }
  const std::size_t nullMask = (table.nextColumnId + 7u) / 8;
  const std::size_t variables = table.nextVariableIndex;
  return kCountField + fixedArea + nullMask + (variables == 0 ? kWithoutVariables : 2 * (variables + 1) + 2);
}

TableDefinition ParseDefinition(ByteView definition, PageNumber page, const std::string& name) {
  const auto length = DefinitionReader(definition, name).Number<std::uint32_t>(layout::kLengthAt);
  const DefinitionReader reader(DefinitionReader(definition, name).Part(0, length), name);
  TableDefinition table;
  table.page = page;
  table.name = name;
  ReadHead(reader, table);
  const std::size_t columns = Count<std::uint16_t>(reader, layout::kColumnCountAt, kMaxColumns, "columns");
  const std::size_t logicals = Count<std::uint32_t>(reader, layout::kLogicalCountAt, kMaxIndexes, "indexes");
  const std::size_t trees = Count<std::uint32_t>(reader, layout::kIndexDataCountAt, kMaxIndexes, "index trees");

  std::size_t at = layout::kHeadSize + layout::kStatisticsSize * trees;
  for (std::size_t i = 0; i < columns; ++i, at += layout::kColumnSize) {
    table.columns.push_back(ReadColumn(reader, at, name));
  }
  for (Column& column : table.columns) column.name = reader.Name(at);
  for (std::size_t i = 0; i < trees; ++i, at += layout::kIndexDataSize) {
    table.indexData.push_back(ReadIndexData(reader, at));
  }
  for (std::size_t i = 0; i < logicals; ++i, at += layout::kLogicalSize) {
    table.indexes.push_back(ReadLogicalIndex(reader, at));
  }
  for (LogicalIndex& index : table.indexes) index.name = reader.Name(at);
  at = ReadLongValueMaps(reader, at, table.columns);
  if (at != reader.Size()) reader.Fail("its definition is longer than its parts");
  CheckDefinition(reader, table);
  return table;
}

}  // namespace mv::jet
