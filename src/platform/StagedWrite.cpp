#include "platform/StagedWrite.h"

#include <utility>

#include "base/Text.h"

namespace mv::platform {
namespace {

std::unique_ptr<File> HoldExisting(FileSystem& files, const std::string& path) {
  if (!files.FileExists(path)) return nullptr;
  return files.Open(path, Access::ReadWrite, Disposition::OpenExisting, Sharing::None);
}

}  // namespace

StagedWrite::StagedWrite(FileSystem& files, const std::string& path, const std::string& like)
    : files_(files),
      path_(files.RealPath(path)),
      held_(HoldExisting(files, path_)),
      current_(held_),
      staged_(files.CreateStaged(path_, like)) {}

StagedWrite::StagedWrite(FileSystem& files, const std::string& path, std::unique_ptr<File>& current)
    : files_(files), path_(files.RealPath(path)), current_(current), staged_(files.CreateStaged(path_, {})) {}

StagedWrite::StagedWrite(FileSystem& files, const std::string& path, std::unique_ptr<File>* current, WrittenAlready)
    : files_(files),
      path_(files.RealPath(path)),
      current_(current != nullptr ? *current : held_),
      staged_(files.Open(files.StagedName(path_), Access::ReadWrite, Disposition::OpenExisting, Sharing::None)) {}

std::unique_ptr<StagedWrite> StagedWrite::TakeOver(FileSystem& files, const std::string& path) {
  return std::unique_ptr<StagedWrite>(new StagedWrite(files, path, nullptr, WrittenAlready{}));
}

std::unique_ptr<StagedWrite> StagedWrite::TakeOver(FileSystem& files, const std::string& path,
                                                   std::unique_ptr<File>& current) {
  return std::unique_ptr<StagedWrite>(new StagedWrite(files, path, &current, WrittenAlready{}));
}

StagedWrite::~StagedWrite() {
  if (!placed_) files_.DiscardStaged(std::move(staged_), path_);
}

std::unique_ptr<File> StagedWrite::Place(Existing existing) {
  std::unique_ptr<File> placed = files_.ReplaceOpen(staged_, current_, path_, existing);
  placed_ = true;
  return placed;
}

std::unique_ptr<File> StagedWrite::OnDisk(std::unique_ptr<File> placed) {
  files_.SyncFolder(path_.substr(0, FolderLength(path_)));
  return placed;
}

}  // namespace mv::platform
