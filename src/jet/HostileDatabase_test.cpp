#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "base/Error.h"
#include "jet/Database.h"
#include "jet/JetRecordset.h"
#include "support/MemoryFileSystem.h"

namespace mv::jet {
namespace {

const CivilTime kCreated{2026, 11, 21, 14, 5, 9};

ColumnSpec Typed(const std::string& name, ColumnType type, std::uint16_t characters = 0) {
  ColumnSpec column;
  column.name = name;
  column.type = type;
  column.characters = characters;
  return column;
}

/// A small database with two tables: indexes, memos of every form, deleted and moved rows.
Bytes SmallDatabase() {
  testing::MemoryFileSystem files;
  const auto database = Database::Create(files, "x.mdb", kCreated);
  ColumnSpec id = Typed("Id", ColumnType::Long);
  id.autonumber = true;
  IndexSpec key;
  key.name = "PrimaryKey";
  key.columns = {{"Id"}};
  key.primaryKey = true;
  IndexSpec byName;
  byName.name = "byName";
  byName.columns = {{"Name"}, {"Active", false}};
  const std::vector<ColumnSpec> columns = {id, Typed("Name", ColumnType::Text, 30), Typed("Notes", ColumnType::Memo),
                                           Typed("Active", ColumnType::Boolean), Typed("Price", ColumnType::Currency)};
  for (const std::string name : {"First", "Second"}) {
    database->CreateTable({name, columns, {key, byName}}, kCreated);
    Table& table = database->OpenTable(name);
    for (std::size_t i = 0; i < 40; ++i) {
      table.Insert({Null{}, std::string(i % 20, 'n'), std::string(i * 130, 'm'), i % 2 == 0, Currency{5}});
    }
    const std::size_t column = 1;
    const Value longer = std::string(30, 'x');
    auto row = table.First();
    for (int i = 0; row; row = table.Next(*row), ++i) {
      if (i % 5 == 0) table.Delete(*row);
      if (i % 5 == 1) table.Update(*row, std::span(&column, 1), std::span(&longer, 1));
    }
  }
  database->Commit();
  return files.Content("x.mdb");
}

/// Runs `action`; true when it raised an Error, which is how damage may show. Anything else fails the test.
template <typename Action>
bool Raises(Action action) {
  try {
    action();
    return false;
  } catch (const Error&) {
    return true;
  }
}

/// Reads every table, then changes rows of it, giving up at the first error.
void UseAll(Database& database) {
  for (const std::string& name : database.TableNames()) {
    Raises([&] {
      Table& table = database.OpenTable(name);
      int rows = 0;
      for (auto row = table.First(); row && rows < 10000; row = table.Next(*row), ++rows) {
        Raises([&] { table.ReadRow(*row); });
      }
      JetRecordset cursor(table);
      cursor.AddNew();
      for (std::size_t i = 0; i < cursor.Fields().size(); ++i)
        Raises([&] { cursor.SetFieldValue(i, std::string("7")); });
      Raises([&] { cursor.Update(); });
      for (int step = 0; step < 60 && !cursor.Eof(); ++step) {
        if (Raises([&] { cursor.SetFieldValue(1, std::string(25, 'y')); })) break;
        if (Raises([&] { cursor.Update(); })) break;
        if (step % 2 == 0 && Raises([&] { cursor.Delete(); })) break;
        if (Raises([&] { cursor.MoveNext(); })) break;
      }
    });
  }
}

class HostileDatabase : public ::testing::TestWithParam<unsigned> {};

TEST_P(HostileDatabase, BytesReplacedAtRandom_GiveAnErrorOrAResultAndNothingElse) {
  const Bytes whole = SmallDatabase();
  std::mt19937 random(GetParam());
  const auto below = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  for (int round = 0; round < 60; ++round) {
    Bytes content = whole;
    const std::size_t changes = 1 + below(4);
    for (std::size_t i = 0; i < changes; ++i) {
      // Page heads and the ends of pages hold what leads to other places; hit them more often.
      const std::size_t page = 1 + below(content.size() / kPageSize - 1);
      const std::size_t offset = below(2) == 0 ? below(64) : below(kPageSize);
      content[page * kPageSize + offset] = static_cast<std::uint8_t>(below(256));
    }
    testing::MemoryFileSystem files;
    files.Put("x.mdb", std::move(content));
    Raises([&] {
      const auto database = Database::Open(files, "x.mdb", PageFile::Mode::ReadWrite);
      UseAll(*database);
      Raises([&] { database->CreateTable({"Third", {Typed("A", ColumnType::Long)}, {}}, kCreated); });
      database->Commit();
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, HostileDatabase, ::testing::Range(0u, 10u));

}  // namespace
}  // namespace mv::jet
