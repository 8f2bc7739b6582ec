#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "recordset/Recordset.h"
#include "recordset/StoredRows.h"
#include "recordset/TextIndex.h"

namespace mv {

/// A recordset without a database behind it: its rows live as long as the object does, in the order in which they were
/// added. Open, and empty, from its construction on.
///
/// Rows may come in a form of their own (StoredRows); such a row becomes values while it is the current one, and for
/// good when it is edited.
///
/// Costs. Every move, Delete and RecordCount take constant time whatever was deleted before. The first Find on a field
/// reads all rows once; further ones cost one look-up, wherever the match is.
class MemoryRecordset : public Recordset {
 public:
  /// Error 3367 when two fields have the same name (case of A to Z apart).
  explicit MemoryRecordset(std::vector<FieldDefinition> fields);
  /// The same with rows, the last of them the current one, as if each had been added.
  MemoryRecordset(std::vector<FieldDefinition> fields, std::unique_ptr<const StoredRows> rows);

  using Recordset::FieldValue;
  using Recordset::SetFieldValue;

  const std::vector<FieldDefinition>& Fields() const override { return fields_; }
  Value FieldValue(std::size_t index) const override;
  const Value& PeekField(std::size_t index, Value& room) const override;
  /// Besides the errors of ConvertedTo, -2147217887 when text or bytes are longer than the field's defined size.
  void SetFieldValue(std::size_t index, Value value) override;

  /// The number of the current row among the StoredRows; nothing where its values are not, or no longer, theirs.
  std::optional<std::size_t> CurrentStoredRow() const;

  /// The new row's fields are null until assigned.
  void AddNew() override;
  /// Adds a row of values that have the fields' own types, as AddNew, one SetFieldValue for each and Update do; missing
  /// ones are null.
  void AddRow(std::vector<Value> values);
  void Update() override;
  void CancelUpdate() override;
  /// Error 3021 for a new row that has not been saved.
  void Delete() override;

  void MoveFirst() override;
  void MoveLast() override;
  void MoveNext() override;
  bool Bof() const override;
  bool Eof() const override;
  std::int64_t RecordCount() const override { return liveRows_; }

  void Find(std::string_view criterion) override;

 private:
  const Value& HeldValue(std::size_t index) const;
  using RowNumber = TextIndex::RowNumber;
  static constexpr RowNumber kNoRow = ~RowNumber{0};

  enum class Pending { Nothing, Edit, NewRow };

  /// Live rows are chained in row order. A deleted row keeps its `next`, because it may still be the current one.
  struct Row {
    std::vector<Value> values;  ///< unless it is a row of stored_
    RowNumber previous = kNoRow;
    RowNumber next = kNoRow;
    bool live = true;
    bool isStored = false;
  };

  /// Error 3265 when there is no field `index`.
  void RequireField(std::size_t index) const;
  /// Error 3021 unless the current row is there and not deleted.
  void RequireLiveRow() const;
  const std::vector<Value>& ValuesOf(RowNumber row) const;
  void SaveEdit();
  void SaveNewRow();
  /// Puts a row behind the others and makes it the current one.
  void Append(Row row);
  void Unlink(const Row& row);
  /// The index of field `index`, built from the rows when this is its first use.
  TextIndex& IndexOf(std::size_t index);

  std::vector<FieldDefinition> fields_;
  std::unique_ptr<const StoredRows> stored_;  ///< under the first numbers; null when there are none
  std::vector<Row> rows_;                     ///< deleted ones included, so that a row keeps its number
  RowNumber first_ = kNoRow;
  RowNumber last_ = kNoRow;
  RowNumber current_ = kNoRow;  ///< kNoRow at EOF
  std::int64_t liveRows_ = 0;

  Pending pending_ = Pending::Nothing;
  std::vector<Value> pendingValues_;  ///< the row being edited, when pending_ says so

  std::map<std::size_t, TextIndex> indexes_;  ///< by field

  /// The stored row that was read last.
  mutable RowNumber readRow_ = kNoRow;
  mutable std::vector<Value> readValues_;
};

}  // namespace mv
