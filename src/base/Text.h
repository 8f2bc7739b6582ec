#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mv {

/// `text` without the blanks (U+0020) at both ends.
std::string_view Trim(std::string_view text);
/// A to Z for a to z; everything else as it is.
std::string AsciiUpper(std::string_view text);
std::string AsciiLower(std::string_view text);
/// Equality without regard to the case of A to Z.
bool EqualsIgnoreAsciiCase(std::string_view left, std::string_view right);

/// The lower-case partner of a character that has one of its own (Latin, Greek, Cyrillic, Armenian); else the
/// character itself.
char32_t FoldCase(char32_t codePoint);
/// The form under which two texts that differ in case only are equal. Accents and blanks still count.
std::string FoldCase(std::string_view text);

/// Number of bytes up to and including the last "\" or "/" of `path`; 0 when it has none.
std::size_t FolderLength(std::string_view path);
/// `folder` + "\" + `name`, the way every path of the program is joined.
std::string JoinPath(std::string_view folder, std::string_view name);
/// A local path as people read it: one that begins with "/" has no other separator. What the log is given, and what is
/// stored, stays as it is joined.
std::string ShownPath(std::string path);

}  // namespace mv
