#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>

#include "mvtool/demo/DemoData.h"
#include "sync/Tables.h"

namespace mv::bench {

/// The table that all engines are measured with: fuel records, nine fields of seven types, about 70 bytes a record.
inline tool::DemoTable FuelTable(const benchmark::State& state) {
  const auto place = static_cast<std::size_t>(FindTable(tables::kFuel.name) - kTables.data());
  return tool::MakeDemoTable(place, tool::DemoPlan::Uniform(static_cast<std::size_t>(state.range(0))));
}

/// Runs a benchmark with tables of the sizes that are reported.
inline void WithTableSizes(benchmark::internal::Benchmark* benchmark) {
  for (const std::int64_t rows : {1000, 4000, 16000, 32000}) benchmark->Arg(rows);
  benchmark->Unit(benchmark::kMillisecond);
}

/// To be called once at the end: `records` were processed in each iteration.
inline void CountRecords(benchmark::State& state, std::size_t records) {
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(records));
}

}  // namespace mv::bench
