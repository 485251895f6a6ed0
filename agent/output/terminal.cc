#include "output/terminal.h"

#include <langinfo.h>
#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "common/descriptor.h"
#include "common/failure.h"
#include "common/text.h"
#include "common/watchdog.h"

namespace tly::agent {
namespace {

constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l";
constexpr std::string_view kLeave = "\x1b[?25h\x1b[?1049l";
constexpr std::string_view kHome = "\x1b[H";
constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kNormal = "\x1b[0m";
constexpr std::string_view kClearLine = "\x1b[K";
constexpr std::string_view kClearBelow = "\x1b[J";

Screen* current_screen = nullptr;

std::size_t number_from_environment(const char* variable, std::size_t default_value) {
  const char* const text = std::getenv(variable);
  std::size_t number = 0;
  if (text != nullptr) {
    std::from_chars(text, text + std::strlen(text), number);
  }
  return number > 0 ? number : default_value;
}

void write_as_it_is(std::string_view text) {
  if (!write_all(STDOUT_FILENO, text)) {
    throw Failure(ExitCode::kFailure,
                  std::string("cannot write to standard output: ") + std::strerror(errno),
                  "make sure that whatever takes the output is there and has room for it");
  }
}

}  // namespace

bool output_is_terminal() {
  const char* const type = std::getenv("TERM");
  return isatty(STDOUT_FILENO) == 1 && type != nullptr && *type != '\0' &&
         std::strcmp(type, "dumb") != 0;
}

bool error_is_terminal() { return isatty(STDERR_FILENO) == 1; }

bool locale_is_utf8() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) {
    return false;
  }
  const bool is_utf8 = std::strcmp(nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
  freelocale(locale);
  return is_utf8;
}

TerminalSize terminal_size() {
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0) {
    return {size.ws_col, size.ws_row};
  }
  return {number_from_environment("COLUMNS", 80), number_from_environment("LINES", 24)};
}

void write_output(std::string_view text) {
  if (isatty(STDOUT_FILENO) == 1) {
    write_as_it_is(printable_lines(text));
  } else {
    write_as_it_is(text);
  }
}

Screen::Screen() {
  enter();
  current_screen = this;
  Watchdog::set_preparation([] { current_screen->leave(); });
}

Screen::~Screen() {
  Watchdog::set_preparation(nullptr);
  leave();
}

void Screen::enter() {
  if (is_entered_) {
    return;
  }
  has_saved_mode_ = tcgetattr(STDIN_FILENO, &saved_mode_) == 0;
  if (has_saved_mode_) {
    termios mode = saved_mode_;
    // Ctrl-C and its like arrive as keys: as a signal it would end a running tool as well, and
    // throw away output that is on its way, such as what gives the screen back.
    mode.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON | ISIG);
    tcsetattr(STDIN_FILENO, TCSADRAIN, &mode);
  }
  is_entered_ = true;
  write_all(STDOUT_FILENO, kEnter);
}

void Screen::leave() {
  if (!is_entered_) {
    return;
  }
  write_all(STDOUT_FILENO, kLeave);
  if (has_saved_mode_) {
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &saved_mode_);
  }
  is_entered_ = false;
}

void Screen::draw(const std::vector<std::string>& lines, TerminalSize size) {
  // Lines are cleared before they are written: after a full line the cursor still stands on its
  // last character.
  std::string frame(kHome);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    frame += i == 0 ? kBold : std::string_view("\r\n");
    frame += kClearLine;
    frame += lines[i];
    frame += i == 0 ? kNormal : std::string_view();
  }
  if (lines.size() < size.rows) {
    frame += "\r\n";
    frame += kClearBelow;
  }
  write_as_it_is(frame);
}

int Screen::key_descriptor() const { return has_saved_mode_ ? STDIN_FILENO : -1; }

Key Screen::read_key() const {
  cc_t key = _POSIX_VDISABLE;
  if (read(STDIN_FILENO, &key, 1) != 1) {
    return Key::kStop;
  }
  const auto is_control = [&](int function) {
    return key != _POSIX_VDISABLE && key == saved_mode_.c_cc[function];
  };
  if (is_control(VSUSP)) {
    return Key::kSuspend;
  }
  const bool asks_to_stop =
      is_control(VINTR) || is_control(VQUIT) || is_control(VEOF) || key == 'q' || key == 'Q';
  return asks_to_stop ? Key::kStop : Key::kOther;
}

}  // namespace tly::agent
