#include "mvtool/files/RowKey.h"

#include <optional>

#include "base/Text.h"
#include "sync/Tables.h"

namespace mv::tool {

std::vector<std::size_t> KeyOf(const jet::TableDefinition& table) {
  if (const SyncTable* const known = FindTable(table.name)) {
    if (const std::optional<std::size_t> position = table.PositionOf(known->keyField)) return {*position};
  }
  for (const jet::LogicalIndex& index : table.indexes) {
    if (index.kind == jet::LogicalIndex::Kind::PrimaryKey)
      return table.PositionsOf(table.indexData.at(index.dataNumber));
  }
  return {};
}

std::vector<std::size_t> KeyOf(std::string_view table, std::span<const FieldDefinition> fields) {
  const SyncTable* const known = FindTable(table);
  if (known == nullptr) return {};
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (EqualsIgnoreAsciiCase(fields[i].name, known->keyField)) return {i};
  }
  return {};
}

}  // namespace mv::tool
