#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "base/Date.h"
#include "jet/Table.h"
#include "jet/file/Header.h"

namespace mv::jet {

/// Kinds of catalog objects; all others (forms, reports ...) are of no concern.
enum class ObjectType : std::int16_t {
  Table = 1,
  Database = 2,
  Container = 3,
  LinkedOdbc = 4,
  Query = 5,
  Linked = 6,
  Relation = 8,
};

/// Ids of objects that every database has. The root itself has no row.
inline constexpr std::int32_t kRootId = 0x0F000000;
inline constexpr std::int32_t kTablesId = 0x0F000001;
inline constexpr std::int32_t kDatabasesId = 0x0F000002;
inline constexpr std::int32_t kRelationshipsId = 0x0F000003;
inline constexpr std::int32_t kDatabaseId = 0x10000000;

/// Bits of an object's flags.
inline constexpr std::uint32_t kSystemObject = 0x80000000;
inline constexpr std::uint32_t kAccessObject = 0x00000002;
inline constexpr std::uint32_t kHiddenObject = 0x00000008;

/// One row of MSysObjects.
struct CatalogObject {
  std::int32_t id = 0;  ///< of a table: its definition page
  std::int32_t parent = 0;
  std::string name;
  ObjectType type = ObjectType::Table;
  std::uint32_t flags = 0;

  /// True for what the platform makes for itself: flagged so, or named as it names its own.
  bool IsSystem() const;
  /// True for a table that users see: no system object, not hidden.
  bool IsUserTable() const;
};

/// One row of MSysACEs: what an account may do with an object.
struct Permission {
  std::int32_t object = 0;
  Bytes account;  ///< as stored, see Header::Identifier
  std::int32_t rights = 0;
  bool inheritable = false;  ///< not in force itself: a model for new objects below this one
};

/// Position of a column that a system table must have; DamagedFileError when it is not there.
std::size_t SystemColumnAt(const TableDefinition& table, const std::string& column, ColumnType type);

/// The catalog: what MSysObjects and MSysACEs say. Reads the tables at every call, keeps nothing.
class Catalog {
 public:
  /// The two tables must outlive the catalog. Throws DamagedFileError when a column is missing.
  Catalog(Table& objects, Table& permissions);

  /// All objects in physical order. Throws DamagedFileError for a row without name, id or type.
  std::vector<CatalogObject> Objects() const;
  /// The table, linked table or query of this name, without regard to case; they share one set of names. Names that
  /// differ in case only are possible where the sort order tells two cases apart: the one spelled like `name` is first.
  std::optional<CatalogObject> FindRowSource(const std::string& name) const;
  /// The table whose definition begins at this page.
  std::optional<CatalogObject> FindTable(PageNumber page) const;
  /// The relation of this name, without regard to case.
  std::optional<CatalogObject> FindRelation(const std::string& name) const;
  /// The property list of an object, empty when it has none.
  Bytes PropertyList(const CatalogObject& object) const;

  /// Adds a row of MSysObjects; all columns but those named here are null, the property list too when it is empty.
  void AddObject(const CatalogObject& object, const Bytes& owner, Date created, const Bytes& properties = {});
  void AddPermission(const Permission& permission);
  /// Gives a new object the rights that objects below `container` inherit. Creator, the placeholder for who creates,
  /// becomes the owner.
  void InheritPermissions(std::int32_t object, std::int32_t container, const Header& header);
  /// An id for an object that is no table: those are negative and count up.
  std::int32_t NextObjectId() const;

 private:
  struct ObjectColumns {
    std::size_t id, parent, name, type, created, updated, owner, flags, properties;
  };
  struct PermissionColumns {
    std::size_t object, account, rights, inheritable;
  };

  CatalogObject ReadObject(RowId row) const;

  Table& objects_;
  Table& permissions_;
  ObjectColumns objectAt_;
  PermissionColumns permissionAt_;
};

}  // namespace mv::jet
