#include "pdb/PDBDatabase.h"

#include <algorithm>
#include <utility>

#include "base/Checked.h"
#include "base/Date.h"
#include "pdb/PDBUtils.h"
#include "pdb/RecordFlags.h"
#include "pdb/TableFormat.h"

namespace mv {
namespace {

constexpr std::int32_t kNameWidth = table_format::kNameWidth;
constexpr std::int32_t kIdWidth = table_format::kCreatorWidth;
constexpr std::int32_t kHeaderSize = table_format::kHeaderSize;
constexpr std::int32_t kEntrySize = table_format::kEntrySize;
constexpr std::int32_t kGapSize = 2;
constexpr const char* kType = "DATA";
constexpr std::int16_t kFirstVersion = 1;

/// Values of DatabaseFor that matter.
constexpr std::int32_t kWithoutIds = 0;
constexpr std::int32_t kSwapped = 1;
constexpr std::int32_t kFixedBlockSize = 512;

/// Byte order arguments of the stream.
constexpr bool kBigEndian = true;
constexpr bool kLittleEndian = false;

constexpr std::int32_t kAppend = -1;

[[noreturn]] void RaiseOutOfRange() {
  throw StandardError(errors::kSubscriptOutOfRange);
}

/// end - start for two places in a file of `fileSize` bytes.
std::int32_t SizeBetween(std::int32_t start, std::int32_t end, std::int32_t fileSize) {
  if (start < 0 || end < start || end > fileSize) RaiseOutOfRange();
  return end - start;
}

/// Puts a file together from its start on and writes it by and by, so that it need not fit into memory once more.
class FileWriter {
 public:
  explicit FileWriter(cFileIO& file) : file_(file) {}

  /// Adds a piece at its offset, which lies at the end of what was put or one byte before: that spare byte is replaced.
  /// A gap before it is zero. False when the file cannot be written.
  bool Put(std::int32_t offset, ByteView piece) {
    if (piece.empty()) return true;
    waiting_.resize(static_cast<std::size_t>(offset - written_));
    waiting_.insert(waiting_.end(), piece.begin(), piece.end());
    return waiting_.size() < kPiece || Write(waiting_.size() - 1);
  }
  bool Finish() { return Write(waiting_.size()); }

 private:
  static constexpr std::size_t kPiece = 256 * 1024;

  bool Write(std::size_t count) {
    if (!file_.WriteByteArray(ByteView(waiting_).first(count))) return false;
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(count));
    written_ += static_cast<std::int32_t>(count);
    return true;
  }

  cFileIO& file_;
  Bytes waiting_;
  std::int32_t written_ = 0;
};

}  // namespace

PDBDatabase::PDBDatabase(cFileIO file, const platform::Clock& clock) : file_(std::move(file)), clock_(clock) {}

PDBDatabase::~PDBDatabase() {
  if (!file_.IsOpen()) return;
  try {
    CloseDatabase();
  } catch (const Error&) {
    // Nobody is left to be told; CloseDatabase before tells.
  }
}

void PDBDatabase::PDBFilePath(const std::string& path) {
  if (path.find('.') == std::string::npos) {
    file_.FilePath(path);
    return;
  }
  file_.FullFileName(path);
  header_.name = file_.FileNameNoExt();
}

PDBByteStream PDBDatabase::NewStream() const {
  PDBByteStream stream;
  stream.DatabaseFor(databaseFor_);
  return stream;
}

PDBDatabase::Entry& PDBDatabase::EntryAt(std::int32_t index) {
  if (index < 1 || index > EntryCount()) RaiseOutOfRange();
  return entries_[static_cast<std::size_t>(index) - 1];
}

// --- Reading --------------------------------------------------------------------------------------------------------

bool PDBDatabase::OpenDatabase() {
  openFailure_.reset();
  if (!file_.OpenFile(FileName(), "R")) {
    openFailure_ = FileFailure(file_.FullFileName());
    return false;
  }
  try {
    ReadFile();
  } catch (const Error&) {
    file_.CloseFile();
    throw;
  }
  created_ = false;
  dirty_ = false;
  return true;
}

void PDBDatabase::ReadFile() {
  const std::int32_t fileSize = file_.FileSize();
  Header header = ReadHeader();
  std::vector<Entry> entries = ReadEntries(header.recordCount, fileSize);

  const std::int32_t blocksEnd = entries.empty() ? fileSize : entries.front().offset;
  const bool hasSortInfo = header.sortInfoOffset >= 1;
  const std::int32_t appInfoEnd = hasSortInfo ? header.sortInfoOffset : blocksEnd;
  appInfoSize_ = header.appInfoOffset < 1 ? 0 : SizeBetween(header.appInfoOffset, appInfoEnd, fileSize);
  sortInfoSize_ = hasSortInfo ? CheckedCast<std::int16_t>(SizeBetween(header.sortInfoOffset, blocksEnd, fileSize))
                              : std::int16_t{0};

  header_ = header;
  entries_ = std::move(entries);
  pool_ = BytePool();
  appInfo_.clear();
  sortInfo_.clear();
  content_ = {};
  iterationIndex_ = 0;
}

PDBDatabase::Header PDBDatabase::ReadHeader() {
  PDBByteStream stream = NewStream();
  stream.ByteArray(ReadPiece(0, kHeaderSize));
  Header header;
  std::int32_t pos = 0;
  std::string type;
  std::int16_t count = 0;
  stream.ByteToFixString(header.name, pos, kNameWidth);
  stream.ByteToInteger(header.attributes, pos, kBigEndian);
  stream.ByteToInteger(header.version, pos, kBigEndian);
  stream.ByteToLong(header.creationDate, pos, kBigEndian);
  stream.ByteToLong(header.modificationDate, pos, kBigEndian);
  stream.ByteToLong(header.backupDate, pos, kBigEndian);
  stream.ByteToLong(header.modificationNumber, pos, kBigEndian);
  stream.ByteToLong(header.appInfoOffset, pos, kBigEndian);
  stream.ByteToLong(header.sortInfoOffset, pos, kBigEndian);
  stream.ByteToFixString(type, pos, kIdWidth);
  stream.ByteToFixString(header.creatorId, pos, kIdWidth);
  stream.ByteToLong(header.highestId, pos, kBigEndian);
  stream.ByteToLong(header.nextId, pos, kBigEndian);
  stream.ByteToInteger(count, pos, kBigEndian);
  header.recordCount = PDBUtils::IntegerToUnsigned(count);
  header.isBlank = header.name.empty() && type.empty() && header.creatorId.empty();
  return header;
}

std::vector<PDBDatabase::Entry> PDBDatabase::ReadEntries(std::int32_t count, std::int32_t fileSize) {
  PDBByteStream stream = NewStream();
  stream.ByteArray(ReadPiece(kHeaderSize, count * kEntrySize));
  std::vector<Entry> entries(static_cast<std::size_t>(count));
  std::int32_t pos = 0;
  for (Entry& entry : entries) {
    std::uint8_t attributes = 0;
    stream.ByteToLong(entry.offset, pos, kBigEndian);
    stream.GetByte(attributes, pos);
    stream.ByteToInt24(entry.uniqueId, pos, kLittleEndian);
    entry.attributes = attributes;
  }
  std::int32_t end = fileSize;
  for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
    entry->length = SizeBetween(entry->offset, end, fileSize);
    end = entry->offset;
  }
  return entries;
}

/// Exactly `size` bytes of the file. The utility gives no more than the file holds, so a false size costs nothing.
Bytes PDBDatabase::ReadPiece(std::int32_t offset, std::int32_t size) {
  Bytes piece = file_.ReadByteArray(size, offset);
  if (piece.size() != static_cast<std::size_t>(size)) RaiseCutShort();
  return piece;
}

FileContent PDBDatabase::ReadContent() {
  FileContent content(static_cast<std::size_t>(file_.FileSize()));
  if (file_.ReadInto(content.Span(), 0) != content.Size()) RaiseCutShort();
  return content;
}

void PDBDatabase::RaiseCutShort() const {
  RaiseFileFailure();
  RaiseOutOfRange();
}

/// Raises what the file utility stored, if anything.
void PDBDatabase::RaiseFileFailure() const {
  if (const std::optional<Error> failure = FileFailure("PDBDatabase")) throw *failure;
}

/// What the file utility stored, if anything.
std::optional<Error> PDBDatabase::FileFailure(const std::string& source) const {
  std::string text;
  std::int32_t number = 0;
  if (!file_.ReadErrorHandler(text, number)) return std::nullopt;
  return Error(number, source, text);
}

const Bytes& PDBDatabase::ReadAppInfoBlock() {
  if (header_.appInfoOffset > 0) appInfo_ = ReadPiece(header_.appInfoOffset, appInfoSize_);
  return appInfo_;
}

void PDBDatabase::WriteAppInfoBlock(Bytes block) {
  appInfoSize_ = CheckedCast<std::int32_t>(block.size());
  appInfo_ = std::move(block);
  header_.appInfoOffset = 0;
  dirty_ = true;
}

const Bytes& PDBDatabase::ReadSortInfoBlock() {
  if (header_.sortInfoOffset > 0) sortInfo_ = ReadPiece(header_.sortInfoOffset, sortInfoSize_);
  return sortInfo_;
}

void PDBDatabase::WriteSortInfoBlock(Bytes block) {
  sortInfoSize_ = CheckedCast<std::int16_t>(block.size());
  sortInfo_ = std::move(block);
  header_.sortInfoOffset = 0;
  dirty_ = true;
}

ByteView PDBDatabase::Content(const Entry& entry) {
  if (entry.offset == 0) return entry.data;
  if (content_.Size() == 0) content_ = ReadContent();
  const auto start = static_cast<std::size_t>(entry.offset);
  const auto length = static_cast<std::size_t>(entry.length);
  if (start > content_.Size() || length > content_.Size() - start) RaiseOutOfRange();
  return content_.View().subspan(start, length);
}

Bytes PDBDatabase::ReadNext(std::int32_t& index, std::int32_t& uniqueID, std::int16_t& category,
                            std::int32_t& attributes) {
  Bytes data;
  if (!Eof()) {
    const Entry& entry = EntryAt(iterationIndex_);
    const ByteView content = Content(entry);
    data.assign(content.begin(), content.end());
    index = iterationIndex_;
    uniqueID = entry.uniqueId;
    category = 0;
    attributes = entry.attributes;
  }
  iterationIndex_ = CheckedAdd(iterationIndex_, 1);
  return data;
}

Bytes PDBDatabase::ReadNextByIndex(std::int32_t i, std::int32_t& uniqueID, std::int16_t& category,
                                   std::int32_t& attributes) {
  std::int32_t index = i;
  iterationIndex_ = i;
  return ReadNext(index, uniqueID, category, attributes);
}

ByteView PDBDatabase::DataAt(std::int32_t i, std::int32_t& attributes) {
  const Entry& entry = EntryAt(i);
  attributes = entry.attributes;
  return Content(entry);
}

Bytes PDBDatabase::ReadNextById(std::int32_t id, std::int32_t& index, std::int32_t& uniqueID, std::int16_t& category,
                                std::int32_t& attributes) {
  const auto found =
      std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.uniqueId == id; });
  iterationIndex_ = static_cast<std::int32_t>(found - entries_.begin()) + 1;
  if (found == entries_.end()) return {};
  return ReadNext(index, uniqueID, category, attributes);
}

Bytes PDBDatabase::ReadNextModified(std::int32_t& index, std::int32_t& uniqueID, std::int16_t& category,
                                    std::int32_t& attributes) {
  iterationIndex_ = CheckedAdd(iterationIndex_, 1);
  for (std::int32_t i = iterationIndex_; i < EntryCount(); ++i) {
    if ((EntryAt(i).attributes & (kRecordModified | kRecordDeleted)) == 0) continue;
    iterationIndex_ = i;
    return ReadNext(index, uniqueID, category, attributes);
  }
  iterationIndex_ = EntryCount() + 1;
  return {};
}

// --- Editing --------------------------------------------------------------------------------------------------------

bool PDBDatabase::CreateDatabase() {
  const std::int32_t today = PDBUtils::DateToPalmLong(DateFromCivil(clock_.Now()));
  Header header;
  header.name = header_.name;
  header.creatorId = header_.creatorId;
  header.version = kFirstVersion;
  header.creationDate = today;
  header.modificationDate = today;
  header_ = std::move(header);
  appInfo_.clear();
  sortInfo_.clear();
  appInfoSize_ = 0;
  sortInfoSize_ = 0;
  RemoveAll();
  content_ = {};
  created_ = true;
  dirty_ = true;
  return true;
}

void PDBDatabase::RemoveDatabase() {
  file_.CloseFile();
  const std::string& folder = file_.FilePath();
  if (!folder.ends_with('\\') && !folder.ends_with('/')) file_.FilePath(folder + '\\');
  file_.FullFileName(FileName());
  file_.DeleteFile();
}

void PDBDatabase::Remove(std::int32_t id) {
  std::int32_t index = 0;
  std::int32_t uniqueID = 0;
  std::int16_t category = 0;
  std::int32_t attributes = 0;
  ReadNextById(id, index, uniqueID, category, attributes);
  if (index == 0) return;
  Entry& entry = EntryAt(index);
  entry.length = 0;
  entry.attributes = kRecordDeleted;
  dirty_ = true;
}

void PDBDatabase::RemoveAll() {
  entries_.clear();
  pool_ = BytePool();
  dirty_ = true;
}

std::int32_t PDBDatabase::RecordCount() const {
  const auto count = std::count_if(entries_.begin(), entries_.end(), [](const Entry& e) { return e.IsPresent(); });
  return CheckedCast<std::int16_t>(count);
}

void PDBDatabase::Update(std::int32_t index, std::int32_t uniqueID, std::int16_t /*category*/, std::int32_t attributes,
                         ByteView data) {
  if (data.empty()) RaiseOutOfRange();
  const std::int32_t length = CheckedCast<std::int32_t>(data.size() - 1);
  const bool appends = index == kAppend || index > EntryCount();
  if (appends) entries_.emplace_back();
  Entry& entry = EntryAt(appends ? EntryCount() : index);
  entry.data = pool_.Add(data);
  entry.length = length;
  entry.offset = 0;
  entry.uniqueId = uniqueID;
  entry.attributes = attributes;
  dirty_ = true;
}

// --- Writing --------------------------------------------------------------------------------------------------------

void PDBDatabase::CloseDatabase(OnDisk onDisk) {
  if (created_ || dirty_) {
    if (!created_) LoadEverything();
    file_.CloseFile();
    WriteFile(PrepareToWrite(), onDisk);
    ForgetData();
    created_ = false;
    dirty_ = false;
  }
  file_.CloseFile();
  if (isUnsynced_ && onDisk == OnDisk::Now) SyncFile();
  content_ = {};
}

/// Takes everything that still lies in the opened file alone into memory.
void PDBDatabase::LoadEverything() {
  ReadAppInfoBlock();
  ReadSortInfoBlock();
  for (Entry& entry : entries_) entry.data = Content(entry);
  iterationIndex_ = EntryCount() + 1;
}

/// What is written lies in the file.
void PDBDatabase::ForgetData() {
  for (Entry& entry : entries_) entry.data = {};
  pool_ = BytePool();
}

/// Raises what is wrong with the database before the file is touched.
PDBDatabase::Head PDBDatabase::PrepareToWrite() {
  const std::int32_t dataStart = LayOut();
  if (databaseFor_ != kWithoutIds) AssignUniqueIds();
  AssignOffsets(dataStart);
  header_.modificationDate = PDBUtils::DateToPalmLong(DateFromCivil(clock_.Now()));
  return {HeaderBytes(), EntryBytes()};
}

/// Places the blocks; returns where the records' part of the file starts. Entries that are dropped from the list keep
/// their room in it.
std::int32_t PDBDatabase::LayOut() {
  const bool fixedBlocks = databaseFor_ == kWithoutIds || databaseFor_ == kSwapped;
  const auto room = [&](std::int32_t size) { return size > 0 && fixedBlocks ? kFixedBlockSize : size; };
  std::int32_t end = CheckedAdd(kHeaderSize, CheckedMultiply(EntryCount(), kEntrySize));
  header_.appInfoOffset = appInfoSize_ > 0 ? end : 0;
  end = CheckedAdd(end, room(appInfoSize_));
  header_.sortInfoOffset = sortInfoSize_ > 0 ? end : 0;
  return CheckedAdd(end, room(sortInfoSize_));
}

void PDBDatabase::AssignUniqueIds() {
  header_.highestId = 0;
  header_.nextId = 0;
  for (const Entry& entry : entries_) {
    if (!entry.IsPresent() || entry.uniqueId <= header_.highestId) continue;
    header_.highestId = entry.uniqueId;
    header_.nextId = CheckedAdd(entry.uniqueId, 1);
  }
  if (header_.nextId == 0) header_.nextId = 1;
  for (Entry& entry : entries_) {
    if (!entry.IsPresent() || entry.uniqueId != 0) continue;
    entry.uniqueId = header_.nextId;
    header_.highestId = CheckedAdd(header_.highestId, 1);
    header_.nextId = CheckedAdd(header_.nextId, 1);
  }
}

void PDBDatabase::AssignOffsets(std::int32_t dataStart) {
  std::int32_t offset = CheckedAdd(dataStart, kGapSize);
  for (Entry& entry : entries_) {
    if (!entry.IsPresent()) continue;
    if (databaseFor_ == kWithoutIds) entry.uniqueId = 0;
    entry.offset = offset;
    offset = CheckedAdd(offset, entry.length);
  }
}

Bytes PDBDatabase::HeaderBytes() const {
  PDBByteStream stream = NewStream();
  std::int32_t pos = 0;
  stream.FixStringToByte(header_.name, pos, kNameWidth);
  stream.IntegerToByte(header_.attributes, pos, kBigEndian);
  stream.IntegerToByte(header_.version, pos, kBigEndian);
  stream.LongToByte(header_.creationDate, pos, kBigEndian);
  stream.LongToByte(header_.modificationDate, pos, kBigEndian);
  stream.LongToByte(header_.backupDate, pos, kBigEndian);
  stream.LongToByte(header_.modificationNumber, pos, kBigEndian);
  stream.LongToByte(header_.appInfoOffset, pos, kBigEndian);
  stream.LongToByte(header_.sortInfoOffset, pos, kBigEndian);
  stream.FixStringToByte(kType, pos, kIdWidth);
  stream.FixStringToByte(header_.creatorId, pos, kIdWidth);
  stream.LongToByte(header_.highestId, pos, kBigEndian);
  stream.LongToByte(header_.nextId, pos, kBigEndian);
  stream.IntegerToByte(PDBUtils::UnsignedToInteger(RecordCount()), pos, kBigEndian);
  return stream.ByteArray();
}

/// The list of the entries that are present, with its spare byte; nothing when there is none.
Bytes PDBDatabase::EntryBytes() const {
  PDBByteStream stream = NewStream();
  if (const std::int32_t count = RecordCount(); count > 0) stream.Resize(count * kEntrySize + 1);
  std::int32_t pos = 0;
  for (const Entry& entry : entries_) {
    if (!entry.IsPresent()) continue;
    stream.LongToByte(entry.offset, pos, kBigEndian);
    stream.SetByte(static_cast<std::uint8_t>(entry.attributes & 0xFF), pos);
    stream.Int24ToByte(entry.uniqueId, pos, kLittleEndian);
  }
  return stream.ByteArray();
}

void PDBDatabase::WriteFile(const Head& head, OnDisk onDisk) {
  if (!file_.OpenFile(FileName(), "W")) RaiseFileFailure();
  file_.Reset();
  try {
    WriteContent(head);
  } catch (const Error&) {
    // Closed with the cursor at the start it is an empty file, which nobody takes for a table.
    file_.Reset();
    file_.CloseFile();
    throw;
  }
  if (!file_.CloseFile(onDisk)) RaiseFileFailure();
  isUnsynced_ = onDisk == OnDisk::Later;
}

void PDBDatabase::WriteContent(const Head& head) {
  FileWriter writer(file_);
  bool isWritten = writer.Put(0, head.header) && writer.Put(kHeaderSize, head.entries) &&
                   writer.Put(header_.appInfoOffset, appInfo_) && writer.Put(header_.sortInfoOffset, sortInfo_);
  for (const Entry& entry : entries_) {
    if (entry.IsPresent()) isWritten = isWritten && writer.Put(entry.offset, entry.data);
  }
  if (!isWritten || !writer.Finish()) RaiseFileFailure();
}

/// Opened for writing and closed at its end: only who may write to a file may sync it everywhere.
void PDBDatabase::SyncFile() {
  if (!file_.OpenFile(FileName(), "RW")) RaiseFileFailure();
  file_.SetCursorPos(file_.FileSize());
  if (!file_.CloseFile()) RaiseFileFailure();
  isUnsynced_ = false;
}

}  // namespace mv
