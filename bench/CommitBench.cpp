// A commit of the same few hundred pages to databases of different size, on the disk: what it writes and how long that
// takes, as a run does it for one table after the other and as a program does it that commits once.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <random>
#include <string>

#include "jet/file/PageFile.h"
#include "platform/System.h"

namespace mv::bench {
namespace {

using jet::kPageSize;
using jet::PageFile;
using jet::PageNumber;

constexpr int kChangedPages = 400;

/// Bytes that this process has handed to the system to write.
std::uint64_t BytesWritten() {
  std::ifstream accounts("/proc/self/io");
  std::string name;
  std::uint64_t value = 0;
  while (accounts >> name >> value) {
    if (name == "wchar:") return value;
  }
  return 0;
}

class Databases {
 public:
  explicit Databases(PageNumber pages) : pages_(pages) {
    files_->WriteWhole(path_, Bytes(std::size_t{pages} * kPageSize, 1));
  }

  /// Opens the file, changes pages here and there, commits and closes, as a run does for a table.
  bool Change(int changed, const std::shared_ptr<jet::Committer>& committer) {
    const auto file = PageFile::Open(*files_, path_, PageFile::Mode::ReadWrite, committer);
    PageNumber last = 0;
    for (int i = 0; i < changed; ++i) {
      last = static_cast<PageNumber>(1 + random_() % (pages_ - 1));
      file->Write(last)[8] = ++mark_;
    }
    file->Commit();
    return changed == 0 ||
           files_->Open(path_, platform::Access::Read, platform::Disposition::OpenExisting, platform::Sharing::All)
                   ->Size() == std::uint64_t{pages_} * kPageSize;
  }
  ~Databases() { files_->RemoveFile(path_); }
  Databases(const Databases&) = delete;
  Databases& operator=(const Databases&) = delete;
  platform::FileSystem& Files() { return *files_; }

 private:
  std::unique_ptr<platform::FileSystem> files_ = platform::MakeFileSystem();
  std::string path_ = files_->CreateTempFile(platform::TemporaryFolder(), "mvb");
  PageNumber pages_;
  std::mt19937 random_{1};
  std::uint8_t mark_ = 0;
};

void MeasureCommits(benchmark::State& state, int changed, bool oneAfterTheOther) {
  Databases databases(static_cast<PageNumber>(state.range(0)));
  const auto committer = oneAfterTheOther ? std::make_shared<jet::Committer>(databases.Files()) : nullptr;
  for (int i = 0; i < 3; ++i) databases.Change(changed, committer);
  const std::uint64_t before = BytesWritten();
  for (auto _ : state) {
    if (!databases.Change(changed, committer)) return state.SkipWithError("the database has another size");
  }
  state.counters["MB_written"] =
      benchmark::Counter(static_cast<double>(BytesWritten() - before) / 1e6, benchmark::Counter::kAvgIterations);
}

void CommitsOfARun(benchmark::State& state) {
  MeasureCommits(state, kChangedPages, true);
}
void CommitAlone(benchmark::State& state) {
  MeasureCommits(state, kChangedPages, false);
}
void CommitOfNothing(benchmark::State& state) {
  MeasureCommits(state, 0, true);
}

/// 8, 32, 128 and 512 MB.
void WithDatabaseSizes(benchmark::internal::Benchmark* bench) {
  bench->Arg(2'000)->Arg(8'000)->Arg(32'000)->Arg(128'000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(8);
}
BENCHMARK(CommitsOfARun)->Apply(WithDatabaseSizes);
BENCHMARK(CommitAlone)->Apply(WithDatabaseSizes);
BENCHMARK(CommitOfNothing)->Apply(WithDatabaseSizes);

}  // namespace
}  // namespace mv::bench
