#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace mv {

/// A second thread for work in pieces, which does one after the other. It starts with the first piece.
class Worker {
 public:
  /// `work` does the piece of a number; it must not throw.
  explicit Worker(std::function<void(std::size_t piece)> work) : work_(std::move(work)) {}
  /// Waits for the piece under way; those behind it are left undone.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// From here on until WaitFor has come back, what the piece works with is the thread's. Numbers ascend from piece to
  /// piece.
  void HandOut(std::size_t piece);
  /// Waits for a piece that was handed out, and for all before it.
  void WaitFor(std::size_t piece);
  /// Whether anything was handed out.
  bool HasThread() const { return thread_.joinable(); }

 private:
  void Run();

  const std::function<void(std::size_t)> work_;
  std::mutex mutex_;  ///< of what follows, up to the thread
  std::condition_variable handedOutOrStopped_;
  std::condition_variable done_;
  std::deque<std::size_t> waiting_;
  std::size_t donePieces_ = 0;  ///< the number behind that of the last piece done
  bool stops_ = false;
  std::thread thread_;
};

}  // namespace mv
