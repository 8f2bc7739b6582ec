#pragma once

#include <string>
#include <vector>

#include "base/Bytes.h"
#include "check/Findings.h"

namespace mv::check {

/// Checks a property list: "MR2" 00, then blocks of u32 size (of all), u16 kind and a body. The first block, and only
/// it, has kind 80 and lists names (u16 length, UTF-16). Kinds 0 and 1 belong to the object and to a column: u32 length
/// of the owner part = 6 + bytes of its name, u16 length and name; then entries of u16 size, u8 flag, u8 type, u16 name
/// number, u16 length and value.
///
/// Returns the names of columns that the list says may not be null.
std::vector<std::string> CheckProperties(ByteView list, const Place& place, Findings& findings);

}  // namespace mv::check
