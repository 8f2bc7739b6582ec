#pragma once

#include <cstdint>

namespace mv::wire {

/// Results of connecting and of calls, as the remote API tells them.
namespace results {
inline constexpr std::int32_t kConnected = 0;
inline constexpr std::int32_t kFailed = static_cast<std::int32_t>(0x80004005);
inline constexpr std::int32_t kLocked = static_cast<std::int32_t>(0x80070005);
inline constexpr std::int32_t kWrongPassword = static_cast<std::int32_t>(0x80070056);
inline constexpr std::int32_t kAlreadyConnected = static_cast<std::int32_t>(0x80041001);
}  // namespace results

}  // namespace mv::wire
