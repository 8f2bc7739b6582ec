#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "support/EncodedDatabase.h"
#include "support/JetDatabase.h"

namespace mv::testing {

/// Sound databases to be damaged, small enough for thousands of tries.

/// Two tables of one design: indexes, memos of every form, deleted and moved rows.
inline Bytes PairOfTables() {
  JetDatabase database;
  for (const std::string name : {"First", "Second"}) {
    JetTable design = JetTable(name)
                          .Autonumber("Id")
                          .Text("Name", 30)
                          .Column("Notes", jet::ColumnType::Memo)
                          .Column("Active", jet::ColumnType::Boolean)
                          .Column("Price", jet::ColumnType::Currency)
                          .PrimaryKey("Id");
    design.Index("byName", {"Name", "Active"}).columns[1].ascending = false;
    jet::Table& table = database.Add(design);
    for (std::size_t i = 0; i < 40; ++i) {
      table.Insert({Null{}, std::string(i % 20, 'n'), std::string(i * 130, 'm'), i % 2 == 0, Currency{5}});
    }
    const std::size_t column = 1;
    const Value longer = std::string(30, 'x');
    auto row = table.First();
    for (int i = 0; row; row = table.Next(*row), ++i) {
      if (i % 5 == 0) table.Delete(*row);
      if (i % 5 == 1) table.Update(*row, {&column, 1}, {&longer, 1});
    }
  }
  return database.Image();
}

/// A table with trees of two levels and leaves of several prefixes, and rows that have moved from full pages; beside it
/// a small one.
inline Bytes TallTrees() {
  JetDatabase database;
  JetTable design = JetTable("Tall")
                        .Text("Key", 40)
                        .Column("Number", jet::ColumnType::Long)
                        .Column("Blob", jet::ColumnType::Ole)
                        .PrimaryKey("Key");
  design.Index("Number", {"Number"});
  jet::Table& table = database.Add(design);
  jet::Table& small = database.Add(JetTable("Small").Text("Key", 9).PrimaryKey("Key"));
  std::vector<jet::RowId> rows;
  for (std::int32_t i = 0; i < 260; ++i) {
    const Value blob = i % 50 == 0 ? Value(Bytes(9000, 1)) : Value(Null());
    rows.push_back(table.Insert({"a key of some length " + std::to_string(i * 7919), i % 40, blob}));
    if (i % 60 == 0) small.Insert({std::to_string(i)});
  }
  const std::size_t column = 2;
  const Value value = Bytes(60, 2);
  for (std::size_t i = 0; i < rows.size(); i += 3) table.Update(rows[i], {&column, 1}, {&value, 1});
  for (std::size_t i = 0; i < rows.size(); i += 5) table.Delete(rows[i]);
  return database.Image();
}

/// Every type of column, and an index on every type that can have one.
inline Bytes AllTypes() {
  using jet::ColumnType;
  JetDatabase database;
  for (const std::string name : {"Types", "Others"}) {
    JetTable design(name);
    std::vector<std::string> names;
    for (const ColumnType type :
         {ColumnType::Boolean, ColumnType::Byte, ColumnType::Integer, ColumnType::Long, ColumnType::Currency,
          ColumnType::Single, ColumnType::Double, ColumnType::DateTime, ColumnType::Binary, ColumnType::Text,
          ColumnType::Guid, ColumnType::Decimal, ColumnType::Memo, ColumnType::Ole}) {
      names.push_back("C" + std::to_string(static_cast<int>(type)));
      const bool hasLength = type == ColumnType::Text || type == ColumnType::Binary;
      design.Column(names.back(), type, hasLength ? 50 : 0);
    }
    names.resize(names.size() - 2);
    for (const std::string& column : names) design.Index("by" + column, {column});
    jet::Table& table = database.Add(design);
    for (std::int32_t i = 0; i < 12; ++i) {
      const std::string number = std::to_string(i);
      table.Insert({i % 2 == 0, i, i, i, i, i, number, Date{38000.5 + i}, Bytes(10, static_cast<std::uint8_t>(i)),
                    "text " + number, std::string("{01234567-89AB-CDEF-0123-456789ABCDE" + number.substr(0, 1) + "}"),
                    number + ".5", std::string(static_cast<std::size_t>(i) * 90, 'm'),
                    Bytes(static_cast<std::size_t>(i) * 400, 9)});
    }
  }
  return database.Image();
}

/// Two tables that a relation joins, with rows that go together, and one beside them.
inline Bytes RelatedTables() {
  JetDatabase database;
  jet::Table& owners = database.Add(JetTable("Owners").Text("Name", 20).PrimaryKey("Name"));
  jet::Table& cars = database.Add(JetTable("Cars").Autonumber("Id").Text("Owner", 20).PrimaryKey("Id"));
  jet::Table& others = database.Add(JetTable("Others").Text("Name", 20).PrimaryKey("Name"));
  jet::RelationSpec relation;
  relation.name = "OwnerCar";
  relation.table = "Cars";
  relation.columns = {"Owner"};
  relation.references = "Owners";
  relation.referencedColumns = {"Name"};
  relation.cascadeUpdate = true;
  relation.onDelete = jet::RelationSpec::OnDelete::Cascade;
  database->CreateRelation(relation, kJetCreated);
  for (std::int32_t i = 0; i < 20; ++i) {
    const std::string name = "name " + std::to_string(i);
    owners.Insert({name});
    others.Insert({name});
    for (std::int32_t car = 0; car < i % 4; ++car) cars.Insert({Null(), name});
  }
  return database.Image();
}

inline std::vector<Bytes> JetSpecimens() {
  return {PairOfTables(), TallTrees(), AllTypes(), RelatedTables(), Encoded(PairOfTables(), 0xA1B2C3D4)};
}

}  // namespace mv::testing
