#include "mvtool/text/TableRows.h"

#include <optional>
#include <string>
#include <vector>

namespace mv::tool {
void WriteRows(const jet::Table& table, RowFormat format, std::ostream& out) {
  std::vector<std::string> names;
  for (const jet::Column& column : table.Definition().columns) names.push_back(column.name);
  const auto writer = MakeRowWriter(format, out, std::move(names));
  for (std::optional<jet::RowId> row = table.First(); row; row = table.Next(*row)) {
    writer->Write(table.ReadRow(*row));
    table.ForgetOldPages();
  }
}

}  // namespace mv::tool
