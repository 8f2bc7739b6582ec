#pragma once

#include <cstdint>

/// Numbers of the handheld's remote-call protocol. Both ends use them; neither end uses code of the other.
namespace mv::wire {

/// How remote calls are laid out: V1 on Windows CE up to 5.0, V2 from 5.1.
enum class MessageVersion { V1, V2 };

/// A call's number in each version of the messages.
struct Command {
  std::uint32_t v1;
  std::uint32_t v2;  ///< kNoCommand when that version lacks the call

  constexpr std::uint32_t Number(MessageVersion version) const { return version == MessageVersion::V1 ? v1 : v2; }
};

inline constexpr std::uint32_t kNoCommand = 0xFFFFFFFF;

namespace commands {
inline constexpr Command kFindFirstFile{0x00, 0x11};
inline constexpr Command kFindNextFile{0x01, 0x12};
inline constexpr Command kFindClose{0x02, 0x13};
inline constexpr Command kGetFileAttributes{0x03, 0x14};
inline constexpr Command kSetFileAttributes{0x04, 0x15};
inline constexpr Command kCreateFile{0x05, 0x16};
inline constexpr Command kReadFile{0x06, 0x17};
inline constexpr Command kWriteFile{0x07, 0x18};
inline constexpr Command kCloseHandle{0x08, 0x19};
inline constexpr Command kFindAllFiles{0x09, 0x1A};
inline constexpr Command kSetFilePointer{0x15, 0x26};
inline constexpr Command kSetEndOfFile{0x16, 0x27};
inline constexpr Command kCreateDirectory{0x17, 0x28};
inline constexpr Command kRemoveDirectory{0x18, 0x29};
inline constexpr Command kCreateProcess{0x19, 0x2A};
inline constexpr Command kMoveFile{0x1A, 0x2B};
inline constexpr Command kCopyFile{0x1B, 0x2C};
inline constexpr Command kDeleteFile{0x1C, 0x2D};
inline constexpr Command kGetFileSize{0x1D, 0x2E};
inline constexpr Command kGetSystemMemoryDivision{0x28, kNoCommand};
inline constexpr Command kGetStoreInformation{0x29, 0x39};
inline constexpr Command kGetSystemInfo{0x2F, 0x3D};
inline constexpr Command kGetVersionEx{0x3B, 0x43};
inline constexpr Command kGetSystemPowerStatusEx{0x41, 0x49};
inline constexpr Command kGetSpecialFolderPath{0x44, 0x4B};
}  // namespace commands

/// Control connection of the first family of handhelds (Windows CE up to 4.x): one word says what comes.
namespace family_a {
inline constexpr std::uint32_t kHello = 0;
inline constexpr std::uint32_t kPing = 0x12345678;      ///< of the desktop, and the handheld's answer
inline constexpr std::uint32_t kSmallestRecord = 0x24;  ///< a word from here to kLargestRecord is a record's length
inline constexpr std::uint32_t kLargestRecord = 0x1FF;  ///< a greater word, except a ping, is a password challenge
}  // namespace family_a

/// Control connection of the second family (Windows CE 5.x).
namespace family_b {
inline constexpr std::uint32_t kHello = 0;  ///< of the handheld; also "unlocked", which the desktop says back
inline constexpr std::uint32_t kPing = 1;
inline constexpr std::uint32_t kPingAnswer = 2;
inline constexpr std::uint32_t kHelloAnswer = 3;
inline constexpr std::uint32_t kRecord = 4;          ///< length and information record follow
inline constexpr std::uint32_t kOpenConnection = 5;  ///< length 4 and an id follow
inline constexpr std::uint32_t kCapabilities = 6;
inline constexpr std::uint32_t kCapabilitiesAnswer = 7;  ///< length 8 and two words follow
inline constexpr std::uint32_t kShowUnlockScreen = 8;
inline constexpr std::uint32_t kUnlockConfirmed = 0xC;
inline constexpr std::uint32_t kNotLocked = 0;                ///< lock key
inline constexpr std::uint32_t kLockedOnScreen = 0xFFFFFFFF;  ///< lock key
inline constexpr std::uint8_t kWakeUp = 0x7F;                 ///< the one byte of the datagram that calls the handheld
}  // namespace family_b

namespace ports {
inline constexpr std::uint16_t kControlA = 5679;  ///< TCP, desktop
inline constexpr std::uint16_t kCallsA = 990;     ///< TCP, handheld
inline constexpr std::uint16_t kControlB = 990;   ///< TCP, desktop
inline constexpr std::uint16_t kWakeUpB = 5679;   ///< UDP, handheld
}  // namespace ports

}  // namespace mv::wire
