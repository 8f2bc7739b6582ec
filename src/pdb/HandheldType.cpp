#include "pdb/HandheldType.h"

#include <array>

namespace mv {
namespace {

struct TypeFacts {
  std::int32_t width;
  DataType readInto;
};

/// At the place of the type's code less 1.
constexpr std::array<TypeFacts, 9> kTypes = {{
    {1, DataType::UnsignedTinyInt},
    {2, DataType::SmallInt},
    {4, DataType::Integer},
    {4, DataType::Single},
    {1, DataType::BStr},
    {1, DataType::Boolean},
    {4, DataType::Date},
    {8, DataType::Double},
    {8, DataType::Currency},
}};

constexpr bool IsKnown(std::int64_t code) {
  return code >= CodeOf(HandheldType::Byte) && code <= CodeOf(HandheldType::Currency);
}

constexpr const TypeFacts& FactsOf(std::int32_t code) {
  return kTypes[static_cast<std::size_t>(code) - 1];
}

}  // namespace

std::optional<HandheldType> HandheldTypeNumbered(std::int64_t code) {
  if (!IsKnown(code)) return std::nullopt;
  return static_cast<HandheldType>(code);
}

std::int32_t FieldWidth(std::int32_t code) {
  return IsKnown(code) ? FactsOf(code).width : 0;
}

DataType DataTypeOf(HandheldType type) {
  return FactsOf(CodeOf(type)).readInto;
}

std::optional<HandheldType> HandheldTypeOf(DataType type) {
  switch (type) {
    case DataType::UnsignedTinyInt:
    case DataType::Char:
      return HandheldType::Byte;
    case DataType::SmallInt:
      return HandheldType::Integer;
    case DataType::Integer:
      return HandheldType::Long;
    case DataType::Single:
      return HandheldType::Single;
    case DataType::BStr:
    case DataType::VarWChar:
    case DataType::LongVarWChar:
      return HandheldType::Text;
    case DataType::Boolean:
      return HandheldType::Boolean;
    case DataType::Date:
    case DataType::DBDate:
    case DataType::DBTimeStamp:
      return HandheldType::Date;
    case DataType::Double:
      return HandheldType::Double;
    case DataType::Currency:
      return HandheldType::Currency;
    default:
      return std::nullopt;
  }
}

}  // namespace mv
