#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/System.h"
#include "recordset/Value.h"

namespace mv {

/// One field of a table file as its definitions have it. `type` is the code of a HandheldType, or any other number:
/// such a field holds nothing.
struct TableFileField {
  std::string name;
  std::int32_t type = 0;

  friend bool operator==(const TableFileField&, const TableFileField&) = default;
};

/// What a table file says about itself.
struct TableFileHeader {
  std::string name;
  std::string creator;
  std::vector<TableFileField> fields;
};

/// One record of a handheld's table file. Handhelds know no null; a field of an unknown type is Null here.
struct HandheldRecord {
  std::uint8_t attributes = 0;
  std::uint32_t uniqueId = 0;  ///< 1 to 16,777,215; 0 draws the next free one when written
  std::vector<Value> values;
};

/// Reads a whole table file, whatever its name, into memory and its records one by one.
class TableFileReader {
 public:
  /// Failure when the file has no field definitions; error 6 or 9 when it is damaged; the file system's errors.
  TableFileReader(platform::FileSystem& files, const std::string& path);
  ~TableFileReader();

  const TableFileHeader& Header() const;
  /// The next record in the order of the file; nothing after the last. The values of a record without any bytes, as
  /// handhelds leave of a deleted one, are null. Failure naming the record when it is damaged.
  std::optional<HandheldRecord> Next();

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

/// Builds a table file in memory.
class TableFileWriter {
 public:
  /// `clock` dates the file and must outlive the writer.
  TableFileWriter(const TableFileHeader& header, const platform::Clock& clock);
  ~TableFileWriter();

  /// Appends a record. `values`: one for each field, of the field's own type; a null becomes the type's zero. Failure
  /// for a date that a handheld cannot hold.
  void Add(const HandheldRecord& record);
  /// Puts the file at `path` in one step, replacing what is there; the last call.
  void WriteTo(platform::FileSystem& files, const std::string& path);

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace mv
