// Index trees and keys: 25-byte entries put into one tree in order and at random, and looked up; text keys.

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "BenchTable.h"
#include "base/ByteOrder.h"
#include "jet/Database.h"
#include "jet/index/IndexKey.h"
#include "jet/index/IndexTree.h"
#include "jet/pages/DataPage.h"
#include "mvtool/demo/SampleDatabase.h"
#include "support/MemoryFileSystem.h"

namespace mv::bench {
namespace {

constexpr jet::PageNumber kTablePage = 2;
constexpr std::size_t kKeySize = 21;  ///< with the row address 25 bytes an entry

/// An empty tree in a new database that is never written.
class Tree {
 public:
  Tree() : database_(jet::Database::Create(files_, "bench.db", tool::kFixedDate)), freePages_(database_->Pages()) {
    jet::PageFile& pages = database_->Pages();
    const jet::PageNumber mapPage = freePages_.Allocate();
    jet::DataPage::Format(pages.Write(mapPage), jet::kOwnerMaps);
    index_.map = {mapPage, jet::DataPage(pages, mapPage).Append(Bytes(69, 0), jet::SlotState::Live)};
    index_.root = freePages_.Allocate();
    tree_ = std::make_unique<jet::IndexTree>(jet::IndexTree::Create(pages, freePages_, kTablePage, index_));
  }

  jet::IndexTree& operator*() { return *tree_; }
  jet::IndexTree* operator->() { return tree_.get(); }

 private:
  testing::MemoryFileSystem files_;
  std::unique_ptr<jet::Database> database_;
  jet::FreePages freePages_;
  jet::IndexData index_;
  std::unique_ptr<jet::IndexTree> tree_;
};

struct Entry {
  Bytes key;
  jet::RowId row;
};

std::vector<Entry> AscendingEntries(std::int64_t count) {
  std::vector<Entry> entries(static_cast<std::size_t>(count));
  for (std::uint32_t i = 0; i < entries.size(); ++i) {
    entries[i].key.assign(kKeySize, 0x4A);
    StoreBig(entries[i].key.data() + 12, i);
    entries[i].row = {100 + i / 200, static_cast<std::uint8_t>(i % 200)};
  }
  return entries;
}

std::vector<Entry> ShuffledEntries(std::int64_t count) {
  std::vector<Entry> entries = AscendingEntries(count);
  std::shuffle(entries.begin(), entries.end(), std::mt19937(1));
  return entries;
}

void Fill(jet::IndexTree& tree, const std::vector<Entry>& entries) {
  for (const Entry& entry : entries) tree.Insert(entry.key, entry.row);
}

/// True when the tree has just these entries, in order.
bool HoldsAscending(const jet::IndexTree& tree) {
  const std::vector<jet::IndexTree::Entry> stored = tree.Entries();
  const std::vector<Entry> expected = AscendingEntries(static_cast<std::int64_t>(stored.size()));
  return std::equal(stored.begin(), stored.end(), expected.begin(), expected.end(),
                    [](const auto& left, const auto& right) { return left.key == right.key && left.row == right.row; });
}

void MeasureFill(benchmark::State& state, const std::vector<Entry>& entries) {
  Tree checked;
  Fill(*checked, entries);
  if (checked->Entries().size() != entries.size() || !HoldsAscending(*checked)) {
    return state.SkipWithError("other entries were stored");
  }
  for (auto _ : state) {
    state.PauseTiming();
    auto tree = std::make_unique<Tree>();
    state.ResumeTiming();
    Fill(**tree, entries);
    state.PauseTiming();
    tree.reset();
    state.ResumeTiming();
  }
  CountRecords(state, entries.size());
}

void IndexInsertInOrder(benchmark::State& state) {
  MeasureFill(state, AscendingEntries(state.range(0)));
}
BENCHMARK(IndexInsertInOrder)->Arg(100000)->Unit(benchmark::kMillisecond);

void IndexInsertAtRandom(benchmark::State& state) {
  MeasureFill(state, ShuffledEntries(state.range(0)));
}
BENCHMARK(IndexInsertAtRandom)->Arg(100000)->Unit(benchmark::kMillisecond);

void IndexFind(benchmark::State& state) {
  const std::vector<Entry> entries = ShuffledEntries(state.range(0));
  Tree tree;
  Fill(*tree, entries);
  for (const Entry& entry : entries) {
    if (tree->Find(entry.key) != entry.row) return state.SkipWithError("another row was found");
  }
  for (auto _ : state) {
    for (const Entry& entry : entries) benchmark::DoNotOptimize(tree->Find(entry.key));
  }
  CountRecords(state, entries.size());
}
BENCHMARK(IndexFind)->Arg(100000)->Unit(benchmark::kMillisecond);

void IndexTextKey(benchmark::State& state) {
  jet::Column column;
  const Value text = std::string("Corporate Fleet 0042");
  const auto build = [&] {
    Bytes key;
    jet::AppendKey(key, column, text, true);
    return key;
  };
  if (build().size() != 23) return state.SkipWithError("another key was built");
  for (auto _ : state) {
    for (std::int64_t i = 0; i < state.range(0); ++i) benchmark::DoNotOptimize(build());
  }
  CountRecords(state, static_cast<std::size_t>(state.range(0)));
}
BENCHMARK(IndexTextKey)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace mv::bench
