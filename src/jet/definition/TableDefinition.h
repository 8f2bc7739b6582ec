#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/file/Page.h"
#include "jet/file/PageFile.h"
#include "jet/file/SortOrder.h"

namespace mv::jet {

enum class ColumnType : std::uint8_t {
  Boolean = 1,
  Byte = 2,
  Integer = 3,
  Long = 4,
  Currency = 5,
  Single = 6,
  Double = 7,
  DateTime = 8,
  Binary = 9,
  Text = 10,
  Ole = 11,
  Memo = 12,
  Guid = 15,
  Decimal = 16,
  RawBlock = 17,
};

/// One column as its 25-byte block and name describe it.
struct Column {
  std::string name;
  ColumnType type = ColumnType::Text;
  std::uint16_t id = 0;             ///< bit in the null mask, name in index blocks; ids have gaps
  std::uint16_t variableIndex = 0;  ///< place in the variable area, when not fixed
  std::uint16_t fixedOffset = 0;    ///< place in the fixed area, when fixed
  std::uint16_t length = 0;         ///< bytes: Text 2 x characters, Memo and OLE 0, Boolean 1
  std::uint8_t flags =
      0;  ///< 01 fixed, 02 updatable, 04 autonumber, 10 system, 20 SID, 40 GUID autonumber, 80 hyperlink
  std::uint8_t moreFlags = 0;  ///< 01 text is stored compressed
  SortOrder sortOrder;         ///< not for Decimal
  std::uint8_t precision = 0;  ///< Decimal only
  std::uint8_t scale = 0;      ///< Decimal only
  RowId longValuePages;        ///< Memo and OLE: map of owned pages
  RowId longValueFreeSpace;    ///< Memo and OLE: map of pages with room; none = 0/0

  bool IsFixed() const { return (flags & 0x01) != 0; }
  bool IsAutonumber() const { return (flags & 0x04) != 0; }
  bool IsGuidAutonumber() const { return (flags & 0x40) != 0; }
  bool IsHyperlink() const { return (flags & 0x80) != 0; }
  bool IsCompressed() const { return (moreFlags & 0x01) != 0; }
  bool IsLongValue() const { return type == ColumnType::Memo || type == ColumnType::Ole; }
};

/// One B-tree of a table (52-byte block).
struct IndexData {
  struct KeyColumn {
    std::uint16_t columnId = 0;
    bool ascending = true;
  };
  std::vector<KeyColumn> columns;
  RowId map;                  ///< map of the tree's pages
  PageNumber root = 0;        ///< never changes
  std::uint8_t flags = 0x80;  ///< 01 unique, 02 ignore nulls, 08 required

  bool IsUnique() const { return (flags & 0x01) != 0; }
  bool IgnoresNulls() const { return (flags & 0x02) != 0; }
  bool IsRequired() const { return (flags & 0x08) != 0; }
};

/// What a user knows as an index (28-byte block and name); several may share one tree.
struct LogicalIndex {
  enum class Kind : std::uint8_t { Plain = 0, PrimaryKey = 1, Relation = 2 };
  /// Values of `relation`.
  static constexpr std::uint8_t kPrimarySide = 1;
  static constexpr std::uint8_t kForeignSide = 2;

  std::string name;
  std::uint32_t number = 0;
  std::uint32_t dataNumber = 0;  ///< position in TableDefinition::indexData
  std::uint8_t relation = 0;     ///< the side of its relation; 0 none
  std::int32_t otherIndex = -1;
  PageNumber otherTable = 0;
  std::uint8_t onUpdate = 4;
  std::uint8_t onDelete = 4;
  Kind kind = Kind::Plain;
};

/// A table's definition, read from its chain of definition pages. `page` is the table's identity: owner field of its
/// data and index pages.
struct TableDefinition {
  /// Values of `tableType`.
  static constexpr std::uint8_t kUserTable = 0x4E;
  static constexpr std::uint8_t kSystemTable = 0x53;

  PageNumber page = 0;
  std::string name;  ///< from the catalog
  std::uint8_t tableType = kUserTable;
  std::uint16_t nextColumnId = 0;
  std::uint16_t nextVariableIndex = 0;
  RowId ownedPages;
  RowId freeSpacePages;
  std::vector<Column> columns;  ///< in the order of the blocks = order of presentation
  std::vector<IndexData> indexData;
  std::vector<LogicalIndex> indexes;
  std::vector<PageNumber> pages;  ///< the definition's own pages

  /// True for the tables that the platform keeps for itself, those of the catalog.
  bool IsSystem() const { return tableType == kSystemTable; }
  /// The column with the given id; nullptr when there is none (deleted).
  const Column* ColumnById(std::uint16_t id) const;
  /// Position in `columns` of the column with the given id; nothing when there is none.
  std::optional<std::size_t> PositionOf(std::uint16_t columnId) const;
  /// Position in `columns` of the column of this name, without regard to case; nothing when there is none.
  std::optional<std::size_t> PositionOf(std::string_view columnName) const;
  /// Positions in `columns` of an index's columns, in the index's order. Needs that they are all there, as they are in
  /// a definition that was read or designed.
  std::vector<std::size_t> PositionsOf(const IndexData& index) const;
  /// Names of the logical indexes over one tree that users see, for messages; "#n" when none.
  std::string IndexName(std::size_t dataNumber) const;
};

/// Limits of the format.
inline constexpr std::size_t kMaxColumns = 255;
inline constexpr std::size_t kMaxIndexes = 32;
inline constexpr std::size_t kMaxIndexColumns = 10;
inline constexpr std::size_t kMaxNameUnits = 64;   ///< UTF-16 units of a table's, column's or index's name
inline constexpr std::size_t kMaxTextBytes = 510;  ///< of a Text or Binary column
inline constexpr std::size_t kMaxRowSize = 4060;   ///< long values not counted

/// Bytes that a column takes in the fixed area, when it lies there; 0 for Boolean, which is a bit of the null mask.
std::size_t FixedSize(const Column& column);
/// Bytes of the shortest row that the columns and the two counters allow; a table may have no more than kMaxRowSize.
std::size_t ShortestRow(const TableDefinition& table);

/// Reads and checks a definition. Throws DamagedFileError for one that contradicts itself, UnsupportedError for column
/// types of later engines.
TableDefinition ReadDefinition(const PageFile& file, PageNumber page, const std::string& name);
/// The same from the bytes of a definition, the headers of continuation pages left out. `pages` of the result is empty.
TableDefinition ParseDefinition(ByteView definition, PageNumber page, const std::string& name);

/// Counters in the definition's first page that change with the rows.
std::uint32_t RowCount(const PageFile& file, const TableDefinition& table);
void SetRowCount(PageFile& file, const TableDefinition& table, std::uint32_t count);
std::int32_t LastAutonumber(const PageFile& file, const TableDefinition& table);
/// What is added to the last autonumber to get the next one.
std::int32_t AutonumberStep(const PageFile& file, const TableDefinition& table);
void SetLastAutonumber(PageFile& file, const TableDefinition& table, std::int32_t value);
/// The "number of different keys" word of an index data block's statistics; it may lie on any of the definition's pages
/// only when the definition is long, but always in the first 4096 bytes for the 32 blocks allowed.
void AddToDistinctKeys(PageFile& file, const TableDefinition& table, std::size_t dataNumber, std::int32_t delta);

/// The bytes of a new definition as they are laid over pages (see WriteDefinition), counters 0, step 1. Takes columns
/// and indexes in the order given.
Bytes BuildDefinition(const TableDefinition& table);
/// The bytes of a table's present definition, as BuildDefinition makes them.
Bytes ReadDefinitionBytes(const PageFile& file, const TableDefinition& table);
/// Definition bytes with one more index tree behind the others; all else stays as it is. `entries` and `distinctKeys`
/// are for its statistics.
Bytes WithTree(const Bytes& definition, const IndexData& tree, std::uint32_t entries, std::uint32_t distinctKeys);
/// Definition bytes with one more logical index, put in its place by name.
Bytes WithLogicalIndex(const Bytes& definition, const LogicalIndex& index);
/// Writes definition bytes over pages[0] and as many of `pages` as they need, linking them; free-space words and the
/// 8-byte reserve included.
void WriteDefinition(PageFile& file, const Bytes& definition, const std::vector<PageNumber>& pages);
/// Number of pages that a definition of this many bytes takes.
std::size_t DefinitionPages(std::size_t length);

}  // namespace mv::jet
