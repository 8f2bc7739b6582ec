#pragma once

#include "check/DataPages.h"
#include "check/Findings.h"
#include "check/Header.h"
#include "check/PageOwners.h"
#include "check/PageReader.h"

namespace mv::check {

/// What the checks of one file share. Everything outlives them.
struct Context {
  const PageReader& pages;
  const Header& header;
  Findings& findings;
  PageOwners& owners;
  DataPages& rows;
  Report& report;  ///< for its numbers; findings go to `findings`
};

}  // namespace mv::check
