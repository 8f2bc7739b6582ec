#include "jet/rows/TextCompression.h"

#include <algorithm>
#include <cstring>

#include "base/ByteOrder.h"
#include "base/Utf.h"
#include "jet/file/JetErrors.h"

namespace mv::jet {
namespace {

constexpr std::uint8_t kMark[] = {0xFF, 0xFE};
constexpr std::uint8_t kSwitch = 0x00;
constexpr std::size_t kUnitSize = sizeof(char16_t);
constexpr std::size_t kFewestUnits = 3;  ///< shorter texts are not compressed

bool IsNarrow(char16_t unit) {
  return unit <= 0xFF;
}

/// A zero low byte at the place where a unit starts would read as a switch.
bool HasZeroLowByte(char16_t unit) {
  return (unit & 0xFF) == 0;
}

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool HasMark(ByteView stored) {
  return stored.size() >= sizeof kMark && stored[0] == kMark[0] && stored[1] == kMark[1];
}

void AppendUnit(Bytes& bytes, char16_t unit) {
  bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
  bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
}

Bytes PlainForm(std::u16string_view units) {
  Bytes bytes(units.size() * kUnitSize);
  for (std::size_t i = 0; i < units.size(); ++i) {
    StoreLittle<std::uint16_t>(bytes.data() + i * kUnitSize, units[i]);
  }
  return bytes;
}

bool IsCompressible(std::u16string_view units) {
  return units.size() >= kFewestUnits && std::none_of(units.begin(), units.end(), HasZeroLowByte);
}

Bytes CompressedForm(std::u16string_view units) {
  Bytes bytes(std::begin(kMark), std::end(kMark));
  bytes.reserve(sizeof kMark + units.size() * kUnitSize);
  bool narrow = true;
  for (const char16_t unit : units) {
    if (IsNarrow(unit) != narrow) {
      bytes.push_back(kSwitch);
      narrow = !narrow;
    }
    if (narrow) {
      bytes.push_back(static_cast<std::uint8_t>(unit));
    } else {
      AppendUnit(bytes, unit);
    }
  }
  return bytes;
}

/// The units behind the mark.
std::u16string Expand(ByteView runs) {
  std::u16string units;
  units.reserve(runs.size());
  bool narrow = true;
  for (std::size_t at = 0; at < runs.size();) {
    if (runs[at] == kSwitch) {
      narrow = !narrow;
      ++at;
    } else if (narrow) {
      units += static_cast<char16_t>(runs[at++]);
    } else if (runs.size() - at >= kUnitSize) {
      units += static_cast<char16_t>(LoadLittle<std::uint16_t>(runs.data() + at));
      at += kUnitSize;
    } else {
      throw DamagedFileError("a compressed text ends within a character");
    }
  }
  return units;
}

bool IsNarrowAscii(ByteView runs) {
  return std::all_of(runs.begin(), runs.end(), [](std::uint8_t byte) { return byte != kSwitch && byte < 0x80; });
}

}  // namespace

Bytes EncodeText(std::u16string_view units, TextForm form) {
  if (form == TextForm::Plain || !IsCompressible(units)) return PlainForm(units);
  Bytes compressed = CompressedForm(units);
  const std::size_t plainSize = units.size() * kUnitSize;
  const std::size_t longest = form == TextForm::CompressedUnlessLonger ? plainSize : plainSize - 1;
  return compressed.size() <= longest ? compressed : PlainForm(units);
}

Bytes EncodeText(std::string_view text, TextForm form) {
  const bool narrow = IsAscii(text) && text.find('\0') == std::string_view::npos;
  if (!narrow || form == TextForm::Plain || text.size() < kFewestUnits) return EncodeText(Utf16FromUtf8(text), form);
  // From three characters on the two bytes of the mark are always made good.
  Bytes bytes(sizeof kMark + text.size());
  std::memcpy(bytes.data(), kMark, sizeof kMark);
  std::memcpy(bytes.data() + sizeof kMark, text.data(), text.size());
  return bytes;
}

std::u16string DecodeUnits(ByteView stored) {
  if (HasMark(stored)) return Expand(stored.subspan(sizeof kMark));
  if (stored.size() % kUnitSize != 0) throw DamagedFileError("a text has an odd number of bytes");
  std::u16string units(stored.size() / kUnitSize, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<char16_t>(LoadLittle<std::uint16_t>(stored.data() + i * kUnitSize));
  }
  return units;
}

std::string DecodeText(ByteView stored) {
  if (HasMark(stored) && IsNarrowAscii(stored.subspan(sizeof kMark))) {
    return std::string(stored.begin() + sizeof kMark, stored.end());
  }
  return Utf8FromUtf16(DecodeUnits(stored));
}

}  // namespace mv::jet
