#pragma once

#include <cstdint>

/// Error codes of the handheld's system, as its replies tell them.
namespace mv::simulator::device_errors {
inline constexpr std::uint32_t kNone = 0;
inline constexpr std::uint32_t kFileNotFound = 2;
inline constexpr std::uint32_t kPathNotFound = 3;
inline constexpr std::uint32_t kTooManyOpenFiles = 4;
inline constexpr std::uint32_t kAccessDenied = 5;
inline constexpr std::uint32_t kInvalidHandle = 6;
inline constexpr std::uint32_t kNoMoreFiles = 18;
inline constexpr std::uint32_t kGeneralFailure = 31;
inline constexpr std::uint32_t kSharingViolation = 32;
inline constexpr std::uint32_t kFileExists = 80;
inline constexpr std::uint32_t kBadParameter = 87;
inline constexpr std::uint32_t kDiskFull = 112;
inline constexpr std::uint32_t kNotImplemented = 120;
inline constexpr std::uint32_t kBufferTooSmall = 122;
inline constexpr std::uint32_t kNegativeSeek = 131;
inline constexpr std::uint32_t kFolderNotEmpty = 145;
inline constexpr std::uint32_t kAlreadyExists = 183;
}  // namespace mv::simulator::device_errors
