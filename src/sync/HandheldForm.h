#pragma once

#include <optional>
#include <span>
#include <vector>

#include "recordset/Recordset.h"
#include "recordset/Value.h"

namespace mv {

/// What a handheld's field of recordset type `type` holds after it was given `value`: no null but the type's zero, no
/// part of a second, "?" for a character outside its code page, nothing behind a text's first zero. Nothing for a value
/// that it cannot hold at all, and for a type that handhelds do not have.
std::optional<Value> HandheldForm(DataType type, const Value& value);

/// True when a handheld's field that gets the value `desktop` holds what it held before.
bool IsSameOnHandheld(DataType type, const Value& handheld, const Value& desktop);
/// True when a handheld that gets the values `desktop` holds what it held before. `fields` are the handheld's, which
/// may be more than there are values.
bool IsSameOnHandheld(std::span<const FieldDefinition> fields, std::span<const Value> handheld,
                      std::span<const Value> desktop);

}  // namespace mv
