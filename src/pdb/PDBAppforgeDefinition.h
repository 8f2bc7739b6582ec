#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"

namespace mv {

/// The description of a table's records: the AppInfo block of its file.
///
/// Layout of the block (16-bit values big-endian, n fields; name offsets count from byte 276):
///
///   offset    size  content
///   0         2     category mask word
///   2         256   16 category names, 16 bytes each, filled up with zeros
///   258       16    16 category IDs
///   274       1     last unique ID
///   275       1     zero
///   276       8     "APPFORG2"
///   284       4     zeros
///   288       2     byte count of the block minus 277
///   290       2     offset of the table name: 6n + 24
///   292       2     n
///   294       2     size of a record whose texts are all empty
///   296       4     zeros
///   300       6n    per field: offset of its name (2), type code (2), zeros (2)
///   300+6n          table name, then the field names, Windows-1252, each with a zero byte behind it
///
/// Types are given as codes (HandheldType.h), because a file may hold any number there. A new definition has no fields,
/// an empty table name and an empty category area. Fields are numbered from 1; error 9 for any other number.
class PDBAppforgeDefinition {
 public:
  /// Builds the block. Error 6 when it would be longer than 32767 bytes, its records' fixed size exceeds that, or a
  /// type code has more than 16 bits.
  Bytes AppInfoBlock() const;

  /// A sort list: "SORT" at 0, zeros to 15, a 16-bit count at 16, 4 bytes an entry, 4 x count + 20 bytes in all. Kept
  /// as it is; empty (count 0) in a new definition.
  const Bytes& SortInfoBlock() const { return sortInfoBlock_; }
  /// Error 9 for a block shorter than its count demands.
  void SortInfoBlock(Bytes block);

  /// Reads a block into this definition. False, with the fields untouched, when the mark "APPFORG2" is not there; the
  /// category area of a block long enough for the mark is taken over even then. Error 9, with table name and fields
  /// untouched, when the block ends before what it describes. Names come without blanks around them.
  bool IsAppforgeData(ByteView block);

  std::int16_t FieldCount() const { return static_cast<std::int16_t>(fields_.size()); }
  /// Adds a field at the end. Error 6 for a field after the 32767th.
  void AddFieldName(std::string name, std::int32_t type);
  void ClearFieldName() { fields_.clear(); }

  const std::string& FieldName(std::int16_t i) const { return fields_[IndexOf(i)].name; }
  void FieldName(std::int16_t i, std::string name);
  std::int32_t FieldType(std::int16_t i) const { return fields_[IndexOf(i)].type; }
  void FieldType(std::int16_t i, std::int32_t type);

 private:
  static constexpr std::size_t kCategories = 16;
  struct Field {
    std::string name;
    std::int32_t type = 0;
  };

  /// Place of field `i` in the list. Error 9.
  std::size_t IndexOf(std::int16_t i) const;
  void ReadCategories(ByteView block);
  void WriteCategories(Bytes& block) const;
  std::int16_t FixedRecordSize() const;

  std::int16_t categoryMask_ = 0;
  std::array<std::string, kCategories> categoryNames_;
  std::array<std::uint8_t, kCategories> categoryIds_ = {};
  std::uint8_t lastUniqueId_ = 0;
  std::string tableName_;
  std::vector<Field> fields_;
  Bytes sortInfoBlock_ = {'S', 'O', 'R', 'T', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
};

}  // namespace mv
