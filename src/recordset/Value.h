#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "base/Bytes.h"
#include "base/Date.h"

namespace mv {

/// Field types as recordsets report them; the numbers are those of the ADO data type enumeration.
enum class DataType : std::int32_t {
  SmallInt = 2,          ///< 16-bit integer
  Integer = 3,           ///< 32-bit integer
  Single = 4,            ///< 32-bit float
  Double = 5,            ///< 64-bit float
  Currency = 6,          ///< 64-bit fixed point, four decimals
  Date = 7,              ///< days since 1899-12-30
  BStr = 8,              ///< text
  Boolean = 11,          ///<
  UnsignedTinyInt = 17,  ///< byte
  Guid = 72,             ///< held as text "{01234567-89AB-CDEF-0123-456789ABCDEF}"
  Binary = 128,          ///< bytes of fixed length
  Char = 129,            ///<
  WChar = 130,           ///< text of fixed length
  Numeric = 131,         ///< exact decimal, held as text "-12.5000"
  DBDate = 133,          ///<
  DBTimeStamp = 135,     ///<
  VarWChar = 202,        ///< text of limited length
  LongVarWChar = 203,    ///< text of any length (memo)
  VarBinary = 204,       ///< bytes of limited length
  LongVarBinary = 205,   ///< bytes of any length
};

/// The null of a field.
struct Null {
  friend bool operator==(const Null&, const Null&) = default;
};

/// Fixed point with four decimals: the amount is tenThousandths / 10000.
struct Currency {
  std::int64_t tenThousandths = 0;

  friend bool operator==(const Currency&, const Currency&) = default;
};

/// One field's value. Text is UTF-8; GUIDs and exact decimals travel as text.
using Value = std::variant<Null, bool, std::uint8_t, std::int16_t, std::int32_t, float, double, Currency, Date,
                           std::string, Bytes>;

inline bool IsNull(const Value& value) {
  return std::holds_alternative<Null>(value);
}

}  // namespace mv
