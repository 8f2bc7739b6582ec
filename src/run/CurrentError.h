#pragma once

#include "base/Error.h"

namespace mv {

/// The exception being handled as the program's own kind of error: an exhausted memory is error 7, any other foreign
/// exception error 51. To be called in a catch block.
Error CurrentError();

}  // namespace mv
