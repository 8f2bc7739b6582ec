#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "platform/PrivateProfile.h"

namespace mv::platform {

enum class Access { Read, Write, ReadWrite };
enum class Disposition {
  OpenExisting,  ///< error 53 when missing
  OpenAlways,    ///< created empty when missing
  CreateAlways,  ///< created, or cut to nothing
};
enum class Sharing {
  None,  ///< nobody else may have it open or locked
  Read,  ///< others may read it, nobody may write it
  All,   ///< no promise asked for
};

enum class Existing {
  Replace,
  Keep,  ///< error 58 when there is a file already
};

/// What tells whether a file was changed since one last looked.
struct FileFacts {
  std::uint64_t bytes = 0;
  std::int64_t modified = 0;  ///< as fine as the system has it, in its own units and from its own beginning

  friend bool operator==(const FileFacts&, const FileFacts&) = default;
};

/// All by which the system shows that a file is the one it was, untouched.
struct FileTrace {
  std::string content;      ///< another text for another file and after any write; "" = not to be had
  std::string state;        ///< another text also after a change of its rights or names
  std::uint32_t names = 0;  ///< how many names lead to the file

  friend bool operator==(const FileTrace&, const FileTrace&) = default;
};

/// A copy of a file's content that is under way on a thread of its own. Until Finish has come back, or this object is
/// gone, both files must stay open, and the one that is copied to must not be touched; the other may be read.
class ContentCopy {
 public:
  /// Stops. What was copied until then is undefined.
  virtual ~ContentCopy() = default;
  /// Waits for its end. False when it failed; the file that was copied to is then empty. The last call.
  virtual bool Finish() = 0;
};

/// One open file. Not opened for appending: every read and write names its offset. The destructor closes silently.
class File {
 public:
  virtual ~File() = default;
  /// Bytes in the file now.
  virtual std::uint64_t Size() const = 0;
  /// Fills `out` from `offset` on; returns the number of bytes read, fewer than asked only at the end of the file.
  /// Error 57.
  virtual std::size_t ReadAt(std::uint64_t offset, ByteSpan out) = 0;
  /// Writes all of `data`; a gap before `offset` is filled with zeros. Error 61 when the disk is full, 57 else.
  virtual void WriteAt(std::uint64_t offset, ByteView data) = 0;
  /// Cuts or extends (with zeros) to `size` bytes. Errors as of WriteAt.
  virtual void Resize(std::uint64_t size) = 0;
  /// Returns when the contents are on the disk. Errors as of WriteAt.
  virtual void Sync() = 0;

  // What not every system or file system gives.

  /// Sets the time of the last write to an instant that no write after this one gets: the clock that the system takes
  /// these times from may stand still for milliseconds. False where that cannot be relied on.
  virtual bool StampTime() { return false; }
  /// Sets the time of the last write to that of `from`. False where that cannot be done.
  virtual bool TakeTimeOf(const File& from) {
    static_cast<void>(from);
    return false;
  }
  /// True when it is certain that no other program has the file open, not even for reading and by whatever name.
  virtual bool IsOpenHereOnly() { return false; }
  /// Makes the content that of `from` without copying it: the two share their blocks until one is written to. False,
  /// with this file empty or as it was, where the file system cannot.
  virtual bool ShareContentOf(File& from) {
    static_cast<void>(from);
    return false;
  }
  /// Begins to make the content of this file, which is empty, that of `from` as long as it is now. Null where that
  /// cannot be done beside the caller's work.
  virtual std::unique_ptr<ContentCopy> BeginCopyOf(File& from) {
    static_cast<void>(from);
    return nullptr;
  }
};

/// The operating system's files. Paths are UTF-8 and may use "\" and "/" alike.
///
/// Errors are mv::Error: 53 missing file, 76 missing folder on the way, 70 held or locked by somebody else, 75 no
/// permission, or a folder, a pipe or a device where a file is wanted, 61 disk full, 57 any other failure of the
/// device.
///
/// A file opened with a promise (Sharing::None or Read) is the one under its name at that moment: who replaces files by
/// rename cannot leave another program with the old one.
///
/// Sharing is enforced among programs that use the same means: share modes on Windows, advisory locks (both kinds) on
/// POSIX systems.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  virtual std::unique_ptr<File> Open(const std::string& path, Access access, Disposition disposition,
                                     Sharing sharing) = 0;

  virtual bool FileExists(const std::string& path) const = 0;
  virtual bool FolderExists(const std::string& path) const = 0;
  /// FileExists as this system's scripts are answered, where they have an object for it
  /// (platform/windows/ScriptingFiles.h): the device copies ask that one, so that a script gets the same answer.
  virtual bool FileExistsForScripts(const std::string& path) const { return FileExists(path); }
  /// Names (not paths) of the files and folders in `folder`, in no order.
  virtual std::vector<std::string> List(const std::string& folder) const = 0;

  /// Of the file that the path leads to. Error 53 when missing.
  virtual FileFacts FactsOf(const std::string& path) const = 0;
  /// When the file or folder was last written: 100 ns since 1601-01-01 UTC; 0 for a time before that. Error 53 when
  /// missing.
  virtual std::uint64_t LastWriteTime(const std::string& path) const = 0;

  /// Of the file that the path leads to; empty when it is missing or the system cannot tell.
  virtual FileTrace TraceOf(const std::string& path) const {
    static_cast<void>(path);
    return {};
  }
  /// Bytes that this user may still write on the volume of an existing folder; 0 when unknown.
  virtual std::uint64_t FreeBytes(const std::string& folder) const {
    static_cast<void>(folder);
    return 0;
  }

  /// False when it is certain that this user may not make files in an existing folder: no right to it, a medium that
  /// can only be read.
  virtual bool MayMakeFilesIn(const std::string& folder) const {
    static_cast<void>(folder);
    return true;
  }

  /// Error 53 when missing.
  virtual void RemoveFile(const std::string& path) = 0;
  /// Moves a file within a volume, replacing `to` in one step. Which of its names it has after a power cut is certain
  /// once SyncFolder was called for the folder of `to`.
  virtual void RenameFile(const std::string& from, const std::string& to) = 0;
  /// The folder and every missing one above it. An existing one is no error.
  virtual void CreateFolders(const std::string& folder) = 0;
  /// Makes one folder; false, and nothing done, when something of that name is there. Of several that ask at once one
  /// gets true.
  virtual bool CreateFolder(const std::string& folder) = 0;
  /// Removes an empty folder. Error 75 when it is not.
  virtual void RemoveFolder(const std::string& folder) = 0;
  /// Gives the file at `from` a second name, which outlives a power cut once SyncFolder was called for its folder. It
  /// is the same file under both: whoever writes into it by one name changes what the other shows, whoever replaces a
  /// name leaves the other. Error 58 when `name` is taken, 75 where the system has no such names or they would be on
  /// two volumes.
  virtual void LinkFile(const std::string& from, const std::string& name) = 0;
  /// Returns when the names of the files and folders in `folder` are on the disk, as far as the system has a call for
  /// it. Never raises: network shares and the like refuse it, which is no reason to call a file lost.
  virtual void SyncFolder(const std::string& folder) { static_cast<void>(folder); }
  /// Tells the system, where it has a call for it, that nobody is expected to read a file soon: the memory in which it
  /// keeps what is on the disk may serve other files. Never raises.
  virtual void NotNeededSoon(const std::string& path) { static_cast<void>(path); }

  /// Copies `from` over `to`: at every instant `to` holds its old content or all of the new, and on return the new is
  /// on disk. A new file has the mode of `from`. Error 70 when somebody else has either of them locked or open without
  /// sharing.
  virtual void CopyWhole(const std::string& from, const std::string& to);
  /// The same for content from memory; keeps the mode of an existing file.
  virtual void WriteWhole(const std::string& path, ByteView content);

  // The steps of StagedWrite, which is what everybody else uses.

  /// A name for the file that is to take the place of `path`: the folder of `path` and a name of our own made from its
  /// name.
  std::string StagedName(const std::string& path) const;
  /// Makes the file StagedName(path), ReadWrite, Sharing::None. It is a new one: a left-over of that name loses the
  /// name only, for somebody may read it still or have it by another. On POSIX systems the new one has, from its first
  /// moment, the mode of the file at `path`, else of the one at `like`, and its owner where the system allows that.
  virtual std::unique_ptr<File> CreateStaged(const std::string& path, const std::string& like);
  /// Puts a completely written file in the place of another in one step. `staged` was opened on StagedName(path) with
  /// Sharing::None, `current` on `path` likewise, or is null. On success both are given up, and `path` is returned
  /// opened anew (ReadWrite, Sharing::None), its content on disk; the name is once SyncFolder was called for its
  /// folder. When it fails the old file is in place, and it may be tried again: both files are still open, except on
  /// Windows, which renames and replaces closed files only. Error 58 when `existing` is Keep and there is a file at
  /// `path`.
  virtual std::unique_ptr<File> ReplaceOpen(std::unique_ptr<File>& staged, std::unique_ptr<File>& current,
                                            const std::string& path, Existing existing) = 0;
  /// Closes and removes the file StagedName(path), and is silent about failures: a left-over means nothing.
  virtual void DiscardStaged(std::unique_ptr<File> staged, const std::string& path);

  /// True when another program holds a lock on any of the bytes `first` to `first + count - 1`, which may lie behind
  /// the file's end, or has the file open without sharing. False for a missing file.
  virtual bool IsRangeLocked(const std::string& path, std::uint64_t first, std::uint64_t count) const = 0;

  /// A text that two paths share exactly when they lead to the same file, whatever they look like: other case, another
  /// way, a link of either kind. A missing file's is that of its place.
  virtual std::string IdentityOf(const std::string& path) const = 0;

  /// Absolute form; on POSIX systems with links resolved, so that replacing the file does not replace a link to it. A
  /// missing file: its folder's.
  virtual std::string RealPath(const std::string& path) const = 0;

  /// Makes an empty file of a new name in `folder` and returns its path: the first three characters of `prefix`, a
  /// hexadecimal number, ".tmp". Errors 76 without the folder, 58 when all names are taken.
  virtual std::string CreateTempFile(const std::string& folder, const std::string& prefix);

  /// The system's own calls for INI files; null where it has none.
  virtual PrivateProfile* Profiles() { return nullptr; }
};

/// The file system of this machine.
std::unique_ptr<FileSystem> MakeFileSystem();

/// Writes all of `from` into `to` at the same offsets.
void CopyContent(File& from, File& to);

/// All that is in an open file now.
Bytes ReadWhole(File& file);
/// Reads a whole file. Error 53 and the rest as FileSystem::Open.
Bytes ReadWhole(FileSystem& files, const std::string& path);

}  // namespace mv::platform
