#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "check/Context.h"

namespace mv::check {

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

inline constexpr std::size_t kMaxColumns = 255;
inline constexpr std::size_t kMaxIndexes = 32;
inline constexpr std::size_t kMaxIndexColumns = 10;
inline constexpr std::size_t kMaxNameUnits = 64;
inline constexpr std::size_t kMaxTextBytes = 510;
inline constexpr std::size_t kMaxRowSize = 4060;

/// One column block and its name, as stored.
struct Column {
  std::string name;
  std::size_t nameUnits = 0;
  ColumnType type = ColumnType::Boolean;  ///< any number may be here
  std::uint32_t tag = 0;
  std::uint16_t id = 0;
  std::uint16_t variableIndex = 0;
  SortOrderBytes sortOrder = {};
  std::uint8_t flags = 0;
  std::uint16_t fixedOffset = 0;
  std::uint16_t length = 0;

  /// Found out by checks.
  bool required = false;          ///< the property list refuses null
  PageOwners::Id longValues = 0;  ///< owner of its long value pages; 0: it has no map
  bool hasFreeSpaceMap = false;   ///< of long values

  bool IsFixed() const { return (flags & 0x01) != 0; }
  bool IsAutonumber() const { return (flags & 0x04) != 0 && type == ColumnType::Long; }
  bool IsLongValue() const { return type == ColumnType::Memo || type == ColumnType::Ole; }
  /// Bytes that a value of the type always has; nothing when they vary.
  std::optional<std::size_t> SizeOfType() const;
  /// Bytes in the fixed area.
  std::size_t FixedSize() const { return SizeOfType().value_or(length); }
};

/// One index data block: a tree.
struct Index {
  struct KeyColumn {
    std::uint16_t id = 0;
    bool ascending = true;
    std::optional<std::size_t> column;  ///< position in Definition::columns, when there is such a column
  };
  std::string title;  ///< the names of its logical indexes
  std::uint32_t tag = 0;
  std::vector<KeyColumn> columns;
  RowId map;
  PageNumber root = 0;
  std::uint8_t flags = 0;
  bool isPrimary = false;  ///< one of its logical indexes is the primary key

  /// Found out by checks: keys of rows whose entries are built by other rules than ours, ascending.
  std::vector<Bytes> keysOfOtherRules;
  /// Found out by checks: the leaves in order, when the tree and its entries are sound.
  std::vector<PageNumber> leaves;
  bool sound = false;

  bool IsUnique() const { return (flags & 0x01) != 0; }
  bool IgnoresNulls() const { return (flags & 0x02) != 0; }
  bool RefusesNulls() const { return (flags & 0x08) != 0 || isPrimary; }
  /// Every key column exists, and once only.
  bool HasColumns() const;
};

/// One logical index block and its name.
struct LogicalIndex {
  enum class Kind : std::uint8_t { Plain = 0, PrimaryKey = 1, Relation = 2 };
  enum class Side : std::uint8_t { None = 0, Primary = 1, Foreign = 2 };
  std::string name;
  std::size_t nameUnits = 0;
  std::uint32_t tag = 0;
  std::uint32_t number = 0;
  std::uint32_t dataNumber = 0;  ///< position in Definition::indexes
  Side side = Side::None;
  std::uint32_t otherIndex = 0;
  PageNumber otherTable = 0;
  std::uint8_t onUpdate = 0;
  std::uint8_t onDelete = 0;
  Kind kind = Kind::Plain;
};

/// The maps of one long value column.
struct LongValueMaps {
  std::uint16_t columnId = 0;
  RowId pages;
  RowId freeSpace;
};

/// A table definition as stored. Its parts have been found; whether they make sense is DefinitionCheck's business.
///
/// The bytes of a definition lie over a chain of pages: all 4096 of the first, 4088 behind the 8 bytes of header of
/// each other. Page header: 02 01, u16 free space, u32 next page.
struct Definition {
  PageNumber page = 0;
  std::string name;          ///< from the catalog
  bool isUserTable = false;  ///< one that a user sees

  struct Part {
    PageNumber page = 0;
    std::uint16_t freeSpace = 0;
  };
  std::vector<Part> parts;
  std::size_t length = 0;  ///< as the length field says
  std::size_t end = 0;     ///< where the closing FFFF ends
  std::uint32_t tag = 0;
  std::uint32_t rowCount = 0;
  std::int32_t lastAutonumber = 0;
  std::int32_t autonumberStep = 0;
  std::uint8_t tableType = 0;
  std::uint16_t nextColumnId = 0;
  std::uint16_t nextVariableIndex = 0;
  RowId ownedPages;
  RowId freeSpacePages;
  std::vector<Column> columns;
  std::vector<Index> indexes;
  std::vector<LogicalIndex> logicalIndexes;
  std::vector<LongValueMaps> longValueMaps;

  /// Found out by checks.
  PageOwners::Id rowsOwner = 0;
  std::vector<PageNumber> dataPages;  ///< ascending, checked
  std::size_t firstRowNumber = 0;     ///< DataPages::NumberOf its first slot
  std::size_t endRowNumber = 0;

  Place Where() const { return {.table = name, .index = {}, .column = {}, .page = {}, .row = {}}; }
  std::optional<std::size_t> ColumnById(std::uint16_t id) const;
  /// Exact spelling.
  std::optional<std::size_t> ColumnByName(std::string_view columnName) const;
};

/// Takes the pages of a definition and reads it. Nothing, with a finding, when it cannot be read to its end.
std::unique_ptr<Definition> ReadDefinition(Context& context, PageNumber page, std::string name);

}  // namespace mv::check
