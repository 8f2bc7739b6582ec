#include "mvtool/text/SchemaSql.h"

#include <algorithm>
#include <vector>

#include "mvtool/files/ColumnTypes.h"

namespace mv::tool {
namespace {

using jet::ColumnSpec;
using jet::ColumnType;
using jet::IndexSpec;

/// Names hold no bracket.
std::string Quoted(const std::string& name) {
  return '[' + name + ']';
}

std::string Sized(const char* type, unsigned size) {
  return std::string(type) + '(' + std::to_string(size) + ')';
}

std::string TypeOf(const ColumnSpec& column) {
  switch (column.type) {
    case ColumnType::Boolean:
      return "BIT";
    case ColumnType::Byte:
      return "BYTE";
    case ColumnType::Integer:
      return "SHORT";
    case ColumnType::Long:
      return column.autonumber ? "COUNTER" : "LONG";
    case ColumnType::Currency:
      return "CURRENCY";
    case ColumnType::Single:
      return "REAL";
    case ColumnType::Double:
      return "DOUBLE";
    case ColumnType::DateTime:
      return "DATETIME";
    case ColumnType::Binary:
      return Sized("VARBINARY", column.characters);
    case ColumnType::Text:
      return Sized("TEXT", column.characters);
    case ColumnType::Ole:
      return "LONGBINARY";
    case ColumnType::Memo:
      return "MEMO";
    case ColumnType::Guid:
      return "GUID";
    case ColumnType::Decimal:
      return "DECIMAL(" + std::to_string(column.precision) + ", " + std::to_string(column.scale) + ')';
    default:
      return std::string(NameOf(column.type));
  }
}

/// In a statement no "=" stands before an expression.
std::string DefaultOf(const std::string& expression) {
  return " DEFAULT " + expression.substr(expression.starts_with('=') ? 1 : 0);
}

std::string SqlOf(const ColumnSpec& column, const jet::ColumnRules& rules) {
  const bool isText = column.type == ColumnType::Text || column.type == ColumnType::Memo;
  return Quoted(column.name) + ' ' + TypeOf(column) + (isText && column.compressed ? " WITH COMPRESSION" : "") +
         (rules.defaultValue.empty() ? "" : DefaultOf(rules.defaultValue)) + (rules.required ? " NOT NULL" : "");
}

/// A line of its own, whatever the text holds; nothing for an empty one.
std::string NoteOf(const std::string& owner, const char* property, std::string text) {
  if (text.empty()) return {};
  std::replace_if(
      text.begin(), text.end(), [](char character) { return character == '\r' || character == '\n'; }, ' ');
  return "-- " + owner + ' ' + property + ": " + text + '\n';
}

std::string NotesOf(const std::string& owner, const jet::DisplayTexts& texts) {
  return NoteOf(owner, "description", texts.description) + NoteOf(owner, "caption", texts.caption) +
         NoteOf(owner, "format", texts.format);
}

std::string NotesOf(const std::string& owner, const std::string& rule, const std::string& text) {
  return NoteOf(owner, "validation rule", rule) + NoteOf(owner, "validation text", text);
}

std::string NotesOf(const jet::TableSpec& table, const jet::TableProperties& properties) {
  const std::string name = Quoted(table.name);
  std::string notes =
      NotesOf(name, properties.rules.validationRule, properties.rules.validationText) + NotesOf(name, properties.texts);
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const std::string column = name + '.' + Quoted(table.columns[i].name);
    const jet::ColumnRules rules = properties.RulesOf(i);
    notes += NoteOf(column, "allow zero length", rules.allowZeroLength ? "" : "no") +
             NotesOf(column, rules.validationRule, rules.validationText) + NotesOf(column, properties.TextsOf(i));
  }
  return notes;
}

/// One option alone is allowed; entries of nulls matter only where nulls are.
const char* OptionOf(const IndexSpec& index) {
  if (index.primaryKey) return " WITH PRIMARY";
  if (index.required) return " WITH DISALLOW NULL";
  return index.ignoreNulls ? " WITH IGNORE NULL" : "";
}

std::string SqlOf(const std::string& table, const IndexSpec& index) {
  std::string columns;
  for (const IndexSpec::KeyColumn& key : index.columns) {
    columns += (columns.empty() ? "" : ", ") + Quoted(key.column) + (key.ascending ? "" : " DESC");
  }
  return std::string(index.unique && !index.primaryKey ? "CREATE UNIQUE INDEX " : "CREATE INDEX ") +
         Quoted(index.name) + " ON " + Quoted(table) + " (" + columns + ')' + OptionOf(index) + ";\n";
}

std::string ListOf(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + Quoted(name);
  return list;
}

}  // namespace

std::string SqlOf(const jet::TableSpec& table, const jet::TableProperties& properties) {
  std::string sql = NotesOf(table, properties) + "CREATE TABLE " + Quoted(table.name) + " (";
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    sql += (i == 0 ? "\n  " : ",\n  ") + SqlOf(table.columns[i], properties.RulesOf(i));
  }
  sql += "\n);\n";
  for (const IndexSpec& index : table.indexes) sql += SqlOf(table.name, index);
  return sql;
}

std::string SqlOf(const jet::RelationSpec& relation) {
  using OnDelete = jet::RelationSpec::OnDelete;
  std::string sql = "ALTER TABLE " + Quoted(relation.table) + " ADD CONSTRAINT " + Quoted(relation.name) +
                    "\n  FOREIGN KEY (" + ListOf(relation.columns) + ") REFERENCES " + Quoted(relation.references) +
                    " (" + ListOf(relation.referencedColumns) + ')';
  if (relation.cascadeUpdate) sql += " ON UPDATE CASCADE";
  if (relation.onDelete == OnDelete::Cascade) sql += " ON DELETE CASCADE";
  if (relation.onDelete == OnDelete::SetNull) sql += " ON DELETE SET NULL";
  return sql + ";\n";
}

}  // namespace mv::tool
