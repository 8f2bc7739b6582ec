#pragma once

#include <cstdint>

#include "base/Bytes.h"
#include "pdb/HandheldType.h"
#include "recordset/Value.h"

namespace mv {

/// A record's fields straight between bytes and values of recordsets, for whole tables: the same bytes, values and
/// errors as PDBAppforgeRecord has with a new PDBByteStream, without its texts.

/// Reads the field of `type` at `pos` of a record and moves `pos` behind it. Memory that `value` has is used again.
/// Error 9 when the record ends before, 6 for a text that runs past position 32767.
void ReadField(ByteView record, std::int32_t& pos, HandheldType type, Value& value);
/// Moves `pos` behind the field, with the errors of reading it: where this raises nothing, reading does not either.
void SkipField(ByteView record, std::int32_t& pos, HandheldType type);

/// Appends the field of `type` that holds `value`, a null as the type's zero. False, with nothing appended, for a value
/// of another type and for a date that a handheld cannot hold: PDBAppforgeRecord converts such, or says why it cannot.
bool AppendField(Bytes& record, HandheldType type, const Value& value);

}  // namespace mv
