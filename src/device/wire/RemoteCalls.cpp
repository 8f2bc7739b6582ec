#include "device/wire/RemoteCalls.h"

#include <algorithm>
#include <utility>

#include "base/Utf.h"
#include "device/wire/Results.h"

namespace mv::wire {
namespace {

constexpr std::size_t kLengthWord = 4;
constexpr std::uint32_t kNoHandle = 0xFFFFFFFF;
/// UTF-16 units of a path, with its NUL.
constexpr std::size_t kLongestPath = 260;

/// Error codes of the handheld.
constexpr std::uint32_t kFileNotFound = 2;
constexpr std::uint32_t kPathNotFound = 3;
constexpr std::uint32_t kNoMoreFiles = 18;
constexpr std::uint32_t kInvalidName = 123;

/// What CeFindAllFiles is to tell of each file.
constexpr std::uint32_t kTellAttributes = 0x01;
constexpr std::uint32_t kTellWriteTime = 0x08;
constexpr std::uint32_t kTellSizeHigh = 0x10;
constexpr std::uint32_t kTellSizeLow = 0x20;
constexpr std::uint32_t kTellName = 0x80;
/// Bytes of such an entry without its name.
constexpr std::size_t kShortestEntry = 4 + 4 + 8 + 4 + 4;

/// The HRESULT of an error code of the handheld, or of what is one already.
std::int32_t ResultOf(std::uint32_t error) {
  constexpr std::uint32_t kFailure = 0x80000000;
  constexpr std::uint32_t kOfAnErrorCode = 0x80070000;
  const bool isResult = (error & kFailure) != 0;
  return static_cast<std::int32_t>(isResult ? error : kOfAnErrorCode | (error & 0xFFFF));
}

/// Bytes of a version record up to its build number and platform.
constexpr std::size_t kShortestVersion = 20;

}  // namespace

RemoteCalls::RemoteCalls(std::unique_ptr<CallChannel> channel, MessageVersion version,
                         std::chrono::milliseconds replyTime, WireLog& log)
    : channel_(std::move(channel)), version_(version), replyTime_(replyTime), log_(log) {}

// ---- Requests and replies

MessageWriter RemoteCalls::Request(Command command) const {
  MessageWriter request;
  request.Word(command.Number(version_));
  return request;
}

bool RemoteCalls::CanBeSent(const std::string& path) {
  return path.find('\0') == path.npos && Utf16FromUtf8(path).size() < kLongestPath;
}

void RemoteCalls::Refuse(std::uint32_t lastError) {
  error_ = isUsable_ ? 0 : results::kFailed;
  lastError_ = lastError;
}

std::nullopt_t RemoteCalls::RefuseName() {
  Refuse(kInvalidName);
  return std::nullopt;
}

void RemoteCalls::PutPath(MessageWriter& request, const std::string& path) const {
  std::string sent = path;
  std::replace(sent.begin(), sent.end(), '/', '\\');
  if (IsV1()) {
    request.String(sent);
  } else {
    request.ShortString(sent);
  }
}

bool RemoteCalls::Check(bool isGood, const char* problem) {
  if (isGood) return true;
  log_.Line(problem);
  isUsable_ = false;
  error_ = results::kFailed;
  return false;
}

void RemoteCalls::Note(const char* direction, const char* name, std::size_t size) {
  if (log_.IsOn()) log_.Line(direction + std::string(name) + ", " + std::to_string(size) + " bytes");
}

std::optional<MessageReader> RemoteCalls::Run(const char* name, const MessageWriter& request, const ReplyRoom& room) {
  const Bytes message = request.Framed();
  const ByteView whole(message);
  return RunPieces(name, {&whole, 1}, room);
}

std::optional<MessageReader> RemoteCalls::RunPieces(const char* name, std::span<const ByteView> request,
                                                    const ReplyRoom& room) {
  lastError_ = 0;
  error_ = isUsable_ ? 0 : results::kFailed;
  if (!isUsable_) return std::nullopt;
  std::size_t size = 0;
  for (const ByteView piece : request) size += piece.size();
  Note("> ", name, size - kLengthWord);
  const std::optional<Reply> reply = channel_->Exchange(request, replyTime_, room);
  if (!Check(reply.has_value(), "the connection is lost")) return std::nullopt;
  Note("< ", name, reply->kept.size() + reply->placed);
  MessageReader reader(reply->kept);
  if (!IsV1()) return reader;
  const std::uint32_t status = reader.Word();
  const std::uint32_t refusal = status == 1 ? reader.Word() : 0;
  if (!Check(reader.IsGood() && status <= 1, "the reply has no status")) return std::nullopt;
  error_ = static_cast<std::int32_t>(refusal);
  if (error_ != 0) return std::nullopt;
  return reader;
}

std::optional<std::uint32_t> RemoteCalls::TakeValue(MessageReader& reader) {
  const std::uint32_t lastError = reader.Word();
  if (!IsV1() && lastError != 0 && reader.Remaining() == 0) {
    lastError_ = lastError;
    error_ = ResultOf(lastError);
    return std::nullopt;
  }
  const std::uint32_t value = reader.Word();
  if (!Check(reader.IsGood(), "the reply has no result")) return std::nullopt;
  lastError_ = lastError;
  return value;
}

std::optional<std::uint32_t> RemoteCalls::TakeHandle(MessageReader& reader) {
  const std::optional<std::uint32_t> handle = TakeValue(reader);
  return handle == kNoHandle || (handle == 0 && MayBeRefusal()) ? std::nullopt : handle;
}

bool RemoteCalls::MayBeRefusal() const {
  return !IsV1() && lastError_ != 0;
}

bool RemoteCalls::RunOnHandle(const char* name, Command command, std::uint32_t handle) {
  MessageWriter request = Request(command);
  request.Word(handle);
  std::optional<MessageReader> reply = Run(name, request);
  if (!reply) return false;
  return TakeValue(*reply).value_or(0) != 0;
}

// ---- Files

std::optional<std::uint32_t> RemoteCalls::CreateFile(const std::string& path, std::uint32_t access,
                                                     std::uint32_t shareMode, std::uint32_t disposition,
                                                     std::uint32_t flagsAndAttributes) {
  if (!CanBeSent(path)) return RefuseName();
  MessageWriter request = Request(commands::kCreateFile);
  if (!IsV1()) PutPath(request, path);
  constexpr std::uint32_t kNoTemplate = 0;
  for (const std::uint32_t word : {access, shareMode, disposition, flagsAndAttributes, kNoTemplate}) request.Word(word);
  if (IsV1()) PutPath(request, path);
  std::optional<MessageReader> reply = Run("CeCreateFile", request);
  if (!reply) return std::nullopt;
  return TakeHandle(*reply);
}

std::size_t RemoteCalls::BytesBeforeData() const {
  return (IsV1() ? 4 : 3) * sizeof(std::uint32_t);
}

bool RemoteCalls::IsDataNext(ByteView beginning, std::size_t following) const {
  MessageReader reader(beginning);
  const bool isRun = !IsV1() || reader.Word() == 0;
  reader.Word();  // last error
  const bool isDone = reader.Word() != 0;
  return isRun && isDone && reader.Word() == following;
}

std::optional<std::size_t> RemoteCalls::ReadFile(std::uint32_t handle, ByteSpan out) {
  const auto wanted = static_cast<std::uint32_t>(out.size());
  MessageWriter request = Request(commands::kReadFile);
  request.Word(handle);
  if (IsV1()) {
    request.OutBuffer(wanted);
    request.InBuffer(std::nullopt);
  } else {
    request.Word(wanted);
  }
  bool isPlaced = false;
  const auto belongs = [&](ByteView beginning, std::size_t following) {
    return isPlaced = IsDataNext(beginning, following);
  };
  std::optional<MessageReader> reply = Run("CeReadFile", request, {BytesBeforeData(), out, belongs});
  if (!reply) return std::nullopt;
  if (TakeValue(*reply).value_or(0) == 0) return std::nullopt;
  const std::uint32_t count = reply->Word();
  if (isPlaced) return count;
  const ByteView data = reply->Raw(count);
  if (!Check(reply->IsGood(), "the reply is too short")) return std::nullopt;
  if (!Check(data.size() <= out.size(), "the handheld read more than it was asked for")) return std::nullopt;
  std::copy(data.begin(), data.end(), out.begin());
  return data.size();
}

bool RemoteCalls::WriteFile(std::uint32_t handle, ByteView data) {
  MessageWriter request = Request(commands::kWriteFile);
  request.Word(handle);
  MessageWriter ending;
  if (IsV1()) {
    request.InBufferOf(data.size());
    ending.InBuffer(std::nullopt);
  } else {
    request.Word(static_cast<std::uint32_t>(data.size()));
  }
  const Bytes beginning = request.Framed(data.size() + ending.Size());
  const ByteView pieces[] = {beginning, data, ending.Content()};
  std::optional<MessageReader> reply = RunPieces("CeWriteFile", pieces, {});
  if (!reply) return false;
  if (TakeValue(*reply).value_or(0) == 0) return false;
  const std::uint32_t written = reply->Word();
  return Check(reply->IsGood(), "the reply is too short") && written >= data.size();
}

std::optional<std::uint32_t> RemoteCalls::GetFileSize(std::uint32_t handle) {
  MessageWriter request = Request(commands::kGetFileSize);
  request.Word(handle);
  request.OutBuffer(std::nullopt);  // no high part; the same bytes in both versions
  std::optional<MessageReader> reply = Run("CeGetFileSize", request);
  if (!reply) return std::nullopt;
  const std::optional<std::uint32_t> size = TakeValue(*reply);
  return size == rapi::kNoFileSize || (size == 0 && MayBeRefusal()) ? std::nullopt : size;
}

bool RemoteCalls::CloseHandle(std::uint32_t handle) {
  return RunOnHandle("CeCloseHandle", commands::kCloseHandle, handle);
}

// ---- Finding

std::optional<RemoteCalls::Found> RemoteCalls::FindFirstFile(const std::string& path) {
  if (!CanBeSent(path)) return RefuseName();
  MessageWriter request = Request(commands::kFindFirstFile);
  PutPath(request, path);
  std::optional<MessageReader> reply = Run("CeFindFirstFile", request);
  if (!reply) return std::nullopt;
  const std::optional<std::uint32_t> handle = TakeHandle(*reply);
  if (!handle) return std::nullopt;
  Found found{*handle, std::nullopt};
  if (reply->Remaining() == 0) return found;
  MessageReader record(reply->Counted());
  if (!Check(reply->IsGood(), "the record is longer than the reply")) return std::nullopt;
  record.Raw(4 + 3 * 8 + 4);  // attributes, three times, high part of the size
  const std::uint32_t sizeLow = record.Word();
  if (record.IsGood()) found.sizeLow = sizeLow;
  return found;
}

bool RemoteCalls::FindClose(std::uint32_t handle) {
  return RunOnHandle("CeFindClose", commands::kFindClose, handle);
}

bool RemoteCalls::NothingFits() const {
  return lastError_ == kFileNotFound || lastError_ == kPathNotFound || lastError_ == kNoMoreFiles;
}

std::optional<std::vector<DeviceEntry>> RemoteCalls::FindAllFiles(const std::string& pattern) {
  if (!CanBeSent(pattern)) return RefuseName();
  MessageWriter request = Request(commands::kFindAllFiles);
  PutPath(request, pattern);
  request.Word(kTellAttributes | kTellWriteTime | kTellSizeHigh | kTellSizeLow | kTellName);
  std::optional<MessageReader> reply = Run("CeFindAllFiles", request);
  if (!reply) return std::nullopt;
  if (!IsV1()) {
    const std::optional<std::uint32_t> value = TakeValue(*reply);
    if (!value) return std::nullopt;
    if (*value == 0) return NothingFits() ? std::optional(std::vector<DeviceEntry>()) : std::nullopt;
  }
  return TakeEntries(*reply);
}

std::optional<std::vector<DeviceEntry>> RemoteCalls::TakeEntries(MessageReader& reader) {
  const std::uint32_t count = reader.Word();
  if (!Check(count <= reader.Remaining() / kShortestEntry, "the list is longer than the reply")) return std::nullopt;
  std::vector<DeviceEntry> entries;
  for (std::uint32_t i = 0; i < count; ++i) entries.push_back(TakeEntry(reader));
  if (!Check(reader.IsGood(), "the list is longer than the reply")) return std::nullopt;
  return entries;
}

DeviceEntry RemoteCalls::TakeEntry(MessageReader& reader) const {
  DeviceEntry entry;
  const std::uint64_t length = reader.Word();
  entry.attributes = reader.Word();
  entry.lastWriteTime = reader.Long();
  const std::uint64_t sizeHigh = reader.Word();
  entry.size = sizeHigh << 32 | reader.Word();
  const std::uint64_t bytes = IsV1() ? length * 2 : length;
  entry.name = reader.TextAndNul(static_cast<std::size_t>(std::min<std::uint64_t>(bytes, reader.Remaining() + 2)));
  return entry;
}

// ---- The handheld itself

std::optional<SystemVersion> RemoteCalls::GetVersionEx() {
  std::optional<MessageReader> reply = Run("CeGetVersionEx", Request(commands::kGetVersionEx));
  if (!reply) return std::nullopt;
  if (TakeValue(*reply).value_or(0) == 0) return std::nullopt;
  MessageReader record(reply->Counted());
  const bool isWhole = reply->IsGood() && record.Remaining() >= kShortestVersion;
  if (!Check(isWhole, "the version is too short")) return std::nullopt;
  record.Word();  // its own size
  SystemVersion version;
  version.major = record.Word();
  version.minor = record.Word();
  version.build = record.Word();
  return version;
}

}  // namespace mv::wire
