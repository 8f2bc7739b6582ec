// The network handheld: a file of 1 MB copied both ways, beside the same messages sent and received without anything
// around them. The other end is the simulated handheld, with a delay before each reply.

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
  }

  modWinCERAPIConnectionHandler& Connection() { return connection_; }
  modWinCEFileManagement& Copies() { return copies_; }
  testing::MemoryFileSystem& Desktop() { return desktop_; }
  Bytes OnHandheld() {
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

/// Sends messages of version 1 and takes their replies, and does nothing else.
class BareLoop {
 public:
  explicit BareLoop(const platform::SocketAddress& handheld) { stream_.Connect(handheld, Limit()); }

  std::uint32_t Open(std::uint32_t access, std::uint32_t disposition) {
    wire::MessageWriter request;
    request.Word(commands::kCreateFile.v1);
    for (const std::uint32_t word : {access, 1U, disposition, 0x80U, 0U}) request.Word(word);
    request.String(kDevicePath);
    Exchange(request.Framed());
    return LoadLittle<std::uint32_t>(reply_.data() + 8);
  }
  static Bytes ReadRequest(std::uint32_t file, std::size_t size) {
    wire::MessageWriter request;
    request.Word(commands::kReadFile.v1);
    request.Word(file);
    request.OutBuffer(static_cast<std::uint32_t>(size));
    request.InBuffer(std::nullopt);
    return request.Framed();
  }
  static Bytes WriteRequest(std::uint32_t file, ByteView data) {
    wire::MessageWriter request;
    request.Word(commands::kWriteFile.v1);
    request.Word(file);
    request.InBuffer(data);
    request.InBuffer(std::nullopt);
    return request.Framed();
  }
  static Bytes SizeRequest(std::uint32_t file) {
    wire::MessageWriter request;
    request.Word(commands::kGetFileSize.v1);
    request.Word(file);
    request.OutBuffer(std::nullopt);
    return request.Framed();
  }
  void Close(std::uint32_t file) {
    wire::MessageWriter request;
    request.Word(commands::kCloseHandle.v1);
    request.Word(file);
    Exchange(request.Framed());
  }
  void Exchange(const Bytes& request) {
    std::size_t count = 0;
    std::uint8_t length[4] = {};
    stream_.Send(request, Limit());
    stream_.ReceiveExactly(length, count, Limit());
    reply_.resize(LoadLittle<std::uint32_t>(length));
    stream_.ReceiveExactly(reply_, count, Limit());
  }
  std::size_t ReplySize() const { return reply_.size(); }

 private:
  static platform::WaitLimit Limit() { return platform::WaitLimit::After(std::chrono::seconds(30)); }

  platform::TcpStream stream_;
  Bytes reply_;
};

void WireDownload(benchmark::State& state) {
  World world(state);
  world.Connection().ConnectDevice();
  const auto copy = [&] { return world.Copies().CopyFileFromDevice(kDevicePath, kDesktopPath, Overwrite::Yes); };
  for (auto _ : state) {
    if (copy() != DeviceCopyResult::Copied) return state.SkipWithError("the copy failed");
  }
  if (world.Desktop().Content(kDesktopPath) != Content()) state.SkipWithError("something else was copied");
}

void BareDownload(benchmark::State& state) {
  World world(state);
  BareLoop loop(world.CallsAddress());
  for (auto _ : state) {
    const std::uint32_t file = loop.Open(rapi::kGenericRead, rapi::kOpenExisting);
    loop.Exchange(BareLoop::SizeRequest(file));
    std::size_t received = 0;
    while (received < kFileSize) {
      loop.Exchange(BareLoop::ReadRequest(file, std::min(kReadBlock, kFileSize - received)));
      constexpr std::size_t kBeforeData = 16;
      if (loop.ReplySize() <= kBeforeData) return state.SkipWithError("nothing was read");
      received += loop.ReplySize() - kBeforeData;
    }
    loop.Close(file);
  }
}

void WireUpload(benchmark::State& state) {
  World world(state);
  world.Connection().ConnectDevice();
  const auto copy = [&] { return world.Copies().CopyFileToDevice(kDesktopPath, kDevicePath, Overwrite::Yes); };
  for (auto _ : state) {
    if (copy() != DeviceCopyResult::Copied) return state.SkipWithError("the copy failed");
  }
  world.Connection().DisconnectDevice();
  if (world.OnHandheld() != Content()) state.SkipWithError("something else was copied");
}

void BareUpload(benchmark::State& state) {
  World world(state);
  BareLoop loop(world.CallsAddress());
  const Bytes content = Content();
  for (auto _ : state) {
    const std::uint32_t file = loop.Open(rapi::kGenericWrite, rapi::kCreateAlways);
    for (std::size_t sent = 0; sent < kFileSize; sent += kWriteChunk) {
      loop.Exchange(BareLoop::WriteRequest(file, ByteView(content).subspan(sent, kWriteChunk)));
    }
    loop.Close(file);
  }
  if (world.OnHandheld() != content) state.SkipWithError("something else was sent");
}

/// The argument: milliseconds before each reply.
void WithDelays(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(0)->Arg(5)->Unit(benchmark::kMillisecond)->UseRealTime();
}
BENCHMARK(WireDownload)->Apply(WithDelays);
BENCHMARK(BareDownload)->Apply(WithDelays);
BENCHMARK(WireUpload)->Apply(WithDelays);
BENCHMARK(BareUpload)->Apply(WithDelays);

}  // namespace
}  // namespace mv::bench
