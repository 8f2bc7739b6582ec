#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace mv::tool {

/// Names of files for tables, in the same order: the table's name and ".csv", with each byte that a file name cannot
/// have everywhere written as "%" and two hex digits, so that it reads back:
///
///   < > : " / \ | ? * %, control characters    wherever they stand
///   the first character                        when the name, up to its first dot, is that of a device (CON, NUL,
///                                              COM1 ...), which Windows does not take for a file
///   as many characters from the start as it    when the name, case apart, is that of a table before it
///   takes to be another name
///
/// No two names are the same, case apart, and none is longer than file systems take. Failure when that cannot be had.
std::vector<std::string> ExportFileNames(const std::vector<std::string>& tables);

/// A name for a local file after one that came from outside, in the same way but without ".csv"; names that end with a
/// dot or a blank, "." and ".." among them, are written in numbers throughout. Never a name in `used`, which holds them
/// folded, and gets this one. Nothing when there is no such name.
std::optional<std::string> SafeFileName(const std::string& name, std::set<std::string>& used);

}  // namespace mv::tool
