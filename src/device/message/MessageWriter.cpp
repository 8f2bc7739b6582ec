#include "device/message/MessageWriter.h"

#include <string>

#include "base/ByteOrder.h"
#include "base/Utf.h"

namespace mv::wire {
namespace {

template <typename Integer>
void Append(Bytes& bytes, Integer value) {
  const std::size_t at = bytes.size();
  bytes.resize(at + sizeof value);
  StoreLittle(bytes.data() + at, value);
}

/// UTF-16 units with the NUL.
std::u16string UnitsOf(std::string_view text) {
  std::u16string units = Utf16FromUtf8(text);
  units += u'\0';
  return units;
}

void AppendUnits(Bytes& bytes, const std::u16string& units) {
  for (const char16_t unit : units) Append(bytes, static_cast<std::uint16_t>(unit));
}

}  // namespace

void MessageWriter::Byte(std::uint8_t value) {
  bytes_.push_back(value);
}

void MessageWriter::Half(std::uint16_t value) {
  Append(bytes_, value);
}

void MessageWriter::Word(std::uint32_t value) {
  Append(bytes_, value);
}

void MessageWriter::Long(std::uint64_t value) {
  Append(bytes_, value);
}

void MessageWriter::Raw(ByteView bytes) {
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void MessageWriter::Counted(ByteView bytes) {
  Word(static_cast<std::uint32_t>(bytes.size()));
  Raw(bytes);
}

void MessageWriter::Text(std::string_view text) {
  AppendUnits(bytes_, UnitsOf(text));
}

void MessageWriter::String(std::optional<std::string_view> text) {
  if (!text) return Word(0);
  const std::u16string units = UnitsOf(*text);
  Word(1);
  Word(static_cast<std::uint32_t>(units.size()));
  AppendUnits(bytes_, units);
}

void MessageWriter::OptionalString(std::optional<std::string_view> text) {
  if (!text) return Word(0);
  const std::u16string units = UnitsOf(*text);
  Word(1);
  Word(static_cast<std::uint32_t>(units.size() * 2));
  Word(1);
  AppendUnits(bytes_, units);
}

void MessageWriter::InBuffer(std::optional<ByteView> bytes) {
  if (!bytes) return Word(0);
  InBufferOf(bytes->size());
  Raw(*bytes);
}

void MessageWriter::InBufferOf(std::size_t bytes) {
  Word(1);
  Word(static_cast<std::uint32_t>(bytes));
}

void MessageWriter::OutBuffer(std::optional<std::uint32_t> wanted) {
  if (!wanted) return Word(0);
  Word(1);
  Word(*wanted);
  Word(0);
}

void MessageWriter::Returned(std::optional<ByteView> bytes) {
  if (!bytes) return Word(0);
  Word(1);
  Word(static_cast<std::uint32_t>(bytes->size()));
  Word(bytes->empty() ? 0 : 1);
  Raw(*bytes);
}

void MessageWriter::ShortString(std::optional<std::string_view> text) {
  if (!text) return Word(0);
  const std::u16string units = UnitsOf(*text);
  Word(static_cast<std::uint32_t>(units.size() * 2));
  AppendUnits(bytes_, units);
}

Bytes MessageWriter::Framed(std::size_t follow) const {
  Bytes message;
  message.reserve(sizeof(std::uint32_t) + bytes_.size());
  Append(message, static_cast<std::uint32_t>(bytes_.size() + follow));
  message.insert(message.end(), bytes_.begin(), bytes_.end());
  return message;
}

}  // namespace mv::wire
