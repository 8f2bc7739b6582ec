#include "mvtool/files/ColumnTypes.h"

#include <string>

#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

using jet::ColumnType;

struct NamedType {
  ColumnType type;
  std::string_view name;
  DataType dataType;
};

constexpr NamedType kColumnTypes[] = {
    {ColumnType::Boolean, "Boolean", DataType::Boolean},
    {ColumnType::Byte, "Byte", DataType::UnsignedTinyInt},
    {ColumnType::Integer, "Integer", DataType::SmallInt},
    {ColumnType::Long, "Long", DataType::Integer},
    {ColumnType::Currency, "Currency", DataType::Currency},
    {ColumnType::Single, "Single", DataType::Single},
    {ColumnType::Double, "Double", DataType::Double},
    {ColumnType::DateTime, "DateTime", DataType::Date},
    {ColumnType::Binary, "Binary", DataType::VarBinary},
    {ColumnType::Text, "Text", DataType::VarWChar},
    {ColumnType::Ole, "Ole", DataType::LongVarBinary},
    {ColumnType::Memo, "Memo", DataType::LongVarWChar},
    {ColumnType::Guid, "Guid", DataType::Guid},
    {ColumnType::Decimal, "Decimal", DataType::Numeric},
    {ColumnType::RawBlock, "RawBlock", DataType::VarBinary},
};

const NamedType& Entry(ColumnType type) {
  for (const NamedType& entry : kColumnTypes) {
    if (entry.type == type) return entry;
  }
  throw ToolError("unknown column type " + std::to_string(static_cast<int>(type)));
}

Error UnknownFieldType(HandheldType type) {
  return ToolError("unknown field type " + std::to_string(static_cast<int>(type)));
}

}  // namespace

std::string_view NameOf(ColumnType type) {
  return Entry(type).name;
}

std::optional<ColumnType> ColumnTypeNamed(std::string_view name) {
  for (const NamedType& entry : kColumnTypes) {
    if (entry.name == name && entry.type != ColumnType::RawBlock) return entry.type;
  }
  return std::nullopt;
}

DataType DataTypeOf(ColumnType type) {
  return Entry(type).dataType;
}

DataType DataTypeOf(HandheldType type) {
  switch (type) {
    case HandheldType::Byte:
      return DataType::UnsignedTinyInt;
    case HandheldType::Integer:
      return DataType::SmallInt;
    case HandheldType::Long:
      return DataType::Integer;
    case HandheldType::Single:
      return DataType::Single;
    case HandheldType::Text:
      return DataType::BStr;
    case HandheldType::Boolean:
      return DataType::Boolean;
    case HandheldType::Date:
      return DataType::Date;
    case HandheldType::Double:
      return DataType::Double;
    case HandheldType::Currency:
      return DataType::Currency;
  }
  throw UnknownFieldType(type);
}

std::optional<HandheldType> HandheldTypeNumbered(std::int64_t code) {
  const auto first = static_cast<std::int64_t>(HandheldType::Byte);
  const auto last = static_cast<std::int64_t>(HandheldType::Currency);
  if (code < first || code > last) return std::nullopt;
  return static_cast<HandheldType>(code);
}

Value ZeroValueOf(HandheldType type) {
  switch (type) {
    case HandheldType::Byte:
      return std::uint8_t{0};
    case HandheldType::Integer:
      return std::int16_t{0};
    case HandheldType::Long:
      return std::int32_t{0};
    case HandheldType::Single:
      return 0.0f;
    case HandheldType::Text:
      return std::string();
    case HandheldType::Boolean:
      return false;
    case HandheldType::Date:
      return DateFromCivil({1904, 1, 1, 0, 0, 0});
    case HandheldType::Double:
      return 0.0;
    case HandheldType::Currency:
      return Currency{};
  }
  throw UnknownFieldType(type);
}

HandheldType HandheldTypeOf(ColumnType type) {
  switch (type) {
    case ColumnType::Boolean:
      return HandheldType::Boolean;
    case ColumnType::Byte:
      return HandheldType::Byte;
    case ColumnType::Integer:
      return HandheldType::Integer;
    case ColumnType::Long:
      return HandheldType::Long;
    case ColumnType::Currency:
      return HandheldType::Currency;
    case ColumnType::Single:
      return HandheldType::Single;
    case ColumnType::Double:
      return HandheldType::Double;
    case ColumnType::DateTime:
      return HandheldType::Date;
    case ColumnType::Text:
    case ColumnType::Memo:
      return HandheldType::Text;
    default:
      throw ToolError("handhelds have no field type for a column of type " + std::string(NameOf(type)));
  }
}

}  // namespace mv::tool
