#pragma once

#include <cstdint>

#include "pdb/HandheldType.h"
#include "pdb/PDBAppforgeRecord.h"
#include "recordset/Value.h"

namespace mv {

/// The fields of a handheld's record as values of recordsets. Fields are numbered from 1; the errors are those of
/// PDBAppforgeRecord.

/// What stands for a null, which handhelds do not know: 0, "", false, kHandheldEpoch.
Value ZeroValueOf(HandheldType type);

/// Field `i`, whose type is `type`.
Value FieldValueOf(const PDBAppforgeRecord& record, std::int16_t i, HandheldType type);

/// Assigns field `i`, whose type is `type`: converts as ConvertedTo does, its errors included; a null becomes the
/// type's zero.
void SetFieldValue(PDBAppforgeRecord& record, std::int16_t i, HandheldType type, const Value& value);

}  // namespace mv
