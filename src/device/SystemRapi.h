#pragma once

#include <memory>
#include <string>

#include "device/Rapi.h"

namespace mv {

/// Whether this system may have a remote API of its own.
bool SystemHasRapi();

/// The remote API that this system offers: the library rapi.dll on Windows, from `programFolder` or the system's own
/// folder; none elsewhere. Never null; a remote API that is not there shows in the first CeRapiInitEx.
std::unique_ptr<Rapi> MakeSystemRapi(const std::string& programFolder);

}  // namespace mv
