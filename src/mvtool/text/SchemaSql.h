#pragma once

#include <string>

#include "jet/Database.h"

namespace mv::tool {

/// Schemas as the statements that make them, in the SQL of the Jet provider (ANSI 92 mode, as over ADO): each ends with
/// a semicolon and a line end.

/// CREATE TABLE, then CREATE INDEX for each index.
std::string SqlOf(const jet::TableSpec& table);
/// ALTER TABLE ... ADD CONSTRAINT.
std::string SqlOf(const jet::RelationSpec& relation);

}  // namespace mv::tool
