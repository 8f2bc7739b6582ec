#include "run/PreviewParts.h"

#include <utility>

#include "base/Error.h"

namespace mv {
namespace {

/// Of a file that is being sent; no real handle has this value.
constexpr RapiHandle kSending = kInvalidRapiHandle - 1;

}  // namespace

ScratchFileSystem::ScratchFileSystem(platform::FileSystem& files, const std::string& scratch)
    : ForwardingFileSystem(files), scratch_(files.RealPath(scratch)) {}

bool ScratchFileSystem::IsScratch(const std::string& path) {
  const std::string real = Inner().RealPath(path);
  if (!real.starts_with(scratch_)) return false;
  return real.size() == scratch_.size() || real[scratch_.size()] == '/' || real[scratch_.size()] == '\\';
}

void ScratchFileSystem::RequireScratch(const std::string& path) {
  if (!IsScratch(path)) throw StandardError(errors::kPathFileAccess, path);
}

std::unique_ptr<platform::File> ScratchFileSystem::Open(const std::string& path, platform::Access access,
                                                        platform::Disposition disposition, platform::Sharing sharing) {
  const bool changes = access != platform::Access::Read || disposition != platform::Disposition::OpenExisting;
  if (changes) RequireScratch(path);
  return Inner().Open(path, access, disposition, sharing);
}

void ScratchFileSystem::RemoveFile(const std::string& path) {
  if (IsScratch(path)) Inner().RemoveFile(path);
}

void ScratchFileSystem::RenameFile(const std::string& from, const std::string& to) {
  RequireScratch(from);
  RequireScratch(to);
  Inner().RenameFile(from, to);
}

void ScratchFileSystem::CreateFolders(const std::string& folder) {
  RequireScratch(folder);
  Inner().CreateFolders(folder);
}

bool ScratchFileSystem::CreateFolder(const std::string& folder) {
  RequireScratch(folder);
  return Inner().CreateFolder(folder);
}

void ScratchFileSystem::RemoveFolder(const std::string& folder) {
  RequireScratch(folder);
  Inner().RemoveFolder(folder);
}

void ScratchFileSystem::LinkFile(const std::string& from, const std::string& name) {
  RequireScratch(from);
  RequireScratch(name);
  Inner().LinkFile(from, name);
}

std::unique_ptr<platform::File> ScratchFileSystem::CreateStaged(const std::string& path, const std::string& like) {
  RequireScratch(path);
  return Inner().CreateStaged(path, like);
}

std::unique_ptr<platform::File> ScratchFileSystem::ReplaceOpen(std::unique_ptr<platform::File>& staged,
                                                               std::unique_ptr<platform::File>& current,
                                                               const std::string& path, platform::Existing existing) {
  RequireScratch(path);
  return Inner().ReplaceOpen(staged, current, path, existing);
}

void ScratchFileSystem::DiscardStaged(std::unique_ptr<platform::File> staged, const std::string& path) {
  if (IsScratch(path)) Inner().DiscardStaged(std::move(staged), path);
}

std::string ScratchFileSystem::CreateTempFile(const std::string& folder, const std::string& prefix) {
  RequireScratch(folder);
  return Inner().CreateTempFile(folder, prefix);
}

RapiHandle ReadOnlyRapi::CeCreateFile(const std::string& path, std::uint32_t access, std::uint32_t shareMode,
                                      std::uint32_t securityAttributes, std::uint32_t disposition,
                                      std::uint32_t flagsAndAttributes) {
  if ((access & rapi::kGenericWrite) != 0) return kSending;
  return handheld_.CeCreateFile(path, access, shareMode, securityAttributes, disposition, flagsAndAttributes);
}

std::int32_t ReadOnlyRapi::CeWriteFile(RapiHandle, ByteView data, std::uint32_t& bytesWritten) {
  bytesWritten = static_cast<std::uint32_t>(data.size());
  return rapi::kDone;
}

std::int32_t ReadOnlyRapi::CeCloseHandle(RapiHandle handle) {
  return handle == kSending ? rapi::kDone : handheld_.CeCloseHandle(handle);
}

}  // namespace mv
