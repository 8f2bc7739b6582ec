#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "recordset/Value.h"

namespace mv {

/// Name and type of one field of a recordset.
struct FieldDefinition {
  std::string name;
  DataType type = DataType::BStr;
  /// Longest value in characters or bytes where the type has such a limit; else 0.
  std::int32_t definedSize = 0;

  friend bool operator==(const FieldDefinition&, const FieldDefinition&) = default;
};

/// A table as rows with a current row, with the semantics of ADO recordsets. Both sides of a table present it: the
/// handheld's as an in-memory recordset, the desktop's as a live cursor over the database.
///
/// Current row. Right after opening it is the first row, or BOF and EOF are both true when there is none. A deleted row
/// stays current until the next move; reading it, or deleting it again, is error 3021. When no rows are left BOF and
/// EOF are both true, also right after the last row was deleted.
///
/// Editing. Assigning a field of the current row starts an edit, AddNew starts a new row; Update saves either. Any
/// move, and AddNew, save a pending edit first. When saving fails the error is raised, the pending edit is dropped and
/// the row is as it was. After Update of a new row that row is the current one.
///
/// Errors are mv::Error with the platform's numbers: 3021 no current row, 3265 no such field, 3001 a malformed
/// criterion.
class Recordset {
 public:
  virtual ~Recordset() = default;

  /// The fields in order; fixed while the recordset is open.
  virtual const std::vector<FieldDefinition>& Fields() const = 0;

  /// Value of field `index` (from 0) in the current row, pending edits included.
  virtual Value FieldValue(std::size_t index) const = 0;
  /// The same without a copy where the recordset holds the value; where it does not, `room` takes it. Good until the
  /// next call that may change something.
  virtual const Value& PeekField(std::size_t index, Value& room) const { return room = FieldValue(index); }
  /// Assigns field `index` (from 0) in the current or new row; converts as ConvertedTo does. A value that does not fit
  /// raises and leaves the row being edited as it was.
  virtual void SetFieldValue(std::size_t index, Value value) = 0;

  virtual void AddNew() = 0;
  /// Saves the pending edit; without one does nothing.
  virtual void Update() = 0;
  /// Drops the pending edit, if any; never fails. After AddNew the row that was current before is current again.
  virtual void CancelUpdate() = 0;
  /// Deletes the current row.
  virtual void Delete() = 0;

  /// Both moves: error 3021 when there is no row.
  virtual void MoveFirst() = 0;
  virtual void MoveLast() = 0;
  /// From the last row to EOF; error 3021 when EOF already. From a deleted row to the one behind it, or to EOF; that is
  /// no error even when the deleted row was the only one, so that a loop may delete as it goes.
  virtual void MoveNext() = 0;
  /// "Eof" and "Bof" because EOF is a macro of the C library.
  virtual bool Bof() const = 0;
  virtual bool Eof() const = 0;
  virtual std::int64_t RecordCount() const = 0;

  /// Moves to the first row, from the current one on (it included), that satisfies `criterion`: FIELD='text', a quote
  /// inside written twice. Compares the field's text (TextOf) without regard to case. EOF when there is none. Error
  /// 3001 for any other form, 3265 for an unknown field, 3021 when there is no current row to start at.
  virtual void Find(std::string_view criterion) = 0;

  /// Position of the field called `name`, without regard to the case of A to Z. Error 3265.
  std::size_t FieldIndex(std::string_view name) const;
  Value FieldValue(std::string_view name) const { return FieldValue(FieldIndex(name)); }
  void SetFieldValue(std::string_view name, Value value) { SetFieldValue(FieldIndex(name), std::move(value)); }
};

}  // namespace mv
