#include "base/EditDistance.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "base/Text.h"

namespace mv {

std::size_t EditDistance(std::string_view one, std::string_view other) {
  const std::string a = AsciiLower(one);
  const std::string b = AsciiLower(other);
  // From the first characters of `a` taken so far to the first j of `b`.
  std::vector<std::size_t> distances(b.size() + 1);
  std::iota(distances.begin(), distances.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = distances[0];
    distances[0] = i + 1;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = distances[j + 1];
      distances[j + 1] = std::min({replaced, distances[j] + 1, diagonal + 1});
    }
  }
  return distances.back();
}

}  // namespace mv
