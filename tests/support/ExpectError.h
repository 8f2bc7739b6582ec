#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>

#include "base/Error.h"

namespace mv::testing {

/// Runs `action` and returns the error it raises; fails the test when it raises none.
inline Error ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& error) {
    return error;
  }
  ADD_FAILURE() << "no error was raised";
  return Error(0, "", "");
}

/// The number of the error that `action` raises, 0 (and a failed test) when it raises none.
inline std::int32_t ErrorNumberOf(const std::function<void()>& action) {
  return ErrorOf(action).Number();
}

}  // namespace mv::testing
