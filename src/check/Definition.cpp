#include "check/Definition.h"

#include <algorithm>
#include <utility>

#include "base/Utf.h"

namespace mv::check {
namespace {

constexpr std::size_t kFreeSpaceAt = 2;
constexpr std::size_t kNextPageAt = 4;
constexpr std::size_t kPageHeader = 8;

constexpr std::size_t kLengthAt = 8;
constexpr std::size_t kTagAt = 12;
constexpr std::size_t kRowCountAt = 16;
constexpr std::size_t kLastAutonumberAt = 20;
constexpr std::size_t kAutonumberStepAt = 24;
constexpr std::size_t kTableTypeAt = 40;
constexpr std::size_t kNextColumnIdAt = 41;
constexpr std::size_t kNextVariableIndexAt = 43;
constexpr std::size_t kColumnCountAt = 45;
constexpr std::size_t kLogicalIndexCountAt = 47;
constexpr std::size_t kIndexCountAt = 51;
constexpr std::size_t kOwnedPagesAt = 55;
constexpr std::size_t kFreeSpacePagesAt = 59;
constexpr std::size_t kHeadSize = 63;

constexpr std::size_t kStatisticsSize = 12;

namespace column {
constexpr std::size_t kTypeAt = 0;
constexpr std::size_t kTagAt = 1;
constexpr std::size_t kIdAt = 5;
constexpr std::size_t kVariableIndexAt = 7;
constexpr std::size_t kSortOrderAt = 11;
constexpr std::size_t kFlagsAt = 15;
constexpr std::size_t kFixedOffsetAt = 21;
constexpr std::size_t kLengthAt = 23;
constexpr std::size_t kSize = 25;
}  // namespace column

namespace index {
constexpr std::size_t kTagAt = 0;
constexpr std::size_t kColumnsAt = 4;
constexpr std::size_t kColumnSize = 3;
constexpr std::size_t kDirectionAt = 2;
constexpr std::uint16_t kNoColumn = 0xFFFF;
constexpr std::size_t kMapAt = 34;
constexpr std::size_t kRootAt = 38;
constexpr std::size_t kFlagsAt = 46;
constexpr std::size_t kSize = 52;
}  // namespace index

namespace logical {
constexpr std::size_t kTagAt = 0;
constexpr std::size_t kNumberAt = 4;
constexpr std::size_t kDataNumberAt = 8;
constexpr std::size_t kSideAt = 12;
constexpr std::size_t kOtherIndexAt = 13;
constexpr std::size_t kOtherTableAt = 17;
constexpr std::size_t kOnUpdateAt = 21;
constexpr std::size_t kOnDeleteAt = 22;
constexpr std::size_t kKindAt = 23;
constexpr std::size_t kSize = 28;
}  // namespace logical

constexpr std::uint16_t kListEnd = 0xFFFF;
constexpr std::size_t kLongValueMapsSize = 10;

/// Takes one block after the other off a definition. Once something does not fit, Failed() is true and all that is
/// taken is zeros.
class Blocks {
 public:
  Blocks(ByteView bytes, std::size_t at) : bytes_(bytes), at_(std::min(at, bytes.size())) {}

  bool Failed() const { return failed_; }
  std::size_t At() const { return at_; }
  ByteView Take(std::size_t size) {
    static constexpr std::array<std::uint8_t, 64> kZeros = {};
    if (failed_ || bytes_.size() - at_ < size) {
      failed_ = true;
      return ByteView(kZeros).first(std::min(size, kZeros.size()));
    }
    const ByteView block = bytes_.subspan(at_, size);
    at_ += size;
    return block;
  }
  /// A name: u16 length in bytes and UTF-16. Returns its units; a name of an odd length fails.
  std::size_t TakeName(std::string& name) {
    const std::size_t size = Word16(Take(2), 0);
    const ByteView bytes = Take(size);
    if (size % 2 != 0) failed_ = true;
    if (failed_) return 0;
    std::u16string units(size / 2, u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) units[i] = static_cast<char16_t>(Word16(bytes, 2 * i));
    name = Utf8FromUtf16(units);
    return units.size();
  }

 private:
  ByteView bytes_;
  std::size_t at_;
  bool failed_ = false;
};

/// The bytes of all pages of the chain, and the pages.
std::optional<Bytes> ReadChain(Context& context, Definition& definition) {
  const PageOwners::Id owner = context.owners.Add({PageOwners::Owner::Use::Definition, definition.name});
  Bytes bytes;
  for (PageNumber number = definition.page; number != 0;) {
    if (!context.owners.Claim(number, owner, definition.Where())) return std::nullopt;
    const PageView page = context.pages.At(number);
    if (Word16(page, 0) != kDefinitionPage) {
      context.findings.Damage(Kind::Page, definition.Where().OnPage(number),
                              "the page should be a definition, but begins with ", Hex{page.first(2)});
      return std::nullopt;
    }
    const ByteView part = page.subspan(definition.parts.empty() ? 0 : kPageHeader);
    bytes.insert(bytes.end(), part.begin(), part.end());
    definition.parts.push_back({number, Word16(page, kFreeSpaceAt)});
    number = Word32(page, kNextPageAt);
  }
  return bytes;
}

void ReadHead(ByteView bytes, Definition& definition) {
  definition.length = Word32(bytes, kLengthAt);
  definition.tag = Word32(bytes, kTagAt);
  definition.rowCount = Word32(bytes, kRowCountAt);
  definition.lastAutonumber = static_cast<std::int32_t>(Word32(bytes, kLastAutonumberAt));
  definition.autonumberStep = static_cast<std::int32_t>(Word32(bytes, kAutonumberStepAt));
  definition.tableType = bytes[kTableTypeAt];
  definition.nextColumnId = Word16(bytes, kNextColumnIdAt);
  definition.nextVariableIndex = Word16(bytes, kNextVariableIndexAt);
  definition.ownedPages = RowAt(bytes, kOwnedPagesAt);
  definition.freeSpacePages = RowAt(bytes, kFreeSpacePagesAt);
}

Column ReadColumn(ByteView block) {
  Column column;
  column.type = static_cast<ColumnType>(block[column::kTypeAt]);
  column.tag = Word32(block, column::kTagAt);
  column.id = Word16(block, column::kIdAt);
  column.variableIndex = Word16(block, column::kVariableIndexAt);
  std::copy_n(block.begin() + column::kSortOrderAt, column.sortOrder.size(), column.sortOrder.begin());
  column.flags = block[column::kFlagsAt];
  column.fixedOffset = Word16(block, column::kFixedOffsetAt);
  column.length = Word16(block, column::kLengthAt);
  return column;
}

Index ReadIndex(ByteView block, const Definition& definition) {
  Index read;
  read.tag = Word32(block, index::kTagAt);
  for (std::size_t i = 0; i < kMaxIndexColumns; ++i) {
    const std::size_t at = index::kColumnsAt + index::kColumnSize * i;
    const std::uint16_t id = Word16(block, at);
    if (id == index::kNoColumn) continue;
    read.columns.push_back({id, (block[at + index::kDirectionAt] & 1) != 0, definition.ColumnById(id)});
  }
  read.map = RowAt(block, index::kMapAt);
  read.root = Word32(block, index::kRootAt);
  read.flags = block[index::kFlagsAt];
  return read;
}

LogicalIndex ReadLogicalIndex(ByteView block) {
  LogicalIndex read;
  read.tag = Word32(block, logical::kTagAt);
  read.number = Word32(block, logical::kNumberAt);
  read.dataNumber = Word32(block, logical::kDataNumberAt);
  read.side = static_cast<LogicalIndex::Side>(block[logical::kSideAt]);
  read.otherIndex = Word32(block, logical::kOtherIndexAt);
  read.otherTable = Word32(block, logical::kOtherTableAt);
  read.onUpdate = block[logical::kOnUpdateAt];
  read.onDelete = block[logical::kOnDeleteAt];
  read.kind = static_cast<LogicalIndex::Kind>(block[logical::kKindAt]);
  return read;
}

void ReadLongValueMaps(Blocks& blocks, Definition& definition) {
  while (!blocks.Failed()) {
    const std::uint16_t id = Word16(blocks.Take(2), 0);
    if (blocks.Failed() || id == kListEnd) return;
    const ByteView maps = blocks.Take(kLongValueMapsSize - 2);
    definition.longValueMaps.push_back({id, RowAt(maps, 0), RowAt(maps, 4)});
  }
}

void NameIndexes(Definition& definition) {
  for (const LogicalIndex& logicalIndex : definition.logicalIndexes) {
    if (logicalIndex.dataNumber >= definition.indexes.size()) continue;
    Index& tree = definition.indexes[logicalIndex.dataNumber];
    if (!tree.title.empty()) tree.title += " = ";
    tree.title += logicalIndex.name;
    tree.isPrimary = tree.isPrimary || logicalIndex.kind == LogicalIndex::Kind::PrimaryKey;
  }
  for (std::size_t i = 0; i < definition.indexes.size(); ++i) {
    if (definition.indexes[i].title.empty()) definition.indexes[i].title = '#' + std::to_string(i);
  }
}

/// False when the definition ends before its parts do.
bool ReadBlocks(ByteView bytes, Definition& definition) {
  if (bytes.size() < kHeadSize) return false;
  ReadHead(bytes, definition);
  const std::size_t columns = Word16(bytes, kColumnCountAt);
  const std::size_t logicalIndexes = Word32(bytes, kLogicalIndexCountAt);
  const std::size_t indexes = Word32(bytes, kIndexCountAt);
  if (columns > kMaxColumns || logicalIndexes > bytes.size() || indexes > bytes.size()) return false;

  Blocks blocks(bytes, kHeadSize + kStatisticsSize * indexes);
  for (std::size_t i = 0; i < columns && !blocks.Failed(); ++i) {
    definition.columns.push_back(ReadColumn(blocks.Take(column::kSize)));
  }
  for (Column& column : definition.columns) column.nameUnits = blocks.TakeName(column.name);
  for (std::size_t i = 0; i < indexes && !blocks.Failed(); ++i) {
    definition.indexes.push_back(ReadIndex(blocks.Take(index::kSize), definition));
  }
  for (std::size_t i = 0; i < logicalIndexes && !blocks.Failed(); ++i) {
    definition.logicalIndexes.push_back(ReadLogicalIndex(blocks.Take(logical::kSize)));
  }
  for (LogicalIndex& read : definition.logicalIndexes) read.nameUnits = blocks.TakeName(read.name);
  ReadLongValueMaps(blocks, definition);
  definition.end = blocks.At();
  return !blocks.Failed();
}

}  // namespace

std::optional<std::size_t> Column::SizeOfType() const {
  switch (type) {
    case ColumnType::Boolean:
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
  return std::nullopt;
}

bool Index::HasColumns() const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (!columns[i].column) return false;
    for (std::size_t j = 0; j < i; ++j) {
      if (columns[j].id == columns[i].id) return false;
    }
  }
  return !columns.empty();
}

std::optional<std::size_t> Definition::ColumnById(std::uint16_t id) const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].id == id) return i;
  }
  return std::nullopt;
}

std::optional<std::size_t> Definition::ColumnByName(std::string_view columnName) const {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].name == columnName) return i;
  }
  return std::nullopt;
}

std::unique_ptr<Definition> ReadDefinition(Context& context, PageNumber page, std::string name) {
  auto definition = std::make_unique<Definition>();
  definition->page = page;
  definition->name = std::move(name);
  const std::optional<Bytes> bytes = ReadChain(context, *definition);
  if (!bytes) return nullptr;
  if (!ReadBlocks(*bytes, *definition)) {
    context.findings.Damage(Kind::Definition, definition->Where().OnPage(page),
                            "the definition cannot be read: its parts do not fit into its pages (",
                            definition->parts.size(), ")");
    return nullptr;
  }
  NameIndexes(*definition);
  return definition;
}

}  // namespace mv::check
