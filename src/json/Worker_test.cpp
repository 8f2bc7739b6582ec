#include "json/Worker.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace mv {
namespace {

TEST(Worker, PiecesAreDoneInTheirOrderOnAnotherThread) {
  std::vector<std::size_t> done;
  std::vector<std::thread::id> threads;
  Worker worker([&](std::size_t piece) {
    done.push_back(piece);
    threads.push_back(std::this_thread::get_id());
  });
  for (const std::size_t piece : {0u, 1u, 2u, 7u}) worker.HandOut(piece);
  worker.WaitFor(7);
  EXPECT_EQ(done, (std::vector<std::size_t>{0, 1, 2, 7}));
  worker.WaitFor(2);
  worker.HandOut(8);
  worker.WaitFor(8);
  EXPECT_EQ(done.size(), 5u);
  for (const std::thread::id thread : threads) {
    EXPECT_EQ(thread, threads.front());
    EXPECT_NE(thread, std::this_thread::get_id());
  }
}

TEST(Worker, ThreadStartsWithTheFirstPiece) {
  Worker worker([](std::size_t) {});
  EXPECT_FALSE(worker.HasThread());
  worker.HandOut(0);
  EXPECT_TRUE(worker.HasThread());
}

TEST(Worker, PieceUnderWayIsEndedAndThoseBehindItAreLeftUndone) {
  constexpr std::size_t kTenSeconds = 10'000;
  std::promise<void> isUnderWay;
  std::size_t begun = 0;
  std::size_t done = 0;
  {
    Worker worker([&](std::size_t piece) {
      ++begun;
      if (piece == 0) isUnderWay.set_value();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      ++done;
    });
    for (std::size_t piece = 0; piece < kTenSeconds; ++piece) worker.HandOut(piece);
    isUnderWay.get_future().wait();
  }
  EXPECT_GE(done, 1u);
  EXPECT_EQ(done, begun);
  EXPECT_LT(done, kTenSeconds);
}

}  // namespace
}  // namespace mv
