#include "platform/FileSystem.h"

#include <random>

#include "base/Error.h"
#include "base/Text.h"
#include "base/Utf.h"
#include "platform/StagedWrite.h"

namespace mv::platform {
namespace {

constexpr std::size_t kTempPrefixLength = 3;
constexpr unsigned kTempNumbers = 0x10000;

/// "nts3F2A.tmp".
std::string TempName(const std::string& prefix, unsigned number) {
  std::string name = FirstCharacters(prefix, kTempPrefixLength);
  for (int shift = 12; shift >= 0; shift -= 4) name += "0123456789ABCDEF"[number >> shift & 0xFu];
  return name + ".tmp";
}

}  // namespace

void FileSystem::CopyWhole(const std::string& from, const std::string& to) {
  const auto source = Open(from, Access::Read, Disposition::OpenExisting, Sharing::Read);
  StagedWrite staged(*this, to, from);
  CopyContent(*source, staged.Contents());
  staged.Finish();
}

void FileSystem::WriteWhole(const std::string& path, ByteView content) {
  StagedWrite staged(*this, path);
  staged.Contents().WriteAt(0, content);
  staged.Finish();
}

std::string FileSystem::StagedName(const std::string& path) const {
  return path + ".writing";
}

std::unique_ptr<File> FileSystem::CreateStaged(const std::string& path, const std::string&) {
  const std::string name = StagedName(path);
  if (FileExists(name)) RemoveFile(name);
  return Open(name, Access::ReadWrite, Disposition::CreateAlways, Sharing::None);
}

void FileSystem::DiscardStaged(std::unique_ptr<File> staged, const std::string& path) {
  staged.reset();
  try {
    RemoveFile(StagedName(path));
  } catch (const Error&) {
    // Whoever gave the write up knows why.
  }
}

std::string FileSystem::CreateTempFile(const std::string& folder, const std::string& prefix) {
  const std::string path = FolderLength(folder) == folder.size() ? folder : JoinPath(folder, {});
  // Programs that make temporary files at the same time should not meet on the same numbers.
  const unsigned first = std::random_device()();
  for (unsigned i = 0; i < kTempNumbers; ++i) {
    const std::string name = path + TempName(prefix, (first + i) % kTempNumbers);
    if (FileExists(name) || FolderExists(name)) continue;
    Open(name, Access::Write, Disposition::OpenAlways, Sharing::None);
    return name;
  }
  throw StandardError(errors::kFileAlreadyExists);
}

void CopyContent(File& from, File& to) {
  Bytes piece(std::size_t{1} << 20);
  std::size_t count = piece.size();
  for (std::uint64_t offset = 0; count == piece.size(); offset += count) {
    count = from.ReadAt(offset, piece);
    to.WriteAt(offset, ByteView(piece).first(count));
  }
}

Bytes ReadWhole(File& file) {
  Bytes content(static_cast<std::size_t>(file.Size()));
  content.resize(file.ReadAt(0, content));
  return content;
}

Bytes ReadWhole(FileSystem& files, const std::string& path) {
  return ReadWhole(*files.Open(path, Access::Read, Disposition::OpenExisting, Sharing::All));
}

}  // namespace mv::platform
