#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "platform/FileSystem.h"

namespace mv::testing {

/// A file system in memory with the contract of platform::FileSystem, for tests: it counts what reaches the "disk" and
/// fails when told to. Names are case-sensitive; a drive ("C:") is a folder like any other. "\x" lies in the root of
/// the current drive, "x" in the current folder.
class MemoryFileSystem : public platform::FileSystem {
 public:
  /// Creates or replaces a file and the folders above it, on the disk. Not counted, never fails.
  void Put(const std::string& path, Bytes content) {
    CreateFolders(FolderOf(Normal(path)));
    const std::shared_ptr<Node> node = NodeOf(Normal(path));
    node->synced = content;
    node->content = std::move(content);
    synced_[Normal(path)] = node;
  }
  /// Gives a file a second name. Not counted, never fails.
  void Link(const std::string& path, const std::string& name) {
    CreateFolders(FolderOf(Normal(name)));
    files_[Normal(name)] = NodeAt(Normal(path));
  }

  /// What may have reached the disk unasked before a power cut.
  struct Survivors {
    bool names = false;     ///< all that were given, changed or taken away
    bool contents = false;  ///< all that was written
  };
  /// What a power cut at this moment would leave: each file by its path, with "/" for separators. What was synced is as
  /// it was then. Folders are taken to be there.
  std::map<std::string, Bytes> AfterPowerCut(Survivors survivors) const {
    std::map<std::string, Bytes> left;
    for (const auto& [path, node] : survivors.names ? files_ : synced_) {
      left[path] = survivors.contents ? node->content : node->synced;
    }
    return left;
  }
  /// From now on `look` is called after each step that changes what a power cut would leave.
  void LookAtEachStep(std::function<void()> look) { disk_->look = std::move(look); }
  /// From now on LinkFile fails, as on file systems that know one name for a file.
  void RefuseLinks() { refusesLinks_ = true; }
  /// Whoever asks is told that files may not be made in this folder, by this spelling; nothing stops who makes one.
  void CloseFolder(const std::string& folder) { closedFolders_.insert(folder); }
  /// Bytes that the volume has left, as FreeBytes tells them; nothing stops who writes more.
  void SetFreeBytes(std::uint64_t bytes) { freeBytes_ = bytes; }
  /// From now on files can share their blocks, or no more.
  void ShareBlocks(bool shares) { disk_->sharesBlocks = shares; }
  /// When a copy that was begun beside its caller's work (File::BeginCopyOf) is made.
  enum class CopiesAhead { Never, AtOnce, AtItsEnd };
  /// From now on such copies can be begun, or no more.
  void CopyAhead(CopiesAhead copies) { disk_->copiesAhead = copies; }
  /// Bytes written so far by WriteAt.
  std::uint64_t BytesWritten() const { return disk_->bytesWritten; }
  /// What a file holds. Error 53.
  Bytes Content(const std::string& path) const { return NodeAt(Normal(path))->content; }

  /// The `count`th write from now on (1: the next) fails with `error`. A write is a call of WriteAt, Resize,
  /// WriteWhole, CopyWhole or ReplaceOpen. WriteAt keeps the first half of the data, as a full disk does; the others
  /// change nothing.
  void FailWrite(std::size_t count, std::int32_t error = errors::kDiskFull) { disk_->writeFault = {count, error}; }
  /// The `count`th ReadAt from now on fails with `error`.
  void FailRead(std::size_t count, std::int32_t error = errors::kDeviceIo) { disk_->readFault = {count, error}; }
  /// The `count`th Sync from now on fails with `error`.
  void FailSync(std::size_t count, std::int32_t error = errors::kDiskFull) { disk_->syncFault = {count, error}; }

  /// The opens of `path` number `first` to `first + count - 1` from now on (1: the next) fail with `error`.
  void FailOpens(const std::string& path, std::size_t first, std::size_t count, std::int32_t error) {
    openFaults_[Normal(path)] = {first, count, error};
  }

  /// Calls so far that reached a file.
  std::size_t Opens() const { return opens_; }
  std::size_t Reads() const { return disk_->reads; }
  std::size_t Writes() const { return disk_->writes; }

  std::unique_ptr<platform::File> Open(const std::string& path, platform::Access access,
                                       platform::Disposition disposition, platform::Sharing sharing) override {
    const std::string name = Normal(path);
    CountOpen(name);
    if (folders_.contains(name)) throw StandardError(errors::kPathFileAccess);
    RequireFolder(name);
    const bool creates = disposition != platform::Disposition::OpenExisting;
    const std::shared_ptr<Node> node = creates ? NodeOf(name) : NodeAt(name);
    auto file = std::make_unique<MemoryFile>(disk_, node, access, sharing);
    if (disposition == platform::Disposition::CreateAlways) node->content.clear();
    ++opens_;
    disk_->look();
    return file;
  }

  bool FileExists(const std::string& path) const override { return files_.contains(Normal(path)); }
  bool FolderExists(const std::string& path) const override { return folders_.contains(Normal(path)); }

  std::vector<std::string> List(const std::string& folder) const override {
    const std::string name = Normal(folder);
    if (!folders_.contains(name)) throw StandardError(errors::kPathNotFound);
    std::vector<std::string> names;
    const auto add = [&](const std::string& path) {
      if (path != name && FolderOf(path) == name) names.push_back(path.substr(path.rfind('/') + 1));
    };
    for (const auto& [path, node] : files_) add(path);
    for (const std::string& path : folders_) add(path);
    return names;
  }

  platform::FileFacts FactsOf(const std::string& path) const override {
    const Node& node = *NodeAt(Normal(path));
    return {node.content.size(), node.modified};
  }

  platform::FileTrace TraceOf(const std::string& path) const override {
    const auto found = files_.find(Normal(path));
    if (found == files_.end()) return {};
    const std::shared_ptr<Node>& node = found->second;
    const auto names =
        std::count_if(files_.begin(), files_.end(), [&](const auto& file) { return file.second == node; });
    std::ostringstream content;
    content << node.get() << ':' << node->content.size() << ':' << node->modified;
    return {content.str(), {}, static_cast<std::uint32_t>(names)};
  }

  bool MayMakeFilesIn(const std::string& folder) const override {
    return FolderExists(folder) && !closedFolders_.contains(folder);
  }
  std::uint64_t FreeBytes(const std::string&) const override { return freeBytes_; }

  /// The number of the write that was its last; folders have none.
  std::uint64_t LastWriteTime(const std::string& path) const override {
    if (folders_.contains(Normal(path))) return 0;
    return static_cast<std::uint64_t>(NodeAt(Normal(path))->modified);
  }

  void RemoveFile(const std::string& path) override {
    const std::string name = Normal(path);
    if (folders_.contains(name)) throw StandardError(errors::kPathFileAccess);
    RequireFree(*NodeAt(name));
    files_.erase(name);
    disk_->look();
  }

  void RenameFile(const std::string& from, const std::string& to) override {
    const std::shared_ptr<Node> node = NodeAt(Normal(from));
    RequireFolder(Normal(to));
    RequireFree(*node);
    if (FileExists(to)) RequireFree(*files_.at(Normal(to)));
    files_.erase(Normal(from));
    files_[Normal(to)] = node;
    disk_->look();
  }

  void CreateFolders(const std::string& folder) override {
    std::string name = Normal(folder);
    if (files_.contains(name)) throw StandardError(errors::kPathFileAccess);
    while (folders_.insert(name).second) name = FolderOf(name);
  }

  bool CreateFolder(const std::string& folder) override {
    const std::string name = Normal(folder);
    RequireFolder(name);
    return !files_.contains(name) && folders_.insert(name).second;
  }

  void RemoveFolder(const std::string& folder) override {
    const std::string name = Normal(folder);
    if (!folders_.contains(name)) throw StandardError(errors::kPathNotFound);
    if (!List(name).empty()) throw StandardError(errors::kPathFileAccess);
    folders_.erase(name);
  }

  void LinkFile(const std::string& from, const std::string& name) override {
    const std::shared_ptr<Node> node = NodeAt(Normal(from));
    RequireFolder(Normal(name));
    if (refusesLinks_) throw StandardError(errors::kPathFileAccess);
    if (files_.contains(Normal(name))) throw StandardError(errors::kFileAlreadyExists);
    files_[Normal(name)] = node;
    disk_->look();
  }

  void SyncFolder(const std::string& folder) override {
    const std::string name = Normal(folder);
    const auto isInFolder = [&](const auto& file) { return FolderOf(file.first) == name; };
    std::erase_if(synced_, isInFolder);
    std::copy_if(files_.begin(), files_.end(), std::inserter(synced_, synced_.end()), isInFolder);
    disk_->look();
  }

  void CopyWhole(const std::string& from, const std::string& to) override {
    const std::shared_ptr<Node> source = NodeAt(Normal(from));
    const MemoryFile held(disk_, source, platform::Access::Read, platform::Sharing::Read);
    WriteWhole(to, source->content);
  }

  void WriteWhole(const std::string& path, ByteView content) override {
    const std::string name = Normal(path);
    if (folders_.contains(name)) throw StandardError(errors::kPathFileAccess);
    RequireFolder(name);
    if (files_.contains(name)) RequireFree(*files_.at(name));
    ++disk_->writes;
    disk_->writeFault.Count();
    const auto node = std::make_shared<Node>();
    node->content.assign(content.begin(), content.end());
    node->synced = node->content;
    node->modified = static_cast<std::int64_t>(disk_->writes);
    files_[name] = node;
    synced_[name] = node;
    disk_->look();
  }

  std::unique_ptr<platform::File> ReplaceOpen(std::unique_ptr<platform::File>& staged,
                                              std::unique_ptr<platform::File>& current, const std::string& path,
                                              platform::Existing existing) override {
    const std::string from = Normal(StagedName(path));
    const std::string to = Normal(path);
    const std::shared_ptr<Node> node = NodeAt(from);
    if (existing == platform::Existing::Keep && files_.contains(to)) throw StandardError(errors::kFileAlreadyExists);
    if (files_.contains(to) && files_.at(to)->openings.size() > (current ? 1u : 0u)) {
      throw StandardError(errors::kPermissionDenied);
    }
    ++disk_->writes;
    disk_->writeFault.Count();
    staged->Sync();
    files_.erase(from);
    files_[to] = node;
    disk_->look();
    staged.reset();
    current.reset();
    return std::make_unique<MemoryFile>(disk_, node, platform::Access::ReadWrite, platform::Sharing::None);
  }

  bool IsRangeLocked(const std::string& path, std::uint64_t, std::uint64_t) const override {
    const auto found = files_.find(Normal(path));
    if (found == files_.end()) return false;
    const std::vector<Opening>& openings = found->second->openings;
    return std::any_of(openings.begin(), openings.end(),
                       [](const Opening& opening) { return opening.sharing == platform::Sharing::None; });
  }

  std::string IdentityOf(const std::string& path) const override {
    const auto found = files_.find(Normal(path));
    if (found == files_.end()) return Normal(path);
    std::ostringstream address;
    address << "node " << found->second.get();
    return address.str();
  }

  std::string RealPath(const std::string& path) const override { return Normal(path); }

 private:
  /// Counts calls down to the one that fails; 0 when none will.
  struct Fault {
    std::size_t remaining = 0;
    std::int32_t error = 0;

    void Count() {
      if (remaining > 0 && --remaining == 0) throw StandardError(error);
    }
  };
  struct OpenFault {
    std::size_t first = 1;
    std::size_t count = 0;
    std::int32_t error = 0;
  };
  /// What the files share with the file system, which they may outlive.
  struct Disk {
    Fault writeFault;
    Fault readFault;
    Fault syncFault;
    std::size_t reads = 0;
    std::size_t writes = 0;
    std::uint64_t bytesWritten = 0;
    bool sharesBlocks = false;
    CopiesAhead copiesAhead = CopiesAhead::Never;
    std::function<void()> look = [] {};
  };
  struct Opening {
    platform::Access access;
    platform::Sharing sharing;

    bool Writes() const { return access != platform::Access::Read; }
    bool Excludes(const Opening& other) const {
      return sharing == platform::Sharing::None || (sharing == platform::Sharing::Read && other.Writes());
    }
  };
  struct Node {
    Bytes content;
    Bytes synced;               ///< the content that is on the disk for certain
    std::int64_t modified = 0;  ///< the number of the write that was its last
    std::vector<Opening> openings;
  };

  class MemoryFile : public platform::File {
   public:
    MemoryFile(std::shared_ptr<Disk> disk, std::shared_ptr<Node> node, platform::Access access,
               platform::Sharing sharing)
        : disk_(std::move(disk)), node_(std::move(node)), opening_{access, sharing} {
      for (const Opening& other : node_->openings) {
        if (opening_.Excludes(other) || other.Excludes(opening_)) throw StandardError(errors::kPermissionDenied);
      }
      node_->openings.push_back(opening_);
    }
    ~MemoryFile() override {
      std::vector<Opening>& openings = node_->openings;
      openings.erase(std::find_if(openings.begin(), openings.end(), [&](const Opening& other) {
        return other.access == opening_.access && other.sharing == opening_.sharing;
      }));
    }

    std::uint64_t Size() const override { return node_->content.size(); }

    std::size_t ReadAt(std::uint64_t offset, ByteSpan out) override {
      if (opening_.access == platform::Access::Write) throw StandardError(errors::kDeviceIo);
      ++disk_->reads;
      disk_->readFault.Count();
      const Bytes& content = node_->content;
      const std::size_t start = static_cast<std::size_t>(std::min<std::uint64_t>(offset, content.size()));
      const std::size_t count = std::min(out.size(), content.size() - start);
      std::copy_n(content.begin() + static_cast<std::ptrdiff_t>(start), count, out.begin());
      return count;
    }

    void WriteAt(std::uint64_t offset, ByteView data) override {
      RequireWritable();
      ++disk_->writes;
      try {
        disk_->writeFault.Count();
      } catch (const Error&) {
        Store(offset, data.first(data.size() / 2));
        throw;
      }
      Store(offset, data);
    }

    void Resize(std::uint64_t size) override {
      RequireWritable();
      ++disk_->writes;
      disk_->writeFault.Count();
      node_->content.resize(static_cast<std::size_t>(size));
      node_->modified = static_cast<std::int64_t>(disk_->writes);
      disk_->look();
    }

    void Sync() override {
      disk_->syncFault.Count();
      node_->synced = node_->content;
      disk_->look();
    }

    bool StampTime() override { return true; }
    bool IsOpenHereOnly() override { return node_->openings.size() == 1; }
    bool ShareContentOf(platform::File& from) override {
      if (!disk_->sharesBlocks) return false;
      node_->content = dynamic_cast<MemoryFile&>(from).node_->content;
      return true;
    }
    std::unique_ptr<platform::ContentCopy> BeginCopyOf(platform::File& from) override {
      if (disk_->copiesAhead == CopiesAhead::Never) return nullptr;
      auto copy = std::make_unique<MemoryCopy>(from, *this);
      if (disk_->copiesAhead == CopiesAhead::AtOnce) copy->Finish();
      return copy;
    }

   private:
    void RequireWritable() const {
      if (!opening_.Writes()) throw StandardError(errors::kDeviceIo);
    }

    void Store(std::uint64_t offset, ByteView data) {
      if (data.empty()) return;
      disk_->bytesWritten += data.size();
      const auto start = static_cast<std::size_t>(offset);
      if (node_->content.size() < start + data.size()) node_->content.resize(start + data.size());
      std::copy(data.begin(), data.end(), node_->content.begin() + static_cast<std::ptrdiff_t>(start));
      node_->modified = static_cast<std::int64_t>(disk_->writes);
      disk_->look();
    }

    std::shared_ptr<Disk> disk_;
    std::shared_ptr<Node> node_;
    Opening opening_;
  };

  /// Made in one step, by the caller's thread.
  class MemoryCopy : public platform::ContentCopy {
   public:
    MemoryCopy(platform::File& from, platform::File& to) : from_(from), to_(to) {}
    bool Finish() override {
      try {
        if (!done_) to_.WriteAt(0, platform::ReadWhole(from_));
        done_ = true;
      } catch (const Error&) {
        to_.Resize(0);
        return false;
      }
      return true;
    }

   private:
    platform::File& from_;
    platform::File& to_;
    bool done_ = false;
  };

  /// "C:\data\\x" and "C:/data/x/" as "C:/data/x".
  static std::string Normal(const std::string& path) {
    std::string name;
    for (const char c : path) {
      const bool separator = c == '\\' || c == '/';
      if (separator && name.ends_with('/')) continue;
      name += separator ? '/' : c;
    }
    if (name.size() > 1 && name.ends_with('/')) name.pop_back();
    return name;
  }
  static std::string FolderOf(const std::string& name) {
    const std::size_t separator = name.rfind('/');
    if (separator == std::string::npos) return {};
    return name.substr(0, std::max<std::size_t>(separator, 1));  // the root is its separator
  }

  void CountOpen(const std::string& name) {
    const auto found = openFaults_.find(name);
    if (found == openFaults_.end()) return;
    OpenFault& fault = found->second;
    if (fault.first > 1) {
      --fault.first;
    } else if (fault.count > 0) {
      --fault.count;
      throw StandardError(fault.error);
    }
  }
  void RequireFolder(const std::string& name) const {
    if (!folders_.contains(FolderOf(name))) throw StandardError(errors::kPathNotFound);
  }
  static void RequireFree(const Node& node) {
    if (!node.openings.empty()) throw StandardError(errors::kPermissionDenied);
  }
  std::shared_ptr<Node> NodeAt(const std::string& name) const {
    RequireFolder(name);
    const auto found = files_.find(name);
    if (found == files_.end()) throw StandardError(errors::kFileNotFound);
    return found->second;
  }
  std::shared_ptr<Node> NodeOf(const std::string& name) {
    std::shared_ptr<Node>& node = files_[name];
    if (!node) node = std::make_shared<Node>();
    return node;
  }

  std::shared_ptr<Disk> disk_ = std::make_shared<Disk>();
  std::map<std::string, std::shared_ptr<Node>> files_;
  std::map<std::string, std::shared_ptr<Node>> synced_;  ///< the names that are on the disk for certain
  std::map<std::string, OpenFault> openFaults_;
  std::set<std::string> folders_ = {"", "/"};
  std::size_t opens_ = 0;
  bool refusesLinks_ = false;
  std::uint64_t freeBytes_ = std::uint64_t{1} << 40;
  std::set<std::string> closedFolders_;
};

}  // namespace mv::testing
