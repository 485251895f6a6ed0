// A file descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <string_view>

namespace tly::agent {

class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return number_; }
  bool is_open() const { return number_ >= 0; }

  // False with errno set when what was written is lost.
  bool close() {
    const int number = number_;
    number_ = -1;
    return number < 0 || ::close(number) == 0;
  }

 private:
  int number_;
};

// Writes everything, however often that takes; false with errno set when that is impossible.
bool write_all(int descriptor, std::string_view bytes);

}  // namespace tly::agent
