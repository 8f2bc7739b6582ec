#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "jet/Table.h"
#include "recordset/Recordset.h"

namespace mv::jet {

/// A live cursor over a table, rows in physical order. Reads and changes the table itself, so it sees what other
/// recordsets over the same table save; its own edits are kept here until they are saved.
///
/// Costs. Each field of the current row is decoded when it is first asked for and then kept, so a memo that nobody
/// reads costs nothing. Find reads one field of each row from the current one on. RecordCount counts the table once.
class JetRecordset : public Recordset {
 public:
  /// The table must outlive the recordset. The first row, if any, becomes the current one.
  explicit JetRecordset(Table& table);

  using Recordset::FieldValue;
  using Recordset::SetFieldValue;

  const std::vector<FieldDefinition>& Fields() const override { return fields_; }
  Value FieldValue(std::size_t index) const override;
  const Value& PeekField(std::size_t index, Value& room) const override;
  /// -2147217887, naming table and field, for a value that cannot be converted or is too long. A null becomes false in
  /// a Boolean field, which knows no null.
  void SetFieldValue(std::size_t index, Value value) override;

  /// The new row's fields are null, Boolean ones false, until assigned. Those that nobody has assigned get their
  /// default values by Update, an autonumber its number.
  void AddNew() override;
  void Update() override;
  void CancelUpdate() override;
  /// Error 3021 for a new row that has not been saved. A pending edit of the row is dropped.
  void Delete() override;

  void MoveFirst() override;
  void MoveLast() override;
  void MoveNext() override;
  bool Bof() const override;
  bool Eof() const override;
  std::int64_t RecordCount() const override { return table_.Count(); }

  void Find(std::string_view criterion) override;

 private:
  enum class Pending { Nothing, Edit, NewRow };

  /// Error 3265 when there is no field `index`.
  void RequireField(std::size_t index) const;
  /// Error 3021 unless the current row is there and not deleted.
  void RequireLiveRow() const;
  void MoveTo(std::optional<RowId> row);
  void ForgetRead() const;
  void SaveEdit();
  void SaveNewRow();
  Value UnassignedValue(std::size_t index) const;
  const Value& StoredValue(std::size_t index) const;

  Table& table_;
  std::vector<FieldDefinition> fields_;
  std::optional<RowId> current_;  ///< nothing at EOF
  bool currentDeleted_ = false;   ///< by this recordset

  /// Fields of the current row that were read so far, by field; the others hold what was read of rows before, whose
  /// memory is used again.
  mutable std::vector<Value> read_;
  mutable std::uint64_t readAtChange_ = 0;
  mutable bool hasReadShort_ = false;                ///< all but long values
  mutable std::vector<std::size_t> readLongFields_;  ///< fields of long values

  Pending pending_ = Pending::Nothing;
  std::vector<std::optional<Value>> assigned_;  ///< by field; what is not assigned stays as it is
};

}  // namespace mv::jet
