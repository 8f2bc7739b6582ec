#pragma once

#include <memory>
#include <span>

#include "check/Definition.h"

namespace mv::check {

/// Whether a definition that could be read makes sense: its lengths, tags, ids, names and limits. `order`: the sort
/// order of the file.
void CheckDefinition(const Definition& definition, const SortOrderBytes& order, Findings& findings);

}  // namespace mv::check
