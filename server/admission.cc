#include "server/admission.h"

#include <algorithm>

namespace tovak::server {
namespace {

// A call without a deadline waits at most this long; the connection's age
// limit ends it before.
constexpr auto kLongestWait = std::chrono::hours(24);

}  // namespace

Admission::Ticket::~Ticket() {
  if (outcome_ == Outcome::kTurn) owner_->Leave();
}

Admission::Ticket Admission::Enter(std::chrono::system_clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (stopping_) return {this, Outcome::kStopping};
  if (running_ && waiting_ >= queueLength_) return {this, Outcome::kBusy};
  if (deadline <= std::chrono::system_clock::now()) return {this, Outcome::kTimedOut};
  ++waiting_;
  const bool free =
      changed_.wait_until(lock, std::min(deadline, std::chrono::system_clock::now() + kLongestWait),
                          [&] { return !running_ || stopping_; });
  --waiting_;
  if (stopping_) return {this, Outcome::kStopping};
  if (!free) return {this, Outcome::kTimedOut};
  running_ = true;
  return {this, Outcome::kTurn};
}

void Admission::Leave() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    running_ = false;
  }
  changed_.notify_one();
}

void Admission::Stop() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
}

}  // namespace tovak::server
