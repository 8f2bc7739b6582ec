#include "mvtool/text/TableRows.h"

#include <optional>
#include <string>
#include <vector>

namespace mv::tool {
namespace {

/// Pages kept while walking through a table: 16 MiB.
constexpr std::size_t kMostPages = 4096;

}  // namespace

void WriteRows(jet::Database& database, const jet::Table& table, RowFormat format, std::ostream& out) {
  std::vector<std::string> names;
  for (const jet::Column& column : table.Definition().columns) names.push_back(column.name);
  const auto writer = MakeRowWriter(format, out, std::move(names));
  for (std::optional<jet::RowId> row = table.First(); row; row = table.Next(*row)) {
    writer->Write(table.ReadRow(*row));
    database.Pages().ShrinkTo(kMostPages);
  }
}

}  // namespace mv::tool
