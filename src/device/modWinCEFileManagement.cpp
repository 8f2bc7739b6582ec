#include "device/modWinCEFileManagement.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/Error.h"

namespace mv {
namespace {

/// The device ignores it.
constexpr std::uint32_t kSecurityAttributes = 1;

/// Lengths are signed 32-bit numbers here.
constexpr std::uint32_t kLongestFile = std::numeric_limits<std::int32_t>::max();

constexpr std::size_t kChunksPerUpload = 20;
/// A download is read in pieces of that size, so that the window stays alive.
constexpr std::size_t kDownloadChunk = 64 * 1024;
constexpr std::size_t kBytesReadPerTurn = 256;
constexpr std::size_t kBytesWrittenPerTurn = 1024;

/// length / 20 rounded to the nearest integer, halves to even; the whole length when that is 0.
std::size_t ChunkSize(std::size_t length) {
  const std::size_t quotient = length / kChunksPerUpload;
  const std::size_t twiceRemainder = 2 * (length % kChunksPerUpload);
  const bool roundsUp = twiceRemainder > kChunksPerUpload || (twiceRemainder == kChunksPerUpload && quotient % 2 == 1);
  const std::size_t rounded = quotient + (roundsUp ? 1 : 0);
  return rounded == 0 ? length : rounded;
}

}  // namespace

DeviceCopyResult modWinCEFileManagement::CopyFileToDevice(const std::string& desktopPath, const std::string& devicePath,
                                                          Overwrite overwrite) {
  connection_.ConnectDevice();
  if (!connection_.IsDeviceConnected()) return DeviceCopyResult::NoConnection;
  const DeviceCopyResult result = Upload(desktopPath, devicePath, overwrite);
  if (result != DeviceCopyResult::Copied) connection_.DisconnectDevice();
  return result;
}

DeviceCopyResult modWinCEFileManagement::Upload(const std::string& desktopPath, const std::string& devicePath,
                                                Overwrite overwrite) {
  if (overwrite == Overwrite::No) {
    const DeviceCopyResult found = RequireNoDeviceFile(devicePath);
    if (found != DeviceCopyResult::Copied) return found;
  }
  if (!files_.FileExistsForScripts(desktopPath)) return DeviceCopyResult::SourceUnreadable;
  const RapiHandle file = rapi_.CeCreateFile(devicePath, rapi::kGenericWrite, rapi::kFileShareRead, kSecurityAttributes,
                                             rapi::kCreateAlways, rapi::kFileAttributeNormal);
  if (file == kInvalidRapiHandle) return FailureCode(DeviceCopyResult::CannotCreate);
  FileContent buffer;
  if (ReadFileBytes(desktopPath, buffer) == 0) return DeviceCopyResult::SourceEmpty;
  const bool written = WriteInChunks(file, buffer.View()) && rapi_.CeCloseHandle(file) != 0;
  if (!written) return FailureCode(DeviceCopyResult::WriteFailed);
  LogTransfer(buffer.Size(), " bytes written to device at: ", devicePath);
  return DeviceCopyResult::Copied;
}

DeviceCopyResult modWinCEFileManagement::RequireNoDeviceFile(const std::string& devicePath) {
  const RapiHandle found = rapi_.CeFindFirstFile(devicePath);
  if (found == kInvalidRapiHandle) return FailureCode(DeviceCopyResult::Copied);
  rapi_.CeFindClose(found);
  return DeviceCopyResult::DestinationExists;
}

bool modWinCEFileManagement::WriteInChunks(RapiHandle file, ByteView data) {
  const std::size_t chunkSize = ChunkSize(data.size());
  std::int32_t result = rapi::kDone;
  for (std::size_t sent = 0; sent < data.size() && result == rapi::kDone; sent += chunkSize) {
    std::uint32_t ignored = 0;  // the libraries of handhelds report no reliable count
    result = rapi_.CeWriteFile(file, data.subspan(sent, std::min(chunkSize, data.size() - sent)), ignored);
    AdvanceSpinner();
  }
  return result == rapi::kDone;
}

DeviceCopyResult modWinCEFileManagement::CopyFileFromDevice(const std::string& devicePath,
                                                            const std::string& desktopPath, Overwrite overwrite) {
  if (!connection_.IsDeviceConnected()) return DeviceCopyResult::NoConnection;
  const DeviceCopyResult result = Download(devicePath, desktopPath, overwrite);
  if (result != DeviceCopyResult::Copied) connection_.DisconnectDevice();
  return result;
}

DeviceCopyResult modWinCEFileManagement::Download(const std::string& devicePath, const std::string& desktopPath,
                                                  Overwrite overwrite) {
  if (overwrite == Overwrite::No && files_.FileExistsForScripts(desktopPath))
    return DeviceCopyResult::DestinationExists;
  const RapiHandle file = rapi_.CeCreateFile(devicePath, rapi::kGenericRead, rapi::kFileShareRead, kSecurityAttributes,
                                             rapi::kOpenExisting, rapi::kFileAttributeNormal);
  if (file == kInvalidRapiHandle) return FailureCode(DeviceCopyResult::SourceUnreadable);
  const std::optional<FileContent> content = ReadDeviceFile(file);
  if (!content) return FailureCode(DeviceCopyResult::SourceUnreadable);
  if (!WriteFileBytes(desktopPath, content->View())) return DeviceCopyResult::WriteFailed;
  LogTransfer(content->Size(), " bytes read from device at: ", devicePath);
  rapi_.CeCloseHandle(file);
  return DeviceCopyResult::Copied;
}

std::optional<FileContent> modWinCEFileManagement::ReadDeviceFile(RapiHandle file) {
  AdvanceSpinner();
  const std::uint32_t size = rapi_.CeGetFileSize(file);
  if (size == rapi::kNoFileSize) return std::nullopt;
  if (size == 0 || size > kLongestFile) {
    rapi_.CeCloseHandle(file);
    throw StandardError(errors::kSubscriptOutOfRange);
  }
  FileContent content(size);
  AdvanceSpinner();
  bool read = true;
  for (std::size_t done = 0; done < size && read; done += kDownloadChunk) {
    std::uint32_t ignored = 0;  // the libraries of handhelds report no reliable count
    const ByteSpan piece = content.Span().subspan(done, std::min(kDownloadChunk, size - done));
    read = rapi_.CeReadFile(file, piece, ignored) != 0;
    AdvanceSpinner();
  }
  return read ? std::optional(std::move(content)) : std::nullopt;
}

std::int32_t modWinCEFileManagement::ReadFileBytes(const std::string& desktopPath, FileContent& buffer) {
  try {
    const auto file =
        files_.Open(desktopPath, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::All);
    const std::uint64_t length = file->Size();
    if (length > kLongestFile) return 0;
    buffer = FileContent(static_cast<std::size_t>(length));
    if (file->ReadAt(0, buffer.Span()) != buffer.Size()) return 0;
  } catch (const Error&) {
    return 0;  // every failure to read is an empty source to the caller
  }
  AdvanceSpinnerPer(kBytesReadPerTurn, buffer.Size());
  return static_cast<std::int32_t>(buffer.Size());
}

bool modWinCEFileManagement::WriteFileBytes(const std::string& desktopPath, ByteView buffer) {
  if (buffer.empty()) return false;
  try {
    const auto file =
        files_.Open(desktopPath, platform::Access::Write, platform::Disposition::OpenAlways, platform::Sharing::All);
    file->WriteAt(0, buffer);
  } catch (const Error&) {
    return false;  // a failed desktop file is a result here, not an error
  }
  AdvanceSpinnerPer(kBytesWrittenPerTurn, buffer.size());
  return true;
}

DeviceCopyResult modWinCEFileManagement::FailureCode(DeviceCopyResult refused) {
  return rapi_.CeRapiGetError() != 0 ? DeviceCopyResult::NoConnection : refused;
}

void modWinCEFileManagement::AdvanceSpinner() {
  if (hooks_.advanceSpinner) hooks_.advanceSpinner();
}

void modWinCEFileManagement::AdvanceSpinnerPer(std::size_t bytesPerTurn, std::size_t bytes) {
  if (!hooks_.advanceSpinner) return;
  for (std::size_t turn = 0; turn < bytes / bytesPerTurn; ++turn) hooks_.advanceSpinner();
}

void modWinCEFileManagement::LogTransfer(std::size_t bytes, const char* what, const std::string& devicePath) {
  if (hooks_.writeLogLine) hooks_.writeLogLine("     " + std::to_string(bytes) + what + devicePath);
}

}  // namespace mv
