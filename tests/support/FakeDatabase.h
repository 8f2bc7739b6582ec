#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "recordset/Connection.h"
#include "recordset/MemoryRecordset.h"

namespace mv::testing {

using Values = std::vector<Value>;

struct FakeTable {
  std::vector<FieldDefinition> fields;
  std::vector<Values> rows;
};

/// A desktop database in memory. What a connection's recordsets change counts only once it is committed.
class FakeDatabase : public DatabaseProvider {
 public:
  /// The committed tables.
  std::map<std::string, FakeTable> tables;
  /// "open CONNECTION STRING", "table NAME", "commit", "close".
  std::vector<std::string> calls;
  /// How often Rest was called.
  int rests = 0;
  /// What WritesInPlace answers.
  bool writesInPlace = false;
  /// Runs at the start of each Commit.
  std::function<void()> onCommit;
  /// Errors that the next calls raise.
  std::optional<Error> openError;
  std::optional<Error> commitError;
  std::optional<Error> closeError;

  std::unique_ptr<Connection> Open(const std::string& connectionString) override {
    calls.push_back("open " + connectionString);
    if (openError) throw *openError;
    return std::make_unique<FakeConnection>(*this);
  }
  void Rest() override { ++rests; }
  bool WritesInPlace() const override { return writesInPlace; }

 private:
  class FakeConnection;

  class TableRecordset : public MemoryRecordset {
   public:
    TableRecordset(FakeConnection& connection, const FakeTable& table)
        : MemoryRecordset(table.fields), connection_(connection) {
      for (const Values& row : table.rows) {
        AddNew();
        for (std::size_t i = 0; i < row.size(); ++i) SetFieldValue(i, row[i]);
        Update();
      }
      if (RecordCount() > 0) MoveFirst();
    }
    ~TableRecordset() override { connection_.Forget(); }

    /// The saved rows; leaves the recordset at EOF.
    std::vector<Values> SavedRows() {
      CancelUpdate();
      std::vector<Values> rows;
      if (RecordCount() == 0) return rows;
      for (MoveFirst(); !Eof(); MoveNext()) {
        Values& row = rows.emplace_back();
        for (std::size_t i = 0; i < Fields().size(); ++i) row.push_back(FieldValue(i));
      }
      return rows;
    }

   private:
    FakeConnection& connection_;
  };

  class FakeConnection : public Connection {
   public:
    explicit FakeConnection(FakeDatabase& database) : database_(database) {}

    std::unique_ptr<Recordset> OpenTable(const std::string& tableName) override {
      database_.calls.push_back("table " + tableName);
      const auto found = database_.tables.find(tableName);
      if (found == database_.tables.end()) throw Error(errors::kJetNoSuchTable, "", "No table '" + tableName + "'.");
      auto opened = std::make_unique<TableRecordset>(*this, found->second);
      opened_ = opened.get();
      openedName_ = tableName;
      return opened;
    }
    void Commit() override {
      database_.calls.push_back("commit");
      if (database_.onCommit) database_.onCommit();
      if (database_.commitError) throw *database_.commitError;
      if (opened_ != nullptr) database_.tables[openedName_].rows = opened_->SavedRows();
    }
    void Close() override {
      database_.calls.push_back("close");
      if (database_.closeError) throw *database_.closeError;
    }
    void Forget() { opened_ = nullptr; }

   private:
    FakeDatabase& database_;
    TableRecordset* opened_ = nullptr;
    std::string openedName_;
  };
};

}  // namespace mv::testing
