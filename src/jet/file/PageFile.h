#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "jet/file/Committer.h"
#include "jet/file/Page.h"
#include "platform/FileSystem.h"

namespace mv::jet {

/// The pages of one database file: the only class that touches the file. Pages are read on demand and stay in memory;
/// changes stay in memory until Commit puts a complete new file in the place of the old one (Committer.h), so the file
/// on disk is at every instant the old or the new database, whole.
///
/// Statement. One insert, update or delete changes several pages. Between Begin and End the first change of each page
/// keeps its old content; Rollback restores it, so that a statement that fails half-way (damage met late) leaves no
/// trace. A statement begun inside another one joins it: only the outermost End or Rollback counts, and an inner
/// Rollback leaves the outer one nothing but Rollback.
///
/// The file is held from opening to closing as OpenDatabaseFile does it; no lock file is ever created here, because
/// exclusive openers have none.
///
/// Costs: one block of 4 KiB for each page touched (see ShrinkTo), one more for each page that the statement under way
/// has changed.
class PageFile {
 public:
  enum class Mode { ReadOnly, ReadWrite };

  /// The format's 2 GiB in pages.
  static constexpr PageNumber kMaxPages = 524288;

  /// Opens an existing file. Does not look into it unless its length is not that of a database.
  /// Throws FileNotFoundError, FileInUseError, NoPermissionError, UnrecognizedFormatError (shorter than two pages or no
  /// multiple of a page: with the reason of CheckFileKind; longer than 2 GiB).
  /// `committer`: makes commits cheaper that follow one another; null when there will be one at most.
  static std::unique_ptr<PageFile> Open(platform::FileSystem& files, const std::string& path, Mode mode,
                                        std::shared_ptr<Committer> committer = nullptr);
  /// A new database of no pages that exists in memory only until Commit, which replaces what is at `path`. An existing
  /// file there is held from now on; FileInUseError when somebody else holds it.
  static std::unique_ptr<PageFile> Create(platform::FileSystem& files, const std::string& path);

  /// Only Open and Create make one.
  class Key {
    friend class PageFile;
    Key() = default;
  };
  PageFile(Key, platform::FileSystem& files, const std::string& path, Mode mode, std::shared_ptr<Committer> committer);
  ~PageFile();
  PageFile(const PageFile&) = delete;
  PageFile& operator=(const PageFile&) = delete;

  /// From now on pages are decoded as they are read, and encoded as a commit writes them (PageKey.h); in memory they
  /// are always plain. `key`: that of the header. To be called before any page but the header is read.
  void UseKey(std::uint32_t key) { key_ = key; }

  /// The path as it was given to Open or Create.
  const std::string& Path() const { return path_; }
  Mode OpenMode() const { return mode_; }
  PageNumber PageCount() const { return static_cast<PageNumber>(entries_.size()); }

  /// The page's bytes, changes included. The reference stays good until Discard, until a Rollback takes the page away
  /// again, or until the end of this object. Throws DamagedFileError when the page lies past the end.
  const Page& Read(PageNumber number) const {
    if (number < entries_.size() && entries_[number].page) return *entries_[number].page;
    return Load(number);
  }
  /// The page's bytes to change; it will be written by Commit. Throws as Read, and Error 70 on a file opened ReadOnly.
  /// The reference is for changes within the statement under way only: ask again in the next one.
  Page& Write(PageNumber number) {
    if (number < entries_.size() && entries_[number].writableIn == writableNow_) return *entries_[number].page;
    return MakeWritable(number);
  }
  /// Adds one page of zeros at the end and returns its number. Error 70 on a file opened ReadOnly; the 2 GiB limit is
  /// FreePages' business.
  PageNumber Append();

  void Begin();
  /// Throws when a statement inside this one was rolled back; this one is then rolled back as well.
  void End();
  void Rollback();

  /// True when a page changed since opening or the last Commit.
  bool Changed() const { return changedCount_ != 0; }
  /// Makes all changes durable together (see above); costs nothing when nothing changed. When it fails the file on disk
  /// is the old one and the changes are still in memory, so it may be tried again. Error 61 on a full disk,
  /// FolderNotWritableError.
  void Commit();
  /// Forgets all changes since opening or the last Commit, and a statement under way.
  void Discard();
  /// When more than `mostPages` pages were read since the last time, gives back all that hold no change; they are read
  /// again when they are asked for. Between two calls of Table or Database only: every reference to such a page ends.
  /// Lets a scan of a large file run in little memory.
  void ShrinkTo(std::size_t mostPages);
  /// How often changes were undone, by Discard or an outermost Rollback: what was derived from the pages before is
  /// worthless when this has changed.
  std::uint64_t Undone() const { return undone_; }

 private:
  struct Entry {
    std::unique_ptr<Page> page;    ///< nothing until the page is first read
    std::uint64_t writableIn = 0;  ///< equal to writableNow_: changed and, in a statement, its old content kept
    bool changed = false;          ///< differs from the file
  };
  struct BeforeImage {
    PageNumber number = 0;
    bool changed = false;
    std::unique_ptr<Page> content;
  };

  std::unique_ptr<platform::File> OpenFile() const;
  const Page& Load(PageNumber number) const;
  std::size_t RunLength(PageNumber number) const;
  Page& MakeWritable(PageNumber number);
  void KeepOldContent(PageNumber number);
  void CountChanged();
  void RestoreOldContents();
  void DropOldContents();
  void CheckMayWrite() const;
  PagesToCommit ChangedPages();
  /// The pages from `first` on as they are now, as a commit writes them.
  void ReadPages(PageNumber first, ByteSpan out);
  void ReadUnchanged(PageNumber first, ByteSpan out);
  void ReopenAfterFailure();

  platform::FileSystem& files_;
  std::shared_ptr<Committer> committer_;
  std::string path_;
  std::string realPath_;  ///< links resolved, so that a link to the database stays one
  Mode mode_;
  std::unique_ptr<platform::File> file_;  ///< nothing: a database that is not on disk yet, or one lost to somebody else
  PageNumber fileCount_ = 0;              ///< pages of ours in the file
  std::uint32_t key_ = 0;                 ///< of the pages in the file
  mutable std::vector<Entry> entries_;    ///< by page number; loading a page changes nothing that callers can see
  mutable std::size_t loadedSinceShrunk_ = 0;
  std::size_t changedCount_ = 0;
  std::uint64_t writableNow_ = 1;
  std::uint64_t undone_ = 0;

  int depth_ = 0;        ///< of statements
  bool doomed_ = false;  ///< a statement inside the one under way was rolled back
  PageNumber countAtBegin_ = 0;
  std::vector<BeforeImage> before_;  ///< the first beforeUsed_ belong to the statement, the rest are spare blocks
  std::size_t beforeUsed_ = 0;
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
    complete_ = true;
    file_.End();
  }

 private:
  PageFile& file_;
  bool complete_ = false;
};

}  // namespace mv::jet
