#pragma once

#include <iosfwd>

#include "jet/Database.h"
#include "mvtool/text/RowWriter.h"

namespace mv::tool {

/// Writes all rows of a table of `database` in physical order. The memory it takes does not grow with the table. The
/// database must have been opened for reading only, or be between two changes.
void WriteRows(jet::Database& database, const jet::Table& table, RowFormat format, std::ostream& out);

}  // namespace mv::tool
