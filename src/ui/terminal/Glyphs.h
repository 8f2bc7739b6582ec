#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Terminal.h"

/// Texts as a terminal shows them.
namespace mv::terminal {

/// A text without control characters, which a terminal would obey: a path or an error's description may hold some. Each
/// becomes a blank.
std::string Harmless(std::string_view text);
/// The places in a line that a text takes: two for East Asian wide characters, none for combining ones.
std::size_t Width(std::string_view text);
/// The longest start of a text that takes no more than `columns` places.
std::string_view Start(std::string_view text, std::size_t columns);
/// The longest end of a text that takes no more than `columns` places.
std::string_view Tail(std::string_view text, std::size_t columns);
/// A text in the charset of a terminal; what that does not hold is written in ASCII, or as "?".
std::string Encoded(std::string_view text, platform::Terminal::Charset charset);

}  // namespace mv::terminal
