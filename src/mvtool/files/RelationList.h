#pragma once

#include <vector>

#include "jet/Database.h"

namespace mv::tool {

/// A relation as the database lists it.
struct ListedRelation {
  jet::RelationSpec design;
  bool enforced = true;  ///< else it only tells which tables belong together; rows may contradict it
};

/// The relations between tables of the user, in the order in which they are listed.
std::vector<ListedRelation> RelationsOf(jet::Database& database);

}  // namespace mv::tool
