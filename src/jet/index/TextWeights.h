#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace mv::jet {

/// What one UTF-16 unit adds to a text key of the sort order General (0409, 0, 0).
struct TextWeight {
  enum class Kind : std::uint8_t {
    Weight,     ///< one primary weight
    SmallKana,  ///< one primary weight, and the kana code 2 (small forms)
    Kana,       ///< one primary weight, and the kana code 3
    Late,       ///< nothing but a record in the key's late part (hyphen, apostrophe, control characters)
    AddOn,      ///< nothing but an addition to the secondary byte before it (combining marks)
    Letters,    ///< the weights of two or three letters
    Ignored,    ///< nothing
    Unknown,    ///< the weight is not known; a key must not be built
  };

  Kind kind = Kind::Ignored;
  /// Kinds with a weight: the secondary byte, 0 for the usual 02. Late: the code. AddOn: what is added. Letters: the
  /// number for LettersOf.
  std::uint8_t detail = 0;
  /// Kinds with a weight: below 0x100 a weight of one byte, else of two, high byte first.
  std::uint16_t primary = 0;
};

/// The weights of a character that stands for several letters.
struct LetterWeights {
  std::uint8_t count = 0;
  std::array<std::uint16_t, 3> primary{};   ///< as in TextWeight
  std::array<std::uint8_t, 3> secondary{};  ///< as TextWeight::detail; all 0, or all set
};

/// The entries of U+0000 to U+00FF.
extern const std::array<TextWeight, 256> kLatinWeights;

/// The entry of a unit above U+00FF; a binary search.
TextWeight FindWeight(char16_t unit);
LetterWeights LettersOf(std::uint8_t number);
/// Those of all such characters.
std::span<const LetterWeights> AllLetters();

inline TextWeight WeightOf(char16_t unit) {
  return unit < kLatinWeights.size() ? kLatinWeights[unit] : FindWeight(unit);
}

}  // namespace mv::jet
