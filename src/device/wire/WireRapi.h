#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "device/Rapi.h"
#include "device/wire/LineSource.h"
#include "device/wire/RemoteCalls.h"
#include "device/wire/WireLog.h"
#include "device/wire/WireOptions.h"

namespace mv::wire {

/// The handheld on the network: the remote API without the platform's own software. The first CeRapiInitEx begins to
/// listen, and listening goes on until the object ends; a handheld that has called stays connected between
/// CeRapiUninit and the next CeRapiInitEx.
///
/// CeRapiGetError: 0 when the handheld gave a complete reply, whatever it said; the HRESULT of a handheld that refused
/// to run the call; 0x80004005 when the connection was lost, the time was up, or the reply made no sense. After the
/// last the connection is dead: every call fails with the same error until CeRapiInitEx.
///
/// Handles are this object's own numbers and end with the connection.
class WireRapi : public Rapi {
 public:
  explicit WireRapi(WireOptions options);
  ~WireRapi() override;
  WireRapi(const WireRapi&) = delete;
  WireRapi& operator=(const WireRapi&) = delete;

  /// Begins to connect and returns 0; 0x80041001 when there is a connection. The result appears in `init` during the
  /// wait: 0, 0x80070056 for a refused password, 0x80070005 for a handheld whose password nobody knows, else
  /// 0x80004005. While no handheld has called, or one is being unlocked by hand, the event is not signalled.
  std::int32_t CeRapiInitEx(RAPIINIT& init) override;
  /// Closes what is open on the handheld and the connection for remote calls. 0x80004005 when nothing was started.
  std::int32_t CeRapiUninit() override;
  std::int32_t CeRapiGetError() override { return rapiError_; }
  RapiHandle CeFindFirstFile(const std::string& path) override;
  /// `securityAttributes` does not go out.
  RapiHandle CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode,
                          std::uint32_t securityAttributes, std::uint32_t disposition,
                          std::uint32_t flagsAndAttributes) override;
  std::uint32_t CeGetFileSize(RapiHandle file) override;
  /// Asks block by block until `out` is full; a file that ends before is a failure.
  std::int32_t CeReadFile(RapiHandle file, ByteSpan out, std::uint32_t& bytesRead) override;
  std::int32_t CeWriteFile(RapiHandle file, ByteView data, std::uint32_t& bytesWritten) override;
  std::int32_t CeCloseHandle(RapiHandle handle) override;
  std::int32_t CeFindClose(RapiHandle handle) override;
  std::int32_t CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) override;
  std::int32_t DescribeHandheld(HandheldFacts& facts) override;
  /// Asks for the password, if need be. 0xFFFFFFFF for another event than the last CeRapiInitEx gave.
  std::uint32_t WaitForSingleObject(RapiHandle event, std::uint32_t milliseconds) override;

  /// The last error word of the last reply.
  std::uint32_t CeGetLastError() const { return lastError_; }
  /// Begins to listen, if that has not happened yet. Error 57 when the system has no more handles.
  void Listen();
  WireStatus Status() const;

 private:
  enum class HandleKind { File, Find };
  struct OpenHandle {
    HandleKind kind;
    std::uint32_t number;  ///< the handheld's
    std::string path;
  };

  /// Runs one call on the connection and keeps its errors; `failure` is its failed result, and that of every call
  /// without a connection. A connection that is lost ends.
  template <typename Result, typename Call>
  Result Report(Result failure, Call call);
  void NoteErrors();
  bool CanListen();
  std::int32_t TakeLine(CallLine line);
  RapiHandle Remember(HandleKind kind, std::uint32_t number, const std::string& path);
  /// Nothing, with the error of an invalid handle, when it is none.
  std::optional<OpenHandle> Find(RapiHandle handle, HandleKind kind);
  static bool CloseOnHandheld(RemoteCalls& calls, const OpenHandle& open);
  std::int32_t CloseHandleOf(HandleKind kind, RapiHandle handle);
  void CloseAll();

  const WireOptions options_;
  const std::size_t blockSize_;
  WireLog log_;
  std::unique_ptr<LineSource> lines_;  ///< null until it listens
  bool linesAreOthers_ = false;        ///< another program listens
  std::optional<RemoteCalls> calls_;
  Announcement handheld_;  ///< of the last connection
  platform::SocketAddress address_;
  RAPIINIT* caller_ = nullptr;  ///< who waits for the result of an attempt
  RapiHandle event_ = 0;
  bool isStarted_ = false;  ///< CeRapiUninit is due
  std::int32_t rapiError_ = 0;
  std::uint32_t lastError_ = 0;
  RapiHandle nextHandle_ = 1;
  std::map<RapiHandle, OpenHandle> handles_;
};

}  // namespace mv::wire
