#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "base/Bytes.h"
#include "check/Findings.h"
#include "check/PageReader.h"

namespace mv::check {

/// Accounts that own objects or have rights to them.
enum class Account : std::uint8_t { Admin, Users, Engine, Creator };

/// Language, id and version of a text sort order as columns and page 0 store them.
using SortOrderBytes = std::array<std::uint8_t, 4>;

/// Page 0 without its mask.
///
/// | offset | size | content                                                                        |
/// |--------|------|--------------------------------------------------------------------------------|
/// | 0x18   | 8    | row addresses of the maps of free and of released pages, 1/0 and 1/1           |
/// | 0x20   | 16   | definitions of MSysObjects, MSysACEs, MSysQueries, MSysRelationships: 2 to 5   |
/// | 0x3C   | 2    | ANSI code page                                                                 |
/// | 0x3E   | 4    | page key; not 0: pages are encoded, see PageReader                             |
/// | 0x42   | 40   | password, each 4 bytes XOR the whole days of the creation date                 |
/// | 0x6A   | 4    | build number of the engine                                                     |
/// | 0x6E   | 4    | sort order                                                                     |
/// | 0x72   | 8    | creation date                                                                  |
/// | 0x98   | 8    | 54 06 00 00, "4.0" 00                                                          |
/// | 0xE00  | 512  | commit words, one u16 a user, 0x0100 and up when all is well                   |
///
/// Bytes 0x18 to 0x97 are stored XOR an RC4 stream. Account identifiers in the catalog are stored XOR another one, made
/// of date, password, build number and sort order.
class Header {
 public:
  explicit Header(PageView page);

  /// 0: the pages are plain.
  std::uint32_t PageKey() const;
  bool HasPassword() const;
  SortOrderBytes SortOrder() const;
  /// The account that a stored identifier of two bytes stands for; nothing for any other.
  std::optional<Account> AccountOf(ByteView identifier) const;

  /// Pointers, code page, version, date and commit words.
  void Check(Findings& findings) const;

 private:
  void CheckCommitWords(Findings& findings) const;
  std::array<std::uint8_t, 4> Day() const;

  std::array<std::uint8_t, kPageSize> plain_;
  std::array<std::uint8_t, 2> identifierMask_;
};

/// What kind of file this is. False, with one finding that says so, when it cannot be checked: no database, one of
/// another engine, with a password, above 2 GiB.
bool IsCheckable(ByteView file, Findings& findings);

}  // namespace mv::check
