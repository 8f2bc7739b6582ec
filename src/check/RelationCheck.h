#pragma once

#include <vector>

#include "check/Catalog.h"
#include "check/Context.h"

namespace mv::check {

/// Relations in the definitions: both sides name each other.
void CheckRelationSides(const Definitions& definitions, Findings& findings);

/// The rows of MSysRelationships: an object of that name, existing tables and columns, and for an enforced relation an
/// index of its name in the foreign table.
void CheckRelationships(Context& context, const Definition& relationships, const std::vector<CatalogObject>& objects,
                        const Definitions& definitions);

/// Whether enforced relations hold: each foreign key that has no null has its row in the primary table. Goes through
/// both trees once; looks at sound ones only.
void CheckReferences(Context& context, const Definitions& definitions);

}  // namespace mv::check
