#pragma once

#include <memory>
#include <string>
#include <utility>

#include "jet/Database.h"
#include "platform/FileSystem.h"
#include "recordset/Connection.h"

namespace mv::jet {

/// A desktop database opened by our own engine, which holds the file exclusively until Close.
class JetConnection : public Connection {
 public:
  explicit JetConnection(std::unique_ptr<Database> database);

  /// NoSuchTableError; UnsupportedError for a query, a linked table, or a table with columns of later engines.
  std::unique_ptr<Recordset> OpenTable(const std::string& tableName) override;
  void Commit() override;
  /// A second call does nothing. Every other call after it raises -2147467259.
  void Close() override;

 private:
  Database& Open();

  std::unique_ptr<Database> database_;  ///< nothing once closed
};

/// Opens databases with our own engine.
class JetDatabaseProvider : public DatabaseProvider {
 public:
  /// The file system must outlive the provider and its connections, and so must what the sources refer to.
  explicit JetDatabaseProvider(platform::FileSystem& files, ExpressionSources sources = {})
      : files_(files), sources_(std::move(sources)), committer_(std::make_shared<Committer>(files)) {}

  /// Opens the file named by "Data Source" for writing. Values may stand in single or double quotes. Throws the errors
  /// of JetErrors.h; a text without "Data Source" names no file, which cannot be found.
  std::unique_ptr<Connection> Open(const std::string& connectionString) override;
  void Rest() override { committer_->Rest(); }

 private:
  platform::FileSystem& files_;
  ExpressionSources sources_;
  std::shared_ptr<Committer> committer_;
};

/// The value of "Data Source" in a connection string, "" when there is none; of several the last one counts.
std::string DataSourceOf(std::string_view connectionString);

}  // namespace mv::jet
