#pragma once

#include <string>
#include <vector>

namespace mv::platform {

/// The arguments after the program name, one by one. UTF-8 where the system hands out characters (Windows); where it
/// hands out bytes (POSIX systems) the very bytes, because they may name a file: pass them through ValidUtf8 before
/// showing them.
std::vector<std::string> Arguments(int argc, char** argv);

/// Lets the standard streams carry bytes unchanged (no line end translation) and through buffers of their own, and a
/// console show them as UTF-8. To be called once, before the first use of a stream; the C library's functions must not
/// be used on the same ones.
void UseUtf8Streams();

}  // namespace mv::platform
