#include "history/RoomMaker.h"

#include <utility>

#include "base/Error.h"
#include "base/Text.h"

namespace mv::history {

template <typename Action>
auto RoomMaker::WithRoom(const std::string& path, Action action) {
  while (true) {
    try {
      return action();
    } catch (const Error& error) {
      if (error.Number() != errors::kDiskFull || !IsServed(path) || !GiveUpOldest()) throw;
    }
  }
}

/// A file whose writes make room.
class RoomMaker::RoomyFile : public platform::File {
 public:
  RoomyFile(RoomMaker& maker, std::unique_ptr<platform::File> file, std::string path)
      : maker_(maker), file_(std::move(file)), path_(std::move(path)) {}

  std::uint64_t Size() const override { return file_->Size(); }
  std::size_t ReadAt(std::uint64_t offset, ByteSpan out) override { return file_->ReadAt(offset, out); }
  void WriteAt(std::uint64_t offset, ByteView data) override {
    maker_.WithRoom(path_, [&] { file_->WriteAt(offset, data); });
  }
  void Resize(std::uint64_t size) override {
    maker_.WithRoom(path_, [&] { file_->Resize(size); });
  }
  void Sync() override {
    maker_.WithRoom(path_, [&] { file_->Sync(); });
  }
  bool StampTime() override { return file_->StampTime(); }
  bool TakeTimeOf(const platform::File& from) override { return file_->TakeTimeOf(from); }
  bool IsOpenHereOnly() override { return file_->IsOpenHereOnly(); }
  bool ShareContentOf(platform::File& from) override { return file_->ShareContentOf(Plain(from)); }
  /// Makes no room: that is not for a second thread. A copy that fails is begun anew by whoever needs it.
  std::unique_ptr<platform::ContentCopy> BeginCopyOf(platform::File& from) override {
    return file_->BeginCopyOf(Plain(from));
  }

 private:
  static platform::File& Plain(platform::File& file) {
    auto* const roomy = dynamic_cast<RoomyFile*>(&file);
    return roomy != nullptr ? *roomy->file_ : file;
  }

  RoomMaker& maker_;
  std::unique_ptr<platform::File> file_;
  std::string path_;
};

void RoomMaker::Serve(const std::string& database, const std::string& own) {
  // Below this object: what gives room must not ask for it.
  history_ = std::make_unique<HistoryFolder>(Inner(), database);
  folder_ = Inner().RealPath(database.substr(0, FolderLength(database)));
  own_ = own;
}

bool RoomMaker::IsServed(const std::string& path) {
  return history_ && Inner().RealPath(path).starts_with(folder_);
}

std::unique_ptr<platform::File> RoomMaker::Roomy(std::unique_ptr<platform::File> file, const std::string& path) {
  if (!history_) return file;
  return std::make_unique<RoomyFile>(*this, std::move(file), path);
}

bool RoomMaker::GiveUpOldest() {
  return history_->RemoveOldest(own_);
}

std::unique_ptr<platform::File> RoomMaker::Open(const std::string& path, platform::Access access,
                                                platform::Disposition disposition, platform::Sharing sharing) {
  auto file = Inner().Open(path, access, disposition, sharing);
  return access == platform::Access::Read ? std::move(file) : Roomy(std::move(file), path);
}

void RoomMaker::CopyWhole(const std::string& from, const std::string& to) {
  WithRoom(to, [&] { Inner().CopyWhole(from, to); });
}

void RoomMaker::WriteWhole(const std::string& path, ByteView content) {
  WithRoom(path, [&] { Inner().WriteWhole(path, content); });
}

std::unique_ptr<platform::File> RoomMaker::CreateStaged(const std::string& path, const std::string& like) {
  return Roomy(WithRoom(path, [&] { return Inner().CreateStaged(path, like); }), path);
}

std::unique_ptr<platform::File> RoomMaker::ReplaceOpen(std::unique_ptr<platform::File>& staged,
                                                       std::unique_ptr<platform::File>& current,
                                                       const std::string& path, platform::Existing existing) {
  return Roomy(WithRoom(path, [&] { return Inner().ReplaceOpen(staged, current, path, existing); }), path);
}

}  // namespace mv::history
