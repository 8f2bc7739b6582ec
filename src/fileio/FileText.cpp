#include "fileio/FileText.h"

#include "base/Cp1252.h"
#include "base/Utf.h"

namespace mv {
namespace {

std::u16string UnitsFrom(ByteView bytes) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<char16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
  }
  return units;
}

Bytes BytesFromUnits(std::u16string_view units) {
  Bytes bytes;
  bytes.reserve(2 * units.size());
  for (const char16_t unit : units) {
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  return bytes;
}

}  // namespace

std::string TextFromFile(ByteView bytes, FileEncoding encoding) {
  return encoding == FileEncoding::Unicode ? Utf8FromUtf16(UnitsFrom(bytes)) : Utf8FromCp1252(bytes);
}

Bytes BytesForFile(std::string_view text, FileEncoding encoding) {
  if (encoding == FileEncoding::Unicode) return BytesFromUnits(Utf16FromUtf8(text));
  const std::string bytes = Cp1252FromUtf8(text);
  return Bytes(bytes.begin(), bytes.end());
}

}  // namespace mv
