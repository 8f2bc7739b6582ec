#include "recordset/Recordset.h"

#include "base/Error.h"
#include "base/Text.h"

namespace mv {

std::size_t Recordset::FieldIndex(std::string_view name) const {
  const std::vector<FieldDefinition>& fields = Fields();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (EqualsIgnoreAsciiCase(fields[i].name, name)) return i;
  }
  throw StandardError(errors::kItemNotFound);
}

}  // namespace mv
