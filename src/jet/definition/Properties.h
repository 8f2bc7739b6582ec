#pragma once

#include <span>
#include <string>

#include "base/Bytes.h"
#include "jet/definition/TableDefinition.h"
#include "jet/definition/TableRules.h"

namespace mv::jet {

/// What people are shown of a column or a table, "" for none. The engine makes no use of it.
struct DisplayTexts {
  std::string description = {};
  std::string caption = {};  ///< in place of a column's name
  std::string format = {};

  friend bool operator==(const DisplayTexts&, const DisplayTexts&) = default;
};

/// All that is known of a property list.
struct TableProperties {
  TableRules rules;
  DisplayTexts texts;
  std::vector<DisplayTexts> columns;  ///< by position; those it lacks have none

  ColumnRules RulesOf(std::size_t column) const {
    return column < rules.columns.size() ? rules.columns[column] : ColumnRules();
  }
  DisplayTexts TextsOf(std::size_t column) const { return column < columns.size() ? columns[column] : DisplayTexts(); }
};

/// The rules of a table and its columns out of its property list, the LvProp value of its catalog row. An empty list
/// and columns without properties give the defaults: not required, zero length allowed, no expressions. What is for
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

/// The rules, and with them the texts for display. Throws as RulesFromProperties does, for the texts too.
TableProperties PropertiesFromList(ByteView list, const TableDefinition& table);

/// The list that says the same; `columns` are the names of the columns by position. Empty when all is as it is without
/// a list. ConstraintError for a text that is too long for one (65,527 bytes of UTF-16).
Bytes ListFromProperties(const TableProperties& properties, std::span<const std::string> columns);

}  // namespace mv::jet
