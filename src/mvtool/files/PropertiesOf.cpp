#include "mvtool/files/PropertiesOf.h"

#include <algorithm>
#include <vector>

#include "base/Error.h"

namespace mv::tool {

jet::TableProperties PropertiesOf(const jet::Database& database, const jet::TableDefinition& table, std::ostream& err) {
  const std::vector<jet::CatalogObject> objects = database.Objects();
  const auto object = std::find_if(objects.begin(), objects.end(), [&](const jet::CatalogObject& candidate) {
    return candidate.type == jet::ObjectType::Table && candidate.name == table.name;
  });
  if (object == objects.end()) return {};
  try {
    return jet::PropertiesFromList(database.PropertyList(*object), table);
  } catch (const Error& error) {
    err << "mvtool: not in the schema: properties of table \"" << table.name << "\": " << error.Description() << '\n';
    return {};
  }
}

}  // namespace mv::tool
