#include "writer.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "byte_scan.h"
#include "growing_stack.h"
#include "number_text.h"
#include "short_escapes.h"
#include "value.h"

namespace tly::json {
namespace {

constexpr std::size_t kIndentBytes = 4;
constexpr std::size_t kMaxEscapeBytes = 6;

char* write_escape(char byte, char* target) noexcept {
  constexpr char kHexDigits[] = "0123456789abcdef";
  *target++ = '\\';
  for (const ShortEscape& escape : kShortEscapes) {
    if (escape.byte != byte) continue;
    *target++ = escape.letter;
    return target;
  }
  const auto code = static_cast<unsigned char>(byte);
  for (const char byte_of_form : {'u', '0', '0', kHexDigits[code >> 4], kHexDigits[code & 0xF]}) {
    *target++ = byte_of_form;
  }
  return target;
}

// Goes through the tree without recursion, so that only memory bounds its depth.
class Writer {
 public:
  Writer(Layout layout, Sink& sink) noexcept
      : is_pretty_(layout == Layout::kPretty), sink_(&sink) {}

  // Writes there from now on. What was written once needs no more memory when it is written again.
  void redirect(Sink& sink) noexcept { sink_ = &sink; }

  bool write(const JSON_Value* root) noexcept {
    if (!write_or_open(root)) return false;
    while (!open_.is_empty()) {
      Frame& frame = open_.top();
      const bool is_done = frame.next == frame.container->size;
      if (!(is_done ? close() : write_child(frame))) return false;
    }
    return true;
  }

 private:
  struct Frame {
    const JSON_Value* container;
    std::uint32_t next;
  };

  bool write_child(Frame& frame) noexcept {
    const std::uint32_t position = frame.next++;
    if (position > 0 && !put(",", 1)) return false;
    if (is_pretty_ && !start_line(open_.size())) return false;
    if (frame.container->type == JSONArray) {
      return write_or_open(as_array(frame.container)->elements[position]);
    }
    const Member& member = as_object(frame.container)->members[position];
    return write_text(member.name, std::strlen(member.name)) && put(": ", is_pretty_ ? 2 : 1) &&
           write_or_open(member.value);
  }

  bool write_or_open(const JSON_Value* value) noexcept {
    switch (value->type) {
      case JSONNumber:
        return write_number(number_of(value));
      case JSONString:
        return write_text(text_of(value), value->size);
      case JSONBoolean:
        return value->size != 0 ? put("true", 4) : put("false", 5);
      case JSONNull:
        return put("null", 4);
      default:
        return open(value);
    }
  }

  bool open(const JSON_Value* container) noexcept {
    const bool is_object = container->type == JSONObject;
    if (container->size == 0) return put(is_object ? "{}" : "[]", 2);
    return put(is_object ? "{" : "[", 1) && open_.push({container, 0});
  }

  bool close() noexcept {
    const bool is_object = open_.top().container->type == JSONObject;
    open_.pop();
    if (is_pretty_ && !start_line(open_.size())) return false;
    return put(is_object ? "}" : "]", 1);
  }

  bool put(const char* text, std::size_t length) noexcept { return sink_->append(text, length); }

  bool write_number(double number) noexcept {
    return sink_->put_piece(kMaxNumberBytes,
                            [=](char* target) { return print_number(number, target); });
  }

  bool start_line(std::size_t level) noexcept {
    if (!put("\n", 1)) return false;
    std::size_t blanks = level * kIndentBytes;
    while (blanks != 0) {
      const std::size_t part = std::min(blanks, Sink::kMaxPieceBytes);
      const auto write_part = [=](char* target) {
        std::memset(target, ' ', part);
        return target + part;
      };
      if (!sink_->put_piece(part, write_part)) return false;
      blanks -= part;
    }
    return true;
  }

  bool write_text(const char* text, std::size_t length) noexcept {
    const char* const end = text + length;
    if (!put("\"", 1)) return false;
    for (;;) {
      const char* run_end = skip_ordinary<Special::kWithSlash>(text, end);
      if (!put(text, static_cast<std::size_t>(run_end - text))) return false;
      if (run_end == end) return put("\"", 1);
      const char special = *run_end;
      const auto write_special = [=](char* target) { return write_escape(special, target); };
      if (!sink_->put_piece(kMaxEscapeBytes, write_special)) return false;
      text = run_end + 1;
    }
  }

  bool is_pretty_;
  Sink* sink_;
  GrowingStack<Frame, 64> open_;
};

}  // namespace

bool write_value(const JSON_Value* value, Layout layout, Sink& sink) noexcept {
  return value != nullptr && Writer(layout, sink).write(value);
}

bool write_if_it_fits(const JSON_Value* value, Layout layout, char* buffer,
                      std::size_t size) noexcept {
  SizeSink measured;
  Writer writer(layout, measured);
  if (value == nullptr || !writer.write(value) || measured.size() >= size) return false;
  BufferSink sink(buffer, size);
  writer.redirect(sink);
  return writer.write(value) && sink.append("", 1);
}

}  // namespace tly::json
