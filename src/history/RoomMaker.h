#pragma once

#include <functional>
#include <memory>
#include <string>

#include "history/HistoryFolder.h"
#include "platform/ForwardingFileSystem.h"

namespace mv::history {

/// A file system on which a full disk costs history before it costs a run: when there is no room for what is written in
/// the folder of the desktop database, or below it, the oldest entry of the history goes and the write is tried again,
/// until it succeeds or nothing but the run's own entry is left.
class RoomMaker : public platform::ForwardingFileSystem {
 public:
  /// `files` must outlive this object. Gives nothing up before Serve.
  explicit RoomMaker(platform::FileSystem& files) : ForwardingFileSystem(files) {}

  /// The history to take from is that of `database`; the entry `own` stays.
  void Serve(const std::string& database, const std::string& own);

  std::unique_ptr<platform::File> Open(const std::string& path, platform::Access access,
                                       platform::Disposition disposition, platform::Sharing sharing) override;
  void CopyWhole(const std::string& from, const std::string& to) override;
  void WriteWhole(const std::string& path, ByteView content) override;
  std::unique_ptr<platform::File> CreateStaged(const std::string& path, const std::string& like) override;
  std::unique_ptr<platform::File> ReplaceOpen(std::unique_ptr<platform::File>& staged,
                                              std::unique_ptr<platform::File>& current, const std::string& path,
                                              platform::Existing existing) override;

 private:
  class RoomyFile;

  /// Does what writes to the file `path`.
  template <typename Action>
  auto WithRoom(const std::string& path, Action action);
  /// Asked when a disk is full and not before: to learn where a path leads takes a call for each folder of it.
  bool IsServed(const std::string& path);
  std::unique_ptr<platform::File> Roomy(std::unique_ptr<platform::File> file, const std::string& path);
  /// False when there was nothing to give up.
  bool GiveUpOldest();

  std::unique_ptr<HistoryFolder> history_;  ///< null before Serve
  std::string folder_;
  std::string own_;
};

}  // namespace mv::history
