#pragma once

#include <string>
#include <vector>

#include "json/Json.h"
#include "pdb/TableFile.h"

namespace mv::tool {

/// Table files as JSON lines. The first line describes the table:
///
///   {"name":"brnd_Fuel","creator":"BRND","fields":[{"name":"KY_RECID","type":5}, ...]}
///
/// then each record is a line of one of two forms, the second being what "show" prints:
///
///   {"attributes":64,"uniqueId":17,"values":{"KY_RECID":"a1", ...}}      or "values":["a1", ...]
///   {"_attributes":64,"_uniqueId":17,"KY_RECID":"a1", ...}
///
/// Attributes and unique ID are 0 when left out, which for the ID means the next free one. A value that is null or left
/// out is the type's zero value. All functions throw Failure with line and column.

/// `defaultName` is the table's name when the line gives none. An absent creator is that of the application's tables.
TableFileHeader HeaderFromJson(const Json& json, const std::string& defaultName);
void WriteHeader(JsonWriter& writer, const TableFileHeader& header);

/// `table` names the fields and, in messages, the table.
HandheldRecord RecordFromJson(const Json& json, const TableFileHeader& table);
/// A record of the second form, whether it has attributes and unique ID or not.
HandheldRecord RecordAsShown(const Json& json, const TableFileHeader& table);

/// Names of the leading members of a record as "show" prints it.
inline constexpr std::string_view kAttributesMember = "_attributes";
inline constexpr std::string_view kUniqueIdMember = "_uniqueId";

}  // namespace mv::tool
