#pragma once

#include <memory>
#include <string>

#include "jet/Database.h"
#include "platform/FileSystem.h"
#include "platform/System.h"

namespace mv::tool {

/// The date that all generated files carry, so that they are the same each time.
inline constexpr CivilTime kFixedDate = {2008, 1, 2, 3, 4, 5};

/// A clock that stands at kFixedDate.
class FixedClock : public platform::Clock {
 public:
  CivilTime Now() const override { return kFixedDate; }
  void Sleep(std::chrono::milliseconds) const override {}
};

/// A database of the thirteen sample tables, empty, in memory until Commit.
std::unique_ptr<jet::Database> MakeSampleDatabase(platform::FileSystem& files, const std::string& path);

}  // namespace mv::tool
