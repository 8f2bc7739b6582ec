#pragma once

#include <iosfwd>

#include "jet/Table.h"
#include "mvtool/text/RowWriter.h"

namespace mv::tool {

/// Writes all rows of a table in physical order. The memory it takes does not grow with the table. Its database must
/// have been opened for reading only, or be between two changes.
void WriteRows(const jet::Table& table, RowFormat format, std::ostream& out);

}  // namespace mv::tool
