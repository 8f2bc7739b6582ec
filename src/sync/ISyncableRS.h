#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "base/Bytes.h"
#include "pdb/HandheldType.h"
#include "recordset/Recordset.h"
#include "sync/IKeyInfo.h"

namespace mv {

/// The fields of a record as a handheld's table file holds them.
struct HandheldFields {
  std::span<const HandheldType> types;
  ByteView bytes;
};

/// One table as the merge sees it, whatever stores it: a recordset that can be created, opened, read, matched by key
/// and written. The fields that take part in copying are the first nSyncableFields fields of `adors`, by position.
/// Rows of a handheld's table carry the Boolean fields `_D` and `_M` behind them.
class ISyncableRS {
 public:
  virtual ~ISyncableRS() = default;

  /// Copies the current row of source.adors(), by position, into this side's native store. The result is always false
  /// and means nothing.
  virtual bool copyRecordToNative(ISyncableRS& source) = 0;
  /// Creates an empty native store named after `fileName` with the fields of `templateRS`, `_M` and `_D` left out.
  virtual void createDB(const std::string& fileName, const Recordset& templateRS) = 0;
  /// Opens an existing native store.
  virtual void openDB(const std::string& fileName) = 0;
  virtual void closeDB() = 0;
  /// Builds the recordset that adors() hands out from the native store.
  virtual void createADORS() = 0;
  /// The criterion that finds, in this side's recordset, the row with the key of the current row of `rs`.
  virtual std::string keyCriteria(const Recordset& rs) const = 0;
  virtual std::string keyPrintableString(const Recordset& rs) const = 0;
  /// The table's name.
  virtual std::string name() const = 0;
  virtual const IKeyInfo* keyInfo() const = 0;
  virtual void keyInfo(std::unique_ptr<IKeyInfo> keyInfo) = 0;
  /// The recordset that the merge walks. Error 91 while there is none.
  virtual Recordset& adors() const = 0;
  /// Whether the current row of adors() is flagged deleted (or modified) by the handheld.
  virtual bool RecordIsDeleted() const = 0;
  virtual bool RecordIsModified() const = 0;
  /// The fields of the current row of adors() where they are still as the table file holds them.
  virtual std::optional<HandheldFields> currentFields() const { return std::nullopt; }
  /// The fields that copyRecordToNative stored last, where reading these bytes gives each of its values back as
  /// HandheldForm has it, and no value differs from itself.
  virtual std::optional<HandheldFields> copiedFields() const { return std::nullopt; }
  /// How many leading fields of adors() are table data.
  virtual std::int16_t nSyncableFields() const = 0;
};

}  // namespace mv
