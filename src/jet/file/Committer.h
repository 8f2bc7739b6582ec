#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/file/Page.h"
#include "platform/FileSystem.h"
#include "platform/StagedWrite.h"

namespace mv::jet {

/// Fills `out`, whole pages, with the pages from `first` on.
using PageReader = std::function<void(PageNumber first, ByteSpan out)>;

/// The pages that a commit makes durable.
struct PagesToCommit {
  PageNumber count = 0;             ///< all pages of the database, 1 or more
  std::vector<PageNumber> changed;  ///< ascending: those in which it differs from the file in its place, new ones too
  PageReader read;                  ///< may read from that file
};

/// The file that is to take the place of a database, beside it.
struct NewFile;

/// Makes a database durable as a complete new file in the place of the old one: the file under its name is whole at
/// every instant, for any reader, whenever he opened it. It gets there by one rename.
///
/// Spare file. The file that a commit replaced differs from the new one by the pages of that commit. It is kept under
/// the name of a file that is being written (FileSystem::StagedName), and the next commit writes into it these pages
/// and its own instead of writing all of them. So a commit costs what two commits changed, not the size of the
/// database. The spare is written into only when it is certain that
///   - both files are as this object's commits left them: identity, length, times, names and header page. So the file
///     that the first commit replaces, which others wrote, becomes no spare;
///   - it has no other name (a copy by hard link, such as the history's, must never change);
///   - no other program has it open (who opened it as the database reads what he opened).
/// Otherwise a commit writes all pages. Where the file system can share blocks the new file shares those that have not
/// changed, and there is no spare.
///
/// No spare is kept of a database of less than a megabyte, nor where the volume has no room for another copy. One that
/// a killed program left means nothing and goes with the next Adopt.
///
/// Copy ahead. A commit that has to write all pages of a large database can find most of its work done: the first
/// change after a commit (Changing) begins to copy the file on a second thread, and the commit writes what has changed
/// into that copy. It counts only when the database is untouched since then; otherwise the commit writes all pages
/// itself.
class Committer {
 public:
  /// `files` must outlive this object.
  explicit Committer(platform::FileSystem& files);
  ~Committer();
  Committer(const Committer&) = delete;
  Committer& operator=(const Committer&) = delete;

  /// To be told before a database is opened whose commits it is to make, one at a time; what killed programs left of
  /// spares beside it goes. `path`: links resolved.
  void Adopt(const std::string& path);

  /// To be told of the first change since the database was opened or committed: a commit is likely to come. `path` and
  /// `current` are those of that Commit; the file must stay held until then, or until Unchanged. Never raises.
  void Changing(const std::string& path, std::unique_ptr<platform::File>& current);
  /// The database is about to be closed: there will be no Commit.
  void Unchanged();

  /// `current` is the old file as it is held, or null when there is none. Returns the new one, held likewise and on
  /// disk. When it raises the old file is in place, and `current` is null where the system had to let go of it. The
  /// file system's errors.
  std::unique_ptr<platform::File> Commit(const std::string& path, std::unique_ptr<platform::File>& current,
                                         const PagesToCommit& pages);

  /// Gives the spare up; a later commit begins anew. The database is closed.
  void Rest();

 private:
  struct Spare {
    platform::FileTrace trace;
    Page header{};
    std::vector<PageNumber> differ;  ///< pages in which it is not the database, ascending
  };
  /// What the last commit left.
  struct Left {
    platform::FileTrace trace;  ///< of the database
    Page header{};
    std::optional<Spare> spare;
  };

  bool IsAsLeft(const Left& left, platform::File* current) const;
  std::uint64_t FreeBytesBeside() const;
  bool IsWorthCopying(std::uint64_t bytes) const;
  std::unique_ptr<platform::StagedWrite> WriteIntoSpare(const Spare& spare, std::unique_ptr<platform::File>& current,
                                                        const PagesToCommit& pages);
  NewFile WriteIntoCopy(const PagesToCommit& pages);
  bool LinkOldFile(const Left& left, const PagesToCommit& pages);
  void KeepOldFile(const Left& before, Left& now, const std::vector<PageNumber>& changed);
  void RemoveLeftOvers();
  void RemoveQuietly(const std::string& path);

  platform::FileSystem& files_;
  std::string path_;  ///< of the adopted database; empty before the first
  std::optional<Left> left_;
  std::unique_ptr<NewFile> ahead_;  ///< begun by Changing
};

/// The same without a spare file, for who commits once.
std::unique_ptr<platform::File> CommitOnce(platform::FileSystem& files, const std::string& path,
                                           std::unique_ptr<platform::File>& current, const PagesToCommit& pages);

}  // namespace mv::jet
