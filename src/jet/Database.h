#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/PageFile.h"
#include "jet/Table.h"
#include "platform/System.h"

namespace mv::jet {

/// What a new table looks like.
struct ColumnSpec {
  std::string name;
  ColumnType type = ColumnType::Text;
  std::uint16_t characters = 0;  ///< Text: 1 to 255 characters; Binary: 1 to 510 bytes
  bool compressed = true;        ///< Text and Memo
  bool autonumber = false;       ///< Long
  std::uint8_t precision = 18;   ///< Decimal
  std::uint8_t scale = 0;        ///< Decimal
};
struct IndexSpec {
  struct KeyColumn {
    std::string column;
    bool ascending = true;
  };
  std::string name;
  std::vector<KeyColumn> columns;
  bool primaryKey = false;
  bool unique = false;
  bool ignoreNulls = false;
  bool required = false;
};
struct TableSpec {
  std::string name;
  std::vector<ColumnSpec> columns;
  std::vector<IndexSpec> indexes;
};

/// An open Jet 4 database file.
class Database {
 public:
  /// Opens and recognises a file. Throws the errors of JetErrors.h, one for each kind of file that is refused.
  static std::unique_ptr<Database> Open(platform::FileSystem& files, const std::string& path, PageFile::Mode mode);
  /// Creates an empty database in memory; Commit writes it to `path`, replacing what is there. `created` becomes the
  /// file's creation date.
  static std::unique_ptr<Database> Create(platform::FileSystem& files, const std::string& path,
                                          const CivilTime& created);

  /// Names of the user's tables, in the order of the catalog.
  std::vector<std::string> TableNames() const;
  /// A table by name, without regard to case; NoSuchTableError. The object lives as long as the database.
  Table& OpenTable(const std::string& name);
  /// Adds a table with its indexes and catalog rows; `created` becomes the table's date. Throws ConstraintError for a
  /// specification that Jet would refuse, UnsupportedError for an index that the engine could not keep.
  void CreateTable(const TableSpec& table, const CivilTime& created);

  bool Changed() const;
  void Commit();
  PageFile& Pages();
};

}  // namespace mv::jet
