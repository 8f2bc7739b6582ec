#pragma once

#include <cstdint>

#include "base/Checked.h"
#include "pdb/HandheldType.h"

/// The 32 bits that stand for a date in a table file.
namespace mv {

/// kHandheldEpoch as seconds since 1899-12-30.
inline constexpr std::int64_t kHandheldEpochSeconds = static_cast<std::int64_t>(kHandheldEpoch.days) * 86400;

/// The date `seconds` after 1899-12-30. One before 1904 is written as negative seconds since then, although it reads
/// back as the unsigned count, which is a date up to 2040. Error 6 for what 32 bits cannot hold in either way.
inline std::int32_t DateWordFromSeconds(std::int64_t seconds) {
  const std::int64_t sinceEpoch = seconds - kHandheldEpochSeconds;
  if (sinceEpoch < 0) return CheckedCast<std::int32_t>(sinceEpoch);
  return static_cast<std::int32_t>(CheckedCast<std::uint32_t>(sinceEpoch));
}

/// Seconds since 1899-12-30 of a date as it is read: 1904-01-01 00:00:00 to 2040-02-06 06:28:15.
inline std::int64_t SecondsFromDateWord(std::int32_t word) {
  return kHandheldEpochSeconds + static_cast<std::uint32_t>(word);
}

}  // namespace mv
