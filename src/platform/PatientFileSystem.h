#pragma once

#include <utility>

#include "platform/FileSystem.h"
#include "platform/System.h"

namespace mv::platform {

/// A file system that waits for its turn: whatever meets somebody else's hold on a file (error 70) is tried again for
/// two seconds before the error is raised. Virus scanners, indexers and backup programs take hold of each new file for
/// some milliseconds; a run shall not end because of them. All else is the file system behind it.
class PatientFileSystem : public FileSystem {
 public:
  /// Between two attempts, and in all.
  static constexpr std::chrono::milliseconds kPause{10};
  static constexpr std::chrono::milliseconds kPatience{2000};

  /// Both must outlive this object.
  PatientFileSystem(FileSystem& files, const Clock& clock) : files_(files), clock_(clock) {}

  std::unique_ptr<File> Open(const std::string& path, Access access, Disposition disposition, Sharing sharing) override;
  bool FileExists(const std::string& path) const override { return files_.FileExists(path); }
  bool FolderExists(const std::string& path) const override { return files_.FolderExists(path); }
  bool FileExistsForScripts(const std::string& path) const override { return files_.FileExistsForScripts(path); }
  std::vector<std::string> List(const std::string& folder) const override { return files_.List(folder); }
  FileFacts FactsOf(const std::string& path) const override { return files_.FactsOf(path); }
  void RemoveFile(const std::string& path) override;
  void RenameFile(const std::string& from, const std::string& to) override;
  void CreateFolders(const std::string& folder) override { files_.CreateFolders(folder); }
  bool CreateFolder(const std::string& folder) override { return files_.CreateFolder(folder); }
  void RemoveFolder(const std::string& folder) override { files_.RemoveFolder(folder); }
  void LinkFile(const std::string& from, const std::string& name) override;
  void CopyWhole(const std::string& from, const std::string& to) override;
  void WriteWhole(const std::string& path, ByteView content) override;
  std::unique_ptr<File> CreateStaged(const std::string& path, const std::string& like) override;
  std::unique_ptr<File> ReplaceOpen(std::unique_ptr<File>& staged, std::unique_ptr<File>& current,
                                    const std::string& path, Existing existing) override;
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

 private:
  /// What `action` returns as soon as nobody's hold keeps it from it.
  template <typename Action>
  auto Patiently(Action action);

  FileSystem& files_;
  const Clock& clock_;
};

}  // namespace mv::platform
