#pragma once

#include "platform/ForwardingFileSystem.h"
#include "platform/System.h"

namespace mv::platform {

/// A file system that waits for its turn: whatever meets somebody else's hold on a file (error 70) is tried again for
/// two seconds before the error is raised. Virus scanners, indexers and backup programs take hold of each new file for
/// some milliseconds; a run shall not end because of them. Errors get the path as their subject. All else is the file
/// system behind it.
class PatientFileSystem : public ForwardingFileSystem {
 public:
  /// Between two attempts, and in all.
  static constexpr std::chrono::milliseconds kPause{10};
  static constexpr std::chrono::milliseconds kPatience{2000};

  /// Both must outlive this object.
  PatientFileSystem(FileSystem& files, const Clock& clock) : ForwardingFileSystem(files), clock_(clock) {}

  std::unique_ptr<File> Open(const std::string& path, Access access, Disposition disposition, Sharing sharing) override;
  void RemoveFile(const std::string& path) override;
  void RenameFile(const std::string& from, const std::string& to) override;
  void LinkFile(const std::string& from, const std::string& name) override;
  void CopyWhole(const std::string& from, const std::string& to) override;
  void WriteWhole(const std::string& path, ByteView content) override;
  std::unique_ptr<File> CreateStaged(const std::string& path, const std::string& like) override;
  std::unique_ptr<File> ReplaceOpen(std::unique_ptr<File>& staged, std::unique_ptr<File>& current,
                                    const std::string& path, Existing existing) override;

 private:
  /// What `action`, which works on `path`, returns as soon as nobody's hold keeps it from it.
  template <typename Action>
  auto Patiently(const std::string& path, Action action);

  const Clock& clock_;
};

}  // namespace mv::platform
