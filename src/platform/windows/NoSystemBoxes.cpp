#include "platform/windows/NoSystemBoxes.h"

#include <stdlib.h>
#include <windows.h>

namespace mv::platform {
namespace {

constexpr UINT kQuiet = SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX;

}  // namespace

NoSystemBoxes::NoSystemBoxes()
    : systemBefore_(::SetErrorMode(kQuiet)), libraryBefore_(::_set_error_mode(_OUT_TO_STDERR)) {
  ::SetErrorMode(systemBefore_ | kQuiet);  // what was quiet before stays so
}

NoSystemBoxes::~NoSystemBoxes() {
  ::_set_error_mode(libraryBefore_);
  ::SetErrorMode(systemBefore_);
}

}  // namespace mv::platform
