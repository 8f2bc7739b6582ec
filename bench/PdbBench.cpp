// The table files: loading one into a recordset and building one from a recordset, both as a run does it.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BenchTable.h"
#include "mvtool/demo/DemoFolder.h"
#include "mvtool/demo/SampleDatabase.h"
#include "platform/Shell.h"
#include "recordset/MemoryRecordset.h"
#include "support/MemoryFileSystem.h"
#include "sync/clsSyncableRS_PDB.h"

namespace mv::bench {
namespace {

constexpr const char* kFolder = "tables";
constexpr const char* kTableFile = "brnd_Fuel.pdb";
constexpr const char* kResultFile = "result.pdb";

/// What a run gives to its tables, over a file system in memory.
class BenchRun {
 public:
  BenchRun() { files_.CreateFolders(kFolder); }

  const SyncContext& Context() const { return context_; }
  testing::MemoryFileSystem& Files() { return files_; }

 private:
  RunMode mode_ = RunMode::Synchronize;
  std::string folder_ = kFolder;
  testing::MemoryFileSystem files_;
  platform::SystemShell shell_;
  tool::FixedClock clock_;
  SyncContext context_{mode_, folder_, [] {}, [](const std::string&) {}, files_, shell_, clock_};
};

std::unique_ptr<clsSyncableRS_PDB> Loaded(const BenchRun& run, const char* file) {
  auto table = std::make_unique<clsSyncableRS_PDB>(run.Context());
  table->name(file);
  table->createADORS();
  return table;
}

/// A recordset with the table's fields alone, as the desktop's table has them.
MemoryRecordset TemplateOf(const clsSyncableRS_PDB& source) {
  std::vector<FieldDefinition> fields = source.adors().Fields();
  fields.resize(static_cast<std::size_t>(source.nSyncableFields()));
  return MemoryRecordset(std::move(fields));
}

/// Writes all rows of `source` to the result file.
void WriteResult(const BenchRun& run, clsSyncableRS_PDB& source) {
  clsSyncableRS_PDB result(run.Context());
  Recordset& rows = source.adors();
  result.createDB(kResultFile, TemplateOf(source));
  result.closeDB();
  result.openDB(kResultFile);
  for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext()) result.copyRecordToNative(source);
  result.closeDB();
}

/// True when the recordset holds the table's handheld records, in their order.
bool Holds(Recordset& rows, const tool::DemoTable& table) {
  if (rows.RecordCount() != static_cast<std::int64_t>(table.handheldRecords.size())) return false;
  rows.MoveFirst();
  for (const HandheldRecord& record : table.handheldRecords) {
    for (std::size_t i = 0; i < record.values.size(); ++i) {
      if (rows.FieldValue(i) != record.values[i]) return false;
    }
    rows.MoveNext();
  }
  return true;
}

void PdbLoad(benchmark::State& state) {
  const tool::DemoTable table = FuelTable(state);
  BenchRun run;
  tool::WriteTableFile(run.Files(), std::string(kFolder) + "/" + kTableFile, table);
  if (!Holds(Loaded(run, kTableFile)->adors(), table)) return state.SkipWithError("other records were loaded");
  for (auto _ : state) benchmark::DoNotOptimize(Loaded(run, kTableFile));
  CountRecords(state, table.handheldRecords.size());
}
BENCHMARK(PdbLoad)->Apply(WithTableSizes);

void PdbWrite(benchmark::State& state) {
  const tool::DemoTable table = FuelTable(state);
  BenchRun run;
  tool::WriteTableFile(run.Files(), std::string(kFolder) + "/" + kTableFile, table);
  const auto source = Loaded(run, kTableFile);
  WriteResult(run, *source);
  if (!Holds(Loaded(run, kResultFile)->adors(), table)) return state.SkipWithError("other records were written");
  for (auto _ : state) WriteResult(run, *source);
  CountRecords(state, table.handheldRecords.size());
}
BENCHMARK(PdbWrite)->Apply(WithTableSizes);

}  // namespace
}  // namespace mv::bench
