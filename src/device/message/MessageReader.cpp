#include "device/message/MessageReader.h"

#include <algorithm>

#include "base/ByteOrder.h"
#include "base/Utf.h"

namespace mv::wire {

void MessageReader::Fail() {
  isGood_ = false;
  rest_ = {};
}

ByteView MessageReader::Raw(std::size_t count) {
  if (count > rest_.size()) {
    Fail();
    return {};
  }
  const ByteView raw = rest_.first(count);
  rest_ = rest_.subspan(count);
  return raw;
}

std::uint8_t MessageReader::Byte() {
  const ByteView raw = Raw(1);
  return raw.empty() ? std::uint8_t{0} : raw[0];
}

std::uint16_t MessageReader::Half() {
  const ByteView raw = Raw(2);
  return raw.empty() ? std::uint16_t{0} : LoadLittle<std::uint16_t>(raw.data());
}

std::uint32_t MessageReader::Word() {
  const ByteView raw = Raw(4);
  return raw.empty() ? 0 : LoadLittle<std::uint32_t>(raw.data());
}

std::uint64_t MessageReader::Long() {
  const ByteView raw = Raw(8);
  return raw.empty() ? 0 : LoadLittle<std::uint64_t>(raw.data());
}

ByteView MessageReader::Counted() {
  return Raw(Word());
}

std::string MessageReader::Text(std::size_t bytes) {
  if (bytes % 2 != 0) Fail();
  const ByteView raw = Raw(bytes);
  std::u16string units;
  for (std::size_t at = 0; at + 1 < raw.size(); at += 2) {
    const auto unit = static_cast<char16_t>(LoadLittle<std::uint16_t>(raw.data() + at));
    if (unit == 0) break;
    units += unit;
  }
  return Utf8FromUtf16(units);
}

std::string MessageReader::TextAndNul(std::size_t bytes) {
  if (bytes < 2 || bytes > rest_.size()) return Text(bytes);
  const bool hasNul = LoadLittle<std::uint16_t>(rest_.data() + (bytes - 2)) == 0;
  std::string text = Text(bytes);
  const bool isNulNext = rest_.size() >= 2 && LoadLittle<std::uint16_t>(rest_.data()) == 0;
  if (!hasNul && isNulNext) Raw(2);
  return text;
}

bool MessageReader::IsPresent() {
  const std::uint32_t word = Word();
  if (word > 1) Fail();
  return isGood_ && word == 1;
}

std::optional<std::string> MessageReader::String() {
  if (!IsPresent()) return std::nullopt;
  const std::uint64_t characters = Word();
  return Text(static_cast<std::size_t>(std::min<std::uint64_t>(characters * 2, rest_.size() + 2)));
}

std::optional<std::string> MessageReader::OptionalString() {
  if (!IsPresent()) return std::nullopt;
  const std::uint32_t bytes = Word();
  if (Word() != 1) Fail();
  return Text(bytes);
}

std::optional<ByteView> MessageReader::InBuffer() {
  if (!IsPresent()) return std::nullopt;
  return Counted();
}

std::optional<std::uint32_t> MessageReader::OutBuffer() {
  if (!IsPresent()) return std::nullopt;
  const std::uint32_t wanted = Word();
  if (Word() != 0) Fail();
  return wanted;
}

std::optional<ByteView> MessageReader::Returned() {
  if (!IsPresent()) return std::nullopt;
  const std::uint32_t count = Word();
  return IsPresent() ? Raw(count) : ByteView();
}

std::optional<std::string> MessageReader::ShortString() {
  const std::uint32_t bytes = Word();
  if (!isGood_ || bytes == 0) return std::nullopt;
  return Text(bytes);
}

}  // namespace mv::wire
