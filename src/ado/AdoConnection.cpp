#include "ado/AdoConnection.h"

#include <utility>

#include "ado/AdoRecordset.h"
#include "base/Error.h"

namespace mv::ado {

AdoConnection::AdoConnection(ComClasses& classes, ComPtr<IAdoConnection> opened)
    : classes_(classes), connection_(std::move(opened)) {}

AdoConnection::~AdoConnection() {
  if (isOpen_) connection_->Close();
}

ComPtr<IAdoRecordset> AdoConnection::OpenRecords(const std::string& tableName, LONG cursorType, LONG lockType) {
  ComPtr<IAdoRecordset> records;
  const HRESULT created = classes_.Create(kRecordsetClass, IAdoRecordset::kId, records.ReceiveAny());
  if (FAILED(created)) throw ErrorOfResult(created);
  Check(records->putref_ActiveConnection(connection_.Get()), records, connection_);
  Check(records->Open(Variant::OfText(tableName).Get(), Variant::Missing().Get(), cursorType, lockType,
                      command_type::kTable),
        records, connection_);
  return records;
}

std::unique_ptr<Recordset> AdoConnection::OpenTable(const std::string& tableName) {
  return std::make_unique<AdoRecordset>(OpenRecords(tableName, cursor_type::kDynamic, lock_type::kOptimistic),
                                        connection_, [this, tableName] { return CountRows(tableName); });
}

std::int64_t AdoConnection::CountRows(const std::string& tableName) {
  AdoRecordset records(OpenRecords(tableName, cursor_type::kForwardOnly, lock_type::kReadOnly), connection_,
                       [] { return std::int64_t{0}; });
  std::int64_t count = 0;
  for (; !records.Eof(); records.MoveNext()) ++count;
  return count;
}

void AdoConnection::Close() {
  if (!std::exchange(isOpen_, false)) return;
  Check(connection_->Close(), connection_, connection_);
}

std::unique_ptr<Connection> AdoDatabaseProvider::Open(const std::string& connectionString) {
  if (auto connection = OpenThroughAdo(connectionString)) return connection;
  return otherwise_.Open(connectionString);
}

std::unique_ptr<Connection> AdoDatabaseProvider::OpenThroughAdo(const std::string& connectionString) {
  ComPtr<IAdoConnection> connection;
  const HRESULT created = classes_.Create(kConnectionClass, IAdoConnection::kId, connection.ReceiveAny());
  if (MeansNotInstalled(created)) return nullptr;
  if (FAILED(created)) throw ErrorOfResult(created);
  Check(connection->put_CursorLocation(cursor_location::kServer), connection, connection);
  const HRESULT opened =
      connection->Open(Bstr(connectionString).Get(), Bstr("").Get(), Bstr("").Get(), connect_option::kUnspecified);
  if (MeansNotInstalled(opened)) return nullptr;
  Check(opened, connection, connection);
  return std::make_unique<AdoConnection>(classes_, std::move(connection));
}

bool AdoDatabaseProvider::WritesInPlace() const {
  // Names the provider and no database: that fails in any case, and says whether the provider is there.
  constexpr const char* kNoDatabase = "Provider=Microsoft.Jet.OLEDB.4.0;";
  ComPtr<IAdoConnection> connection;
  if (FAILED(classes_.Create(kConnectionClass, IAdoConnection::kId, connection.ReceiveAny()))) return false;
  const HRESULT opened =
      connection->Open(Bstr(kNoDatabase).Get(), Bstr("").Get(), Bstr("").Get(), connect_option::kUnspecified);
  if (SUCCEEDED(opened)) connection->Close();
  return !MeansNotInstalled(opened);
}

}  // namespace mv::ado
