#pragma once

#include <string>
#include <string_view>

namespace mv {

/// The last segment of a path that handhelds list by: "*" stands for any characters, "?" for one; "*.*" fits every
/// name, with a dot or without, because programs for handhelds ask for all files by it. Letters fit in either case.
class DevicePattern {
 public:
  explicit DevicePattern(std::string_view pattern);

  /// Takes time in the length of the name times that of the pattern at worst, whatever both hold.
  bool Fits(std::string_view name) const;
  static bool HasWildcard(std::string_view text) { return text.find_first_of("*?") != text.npos; }

 private:
  std::u32string pattern_;  ///< folded
};

}  // namespace mv
