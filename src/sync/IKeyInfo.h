#pragma once

#include <string>

#include "recordset/Recordset.h"

namespace mv {

/// The key of one table.
class IKeyInfo {
 public:
  virtual ~IKeyInfo() = default;

  /// The criterion that finds rows with the key of the current row of `rs`: FIELD='text'. The text is inserted as it
  /// is, so a key with a single quote gives a criterion that Find rejects; a null key gives FIELD=''. Error 3265 when
  /// `rs` lacks the key field, 3021 when it has no current row.
  virtual std::string Criteria(const Recordset& rs) const = 0;
  /// The text of the field "animal" in the current row of `rs`. No table has that field, so this raises error 3265;
  /// nothing may depend on it.
  virtual std::string PrintableString(const Recordset& rs) const = 0;
};

}  // namespace mv
