#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "base/Text.h"
#include "device/DevicePattern.h"
#include "device/Rapi.h"

namespace mv::testing {

/// A handheld in memory with the contract of Rapi, for tests: it writes down the calls it gets and fails when told to.
/// Folders need not exist. Unlike the folder handheld it changes a file with every write, as a device does.
class FakeRapi : public Rapi {
 public:
  /// Every call, with the arguments that matter ("CeCreateFile \a.pdb 40000000 1 1 2 80"); CeRapiGetError is left out.
  std::vector<std::string> calls;
  /// The connection's results.
  std::int32_t initResult = 0;
  std::int32_t initResultInRecord = 0;
  std::int32_t resultInRecordAfterWait = 0;
  std::uint32_t waitResult = 0;
  /// The waits of the attempt so far: it times out until this time has gone by, in milliseconds.
  std::uint32_t answersAfter = 0;
  std::uint32_t waited = 0;
  /// The start-up record's size as it came in.
  std::uint32_t recordSize = 0;
  /// What CeGetFileSize answers instead of a file's true size.
  std::optional<std::uint32_t> sizeToldInstead;
  /// What CeWriteFile answers instead of 1 when it has written, and the count that it tells instead of the true one.
  std::int32_t writeResult = 1;
  std::optional<std::uint32_t> countToldInstead;
  HandheldFacts facts;
  /// How often CeRapiGetError was called.
  std::size_t errorQuestions = 0;

  void Put(const std::string& path, Bytes content) { files_[FoldCase(path)] = std::move(content); }
  void Remove(const std::string& path) { files_.erase(FoldCase(path)); }
  bool Has(const std::string& path) const { return files_.contains(FoldCase(path)); }
  Bytes Content(const std::string& path) const { return files_.at(FoldCase(path)); }

  /// The `nth` call of `name` from now on fails without any effect; CeRapiGetError is `rapiError` after it.
  void Fail(const std::string& name, std::int32_t rapiError, std::size_t nth = 1) { faults_[name] = {nth, rapiError}; }
  /// How often `name` was called.
  std::size_t Count(const std::string& name) const {
    return static_cast<std::size_t>(std::count_if(
        calls.begin(), calls.end(), [&](const std::string& call) { return call.substr(0, call.find(' ')) == name; }));
  }
  bool Connected() const { return connected_; }
  std::size_t OpenHandles() const { return handles_.size(); }

  std::int32_t CeRapiInitEx(RAPIINIT& init) override {
    Note("CeRapiInitEx");
    recordSize = init.cbSize;
    init.heRapiInit = kEvent;
    init.hrRapiInit = initResultInRecord;
    record_ = &init;
    waited = 0;
    connected_ = initResult == 0;
    return initResult;
  }
  std::int32_t CeRapiUninit() override {
    Note("CeRapiUninit");
    connected_ = false;
    handles_.clear();
    return 0;
  }
  std::int32_t CeRapiGetError() override {
    ++errorQuestions;
    return rapiError_;
  }
  std::uint32_t WaitForSingleObject(RapiHandle event, std::uint32_t milliseconds) override {
    Note("WaitForSingleObject " + std::to_string(event) + " " + std::to_string(milliseconds));
    waited += milliseconds;
    if (waited < answersAfter) return rapi::kWaitTimeout;
    record_->hrRapiInit = resultInRecordAfterWait;
    return waitResult;
  }

  RapiHandle CeFindFirstFile(const std::string& path) override {
    Note("CeFindFirstFile " + path);
    if (!Begin("CeFindFirstFile") || !Has(path)) return kInvalidRapiHandle;
    return NewHandle(FoldCase(path), false);
  }
  RapiHandle CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode,
                          std::uint32_t securityAttributes, std::uint32_t disposition,
                          std::uint32_t flagsAndAttributes) override {
    Note("CeCreateFile " + path + " " + Hex(access) + " " + Hex(shareMode) + " " + Hex(securityAttributes) + " " +
         Hex(disposition) + " " + Hex(flagsAndAttributes));
    if (!Begin("CeCreateFile")) return kInvalidRapiHandle;
    constexpr std::uint32_t kCreateAlways = 2;
    if (disposition == kCreateAlways) {
      Put(path, {});
    } else if (!Has(path)) {
      return kInvalidRapiHandle;
    }
    return NewHandle(FoldCase(path), disposition == kCreateAlways);
  }
  std::uint32_t CeGetFileSize(RapiHandle file) override {
    Note("CeGetFileSize");
    constexpr std::uint32_t kFailed = 0xFFFFFFFF;
    if (!Begin("CeGetFileSize") || !handles_.contains(file)) return kFailed;
    return sizeToldInstead.value_or(static_cast<std::uint32_t>(files_[handles_[file].path].size()));
  }
  std::int32_t CeReadFile(RapiHandle file, ByteSpan out, std::uint32_t& bytesRead) override {
    Note("CeReadFile " + std::to_string(out.size()));
    bytesRead = 0;
    if (!Begin("CeReadFile") || !handles_.contains(file)) return 0;
    Handle& handle = handles_[file];
    const Bytes& content = files_[handle.path];
    const std::size_t count = std::min(out.size(), content.size() - handle.position);
    std::fill(out.begin(), out.end(), std::uint8_t{0});
    std::copy_n(content.begin() + static_cast<std::ptrdiff_t>(handle.position), count, out.begin());
    handle.position += count;
    bytesRead = static_cast<std::uint32_t>(count);
    return 1;
  }
  std::int32_t CeWriteFile(RapiHandle file, ByteView data, std::uint32_t& bytesWritten) override {
    Note("CeWriteFile " + std::to_string(data.size()));
    bytesWritten = 0;
    if (!Begin("CeWriteFile") || !handles_.contains(file) || !handles_[file].writable) return 0;
    Bytes& content = files_[handles_[file].path];
    content.insert(content.end(), data.begin(), data.end());
    bytesWritten = countToldInstead.value_or(static_cast<std::uint32_t>(data.size()));
    return writeResult;
  }
  std::int32_t CeCloseHandle(RapiHandle handle) override {
    Note("CeCloseHandle");
    return Begin("CeCloseHandle") && handles_.erase(handle) == 1 ? 1 : 0;
  }
  std::int32_t CeFindClose(RapiHandle handle) override {
    Note("CeFindClose");
    return Begin("CeFindClose") && handles_.erase(handle) == 1 ? 1 : 0;
  }
  /// Files in the folder of `pattern`, whose last segment may be "*" or a name; their names are folded.
  std::int32_t CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) override {
    Note("CeFindAllFiles " + pattern);
    entries.clear();
    if (!Begin("CeFindAllFiles")) return 0;
    const std::size_t name = FolderLength(pattern);
    for (const auto& [path, content] : files_) {
      const bool isHere = FolderLength(path) == name && path.substr(0, name) == FoldCase(pattern.substr(0, name));
      if (isHere && DevicePattern(pattern.substr(name)).Fits(path.substr(name)))
        entries.push_back({path.substr(name), rapi::kFileAttributeArchive, content.size(), 0});
    }
    return 1;
  }
  std::int32_t DescribeHandheld(HandheldFacts& out) override {
    Note("DescribeHandheld");
    out = {};
    if (!Begin("DescribeHandheld")) return 0;
    out = facts;
    return 1;
  }

 private:
  static constexpr RapiHandle kEvent = 77;

  struct Fault {
    std::size_t remaining = 0;
    std::int32_t rapiError = 0;
  };
  struct Handle {
    std::string path;
    bool writable = false;
    std::size_t position = 0;
  };

  void Note(const std::string& call) { calls.push_back(call); }

  /// False when this call of `name` must fail.
  bool Begin(const std::string& name) {
    constexpr std::int32_t kNotConnected = -1;
    rapiError_ = connected_ ? 0 : kNotConnected;
    Fault& fault = faults_[name];
    const bool fails = fault.remaining > 0 && --fault.remaining == 0;
    if (fails) rapiError_ = fault.rapiError;
    return connected_ && !fails;
  }

  RapiHandle NewHandle(const std::string& path, bool writable) {
    handles_[nextHandle_] = {path, writable, 0};
    return nextHandle_++;
  }

  static std::string Hex(std::uint32_t number) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    do {
      text.insert(text.begin(), kDigits[number % 16]);
      number /= 16;
    } while (number > 0);
    return text;
  }

  std::map<std::string, Bytes> files_;  ///< by folded path
  std::map<RapiHandle, Handle> handles_;
  std::map<std::string, Fault> faults_;
  RapiHandle nextHandle_ = 1000;
  RAPIINIT* record_ = nullptr;
  bool connected_ = false;
  std::int32_t rapiError_ = 0;
};

}  // namespace mv::testing
