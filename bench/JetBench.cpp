// The Jet engine: reading a whole table in physical order, and filling one that has a primary key.

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "BenchTable.h"
#include "jet/Database.h"
#include "mvtool/demo/SampleDatabase.h"
#include "support/MemoryFileSystem.h"

namespace mv::bench {
namespace {

using Rows = std::vector<std::vector<Value>>;

constexpr const char* kPath = "bench.db";

/// A database on the "disk" with these rows.
void StoreRows(platform::FileSystem& files, const jet::TableSpec& table, const Rows& rows) {
  const auto database = jet::Database::Create(files, kPath, tool::kFixedDate);
  database->CreateTable(table, tool::kFixedDate);
  jet::Table& stored = database->OpenTable(table.name);
  for (const std::vector<Value>& row : rows) stored.Insert(row);
  database->Commit();
}

Rows ReadRows(platform::FileSystem& files, const jet::TableSpec& table) {
  const auto database = jet::Database::Open(files, kPath, jet::PageFile::Mode::ReadOnly);
  const jet::Table& stored = database->OpenTable(table.name);
  Rows rows;
  for (std::optional<jet::RowId> row = stored.First(); row; row = stored.Next(*row)) {
    rows.push_back(stored.ReadRow(*row));
  }
  return rows;
}

void JetScan(benchmark::State& state) {
  const tool::DemoTable table = FuelTable(state);
  testing::MemoryFileSystem files;
  StoreRows(files, table.design, table.desktopRows);
  if (ReadRows(files, table.design) != table.desktopRows) return state.SkipWithError("other rows were read");
  for (auto _ : state) benchmark::DoNotOptimize(ReadRows(files, table.design));
  CountRecords(state, table.desktopRows.size());
}
BENCHMARK(JetScan)->Apply(WithTableSizes);

/// Keys in no order, so that index pages are split all over the tree.
Rows Shuffled(Rows rows) {
  std::shuffle(rows.begin(), rows.end(), std::mt19937(1));
  return rows;
}

void MeasureInsert(benchmark::State& state, const jet::TableSpec& table, const Rows& rows) {
  testing::MemoryFileSystem files;
  StoreRows(files, table, rows);
  if (ReadRows(files, table) != rows) return state.SkipWithError("other rows were stored");
  for (auto _ : state) StoreRows(files, table, rows);
  CountRecords(state, rows.size());
}

void JetInsertInKeyOrder(benchmark::State& state) {
  tool::DemoTable table = FuelTable(state);
  std::sort(table.desktopRows.begin(), table.desktopRows.end(), [](const auto& left, const auto& right) {
    return std::get<std::string>(left[0]) < std::get<std::string>(right[0]);
  });
  MeasureInsert(state, table.design, table.desktopRows);
}
BENCHMARK(JetInsertInKeyOrder)->Apply(WithTableSizes);

void JetInsertInRandomOrder(benchmark::State& state) {
  const tool::DemoTable table = FuelTable(state);
  MeasureInsert(state, table.design, Shuffled(table.desktopRows));
}
BENCHMARK(JetInsertInRandomOrder)->Apply(WithTableSizes);

}  // namespace
}  // namespace mv::bench
