#pragma once

#include <cstddef>
#include <string_view>

namespace mv {

/// How many characters must be put in, taken out or replaced to make one text of the other; the case of A to Z does not
/// count. Takes time in proportion to the product of both lengths: for names.
std::size_t EditDistance(std::string_view one, std::string_view other);

}  // namespace mv
