// Clean-up that a cancelled thread still finishes.
#pragma once

#include <pthread.h>
#include <unistd.h>

#include <utility>

namespace tly::executor {

// While alive, the calling thread cannot be cancelled: clean-up runs in destructors, which no
// unwinding may leave, and close(2) and waitid(2) are points of cancellation.
class CancellationHold {
 public:
  CancellationHold() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
  ~CancellationHold() { pthread_setcancelstate(previous_, nullptr); }
  CancellationHold(const CancellationHold&) = delete;
  CancellationHold& operator=(const CancellationHold&) = delete;

 private:
  int previous_ = PTHREAD_CANCEL_ENABLE;
};

// Owns a file descriptor; -1 for none.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) noexcept : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() { close(); }

  int number() const noexcept { return number_; }
  bool is_open() const noexcept { return number_ >= 0; }

  void close() noexcept {
    if (is_open()) {
      const CancellationHold hold;
      ::close(std::exchange(number_, -1));
    }
  }

 private:
  int number_;
};

}  // namespace tly::executor
