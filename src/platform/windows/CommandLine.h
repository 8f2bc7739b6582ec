#pragma once

#include <string_view>

namespace mv::platform {

/// The part of a process's command line behind the program name and the blanks that follow it, as it was typed. The
/// name ends at its closing quote when it begins with one, else at the first blank.
std::wstring_view ArgumentsOf(std::wstring_view commandLine);

}  // namespace mv::platform
