#pragma once

#include <memory>
#include <string>
#include <vector>

#include "device/Rapi.h"

namespace mv {

/// The remote API of a Windows PC: the library rapi.dll, which comes with the PC's handheld software. It is loaded by
/// the first CeRapiInitEx, not by the program's start, so that a PC without it runs all the same.
///
/// Without the library, or when it lacks a function, CeRapiInitEx fails with the system's error as an HRESULT, and
/// tries again when it is called again. Every other call fails then too, as if the transport had failed. Only
/// what copying files does not take may be missing: without CeFindClose a find handle stays open until the connection
/// ends, without CeFindAllFiles listing fails, without CeGetVersionEx the system's version stays unknown.
///
/// The library connects on a thread of its own and writes the result of that into the start-up record when it is ready,
/// which may be after the caller has given up waiting. Hence two rules: the record it writes to lives until its event
/// was seen signalled, if need be as long as the process; and a library once used stays loaded until the process ends.
///
/// The connection event belongs to the library and is not closed here: the API does not say who closes it, a library
/// that keeps one event for all attempts would lose it, and at worst it is one handle for each attempt.
class DllRapi : public Rapi {
 public:
  /// `folders` are absolute paths, searched in this order. No other place is searched, the current folder least of all.
  explicit DllRapi(std::vector<std::string> folders);
  /// Ends the connection if there is one.
  ~DllRapi() override;
  DllRapi(const DllRapi&) = delete;
  DllRapi& operator=(const DllRapi&) = delete;

  /// States the record's size as `init` does. A library that answers "invalid argument" is asked once more with the
  /// size that the record really has in this process: 12 bytes in a 32-bit one, 24 in a 64-bit one.
  std::int32_t CeRapiInitEx(RAPIINIT& init) override;
  std::int32_t CeRapiUninit() override;
  std::int32_t CeRapiGetError() override;
  RapiHandle CeFindFirstFile(const std::string& path) override;
  /// `securityAttributes` goes out as the value of a pointer.
  RapiHandle CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode,
                          std::uint32_t securityAttributes, std::uint32_t disposition,
                          std::uint32_t flagsAndAttributes) override;
  std::uint32_t CeGetFileSize(RapiHandle file) override;
  std::int32_t CeReadFile(RapiHandle file, ByteSpan out, std::uint32_t& bytesRead) override;
  std::int32_t CeWriteFile(RapiHandle file, ByteView data, std::uint32_t& bytesWritten) override;
  std::int32_t CeCloseHandle(RapiHandle handle) override;
  std::int32_t CeFindClose(RapiHandle handle) override;
  std::int32_t CeFindAllFiles(const std::string& pattern, std::vector<DeviceEntry>& entries) override;
  /// The library knows the handheld's system and nothing else of it.
  std::int32_t DescribeHandheld(HandheldFacts& facts) override;
  std::uint32_t WaitForSingleObject(RapiHandle event, std::uint32_t milliseconds) override;

 private:
  struct Library;
  struct StartUpRecord;

  /// True when the failure of the call before was that nothing fits.
  bool NothingFits();
  /// 0 when the library is there, else the error.
  std::int32_t Load();
  /// Calls CeRapiInitEx with a new record that states `recordSize`. A record before it is freed: it was refused.
  std::int32_t Start(std::uint32_t recordSize);
  /// Leaves the record of an attempt under way to the library, for good.
  void GiveUpAttempt();

  std::vector<std::string> folders_;
  std::int32_t loadError_;
  std::unique_ptr<Library> library_;       ///< null until it is loaded
  std::unique_ptr<StartUpRecord> record_;  ///< of the attempt whose event was not yet seen signalled
  RAPIINIT* caller_ = nullptr;             ///< who waits for that attempt's result, until a wait has told it
  bool started_ = false;                   ///< CeRapiUninit is due
};

}  // namespace mv
