#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/Page.h"
#include "platform/FileSystem.h"

namespace mv::jet {

/// The pages of one database file: the only class that touches the file. Pages are read on demand and stay in memory;
/// changes stay in memory until Commit writes a complete new file beside the old one and puts it in its place, so the
/// file on disk is at every instant the old or the new database, whole.
///
/// Statement. One insert, update or delete changes several pages. Between Begin and End the first change of each page
/// keeps its old content; Rollback restores it, so that a statement that fails half-way (damage met late) leaves no
/// trace. Statements do not nest.
///
/// The file is held with Sharing::None from opening to closing when opened for writing, with Sharing::Read for reading.
class PageFile {
 public:
  enum class Mode { ReadOnly, ReadWrite };

  /// Opens an existing file. Does not look into it beyond its length.
  /// Throws FileNotFoundError, FileInUseError, UnrecognizedFormatError (shorter than two pages or no multiple of a
  /// page).
  static std::unique_ptr<PageFile> Open(platform::FileSystem& files, const std::string& path, Mode mode);
  /// A new database of no pages that exists in memory only until Commit, which replaces what is at `path`.
  static std::unique_ptr<PageFile> Create(platform::FileSystem& files, const std::string& path);

  const std::string& Path() const;
  PageNumber PageCount() const;

  /// The page's bytes, changes included. The reference stays good until Discard or the end of this object.
  /// Throws DamagedFileError when the page lies past the end.
  const Page& Read(PageNumber number) const;
  /// The page's bytes to change; it will be written by Commit. Throws as Read, and Error 70 on a file opened ReadOnly.
  Page& Write(PageNumber number);
  /// Adds one page of zeros at the end and returns its number.
  PageNumber Append();

  void Begin();
  void End();
  void Rollback();

  /// True when a page changed since opening or the last Commit.
  bool Changed() const;
  /// Makes all changes durable together (see above); costs nothing when nothing changed. When it fails the file on disk
  /// is the old one and the changes are still in memory. Error 61 on a full disk.
  void Commit();
  /// Forgets all changes since opening or the last Commit.
  void Discard();
};

/// Begin in the constructor; Rollback in the destructor unless Complete was called.
class Statement {
 public:
  explicit Statement(PageFile& file) : file_(file) { file_.Begin(); }
  ~Statement() {
    if (!complete_) file_.Rollback();
  }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  void Complete() {
    file_.End();
    complete_ = true;
  }

 private:
  PageFile& file_;
  bool complete_ = false;
};

}  // namespace mv::jet
