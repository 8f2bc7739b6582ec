#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "check/Context.h"
#include "check/LongValues.h"
#include "check/RowReader.h"

namespace mv::check {

/// Reads the values of a system table's rows by column name.
class SystemTable {
 public:
  /// `definition`: of a table whose rows have been checked.
  SystemTable(Context& context, const Definition& definition);

  /// The position of a column. A missing one, or one of another type, is a finding, and IsComplete() false.
  std::size_t Column(std::string_view name, ColumnType type);
  bool IsComplete() const { return complete_; }

  /// Values of a sound row by position; nothing: null.
  std::optional<std::int32_t> Number(const Row& row, std::size_t column) const;
  std::optional<std::string> Text(const Row& row, std::size_t column) const;
  std::optional<Bytes> Binary(const Row& row, std::size_t column) const;
  std::optional<Bytes> LongValue(const Row& row, std::size_t column) const;

 private:
  Context& context_;
  const Definition& definition_;
  RowReader reader_;
  LongValues longValues_;
  bool complete_ = true;
};

}  // namespace mv::check
