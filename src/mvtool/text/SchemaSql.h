#pragma once

#include <string>

#include "jet/Database.h"
#include "jet/definition/Properties.h"

namespace mv::tool {

/// Schemas as the statements that make them, in the SQL of the Jet provider (ANSI 92 mode, as over ADO): each ends with
/// a semicolon and a line end.

/// CREATE TABLE, then CREATE INDEX for each index. Default values and "required" are in the statement; properties that
/// the language has no place for stand before it, each in a line that starts with "-- ".
std::string SqlOf(const jet::TableSpec& table, const jet::TableProperties& properties = {});
/// ALTER TABLE ... ADD CONSTRAINT.
std::string SqlOf(const jet::RelationSpec& relation);

}  // namespace mv::tool
