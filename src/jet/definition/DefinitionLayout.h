#pragma once

#include <cstddef>
#include <cstdint>

#include "jet/file/Page.h"

namespace mv::jet::layout {

/// A table's definition: one byte sequence over a chain of pages. Offsets count the first page's 8 header bytes, so the
/// first page carries offsets 0 to 4095; a continuation page carries 4088 bytes behind 8 header bytes of its own. All
/// numbers little-endian.
///
/// Page header:
///    0   2  02 01
///    2   2  room left on the page
///    4   4  next page of the definition, 0 = last
///
/// Head (63 bytes, page header included):
///    8   4  length of the definition, from offset 0 to the closing FFFF
///   12   4  0x659
///   16   4  number of rows
///   20   4  last autonumber given, signed
///   24   4  step of the autonumber
///   40   1  4E user table, 53 system table
///   41   2  next column id
///   43   2  next variable index
///   45   2  number of columns
///   47   4  number of logical indexes
///   51   4  number of index data blocks
///   55   4  row address of the owned pages' map
///   59   4  row address of the free-space map
///
/// Then without padding: statistics (12 bytes for each index data block), column blocks (25), column names, index data
/// blocks (52), logical index blocks (28), logical index names, long value maps (10 for each Memo or OLE column), FF
/// FF. A name is a u16 byte length and UTF-16. Behind the definition 8 bytes of its last page stay in reserve.
inline constexpr std::size_t kFreeAt = 2;
inline constexpr std::size_t kNextPageAt = 4;
inline constexpr std::size_t kPageHeader = 8;
inline constexpr std::size_t kLengthAt = 8;
inline constexpr std::size_t kTagAt = 12;
inline constexpr std::size_t kRowCountAt = 16;
inline constexpr std::size_t kLastAutonumberAt = 20;
inline constexpr std::size_t kAutonumberStepAt = 24;
inline constexpr std::size_t kTableTypeAt = 40;
inline constexpr std::size_t kNextColumnIdAt = 41;
inline constexpr std::size_t kNextVariableIndexAt = 43;
inline constexpr std::size_t kColumnCountAt = 45;
inline constexpr std::size_t kLogicalCountAt = 47;
inline constexpr std::size_t kIndexDataCountAt = 51;
inline constexpr std::size_t kOwnedPagesAt = 55;
inline constexpr std::size_t kFreeSpaceAt = 59;
inline constexpr std::size_t kHeadSize = 63;

/// Statistics block: u32 entries when last built, u32 different keys, u32 0.
inline constexpr std::size_t kStatisticsSize = 12;
inline constexpr std::size_t kDistinctKeysAt = 4;

inline constexpr std::uint32_t kTag = 0x659;
inline constexpr std::uint32_t kIndexTag = 0x783;
inline constexpr std::uint16_t kListEnd = 0xFFFF;
inline constexpr std::size_t kReserve = 8;
inline constexpr std::size_t kFirstPageBytes = kPageSize;
inline constexpr std::size_t kNextPageBytes = kPageSize - kPageHeader;

/// Column block:
///    0   1  type
///    1   4  0x659
///    5   2  column id
///    7   2  variable index; of a fixed column the number of variable columns with smaller ids
///    9   2  position for display: the id in new user tables, 0 in system tables
///   11   4  u16 language, u8 sort id, u8 sort version; Decimal: u8 precision, u8 scale, 0, 0
///   15   1  flags
///   16   1  more flags
///   21   2  offset in the fixed area
///   23   2  length in bytes
inline constexpr std::size_t kColumnSize = 25;
namespace column {
inline constexpr std::size_t kTypeAt = 0;
inline constexpr std::size_t kTagAt = 1;
inline constexpr std::size_t kIdAt = 5;
inline constexpr std::size_t kVariableIndexAt = 7;
inline constexpr std::size_t kPositionAt = 9;
inline constexpr std::size_t kLanguageAt = 11;
inline constexpr std::size_t kSortIdAt = 13;
inline constexpr std::size_t kSortVersionAt = 14;
inline constexpr std::size_t kPrecisionAt = 11;
inline constexpr std::size_t kScaleAt = 12;
inline constexpr std::size_t kFlagsAt = 15;
inline constexpr std::size_t kMoreFlagsAt = 16;
inline constexpr std::size_t kFixedOffsetAt = 21;
inline constexpr std::size_t kLengthAt = 23;
}  // namespace column

/// Index data block:
///    0   4  0x783
///    4  30  ten key columns: u16 column id (FFFF = unused), u8 1 ascending
///   34   4  row address of the map of the tree's pages
///   38   4  root page
///   46   1  flags
inline constexpr std::size_t kIndexDataSize = 52;
namespace index {
inline constexpr std::size_t kTagAt = 0;
inline constexpr std::size_t kColumnsAt = 4;
inline constexpr std::size_t kColumnSlots = 10;
inline constexpr std::size_t kSlotSize = 3;
inline constexpr std::uint16_t kUnusedSlot = 0xFFFF;
inline constexpr std::size_t kMapAt = 34;
inline constexpr std::size_t kRootAt = 38;
inline constexpr std::size_t kFlagsAt = 46;
}  // namespace index

/// Logical index block:
///    0   4  0x659
///    4   4  number, unique in the table
///    8   4  number of the index data block
///   12   1  relation: 0 none, 1 primary side, 2 foreign side
///   13   4  number of the other table's logical index, -1 none
///   17   4  definition page of the other table
///   21   1  action on update
///   22   1  action on delete
///   23   1  0 plain, 1 primary key, 2 relation
inline constexpr std::size_t kLogicalSize = 28;
namespace logical {
inline constexpr std::size_t kTagAt = 0;
inline constexpr std::size_t kNumberAt = 4;
inline constexpr std::size_t kDataNumberAt = 8;
inline constexpr std::size_t kRelationAt = 12;
inline constexpr std::size_t kOtherIndexAt = 13;
inline constexpr std::size_t kOtherTableAt = 17;
inline constexpr std::size_t kOnUpdateAt = 21;
inline constexpr std::size_t kOnDeleteAt = 22;
inline constexpr std::size_t kKindAt = 23;
}  // namespace logical

/// Long value maps of one column: u16 column id, row address of the owned pages' map, row address of the free-space
/// map.
inline constexpr std::size_t kLongValueMapsSize = 10;
inline constexpr std::size_t kLongValuePagesAt = 2;
inline constexpr std::size_t kLongValueFreeSpaceAt = 6;

}  // namespace mv::jet::layout
