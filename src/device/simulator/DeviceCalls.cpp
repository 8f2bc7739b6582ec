#include "device/simulator/DeviceCalls.h"

#include <algorithm>
#include <utility>

#include "base/Utf.h"
#include "device/simulator/DeviceErrors.h"

namespace mv::simulator {
namespace {

using wire::MessageReader;
using wire::MessageVersion;
using wire::MessageWriter;

constexpr std::uint32_t kNoHandle = 0xFFFFFFFF;
constexpr std::uint32_t kNoValue = 0xFFFFFFFF;
constexpr std::uint32_t kNotImplemented = 0x80004001;   // E_NOTIMPL
constexpr std::uint32_t kInvalidArgument = 0x80070057;  // E_INVALIDARG
/// Nobody tells files apart by it.
constexpr std::uint32_t kObjectId = 0x01000042;
constexpr std::size_t kMostSearches = 1000;

/// Bytes of a find record.
constexpr std::size_t kRecordSize = 560;

void Result(MessageWriter& results, std::uint32_t lastError, std::uint32_t value) {
  results.Word(lastError);
  results.Word(value);
}

/// Of a call that returns 1 or 0.
void Done(MessageWriter& results, std::uint32_t error) {
  Result(results, error, error == device_errors::kNone ? 1 : 0);
}

std::uint32_t LowWord(std::uint64_t value) {
  return static_cast<std::uint32_t>(value);
}

std::uint32_t HighWord(std::uint64_t value) {
  return static_cast<std::uint32_t>(value >> 32);
}

Bytes Words(std::initializer_list<std::uint32_t> words) {
  MessageWriter writer;
  for (const std::uint32_t word : words) writer.Word(word);
  return writer.Content();
}

}  // namespace

DeviceCalls::DeviceCalls(DeviceStore& store, const SimulatorOptions& options)
    : store_(store), options_(options), version_(VersionOf(options)) {}

DeviceCalls::~DeviceCalls() {
  for (const DeviceStore::FileNumber file : files_) store_.Close(file);
}

const std::vector<DeviceCalls::Call>& DeviceCalls::Calls() {
  namespace commands = wire::commands;
  static const std::vector<Call> calls = {
      {commands::kCreateFile, "CeCreateFile", &DeviceCalls::AnswerCreateFile},
      {commands::kReadFile, "CeReadFile", &DeviceCalls::AnswerReadFile},
      {commands::kWriteFile, "CeWriteFile", &DeviceCalls::AnswerWriteFile},
      {commands::kCloseHandle, "CeCloseHandle", &DeviceCalls::AnswerCloseHandle},
      {commands::kGetFileSize, "CeGetFileSize", &DeviceCalls::AnswerGetFileSize},
      {commands::kSetFilePointer, "CeSetFilePointer", &DeviceCalls::AnswerSetFilePointer},
      {commands::kSetEndOfFile, "CeSetEndOfFile", &DeviceCalls::AnswerSetEndOfFile},
      {commands::kFindFirstFile, "CeFindFirstFile", &DeviceCalls::AnswerFindFirstFile},
      {commands::kFindNextFile, "CeFindNextFile", &DeviceCalls::AnswerFindNextFile},
      {commands::kFindClose, "CeFindClose", &DeviceCalls::AnswerFindClose},
      {commands::kFindAllFiles, "CeFindAllFiles", &DeviceCalls::AnswerFindAllFiles},
      {commands::kGetFileAttributes, "CeGetFileAttributes", &DeviceCalls::AnswerGetFileAttributes},
      {commands::kSetFileAttributes, "CeSetFileAttributes", &DeviceCalls::AnswerSetFileAttributes},
      {commands::kDeleteFile, "CeDeleteFile", &DeviceCalls::AnswerDeleteFile},
      {commands::kCreateDirectory, "CeCreateDirectory", &DeviceCalls::AnswerCreateDirectory},
      {commands::kRemoveDirectory, "CeRemoveDirectory", &DeviceCalls::AnswerRemoveDirectory},
      {commands::kMoveFile, "CeMoveFile", &DeviceCalls::AnswerMoveFile},
      {commands::kCopyFile, "CeCopyFile", &DeviceCalls::AnswerCopyFile},
      {commands::kGetVersionEx, "CeGetVersionEx", &DeviceCalls::AnswerGetVersionEx},
      {commands::kGetStoreInformation, "CeGetStoreInformation", &DeviceCalls::AnswerGetStoreInformation},
      {commands::kGetSystemInfo, "CeGetSystemInfo", &DeviceCalls::AnswerGetSystemInfo},
      {commands::kGetSystemPowerStatusEx, "CeGetSystemPowerStatusEx", &DeviceCalls::AnswerGetSystemPowerStatusEx},
      {commands::kGetSpecialFolderPath, "CeGetSpecialFolderPath", &DeviceCalls::AnswerGetSpecialFolderPath},
      {commands::kGetSystemMemoryDivision, "GetSystemMemoryDivision", &DeviceCalls::AnswerGetSystemMemoryDivision},
  };
  return calls;
}

const DeviceCalls::Call* DeviceCalls::Find(std::uint32_t number, MessageVersion version) {
  if (number == wire::kNoCommand) return nullptr;
  const auto found = std::find_if(Calls().begin(), Calls().end(),
                                  [&](const Call& call) { return call.command.Number(version) == number; });
  return found == Calls().end() ? nullptr : &*found;
}

std::string_view DeviceCalls::NameOf(ByteView request, MessageVersion version) {
  const Call* call = Find(MessageReader(request).Word(), version);
  return call == nullptr ? "?" : call->name;
}

Bytes DeviceCalls::Answer(ByteView request) {
  MessageReader arguments(request);
  const std::uint32_t number = arguments.Word();
  const Call* call = arguments.IsGood() ? Find(number, version_) : nullptr;
  if (call == nullptr) return Refused(kNotImplemented, device_errors::kNotImplemented);
  MessageWriter reply;
  if (IsV1()) reply.Word(0);
  const bool understood = (this->*call->handler)(arguments, reply);
  return understood ? reply.Content() : Refused(kInvalidArgument, device_errors::kBadParameter);
}

Bytes DeviceCalls::Refused(std::uint32_t result, std::uint32_t lastError) const {
  return IsV1() ? Words({1, result}) : Words({lastError, 0});
}

std::string DeviceCalls::Path(MessageReader& arguments) const {
  return (IsV1() ? arguments.String() : arguments.ShortString()).value_or("");
}

std::string DeviceCalls::OptionalPath(MessageReader& arguments) const {
  return (IsV1() ? arguments.OptionalString() : arguments.ShortString()).value_or("");
}

void DeviceCalls::Block(MessageWriter& results, ByteView bytes) const {
  if (IsV1()) return results.Returned(bytes);
  results.Raw(bytes);
}

// ---- Open files

bool DeviceCalls::AnswerCreateFile(MessageReader& arguments, MessageWriter& results) {
  std::string path;
  if (!IsV1()) path = Path(arguments);
  OpenRequest request;
  request.access = arguments.Word();
  arguments.Word();  // share mode: the rule of the store is stricter than any
  request.disposition = arguments.Word();
  arguments.Word();  // flags and attributes
  arguments.Word();  // template
  if (IsV1()) path = Path(arguments);
  if (!arguments.IsGood()) return false;
  std::optional<DeviceStore::FileNumber> file;
  const std::uint32_t error = store_.Open(path, request, file);
  if (file) files_.insert(*file);
  Result(results, error, file.value_or(kNoHandle));
  return true;
}

bool DeviceCalls::AnswerReadFile(MessageReader& arguments, MessageWriter& results) {
  const std::uint32_t handle = arguments.Word();
  const std::uint32_t wanted = IsV1() ? arguments.OutBuffer().value_or(0) : arguments.Word();
  if (IsV1()) arguments.InBuffer();
  if (!arguments.IsGood()) return false;
  Bytes bytes;
  const std::uint32_t longest = options_.faults.longestRead;
  const std::uint32_t count = longest == 0 ? wanted : std::min(wanted, longest);
  const std::uint32_t error =
      files_.contains(handle) ? store_.Read(handle, count, bytes) : device_errors::kInvalidHandle;
  Done(results, error);
  results.Counted(bytes);
  return true;
}

std::uint32_t DeviceCalls::RoomFor(DeviceStore::FileNumber file, std::size_t count) {
  const auto limit = options_.faults.fullAfter;
  std::uint64_t position = 0;
  if (!limit || store_.Seek(file, 0, 1, position) != device_errors::kNone) return static_cast<std::uint32_t>(count);
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, *limit - std::min(*limit, position)));
}

bool DeviceCalls::AnswerWriteFile(MessageReader& arguments, MessageWriter& results) {
  const std::uint32_t handle = arguments.Word();
  const ByteView data = IsV1() ? arguments.InBuffer().value_or(ByteView()) : arguments.Counted();
  if (IsV1()) arguments.InBuffer();
  if (!arguments.IsGood()) return false;
  std::uint32_t written = 0;
  std::uint32_t error = device_errors::kInvalidHandle;
  if (files_.contains(handle)) {
    written = RoomFor(handle, data.size());
    error = store_.Write(handle, data.first(written));
    if (error != device_errors::kNone) written = 0;
    if (error == device_errors::kNone && written < data.size()) error = device_errors::kDiskFull;
  }
  Done(results, error);
  results.Word(written);
  return true;
}

bool DeviceCalls::AnswerCloseHandle(MessageReader& arguments, MessageWriter& results) {
  const std::uint32_t handle = arguments.Word();
  if (!arguments.IsGood()) return false;
  Done(results, files_.erase(handle) == 1 ? store_.Close(handle) : device_errors::kInvalidHandle);
  return true;
}

bool DeviceCalls::AnswerGetFileSize(MessageReader& arguments, MessageWriter& results) {
  const std::uint32_t handle = arguments.Word();
  const bool wantsHigh = arguments.OutBuffer().has_value();
  if (!arguments.IsGood()) return false;
  std::uint64_t size = 0;
  const std::uint32_t error = files_.contains(handle) ? store_.Size(handle, size) : device_errors::kInvalidHandle;
  size += options_.faults.addedSize;
  Result(results, error, error == device_errors::kNone ? LowWord(size) : kNoValue);
  const Bytes high = Words({HighWord(size)});
  results.Returned(wantsHigh ? std::optional<ByteView>(high) : std::nullopt);
  return true;
}

bool DeviceCalls::AnswerSetFilePointer(MessageReader& arguments, MessageWriter& results) {
  const std::uint32_t handle = arguments.Word();
  const std::uint32_t low = arguments.Word();
  const bool hasHigh = IsV1() || arguments.Word() != 0;
  const std::uint32_t high = hasHigh ? arguments.Word() : 0;
  const std::uint32_t method = arguments.Word();
  if (!arguments.IsGood()) return false;
  // Without a high word the low one has a sign; version 1 always sends a high word, and sends 0.
  const bool isLong = hasHigh && high != 0;
  const std::int64_t distance = isLong ? static_cast<std::int64_t>(std::uint64_t{high} << 32 | low)
                                       : std::int64_t{static_cast<std::int32_t>(low)};
  std::uint64_t position = 0;
  const std::uint32_t error =
      files_.contains(handle) ? store_.Seek(handle, distance, method, position) : device_errors::kInvalidHandle;
  Result(results, error, error == device_errors::kNone ? LowWord(position) : kNoValue);
  if (!IsV1() && hasHigh) results.Word(HighWord(position));
  return true;
}

bool DeviceCalls::AnswerSetEndOfFile(MessageReader& arguments, MessageWriter& results) {
  const std::uint32_t handle = arguments.Word();
  if (!arguments.IsGood()) return false;
  Done(results, files_.contains(handle) ? store_.EndHere(handle) : device_errors::kInvalidHandle);
  return true;
}

// ---- Searches

void DeviceCalls::FoundRecord(MessageWriter& results, const StoreEntry& entry) const {
  MessageWriter record;
  record.Word(entry.attributes);
  for (int time = 0; time < 3; ++time) record.Long(entry.lastWriteTime);
  record.Word(HighWord(entry.size));
  record.Word(LowWord(entry.size));
  record.Word(kObjectId);
  record.Text(entry.name);
  Bytes bytes = record.Content();
  if (bytes.size() > kRecordSize) bytes.resize(kRecordSize);
  if (options_.faults.findRecord == FindRecord::FullSize) bytes.resize(kRecordSize);
  results.Counted(bytes);
}

void DeviceCalls::NoRecord(MessageWriter& results) const {
  if (options_.faults.findRecord == FindRecord::LeftOutIfNone) return;
  if (options_.faults.findRecord == FindRecord::FullSize) return results.Counted(Bytes(kRecordSize));
  results.Word(0);
}

bool DeviceCalls::AnswerFindFirstFile(MessageReader& arguments, MessageWriter& results) {
  const std::string pattern = Path(arguments);
  if (!arguments.IsGood()) return false;
  Search search;
  std::uint32_t error = store_.Find(pattern, search.entries);
  if (searches_.size() >= kMostSearches) error = device_errors::kTooManyOpenFiles;
  if (error != device_errors::kNone) {
    Result(results, error, kNoHandle);
    NoRecord(results);
    return true;
  }
  const std::uint32_t handle = store_.NextHandle();
  Result(results, device_errors::kNone, handle);
  FoundRecord(results, search.entries[search.next++]);
  searches_.emplace(handle, std::move(search));
  return true;
}

bool DeviceCalls::AnswerFindNextFile(MessageReader& arguments, MessageWriter& results) {
  const auto search = searches_.find(arguments.Word());
  if (!arguments.IsGood()) return false;
  const bool isOpen = search != searches_.end();
  if (!isOpen || search->second.next == search->second.entries.size()) {
    Done(results, isOpen ? device_errors::kNoMoreFiles : device_errors::kInvalidHandle);
    NoRecord(results);
    return true;
  }
  Done(results, device_errors::kNone);
  FoundRecord(results, search->second.entries[search->second.next++]);
  return true;
}

bool DeviceCalls::AnswerFindClose(MessageReader& arguments, MessageWriter& results) {
  const std::uint32_t handle = arguments.Word();
  if (!arguments.IsGood()) return false;
  Done(results, searches_.erase(handle) == 1 ? device_errors::kNone : device_errors::kInvalidHandle);
  return true;
}

bool DeviceCalls::AnswerFindAllFiles(MessageReader& arguments, MessageWriter& results) {
  constexpr std::uint32_t kAttributes = 0x01;
  constexpr std::uint32_t kTimes[] = {0x02, 0x04, 0x08};
  constexpr std::uint32_t kSizeHigh = 0x10;
  constexpr std::uint32_t kSizeLow = 0x20;
  constexpr std::uint32_t kObject = 0x40;
  constexpr std::uint32_t kName = 0x80;
  constexpr std::uint32_t kNotHidden = 0x2000;
  constexpr std::uint32_t kFoldersOnly = 0x4000;

  const std::string pattern = Path(arguments);
  const std::uint32_t flags = arguments.Word();
  if (!arguments.IsGood()) return false;
  std::vector<StoreEntry> entries;
  const std::uint32_t error = store_.Find(pattern, entries);
  std::erase_if(entries, [&](const StoreEntry& entry) {
    return ((flags & kNotHidden) != 0 && (entry.attributes & attributes::kHidden) != 0) ||
           ((flags & kFoldersOnly) != 0 && !entry.IsFolder());
  });
  if (!IsV1()) Done(results, error);
  results.Word(static_cast<std::uint32_t>(entries.size()));
  for (const StoreEntry& entry : entries) {
    const auto characters = static_cast<std::uint32_t>(Utf16FromUtf8(entry.name).size() + 1);
    if ((flags & kName) != 0) results.Word(IsV1() ? characters : 2 * characters);
    if ((flags & kAttributes) != 0) results.Word(entry.attributes);
    for (const std::uint32_t time : kTimes) {
      if ((flags & time) != 0) results.Long(entry.lastWriteTime);
    }
    if ((flags & kSizeHigh) != 0) results.Word(HighWord(entry.size));
    if ((flags & kSizeLow) != 0) results.Word(LowWord(entry.size));
    if ((flags & kObject) != 0) results.Word(kObjectId);
    if ((flags & kName) != 0) results.Text(entry.name);
  }
  return true;
}

// ---- Names

bool DeviceCalls::AnswerGetFileAttributes(MessageReader& arguments, MessageWriter& results) {
  const std::string path = Path(arguments);
  if (!arguments.IsGood()) return false;
  std::uint32_t value = kNoValue;
  const std::uint32_t error = store_.Attributes(path, value);
  Result(results, error, value);
  return true;
}

bool DeviceCalls::AnswerSetFileAttributes(MessageReader& arguments, MessageWriter& results) {
  const std::uint32_t value = arguments.Word();
  const std::string path = Path(arguments);
  if (!arguments.IsGood()) return false;
  Done(results, store_.SetAttributes(path, value));
  return true;
}

bool DeviceCalls::AnswerDeleteFile(MessageReader& arguments, MessageWriter& results) {
  const std::string path = OptionalPath(arguments);
  if (!arguments.IsGood()) return false;
  Done(results, store_.Delete(path));
  return true;
}

bool DeviceCalls::AnswerCreateDirectory(MessageReader& arguments, MessageWriter& results) {
  const std::string path = OptionalPath(arguments);
  if (IsV1()) arguments.InBuffer();  // security attributes
  if (!arguments.IsGood()) return false;
  Done(results, store_.CreateFolder(path));
  return true;
}

bool DeviceCalls::AnswerRemoveDirectory(MessageReader& arguments, MessageWriter& results) {
  const std::string path = OptionalPath(arguments);
  if (!arguments.IsGood()) return false;
  Done(results, store_.RemoveFolder(path));
  return true;
}

bool DeviceCalls::AnswerMoveFile(MessageReader& arguments, MessageWriter& results) {
  const std::string from = OptionalPath(arguments);
  const std::string to = OptionalPath(arguments);
  if (!arguments.IsGood()) return false;
  Done(results, store_.Move(from, to));
  return true;
}

bool DeviceCalls::AnswerCopyFile(MessageReader& arguments, MessageWriter& results) {
  const std::string from = OptionalPath(arguments);
  const std::string to = OptionalPath(arguments);
  const bool failIfExists = arguments.Word() != 0;
  if (!arguments.IsGood()) return false;
  Done(results, store_.Copy(from, to, failIfExists));
  return true;
}

// ---- The system. Arguments that only say how large the caller's buffers are need no look.

bool DeviceCalls::AnswerGetVersionEx(MessageReader&, MessageWriter& results) {
  constexpr std::uint32_t kSize = 276;
  constexpr std::uint32_t kPlatformCe = 3;
  const SimulatedDevice& device = options_.device;
  Bytes info = Words({kSize, device.major, device.minor, device.build, kPlatformCe});
  info.resize(kSize);
  Done(results, device_errors::kNone);
  results.Counted(info);
  return true;
}

bool DeviceCalls::AnswerGetStoreInformation(MessageReader&, MessageWriter& results) {
  constexpr std::uint32_t kTotal = 32 * 1024 * 1024;
  constexpr std::uint32_t kFree = 16 * 1024 * 1024;
  Done(results, device_errors::kNone);
  Block(results, Words({kTotal, kFree}));
  return true;
}

bool DeviceCalls::AnswerGetSystemInfo(MessageReader&, MessageWriter& results) {
  constexpr std::uint32_t kPage = 4096;
  constexpr std::uint32_t kLowest = 0x10000;
  constexpr std::uint32_t kHighest = 0x7FFFFFFF;
  constexpr std::uint32_t kProcessor = 2577;
  constexpr std::uint32_t kGranularity = 0x10000;
  results.Word(device_errors::kNone);
  Block(results, Words({5, kPage, kLowest, kHighest, 1, 1, kProcessor, kGranularity, 4}));
  return true;
}

bool DeviceCalls::AnswerGetSystemPowerStatusEx(MessageReader&, MessageWriter& results) {
  // On mains, battery full; 0xFFFFFFFF: nobody knows how long it lasts.
  const Bytes status = Words({0x00640101, 0xFFFFFFFF, 0xFFFFFFFF, 0x00640100, 0xFFFFFFFF, 0xFFFFFFFF});
  if (IsV1()) results.Word(device_errors::kNone);
  results.Word(1);
  Block(results, status);
  return true;
}

bool DeviceCalls::AnswerGetSpecialFolderPath(MessageReader& arguments, MessageWriter& results) {
  static const std::map<std::uint32_t, std::string_view> kFolders = {
      {0x00, "\\My Documents"},        {0x02, "\\Windows\\Start Menu\\Programs"},
      {0x05, "\\My Documents"},        {0x07, "\\Windows\\StartUp"},
      {0x0B, "\\Windows\\Start Menu"}, {0x10, "\\Windows\\Desktop"},
      {0x14, "\\Windows\\Fonts"},      {0x16, "\\Windows\\Favorites"},
  };
  const std::uint32_t number = arguments.Word();
  const std::uint32_t room = arguments.Word();
  if (!arguments.IsGood()) return false;
  const auto folder = kFolders.find(number);
  const bool isKnown = folder != kFolders.end();
  const bool fits = isKnown && folder->second.size() < room;
  const std::string_view text = fits ? folder->second : std::string_view();
  results.Word(fits ? device_errors::kNone : isKnown ? device_errors::kBufferTooSmall : device_errors::kBadParameter);
  results.Word(static_cast<std::uint32_t>(text.size()));
  results.Text(text);
  return true;
}

bool DeviceCalls::AnswerGetSystemMemoryDivision(MessageReader&, MessageWriter& results) {
  Done(results, device_errors::kNone);
  for (const std::uint32_t value : {4096U, 4096U, 4096U}) results.Returned(Words({value}));
  return true;
}

}  // namespace mv::simulator
