#pragma once

#include <utility>

#include "sync/ISyncableRS.h"

namespace mv {

/// The desktop's side of a table: a live recordset that somebody else opened. Rows of the desktop are never flagged
/// deleted or modified, so the merge treats it as the passive side.
class clsSyncableRS_ADO : public ISyncableRS {
 public:
  /// Assigns fields 0 to source.nSyncableFields() - 1 of the source's current row to this recordset's current or new
  /// row. Saves nothing: the caller brackets it with AddNew and Update, or the next move saves the edit. A field that
  /// cannot be assigned raises the recordset's error; error 3265 when this table has fewer fields.
  bool copyRecordToNative(ISyncableRS& source) override;

  /// These four do nothing: the table is opened and closed by whoever called SetADORS.
  void createDB(const std::string&, const Recordset&) override {}
  void openDB(const std::string&) override {}
  void closeDB() override {}
  void createADORS() override {}

  /// Empty: the desktop's rows are never looked up by key.
  std::string keyCriteria(const Recordset&) const override { return {}; }
  std::string keyPrintableString(const Recordset&) const override { return {}; }
  /// Empty.
  std::string name() const override { return {}; }
  const IKeyInfo* keyInfo() const override { return keyInfo_.get(); }
  void keyInfo(std::unique_ptr<IKeyInfo> keyInfo) override { keyInfo_ = std::move(keyInfo); }
  Recordset& adors() const override;
  bool RecordIsDeleted() const override { return false; }
  bool RecordIsModified() const override { return false; }
  /// All fields of the recordset. Error 91 before SetADORS, 6 when there are more than 32,767.
  std::int16_t nSyncableFields() const override;

  /// `rs` must outlive this object.
  void SetADORS(Recordset& rs) { records_ = &rs; }

 private:
  Recordset* records_ = nullptr;
  std::unique_ptr<IKeyInfo> keyInfo_;
};

}  // namespace mv
