#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"
#include "base/Error.h"
#include "fileio/FileText.h"
#include "fileio/IniDocument.h"
#include "fileio/IniProfile.h"
#include "platform/FileSystem.h"
#include "platform/Shell.h"

namespace mv {

/// When what was written is to be on the disk.
enum class OnDisk {
  Now,
  Later,  ///< with another close, for what is written now is soon written anew
};

/// A file with a cursor of its own: reads and writes start at the cursor and move it. One object has at most one file
/// open, kept from all others while it is; the table file class owns one.
///
/// The file's full name is a folder ("path") and a name. The path is text as given and ends with a separator once a
/// file was opened; FullFileName just puts the two together.
///
/// No member raises. What fails returns false or an empty result and leaves its text and number for ReadErrorHandler;
/// the text is the member's tag ("modMain.ReadData():") and the description. Most members clear the previous error
/// first.
///
/// Text goes into the file as Windows-1252, one byte a character, or as UTF-16 when the file was opened for reading
/// and starts with the mark FF FE; a read or write at position 0 of such a file starts behind the mark.
class cFileIO {
 public:
  /// As a position: where the cursor is.
  static constexpr std::int32_t kAtCursor = -1;
  /// As a count: everything up to the file's end.
  static constexpr std::int32_t kToEnd = -1;

  /// `files` and `shell` must outlive the object. `programFolder` is the path until another is set.
  cFileIO(platform::FileSystem& files, platform::Shell& shell, std::string programFolder);
  /// Closes an open file as CloseFile does.
  ~cFileIO();
  cFileIO(cFileIO&& other) noexcept = default;
  cFileIO& operator=(cFileIO&&) = delete;

  /// Puts the cursor at 0.
  void Reset();
  void SetCursorPos(std::int32_t position);
  std::int32_t CurrentPos() const;
  /// True when the cursor is at or behind the end of the open file; true without one.
  bool IsEOF();
  /// The last failure: true with its text and number, or false with "" and 0 when the last operation succeeded.
  bool ReadErrorHandler(std::string& text, std::int32_t& number) const;
  /// Bytes in the open file, the low 32 bits of the count; 0 without one. Leaves an earlier error to be read.
  std::int32_t FileSize();

  std::string FullFileName() const;
  /// Splits at the last "\" or "/", which stays with the path. A name without any keeps the path as it is (the
  /// program's folder when it is empty).
  void FullFileName(const std::string& fullName);
  const std::string& Filename() const;
  /// The name without its last extension: "a.b.pdb" gives "a.b".
  std::string FileNameNoExt() const;
  const std::string& FilePath() const;
  void FilePath(std::string path);
  /// The part of the name behind its last dot; empty when it has none.
  std::string FileExt() const;
  /// Replaces that part, or adds one; an empty text takes it away with its dot.
  void FileExt(const std::string& extension);

  /// True when `path` is an existing folder, with or without a separator at its end.
  bool ValidateDirectory(const std::string& path) const;
  /// Makes sure that a file is there: creates it empty when it is missing, leaves an existing one as it is. Becomes
  /// this object's file name; a file that was open is closed. True when it exists afterwards. Sets no error.
  bool ValidateFile(const std::string& name);

  bool IsOpen() const;
  /// Makes an empty file of a new unique name in the user's temporary folder and takes its name as FullFileName. The
  /// name starts with the first three characters of `prefix`, "nts" when that is empty.
  bool SetTempFileInfo(const std::string& prefix);
  /// The last name made by SetTempFileInfo.
  const std::string& TempFileName() const;
  /// SetTempFileInfo, then OpenFile on that name with the cursor at 0.
  bool OpenTempFile(const std::string& mode, const std::string& path, const std::string& prefix);

  /// Opens a file; one that is open is closed first.
  ///
  /// `name`, when not empty, becomes FullFileName; `path`, when not empty, becomes the path after that.
  /// `mode`: "", "WR" or "RW" reads and writes, "W" writes; both create a missing file and keep what an existing one
  /// holds until CloseFile cuts it at the cursor. Any other text ("R") reads an existing file. The cursor starts at 0
  /// except in mode "W" and for a file with the mark FF FE, where it stays.
  bool OpenFile(const std::string& name, const std::string& mode, const std::string& path = {});
  /// Closes the file. One that may be written ends at the cursor, which is its logical end, and is on the disk when
  /// this returns. False, with an error to read, when that failed; the file is closed all the same.
  bool CloseFile(OnDisk onDisk = OnDisk::Now);

  /// These five close the file first.
  /// Deletes the file; failures are ignored.
  void DeleteFile();
  /// Moves the file to the user's recycle bin.
  bool Recycle();
  /// Moves the file, to another volume as well, and takes the new name over. Error 58 when `fullName` exists.
  bool MoveFile(const std::string& fullName);
  /// Copies the file, replacing `fullName`.
  bool CopyFile(const std::string& fullName);
  /// Gives the file another name in its folder and takes it over. Error 58 when there is one of that name.
  bool RenameFile(const std::string& name);

  /// Text of at most `count` bytes of the file.
  std::string ReadData(std::int32_t count = kToEnd, std::int32_t position = kAtCursor);
  /// At most `count` bytes, fewer only when the file ends before. Of a file with the mark FF FE: whole 16-bit units,
  /// each as two bytes, low byte first.
  Bytes ReadByteArray(std::int32_t count = kToEnd, std::int32_t position = kAtCursor);
  /// Fills `out` from `position` on, whatever the file's mark; the count is less than its size only when the file ends
  /// before, and 0 after a failure.
  std::size_t ReadInto(ByteSpan out, std::int32_t position);
  /// The text up to the next CR LF or the file's end; the cursor moves behind the CR LF.
  std::string InputLine();
  /// The text from the cursor to the file's end.
  std::string ReadAllData();

  bool WriteData(std::string_view text, std::int32_t position = kAtCursor);
  bool WriteByteArray(ByteView bytes, std::int32_t position = kAtCursor);
  /// The text and CR LF at the cursor.
  bool PrintLine(std::string_view text);

  /// INI files, through the system's own calls where it has them (platform/windows/PrivateProfile.h), else as
  /// IniProfile does it. `file` becomes this object's file name; a file that was open is closed.
  ///
  /// The value, cut at 99 characters. A missing key gives `fallback`, cut likewise; without a fallback that is also an
  /// error whose text ends in " not Found". A missing file is created empty.
  std::string ReadINI(const std::string& file, const std::string& section, const std::string& key,
                      const std::string& fallback = {});
  /// The section's keys and whole values in order; none for a missing file or section.
  std::vector<IniDocument::Entry> ReadINISection(const std::string& file, const std::string& section);
  /// Sets a key. A missing file is created.
  /// A value of more than one line is error 5.
  bool WriteIni(const std::string& file, const std::string& section, const std::string& key, const std::string& value);
  /// Takes a key out; true as well when there is none.
  bool DeleteIni(const std::string& file, const std::string& section, const std::string& key);
  /// Takes a section with all its keys out; true as well when there is none.
  bool DeleteIniAll(const std::string& file, const std::string& section);

 private:
  struct OpenMode {
    platform::Access access = platform::Access::Read;
    platform::Disposition disposition = platform::Disposition::OpenExisting;
    bool truncateOnClose = false;
    bool canWrite = false;
    bool canRead = true;
  };
  static OpenMode ModeOf(std::string_view text);

  /// Runs `action` with cleared error fields; stores what it raises under `tag`. True when nothing was raised.
  bool Try(const std::string& tag, const std::function<void()>& action);
  void ClearError();
  void SetError(const std::string& tag, const Error& error);

  void DetectUnicode();
  void FinishWriting(OnDisk onDisk);
  platform::File& RequireOpen(bool allowed);
  /// Moves the cursor to `position` and behind the mark FF FE.
  void MoveTo(std::int32_t position);
  Bytes ReadBytes(std::int32_t count);
  Bytes ReadLineBytes();
  void WriteBytes(ByteView bytes);
  void RequireMissing(const std::string& fullName) const;
  FileEncoding TextEncoding() const;
  /// Takes a file name over and sees to the separator between path and name.
  void TakeName(const std::string& name, const std::string& path);

  platform::PrivateProfile& Profile();
  /// Takes the name of an INI file over and changes it.
  bool ChangeIni(const std::string& tag, const std::string& file, const std::function<void()>& change);

  platform::FileSystem& files_;
  platform::Shell& shell_;
  IniProfile iniProfile_;  ///< serves where the system has no calls of its own
  std::string programFolder_;
  std::string lastErrorText_;
  std::int32_t lastErrorNumber_ = 0;
  std::unique_ptr<platform::File> file_;
  bool truncateOnClose_ = false;
  bool canWrite_ = false;
  bool canRead_ = false;
  std::int32_t cursor_ = 0;
  std::string tempFileName_;
  std::string fileName_;
  std::string filePath_;
  bool unicode_ = false;
};

/// The user's folder for temporary files: the environment variable TEMP, else TMPDIR, else "/tmp". `variable` looks an
/// environment variable up.
std::string TemporaryFolder(const std::function<std::optional<std::string>(const std::string& name)>& variable);

}  // namespace mv
