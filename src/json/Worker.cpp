#include "json/Worker.h"

namespace mv {

Worker::~Worker() {
  if (!HasThread()) return;
  {
    const std::scoped_lock lock(mutex_);
    stops_ = true;
  }
  handedOutOrStopped_.notify_one();
  thread_.join();
}

void Worker::HandOut(std::size_t piece) {
  {
    const std::scoped_lock lock(mutex_);
    waiting_.push_back(piece);
  }
  handedOutOrStopped_.notify_one();
  if (!HasThread()) thread_ = std::thread([this] { Run(); });
}

void Worker::WaitFor(std::size_t piece) {
  std::unique_lock lock(mutex_);
  done_.wait(lock, [&] { return piece < donePieces_; });
}

void Worker::Run() {
  std::unique_lock lock(mutex_);
  while (true) {
    handedOutOrStopped_.wait(lock, [&] { return stops_ || !waiting_.empty(); });
    if (stops_) return;
    const std::size_t piece = waiting_.front();
    waiting_.pop_front();
    lock.unlock();
    work_(piece);
    lock.lock();
    donePieces_ = piece + 1;
    done_.notify_one();
  }
}

}  // namespace mv
