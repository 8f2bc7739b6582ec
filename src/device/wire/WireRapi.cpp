#include "device/wire/WireRapi.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "device/wire/ControlService.h"

namespace mv::wire {
namespace {

constexpr std::uint32_t kWaitFailed = 0xFFFFFFFF;
constexpr std::uint32_t kInvalidHandle = 6;
/// The first system for which the rule for the messages' version was never tried.
constexpr std::uint32_t kFirstUntriedSystem = 6;

std::uint32_t SizeByName(RemoteCalls& calls, const std::string& path) {
  const std::optional<RemoteCalls::Found> found = calls.FindFirstFile(path);
  if (!found) return rapi::kNoFileSize;
  calls.FindClose(found->handle);
  return found->sizeLow.value_or(rapi::kNoFileSize);
}

}  // namespace

WireRapi::WireRapi(WireOptions options)
    : options_(std::move(options)), blockSize_(std::max<std::size_t>(options_.blockSize, 1)), log_(options_.log) {}

WireRapi::~WireRapi() {
  if (isStarted_) WireRapi::CeRapiUninit();
}

void WireRapi::Listen() {
  if (lines_ && !linesAreOthers_) return;
  // The other program may have begun or ended since the last attempt.
  if (options_.findLines) lines_ = options_.findLines();
  linesAreOthers_ = lines_ != nullptr;
  if (!lines_) lines_ = std::make_unique<ControlService>(options_, log_);
}

bool WireRapi::CanListen() {
  try {
    Listen();
    return true;
  } catch (const std::exception& error) {  // of this program, or of a system that has no more threads
    log_.Line(error.what());
    return false;
  }
}

WireStatus WireRapi::Status() const {
  return lines_ ? lines_->Status() : WireStatus{{}, {}, {}, "not listening yet"};
}

// ---- Connection

std::int32_t WireRapi::CeRapiInitEx(RAPIINIT& init) {
  rapiError_ = 0;
  if (calls_) return results::kAlreadyConnected;
  if (!CanListen()) return rapiError_ = results::kFailed;
  isStarted_ = true;
  caller_ = &init;
  event_ = nextHandle_++;
  init.heRapiInit = event_;
  init.hrRapiInit = results::kConnected;
  lines_->Ask();
  return results::kConnected;
}

std::uint32_t WireRapi::WaitForSingleObject(RapiHandle event, std::uint32_t milliseconds) {
  if (event != event_) return kWaitFailed;
  if (caller_ == nullptr) return rapi::kWaitSignalled;
  const auto until = platform::WaitLimit::After(std::chrono::milliseconds(milliseconds)).until;
  std::optional<AttemptResult> result = lines_->Wait(until, options_.password);
  if (!result) return rapi::kWaitTimeout;
  caller_->hrRapiInit = result->line ? TakeLine(std::move(*result->line)) : result->code;
  caller_ = nullptr;
  return rapi::kWaitSignalled;
}

std::int32_t WireRapi::TakeLine(CallLine line) {
  const bool isTried = line.handheld.major < kFirstUntriedSystem || options_.messages;
  handheld_ = std::move(line.handheld);
  address_ = line.address;
  calls_.emplace(std::make_unique<TcpCallChannel>(std::move(line.stream), std::move(line.lost), log_), line.version,
                 options_.times.connect, log_);
  const bool understands = isTried || calls_->GetVersionEx();
  calls_->SetReplyTime(options_.times.reply);
  if (understands) return results::kConnected;
  log_.Line("the handheld does not take this version of the messages; the other one can be set");
  calls_.reset();
  return results::kFailed;
}

std::int32_t WireRapi::CeRapiUninit() {
  if (!isStarted_) return results::kFailed;
  CloseAll();
  lines_->Withdraw();
  calls_.reset();
  caller_ = nullptr;
  event_ = 0;
  isStarted_ = false;
  rapiError_ = 0;
  return 0;
}

/// Whether a handheld closes what a connection that ends had open is not known, and it refuses to open such a file
/// again.
void WireRapi::CloseAll() {
  if (calls_) calls_->SetReplyTime(options_.times.connect);
  for (const auto& [handle, open] : handles_) {
    if (calls_ && calls_->IsUsable()) CloseOnHandheld(*calls_, open);
  }
  handles_.clear();
}

// ---- Errors

void WireRapi::NoteErrors() {
  rapiError_ = calls_->Error();
  lastError_ = calls_->LastError();
  if (calls_->IsUsable()) return;
  calls_.reset();
  handles_.clear();
}

template <typename Result, typename Call>
Result WireRapi::Report(Result failure, Call call) {
  lastError_ = 0;
  rapiError_ = results::kFailed;
  if (!calls_) return failure;
  const Result result = call(*calls_);
  NoteErrors();
  return result;
}

// ---- Handles

RapiHandle WireRapi::Remember(HandleKind kind, std::uint32_t number, const std::string& path) {
  const RapiHandle handle = nextHandle_++;
  handles_.emplace(handle, OpenHandle{kind, number, path});
  return handle;
}

std::optional<WireRapi::OpenHandle> WireRapi::Find(RapiHandle handle, HandleKind kind) {
  const auto found = handles_.find(handle);
  if (found != handles_.end() && found->second.kind == kind) return found->second;
  calls_->Refuse(kInvalidHandle);
  return std::nullopt;
}

bool WireRapi::CloseOnHandheld(RemoteCalls& calls, const OpenHandle& open) {
  return open.kind == HandleKind::File ? calls.CloseHandle(open.number) : calls.FindClose(open.number);
}

std::int32_t WireRapi::CloseHandleOf(HandleKind kind, RapiHandle handle) {
  return Report(std::int32_t{0}, [&](RemoteCalls& calls) {
    const std::optional<OpenHandle> open = Find(handle, kind);
    if (!open) return 0;
    handles_.erase(handle);
    return CloseOnHandheld(calls, *open) ? rapi::kDone : 0;
  });
}

std::int32_t WireRapi::CeCloseHandle(RapiHandle handle) {
  return CloseHandleOf(HandleKind::File, handle);
}

std::int32_t WireRapi::CeFindClose(RapiHandle handle) {
  return CloseHandleOf(HandleKind::Find, handle);
}

// ---- Files

RapiHandle WireRapi::CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode, std::uint32_t,
                                  std::uint32_t disposition, std::uint32_t flagsAndAttributes) {
  return Report(kInvalidRapiHandle, [&](RemoteCalls& calls) {
    const auto number = calls.CreateFile(path, access, shareMode, disposition, flagsAndAttributes);
    return number ? Remember(HandleKind::File, *number, path) : kInvalidRapiHandle;
  });
}

std::uint32_t WireRapi::CeGetFileSize(RapiHandle file) {
  return Report(rapi::kNoFileSize, [&](RemoteCalls& calls) {
    const std::optional<OpenHandle> open = Find(file, HandleKind::File);
    if (!open) return rapi::kNoFileSize;
    const std::optional<std::uint32_t> size = calls.GetFileSize(open->number);
    // How this request looks in version 2 is known from one place only, so the handheld may have misread it.
    const bool mayBeMisread = !size && calls.IsUsable() && calls.Version() == MessageVersion::V2;
    return mayBeMisread ? SizeByName(calls, open->path) : size.value_or(rapi::kNoFileSize);
  });
}

std::int32_t WireRapi::CeReadFile(RapiHandle file, ByteSpan out, std::uint32_t& bytesRead) {
  bytesRead = 0;
  return Report(std::int32_t{0}, [&](RemoteCalls& calls) {
    const std::optional<OpenHandle> open = Find(file, HandleKind::File);
    if (!open) return 0;
    do {
      const ByteSpan rest = out.subspan(bytesRead);
      const auto count = calls.ReadFile(open->number, rest.first(std::min(rest.size(), blockSize_)));
      if (!count || (*count == 0 && !rest.empty())) return 0;
      bytesRead += static_cast<std::uint32_t>(*count);
    } while (bytesRead < out.size());
    return rapi::kDone;
  });
}

std::int32_t WireRapi::CeWriteFile(RapiHandle file, ByteView data, std::uint32_t& bytesWritten) {
  bytesWritten = 0;
  return Report(std::int32_t{0}, [&](RemoteCalls& calls) {
    const std::optional<OpenHandle> open = Find(file, HandleKind::File);
    if (!open) return 0;
    do {
      const ByteView rest = data.subspan(bytesWritten);
      const ByteView block = rest.first(std::min(rest.size(), blockSize_));
      if (!calls.WriteFile(open->number, block)) return 0;
      bytesWritten += static_cast<std::uint32_t>(block.size());
    } while (bytesWritten < data.size());
    return rapi::kDone;
  });
}

// ---- Finding and asking

RapiHandle WireRapi::CeFindFirstFile(const std::string& path) {
  return Report(kInvalidRapiHandle, [&](RemoteCalls& calls) {
    const std::optional<RemoteCalls::Found> found = calls.FindFirstFile(path);
    return found ? Remember(HandleKind::Find, found->handle, path) : kInvalidRapiHandle;
  });
}

std::int32_t WireRapi::CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) {
  entries.clear();
  return Report(std::int32_t{0}, [&](RemoteCalls& calls) {
    std::optional<std::vector<DeviceEntry>> found = calls.FindAllFiles(pattern);
    if (!found) return 0;
    entries = std::move(*found);
    return rapi::kDone;
  });
}

std::int32_t WireRapi::DescribeHandheld(HandheldFacts& facts) {
  facts = {};
  return Report(std::int32_t{0}, [&](RemoteCalls& calls) {
    const std::optional<SystemVersion> version = calls.GetVersionEx();
    if (!version) return 0;
    facts = {version, handheld_.name, handheld_.platform, handheld_.model, address_.HostText()};
    return rapi::kDone;
  });
}

}  // namespace mv::wire
