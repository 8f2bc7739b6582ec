#include "mvtool/text/TableRows.h"

#include <optional>
#include <string>
#include <vector>

namespace mv::tool {
void WriteRows(const jet::Table& table, RowFormat format, std::ostream& out) {
  std::vector<std::string> names;
  for (const jet::Column& column : table.Definition().columns) names.push_back(column.name);
  const auto writer = MakeRowWriter(format, out, std::move(names));
  std::vector<Value> values;
  for (std::optional<jet::RowId> row = table.First(); row; row = table.Next(*row)) {
    table.ReadRow(*row, values);
    writer->Write(values);
    table.ForgetOldPages();
  }
}

}  // namespace mv::tool
