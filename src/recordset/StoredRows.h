#pragma once

#include <cstddef>
#include <vector>

#include "recordset/Value.h"

namespace mv {

/// Rows that keep their own form and are made values when somebody looks at them, for a MemoryRecordset to show. They
/// have been checked: reading raises nothing. Values of a field are null or of the field's own type.
class StoredRows {
 public:
  virtual ~StoredRows() = default;

  virtual std::size_t Count() const = 0;
  /// All fields of row `row` (from 0). Memory that `values` has is used again.
  virtual void ReadRow(std::size_t row, std::vector<Value>& values) const = 0;
  /// Field `field` (from 0) of a row.
  virtual void ReadField(std::size_t row, std::size_t field, Value& value) const = 0;
};

}  // namespace mv
