#pragma once

#include "base/Bytes.h"
#include "jet/definition/TableDefinition.h"
#include "jet/definition/TableRules.h"

namespace mv::jet {

/// The rules of a table and its columns out of its property list, the LvProp value of its catalog row. An empty list
/// and columns without properties give the defaults: not required, zero length allowed, no expressions. Everything for
/// display is not looked at.
///
/// The list, all numbers little-endian:
///   4 bytes "MR2" 00
///   blocks: u32 size (these 6 bytes included), u16 kind, body
///     kind 0x80, the first one: names, each u16 byte length and UTF-16; numbered from 0
///     kind 1, one for a column: u32 size of the owner part (itself included), u16 name length, name of the column,
///       then entries: u16 size of the entry, u8 flag, u8 type, u16 name number, u16 value length, value
///     kind 0, for the table itself: the same with an empty owner name
///
/// Throws DamagedFileError, naming the table, for a list that contradicts itself: a rule that was not understood must
/// not be broken.
TableRules RulesFromProperties(ByteView list, const TableDefinition& table);

}  // namespace mv::jet
