// Which calls of one worker may run the library: one at a time, with at most
// a fixed number waiting for their turn. A call that finds the queue full is
// refused at once; so is every call once the worker stops, and a call whose
// deadline passes while it waits leaves the queue.
#ifndef TOVAK_SERVER_ADMISSION_H_
#define TOVAK_SERVER_ADMISSION_H_

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tovak::server {

class Admission {
 public:
  enum class Outcome { kTurn, kBusy, kStopping, kTimedOut };

  // The library's turn while it lives, when outcome() is kTurn.
  class Ticket {
   public:
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;
    ~Ticket();
    Outcome outcome() const { return outcome_; }

   private:
    friend class Admission;
    Ticket(Admission* owner, Outcome outcome) : owner_(owner), outcome_(outcome) {}
    Admission* owner_;
    Outcome outcome_;
  };

  explicit Admission(int queueLength) : queueLength_(queueLength) {}

  // Waits for the library's turn until deadline.
  Ticket Enter(std::chrono::system_clock::time_point deadline);
  // Refuses every call from now on, those waiting included.
  void Stop();

 private:
  void Leave();

  const int queueLength_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool running_ = false;
  bool stopping_ = false;
  int waiting_ = 0;
};

}  // namespace tovak::server

#endif  // TOVAK_SERVER_ADMISSION_H_
