#include "jet/rows/TextCompression.h"

#include <algorithm>
#include <cstring>

#include "base/Ascii.h"
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

/// The runs behind the mark in the plain form.
Bytes Expand(ByteView runs) {
  Bytes units;
  units.reserve(runs.size() * kUnitSize);
  bool narrow = true;
  while (!runs.empty()) {
    if (runs.front() == kSwitch) {
      narrow = !narrow;
      runs = runs.subspan(1);
    } else if (narrow) {
      const auto end = std::find(runs.begin(), runs.end(), kSwitch);
      const auto length = static_cast<std::size_t>(end - runs.begin());
      std::size_t at = units.size();
      units.resize(at + length * kUnitSize);
      for (std::size_t i = 0; i < length; ++i, at += kUnitSize) units[at] = runs[i];
      runs = runs.subspan(length);
    } else if (runs.size() >= kUnitSize) {
      units.insert(units.end(), runs.begin(), runs.begin() + kUnitSize);
      runs = runs.subspan(kUnitSize);
    } else {
      throw DamagedFileError("a compressed text ends within a character");
    }
  }
  return units;
}

void RequireWholeUnits(ByteView plain) {
  if (plain.size() % kUnitSize != 0) throw DamagedFileError("a text has an odd number of bytes");
}

std::u16string UnitsOf(ByteView plain) {
  RequireWholeUnits(plain);
  std::u16string units(plain.size() / kUnitSize, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<char16_t>(LoadLittle<std::uint16_t>(plain.data() + i * kUnitSize));
  }
  return units;
}

/// Of one narrow run without an end: each byte is a character.
void ReadNarrowText(std::string_view run, std::string& text) {
  const std::size_t plain = AsciiPrefix(run);
  text.assign(run.substr(0, plain));
  for (run.remove_prefix(plain); !run.empty();) {
    AppendUtf8(text, static_cast<unsigned char>(run.front()));
    run.remove_prefix(1);
    const std::size_t more = AsciiPrefix(run);
    text += run.substr(0, more);
    run.remove_prefix(more);
  }
}

bool IsNarrowAscii(std::string_view runs) {
  return IsAscii(runs) && runs.find('\0') == runs.npos;
}

}  // namespace

Bytes EncodeText(std::u16string_view units, TextForm form) {
  if (form == TextForm::Plain || !IsCompressible(units)) return PlainForm(units);
  Bytes compressed = CompressedForm(units);
  const std::size_t plainSize = units.size() * kUnitSize;
  const std::size_t longest = form == TextForm::CompressedUnlessLonger ? plainSize : plainSize - 1;
  return compressed.size() <= longest ? compressed : PlainForm(units);
}

void EncodeText(std::string_view text, TextForm form, Bytes& out) {
  if (!IsNarrowAscii(text) || form == TextForm::Plain || text.size() < kFewestUnits) {
    out = EncodeText(Utf16FromUtf8(text), form);
    return;
  }
  // From three characters on the two bytes of the mark are always made good.
  out.resize(sizeof kMark + text.size());
  std::memcpy(out.data(), kMark, sizeof kMark);
  std::memcpy(out.data() + sizeof kMark, text.data(), text.size());
}

std::u16string DecodeUnits(ByteView stored) {
  return HasMark(stored) ? UnitsOf(Expand(stored.subspan(sizeof kMark))) : UnitsOf(stored);
}

std::string DecodeText(ByteView stored) {
  std::string text;
  DecodeText(stored, text);
  return text;
}

void DecodeText(ByteView stored, std::string& text) {
  if (!HasMark(stored)) {
    RequireWholeUnits(stored);
    text = Utf8FromUtf16(stored);
    return;
  }
  const ByteView runs = stored.subspan(sizeof kMark);
  const std::string_view narrow(reinterpret_cast<const char*>(runs.data()), runs.size());
  if (narrow.find(static_cast<char>(kSwitch)) == narrow.npos) return ReadNarrowText(narrow, text);
  text = Utf8FromUtf16(ByteView(Expand(runs)));
}

}  // namespace mv::jet
