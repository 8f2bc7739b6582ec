#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/AdoErrors.h"
#include "ado/AdoInterfaces.h"
#include "ado/ComClasses.h"
#include "recordset/Recordset.h"

namespace mv::ado {

/// A table of the desktop database as an open recordset of ADO: a live, updatable cursor in the provider, over a file
/// that other programs may have open at the same time. Where ADO or a provider would answer otherwise than Recordset
/// promises, this class makes up for it; each place says how.
///
/// Position. After each move the end of the rows is asked for once and kept here, so reading a field, Eof and Bof cost
/// no call more. ADO leaves the cursor on a row that was just deleted, where providers differ in what they answer; here
/// it goes on to the row behind at once, and the recordset itself plays the deleted row until the next move.
///
/// Costs. A move is two calls, a field's value one. Find walks from the current row on, as in the own engine: it is not
/// ADO's Find, which knows neither number fields compared as text nor null as the empty text, nor the house's idea of
/// case; and it keeps no index, because rows that other programs change would make its answer wrong. (A merge searches
/// the handheld's rows, which lie in memory, never these.) RecordCount reads the table once.
class AdoRecordset : public Recordset {
 public:
  /// `records` is open, on its first row if it has any, and closed with this object. `connection` (may be null) is
  /// where messages of the provider are looked for. `countRows` counts the saved rows; called when somebody asks.
  AdoRecordset(ComPtr<IAdoRecordset> records, ComPtr<IAdoConnection> connection,
               std::function<std::int64_t()> countRows);
  /// Drops a pending edit; errors are ignored.
  ~AdoRecordset() override;
  AdoRecordset(const AdoRecordset&) = delete;
  AdoRecordset& operator=(const AdoRecordset&) = delete;

  using Recordset::FieldValue;
  using Recordset::SetFieldValue;

  const std::vector<FieldDefinition>& Fields() const override { return fields_; }
  Value FieldValue(std::size_t index) const override;
  /// Besides the errors of ConvertedTo those of the provider, -2147217887 for a text that is too long. A null becomes
  /// false in a Boolean field, which knows no null.
  void SetFieldValue(std::size_t index, Value value) override;

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
  /// Rows as a new cursor meets them: ADO's own number is -1 for a dynamic cursor and may be an estimate for others.
  std::int64_t RecordCount() const override { return countRows_(); }

  void Find(std::string_view criterion) override;

 private:
  enum class Pending { Nothing, Edit, NewRow };
  /// What the recordset's user sees as the current row. On a deleted row ADO's cursor is on the row behind it already,
  /// or at the end.
  enum class Position { Row, DeletedRow, End };

  /// Error 3265 when there is no field `index`.
  void RequireField(std::size_t index) const;
  /// Error 3021 unless the current row is there and not deleted.
  void RequireLiveRow() const;
  /// Reads from ADO where its cursor has come to.
  void Land();
  bool IsAdoAtEnd() const;
  /// Whether any row is left. Moves ADO's cursor away from the end and back, so only for when it is there.
  bool HasRowsBeforeEnd() const;
  bool HasRows() const;
  /// Whether field `index` of the current row has the text, compared as Find does. A row that another program deleted
  /// has none.
  bool CurrentRowReads(std::size_t index, const std::string& foldedText) const;
  /// Takes back what ADO holds as pending; there is nothing to be done about a failure.
  void DropAdoEdit() const;
  template <typename Interface>
  void Check(HRESULT result, const ComPtr<Interface>& object) const {
    ado::Check(result, object, connection_);
  }

  ComPtr<IAdoConnection> connection_;
  ComPtr<IAdoRecordset> records_;
  std::vector<ComPtr<IAdoField>> columns_;  ///< each shows its field of whatever row is current
  std::vector<FieldDefinition> fields_;
  std::function<std::int64_t()> countRows_;

  Position position_ = Position::End;
  Pending pending_ = Pending::Nothing;
};

}  // namespace mv::ado
