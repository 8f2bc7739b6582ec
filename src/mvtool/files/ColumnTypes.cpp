#include "mvtool/files/ColumnTypes.h"

#include <string>

#include "mvtool/files/ToolErrors.h"

namespace mv::tool {
namespace {

using jet::ColumnType;

struct NamedType {
  ColumnType type;
  std::string_view name;
};

constexpr NamedType kColumnTypes[] = {
    {ColumnType::Boolean, "Boolean"}, {ColumnType::Byte, "Byte"},         {ColumnType::Integer, "Integer"},
    {ColumnType::Long, "Long"},       {ColumnType::Currency, "Currency"}, {ColumnType::Single, "Single"},
    {ColumnType::Double, "Double"},   {ColumnType::DateTime, "DateTime"}, {ColumnType::Binary, "Binary"},
    {ColumnType::Text, "Text"},       {ColumnType::Ole, "Ole"},           {ColumnType::Memo, "Memo"},
    {ColumnType::Guid, "Guid"},       {ColumnType::Decimal, "Decimal"},   {ColumnType::RawBlock, "RawBlock"},
};

const NamedType& Entry(ColumnType type) {
  for (const NamedType& entry : kColumnTypes) {
    if (entry.type == type) return entry;
  }
  throw Failure("unknown column type " + std::to_string(static_cast<int>(type)));
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

HandheldType HandheldTypeOf(ColumnType type) {
  if (const std::optional<HandheldType> known = HandheldTypeOf(jet::DataTypeOf(type))) return *known;
  throw Failure("handhelds have no field type for a column of type " + std::string(NameOf(type)));
}

}  // namespace mv::tool
