#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/Bytes.h"
#include "base/Date.h"
#include "jet/file/Page.h"
#include "jet/file/SortOrder.h"

namespace mv::jet {

/// Accounts that own objects or have rights to them. Creator stands for "whoever creates" in the rights that new
/// objects inherit.
enum class Account { Admin, Users, Engine, Creator };

/// Page 0, the database header. All numbers little-endian.
///
///   0x000    4  00 01 00 00
///   0x004   16  "Standard Jet DB", 00
///   0x014    4  version: 0 Jet 3, 1 Jet 4
///   0x018    4  row address of the free pages' map, 1/0
///   0x01C    4  row address of the released pages' map, 1/1
///   0x020  4x4  definition pages of the four system tables: 2, 3, 4, 5
///   0x03C    2  ANSI code page
///   0x03E    4  page key, 0 = pages are plain; see PageKey.h
///   0x042   40  password, UTF-16, each 4 bytes XOR the whole days of the creation date
///   0x06A    4  build number of the creating engine
///   0x06E    4  text sort order: u16 language, u8 id, u8 version
///   0x072    8  creation date, double, days since 1899-12-30
///   0x098    4  54 06 00 00
///   0x09C    4  "4.0", 00
///   0xE00  512  commit words: 256 u16, one for each user; below 0x0100 = that user stopped half-way or met damage
///
/// Bytes 0x18 to 0x97 are stored XOR the RC4 stream of C7 DA 39 6B.
///
/// Account identifiers in the catalog are stored XOR a stream whose key is made of the creation date, the password, the
/// build number and the sort order. So none of these may change without writing every identifier anew.
class Header {
 public:
  /// Undoes the mask of a page 0. Looks at nothing else; see CheckFileKind and CheckAccess.
  static Header FromPage(const Page& page);
  /// The header of an empty database of 16 pages.
  static Header ForNewDatabase(Date created);
  /// This one with another page key.
  Header WithPageKey(std::uint32_t key) const;

  /// The page as it is stored.
  Page ToPage() const;

  std::uint16_t CodePage() const;
  /// What the other pages are encoded with, see PageKey.h; 0 = they are plain.
  std::uint32_t PageKey() const;
  std::uint32_t Build() const;
  SortOrder TextOrder() const;
  Date Created() const;
  bool HasPassword() const;
  /// The first commit word that says a writer stopped half-way (0x0000) or met damage (0x0001): which one, 0 to 255.
  std::optional<std::size_t> SuspectCommitWord() const;

  /// True when the maps of free and of released pages are named where they are looked for, 1/0 and 1/1.
  bool HasMapsInPlace() const;

  /// The two bytes that stand for an account in this file's catalog.
  Bytes Identifier(Account account) const;

 private:
  explicit Header(const Page& plain) : plain_(plain) {}

  /// The 40 password bytes in the clear; all zero when no password is set.
  Bytes Password() const;
  Bytes IdentifierStream(std::size_t length) const;

  Page plain_;
};

/// Recognises a Jet 4 file by its first bytes and its length. `start`: the first bytes of the file, kPageSize of them
/// when there are that many. Throws UnrecognizedFormatError, with a reason for each kind of file it knows.
void CheckFileKind(const std::string& path, ByteView start, std::uint64_t length);

/// Throws when a password is set (-2147217843 "Not a valid password." and what to do about it).
void CheckAccess(const std::string& path, const Header& header);

/// Throws DamagedFileError when a commit word tells that the file must be repaired before anything is written to it,
/// and UnsupportedError when its maps of free pages are not in their place: pages would be taken that are in use.
void CheckWritable(const std::string& path, const Header& header);

}  // namespace mv::jet
