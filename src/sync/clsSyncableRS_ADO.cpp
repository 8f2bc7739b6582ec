#include "sync/clsSyncableRS_ADO.h"

#include "base/Checked.h"
#include "base/Error.h"

namespace mv {

bool clsSyncableRS_ADO::copyRecordToNative(ISyncableRS& source) {
  const Recordset& sourceRow = source.adors();
  Recordset& row = adors();
  const auto count = static_cast<std::size_t>(source.nSyncableFields());
  for (std::size_t field = 0; field < count; ++field) row.SetFieldValue(field, sourceRow.FieldValue(field));
  return false;
}

Recordset& clsSyncableRS_ADO::adors() const {
  if (records_ == nullptr) throw StandardError(errors::kObjectNotSet);
  return *records_;
}

std::int16_t clsSyncableRS_ADO::nSyncableFields() const {
  return CheckedCast<std::int16_t>(adors().Fields().size());
}

}  // namespace mv
