#pragma once

#include <cstdint>
#include <string>

#include "base/Bytes.h"
#include "device/simulator/SimulatorOptions.h"

namespace mv::simulator {

/// The key that a password is encoded with, in the low byte of what the handheld says; the upper bytes carry nothing.
inline constexpr std::uint32_t kLockKey = 0x7E5A;

/// The information record of family A, with the word in front that is its length:
///
///   offset  size
///   0x00    4     not known
///   0x04    1, 1  version of the system: major, minor
///   0x06    2     build
///   0x08    2     processor
///   0x0A    6     not known
///   0x10    4, 4  partnerships
///   0x18    4     offset of the name, counted from 0x00; then those of the platform and the model
///   0x24          the three texts, UTF-16, each with its NUL
Bytes AnnouncementA(const SimulatedDevice& device);

/// The information record of family B, with the control word and the length in front; nothing in it is aligned. The
/// lock key is its last word.
Bytes AnnouncementB(const SimulatedDevice& device, Lock lock);

/// True when `encoded` is `password` in UTF-16, with its NUL or without, each byte changed by the key.
bool IsPassword(ByteView encoded, const std::string& password);

}  // namespace mv::simulator
