#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

/// What a handheld's table file has at fixed places, and what handhelds can take. The whole layout: PDBDatabase.h.
namespace mv::table_format {

/// Creator of the tables of this program.
inline constexpr const char* kCreator = "BRND";
inline constexpr std::size_t kCreatorWidth = 4;
inline constexpr std::size_t kNameWidth = 32;

inline constexpr std::size_t kHeaderSize = 78;
/// Place of the number of records, 16 bits, in the header.
inline constexpr std::size_t kRecordCountAt = 76;
/// The record list begins behind the header; size of an entry, and place of the attributes in it.
inline constexpr std::size_t kEntrySize = 8;
inline constexpr std::size_t kEntryAttributesAt = 4;

/// Unique IDs have three bytes.
inline constexpr std::uint32_t kLargestUniqueId = 0xFFFFFF;

/// Records are counted, and the bytes of a text indexed, with signed 16-bit numbers.
inline constexpr std::size_t kMostRecords = std::numeric_limits<std::int16_t>::max();
inline constexpr std::size_t kLongestText = std::numeric_limits<std::int16_t>::max();

}  // namespace mv::table_format
