#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/FileSystem.h"

namespace mv::platform {

/// A file system that does what another does. Those that add something to it override what they change.
class ForwardingFileSystem : public FileSystem {
 public:
  /// `files` must outlive this object.
  explicit ForwardingFileSystem(FileSystem& files) : files_(files) {}

  std::unique_ptr<File> Open(const std::string& path, Access access, Disposition disposition,
                             Sharing sharing) override {
    return files_.Open(path, access, disposition, sharing);
  }
  bool FileExists(const std::string& path) const override { return files_.FileExists(path); }
  bool FolderExists(const std::string& path) const override { return files_.FolderExists(path); }
  bool FileExistsForScripts(const std::string& path) const override { return files_.FileExistsForScripts(path); }
  std::vector<std::string> List(const std::string& folder) const override { return files_.List(folder); }
  FileFacts FactsOf(const std::string& path) const override { return files_.FactsOf(path); }
  FileTrace TraceOf(const std::string& path) const override { return files_.TraceOf(path); }
  std::uint64_t FreeBytes(const std::string& folder) const override { return files_.FreeBytes(folder); }
  bool MayMakeFilesIn(const std::string& folder) const override { return files_.MayMakeFilesIn(folder); }
  std::uint64_t LastWriteTime(const std::string& path) const override { return files_.LastWriteTime(path); }
  void RemoveFile(const std::string& path) override { files_.RemoveFile(path); }
  void RenameFile(const std::string& from, const std::string& to) override { files_.RenameFile(from, to); }
  void CreateFolders(const std::string& folder) override { files_.CreateFolders(folder); }
  bool CreateFolder(const std::string& folder) override { return files_.CreateFolder(folder); }
  void RemoveFolder(const std::string& folder) override { files_.RemoveFolder(folder); }
  void LinkFile(const std::string& from, const std::string& name) override { files_.LinkFile(from, name); }
  void SyncFolder(const std::string& folder) override { files_.SyncFolder(folder); }
  void NotNeededSoon(const std::string& path) override { files_.NotNeededSoon(path); }
  std::unique_ptr<File> CreateStaged(const std::string& path, const std::string& like) override {
    return files_.CreateStaged(path, like);
  }
  std::unique_ptr<File> ReplaceOpen(std::unique_ptr<File>& staged, std::unique_ptr<File>& current,
                                    const std::string& path, Existing existing) override {
    return files_.ReplaceOpen(staged, current, path, existing);
  }
  void DiscardStaged(std::unique_ptr<File> staged, const std::string& path) override {
    files_.DiscardStaged(std::move(staged), path);
  }
  bool IsRangeLocked(const std::string& path, std::uint64_t first, std::uint64_t count) const override {
    return files_.IsRangeLocked(path, first, count);
  }
  std::string IdentityOf(const std::string& path) const override { return files_.IdentityOf(path); }
  std::string RealPath(const std::string& path) const override { return files_.RealPath(path); }
  std::string CreateTempFile(const std::string& folder, const std::string& prefix) override {
    return files_.CreateTempFile(folder, prefix);
  }
  PrivateProfile* Profiles() override { return files_.Profiles(); }

 protected:
  FileSystem& Inner() { return files_; }

 private:
  FileSystem& files_;
};

}  // namespace mv::platform
