#pragma once

#include <optional>
#include <span>
#include <vector>

#include "recordset/Recordset.h"
#include "recordset/Value.h"

namespace mv {

/// What a handheld's field of recordset type `type` gives back after it was given `value`: no null but the type's zero,
/// no part of a second, a date up to 2040 for one before 1904, "?" for a character outside its code page, two
/// characters for many that are no letters, nothing behind a text's first zero. Nothing for a value that it cannot hold
/// at all, and for a type that handhelds do not have.
std::optional<Value> HandheldForm(DataType type, const Value& value);

/// True when a text or a date that the handheld gives back is another one. A null, and a part of a second that goes, do
/// not count.
bool ComesBackChanged(const Value& desktop);

/// True when a handheld's field that gets the value `desktop` gives back `handheld`, which was read from it.
bool IsSameOnHandheld(DataType type, const Value& handheld, const Value& desktop);
/// The same of a row. `fields` are the handheld's, which may be more than there are values.
bool IsSameOnHandheld(std::span<const FieldDefinition> fields, std::span<const Value> handheld,
                      std::span<const Value> desktop);

}  // namespace mv
