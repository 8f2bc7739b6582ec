#pragma once

#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "recordset/Value.h"

namespace mv::tool {

enum class RowFormat {
  JsonLines,  ///< one JSON object a row, each on a line of its own (LF)
  Csv,        ///< RFC 4180: a header line, CR LF line ends, a comma between fields
};

/// Writes the rows of one table to a stream, in the value forms of ValueText.h.
class RowWriter {
 public:
  virtual ~RowWriter() = default;
  /// `values`: one for each field name.
  virtual void Write(std::span<const Value> values) = 0;
};

/// `out` must outlive the writer. The CSV header is written at once.
std::unique_ptr<RowWriter> MakeRowWriter(RowFormat format, std::ostream& out, std::vector<std::string> fieldNames);

}  // namespace mv::tool
