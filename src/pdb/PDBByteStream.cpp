#include "pdb/PDBByteStream.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <utility>

#include "base/ByteOrder.h"
#include "base/Checked.h"
#include "base/Cp1252.h"
#include "base/Utf.h"
#include "pdb/AnsiText.h"
#include "pdb/TerminatedText.h"

namespace mv {
namespace {

constexpr std::int32_t kSwappedPlatform = 1;
constexpr std::int32_t kInt24Width = 3;
constexpr std::int32_t kInt24Mask = 0xFFFFFF;
/// Marks a 16-bit length in length-prefixed text.
constexpr std::uint8_t kLongTextMark = 255;

[[noreturn]] void RaiseOutOfRange() {
  throw StandardError(errors::kSubscriptOutOfRange);
}

}  // namespace

void PDBByteStream::DatabaseFor(std::int32_t platform) {
  databaseFor_ = platform;
  if (platform == kSwappedPlatform) globalByteSwap_ = true;
}

void PDBByteStream::ByteArray(Bytes bytes) {
  bytes_ = std::move(bytes);
  allocated_ = true;
}

std::int32_t PDBByteStream::Length() const {
  return bytes_.empty() ? 0 : static_cast<std::int32_t>(bytes_.size() - 1);
}

void PDBByteStream::Resize(std::int32_t n) {
  if (n < 0) RaiseOutOfRange();
  bytes_.resize(static_cast<std::size_t>(n));
  allocated_ = true;
}

void PDBByteStream::Clear() {
  bytes_.assign(1, 0);
  allocated_ = true;
}

const std::uint8_t* PDBByteStream::Elements(std::int32_t pos, std::int32_t count) const {
  if (pos < 0 || count < 0 || std::int64_t{pos} + count > static_cast<std::int64_t>(bytes_.size())) RaiseOutOfRange();
  return bytes_.data() + pos;
}

std::uint8_t* PDBByteStream::Room(std::int32_t pos, std::int32_t count) {
  if (pos < 0 || count < 0) RaiseOutOfRange();
  const std::int32_t upperBound = CheckedAdd(pos, count);
  if (upperBound > Length()) {
    bytes_.resize(static_cast<std::size_t>(upperBound) + 1);
    allocated_ = true;
  }
  return bytes_.data() + pos;
}

template <typename T>
T PDBByteStream::Load(std::int32_t& pos, bool swap) const {
  const std::uint8_t* elements = Elements(pos, sizeof(T));
  pos = CheckedAdd(pos, std::int32_t{sizeof(T)});
  return IsBigEndian(swap) ? LoadBig<T>(elements) : LoadLittle<T>(elements);
}

template <typename T>
void PDBByteStream::Store(T value, std::int32_t& pos, bool swap) {
  std::uint8_t* elements = Room(pos, sizeof(T));
  pos += std::int32_t{sizeof(T)};
  IsBigEndian(swap) ? StoreBig(elements, value) : StoreLittle(elements, value);
}

void PDBByteStream::ByteToString(std::string& text, std::int32_t& pos) const {
  text.clear();
  if (allocated_) ReadTerminatedText(bytes_, pos, utf8Strings_, text);
}

void PDBByteStream::StringToByte(std::string_view text, std::int32_t& pos) {
  Bytes encoded;
  AppendTerminatedText(encoded, text, utf8Strings_);
  const auto needed = CheckedCast<std::int32_t>(encoded.size());
  std::copy(encoded.begin(), encoded.end(), Room(pos, needed));
  pos += needed;
}

void PDBByteStream::ByteToFixString(std::string& text, std::int32_t& pos, std::int32_t width) const {
  if (width < 0) RaiseOutOfRange();
  const std::int32_t end = CheckedAdd(pos, width);
  text.clear();
  for (std::int32_t i = pos; i < end; ++i) {
    const std::uint8_t byte = *Elements(i, 1);
    if (byte == 0) break;
    AppendUtf8(text, CodePointFromCp1252(byte));
  }
  pos = end;
}

void PDBByteStream::FixStringToByte(std::string_view text, std::int32_t& pos, std::int32_t width) {
  std::uint8_t* out = Room(pos, width);
  std::size_t position = 0;
  for (std::int32_t i = 0; i < width; ++i) out[i] = position < text.size() ? NextAnsiValue(text, position) : 0;
  pos += width;
}

void PDBByteStream::ByteToCString(std::string& text, std::int32_t& pos) const {
  std::int32_t at = pos;
  std::uint8_t mark = 0;
  GetByte(mark, at);
  std::int16_t length = 0;
  if (mark == kLongTextMark) ByteToInteger(length, at, false);
  ByteToFixString(text, at, length);
  pos = at;
}

void PDBByteStream::CStringToByte(std::string_view text, std::int32_t& pos) {
  const auto length = CheckedCast<std::int16_t>(CharacterCount(text));
  std::int32_t at = pos;
  if (length < kLongTextMark) {
    SetByte(static_cast<std::uint8_t>(length), at);
  } else {
    IntegerToByte(length, at, false);
  }
  FixStringToByte(text, at, length);
  pos = at;
}

void PDBByteStream::GetByte(std::uint8_t& b, std::int32_t& pos) const {
  b = *Elements(pos, 1);
  pos = CheckedAdd(pos, 1);
}

void PDBByteStream::SetByte(std::uint8_t b, std::int32_t& pos) {
  const std::int32_t next = CheckedAdd(pos, 1);
  if (pos > Length()) Resize(next);
  if (pos < 0 || bytes_.empty()) RaiseOutOfRange();
  bytes_[static_cast<std::size_t>(pos)] = b;
  pos = next;
}

void PDBByteStream::ByteToInteger(std::int16_t& value, std::int32_t& pos, bool swap) const {
  value = Load<std::int16_t>(pos, swap);
}

void PDBByteStream::IntegerToByte(std::int16_t value, std::int32_t& pos, bool swap) {
  Store(value, pos, swap);
}

void PDBByteStream::ByteToInt24(std::int32_t& value, std::int32_t& pos, bool swap) const {
  const std::uint8_t* elements = Elements(pos, kInt24Width);
  pos = CheckedAdd(pos, kInt24Width);
  value = IsBigEndian(swap) ? elements[0] << 16 | elements[1] << 8 | elements[2]
                            : elements[2] << 16 | elements[1] << 8 | elements[0];
}

void PDBByteStream::Int24ToByte(std::int32_t value, std::int32_t& pos, bool swap) {
  std::uint8_t* elements = Room(pos, kInt24Width);
  pos += kInt24Width;
  const std::int32_t low = value & kInt24Mask;
  for (int i = 0; i < kInt24Width; ++i) elements[i] = static_cast<std::uint8_t>(low >> 8 * i & 0xFF);
  if (IsBigEndian(swap)) std::swap(elements[0], elements[2]);
}

void PDBByteStream::ByteToLong(std::int32_t& value, std::int32_t& pos, bool swap) const {
  value = Load<std::int32_t>(pos, swap);
}

void PDBByteStream::LongToByte(std::int32_t value, std::int32_t& pos, bool swap) {
  Store(value, pos, swap);
}

void PDBByteStream::ByteToDouble(double& value, std::int32_t& pos, bool swap) const {
  value = std::bit_cast<double>(Load<std::uint64_t>(pos, swap));
}

void PDBByteStream::DoubleToByte(double value, std::int32_t& pos, bool swap) {
  Store(std::bit_cast<std::uint64_t>(value), pos, swap);
}

void PDBByteStream::ByteToCurrency(std::int64_t& tenThousandths, std::int32_t& pos, bool swap) const {
  tenThousandths = Load<std::int64_t>(pos, swap);
}

void PDBByteStream::CurrencyToByte(std::int64_t tenThousandths, std::int32_t& pos, bool swap) {
  Store(tenThousandths, pos, swap);
}

void PDBByteStream::ByteToSingle(float& value, std::int32_t& pos, bool swap) const {
  value = std::bit_cast<float>(Load<std::uint32_t>(pos, swap));
}

void PDBByteStream::SingleToByte(float value, std::int32_t& pos, bool swap) {
  Store(std::bit_cast<std::uint32_t>(value), pos, swap);
}

}  // namespace mv
