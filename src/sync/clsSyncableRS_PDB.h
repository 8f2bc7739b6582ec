#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pdb/HandheldType.h"
#include "pdb/PDBAppforgeDefinition.h"
#include "pdb/PDBAppforgeRecord.h"
#include "pdb/PDBByteStream.h"
#include "pdb/PDBDatabase.h"
#include "recordset/MemoryRecordset.h"
#include "sync/HandheldRows.h"
#include "sync/ISyncableRS.h"
#include "sync/SyncContext.h"

namespace mv {

/// A handheld's table file as one side of a table. A run uses two of them for a table:
/// - the handheld's side: name set, createADORS (the file is opened, read and closed), keyInfo set, merged;
/// - the output: createDB (the file is written and closed), openDB, then one copyRecordToNative for each record, and
/// closeDB, which writes them.
///
/// Files lie in the context's currentPdbFolder as it is at the time of the call. File names are given with their
/// extension, a folder before the last "\" is not looked at; the file is called by the name without its last four
/// characters, and ".pdb".
class clsSyncableRS_PDB : public ISyncableRS {
 public:
  /// `context` must outlive this object.
  explicit clsSyncableRS_PDB(const SyncContext& context);

  /// The code of the handheld's type (HandheldType) for a recordset's field type. Error -1 "Unknown field type: N",
  /// source "adoTypeToPDBType", for a type that handhelds do not have.
  static std::int32_t adoTypeToPDBType(DataType type);

  /// Output: appends a record made of the current row of the source's recordset. Takes as many fields as the template
  /// of createDB had, by position, also when the source's own table has fewer: then its flags follow, and error 3265 is
  /// raised behind them. A null goes out as the type's zero: "", 0, false, 1904-01-01. The flags of the record are
  /// clear.
  bool copyRecordToNative(ISyncableRS& source) override;
  /// Creates the table file, without records, with the fields of `templateRS` but `_M` and `_D`; it is on the disk
  /// after closeDB. Error -1 for a field of a type that handhelds do not have; the file is not written then.
  void createDB(const std::string& fileName, const Recordset& templateRS) override;
  /// Opens a table file for appending. One that cannot be opened is no error; the next record then is.
  void openDB(const std::string& fileName) override;
  /// Writes the records that were appended, if any, and closes the file, which is on the disk then.
  void closeDB() override;
  /// Reads the table file called name() into the recordset: its fields in order, then `_D` and `_M`, and one row for
  /// each record; in mode "Overwrite PDA" no rows. A field of an unknown type is reported and left out, and fields
  /// behind it are read one place off. A file that cannot be opened, or is no table, gives a recordset without fields;
  /// error 3265 when such a file has records to load.
  ///
  /// With a record count that is a multiple of 8 progress is reported for every record, else never.
  void createADORS() override;

  /// Gives up what createADORS has made, and its memory.
  void ForgetADORS() { records_.reset(); }

  /// Raises why the last createADORS or openDB could not open its file; nothing when it could. A file that another
  /// program holds is error 75 with its path: a run explains error 70 as the desktop database being in use.
  void RequireOpened() const;
  /// Error 9, as for a cut file, when the file that createADORS read has a header of zeros: what a handheld leaves that
  /// lost its power while it wrote the table.
  void RequireHeader() const;

  /// Both the same: the key's criterion. Error 91 without a key.
  std::string keyCriteria(const Recordset& rs) const override;
  std::string keyPrintableString(const Recordset& rs) const override { return keyCriteria(rs); }
  /// The file name that was set.
  std::string name() const override { return name_; }
  void name(const std::string& fileName) { name_ = fileName; }
  /// Always null: the key can only be set.
  const IKeyInfo* keyInfo() const override { return nullptr; }
  void keyInfo(std::unique_ptr<IKeyInfo> keyInfo) override { keyInfo_ = std::move(keyInfo); }
  Recordset& adors() const override;
  /// The current row's `_D` and `_M`. Error -2 "Unexpected null recordset" before createADORS.
  bool RecordIsDeleted() const override { return Flag(kDeletedFromEnd, "RecordIsDeleted"); }
  bool RecordIsModified() const override { return Flag(kModifiedFromEnd, "RecordIsModified"); }
  std::optional<HandheldFields> currentFields() const override;
  /// Nothing for a row that had to be converted, for a NaN, and for a zero inside a text.
  std::optional<HandheldFields> copiedFields() const override;
  /// Fields in the file read by createADORS, those of unknown types included, or fields of createDB's template.
  std::int16_t nSyncableFields() const override { return syncableFields_; }

 private:
  static constexpr std::size_t kDeletedFromEnd = 2;
  static constexpr std::size_t kModifiedFromEnd = 1;

  void SetDatabaseName(const std::string& fileName);
  /// Opens the file called name(); false when it cannot be opened or is no table.
  bool OpenTable();
  std::vector<FieldDefinition> FieldsOfTable();
  void LoadRecords();
  void LoadRecordsAsTheyAre(std::vector<HandheldType> types);
  void LoadConvertedRecords();
  /// Makes record `index` (from 1) the one that record_ holds; returns its attributes.
  std::int32_t ReadRecord(std::int32_t index);
  /// Puts the record's values into a row of the recordset.
  void FillRow(std::vector<Value>& row) const;
  /// The flag that stands `fromEnd` places before the end of the fields.
  bool Flag(std::size_t fromEnd, const char* member) const;
  bool AppendPlainRecord(const Recordset& row);
  void AppendConvertedRecord(const Recordset& row);

  const SyncContext& context_;
  PDBDatabase database_;
  PDBAppforgeRecord record_;
  std::vector<std::int32_t> fieldTypes_;   ///< of the table read by createADORS
  std::vector<HandheldType> outputTypes_;  ///< of the table opened by openDB
  Bytes outputRecord_;                     ///< the last one
  bool outputIsExact_ = false;             ///< copiedFields are those of outputRecord_
  std::unique_ptr<MemoryRecordset> records_;
  const HandheldRows* handheldRows_ = nullptr;  ///< the stored rows of records_; null when it has none
  std::string name_;
  std::unique_ptr<IKeyInfo> keyInfo_;
  std::int16_t syncableFields_ = 0;
};

}  // namespace mv
