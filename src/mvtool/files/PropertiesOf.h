#pragma once

#include <ostream>

#include "jet/Database.h"
#include "jet/definition/Properties.h"

namespace mv::tool {

/// The properties of a table of this database and of its columns; none, with a message on `err`, when their list is
/// damaged: who looks into such a database wants the rest of it.
jet::TableProperties PropertiesOf(const jet::Database& database, const jet::TableDefinition& table, std::ostream& err);

}  // namespace mv::tool
