#include "mvtool/commands/HandheldSession.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "pdb/OneFileSystem.h"

namespace mv::tool {
namespace {

/// What a copy's code says, seen from the handheld's file.
std::string WordsOf(DeviceCopyResult code) {
  switch (code) {
    case DeviceCopyResult::SourceUnreadable:
      return "it is missing, in use, or cannot be read";
    case DeviceCopyResult::SourceEmpty:
      return "the file to send is empty";
    case DeviceCopyResult::DestinationExists:
      return "it exists; --force replaces it";
    case DeviceCopyResult::WriteFailed:
      return "it was not written whole; the handheld may be full";
    case DeviceCopyResult::NoConnection:
      return "the connection was lost";
    case DeviceCopyResult::CannotCreate:
      return "it cannot be created: its folder is missing, or it is in use or read-only";
    default:
      return "it was copied";
  }
}

Error CopyFailure(const std::string& path, DeviceCopyResult code) {
  return Failure("\"" + Printable(path) + "\" on the handheld: " + WordsOf(code) + " (code " +
                 std::to_string(static_cast<std::int32_t>(code)) + ")");
}

/// The path of a folder with one separator at its end.
std::string FolderPrefix(const std::string& path) {
  return path.ends_with('\\') || path.ends_with('/') ? path : path + '\\';
}

bool IsRoot(const std::string& path) {
  return path.find_first_not_of("\\/") == path.npos;
}

}  // namespace

std::string Printable(const std::string& text) {
  std::string printable = ValidUtf8(text);
  for (char& character : printable) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte == 0x7F) character = '?';
  }
  // The same in two bytes: U+0080 to U+009F.
  for (std::size_t at = 0; at + 1 < printable.size(); ++at) {
    const auto next = static_cast<unsigned char>(printable[at + 1]);
    if (printable[at] == '\xC2' && next < 0xA0) printable.replace(at, 2, "?");
  }
  return printable;
}

HandheldSession::HandheldSession(const ChosenHandheld& handheld)
    : handheld_(handheld), rapi_(*handheld.rapi), connection_(rapi_, hooks_, handheld.wait) {
  Connect();
}

HandheldSession::~HandheldSession() {
  connection_.DisconnectDevice();
}

void HandheldSession::Connect() {
  connection_.ConnectDevice();
  if (connection_.IsDeviceConnected()) return;
  std::string text = "the handheld does not answer";
  for (const std::string& obstacle : ObstaclesOf(handheld_)) text += "\n  " + obstacle;
  throw Failure(text);
}

HandheldFacts HandheldSession::Describe() {
  HandheldFacts facts;
  if (rapi_.DescribeHandheld(facts) == 0) throw Failure("the handheld does not tell what it is");
  return facts;
}

std::vector<DeviceEntry> HandheldSession::Find(const std::string& pattern) {
  std::vector<DeviceEntry> entries;
  if (rapi_.CeFindAllFiles(pattern, entries) == 0) {
    const char* why = rapi_.CeRapiGetError() != 0 ? "the connection was lost, or nothing there can list files"
                                                  : "the handheld refuses to list it";
    throw Failure("\"" + Printable(pattern) + "\" on the handheld: " + why);
  }
  std::sort(entries.begin(), entries.end(),
            [](const DeviceEntry& left, const DeviceEntry& right) { return left.name < right.name; });
  return entries;
}

std::vector<DeviceEntry> HandheldSession::List(const std::string& path) {
  if (IsRoot(path)) return Find("\\*");
  const std::size_t last = path.find_last_not_of("\\/");
  const std::string name = path.substr(0, last + 1);
  const bool isPattern = name.find_first_of("*?") != name.npos;
  std::vector<DeviceEntry> found = Find(name);
  if (!isPattern && found.empty()) throw Failure("\"" + path + "\" on the handheld: there is nothing of that name");
  const bool isFolder = !isPattern && found.size() == 1 && found[0].IsFolder();
  return isFolder ? Find(FolderPrefix(name) + '*') : found;
}

Bytes HandheldSession::Fetch(const std::string& path) {
  if (!connection_.IsDeviceConnected()) Connect();
  try {
    return FetchContent(path);
  } catch (const Error& error) {
    // Runs take an empty table for an error, and say so by this number; a file may be empty.
    if (error.Number() != errors::kSubscriptOutOfRange) throw;
    const std::vector<DeviceEntry> found = Find(path);
    if (found.size() == 1 && found[0].size == 0) return {};
    throw Failure("\"" + Printable(path) + "\" on the handheld: it is larger than can be copied");
  }
}

Bytes HandheldSession::FetchContent(const std::string& path) {
  OneFileSystem memory({});
  modWinCEFileManagement copies(rapi_, connection_, memory, hooks_);
  const DeviceCopyResult code = copies.CopyFileFromDevice(path, "copy", Overwrite::Yes);
  if (code != DeviceCopyResult::Copied) throw CopyFailure(path, code);
  return memory.Content();
}

void HandheldSession::Send(const Bytes& content, const std::string& path, Overwrite overwrite) {
  // An empty file would be created empty before the copy says that it takes none.
  if (content.empty()) throw CopyFailure(path, DeviceCopyResult::SourceEmpty);
  OneFileSystem memory(content);
  modWinCEFileManagement copies(rapi_, connection_, memory, hooks_);
  const DeviceCopyResult code = copies.CopyFileToDevice("copy", path, overwrite);
  if (code != DeviceCopyResult::Copied) throw CopyFailure(path, code);
}

}  // namespace mv::tool
