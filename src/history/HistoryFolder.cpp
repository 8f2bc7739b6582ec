#include "history/HistoryFolder.h"

#include <algorithm>
#include <array>
#include <functional>
#include <sstream>

#include "base/Date.h"
#include "base/Error.h"
#include "base/Text.h"
#include "json/JsonLines.h"
#include "platform/StagedWrite.h"

namespace mv::history {
namespace {

constexpr const char* kFolder = "sync\\history";
constexpr const char* kHandheldFolder = "handheld";
constexpr const char* kResultFolder = "result";
constexpr const char* kRecordName = "run.json";
constexpr const char* kChangesName = "changes.jsonl";
constexpr std::uint64_t kMegabyte = 1 << 20;

std::string NameOf(const std::string& path) {
  return path.substr(FolderLength(path));
}

std::string FolderOf(const std::string& path) {
  return path.substr(0, FolderLength(path));
}

/// The time in the name of an entry; nothing when its digits are no date.
std::optional<CivilTime> TimeOf(const std::string& entry) {
  std::string text = entry;
  for (const std::size_t place : {13, 11}) text.insert(place, ":");
  text[8] = 'T';
  for (const std::size_t place : {6, 4}) text.insert(place, "-");
  const std::optional<Date> date = DateFromIso(text);
  if (!date) return std::nullopt;
  return CivilFromDate(*date);
}

/// False where the system has no second names.
bool Link(platform::FileSystem& files, const std::string& file, const std::string& name) {
  try {
    files.LinkFile(file, name);
    files.SyncFolder(FolderOf(name));
    return true;
  } catch (const Error& error) {
    if (error.Number() != errors::kPathFileAccess) throw;
    return false;
  }
}

}  // namespace

HistoryFolder::HistoryFolder(platform::FileSystem& files, const std::string& database)
    : files_(files), database_(database), path_(database.substr(0, FolderLength(database)) + kFolder) {}

std::string HistoryFolder::PathOf(const std::string& entry) const {
  return JoinPath(path_, entry);
}

std::string HistoryFolder::DatabaseOf(const std::string& entry) const {
  return JoinPath(PathOf(entry), NameOf(database_));
}

std::string HistoryFolder::HandheldFileOf(const std::string& entry, const std::string& table) const {
  return JoinPath(JoinPath(PathOf(entry), kHandheldFolder), table + ".pdb");
}

std::string HistoryFolder::ResultFileOf(const std::string& entry, const std::string& table) const {
  return JoinPath(JoinPath(PathOf(entry), kResultFolder), table + ".pdb");
}

std::string HistoryFolder::RecordOf(const std::string& entry) const {
  return JoinPath(PathOf(entry), kRecordName);
}

std::string HistoryFolder::ChangesOf(const std::string& entry) const {
  return JoinPath(PathOf(entry), kChangesName);
}

std::vector<std::string> HistoryFolder::Entries() const {
  if (!files_.FolderExists(path_)) return {};
  std::vector<std::string> entries = files_.List(path_);
  std::erase_if(entries, [](const std::string& name) { return !IsTimeStamp(name); });
  std::sort(entries.begin(), entries.end(), std::greater<>());
  return entries;
}

std::string HistoryFolder::Create(CivilTime now) {
  if (!files_.FolderExists(path_)) {
    files_.CreateFolders(path_);
    files_.SyncFolder(FolderOf(path_));
  }
  // Names are what tells which run came last, also where the clock went back: at the end of summer time, for example.
  for (const std::string& newest : Entries()) {
    const std::optional<CivilTime> time = TimeOf(newest);
    if (!time) continue;
    if (newest >= TimeStamp(now)) now = SecondAfter(*time);
    break;
  }
  while (!files_.CreateFolder(PathOf(TimeStamp(now)))) now = SecondAfter(now);
  const std::string entry = TimeStamp(now);
  for (const char* folder : {kHandheldFolder, kResultFolder}) files_.CreateFolder(JoinPath(PathOf(entry), folder));
  // What is kept in the entry is of use only while the entry is there. Its own names are synced with its first files.
  files_.SyncFolder(path_);
  return entry;
}

std::optional<RunRecord> HistoryFolder::Read(const std::string& entry) const {
  try {
    const Bytes content = platform::ReadWhole(files_, RecordOf(entry));
    return RecordFromText({reinterpret_cast<const char*>(content.data()), content.size()});
  } catch (const Error&) {
    return std::nullopt;
  }
}

void HistoryFolder::Write(const std::string& entry, const RunRecord& record) {
  const std::string text = TextOf(record);
  KeepContent(Bytes(text.begin(), text.end()), RecordOf(entry));
}

std::vector<Change> HistoryFolder::ReadChanges(const std::string& entry) const {
  std::vector<Change> changes;
  if (!files_.FileExists(ChangesOf(entry))) return changes;
  const Bytes content = platform::ReadWhole(files_, ChangesOf(entry));
  std::istringstream text(std::string(content.begin(), content.end()));
  JsonLines lines(text);
  while (const auto line = lines.Next()) changes.push_back(ChangeFromJson(*line));
  return changes;
}

void HistoryFolder::Keep(const std::string& file, const std::string& kept) {
  if (!Link(files_, file, kept)) KeepCopy(file, kept);
}

void HistoryFolder::Keep(const std::string& file, const std::string& kept, platform::File& held) {
  if (!Link(files_, file, kept)) CopyInto(kept, held);
}

void HistoryFolder::KeepCopy(const std::string& file, const std::string& kept) {
  auto source = files_.Open(file, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::Read);
  auto copy = files_.CreateStaged(kept, database_);
  platform::CopyContent(*source, *copy);
  // What the entry's record says of the file is true of the copy too, also when the program is killed right after.
  copy->TakeTimeOf(*source);
  copy->Sync();
  copy.reset();
  source.reset();
  // Not through StagedWrite, which holds what it replaces: `kept` may be a second name of `file` itself.
  files_.RenameFile(files_.StagedName(kept), kept);
  files_.SyncFolder(FolderOf(kept));
}

void HistoryFolder::KeepContent(const Bytes& content, const std::string& kept) {
  platform::StagedWrite file(files_, kept, database_);
  file.Contents().WriteAt(0, content);
  file.Finish();
}

void HistoryFolder::CopyInto(const std::string& kept, platform::File& source) {
  platform::StagedWrite copy(files_, kept, database_);
  platform::CopyContent(source, copy.Contents());
  copy.Finish();
}

std::uint64_t HistoryFolder::BytesOf(const std::string& entry) const {
  std::uint64_t bytes = 0;
  for (const std::string& folder : {std::string(), std::string(kHandheldFolder), std::string(kResultFolder)}) {
    const std::string path = folder.empty() ? PathOf(entry) : JoinPath(PathOf(entry), folder);
    if (!files_.FolderExists(path)) continue;
    for (const std::string& name : files_.List(path)) {
      const std::string file = JoinPath(path, name);
      if (files_.FileExists(file)) bytes += files_.FactsOf(file).bytes;
    }
  }
  return bytes;
}

void HistoryFolder::Remove(const std::string& entry) {
  // The record goes first: what is left of an entry that cannot be removed whole is none to go back to.
  const std::string record = RecordOf(entry);
  if (files_.FileExists(record)) files_.RemoveFile(record);
  for (const std::string& path :
       {JoinPath(PathOf(entry), kHandheldFolder), JoinPath(PathOf(entry), kResultFolder), PathOf(entry)}) {
    if (!files_.FolderExists(path)) continue;
    for (const std::string& name : files_.List(path)) files_.RemoveFile(JoinPath(path, name));
    files_.RemoveFolder(path);
  }
}

bool HistoryFolder::RemoveOldest(const std::string& own) {
  const std::vector<std::string> entries = Entries();
  for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
    if (*entry == own) continue;
    try {
      Remove(*entry);
      return true;
    } catch (const Error&) {
      // Held by somebody; the next one may do.
    }
  }
  return false;
}

std::vector<std::string> HistoryFolder::Prune(const HistoryLimits& limits, const std::string& own) {
  std::vector<std::string> entries = Entries();
  std::uint64_t bytes = 0;
  for (const std::string& entry : entries) bytes += BytesOf(entry);
  auto count = static_cast<std::int64_t>(entries.size());
  const std::uint64_t most = static_cast<std::uint64_t>(std::max<std::int64_t>(limits.maxMegabytes, 0)) * kMegabyte;
  std::vector<std::string> removed;
  for (auto entry = entries.rbegin(); entry != entries.rend() && (count > limits.keep || bytes > most); ++entry) {
    if (*entry == own) continue;
    const std::uint64_t size = BytesOf(*entry);
    try {
      Remove(*entry);
    } catch (const Error&) {
      continue;  // held by somebody; the next run tries again
    }
    bytes -= size;
    --count;
    removed.push_back(*entry);
  }
  return removed;
}

}  // namespace mv::history
