#pragma once

#include <cstdint>

namespace mv {

/// What a run does. The numbers are those of the settings and of the command line; a stored one may be none of these.
enum class RunMode : std::int16_t {
  Synchronize = 0,   ///< record-level merge
  OverwritePda = 1,  ///< the desktop's tables replace the handheld's
  OverwritePc = 2,   ///< the handheld's tables replace the desktop's
};

}  // namespace mv
