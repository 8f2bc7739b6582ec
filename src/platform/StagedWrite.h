#pragma once

#include <memory>
#include <string>

#include "platform/FileSystem.h"

namespace mv::platform {

/// A file that is written beside its place and put there when it is complete: at every instant the name leads to the
/// old file or to the new one, whole. Through a link it replaces the link's target.
///
/// The old file is held meanwhile, so that nobody changes what is about to be replaced. The new one gets its mode and
/// owner. An object that goes without Finish leaves the old file in place and nothing beside it; a killed program
/// leaves "NAME.writing", which the next write of that file takes over.
class StagedWrite {
 public:
  /// Takes hold of the file at `path`, if there is one, and makes the new one, empty. `like`: whose mode and owner the
  /// new file gets when there is no old one. Error 70 when another program has either of them, and the errors of
  /// FileSystem::Open.
  StagedWrite(FileSystem& files, const std::string& path, const std::string& like = {});
  /// For whoever holds the file at `path` already: `current`, opened ReadWrite and Sharing::None, or null when there is
  /// none. It can be read until Finish, which gives it up; must outlive this object. When Finish raises it is still
  /// held, or null where the system had to let go of it.
  StagedWrite(FileSystem& files, const std::string& path, std::unique_ptr<File>& current);
  ~StagedWrite();
  StagedWrite(const StagedWrite&) = delete;
  StagedWrite& operator=(const StagedWrite&) = delete;

  /// Takes over what somebody has written under FileSystem::StagedName(path). Nothing at `path` is held.
  static std::unique_ptr<StagedWrite> TakeOver(FileSystem& files, const std::string& path);
  /// The same for whoever holds the file at `path`, as above.
  static std::unique_ptr<StagedWrite> TakeOver(FileSystem& files, const std::string& path,
                                               std::unique_ptr<File>& current);

  File& Contents() { return *staged_; }
  /// On return the new file is on disk under its name; it is returned, opened ReadWrite and Sharing::None. When this
  /// raises the old file is in place. The last call.
  std::unique_ptr<File> Finish() { return OnDisk(Place(Existing::Replace)); }
  /// The same for a name that is free: error 58 when a file has come there by now, which stays.
  std::unique_ptr<File> FinishNew() { return OnDisk(Place(Existing::Keep)); }
  /// Finish, but for the name: a power cut may leave the old file under it until FileSystem::SyncFolder was called.
  std::unique_ptr<File> FinishContents() { return Place(Existing::Replace); }

 private:
  struct WrittenAlready {};
  /// `current` null: this object's own, which is empty.
  StagedWrite(FileSystem& files, const std::string& path, std::unique_ptr<File>* current, WrittenAlready);
  std::unique_ptr<File> Place(Existing existing);
  std::unique_ptr<File> OnDisk(std::unique_ptr<File> placed);

  FileSystem& files_;
  std::string path_;
  std::unique_ptr<File> held_;
  std::unique_ptr<File>& current_;  ///< held_, or the caller's
  std::unique_ptr<File> staged_;
  bool placed_ = false;
};

}  // namespace mv::platform
