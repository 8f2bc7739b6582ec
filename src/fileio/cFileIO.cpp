#include "fileio/cFileIO.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/Checked.h"
#include "base/Cp1252.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "platform/System.h"

namespace mv {
namespace {

constexpr char kSeparator = '\\';
constexpr auto kMarkSize = static_cast<std::int32_t>(kUnicodeMark.size());

constexpr const char* kReadTag = "modMain.ReadData():";
constexpr const char* kWriteTag = "modMain.WriteData():";
constexpr const char* kPrintLineTag = "modMain.PrintLine():";
constexpr const char* kFileSizeTag = "modMain.FileSize():";
constexpr const char* kCloseTag = "modMain.CloseFile():";
constexpr const char* kTempFileTag = "modMain.SetTempFileInfo():";
constexpr const char* kRecycleTag = "modMain.Recycle():";
constexpr const char* kMoveTag = "modMain.MoveFile():";
constexpr const char* kCopyTag = "modMain.CopyFile():";
constexpr const char* kRenameTag = "modMain.RenameFile():";

constexpr const char* kReadIniTag = "IniFile::ReadIni";
constexpr const char* kReadIniSectionTag = "IniFile::ReadIniSection";
constexpr const char* kWriteIniTag = "IniFile::WriteIni";
constexpr const char* kDeleteIniTag = "IniFile::DeleteIni";
constexpr const char* kDeleteIniAllTag = "IniFile::DeleteIniAll";

/// INI values are read into a buffer of 100 characters, the closing zero included.
constexpr std::size_t kLongestIniValue = 99;

constexpr const char* kDefaultTempPrefix = "nts";

constexpr const char* kLineEnd = "\r\n";
constexpr std::size_t kLinePiece = 4096;

std::string WithSeparator(std::string path) {
  if (!path.ends_with(kSeparator)) path += kSeparator;
  return path;
}

std::size_t LastDot(const std::string& name) {
  return name.rfind('.');
}

/// Number of bytes before the CR LF of a line, if `bytes` holds one. Characters are `width` bytes wide.
std::optional<std::size_t> FindLineEnd(ByteView bytes, std::size_t width) {
  const auto isCharacter = [&](std::size_t i, std::uint8_t c) {
    return bytes[i] == c && (width == 1 || bytes[i + 1] == 0);
  };
  for (std::size_t i = 0; i + 2 * width <= bytes.size(); i += width) {
    if (isCharacter(i, '\r') && isCharacter(i + width, '\n')) return i;
  }
  return std::nullopt;
}

}  // namespace

std::string TemporaryFolder(const std::function<std::optional<std::string>(const std::string& name)>& variable) {
  for (const char* name : {"TEMP", "TMPDIR"}) {
    const std::optional<std::string> folder = variable(name);
    if (folder && !folder->empty()) return *folder;
  }
  return "/tmp";
}

cFileIO::cFileIO(platform::FileSystem& files, platform::Shell& shell, std::string programFolder)
    : files_(files),
      shell_(shell),
      iniProfile_(files),
      programFolder_(std::move(programFolder)),
      filePath_(programFolder_) {}

cFileIO::~cFileIO() {
  CloseFile();
}

bool cFileIO::Try(const std::string& tag, const std::function<void()>& action) {
  ClearError();
  try {
    action();
    return true;
  } catch (const Error& error) {
    SetError(tag, error);
    return false;
  }
}

void cFileIO::ClearError() {
  lastErrorText_.clear();
  lastErrorNumber_ = 0;
}

void cFileIO::SetError(const std::string& tag, const Error& error) {
  lastErrorText_ = tag + error.Description();
  lastErrorNumber_ = error.Number();
}

void cFileIO::Reset() {
  cursor_ = 0;
}

void cFileIO::SetCursorPos(std::int32_t position) {
  cursor_ = position;
}

std::int32_t cFileIO::CurrentPos() const {
  return cursor_;
}

bool cFileIO::IsEOF() {
  return cursor_ >= FileSize();
}

bool cFileIO::ReadErrorHandler(std::string& text, std::int32_t& number) const {
  const bool failed = !lastErrorText_.empty();
  text = lastErrorText_;
  number = failed ? lastErrorNumber_ : 0;
  return failed;
}

std::int32_t cFileIO::FileSize() {
  if (!file_) return 0;
  try {
    return static_cast<std::int32_t>(file_->Size());
  } catch (const Error& error) {
    SetError(kFileSizeTag, error);
    return 0;
  }
}

std::string cFileIO::FullFileName() const {
  return filePath_ + fileName_;
}

void cFileIO::FullFileName(const std::string& fullName) {
  const std::size_t folderLength = FolderLength(fullName);
  fileName_ = fullName.substr(folderLength);
  if (folderLength > 0) filePath_ = fullName.substr(0, folderLength);
  if (filePath_.empty()) filePath_ = programFolder_;
}

const std::string& cFileIO::Filename() const {
  return fileName_;
}

std::string cFileIO::FileNameNoExt() const {
  return fileName_.substr(0, LastDot(fileName_));
}

const std::string& cFileIO::FilePath() const {
  return filePath_;
}

void cFileIO::FilePath(std::string path) {
  filePath_ = std::move(path);
}

std::string cFileIO::FileExt() const {
  const std::size_t dot = LastDot(fileName_);
  return dot == std::string::npos ? std::string() : fileName_.substr(dot + 1);
}

void cFileIO::FileExt(const std::string& extension) {
  fileName_ = FileNameNoExt();
  if (!extension.empty()) fileName_ += "." + extension;
}

bool cFileIO::ValidateDirectory(const std::string& path) const {
  return !path.empty() && files_.FolderExists(WithSeparator(path));
}

bool cFileIO::ValidateFile(const std::string& name) {
  OpenFile(name, "RW");
  SetCursorPos(FileSize());
  // A file of 2 GB or more has a size that the cursor cannot hold; it must not be cut either.
  truncateOnClose_ = false;
  CloseFile();
  ClearError();
  return files_.FileExists(FullFileName());
}

bool cFileIO::IsOpen() const {
  return file_ != nullptr;
}

bool cFileIO::SetTempFileInfo(const std::string& prefix) {
  return Try(kTempFileTag, [&] {
    const std::string folder = TemporaryFolder(platform::EnvironmentVariable);
    tempFileName_ = files_.CreateTempFile(folder, prefix.empty() ? kDefaultTempPrefix : prefix);
    FullFileName(tempFileName_);
  });
}

const std::string& cFileIO::TempFileName() const {
  return tempFileName_;
}

bool cFileIO::OpenTempFile(const std::string& mode, const std::string& path, const std::string& prefix) {
  if (!SetTempFileInfo(prefix)) return false;
  Reset();
  return OpenFile(tempFileName_, mode, path);
}

cFileIO::OpenMode cFileIO::ModeOf(std::string_view text) {
  using platform::Access;
  using platform::Disposition;
  if (text.empty() || text == "WR" || text == "RW")
    return {Access::ReadWrite, Disposition::OpenAlways, true, true, true};
  if (text == "W") return {Access::Write, Disposition::OpenAlways, true, true, false};
  return {};
}

bool cFileIO::OpenFile(const std::string& name, const std::string& mode, const std::string& path) {
  CloseFile();
  return Try("modMain.OpenFile(" + name + "):", [&] {
    TakeName(name, path);
    const OpenMode wanted = ModeOf(mode);
    truncateOnClose_ = wanted.truncateOnClose;
    canWrite_ = wanted.canWrite;
    canRead_ = wanted.canRead;
    file_ = files_.Open(FullFileName(), wanted.access, wanted.disposition, platform::Sharing::None);
    // Nothing is known about the start of a file that may not be read.
    unicode_ = false;
    if (canRead_) DetectUnicode();
  });
}

void cFileIO::TakeName(const std::string& name, const std::string& path) {
  if (!name.empty()) FullFileName(name);
  if (!path.empty()) FilePath(path);
  filePath_ = WithSeparator(filePath_);
}

void cFileIO::DetectUnicode() {
  try {
    std::array<std::uint8_t, kUnicodeMark.size()> start = {};
    unicode_ = file_->ReadAt(0, start) == start.size() && start == kUnicodeMark;
  } catch (const Error&) {
    file_.reset();
    throw;
  }
  if (!unicode_) cursor_ = 0;
}

bool cFileIO::CloseFile(OnDisk onDisk) {
  if (!file_) return true;
  const bool finished = Try(kCloseTag, [&] {
    if (canWrite_) FinishWriting(onDisk);
  });
  file_.reset();
  return finished;
}

void cFileIO::FinishWriting(OnDisk onDisk) {
  if (truncateOnClose_) {
    if (cursor_ < 0) throw StandardError(errors::kSubscriptOutOfRange);
    file_->Resize(static_cast<std::uint64_t>(cursor_));
  }
  if (onDisk == OnDisk::Now) file_->Sync();
}

void cFileIO::DeleteFile() {
  CloseFile();
  Try({}, [&] { files_.RemoveFile(FullFileName()); });
  ClearError();
}

bool cFileIO::Recycle() {
  CloseFile();
  return Try(kRecycleTag, [&] {
    if (!shell_.Recycle(FullFileName())) throw StandardError(errors::kPathFileAccess);
  });
}

void cFileIO::RequireMissing(const std::string& fullName) const {
  if (files_.FileExists(fullName)) throw StandardError(errors::kFileAlreadyExists);
}

bool cFileIO::MoveFile(const std::string& fullName) {
  CloseFile();
  return Try(kMoveTag, [&] {
    RequireMissing(fullName);
    try {
      files_.RenameFile(FullFileName(), fullName);
      files_.SyncFolder(fullName.substr(0, FolderLength(fullName)));
    } catch (const Error&) {
      // Another volume, or a real failure, which the copy then reports.
      files_.CopyWhole(FullFileName(), fullName);
      files_.RemoveFile(FullFileName());
    }
    FullFileName(fullName);
  });
}

bool cFileIO::CopyFile(const std::string& fullName) {
  CloseFile();
  return Try(kCopyTag, [&] { files_.CopyWhole(FullFileName(), fullName); });
}

bool cFileIO::RenameFile(const std::string& name) {
  CloseFile();
  return Try(kRenameTag, [&] {
    RequireMissing(filePath_ + name);
    files_.RenameFile(FullFileName(), filePath_ + name);
    files_.SyncFolder(filePath_);
    fileName_ = name;
  });
}

platform::File& cFileIO::RequireOpen(bool allowed) {
  if (!file_) throw StandardError(errors::kBadFileNumber);
  if (!allowed) throw StandardError(errors::kBadFileMode);
  return *file_;
}

void cFileIO::MoveTo(std::int32_t position) {
  if (position != kAtCursor) cursor_ = position;
  if (cursor_ == 0 && unicode_) cursor_ = kMarkSize;
  if (cursor_ < 0) throw StandardError(errors::kSubscriptOutOfRange);
}

Bytes cFileIO::ReadBytes(std::int32_t count) {
  platform::File& file = RequireOpen(canRead_);
  const auto start = static_cast<std::uint64_t>(cursor_);
  const std::uint64_t size = file.Size();
  const std::uint64_t there = start < size ? size - start : 0;
  const std::uint64_t wanted = count == kToEnd ? there : static_cast<std::uint64_t>(std::max(count, 0));
  Bytes bytes(static_cast<std::size_t>(std::min(wanted, there)));
  bytes.resize(file.ReadAt(start, bytes));
  if (unicode_) bytes.resize(bytes.size() / 2 * 2);
  cursor_ = CheckedAdd(cursor_, CheckedCast<std::int32_t>(bytes.size()));
  return bytes;
}

Bytes cFileIO::ReadByteArray(std::int32_t count, std::int32_t position) {
  Bytes bytes;
  Try(kReadTag, [&] {
    MoveTo(position);
    bytes = ReadBytes(count);
  });
  return bytes;
}

std::size_t cFileIO::ReadInto(ByteSpan out, std::int32_t position) {
  std::size_t count = 0;
  Try(kReadTag, [&] {
    count = RequireOpen(canRead_).ReadAt(static_cast<std::uint64_t>(position), out);
    cursor_ = CheckedAdd(position, CheckedCast<std::int32_t>(count));
  });
  return count;
}

std::string cFileIO::ReadData(std::int32_t count, std::int32_t position) {
  return TextFromFile(ReadByteArray(count, position), TextEncoding());
}

std::string cFileIO::ReadAllData() {
  return ReadData();
}

std::string cFileIO::InputLine() {
  std::string line;
  Try("InputLine(" + fileName_ + "):", [&] {
    MoveTo(kAtCursor);
    line = TextFromFile(ReadLineBytes(), TextEncoding());
  });
  return line;
}

Bytes cFileIO::ReadLineBytes() {
  const std::int32_t start = cursor_;
  const std::size_t width = unicode_ ? 2 : 1;
  Bytes line;
  while (true) {
    const Bytes piece = ReadBytes(kLinePiece);
    // The CR LF may lie across two pieces.
    const std::size_t searchFrom = line.size() < width ? 0 : line.size() - width;
    line.insert(line.end(), piece.begin(), piece.end());
    const std::optional<std::size_t> end = FindLineEnd(ByteView(line).subspan(searchFrom), width);
    if (end) {
      line.resize(searchFrom + *end);
      cursor_ = start + static_cast<std::int32_t>(line.size() + 2 * width);
      return line;
    }
    if (piece.empty()) return line;
  }
}

void cFileIO::WriteBytes(ByteView bytes) {
  platform::File& file = RequireOpen(canWrite_);
  const std::int32_t end = CheckedAdd(cursor_, CheckedCast<std::int32_t>(bytes.size()));
  file.WriteAt(static_cast<std::uint64_t>(cursor_), bytes);
  cursor_ = end;
}

bool cFileIO::WriteByteArray(ByteView bytes, std::int32_t position) {
  return Try(kWriteTag, [&] {
    MoveTo(position);
    WriteBytes(bytes);
  });
}

bool cFileIO::WriteData(std::string_view text, std::int32_t position) {
  return WriteByteArray(BytesForFile(text, TextEncoding()), position);
}

bool cFileIO::PrintLine(std::string_view text) {
  return Try(kPrintLineTag, [&] {
    MoveTo(kAtCursor);
    WriteBytes(BytesForFile(std::string(text) + kLineEnd, TextEncoding()));
  });
}

FileEncoding cFileIO::TextEncoding() const {
  return unicode_ ? FileEncoding::Unicode : FileEncoding::Ansi;
}

platform::PrivateProfile& cFileIO::Profile() {
  platform::PrivateProfile* const own = files_.Profiles();
  return own != nullptr ? *own : iniProfile_;
}

std::string cFileIO::ReadINI(const std::string& file, const std::string& section, const std::string& key,
                             const std::string& fallback) {
  ValidateFile(file);
  std::optional<std::string> value;
  const bool read = Try(kReadIniTag, [&] { value = Profile().Read(FullFileName(), section, key, kLongestIniValue); });
  if (read && !value && fallback.empty()) {
    SetError(kReadIniTag, Error(errors::kItemNotFound, {}, " [" + section + "] " + key + " not Found"));
  }
  return value ? *value : FirstCharacters(fallback, kLongestIniValue);
}

std::vector<IniDocument::Entry> cFileIO::ReadINISection(const std::string& file, const std::string& section) {
  CloseFile();
  TakeName(file, {});
  std::vector<IniDocument::Entry> entries;
  Try(kReadIniSectionTag, [&] { entries = Profile().Section(FullFileName(), section); });
  return entries;
}

bool cFileIO::ChangeIni(const std::string& tag, const std::string& file, const std::function<void()>& change) {
  CloseFile();
  TakeName(file, {});
  return Try(tag, change);
}

bool cFileIO::WriteIni(const std::string& file, const std::string& section, const std::string& key,
                       const std::string& value) {
  return ChangeIni(kWriteIniTag, file, [&] { Profile().Write(FullFileName(), section, key, value); });
}

bool cFileIO::DeleteIni(const std::string& file, const std::string& section, const std::string& key) {
  return ChangeIni(kDeleteIniTag, file, [&] { Profile().RemoveKey(FullFileName(), section, key); });
}

bool cFileIO::DeleteIniAll(const std::string& file, const std::string& section) {
  return ChangeIni(kDeleteIniAllTag, file, [&] { Profile().RemoveSection(FullFileName(), section); });
}

}  // namespace mv
