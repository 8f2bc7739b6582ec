#include "mvtool/files/StagedOutput.h"

#include <array>
#include <cstdint>
#include <streambuf>

#include "base/Bytes.h"

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

StagedOutput::StagedOutput(platform::FileSystem& files, const std::string& path)
    : file_(files, path), buffer_(std::make_unique<Buffer>(file_.Contents())), stream_(buffer_.get()) {
  // A stream swallows what its buffer throws unless it is told to pass it on.
  stream_.exceptions(std::ios::badbit);
}

StagedOutput::~StagedOutput() = default;

void StagedOutput::Finish() {
  stream_.flush();
  file_.Finish();
}

}  // namespace mv::tool
