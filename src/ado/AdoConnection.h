#pragma once

#include <memory>
#include <string>

#include "ado/AdoErrors.h"
#include "ado/AdoInterfaces.h"
#include "ado/ComClasses.h"
#include "recordset/Connection.h"

namespace mv::ado {

/// A desktop database opened through ADO. Rows are saved one by one as each Update (or move) of a recordset happens:
/// the provider writes them itself, in its own short time, and at the latest when the connection is closed. So unlike
/// the own engine's, edits before a failure or a kill are in the file although nobody committed them.
class AdoConnection : public Connection {
 public:
  /// `opened` is closed with this object. `classes` must outlive it.
  AdoConnection(ComClasses& classes, ComPtr<IAdoConnection> opened);
  /// Closes what is open; errors are ignored. Recordsets must be gone.
  ~AdoConnection() override;
  AdoConnection(const AdoConnection&) = delete;
  AdoConnection& operator=(const AdoConnection&) = delete;

  /// -2147217865 for an unknown table.
  std::unique_ptr<Recordset> OpenTable(const std::string& tableName) override;
  /// Does nothing: every saved row is with the provider already. A transaction around a whole table would make them
  /// durable together, but the provider holds a lock for each changed page until its end and allows only so many.
  void Commit() override {}
  /// A second call does nothing. OpenTable after it raises the provider's error.
  void Close() override;

 private:
  ComPtr<IAdoRecordset> OpenRecords(const std::string& tableName, LONG cursorType, LONG lockType);
  std::int64_t CountRows(const std::string& tableName);

  ComClasses& classes_;
  ComPtr<IAdoConnection> connection_;
  bool isOpen_ = true;
};

/// Opens databases through ADO where it and the provider that the connection string names are installed, else hands the
/// string to another provider. Decided anew, and silently, for each Open.
class AdoDatabaseProvider : public DatabaseProvider {
 public:
  /// Both must outlive the provider, and the provider its connections.
  AdoDatabaseProvider(ComClasses& classes, DatabaseProvider& otherwise) : classes_(classes), otherwise_(otherwise) {}

  /// Whatever goes wrong with the database itself is raised, with the provider's number and text: a file that is
  /// missing, in use or of a foreign format is -2147467259.
  std::unique_ptr<Connection> Open(const std::string& connectionString) override;
  /// True where ADO and the engine's provider are installed.
  bool WritesInPlace() const override;

 private:
  /// Null when ADO or the provider is not installed.
  std::unique_ptr<Connection> OpenThroughAdo(const std::string& connectionString);

  ComClasses& classes_;
  DatabaseProvider& otherwise_;
  ComApartment apartment_;
};

}  // namespace mv::ado
