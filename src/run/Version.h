#pragma once

namespace mv {

/// This program's version, "major.minor.revision". The build's project version is its one source, for the version
/// information of the Windows programs as well.
extern const char* const kProgramVersion;

}  // namespace mv
