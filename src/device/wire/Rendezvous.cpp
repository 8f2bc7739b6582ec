#include "device/wire/Rendezvous.h"

#include <utility>

namespace mv::wire {

void Rendezvous::Ask() {
  Withdraw();
  const std::lock_guard lock(mutex_);
  isOpen_ = true;
  ++attempt_;
  wake_.Signal();
}

void Rendezvous::Withdraw() {
  const std::lock_guard lock(mutex_);
  isOpen_ = false;
  isPasswordWanted_ = false;
  password_.reset();
  result_.reset();
  wake_.Signal();
}

std::optional<AttemptResult> Rendezvous::Wait(platform::SteadyTime until, const AskPassword& askPassword) {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait_until(lock, until, [this] { return CanGoOn(); });
    if (!isPasswordWanted_) return std::exchange(result_, std::nullopt);
    AnswerPassword(lock, askPassword);
  }
}

void Rendezvous::AnswerPassword(std::unique_lock<std::mutex>& lock, const AskPassword& askPassword) {
  isPasswordWanted_ = false;
  lock.unlock();
  std::optional<std::string> password = askPassword ? askPassword() : std::nullopt;
  lock.lock();
  if (password) {
    password_ = std::move(password);
    wake_.Signal();
  } else {
    isOpen_ = false;
    result_ = AttemptResult{results::kLocked, {}};
  }
}

WireStatus Rendezvous::Status() const {
  const std::lock_guard lock(mutex_);
  return status_;
}

void Rendezvous::Stop() {
  const std::lock_guard lock(mutex_);
  isStopping_ = true;
  wake_.Signal();
}

bool Rendezvous::IsStopping() const {
  const std::lock_guard lock(mutex_);
  return isStopping_;
}

std::optional<std::uint64_t> Rendezvous::OpenAttempt() const {
  const std::lock_guard lock(mutex_);
  return isOpen_ ? std::optional(attempt_) : std::nullopt;
}

std::optional<std::string> Rendezvous::TakePassword() {
  const std::lock_guard lock(mutex_);
  return std::exchange(password_, std::nullopt);
}

void Rendezvous::WantPassword() {
  const std::lock_guard lock(mutex_);
  if (!isOpen_) return;
  isPasswordWanted_ = true;
  changed_.notify_all();
}

void Rendezvous::Settle(AttemptResult result) {
  const std::lock_guard lock(mutex_);
  if (!isOpen_) return;
  isOpen_ = false;
  isPasswordWanted_ = false;
  result_ = std::move(result);
  changed_.notify_all();
}

void Rendezvous::SetStatus(WireStatus status) {
  const std::lock_guard lock(mutex_);
  status_ = std::move(status);
}

}  // namespace mv::wire
