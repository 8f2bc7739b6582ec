#include "check/StoredText.h"

#include "base/ByteOrder.h"

namespace mv::check {
namespace {

constexpr std::size_t kMarkSize = 2;

bool IsCompressed(ByteView stored) {
  return stored.size() >= kMarkSize && stored[0] == 0xFF && stored[1] == 0xFE;
}

bool DecodePlain(ByteView stored, std::u16string& units) {
  units.resize(stored.size() / 2);
  for (std::size_t i = 0; i < units.size(); ++i) units[i] = LoadLittle<char16_t>(stored.data() + 2 * i);
  return stored.size() % 2 == 0;
}

bool DecodeRuns(ByteView stored, std::u16string& units) {
  units.clear();
  bool narrow = true;
  for (std::size_t at = kMarkSize; at < stored.size(); ++at) {
    if (stored[at] == 0) {
      narrow = !narrow;
    } else if (narrow) {
      units += static_cast<char16_t>(stored[at]);
    } else {
      if (at + 1 == stored.size()) return false;
      units += LoadLittle<char16_t>(stored.data() + at);
      ++at;
    }
  }
  return true;
}

}  // namespace

bool DecodeStoredText(ByteView stored, std::u16string& units) {
  return IsCompressed(stored) ? DecodeRuns(stored, units) : DecodePlain(stored, units);
}

}  // namespace mv::check
