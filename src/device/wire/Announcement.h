#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/Bytes.h"
#include "device/message/Commands.h"

namespace mv::wire {

/// What a handheld tells of itself when it connects. The texts come from outside: they are for messages only, and what
/// is not printable in them became "?".
struct Announcement {
  std::uint32_t major = 0;  ///< of its Windows CE
  std::uint32_t minor = 0;
  std::string name;      ///< that its owner gave it
  std::string platform;  ///< "PocketPC"
  std::string model;
  /// How it is locked: as family B's records say (0 not, all bits set on its own screen, else with a password, whose
  /// key is the low byte); always 0 in family A, where a challenge says it.
  std::uint32_t lockKey = 0;

  /// Version 2 from system 5.1; a system n.0 has version 1 whatever its n is.
  MessageVersion Messages() const { return major > 4 && minor > 0 ? MessageVersion::V2 : MessageVersion::V1; }
};

/// Record of family A, without its leading length:
///
///   offset size
///   00     4    not known
///   04     1    system's major version
///   05     1    minor version
///   06     2    build
///   08     8    processor type (2), not known
///   10     8    two partnership ids
///   18     4    offset of the device's name, from the start of the record
///   1C     4    offset of the platform's name
///   20     4    offset of the model's name
///   ...         the three texts: UTF-16, each with its NUL
///
/// A name that lies outside is empty. Nothing when the record is shorter than 24 (hex) bytes.
std::optional<Announcement> ParseRecordA(ByteView record);

/// Record of family B, without control word and length; read in sequence, nothing is aligned:
///
///   16 bytes  GUID of the device
///   word      system's major version
///   word      minor version
///   word n    characters of the device's name, 0 to 31; 2n bytes of name, 2 bytes NUL
///   5 words   device version, processor, not known, partnership, device id
///   word n    0 to 255; n bytes: the platform's names, 8-bit, each with its NUL; the first counts
///   word n    0 to 255; n bytes and a NUL: the model's name, 8-bit
///   word n    0 to 6; n pairs of words, not known
///   word      lock key
///
/// What may follow is skipped. Nothing when a count is out of its range or reaches beyond the record.
std::optional<Announcement> ParseRecordB(ByteView record);

}  // namespace mv::wire
