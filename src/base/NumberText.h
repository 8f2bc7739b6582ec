#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mv {

/// One invariant text form for each number type, which loses nothing and does not depend on the user's locale: what
/// the Parse functions make of a text below is the number that the text was made of, bit for bit.
///
///   integer   "-12"
///   double    the shortest digits that read back the same: "0.1", "1e+22", "-0", "inf", "-inf";
///   single    a not-a-number keeps its bits: "nan:7ff8000000000000", for a single "nan:7fc00000"
///   currency  an amount in ten-thousandths, without trailing zeros: "-12.5" for -125000, "3" for 30000

std::string TextOfInteger(std::int64_t value);
std::string TextOfDouble(double value);
std::string TextOfSingle(float value);
std::string TextOfCurrency(std::int64_t tenThousandths);
/// "-12.5000": always four places.
std::string FixedTextOfCurrency(std::int64_t tenThousandths);

/// The inverse of the texts above. They also take any other plain decimal form ("+1.50", ".5", "12e-3") and blanks at
/// either end. Error 13 when the text is no such number, error 6 when it is out of the type's range. A fraction too
/// small for a floating-point type is zero.
double ParseDouble(std::string_view text);
float ParseSingle(std::string_view text);
/// In ten-thousandths; further decimals round half to even.
std::int64_t ParseCurrency(std::string_view text);
/// How many decimals it takes to write the number, trailing zeros not counted: 1 for "12.500", 3 for "5e-3", 0 for
/// "1.5e2". Error 13 when the text is no number.
std::int64_t DecimalPlaces(std::string_view text);
/// Decimal digits with an optional sign and nothing else; error 6 outside lowest .. highest.
std::int64_t ParseInteger(std::string_view text, std::int64_t lowest, std::int64_t highest);
/// Any number that ParseDouble takes, rounded half to even; error 6 outside lowest .. highest.
std::int64_t ParseRounded(std::string_view text, std::int64_t lowest, std::int64_t highest);

/// The same forms, appended to a text that the caller reuses. Floating-point values go by their IEEE 754 bits here:
/// the registers of a 32-bit processor turn a signalling not-a-number into a quiet one, and records must come out as
/// they came in.
void AppendInteger(std::string& text, std::int64_t value);
void AppendDoubleBits(std::string& text, std::uint64_t bits);
void AppendSingleBits(std::string& text, std::uint32_t bits);
void AppendCurrency(std::string& text, std::int64_t tenThousandths);
std::uint64_t ParseDoubleBits(std::string_view text);
std::uint32_t ParseSingleBits(std::string_view text);

}  // namespace mv
