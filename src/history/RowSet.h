#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "jet/Database.h"
#include "platform/FileSystem.h"
#include "recordset/Recordset.h"
#include "recordset/Value.h"

namespace mv::history {

/// One row of a table, and on the handheld its flags (see pdb/RecordFlags.h).
struct KeyedRow {
  std::string key;  ///< text of the key field
  std::vector<Value> values;
  std::uint8_t attributes = 0;
};

/// Position of the key field by its name, without regard to the case of A to Z; the first where none has that name.
std::size_t PlaceOfKey(const std::vector<FieldDefinition>& fields, std::string_view name);

/// The names of the fields in their order, a repeated one with its number: "A", "A#2". A damaged table file may have
/// them, and a JSON object may not.
std::vector<std::string> UniqueNames(const std::vector<FieldDefinition>& fields);

/// The rows of one side of a table at one time, by their keys, compared without regard to case as runs do. Several rows
/// may have one key; they are taken in their order.
class RowSet {
 public:
  /// Nothing in it.
  RowSet() = default;
  /// Of a handheld's table file. The errors of TableFileReader. `keyField` is looked for by name, else the first field
  /// is the key.
  static RowSet OfTableFile(platform::FileSystem& files, const std::string& path, std::string_view keyField);
  /// Of a database's table. The errors of jet::Database.
  static RowSet OfTable(jet::Database& database, const std::string& table, std::string_view keyField);

  const std::vector<FieldDefinition>& Fields() const { return fields_; }
  /// Each once: of fields with one name, which a damaged table file may have, the later ones get their
  /// position, "NAME#2".
  std::vector<std::string> FieldNames() const;
  std::size_t Count() const { return rows_.size(); }

  /// The first row with this key that was not taken yet, which then is; null when there is none. Valid as long as the
  /// set.
  const KeyedRow* Take(std::string_view key);
  /// The first row with this key; null when there is none.
  const KeyedRow* Find(std::string_view key) const;
  /// Calls `visit` for every row that was not taken, in their order.
  void ForEachLeft(const std::function<void(const KeyedRow&)>& visit) const;

 private:
  void Add(KeyedRow row);

  std::vector<FieldDefinition> fields_;
  std::vector<KeyedRow> rows_;
  std::vector<bool> taken_;
  std::unordered_map<std::string, std::vector<std::size_t>> byKey_;
};

}  // namespace mv::history
