// Where a serialized text goes. A sink hands out room for small pieces and takes long ones in
// parts.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tly::json {

class Sink {
 public:
  static constexpr std::size_t kMaxPieceBytes = 512;

  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;

  // Takes a piece of at most kMaxPieceBytes from a function that writes it to an address and
  // returns the end.
  template <typename Write>
  bool put_piece(std::size_t max_bytes, const Write& write) noexcept {
    if (room() >= max_bytes) {
      cursor_ = write(cursor_);
      return true;
    }
    char piece[kMaxPieceBytes];
    return append(piece, static_cast<std::size_t>(write(piece) - piece));
  }

  bool append(const char* text, std::size_t length) noexcept {
    while (length > room()) {
      const std::size_t part = room();
      put(text, part);
      text += part;
      length -= part;
      if (!make_room(length < kMaxPieceBytes ? length : kMaxPieceBytes)) return false;
    }
    put(text, length);
    return true;
  }

 protected:
  Sink() noexcept = default;
  ~Sink() = default;

  std::size_t used() const noexcept { return static_cast<std::size_t>(cursor_ - start_); }
  std::size_t room() const noexcept { return static_cast<std::size_t>(end_ - cursor_); }
  void set_area(char* start, std::size_t bytes_used, std::size_t bytes) noexcept {
    start_ = start;
    cursor_ = start + bytes_used;
    end_ = start + bytes;
  }

  char* start_ = nullptr;

 private:
  // Makes room for as many more bytes, at most kMaxPieceBytes.
  virtual bool make_room(std::size_t bytes) noexcept = 0;

  void put(const char* text, std::size_t length) noexcept {
    if (length == 0) return;
    std::memcpy(cursor_, text, length);
    cursor_ += length;
  }

  char* cursor_ = nullptr;
  char* end_ = nullptr;
};

// A text on the heap.
class StringSink final : public Sink {
 public:
  StringSink() noexcept = default;
  ~StringSink() { std::free(start_); }

  // Hands out the text with a NUL at its end, or null.
  char* take() noexcept;

 private:
  bool make_room(std::size_t bytes) noexcept override;
};

// Counts and drops what it is given.
class SizeSink final : public Sink {
 public:
  SizeSink() noexcept { set_area(area_, 0, sizeof(area_)); }
  std::size_t size() const noexcept { return dropped_ + used(); }

 private:
  bool make_room(std::size_t bytes) noexcept override;

  std::size_t dropped_ = 0;
  char area_[4096];
};

// A buffer of the caller.
class BufferSink final : public Sink {
 public:
  BufferSink(char* buffer, std::size_t size) noexcept { set_area(buffer, 0, size); }

 private:
  bool make_room(std::size_t bytes) noexcept override;
};

// An open file, which stays its opener's.
class FileSink final : public Sink {
 public:
  explicit FileSink(std::FILE* file) noexcept : file_(file) { set_area(area_, 0, sizeof(area_)); }
  bool flush() noexcept;

 private:
  bool make_room(std::size_t bytes) noexcept override;

  std::FILE* file_;
  char area_[4096];
};

}  // namespace tly::json
