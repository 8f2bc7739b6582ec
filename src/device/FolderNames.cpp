#include "device/FolderNames.h"

#include <algorithm>
#include <utility>

#include "base/Text.h"
#include "device/DevicePattern.h"

namespace mv {
namespace {

/// Blanks and dots at a name's end are dropped by some systems, so ".. " may mean ".." and "a." may mean "a".
bool IsPlainName(std::string_view name) {
  constexpr std::string_view kForbidden("<>:\"|?*\0", 8);
  const bool endsOddly = name.ends_with('.') || name.ends_with(' ');
  return !name.empty() && !endsOddly && name.find_first_of(kForbidden) == name.npos;
}

constexpr std::string_view kSeparators = "\\/";

/// The names between the separators of a device path; nothing when one of them is no plain name or there is none.
std::vector<std::string> SegmentsOf(std::string_view path) {
  std::vector<std::string> segments;
  for (std::size_t start = path.find_first_not_of(kSeparators); start != path.npos;) {
    const std::size_t end = std::min(path.find_first_of(kSeparators, start), path.size());
    const std::string_view name = path.substr(start, end - start);
    if (!IsPlainName(name)) return {};
    segments.emplace_back(name);
    start = path.find_first_not_of(kSeparators, end);
  }
  return segments;
}

std::string WithoutSeparatorsAtEnd(std::string_view path) {
  const std::size_t last = path.find_last_not_of("\\/");
  return std::string(path.substr(0, last == path.npos ? 0 : last + 1));
}

}  // namespace

FolderNames::FolderNames(platform::FileSystem& files, const std::string& root)
    : files_(files), prefix_(WithoutSeparatorsAtEnd(root)) {}

bool FolderNames::Exists(const std::string& localPath) const {
  return files_.FileExists(localPath) || files_.FolderExists(localPath);
}

std::optional<std::string> FolderNames::EntryName(const std::string& folder, const std::string& name) const {
  const std::string exact = JoinPath(folder, name);
  if (Exists(exact)) return name;
  std::optional<std::string> match;
  for (const std::string& entry : files_.List(folder + '\\')) {
    if (FoldCase(entry) != FoldCase(name)) continue;
    if (!match || entry < *match) match = entry;  // the listing has no order, the answer must have one
  }
  return match;
}

std::optional<std::string> FolderNames::LocalPath(std::string_view devicePath) const {
  std::vector<std::string> segments = SegmentsOf(devicePath);
  if (segments.empty()) return std::nullopt;
  const std::string last = std::move(segments.back());
  segments.pop_back();
  const std::optional<std::string> folder = LocalFolder(segments);
  if (!folder) return std::nullopt;
  return JoinPath(*folder, EntryName(*folder, last).value_or(last));
}

std::optional<std::string> FolderNames::LocalFolder(const std::vector<std::string>& names) const {
  std::string folder = prefix_;
  for (const std::string& name : names) {
    const std::optional<std::string> entry = EntryName(folder, name);
    if (!entry) return std::nullopt;
    folder = JoinPath(folder, *entry);
  }
  return folder;
}

std::vector<FolderNames::Match> FolderNames::Matches(std::string_view pattern) const {
  const std::size_t nameAt = FolderLength(pattern);
  const std::string_view folderPath = pattern.substr(0, nameAt);
  const std::vector<std::string> segments = SegmentsOf(folderPath);
  const bool isRoot = folderPath.find_first_not_of(kSeparators) == folderPath.npos;
  if (segments.empty() && !isRoot) return {};
  const std::optional<std::string> folder = LocalFolder(segments);
  if (!folder || !files_.FolderExists(*folder + '\\')) return {};
  const DevicePattern wanted(pattern.substr(nameAt));
  std::vector<Match> matches;
  for (const std::string& name : files_.List(*folder + '\\')) {
    const std::string path = JoinPath(*folder, name);
    if (IsPlainName(name) && wanted.Fits(name) && Exists(path)) matches.push_back({name, path});
  }
  return matches;
}

}  // namespace mv
