#pragma once

#include <string>

#include "jet/definition/TableDefinition.h"

namespace mv::testing {

/// Builds the definition of a table column by column, with ids, variable indexes and fixed offsets in order, as a new
/// table has them.
class JetColumns {
 public:
  /// A column of a type with a size of its own, or Boolean.
  JetColumns& Fixed(const std::string& name, jet::ColumnType type) {
    jet::Column column = Next(name, type);
    column.flags = 0x03;
    column.length = 1;
    column.length = static_cast<std::uint16_t>(type == jet::ColumnType::Boolean ? 1 : jet::FixedSize(column));
    return Place(column);
  }
  /// Text or Binary with a fixed place, of `bytes` bytes.
  JetColumns& FixedBytes(const std::string& name, jet::ColumnType type, std::uint16_t bytes) {
    jet::Column column = Next(name, type);
    column.flags = 0x03;
    column.length = bytes;
    return Place(column);
  }
  JetColumns& Text(const std::string& name, std::uint16_t characters, bool compressed = true) {
    jet::Column column = Next(name, jet::ColumnType::Text);
    column.length = static_cast<std::uint16_t>(2 * characters);
    column.moreFlags = compressed ? 0x01 : 0x00;
    return Place(column);
  }
  /// A column of any type in the variable area.
  JetColumns& Variable(const std::string& name, jet::ColumnType type, std::uint16_t bytes = 0) {
    jet::Column column = Next(name, type);
    column.length = bytes != 0 ? bytes : static_cast<std::uint16_t>(jet::FixedSize(column));
    return Place(column);
  }
  JetColumns& Memo(const std::string& name, bool compressed = true) {
    jet::Column column = Next(name, jet::ColumnType::Memo);
    column.moreFlags = compressed ? 0x01 : 0x00;
    return Place(column);
  }
  JetColumns& Ole(const std::string& name) { return Place(Next(name, jet::ColumnType::Ole)); }
  JetColumns& Autonumber(const std::string& name) {
    Fixed(name, jet::ColumnType::Long);
    table_.columns.back().flags = 0x07;
    return *this;
  }
  /// Takes the last column away again, as deleting it does: its places stay taken.
  JetColumns& Deleted() {
    table_.columns.pop_back();
    return *this;
  }

  jet::Column& Last() { return table_.columns.back(); }
  const jet::TableDefinition& Definition() const { return table_; }
  jet::TableDefinition& Definition() { return table_; }

 private:
  jet::Column Next(const std::string& name, jet::ColumnType type) const {
    jet::Column column;
    column.name = name;
    column.type = type;
    column.id = table_.nextColumnId;
    column.flags = 0x02;
    column.precision = 18;
    column.scale = 4;
    return column;
  }
  JetColumns& Place(jet::Column column) {
    ++table_.nextColumnId;
    if (column.IsFixed()) {
      column.fixedOffset = column.type == jet::ColumnType::Boolean ? std::uint16_t{0} : fixedEnd_;
      fixedEnd_ = static_cast<std::uint16_t>(fixedEnd_ + jet::FixedSize(column));
    } else {
      column.variableIndex = table_.nextVariableIndex++;
    }
    table_.columns.push_back(column);
    return *this;
  }

  jet::TableDefinition table_;
  std::uint16_t fixedEnd_ = 0;
};

}  // namespace mv::testing
