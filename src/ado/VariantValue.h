#pragma once

#include "ado/ComClasses.h"
#include "recordset/Value.h"

namespace mv::ado {

/// A field's value as a VARIANT: null VT_NULL, a Boolean VT_BOOL, byte VT_UI1, integers VT_I2 and VT_I4, floats VT_R4
/// and VT_R8, currency VT_CY, date VT_DATE, text and GUIDs VT_BSTR, bytes an array of VT_UI1, and an exact decimal
/// (text of a Numeric field) VT_DECIMAL, decimals beyond the 28th cut. `value` must be what ConvertedTo(type, ...)
/// gives. Error 6 for a decimal of more than 96 bits, error 13 for a text of a Numeric field that is no number.
Variant VariantFromValue(DataType type, const Value& value);

/// The inverse; VT_EMPTY (a field that was never assigned) is null as well. The VARIANT's own type decides, not the
/// field's: an exact decimal becomes text with as many decimals as it carries. Error 13 for types that no field of a
/// recordset has (objects, 64-bit integers, arrays of anything but bytes).
Value ValueFromVariant(const VARIANT& variant);

}  // namespace mv::ado
