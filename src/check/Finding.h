#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/file/Page.h"

namespace mv::check {

enum class Severity : std::uint8_t {
  Damage,  ///< violates the format: some engine will refuse the file, lose rows or go wrong
  Note,    ///< what sound files of other engines are known to show, or what is worth knowing
};

/// What a finding is about; findings are counted and cut off by kind.
enum class Kind : std::uint8_t {
  File,        ///< of another kind, cut, with a password
  Header,      ///< page 0
  CommitWord,  ///< a writer stopped half-way
  Account,     ///< owners' identifiers in the catalog
  Page,        ///< a page outside the file, of the wrong kind, or with a wrong word in its head
  PageOwner,   ///< a page with two owners, or with an owner field that names another
  FreePage,    ///< free and owned, or neither
  Map,         ///< usage maps
  Slot,        ///< slots of data pages
  FreeSpace,   ///< free-space words
  Row,         ///< the parts of a row
  RowCount,    ///< the number of rows in the definition
  MovedRow,    ///< moved rows and their landing rows
  Value,       ///< a column's bytes
  LongValue,   ///< Memo and OLE values outside their row
  Definition,  ///< table definitions
  Column,      ///< column blocks
  Relation,    ///< relations in definitions and in MSysRelationships
  Index,       ///< index blocks
  IndexPage,   ///< heads, levels and links of index pages
  IndexOrder,  ///< entries out of order
  IndexKey,    ///< a key that is not its row's
  IndexEntry,  ///< entries without row, rows without entry
  Unique,      ///< two rows with one key
  Null,        ///< null where it is refused
  Catalog,     ///< MSysObjects
  Permission,  ///< MSysACEs
  Property,    ///< property lists
  Autonumber,  ///< the counter is behind the numbers given
  Reference,   ///< a foreign key without its row
  Handheld,    ///< sound, but more than a handheld can take
};
inline constexpr std::size_t kKinds = static_cast<std::size_t>(Kind::Handheld) + 1;

/// One thing that is wrong, and where as far as that is known. Names are UTF-8.
struct Finding {
  Severity severity = Severity::Damage;
  Kind kind = Kind::File;
  std::string table;
  std::string index;
  std::string column;
  std::optional<jet::PageNumber> page;
  std::optional<unsigned> row;  ///< slot on the page, from 0
  std::string text;             ///< a plain sentence without its full stop
};

/// Findings of one kind that were counted but not kept.
struct Omission {
  Severity severity = Severity::Damage;
  Kind kind = Kind::File;
  std::size_t count = 0;
};

/// What a check found.
struct Report {
  std::vector<Finding> findings;    ///< in the order in which they were found
  std::vector<Omission> omissions;  ///< for each severity and kind at most one
  std::size_t damages = 0;          ///< all of them, omitted ones too
  std::size_t notes = 0;

  bool checked = false;  ///< false: the file is of a kind that cannot be checked, the numbers below are 0
  std::size_t pages = 0;
  std::size_t freePages = 0;
  std::size_t tables = 0;  ///< of the user, as are the numbers below
  std::size_t rows = 0;
  std::size_t indexes = 0;
  std::size_t keysRebuilt = 0;  ///< index entries whose key was compared with their row, those of system tables too

  bool IsSound() const { return damages == 0; }
};

/// "damage", "note".
std::string_view NameOf(Severity severity);
/// A word or two with hyphens: "moved-row".
std::string_view NameOf(Kind kind);
/// "damage: table Fuel, page 123, row 4: the row is too short for its null mask".
std::string LineOf(const Finding& finding);
/// "damage: moved-row: and 12345 more".
std::string LineOf(const Omission& omission);
/// "123 pages, 13 tables, 4567 rows, 16 indexes: sound", or "... 3 damages, 2 notes".
std::string SummaryOf(const Report& report);

}  // namespace mv::check
