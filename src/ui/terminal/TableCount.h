#pragma once

namespace mv::terminal {

/// How far a run is.
struct TableCount {
  int done = 0;
  int of = 0;
};

}  // namespace mv::terminal
