#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/JetDatabase.h"

namespace mv::testing {

/// A small database with something of everything: columns of every type, indexes in both directions over most of them,
/// a tree of two levels, moved rows, dead slots, long values of every form, a relation.
inline Bytes RichImage() {
  using jet::ColumnType;
  JetDatabase database;
  JetTable design = JetTable("Rich")
                        .Autonumber("Id")
                        .Text("K", 40)
                        .Column("N", ColumnType::Long)
                        .Column("M", ColumnType::Memo)
                        .Column("O", ColumnType::Ole)
                        .Column("F", ColumnType::Boolean)
                        .Column("B", ColumnType::Byte)
                        .Column("I", ColumnType::Integer)
                        .Column("C", ColumnType::Currency)
                        .Column("S", ColumnType::Single)
                        .Column("D", ColumnType::Double)
                        .Column("W", ColumnType::DateTime)
                        .Column("R", ColumnType::Binary, 20)
                        .Column("G", ColumnType::Guid)
                        .Column("X", ColumnType::Decimal)
                        .PrimaryKey("K");
  design.Index("N", {"N"}).ignoreNulls = true;
  design.Index("Down", {"K", "F", "B"});
  for (auto& column : design.Index("Numbers", {"I", "C", "S", "D", "W"}).columns) column.ascending = false;
  design.Index("Bytes", {"R", "G", "X"});
  for (auto& column : design.Index("BytesDown", {"R", "G"}).columns) column.ascending = false;
  design.Index("Memo", {"M", "Id"});
  for (auto& column : design.Index("KDown", {"K"}).columns) column.ascending = false;
  jet::Table& table = database.Add(design);
  database.Add(JetTable("Parts").Text("Of", 40).Column("Count", ColumnType::Long));
  std::vector<jet::RowId> rows;
  for (std::int32_t i = 0; i < 260; ++i) {
    const std::string number = std::to_string(i * 7919 % 1000);
    const auto length = static_cast<std::size_t>(i % 7 == 0 ? 13 * i : i % 50);
    const std::string memo = i % 11 == 0 ? std::string("O'Neil co-op, straße ") : std::string(length, 'm');
    rows.push_back(table.Insert(
        {Null{}, "Zoë " + number + "-" + std::to_string(i), i % 3 == 0 ? Value(Null()) : Value(i % 40), memo,
         i % 50 == 0 ? Value(Bytes(9000, 1)) : Value(Null()), i % 2 == 0, static_cast<std::uint8_t>(i % 256),
         static_cast<std::int16_t>(-i), Currency{i * 1250 - 100000}, 0.5f * static_cast<float>(i - 50), 0.25 * i - 10,
         Date{40000.5 - 300 * i}, Bytes(static_cast<std::size_t>(i % 20), 7),
         std::string("{01234567-89AB-CDEF-0123-456789ABCDEF}"), std::to_string(i - 100) + ".5"}));
  }
  const std::size_t column = 4;
  const Value value = Bytes(60, 2);
  for (std::size_t i = 0; i < rows.size(); i += 3) table.Update(rows[i], {&column, 1}, {&value, 1});
  for (std::size_t i = 0; i < rows.size(); i += 5) table.Delete(rows[i]);
  jet::RelationSpec relation;
  relation.name = "RichParts";
  relation.table = "Parts";
  relation.columns = {"Of"};
  relation.references = "Rich";
  relation.referencedColumns = {"K"};
  database->CreateRelation(relation, kJetCreated);
  jet::Table& rich = database->OpenTable("Rich");
  jet::Table& parts = database->OpenTable("Parts");
  std::int32_t count = 0;
  for (auto row = rich.First(); row; row = rich.Next(*row)) parts.Insert({rich.ReadRow(*row).at(1), ++count});
  return database.Image();
}

}  // namespace mv::testing
