#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "jet/Database.h"
#include "jet/index/IndexKey.h"
#include "jet/index/IndexTree.h"
#include "support/MemoryFileSystem.h"

namespace mv::testing {

inline const CivilTime kJetCreated = {2026, 11, 21, 14, 5, 9};

/// Lists the columns and indexes of a new table.
class JetTable {
 public:
  explicit JetTable(const std::string& name) { spec_.name = name; }

  JetTable& Column(const std::string& name, jet::ColumnType type, std::uint16_t characters = 0) {
    jet::ColumnSpec column;
    column.name = name;
    column.type = type;
    column.characters = characters;
    column.scale = type == jet::ColumnType::Decimal ? 4 : 0;
    spec_.columns.push_back(column);
    return *this;
  }
  JetTable& Text(const std::string& name, std::uint16_t characters) {
    return Column(name, jet::ColumnType::Text, characters);
  }
  JetTable& Autonumber(const std::string& name) {
    Column(name, jet::ColumnType::Long);
    spec_.columns.back().autonumber = true;
    return *this;
  }
  JetTable& PrimaryKey(const std::string& column) {
    jet::IndexSpec& index = Index("PrimaryKey", {column});
    index.primaryKey = true;
    return *this;
  }
  /// Returns the index for its flags to be set.
  jet::IndexSpec& Index(const std::string& name, const std::vector<std::string>& columns) {
    jet::IndexSpec index;
    index.name = name;
    for (const std::string& column : columns) index.columns.push_back({column, true});
    spec_.indexes.push_back(index);
    return spec_.indexes.back();
  }

  const jet::TableSpec& Spec() const { return spec_; }

 private:
  jet::TableSpec spec_;
};

/// A new database in memory.
class JetDatabase {
 public:
  JetDatabase() : database_(jet::Database::Create(files_, "test.mdb", kJetCreated)) {}

  jet::Database& operator*() { return *database_; }
  jet::Database* operator->() { return database_.get(); }

  jet::Table& Add(const JetTable& table) {
    database_->CreateTable(table.Spec(), kJetCreated);
    return database_->OpenTable(table.Spec().name);
  }

  /// All pages as they are now.
  std::vector<jet::Page> Pages() {
    std::vector<jet::Page> pages;
    for (jet::PageNumber number = 0; number < database_->Pages().PageCount(); ++number) {
      pages.push_back(database_->Pages().Read(number));
    }
    return pages;
  }

  /// The database as a file.
  Bytes Image() {
    database_->Commit();
    return files_.Content("test.mdb");
  }

 private:
  MemoryFileSystem files_;
  std::unique_ptr<jet::Database> database_;
};

/// Every index holds exactly one entry for each row that should have one, under the key made of its values.
inline void ExpectIndexesMatchRows(jet::Database& database, const jet::Table& table) {
  const jet::TableDefinition& definition = table.Definition();
  jet::FreePages freePages(database.Pages());
  for (const jet::IndexData& index : definition.indexData) {
    std::multiset<std::string> expected;
    for (auto row = table.First(); row; row = table.Next(*row)) {
      const jet::IndexKey key = jet::KeyOf(definition, index, table.ReadRow(*row));
      if (key.allNull && index.IgnoresNulls()) continue;
      expected.insert(std::string(key.bytes.begin(), key.bytes.end()) + "@" + std::to_string(row->Word()));
    }
    std::multiset<std::string> found;
    const jet::IndexTree tree(database.Pages(), freePages, definition.page, index);
    for (const jet::IndexTree::Entry& entry : tree.Entries()) {
      found.insert(std::string(entry.key.begin(), entry.key.end()) + "@" + std::to_string(entry.row.Word()));
    }
    ASSERT_EQ(found, expected);
  }
}

}  // namespace mv::testing
