#include "history/HandheldTables.h"

#include <cstdint>
#include <utility>

#include "base/Error.h"
#include "base/Text.h"
#include "pdb/OneFileSystem.h"

namespace mv::history {
namespace {

constexpr std::uint32_t kSecurityAttributes = 1;
constexpr const char* kNoConnection = "the handheld does not answer";

Error CannotFetch(const std::string& table, const std::string& why) {
  return Failure("the handheld's table " + table + " cannot be fetched (" + why + ")");
}

std::string CodeText(DeviceCopyResult code) {
  return "code " + std::to_string(static_cast<std::int32_t>(code));
}

}  // namespace

HandheldTables::HandheldTables(Rapi& rapi, std::string folder, std::chrono::milliseconds wait)
    : rapi_(rapi), folder_(std::move(folder)), connection_(rapi, hooks_, wait) {}

HandheldTables::~HandheldTables() {
  Disconnect();
}

void HandheldTables::Connect() {
  connection_.ConnectDevice();
  if (!connection_.IsDeviceConnected()) throw Failure(kNoConnection);
}

void HandheldTables::Disconnect() {
  connection_.DisconnectDevice();
}

std::optional<Bytes> HandheldTables::Fetch(const std::string& table) {
  Connect();
  if (!Has(PathOf(table))) {
    if (rapi_.CeRapiGetError() != 0) throw Failure(kNoConnection);
    return std::nullopt;
  }
  if (IsEmpty(table)) return std::nullopt;
  OneFileSystem memory({});
  modWinCEFileManagement copies(rapi_, connection_, memory, hooks_);
  const DeviceCopyResult result = copies.CopyFileFromDevice(PathOf(table), table, Overwrite::Yes);
  if (result != DeviceCopyResult::Copied) throw CannotFetch(table, CodeText(result));
  return memory.Content();
}

DeviceCopyResult HandheldTables::Send(const std::string& table, const Bytes& content) {
  OneFileSystem memory(content);
  modWinCEFileManagement copies(rapi_, connection_, memory, hooks_);
  return copies.CopyFileToDevice(table, PathOf(table), Overwrite::Yes);
}

std::string HandheldTables::PathOf(const std::string& table) const {
  return JoinPath(folder_, table + ".pdb");
}

bool HandheldTables::Has(const std::string& path) {
  const RapiHandle found = rapi_.CeFindFirstFile(path);
  if (found == kInvalidRapiHandle) return false;
  rapi_.CeFindClose(found);
  return true;
}

bool HandheldTables::IsEmpty(const std::string& table) {
  const RapiHandle file = rapi_.CeCreateFile(PathOf(table), rapi::kGenericRead, rapi::kFileShareRead,
                                             kSecurityAttributes, rapi::kOpenExisting, rapi::kFileAttributeNormal);
  if (file == kInvalidRapiHandle) throw CannotFetch(table, "it cannot be opened");
  const std::uint32_t size = rapi_.CeGetFileSize(file);
  rapi_.CeCloseHandle(file);
  return size == 0;
}

std::string RefusalText(const std::string& table, DeviceCopyResult code) {
  return "the handheld did not take " + table + " (" + CodeText(code) + ")";
}

}  // namespace mv::history
