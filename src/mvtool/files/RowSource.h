#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/Table.h"
#include "pdb/TableFile.h"
#include "recordset/Recordset.h"

namespace mv::tool {

/// The rows of one table, one after another, wherever it lies.
class RowSource {
 public:
  virtual ~RowSource() = default;

  virtual const std::string& Name() const = 0;
  virtual const std::vector<FieldDefinition>& Fields() const = 0;
  /// Positions of the fields that tell rows apart (see RowKey.h); nothing where nobody knows.
  virtual std::vector<std::size_t> Key() const = 0;
  /// True for a table file, whose fields know no null, no part of a second and one code page.
  virtual bool IsOnHandheld() const = 0;
  /// The next row in the order of the file; nothing after the last. The errors of the file's reader.
  virtual std::optional<std::vector<Value>> Next() = 0;
};

/// The table must outlive the source, and not change meanwhile.
std::unique_ptr<RowSource> RowsOf(const jet::Table& table);
/// A field "_attributes" comes first when `withAttributes`.
std::unique_ptr<RowSource> RowsOf(std::unique_ptr<TableFileReader> file, bool withAttributes);

}  // namespace mv::tool
