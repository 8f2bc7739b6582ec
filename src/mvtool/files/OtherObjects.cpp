#include "mvtool/files/OtherObjects.h"

#include <cstdint>
#include <string>

namespace mv::tool {
namespace {

struct Kind {
  std::int16_t type;
  OtherObjects group;
  std::string_view name;
};

constexpr Kind kKinds[] = {
    {4, OtherObjects::RowSources, "linked table"}, {5, OtherObjects::RowSources, "query"},
    {6, OtherObjects::RowSources, "linked table"}, {8, OtherObjects::All, "relation"},
    {-32768, OtherObjects::All, "form"},           {-32766, OtherObjects::All, "macro"},
    {-32764, OtherObjects::All, "report"},         {-32761, OtherObjects::All, "module"},
    {-32756, OtherObjects::All, "page"},
};

}  // namespace

std::vector<jet::CatalogObject> UserTables(const jet::Database& database) {
  std::vector<jet::CatalogObject> tables = database.Objects();
  std::erase_if(tables, [](const jet::CatalogObject& object) { return !object.IsUserTable(); });
  return tables;
}

void ReportOtherObjects(const jet::Database& database, OtherObjects which, std::string_view what, std::ostream& err) {
  for (const jet::CatalogObject& object : database.Objects()) {
    if (object.IsSystem()) continue;
    for (const Kind& kind : kKinds) {
      const bool isWanted = which == OtherObjects::All || kind.group == OtherObjects::RowSources;
      if (kind.type != static_cast<std::int16_t>(object.type) || !isWanted) continue;
      err << "mvtool: " << what << ' ' << kind.name << " \"" << object.name << "\"\n";
    }
  }
}

}  // namespace mv::tool
