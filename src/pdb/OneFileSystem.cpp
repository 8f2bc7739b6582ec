#include "pdb/OneFileSystem.h"

#include <algorithm>

#include "base/Error.h"

namespace mv {
namespace {

[[noreturn]] void RefuseSecondFile() {
  throw StandardError(errors::kPathFileAccess, "OneFileSystem");
}

class MemoryFile : public platform::File {
 public:
  explicit MemoryFile(Bytes& content) : content_(content) {}

  std::uint64_t Size() const override { return content_.size(); }

  std::size_t ReadAt(std::uint64_t offset, ByteSpan out) override {
    const std::size_t start = static_cast<std::size_t>(std::min<std::uint64_t>(offset, content_.size()));
    const std::size_t count = std::min(out.size(), content_.size() - start);
    std::copy_n(content_.begin() + static_cast<std::ptrdiff_t>(start), count, out.begin());
    return count;
  }

  void WriteAt(std::uint64_t offset, ByteView data) override {
    const std::size_t end = static_cast<std::size_t>(offset) + data.size();
    if (content_.size() < end) content_.resize(end);
    std::copy(data.begin(), data.end(), content_.begin() + static_cast<std::ptrdiff_t>(offset));
  }

  void Resize(std::uint64_t size) override { content_.resize(static_cast<std::size_t>(size)); }

  void Sync() override {
    // Memory is all the durability asked for.
  }

 private:
  Bytes& content_;
};

}  // namespace

std::unique_ptr<platform::File> OneFileSystem::Open(const std::string&, platform::Access,
                                                    platform::Disposition disposition, platform::Sharing) {
  if (disposition == platform::Disposition::CreateAlways) content_.clear();
  return std::make_unique<MemoryFile>(content_);
}

bool OneFileSystem::FileExists(const std::string&) const {
  return true;
}

bool OneFileSystem::FolderExists(const std::string&) const {
  return true;
}

std::vector<std::string> OneFileSystem::List(const std::string&) const {
  RefuseSecondFile();
}

platform::FileFacts OneFileSystem::FactsOf(const std::string&) const {
  RefuseSecondFile();
}

std::uint64_t OneFileSystem::LastWriteTime(const std::string&) const {
  RefuseSecondFile();
}

void OneFileSystem::RemoveFile(const std::string&) {
  RefuseSecondFile();
}

void OneFileSystem::RenameFile(const std::string&, const std::string&) {
  RefuseSecondFile();
}

void OneFileSystem::CreateFolders(const std::string&) {
  RefuseSecondFile();
}

bool OneFileSystem::CreateFolder(const std::string&) {
  RefuseSecondFile();
}

void OneFileSystem::RemoveFolder(const std::string&) {
  RefuseSecondFile();
}

void OneFileSystem::LinkFile(const std::string&, const std::string&) {
  RefuseSecondFile();
}

std::unique_ptr<platform::File> OneFileSystem::CreateStaged(const std::string&, const std::string&) {
  RefuseSecondFile();
}

std::unique_ptr<platform::File> OneFileSystem::ReplaceOpen(std::unique_ptr<platform::File>&,
                                                           std::unique_ptr<platform::File>&, const std::string&,
                                                           platform::Existing) {
  RefuseSecondFile();
}

bool OneFileSystem::IsRangeLocked(const std::string&, std::uint64_t, std::uint64_t) const {
  return false;
}

std::string OneFileSystem::IdentityOf(const std::string&) const {
  return {};
}

std::string OneFileSystem::RealPath(const std::string& path) const {
  return path;
}

}  // namespace mv
