// The network handheld: a file of 1 MB copied both ways, beside the same messages sent and received without anything
// around them. The other end of both is one simulated handheld, with a delay before each reply. Other work on the
// machine comes and goes, so a copy and a bare loop are run in turn, many times.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/ByteOrder.h"
#include "device/message/MessageWriter.h"
#include "device/modWinCEFileManagement.h"
#include "support/MemoryFileSystem.h"
#include "support/WiredHandheld.h"

namespace mv::bench {
namespace {

namespace commands = wire::commands;

constexpr std::size_t kFileSize = 1'000'000;
constexpr std::size_t kReadBlock = 65536;
constexpr std::size_t kWriteChunk = kFileSize / 20;
constexpr const char* kDevicePath = "\\Motorva\\a.pdb";
constexpr const char* kDesktopPath = "C:\\work\\a.pdb";

Bytes Content() {
  Bytes content(kFileSize);
  for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<std::uint8_t>(i * 31 >> 4);
  return content;
}

/// A desktop and a simulated handheld, both with the file.
class World {
 public:
  explicit World(benchmark::State& state) : handheld_(Device(state.range(0))) {
    desktop_.CreateFolders("C:\\work");
    desktop_.Put(kDesktopPath, Content());
    handheld_.Files().Put("D:\\root\\Motorva\\a.pdb", Content());
    connection_.ConnectDevice();
  }

  modWinCEFileManagement& Copies() { return copies_; }
  testing::MemoryFileSystem& Desktop() { return desktop_; }
  /// Ends the handheld.
  Bytes OnHandheld() {
    connection_.DisconnectDevice();
    handheld_.Device().Stop();
    return handheld_.Files().Content("D:\\root\\Motorva\\a.pdb");
  }
  platform::SocketAddress CallsAddress() { return {{127, 0, 0, 2}, handheld_.Device().CallsPort()}; }

 private:
  static simulator::SimulatorOptions Device(std::int64_t delay) {
    simulator::SimulatorOptions device;
    device.faults.delayPerReply = std::chrono::milliseconds(delay);
    return device;
  }

  testing::WiredHandheld handheld_;
  testing::MemoryFileSystem desktop_;
  DeviceHooks hooks_;
  modWinCERAPIConnectionHandler connection_{handheld_.Api(), hooks_};
  modWinCEFileManagement copies_{handheld_.Api(), connection_, desktop_, hooks_};
};

/// Sends messages of version 1 that are made already, takes their replies, and does nothing else. The replies to one
/// file's messages lie one behind the other in the end, since a copy has the whole file in memory too.
class BareLoop {
 public:
  explicit BareLoop(const platform::SocketAddress& handheld) { stream_.Connect(handheld, Limit()); }

  /// Begins with a file; its handle.
  std::uint32_t Open(const Bytes& request) {
    rest_ = replies_;
    const ByteSpan reply = rest_;
    Exchange(request);
    return LoadLittle<std::uint32_t>(reply.data() + kLengthWord + 8);
  }
  /// Bytes of the reply without its length word.
  std::size_t Exchange(const Bytes& request) {
    stream_.Send(request, Limit());
    std::size_t size = kLengthWord;
    for (std::size_t count = 0; count < size;) {
      std::size_t some = 0;
      if (!stream_.ReceiveSome(rest_.subspan(count), some, Limit()).IsDone()) return 0;
      count += some;
      if (count >= kLengthWord) size = kLengthWord + LoadLittle<std::uint32_t>(rest_.data());
    }
    rest_ = rest_.subspan(size);
    return size - kLengthWord;
  }
  /// The same for a request whose first argument is the handle of a file.
  std::size_t ExchangeFor(std::uint32_t file, Bytes& request) {
    StoreLittle(request.data() + 2 * kLengthWord, file);
    return Exchange(request);
  }

 private:
  static constexpr std::size_t kLengthWord = 4;
  static platform::WaitLimit Limit() { return platform::WaitLimit::After(std::chrono::seconds(30)); }

  platform::TcpStream stream_;
  Bytes replies_ = Bytes(kFileSize + kReadBlock);
  ByteSpan rest_;
};

Bytes OpenRequest(std::uint32_t access, std::uint32_t disposition) {
  wire::MessageWriter request;
  request.Word(commands::kCreateFile.v1);
  for (const std::uint32_t word : {access, 1U, disposition, 0x80U, 0U}) request.Word(word);
  request.String(kDevicePath);
  return request.Framed();
}

/// A request whose first argument is a handle that is still to come.
wire::MessageWriter FileRequest(wire::Command command) {
  wire::MessageWriter request;
  request.Word(command.v1);
  request.Word(0);
  return request;
}

Bytes CloseRequest() {
  return FileRequest(commands::kCloseHandle).Framed();
}

Bytes SizeRequest() {
  wire::MessageWriter request = FileRequest(commands::kGetFileSize);
  request.OutBuffer(std::nullopt);
  return request.Framed();
}

std::vector<Bytes> ReadRequests() {
  std::vector<Bytes> requests;
  for (std::size_t at = 0; at < kFileSize; at += kReadBlock) {
    wire::MessageWriter request = FileRequest(commands::kReadFile);
    request.OutBuffer(static_cast<std::uint32_t>(std::min(kReadBlock, kFileSize - at)));
    request.InBuffer(std::nullopt);
    requests.push_back(request.Framed());
  }
  return requests;
}

std::vector<Bytes> WriteRequests(const Bytes& content) {
  std::vector<Bytes> requests;
  for (std::size_t at = 0; at < kFileSize; at += kWriteChunk) {
    wire::MessageWriter request = FileRequest(commands::kWriteFile);
    request.InBuffer(ByteView(content).subspan(at, kWriteChunk));
    request.InBuffer(std::nullopt);
    requests.push_back(request.Framed());
  }
  return requests;
}

template <typename Work>
double SecondsOf(Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The time that one in fifty stayed below: of those that nothing else on the machine got in the way of.
double Undisturbed(std::vector<double> times) {
  const auto place = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 50);
  std::nth_element(times.begin(), place, times.end());
  return *place;
}

/// A copy and a bare loop in turn, now the one first and now the other. `file` is what a copy does with the desktop's
/// file, which the bare loop does not.
template <typename Copy, typename Bare, typename File>
void RunPairs(benchmark::State& state, Copy copy, Bare bare, File file) {
  std::vector<double> copies;
  std::vector<double> loops;
  std::vector<double> files;
  for (auto _ : state) {
    const bool copyIsFirst = copies.size() % 2 == 0;
    double copyTime = copyIsFirst ? SecondsOf(copy) : 0;
    const double bareTime = SecondsOf(bare);
    if (!copyIsFirst) copyTime = SecondsOf(copy);
    state.SetIterationTime(copyTime);
    copies.push_back(copyTime);
    loops.push_back(bareTime);
    files.push_back(SecondsOf(file));
  }
  state.counters["copy_ms"] = Undisturbed(copies) * 1000;
  state.counters["bare_ms"] = Undisturbed(loops) * 1000;
  state.counters["file_ms"] = Undisturbed(files) * 1000;
}

void WireDownload(benchmark::State& state) {
  World world(state);
  BareLoop loop(world.CallsAddress());
  const Bytes open = OpenRequest(rapi::kGenericRead, rapi::kOpenExisting);
  std::vector<Bytes> reads = ReadRequests();
  Bytes size = SizeRequest();
  Bytes close = CloseRequest();
  bool isGood = true;
  const auto copy = [&] {
    const DeviceCopyResult result = world.Copies().CopyFileFromDevice(kDevicePath, kDesktopPath, Overwrite::Yes);
    isGood = isGood && result == DeviceCopyResult::Copied;
  };
  const auto bare = [&] {
    const std::uint32_t file = loop.Open(open);
    loop.ExchangeFor(file, size);
    constexpr std::size_t kBeforeData = 16;
    std::size_t received = 0;
    for (Bytes& read : reads) received += loop.ExchangeFor(file, read) - kBeforeData;
    loop.ExchangeFor(file, close);
    isGood = isGood && received == kFileSize;
  };
  const Bytes content = Content();
  const auto write = [&] { isGood = isGood && world.Copies().WriteFileBytes(kDesktopPath, content); };
  RunPairs(state, copy, bare, write);
  if (!isGood) state.SkipWithError("a copy failed");
  if (world.Desktop().Content(kDesktopPath) != Content()) state.SkipWithError("something else was copied");
}

void WireUpload(benchmark::State& state) {
  World world(state);
  BareLoop loop(world.CallsAddress());
  const Bytes open = OpenRequest(rapi::kGenericWrite, rapi::kCreateAlways);
  std::vector<Bytes> writes = WriteRequests(Content());
  Bytes close = CloseRequest();
  bool isGood = true;
  const auto copy = [&] {
    const DeviceCopyResult result = world.Copies().CopyFileToDevice(kDesktopPath, kDevicePath, Overwrite::Yes);
    isGood = isGood && result == DeviceCopyResult::Copied;
  };
  const auto bare = [&] {
    const std::uint32_t file = loop.Open(open);
    constexpr std::size_t kReply = 16;
    for (Bytes& write : writes) isGood = isGood && loop.ExchangeFor(file, write) == kReply;
    loop.ExchangeFor(file, close);
  };
  const auto read = [&] {
    FileContent content;
    isGood = isGood && world.Copies().ReadFileBytes(kDesktopPath, content) == static_cast<std::int32_t>(kFileSize);
  };
  RunPairs(state, copy, bare, read);
  if (!isGood) state.SkipWithError("a copy failed");
  if (world.OnHandheld() != Content()) state.SkipWithError("something else was copied");
}

constexpr int kPairs = 2000;
/// With a delay a pair takes 0.2 s.
constexpr int kDelayedPairs = 20;

/// The argument: milliseconds before each reply.
void WithoutDelay(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(0)->Iterations(kPairs)->Unit(benchmark::kMillisecond)->UseManualTime();
}
void WithDelay(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(5)->Iterations(kDelayedPairs)->Unit(benchmark::kMillisecond)->UseManualTime();
}
BENCHMARK(WireDownload)->Apply(WithoutDelay);
BENCHMARK(WireDownload)->Apply(WithDelay);
BENCHMARK(WireUpload)->Apply(WithoutDelay);
BENCHMARK(WireUpload)->Apply(WithDelay);

}  // namespace
}  // namespace mv::bench
