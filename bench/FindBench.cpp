// Finding rows by key in the in-memory recordset, as the merge does once for every row of the desktop.

#include <string>
#include <vector>

#include "BenchTable.h"
#include "recordset/MemoryRecordset.h"

namespace mv::bench {
namespace {

std::vector<std::string> KeysOf(const tool::DemoTable& table) {
  std::vector<std::string> keys;
  for (const auto& row : table.desktopRows) keys.push_back(std::get<std::string>(row[0]));
  return keys;
}

MemoryRecordset RecordsWith(const std::vector<std::string>& keys) {
  MemoryRecordset records({{tables::kFuel.keyField, DataType::BStr, 0}});
  for (const std::string& key : keys) {
    records.AddNew();
    records.SetFieldValue(std::size_t{0}, key);
    records.Update();
  }
  return records;
}

/// Finds every key once, from the first row on; returns how many rows were the right ones.
std::size_t FindAll(MemoryRecordset& records, const std::vector<std::string>& keys) {
  std::size_t found = 0;
  for (const std::string& key : keys) {
    records.MoveFirst();
    records.Find(tables::kFuel.keyField + ("='" + key) + "'");
    if (!records.Eof() && std::get<std::string>(records.FieldValue(std::size_t{0})) == key) ++found;
  }
  return found;
}

void FindByKey(benchmark::State& state) {
  const std::vector<std::string> keys = KeysOf(FuelTable(state));
  {
    MemoryRecordset records = RecordsWith(keys);
    if (FindAll(records, keys) != keys.size()) return state.SkipWithError("a key was not found");
  }
  for (auto _ : state) {
    state.PauseTiming();
    MemoryRecordset records = RecordsWith(keys);
    state.ResumeTiming();
    benchmark::DoNotOptimize(FindAll(records, keys));
  }
  CountRecords(state, keys.size());
}
BENCHMARK(FindByKey)->Apply(WithTableSizes);

}  // namespace
}  // namespace mv::bench
