#pragma once

#include <string>

#include "recordset/Value.h"

namespace mv {

/// What assigning `value` to a field of `type` stores: the value itself when it has the type already, else the number,
/// text, date or Boolean that it reads as. Null stays null. Numbers round halves to even; a Boolean is -1 or 0 as a
/// number, and any number but 0 is true. Error 13 when it cannot be read as the type, error 6 when it is out of the
/// type's range.
Value ConvertedTo(DataType type, const Value& value);

/// The value as text, as a key criterion needs it: null is "", Boolean "True" or "False", numbers and dates in the
/// invariant form of the functions below, bytes as hex digits.
std::string TextOf(const Value& value);

/// One invariant form for each number type that loses nothing: shortest digits that read back the same; not-a-numbers
/// keep their bits ("nan:7fc00000").
std::string TextOfDouble(double value);
std::string TextOfSingle(float value);
/// "-12.5" for -125000 ten-thousandths: no trailing zeros, no point when whole.
std::string TextOfCurrency(Currency value);
/// "-12.5000": always four places.
std::string FixedTextOfCurrency(Currency value);

/// The inverse of the texts above. Error 13 when the text is none of that type, error 6 when it is out of range.
/// ParseCurrency rounds further decimals half to even.
double ParseDouble(std::string_view text);
float ParseSingle(std::string_view text);
Currency ParseCurrency(std::string_view text);
/// Decimal digits with an optional sign; for 8, 16 and 32-bit fields and for settings. Error 13, error 6.
std::int64_t ParseInteger(std::string_view text, std::int64_t lowest, std::int64_t highest);

}  // namespace mv
