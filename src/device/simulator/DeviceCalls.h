#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"
#include "device/message/MessageReader.h"
#include "device/message/MessageWriter.h"
#include "device/simulator/DeviceStore.h"
#include "device/simulator/SimulatorOptions.h"

namespace mv::simulator {

/// The handheld's side of one remote-call connection: turns the body of a request into the body of its reply. Bodies
/// are messages without their length words:
///
///   request  u32 command, arguments
///   reply    version 1: u32 status (0; or 1 and a u32 HRESULT), results. Version 2: results
///   results  u32 last error, u32 return value, more; some calls leave out one or both
///
/// A request that cannot be understood is refused like an unknown command: in version 1 with an HRESULT, in version 2
/// with last error and 0. Nothing is believed of what a request says about itself.
///
/// Files and searches belong to the connection; they are closed with it.
class DeviceCalls {
 public:
  /// Both must outlive this object. Of the options the faults inside replies count, and what the device is.
  DeviceCalls(DeviceStore& store, const SimulatorOptions& options);
  ~DeviceCalls();
  DeviceCalls(const DeviceCalls&) = delete;
  DeviceCalls& operator=(const DeviceCalls&) = delete;

  Bytes Answer(ByteView request);

  /// The published name of the call that a request makes, "CeReadFile"; "?" for one that is not known.
  static std::string_view NameOf(ByteView request, wire::MessageVersion version);

 private:
  /// Writes the results; false when the arguments were not understood.
  using Handler = bool (DeviceCalls::*)(wire::MessageReader& arguments, wire::MessageWriter& results);
  struct Call {
    wire::Command command;
    std::string_view name;
    Handler handler;
  };
  struct Search {
    std::vector<StoreEntry> entries;
    std::size_t next = 0;
  };
  static const std::vector<Call>& Calls();
  static const Call* Find(std::uint32_t number, wire::MessageVersion version);

  bool AnswerCreateFile(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerReadFile(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerWriteFile(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerCloseHandle(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerGetFileSize(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerSetFilePointer(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerSetEndOfFile(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerFindFirstFile(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerFindNextFile(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerFindClose(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerFindAllFiles(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerGetFileAttributes(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerSetFileAttributes(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerDeleteFile(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerCreateDirectory(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerRemoveDirectory(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerMoveFile(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerCopyFile(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerGetVersionEx(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerGetStoreInformation(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerGetSystemInfo(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerGetSystemPowerStatusEx(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerGetSpecialFolderPath(wire::MessageReader& arguments, wire::MessageWriter& results);
  bool AnswerGetSystemMemoryDivision(wire::MessageReader& arguments, wire::MessageWriter& results);

  bool IsV1() const { return version_ == wire::MessageVersion::V1; }
  Bytes Refused(std::uint32_t result, std::uint32_t lastError) const;
  /// The two forms that a path has in version 1; version 2 has one. A null pointer is no path.
  std::string Path(wire::MessageReader& arguments) const;
  std::string OptionalPath(wire::MessageReader& arguments) const;
  /// A block of bytes that version 1 wraps.
  void Block(wire::MessageWriter& results, ByteView bytes) const;
  void FoundRecord(wire::MessageWriter& results, const StoreEntry& entry) const;
  void NoRecord(wire::MessageWriter& results) const;
  /// How many bytes of a write the file still takes.
  std::uint32_t RoomFor(DeviceStore::FileNumber file, std::size_t count);

  DeviceStore& store_;
  const SimulatorOptions& options_;
  wire::MessageVersion version_;
  std::set<DeviceStore::FileNumber> files_;
  std::map<std::uint32_t, Search> searches_;
};

}  // namespace mv::simulator
