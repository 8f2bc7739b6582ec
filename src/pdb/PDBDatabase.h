#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Bytes.h"
#include "base/Error.h"
#include "base/FileContent.h"
#include "fileio/cFileIO.h"
#include "pdb/BytePool.h"
#include "pdb/PDBByteStream.h"
#include "platform/System.h"

namespace mv {

/// One table file of the handheld: read, edit, write.
///
/// Layout of the file (integers big-endian unless said otherwise, offsets from the file's start, n entries):
///
///   offset  size  content
///   0       32    database name, filled up with zeros
///   32      2     attributes
///   34      2     version, 1 in a new file
///   36      4     creation date (PDBUtils::DateToPalmLong)
///   40      4     modification date, that of the last save
///   44      4     backup date
///   48      4     modification number
///   52      4     offset of the AppInfo block, 0 for none
///   56      4     offset of the SortInfo block, 0 for none
///   60      4     type: "DATA" when written, not looked at when read
///   64      4     creator
///   68      4     highest unique ID in use
///   72      4     next unique ID
///   76      2     n, unsigned
///   78      8n    entries: offset of the record's data (4), attributes (1), unique ID (3, little-endian)
///                 AppInfo block, SortInfo block, 2 zero bytes, the records' data in entry order back to back
///
/// A record's length is the next entry's offset, for the last one the file's end, minus its own. Every buffer that a
/// PDBByteStream builds has one spare zero byte at its end, which the next piece of the file covers: only the file's
/// last byte is such a spare. Without records the file ends with the blocks: no gap, no spare byte behind them.
///
/// Life. Set folder and name, then OpenDatabase (read, perhaps edit) or CreateDatabase (build), then CloseDatabase,
/// which alone writes. An open file is kept from others. One object can do this repeatedly.
///
/// Entries are numbered from 1. An entry of length 0 counts as removed. Errors: 9 for an entry number outside the
/// list and for a file that ends before what it describes; 6 for counts and sizes outside their fields; a failing file
/// raises with number and text of the file utility.
class PDBDatabase {
 public:
  /// `file` names the folder until PDBFilePath does. `clock` gives the header dates and must outlive the object.
  PDBDatabase(cFileIO file, const platform::Clock& clock);
  /// While the file is open: CloseDatabase, failures ignored. Whoever wants to know of them closes before.
  ~PDBDatabase();
  PDBDatabase(const PDBDatabase&) = delete;
  PDBDatabase& operator=(const PDBDatabase&) = delete;

  /// The folder.
  const std::string& PDBFilePath() const { return file_.FilePath(); }
  /// A text without a dot is the folder. One with a dot is a file's path: it sets the folder, and the database name to
  /// the file's name without extension. A folder with a dot in its name therefore needs a separator at its end, and
  /// the name set after it.
  void PDBFilePath(const std::string& path);
  /// The name in the header; the file is called that and ".pdb".
  const std::string& PDBDatabaseName() const { return header_.name; }
  void PDBDatabaseName(std::string name) { header_.name = std::move(name); }
  /// Four characters, "BRND" for the tables of this program. Cut or filled up with zeros when written.
  const std::string& CreatorId() const { return header_.creatorId; }
  void CreatorId(std::string id) { header_.creatorId = std::move(id); }
  /// The platform that the file is for, 4 in a new object. 0 and 1 give AppInfo and SortInfo block 512 bytes each;
  /// 0 writes every unique ID as 0; 1 writes and reads little-endian.
  std::int32_t DatabaseFor() const { return databaseFor_; }
  void DatabaseFor(std::int32_t platform) { databaseFor_ = platform; }

  /// Opens the file and reads header and record list. False, with nothing changed, when it cannot be opened. Raises
  /// for a damaged one, which is closed then. The list's offsets must not decrease or lead behind the file's end.
  bool OpenDatabase();
  /// Why the last OpenDatabase returned false, its source the file's path; nothing when it opened the file.
  const std::optional<Error>& OpenFailure() const { return openFailure_; }
  /// True when the header of the file last opened names no table, no type and no creator: zeros where a table was.
  bool IsBlank() const { return header_.isBlank; }
  /// Starts an empty database, to be written by CloseDatabase; name, folder and creator stay. Always true.
  bool CreateDatabase();
  /// Writes the file when the database is new or was edited, in place (readers are not expected meanwhile), and
  /// closes it. When writing fails, that is raised and the file is left empty rather than cut. The file is on the disk
  /// then, also when a call with OnDisk::Later wrote it and this one has nothing to write.
  void CloseDatabase(OnDisk onDisk = OnDisk::Now);
  /// Deletes the file; failures are ignored.
  void RemoveDatabase();

  /// The AppInfo block; empty when there is none. As read, it ends where the next part of the file begins.
  const Bytes& ReadAppInfoBlock();
  void WriteAppInfoBlock(Bytes block);
  /// The SortInfo block. Its size is a signed 16-bit number: error 6 for more.
  const Bytes& ReadSortInfoBlock();
  void WriteSortInfoBlock(Bytes block);

  /// The entry that ReadNext reads next; 0 after opening.
  std::int32_t IterationIndex() const { return iterationIndex_; }
  void IterationIndex(std::int32_t index) { iterationIndex_ = index; }
  /// "Bof" and "Eof" because EOF is a macro of the C library.
  bool Bof() const { return iterationIndex_ < 1; }
  bool Eof() const { return iterationIndex_ > EntryCount(); }

  /// Reads the entry at IterationIndex and moves on by one. At the end the result is empty, the outputs stay, and the
  /// index moves on all the same. `category` is always 0. The first read takes in the whole file.
  Bytes ReadNext(std::int32_t& index, std::int32_t& uniqueID, std::int16_t& category, std::int32_t& attributes);
  Bytes ReadNextByIndex(std::int32_t i, std::int32_t& uniqueID, std::int16_t& category, std::int32_t& attributes);
  /// The first entry with that ID; when there is none, the iteration is at its end and the result empty.
  Bytes ReadNextById(std::int32_t id, std::int32_t& index, std::int32_t& uniqueID, std::int16_t& category,
                     std::int32_t& attributes);
  /// The first modified or deleted entry behind the current one. The search starts one entry further on and leaves the
  /// last entry out: that is this call's contract, odd as it is.
  Bytes ReadNextModified(std::int32_t& index, std::int32_t& uniqueID, std::int16_t& category, std::int32_t& attributes);

  /// The data of entry `i` (from 1) where it lies in memory, without a copy; IterationIndex stays. Good until the next
  /// call that edits or closes; of a file that was not edited, as long as what TakeContent gave.
  ByteView DataAt(std::int32_t i, std::int32_t& attributes);
  /// Gives the open file's content away, with the data of all its entries.
  FileContent TakeContent() { return std::exchange(content_, {}); }

  /// Removes the first entry with that ID; without one nothing changes but IterationIndex.
  void Remove(std::int32_t id);
  void RemoveAll();
  /// Entries that are not removed. Error 6 above 32767.
  std::int32_t RecordCount() const;

  /// Replaces entry `index`, or appends one when that is -1 or lies behind the list. `data` ends in a spare byte,
  /// which does not count: the length is its upper bound. `uniqueID` 0 asks for a new ID when the file is written.
  /// `category` has no place in the file. Error 9 for empty data.
  void Update(std::int32_t index, std::int32_t uniqueID, std::int16_t category, std::int32_t attributes, ByteView data);

 private:
  struct Header {
    std::string name;
    std::string creatorId;
    std::int16_t attributes = 0;
    std::int16_t version = 0;
    std::int32_t creationDate = 0;
    std::int32_t modificationDate = 0;
    std::int32_t backupDate = 0;
    std::int32_t modificationNumber = 0;
    std::int32_t appInfoOffset = 0;
    std::int32_t sortInfoOffset = 0;
    std::int32_t highestId = 0;
    std::int32_t nextId = 0;
    std::int32_t recordCount = 0;  ///< as read; what is written is counted anew
    bool isBlank = false;          ///< as read
  };
  struct Entry {
    std::int32_t offset = 0;  ///< of the data in the file; 0 for data in memory
    std::int32_t attributes = 0;
    std::int32_t uniqueId = 0;  ///< 0 when not assigned yet
    std::int32_t length = 0;    ///< 0 for a removed entry
    ByteView data;              ///< in memory: in pool_, or in content_ while the file is written anew

    bool IsPresent() const { return length != 0; }
  };

  /// What a file to be written begins with.
  struct Head {
    Bytes header;
    Bytes entries;
  };

  std::string FileName() const { return header_.name + ".pdb"; }
  std::int32_t EntryCount() const { return static_cast<std::int32_t>(entries_.size()); }
  Entry& EntryAt(std::int32_t index);
  PDBByteStream NewStream() const;

  void ReadFile();
  Header ReadHeader();
  std::vector<Entry> ReadEntries(std::int32_t count, std::int32_t fileSize);
  Bytes ReadPiece(std::int32_t offset, std::int32_t size);
  FileContent ReadContent();
  [[noreturn]] void RaiseCutShort() const;
  ByteView Content(const Entry& entry);
  std::optional<Error> FileFailure(const std::string& source) const;
  void RaiseFileFailure() const;

  void LoadEverything();
  void ForgetData();
  Head PrepareToWrite();
  std::int32_t LayOut();
  void AssignUniqueIds();
  void AssignOffsets(std::int32_t dataStart);
  Bytes HeaderBytes() const;
  Bytes EntryBytes() const;
  void WriteFile(const Head& head, OnDisk onDisk);
  void WriteContent(const Head& head);
  void SyncFile();

  cFileIO file_;
  const platform::Clock& clock_;
  std::int32_t databaseFor_ = 4;
  Header header_;
  Bytes appInfo_;
  Bytes sortInfo_;
  std::int32_t appInfoSize_ = 0;
  std::int16_t sortInfoSize_ = 0;
  std::vector<Entry> entries_;
  BytePool pool_;
  /// The open file as a whole, from the first record read on.
  FileContent content_;
  std::int32_t iterationIndex_ = 0;
  bool created_ = false;
  bool dirty_ = false;
  bool isUnsynced_ = false;  ///< the file, as this object last wrote it
  std::optional<Error> openFailure_;
};

}  // namespace mv
