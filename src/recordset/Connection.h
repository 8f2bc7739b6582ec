#pragma once

#include <memory>
#include <string>

#include "recordset/Recordset.h"

namespace mv {

/// An open desktop database. Recordsets opened from it may not outlive it.
class Connection {
 public:
  /// Drops what is not committed and releases the file.
  virtual ~Connection() = default;

  /// Opens a whole table for reading and editing, rows in physical order. An unknown table raises the provider's error.
  virtual std::unique_ptr<Recordset> OpenTable(const std::string& tableName) = 0;

  /// Makes all edits since the last Commit durable together; on return they are on disk. When it fails the database
  /// file holds what it held. A pending (not updated) edit of a recordset is not part of it.
  virtual void Commit() = 0;

  /// Releases the file; reports what the destructor would swallow. Edits that were not committed are dropped.
  virtual void Close() = 0;
};

/// Opens desktop databases; the production object is chosen where the program is wired together.
class DatabaseProvider {
 public:
  virtual ~DatabaseProvider() = default;

  /// `connectionString`: "Provider=...;Data Source=PATH;". Keywords compare without regard to case; what is unknown is
  /// ignored. Raises the provider's error when the file is missing, in use, of a foreign format or protected.
  virtual std::unique_ptr<Connection> Open(const std::string& connectionString) = 0;

  /// True when edits go into the database file under its name, row by row; false when a new file takes its place.
  virtual bool WritesInPlace() const { return false; }

  /// No database will be opened for a while: what was kept beside one to make the next commit cheaper goes. Raises
  /// nothing.
  virtual void Rest() {}
};

}  // namespace mv
