#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "base/Bytes.h"
#include "base/FileContent.h"
#include "pdb/HandheldType.h"
#include "recordset/StoredRows.h"

namespace mv {

/// The records of a handheld's table file as rows of its recordset: the fields, then `_D` and `_M`. They stay the bytes
/// that the file holds.
class HandheldRows : public StoredRows {
 public:
  /// `types` are those of the records' fields, in their order; `count` is that of the records to come.
  HandheldRows(std::vector<HandheldType> types, std::size_t count) : types_(std::move(types)) {
    records_.reserve(count);
  }

  /// Adds a record with its flags (RecordFlags). Error 9 when it ends before its fields do, 6 for a text that is too
  /// long; it is not added then. `record` must lie in what Keep gets.
  void Add(ByteView record, std::int32_t attributes);
  /// Takes over the bytes in which the records lie.
  void Keep(FileContent content) { content_ = std::move(content); }

  const std::vector<HandheldType>& Types() const { return types_; }
  /// The bytes of a row's fields: a record without what stands behind them.
  ByteView FieldBytes(std::size_t row) const { return records_[row].bytes; }

  std::size_t Count() const override { return records_.size(); }
  void ReadRow(std::size_t row, std::vector<Value>& values) const override;
  void ReadField(std::size_t row, std::size_t field, Value& value) const override;

 private:
  struct Record {
    ByteView bytes;  ///< of its fields
    std::uint8_t attributes = 0;
  };

  std::vector<HandheldType> types_;
  std::vector<Record> records_;
  FileContent content_;
};

}  // namespace mv
