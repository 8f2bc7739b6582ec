#include "jet/index/TextKeys.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/Ascii.h"
#include "base/Utf.h"
#include "jet/index/TextWeights.h"

namespace mv::jet {
namespace {

constexpr std::size_t kMaxUnits = 255;
constexpr std::size_t kMaxWeights = 3 * kMaxUnits;  ///< "ffi" as one character
constexpr std::size_t kLateRecordSize = 4;

constexpr char16_t kBlank = u' ';
constexpr std::uint8_t kSeparator = 0x01;
constexpr std::uint8_t kEnd = 0x00;
constexpr std::uint8_t kUsualSecondary = 0x02;
constexpr std::uint8_t kLateMark = 0x06;
constexpr unsigned kLatePositionFlag = 0x8000;
constexpr unsigned kLatePositionBase = 7;
constexpr unsigned kLatePositionStep = 4;
constexpr std::uint8_t kKanaEnd[] = {0xFF, 0x02, 0x80, 0xFF, 0x80};
constexpr std::uint8_t kKanaBeforeLate = 0xFF;
constexpr std::uint8_t kSmallKanaCode = 2;
constexpr std::uint8_t kKanaCode = 3;

/// Bytes in a buffer of the longest size that a part of a key can have, so that building one key allocates once.
template <std::size_t kCapacity>
class Part {
 public:
  bool Empty() const { return size_ == 0; }
  std::size_t Size() const { return size_; }
  void Push(std::uint8_t byte) { bytes_[size_++] = byte; }
  void FillTo(std::size_t size) {
    while (size_ < size) Push(kUsualSecondary);
  }
  std::uint8_t& Last() { return bytes_[size_ - 1]; }
  void DropLast() { --size_; }
  ByteView View() const { return {bytes_.data(), size_}; }

 private:
  std::array<std::uint8_t, kCapacity> bytes_;
  std::size_t size_ = 0;
};

void Append(Bytes& key, ByteView bytes) {
  key.insert(key.end(), bytes.begin(), bytes.end());
}

using LatePart = Part<kLateRecordSize * kMaxUnits>;

/// Adds the record of a character that stands behind so many primary weights.
void PushLate(LatePart& late, std::size_t weights, std::uint8_t code) {
  const unsigned position =
      kLatePositionFlag | (kLatePositionBase + kLatePositionStep * static_cast<unsigned>(weights));
  late.Push(static_cast<std::uint8_t>(position >> 8));
  late.Push(static_cast<std::uint8_t>(position & 0xFF));
  late.Push(kLateMark);
  late.Push(code);
}

/// Collects the parts of one key, unit by unit.
class KeyParts {
 public:
  /// True when further units have no say.
  bool Full() const { return units_ == kMaxUnits; }

  /// Nothing, or the unit whose weight turns out not to be known: this one or one before it. Needs !Full().
  std::optional<char16_t> Add(char16_t unit) {
    ++units_;
    if (unit == kBlank) {
      ++blanks_;
      return std::nullopt;
    }
    const TextWeight blank = WeightOf(kBlank);
    for (; blanks_ > 0; --blanks_) AddPrimary(blank.primary);
    const TextWeight entry = WeightOf(unit);
    if (entry.kind == TextWeight::Kind::Unknown) return unit;
    const std::size_t placed = Placed();
    AddEntry(entry);
    if (threeLetters_ && Placed() != placed) return threeLetters_;
    const bool isThreeLetters = entry.kind == TextWeight::Kind::Letters && LettersOf(entry.detail).count == 3;
    if (isThreeLetters) threeLetters_ = unit;
    return std::nullopt;
  }

  void AppendTo(Bytes& key) {
    while (!secondary_.Empty() && secondary_.Last() <= kUsualSecondary) secondary_.DropLast();
    while (!kana_.Empty() && kana_.Last() == kKanaCode) kana_.DropLast();
    Append(key, primary_.View());
    key.push_back(kSeparator);
    Append(key, secondary_.View());
    if (hasKana_ || !late_.Empty()) {
      key.insert(key.end(), 2, kSeparator);
      if (hasKana_) AppendKana(key);
      if (!late_.Empty()) key.push_back(kSeparator);
      Append(key, late_.View());
    }
    key.push_back(kEnd);
  }

 private:
  /// Bytes that stand in the key at a place counted in weights.
  std::size_t Placed() const { return secondary_.Size() + late_.Size(); }

  void AddEntry(TextWeight entry) {
    switch (entry.kind) {
      case TextWeight::Kind::Weight:
        return AddWeight(entry.primary, entry.detail);
      case TextWeight::Kind::SmallKana:
        return AddKana(entry, kSmallKanaCode);
      case TextWeight::Kind::Kana:
        return AddKana(entry, kKanaCode);
      case TextWeight::Kind::Late:
        return PushLate(late_, weights_, entry.detail);
      case TextWeight::Kind::AddOn:
        return AddToSecondary(entry.detail);
      case TextWeight::Kind::Letters:
        return AddLetters(LettersOf(entry.detail));
      case TextWeight::Kind::Ignored:
      case TextWeight::Kind::Unknown:
        return;
    }
  }

  void AddPrimary(std::uint16_t weight) {
    if (weight > 0xFF) primary_.Push(static_cast<std::uint8_t>(weight >> 8));
    primary_.Push(static_cast<std::uint8_t>(weight & 0xFF));
    ++weights_;
  }

  void AddWeight(std::uint16_t weight, std::uint8_t secondary) {
    if (secondary != 0) {
      secondary_.FillTo(SecondaryPosition());
      secondary_.Push(secondary);
    }
    AddPrimary(weight);
  }

  void AddKana(TextWeight entry, std::uint8_t code) {
    AddWeight(entry.primary, entry.detail);
    kana_.Push(code);
    hasKana_ = true;
  }

  void AddLetters(const LetterWeights& letters) {
    for (std::size_t i = 0; i < letters.count; ++i) AddWeight(letters.primary[i], letters.secondary[i]);
  }

  /// A combining mark adds to the weight before it; before the first weight it makes a byte of its own.
  void AddToSecondary(std::uint8_t addition) {
    secondary_.FillTo(SecondaryPosition());
    if (secondary_.Empty()) {
      secondary_.Push(addition);
      leading_ = 1;
    } else {
      secondary_.Last() = static_cast<std::uint8_t>(secondary_.Last() + addition);
    }
  }

  std::size_t SecondaryPosition() const { return leading_ + weights_; }

  void AppendKana(Bytes& key) const {
    const ByteView codes = kana_.View();
    for (std::size_t at = 0; at < codes.size(); at += 3) {
      const auto code = [&](std::size_t i) { return i < codes.size() ? codes[i] : 0u; };
      key.push_back(static_cast<std::uint8_t>(0x80 | code(at) << 4 | code(at + 1) << 2 | code(at + 2)));
    }
    Append(key, kKanaEnd);
    if (!late_.Empty()) key.push_back(kKanaBeforeLate);
  }

  std::size_t units_ = 0;
  std::size_t blanks_ = 0;   ///< met since the last other unit
  std::size_t weights_ = 0;  ///< primary weights so far
  std::size_t leading_ = 0;  ///< secondary bytes that stand before the first weight's
  bool hasKana_ = false;
  /// A character of three letters that was met: whether it takes three places is not known, and matters for what comes
  /// behind it and is placed.
  std::optional<char16_t> threeLetters_;
  Part<2 * kMaxWeights> primary_;
  Part<kMaxWeights + 1> secondary_;
  Part<kMaxUnits> kana_;
  LatePart late_;
};

/// Appends the key of a text whose characters are ASCII and add one primary byte each, or a hyphen or the like, which
/// is nearly every text there is. Returns false, with the key as it was, for all others.
bool AppendSimpleKey(Bytes& key, std::string_view text) {
  if (text.size() > kMaxUnits) return false;
  text = text.substr(0, text.find_last_not_of(' ') + 1);
  const std::size_t from = key.size();
  key.resize(from + text.size());
  std::uint8_t* const weights = key.data() + from;
  std::size_t count = 0;
  LatePart late;
  for (const char character : text) {
    const auto byte = static_cast<std::uint8_t>(character);
    const TextWeight entry = kLatinWeights[byte];
    const bool isPlain = entry.kind == TextWeight::Kind::Weight && entry.detail == 0 && entry.primary <= 0xFF;
    if (byte <= 0x7F && isPlain) {
      weights[count++] = static_cast<std::uint8_t>(entry.primary);
    } else if (byte <= 0x7F && entry.kind == TextWeight::Kind::Late) {
      PushLate(late, count, entry.detail);
    } else {
      key.resize(from);
      return false;
    }
  }
  key.resize(from + count);
  key.push_back(kSeparator);
  if (!late.Empty()) key.insert(key.end(), 3, kSeparator);
  Append(key, late.View());
  key.push_back(kEnd);
  return true;
}

bool IsPair(std::u16string_view units, std::size_t at) {
  return (units[at] & 0xFC00) == 0xD800 && at + 1 < units.size() && (units[at + 1] & 0xFC00) == 0xDC00;
}

/// The character that starts at `at`; a surrogate without its partner is itself.
char32_t CharacterAt(std::u16string_view units, std::size_t at) {
  if (!IsPair(units, at)) return units[at];
  return 0x10000u + (static_cast<char32_t>(units[at] & 0x3FF) << 10 | (units[at + 1] & 0x3FFu));
}

/// By their first byte.
using WeightsByFirst = std::array<std::vector<std::string>, 256>;

/// The primary weights of each character that stands for several letters, as keys hold them.
const WeightsByFirst& WeightsOfLetters() {
  static const WeightsByFirst kWeights = [] {
    WeightsByFirst result;
    for (const LetterWeights& letters : AllLetters()) {
      std::string bytes;
      for (const std::uint16_t weight : std::span(letters.primary).first(letters.count)) {
        if (weight > 0xFF) bytes += static_cast<char>(weight >> 8);
        bytes += static_cast<char>(weight & 0xFF);
      }
      std::vector<std::string>& alike = result[static_cast<std::uint8_t>(bytes.front())];
      if (std::find(alike.begin(), alike.end(), bytes) == alike.end()) alike.push_back(std::move(bytes));
    }
    return result;
  }();
  return kWeights;
}

/// Whether such a character may be among those with these weights.
bool MayHaveLetters(std::string_view weights) {
  const WeightsByFirst& letters = WeightsOfLetters();
  for (; !weights.empty(); weights.remove_prefix(1)) {
    const std::vector<std::string>& alike = letters[static_cast<std::uint8_t>(weights.front())];
    const auto beginsSo = [weights](const std::string& one) { return weights.starts_with(one); };
    if (std::any_of(alike.begin(), alike.end(), beginsSo)) return true;
  }
  return false;
}

}  // namespace

std::optional<char32_t> AppendTextKey(Bytes& key, std::string_view text) {
  if (AppendSimpleKey(key, text)) return std::nullopt;
  KeyParts parts;
  for (std::size_t at = 0; at < text.size() && !parts.Full();) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const char32_t character = byte < 0x80 ? byte : NextCodePoint(text, at);
    if (byte < 0x80) ++at;
    if (character > 0xFFFF) return character;
    if (const auto unknown = parts.Add(static_cast<char16_t>(character))) return *unknown;
  }
  parts.AppendTo(key);
  return std::nullopt;
}

std::optional<char32_t> AppendTextKey(Bytes& key, std::u16string_view units) {
  KeyParts parts;
  for (std::size_t at = 0; at < units.size() && !parts.Full(); ++at) {
    const auto unknown = parts.Add(units[at]);
    if (unknown) return *unknown == units[at] ? CharacterAt(units, at) : *unknown;
  }
  parts.AppendTo(key);
  return std::nullopt;
}

std::optional<std::size_t> CertainPartOfTextKey(ByteView key) {
  if (key.size() < 2 || key[key.size() - 2] == kSeparator) return std::nullopt;
  const std::string_view bytes(reinterpret_cast<const char*>(key.data()), key.size());
  // A weight's second byte may be 01 in no run, so the first one ends the weights.
  const std::string_view weights = bytes.substr(0, bytes.find(static_cast<char>(kSeparator)));
  if (!MayHaveLetters(weights)) return std::nullopt;
  return weights.size() + 1;
}

bool MayHaveOtherKeys(std::string_view text) {
  if (IsAscii(text)) return false;
  constexpr std::u32string_view kSuchCharacters = U"\u0462\u0463\u04B6\u04B7\uFFFD";
  for (std::size_t at = 0; at < text.size();) {
    if (kSuchCharacters.find(NextCodePoint(text, at)) != kSuchCharacters.npos) return true;
  }
  return false;
}

}  // namespace mv::jet
