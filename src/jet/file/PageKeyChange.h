#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "jet/file/Header.h"
#include "platform/FileSystem.h"

namespace mv::jet {

/// Gives a database another page key: encodes its pages, or makes them plain. All else stays as it is, bit by bit, so
/// that a database that is encoded and decoded again is the same bytes.
///
/// The file is held from the beginning to the end of this object as one that is opened for writing (DatabaseFile.h).
class PageKeyChange {
 public:
  /// Throws what Database::Open does for a file that is missing, in use, of another kind or protected by a password,
  /// and DamagedFileError when the key that the header names does not decode the pages.
  PageKeyChange(platform::FileSystem& files, const std::string& path);

  /// The key that the pages have; 0 = they are plain.
  std::uint32_t PresentKey() const { return header_.PageKey(); }
  /// Puts a complete new file with this key in the place of the old one; on return it is on disk. When this raises the
  /// old file is in place. Error 61 on a full disk, FolderNotWritableError. The last call.
  void Commit(std::uint32_t key);

 private:
  static Header ReadHeader(const std::string& path, platform::File& file);
  void CheckKey();
  void ReadPages(PageNumber first, ByteSpan out, const Header& header);

  platform::FileSystem& files_;
  std::string path_;
  std::unique_ptr<platform::File> file_;
  Header header_;
};

}  // namespace mv::jet
