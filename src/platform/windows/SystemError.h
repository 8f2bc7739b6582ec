#pragma once

#include "base/Error.h"

namespace mv::platform {

/// The program's error for a system error code, with the numbers that FileSystem.h lists. A code that means none of
/// them is error 57, with the code in its text.
Error ErrorFromCode(unsigned long code);

/// ErrorFromCode of the calling thread's last error code.
Error LastError();

}  // namespace mv::platform
