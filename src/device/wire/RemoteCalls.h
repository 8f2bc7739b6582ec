#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "device/Rapi.h"
#include "device/message/Commands.h"
#include "device/message/MessageReader.h"
#include "device/message/MessageWriter.h"
#include "device/wire/CallChannel.h"
#include "device/wire/WireLog.h"

namespace mv::wire {

/// The remote calls as messages, each one request and one reply. Handles are the handheld's own numbers. A call that
/// gives nothing has failed; Error tells on which side, LastError why.
class RemoteCalls {
 public:
  /// What a find handle was opened on.
  struct Found {
    std::uint32_t handle = 0;
    std::optional<std::uint32_t> sizeLow;  ///< missing when the handheld told nothing of the file
  };

  /// `replyTime`: for each reply. `log` must outlive this object.
  RemoteCalls(std::unique_ptr<CallChannel> channel, MessageVersion version, std::chrono::milliseconds replyTime,
              WireLog& log);

  /// Of the last call: 0 when the handheld gave a complete reply; the HRESULT of one that did not run the call; else
  /// 0x80004005, and then no call is possible any more.
  std::int32_t Error() const { return error_; }
  bool IsUsable() const { return isUsable_; }
  /// The handheld's error code in the last reply.
  std::uint32_t LastError() const { return lastError_; }
  /// A call that is not even made, with the error that the handheld would give.
  void Refuse(std::uint32_t lastError);
  /// From now on.
  void SetReplyTime(std::chrono::milliseconds time) { replyTime_ = time; }
  MessageVersion Version() const { return version_; }

  /// `path` has at most 259 UTF-16 units and no NUL; else the call fails here, with the error of an invalid name.
  std::optional<std::uint32_t> CreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode,
                                          std::uint32_t disposition, std::uint32_t flagsAndAttributes);
  /// Number of bytes read, 0 at the file's end.
  std::optional<std::size_t> ReadFile(std::uint32_t handle, ByteSpan out);
  /// True when all was written.
  bool WriteFile(std::uint32_t handle, ByteView data);
  /// Low 32 bits.
  std::optional<std::uint32_t> GetFileSize(std::uint32_t handle);
  bool CloseHandle(std::uint32_t handle);
  std::optional<Found> FindFirstFile(const std::string& path);
  bool FindClose(std::uint32_t handle);
  std::optional<std::vector<DeviceEntry>> FindAllFiles(const std::string& pattern);
  std::optional<SystemVersion> GetVersionEx();

 private:
  bool IsV1() const { return version_ == MessageVersion::V1; }
  MessageWriter Request(Command command) const;
  /// A request whose only argument is a handle, and whose reply says whether it worked.
  bool RunOnHandle(const char* name, Command command, std::uint32_t handle);
  static bool CanBeSent(const std::string& path);
  /// A path that cannot be sent is refused as the handheld would refuse it.
  std::nullopt_t RefuseName();
  void PutPath(MessageWriter& request, const std::string& path) const;
  /// What a reply to CeReadFile mostly has before the file's bytes: status (V1), last error, value, count.
  std::size_t BytesBeforeData() const;
  /// True when all that follows such a beginning are the file's bytes. Else the reply is an unusual one: a refusal, a
  /// status with more words, bytes behind the data, a lie.
  bool IsDataNext(ByteView beginning, std::size_t following) const;
  /// Sends a request and takes the status of the reply; gives what follows it and was kept together.
  std::optional<MessageReader> Run(const char* name, const MessageWriter& request, const ReplyRoom& room = {});
  /// The same for a request in pieces, its length word included.
  std::optional<MessageReader> RunPieces(const char* name, std::span<const ByteView> request, const ReplyRoom& room);
  /// A line of the log for a message.
  void Note(const char* direction, const char* name, std::size_t size);
  /// The first two words of a result: the error code, which is kept, and the value returned. An error code alone is
  /// how version 2, which has no status, may tell that the call was not run; it counts like such a status.
  std::optional<std::uint32_t> TakeValue(MessageReader& reader);
  /// The same where the value is a handle; nothing when it is none.
  std::optional<std::uint32_t> TakeHandle(MessageReader& reader);
  /// True when a value of 0 may be no value but version 2's way to tell that the call was not run.
  bool MayBeRefusal() const;
  /// True when all of a reply could be read; else the connection must not be used again.
  bool Check(bool isGood, const char* problem);
  std::optional<std::vector<DeviceEntry>> TakeEntries(MessageReader& reader);
  DeviceEntry TakeEntry(MessageReader& reader) const;
  /// True when the last error says that there is no such file.
  bool NothingFits() const;

  std::unique_ptr<CallChannel> channel_;
  MessageVersion version_;
  std::chrono::milliseconds replyTime_;
  WireLog& log_;
  bool isUsable_ = true;
  std::int32_t error_ = 0;
  std::uint32_t lastError_ = 0;
};

}  // namespace mv::wire
