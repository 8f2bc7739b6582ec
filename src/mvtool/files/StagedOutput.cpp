#include "mvtool/files/StagedOutput.h"

#include <array>
#include <cstdint>
#include <streambuf>
#include <utility>

#include "base/Bytes.h"
#include "base/Error.h"

namespace mv::tool {

/// Collects what is written and hands it on to the file in pieces.
class StagedOutput::Buffer : public std::streambuf {
 public:
  explicit Buffer(platform::File& file) : file_(file) { setp(piece_.data(), piece_.data() + piece_.size()); }

 protected:
  int_type overflow(int_type character) override {
    WritePiece();
    if (!traits_type::eq_int_type(character, traits_type::eof())) sputc(traits_type::to_char_type(character));
    return traits_type::not_eof(character);
  }

  int sync() override {
    WritePiece();
    return 0;
  }

 private:
  static constexpr std::size_t kPieceSize = 64 * 1024;

  void WritePiece() {
    const auto size = static_cast<std::size_t>(pptr() - pbase());
    file_.WriteAt(offset_, ByteView(reinterpret_cast<const std::uint8_t*>(pbase()), size));
    offset_ += size;
    setp(piece_.data(), piece_.data() + piece_.size());
  }

  platform::File& file_;
  std::uint64_t offset_ = 0;
  std::array<char, kPieceSize> piece_;
};

StagedOutput::StagedOutput(platform::FileSystem& files, std::string path)
    : files_(files),
      path_(std::move(path)),
      stagedPath_(files.StagedName(path_)),
      file_(files.Open(stagedPath_, platform::Access::ReadWrite, platform::Disposition::CreateAlways,
                       platform::Sharing::None)),
      buffer_(std::make_unique<Buffer>(*file_)),
      stream_(buffer_.get()) {
  // A stream swallows what its buffer throws unless it is told to pass it on.
  stream_.exceptions(std::ios::badbit);
}

StagedOutput::~StagedOutput() {
  if (!file_) return;
  file_.reset();
  try {
    files_.RemoveFile(stagedPath_);
  } catch (const Error&) {
    // Whoever could not finish knows why already; a left-over is overwritten by the next attempt.
  }
}

void StagedOutput::Finish() {
  stream_.flush();
  file_->Sync();
  file_.reset();
  files_.RenameFile(stagedPath_, path_);
}

}  // namespace mv::tool
