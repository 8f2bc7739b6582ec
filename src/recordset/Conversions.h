#pragma once

#include <string>

#include "recordset/Value.h"

namespace mv {

/// What assigning `value` to a field of `type` stores: the value itself when it has the type already, else the number,
/// text, date or Boolean that it reads as. Null stays null. Numbers round halves to even; a Boolean is -1 or 0 as a
/// number (255 or 0 as a byte: all bits set), and any number but 0 is true. Dates read ISO text or a count of days.
/// Bytes convert to nothing else and nothing else to bytes. Error 13 when it cannot be read as the type, error 6 when
/// it is out of the type's range.
Value ConvertedTo(DataType type, Value value);

/// The value as text, as a key criterion needs it: null is "", Boolean "True" or "False", numbers and dates in the
/// invariant forms of base/NumberText.h and base/Date.h (a date outside the calendar as its count of days), bytes as
/// lower-case hex digits. Never fails.
std::string TextOf(const Value& value);

}  // namespace mv
