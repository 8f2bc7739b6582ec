#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "platform/FileSystem.h"

namespace mv {

/// A file system that holds one file in memory, under every path that is asked for. The table file classes open
/// "<table name>.pdb" in a folder and keep it from others meanwhile; over this they read and build a table whatever its
/// file is called, and the real file is touched once, as a whole.
///
/// Only Open and the questions about existence work; what would need a second file is error 75.
class OneFileSystem : public platform::FileSystem {
 public:
  explicit OneFileSystem(Bytes content) : content_(std::move(content)) {}

  const Bytes& Content() const { return content_; }

  /// Files opened may not outlive this object.
  std::unique_ptr<platform::File> Open(const std::string& path, platform::Access access,
                                       platform::Disposition disposition, platform::Sharing sharing) override;
  bool FileExists(const std::string& path) const override;
  bool FolderExists(const std::string& path) const override;
  std::vector<std::string> List(const std::string& folder) const override;
  platform::FileFacts FactsOf(const std::string& path) const override;
  std::uint64_t LastWriteTime(const std::string& path) const override;
  void RemoveFile(const std::string& path) override;
  void RenameFile(const std::string& from, const std::string& to) override;
  void CreateFolders(const std::string& folder) override;
  bool CreateFolder(const std::string& folder) override;
  void RemoveFolder(const std::string& folder) override;
  void LinkFile(const std::string& from, const std::string& name) override;
  std::unique_ptr<platform::File> CreateStaged(const std::string& path, const std::string& like) override;
  std::unique_ptr<platform::File> ReplaceOpen(std::unique_ptr<platform::File>& staged,
                                              std::unique_ptr<platform::File>& current, const std::string& path,
                                              platform::Existing existing) override;
  bool IsRangeLocked(const std::string& path, std::uint64_t first, std::uint64_t count) const override;
  std::string IdentityOf(const std::string& path) const override;
  std::string RealPath(const std::string& path) const override;

 private:
  Bytes content_;
};

}  // namespace mv
