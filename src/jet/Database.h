#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Date.h"
#include "jet/Catalog.h"
#include "jet/RelationDesign.h"
#include "jet/Relations.h"
#include "jet/Table.h"
#include "jet/definition/PageOwners.h"
#include "jet/definition/TableDesign.h"
#include "jet/file/Header.h"
#include "jet/file/PageFile.h"
#include "platform/FileSystem.h"

namespace mv::jet {

/// An open Jet 4 database file.
class Database {
 public:
  /// Opens and recognises a file. Throws the errors of JetErrors.h, one for each kind of file that is refused; for
  /// writing also DamagedFileError when it is not clear whose each page is (see CheckPageOwners).
  /// `committer`: see PageFile::Open.
  static std::unique_ptr<Database> Open(platform::FileSystem& files, const std::string& path, PageFile::Mode mode,
                                        ExpressionSources sources = {}, std::shared_ptr<Committer> committer = nullptr);
  /// Creates an empty database in memory; Commit writes it to `path`, replacing what is there. `created` becomes the
  /// file's creation date.
  static std::unique_ptr<Database> Create(platform::FileSystem& files, const std::string& path,
                                          const CivilTime& created, ExpressionSources sources = {});

  /// Only Open and Create make one.
  class Key {
    friend class Database;
    Key() = default;
  };
  Database(Key, std::unique_ptr<PageFile> pages, ExpressionSources sources);
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  /// Names of the user's tables, in the order of the catalog.
  std::vector<std::string> TableNames() const;
  /// All objects of the catalog, in its order: tables of the user and of the system, queries, relations ...
  std::vector<CatalogObject> Objects() const { return catalog_.Objects(); }
  /// The property list of one of these, as the catalog keeps it (see Properties.h); empty when it has none.
  Bytes PropertyList(const CatalogObject& object) const { return catalog_.PropertyList(object); }
  /// A table by name, without regard to case; NoSuchTableError, UnsupportedError for a query or a linked table. The
  /// object lives as long as the database; the same name gives the same object. DamagedFileError for a definition, or
  /// when opened for writing a property list, that contradicts itself.
  Table& OpenTable(const std::string& name);
  /// Adds a table with its indexes and catalog rows; `created` becomes the table's date. Throws ConstraintError for a
  /// table that Jet would refuse, UnsupportedError for an index that the engine could not keep, DamagedFileError for a
  /// property list that contradicts itself. When it fails nothing was changed.
  void CreateTable(const TableSpec& table, const CivilTime& created);

  /// Makes an enforced relation between two tables, which may be the same one and may have rows: an index on each side
  /// and catalog rows; `created` becomes its date. Throws ConstraintError for what Jet would refuse, rows without a
  /// related one among them, UnsupportedError for an index that the engine could not keep. When it fails nothing was
  /// changed.
  void CreateRelation(const RelationSpec& relation, const CivilTime& created);

  /// The three below: see PageFile.
  bool Changed() const { return pages_->Changed(); }
  void Commit() { pages_->Commit(); }
  PageFile& Pages() { return *pages_; }

 private:
  Table& SystemTable(PageNumber page, const std::string& name);
  Table& OpenObject(const CatalogObject& object);
  Table& TableAt(PageNumber page);
  TableDefinition Reread(const Table& table) const;
  std::vector<NamedTable> TablesWithPages() const;

  std::unique_ptr<PageFile> pages_;
  Header header_;
  ExpressionSources sources_;
  Relations relations_;
  std::unordered_map<PageNumber, std::unique_ptr<Table>> tables_;  ///< open tables by definition page
  Catalog catalog_;
};

}  // namespace mv::jet
