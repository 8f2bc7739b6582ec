#include <algorithm>
#include <string>
#include <vector>

#include "base/ByteOrder.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "jet/definition/DefinitionLayout.h"
#include "jet/definition/TableDefinition.h"

namespace mv::jet {
namespace {

template <std::integral T>
void Append(Bytes& bytes, T value) {
  bytes.resize(bytes.size() + sizeof(T));
  StoreLittle(bytes.data() + bytes.size() - sizeof(T), value);
}

void AppendName(Bytes& bytes, const std::string& name) {
  const std::u16string units = Utf16FromUtf8(name);
  Append(bytes, static_cast<std::uint16_t>(2 * units.size()));
  for (const char16_t unit : units) Append(bytes, static_cast<std::uint16_t>(unit));
}

/// The variable index of a column; of a fixed one the number of variable columns with smaller ids, as Jet has it.
std::uint16_t VariableIndexField(const TableDefinition& table, const Column& column) {
  if (!column.IsFixed()) return column.variableIndex;
  return static_cast<std::uint16_t>(
      std::count_if(table.columns.begin(), table.columns.end(),
                    [&column](const Column& other) { return !other.IsFixed() && other.id < column.id; }));
}

void AppendColumn(Bytes& bytes, const TableDefinition& table, const Column& column) {
  const std::size_t at = bytes.size();
  bytes.resize(at + layout::kColumnSize);
  std::uint8_t* block = bytes.data() + at;
  block[layout::column::kTypeAt] = static_cast<std::uint8_t>(column.type);
  StoreLittle(block + layout::column::kTagAt, layout::kTag);
  StoreLittle(block + layout::column::kIdAt, column.id);
  StoreLittle(block + layout::column::kVariableIndexAt, VariableIndexField(table, column));
  if (!table.IsSystem()) StoreLittle(block + layout::column::kPositionAt, column.id);
  if (column.type == ColumnType::Decimal) {
    block[layout::column::kPrecisionAt] = column.precision;
    block[layout::column::kScaleAt] = column.scale;
  } else {
    StoreLittle(block + layout::column::kLanguageAt, column.sortOrder.language);
    block[layout::column::kSortIdAt] = column.sortOrder.id;
    block[layout::column::kSortVersionAt] = column.sortOrder.version;
  }
  block[layout::column::kFlagsAt] = column.flags;
  block[layout::column::kMoreFlagsAt] = column.moreFlags;
  StoreLittle(block + layout::column::kFixedOffsetAt, column.fixedOffset);
  StoreLittle(block + layout::column::kLengthAt, column.length);
}

void AppendIndexData(Bytes& bytes, const IndexData& index) {
  const std::size_t at = bytes.size();
  bytes.resize(at + layout::kIndexDataSize);
  std::uint8_t* block = bytes.data() + at;
  StoreLittle(block + layout::index::kTagAt, layout::kIndexTag);
  for (std::size_t i = 0; i < layout::index::kColumnSlots; ++i) {
    std::uint8_t* slot = block + layout::index::kColumnsAt + layout::index::kSlotSize * i;
    const bool used = i < index.columns.size();
    StoreLittle(slot, used ? index.columns[i].columnId : layout::index::kUnusedSlot);
    slot[2] = used && index.columns[i].ascending ? 1 : 0;
  }
  StoreLittle(block + layout::index::kMapAt, index.map.Word());
  StoreLittle(block + layout::index::kRootAt, index.root);
  block[layout::index::kFlagsAt] = index.flags;
}

void AppendLogicalIndex(Bytes& bytes, const LogicalIndex& index) {
  const std::size_t at = bytes.size();
  bytes.resize(at + layout::kLogicalSize);
  std::uint8_t* block = bytes.data() + at;
  StoreLittle(block + layout::logical::kTagAt, layout::kTag);
  StoreLittle(block + layout::logical::kNumberAt, index.number);
  StoreLittle(block + layout::logical::kDataNumberAt, index.dataNumber);
  block[layout::logical::kRelationAt] = index.relation;
  StoreLittle(block + layout::logical::kOtherIndexAt, index.otherIndex);
  StoreLittle(block + layout::logical::kOtherTableAt, index.otherTable);
  block[layout::logical::kOnUpdateAt] = index.onUpdate;
  block[layout::logical::kOnDeleteAt] = index.onDelete;
  block[layout::logical::kKindAt] = static_cast<std::uint8_t>(index.kind);
}

Bytes BuildHead(const TableDefinition& table) {
  Bytes head(layout::kHeadSize);
  std::uint8_t* bytes = head.data();
  StoreLittle(bytes, static_cast<std::uint16_t>(PageKind::Definition));
  StoreLittle(bytes + layout::kTagAt, layout::kTag);
  StoreLittle<std::uint32_t>(bytes + layout::kAutonumberStepAt, 1);
  bytes[layout::kTableTypeAt] = table.tableType;
  StoreLittle(bytes + layout::kNextColumnIdAt, table.nextColumnId);
  StoreLittle(bytes + layout::kNextVariableIndexAt, table.nextVariableIndex);
  StoreLittle(bytes + layout::kColumnCountAt, static_cast<std::uint16_t>(table.columns.size()));
  StoreLittle(bytes + layout::kLogicalCountAt, static_cast<std::uint32_t>(table.indexes.size()));
  StoreLittle(bytes + layout::kIndexDataCountAt, static_cast<std::uint32_t>(table.indexData.size()));
  StoreLittle(bytes + layout::kOwnedPagesAt, table.ownedPages.Word());
  StoreLittle(bytes + layout::kFreeSpaceAt, table.freeSpacePages.Word());
  return head;
}

}  // namespace

Bytes BuildDefinition(const TableDefinition& table) {
  Bytes bytes = BuildHead(table);
  bytes.resize(bytes.size() + layout::kStatisticsSize * table.indexData.size());
  for (const Column& column : table.columns) AppendColumn(bytes, table, column);
  for (const Column& column : table.columns) AppendName(bytes, column.name);
  for (const IndexData& index : table.indexData) AppendIndexData(bytes, index);
  for (const LogicalIndex& index : table.indexes) AppendLogicalIndex(bytes, index);
  for (const LogicalIndex& index : table.indexes) AppendName(bytes, index.name);
  for (const Column& column : table.columns) {
    if (!column.IsLongValue()) continue;
    Append(bytes, column.id);
    Append(bytes, column.longValuePages.Word());
    Append(bytes, column.longValueFreeSpace.Word());
  }
  Append(bytes, layout::kListEnd);
  StoreLittle(bytes.data() + layout::kLengthAt, static_cast<std::uint32_t>(bytes.size()));
  return bytes;
}

namespace {

/// Where the parts of existing definition bytes begin.
struct Parts {
  std::size_t statistics = layout::kHeadSize;
  std::size_t columns = 0;
  std::size_t trees = 0;
  std::size_t logicals = 0;
  std::size_t logicalNames = 0;
  std::uint32_t treeCount = 0;
  std::uint32_t logicalCount = 0;
};

/// Offset behind `count` names. `names` gets them, if given.
std::size_t SkipNames(const Bytes& definition, std::size_t at, std::size_t count, std::vector<std::string>* names) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t size = LoadLittle<std::uint16_t>(definition.data() + at);
    std::u16string units;
    for (std::size_t unit = 0; unit < size; unit += 2) {
      units += static_cast<char16_t>(LoadLittle<std::uint16_t>(definition.data() + at + 2 + unit));
    }
    if (names != nullptr) names->push_back(Utf8FromUtf16(units));
    at += 2 + size;
  }
  return at;
}

/// Needs bytes that ParseDefinition has accepted.
Parts PartsOf(const Bytes& definition) {
  Parts parts;
  parts.treeCount = LoadLittle<std::uint32_t>(definition.data() + layout::kIndexDataCountAt);
  parts.logicalCount = LoadLittle<std::uint32_t>(definition.data() + layout::kLogicalCountAt);
  const std::size_t columns = LoadLittle<std::uint16_t>(definition.data() + layout::kColumnCountAt);
  parts.columns = parts.statistics + layout::kStatisticsSize * parts.treeCount;
  parts.trees = SkipNames(definition, parts.columns + layout::kColumnSize * columns, columns, nullptr);
  parts.logicals = parts.trees + layout::kIndexDataSize * parts.treeCount;
  parts.logicalNames = parts.logicals + layout::kLogicalSize * parts.logicalCount;
  return parts;
}

void InsertAt(Bytes& bytes, std::size_t at, const Bytes& added) {
  bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), added.begin(), added.end());
}

void StoreLength(Bytes& definition) {
  StoreLittle(definition.data() + layout::kLengthAt, static_cast<std::uint32_t>(definition.size()));
}

}  // namespace

Bytes WithTree(const Bytes& definition, const IndexData& tree, std::uint32_t entries, std::uint32_t distinctKeys) {
  const Parts parts = PartsOf(definition);
  Bytes result = definition;
  // From the back, so that the offsets in front stay right.
  Bytes block;
  AppendIndexData(block, tree);
  InsertAt(result, parts.logicals, block);
  Bytes statistics(layout::kStatisticsSize);
  StoreLittle(statistics.data(), entries);
  StoreLittle(statistics.data() + layout::kDistinctKeysAt, distinctKeys);
  InsertAt(result, parts.columns, statistics);
  StoreLittle(result.data() + layout::kIndexDataCountAt, parts.treeCount + 1);
  StoreLength(result);
  return result;
}

Bytes WithLogicalIndex(const Bytes& definition, const LogicalIndex& index) {
  const Parts parts = PartsOf(definition);
  std::vector<std::string> names;
  SkipNames(definition, parts.logicalNames, parts.logicalCount, &names);
  const auto behind = std::find_if(names.begin(), names.end(),
                                   [&](const std::string& name) { return FoldCase(name) > FoldCase(index.name); });
  const auto place = static_cast<std::size_t>(behind - names.begin());
  Bytes result = definition;
  Bytes name;
  AppendName(name, index.name);
  InsertAt(result, SkipNames(definition, parts.logicalNames, place, nullptr), name);
  Bytes block;
  AppendLogicalIndex(block, index);
  InsertAt(result, parts.logicals + layout::kLogicalSize * place, block);
  StoreLittle(result.data() + layout::kLogicalCountAt, parts.logicalCount + 1);
  StoreLength(result);
  return result;
}

}  // namespace mv::jet
