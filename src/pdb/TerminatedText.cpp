#include "pdb/TerminatedText.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "base/Ascii.h"
#include "base/Checked.h"
#include "base/Cp1252.h"
#include "base/Error.h"
#include "base/Utf.h"
#include "pdb/AnsiText.h"
#include "pdb/PDBUtils.h"

namespace mv {
namespace {

/// The lead bytes that are decoded.
constexpr std::uint8_t kFirstTwoByteLead = 195;
constexpr std::uint8_t kLastTwoByteLead = 198;
constexpr std::uint8_t kThreeByteLead = 225;

constexpr std::int32_t kLastIndex = std::numeric_limits<std::int16_t>::max();

std::string_view AsText(ByteView elements) {
  return {reinterpret_cast<const char*>(elements.data()), elements.size()};
}

std::uint8_t ByteAt(std::string_view text, std::size_t at) {
  return static_cast<std::uint8_t>(text[at]);
}

/// How many bytes `text` begins with that are the same characters in UTF-8 and in the two-byte form, both read and
/// written: ASCII, and U+00C0 to U+00FF. Nearly all text is of these.
std::size_t CommonPrefix(std::string_view text) {
  std::size_t length = AsciiPrefix(text);
  while (text.size() - length >= 2 && ByteAt(text, length) == kFirstTwoByteLead &&
         (ByteAt(text, length + 1) & 0xC0) == 0x80) {
    length += 2;
    length += AsciiPrefix(text.substr(length));
  }
  return length;
}

std::size_t PlainPrefix(std::string_view text, bool twoByteForm) {
  return twoByteForm ? CommonPrefix(text) : AsciiPrefix(text);
}

std::int32_t CharacterWidth(std::uint8_t lead, bool twoByteForm) {
  if (!twoByteForm) return 1;
  if (lead == kThreeByteLead) return 3;
  return lead >= kFirstTwoByteLead && lead <= kLastTwoByteLead ? 2 : 1;
}

char32_t CharacterOf(ByteView elements) {
  if (elements.size() == 1) return CodePointFromCp1252(elements[0]);
  return static_cast<char32_t>(PDBUtils::ToUTF16(elements));
}

/// `count` elements from `index` on. Error 9 when one of them is not there.
ByteView ElementsAt(ByteView elements, std::int32_t index, std::int32_t count) {
  const bool isThere = index >= 0 && std::int64_t{index} + count <= static_cast<std::int64_t>(elements.size());
  if (!isThere) throw StandardError(errors::kSubscriptOutOfRange);
  return elements.subspan(static_cast<std::size_t>(index), static_cast<std::size_t>(count));
}

/// The elements from `index` up to a zero, or as far as a 16-bit index can count.
std::string_view UpToZero(ByteView elements, std::int16_t index) {
  const std::string_view text = AsText(elements).substr(0, std::size_t{kLastIndex} + 1);
  const std::string_view rest = text.substr(static_cast<std::size_t>(index));
  return rest.substr(0, rest.find('\0'));
}

/// The text at `pos` where all of it is plain and its zero within reach of a 16-bit index, as nearly every text is.
std::optional<std::string_view> PlainText(ByteView elements, std::int32_t pos, bool twoByteForm) {
  if (pos < 0 || pos > kLastIndex || static_cast<std::size_t>(pos) >= elements.size()) return std::nullopt;
  const std::string_view reach = AsText(elements).substr(0, kLastIndex);
  const std::size_t zero = reach.find('\0', static_cast<std::size_t>(pos));
  if (zero == reach.npos) return std::nullopt;
  const std::string_view text = reach.substr(static_cast<std::size_t>(pos), zero - static_cast<std::size_t>(pos));
  if (PlainPrefix(text, twoByteForm) != text.size()) return std::nullopt;
  return text;
}

/// Gives the characters that begin in `run`, which lies at `index`, to `sink`, and returns the index behind them.
template <typename Sink>
std::int16_t WalkCharacters(ByteView elements, std::int16_t index, std::string_view run, bool twoByteForm, Sink& sink) {
  const auto advance = [&](std::size_t count) {
    index = CheckedCast<std::int16_t>(index + static_cast<std::int32_t>(count));
    run.remove_prefix(std::min(count, run.size()));
  };
  while (!run.empty()) {
    const std::size_t plain = PlainPrefix(run, twoByteForm);
    sink.Plain(run.substr(0, plain));
    advance(plain);
    if (run.empty()) break;
    const std::int32_t width = CharacterWidth(ByteAt(run, 0), twoByteForm);
    sink.Character(ElementsAt(elements, index, width));
    advance(static_cast<std::size_t>(width));
  }
  return index;
}

/// Gives the characters of the text at `pos` to `sink` and moves `pos` behind it.
template <typename Sink>
void WalkText(ByteView elements, std::int32_t& pos, bool twoByteForm, Sink sink) {
  if (const std::optional<std::string_view> text = PlainText(elements, pos, twoByteForm)) {
    sink.Plain(*text);
    pos += static_cast<std::int32_t>(text->size() + 1);
    return;
  }
  const std::int32_t last = elements.empty() ? 0 : static_cast<std::int32_t>(elements.size() - 1);
  std::int16_t index = CheckedCast<std::int16_t>(pos);
  while (index <= last) {
    if (ElementsAt(elements, index, 1)[0] == 0) {
      pos = index + 1;
      return;
    }
    // A character of several bytes may take the zero with it; then there is more behind it.
    index = WalkCharacters(elements, index, UpToZero(elements, index), twoByteForm, sink);
  }
  pos = last + 1;
}

void AppendValue(Bytes& bytes, std::uint8_t value, bool twoByteForm) {
  if (value <= kLastOneByteValue || !twoByteForm) {
    bytes.push_back(value);
    return;
  }
  bytes.push_back(static_cast<std::uint8_t>(0xC0 | value >> 6));
  bytes.push_back(static_cast<std::uint8_t>(0x80 | (value & 0x3F)));
}

struct Appending {
  std::string& text;

  void Plain(std::string_view run) const { text += run; }
  void Character(ByteView elements) const { AppendUtf8(text, CharacterOf(elements)); }
};

struct Skipping {
  void Plain(std::string_view) const {}
  void Character(ByteView) const {}
};

}  // namespace

void ReadTerminatedText(ByteView elements, std::int32_t& pos, bool twoByteForm, std::string& text) {
  text.clear();
  WalkText(elements, pos, twoByteForm, Appending{text});
}

void SkipTerminatedText(ByteView elements, std::int32_t& pos, bool twoByteForm) {
  WalkText(elements, pos, twoByteForm, Skipping());
}

void AppendTerminatedText(Bytes& bytes, std::string_view text, bool twoByteForm) {
  while (true) {
    const std::size_t plain = PlainPrefix(text, twoByteForm);
    // As bytes: characters would be converted one by one.
    const auto* const run = reinterpret_cast<const std::uint8_t*>(text.data());
    bytes.insert(bytes.end(), run, run + plain);
    if (plain == text.size()) break;
    std::size_t position = plain;
    AppendValue(bytes, NextAnsiValue(text, position), twoByteForm);
    text.remove_prefix(position);
  }
  bytes.push_back(0);
}

}  // namespace mv
