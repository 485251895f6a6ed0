// The terminal on standard output.
#pragma once

#include <termios.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tly::agent {

// Whether standard output is a terminal that understands cursor movement.
bool output_is_terminal();

// Whether standard error is a terminal.
bool error_is_terminal();

// Whether the user's locale is UTF-8.
bool locale_is_utf8();

// What stands for the cut-out part of a text.
inline std::string_view ellipsis(bool unicode) { return unicode ? "…" : "~"; }

struct TerminalSize {
  std::size_t columns;
  std::size_t rows;
};
// COLUMNS and LINES, or 80 and 24, where the terminal does not report its size.
TerminalSize terminal_size();

// Writes whole lines to standard output at once: programs get every byte, a terminal no control
// character but the ends of the lines. Throws Failure when that is impossible.
void write_output(std::string_view text);

enum class Key { kOther, kStop, kSuspend };

// The alternate screen, with neither cursor nor echo, from its construction to its destruction. A
// watchdog that ends the process gives the terminal back, too. One at a time.
class Screen {
 public:
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  void enter();
  // Gives the terminal back as it was; enter() goes on.
  void leave();

  // Shows the lines, the first of them in bold, and clears what is below them. They must fit the
  // size.
  static void draw(const std::vector<std::string>& lines, TerminalSize size);

  // Where keys can be read one by one, or -1.
  int key_descriptor() const;
  // What the next key asks for; to stop, too, when there are no more keys.
  Key read_key() const;

 private:
  bool is_entered_ = false;
  bool has_saved_mode_ = false;
  termios saved_mode_{};
};

}  // namespace tly::agent
