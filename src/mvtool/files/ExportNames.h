#pragma once

#include <string>
#include <vector>

namespace mv::tool {

/// Names of files for tables, in the same order: the table's name and ".csv", with each byte that a file name cannot
/// have everywhere written as "%" and two hex digits, so that it reads back:
///
///   < > : " / \ | ? * %, control characters    always
///   the first character                        when the name, up to its first dot, is that of a device (CON, NUL,
///                                              COM1 ...), which Windows does not take for a file
///   as many characters from the start as it    when the name, case apart, is that of a table before it
///   takes to be another name
///
/// No two names are the same, case apart, and none is longer than file systems take. Failure when that cannot be had.
std::vector<std::string> ExportFileNames(const std::vector<std::string>& tables);

}  // namespace mv::tool
