#include "device/wire/Announcement.h"

#include <algorithm>

#include "base/Cp1252.h"
#include "base/Utf.h"
#include "device/message/MessageReader.h"

namespace mv::wire {
namespace {

constexpr std::size_t kFixedPartA = 0x24;
constexpr std::size_t kLongestName = 260;

/// Fit for a line of a log.
std::string Printable(const std::string& text) {
  std::u32string characters = CodePointsFromUtf8(text).substr(0, kLongestName);
  for (char32_t& character : characters) {
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    if (isControl) character = U'?';
  }
  return Utf8FromCodePoints(characters);
}

/// The text at `offset` of a record, up to its NUL or the record's end.
std::string TextAt(ByteView record, std::uint32_t offset) {
  if (offset >= record.size()) return {};
  const std::size_t bytes = (record.size() - offset) / 2 * 2;
  return Printable(MessageReader(record.subspan(offset)).Text(bytes));
}

/// 8-bit text up to its NUL.
std::string NarrowText(ByteView bytes) {
  const auto end = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
  return Printable(Utf8FromCp1252(std::string(bytes.begin(), end)));
}

/// A count that is at most `largest`; else the reader fails.
std::size_t BoundedCount(MessageReader& reader, std::uint32_t largest) {
  const std::uint32_t count = reader.Word();
  if (count <= largest) return count;
  reader.Raw(reader.Remaining() + 1);
  return 0;
}

}  // namespace

std::optional<Announcement> ParseRecordA(ByteView record) {
  if (record.size() < kFixedPartA) return std::nullopt;
  MessageReader reader(record);
  Announcement handheld;
  reader.Word();
  handheld.major = reader.Byte();
  handheld.minor = reader.Byte();
  reader.Half();  // build
  reader.Raw(8);  // processor
  reader.Raw(8);  // partnerships
  handheld.name = TextAt(record, reader.Word());
  handheld.platform = TextAt(record, reader.Word());
  handheld.model = TextAt(record, reader.Word());
  return handheld;
}

std::optional<Announcement> ParseRecordB(ByteView record) {
  MessageReader reader(record);
  Announcement handheld;
  reader.Raw(16);  // GUID
  handheld.major = reader.Word();
  handheld.minor = reader.Word();
  handheld.name = Printable(reader.Text(2 * BoundedCount(reader, 31)));
  reader.Half();      // NUL
  reader.Raw(5 * 4);  // device version, processor, not known, partnership, device id
  handheld.platform = NarrowText(reader.Raw(BoundedCount(reader, 255)));
  handheld.model = NarrowText(reader.Raw(BoundedCount(reader, 255)));
  reader.Byte();                            // NUL
  reader.Raw(8 * BoundedCount(reader, 6));  // pairs
  handheld.lockKey = reader.Word();
  if (!reader.IsGood()) return std::nullopt;
  return handheld;
}

}  // namespace mv::wire
