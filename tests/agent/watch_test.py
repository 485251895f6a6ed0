"""tallyra-agent watch: the screen on a terminal, plain tables elsewhere."""

import codecs
import datetime
import fcntl
import os
import pty
import re
import select
import signal
import struct
import termios
import time
import unicodedata
import unittest

from harness import CLIENT, NUMBERED, ODD_CLIENT, AgentTest, agent_command

ENTER, LEAVE = "\x1b[?1049h\x1b[?25l", "\x1b[?25h\x1b[?1049l"
MANY_COUNTERS = NUMBERED + r"""
echo '=== pmc_res ==='; echo '{"cpu0": {"c0": '$((n * 1000))
i=1; while [ $i -lt 40 ]; do echo ",\"counter_with_a_rather_long_name_$i\": $n"; i=$((i + 1)); done
echo '}}'
"""
# Counts the milliseconds: 1000 a second.
CLOCK_TOOL = 'echo "=== pmc_res === {\\"p\\": {\\"ms\\": $(date +%s%3N)}}"; sleep 0.5'


class Terminal:
    """The agent in a terminal of that size."""

    def __init__(self, test, columns, rows, *arguments):
        test.restart_numbering()
        self.text = ""
        self.decoder = codecs.getincrementaldecoder("utf-8")()
        self.pid, self.descriptor = pty.fork()
        if self.pid == 0:
            resize(0, columns, rows)
            words = agent_command(*arguments)
            os.execvpe(words[0], words, test.environment)
        test.addCleanup(os.close, self.descriptor)

    def read_until(self, pattern, start=0):
        """Reads until the output from `start` on matches."""
        deadline = time.monotonic() + 30
        while not re.search(pattern, self.text[start:], re.DOTALL):
            left = max(0, deadline - time.monotonic())
            if not self.read_some(left):
                raise AssertionError(f"no {pattern!r} in {self.text[start:][-3000:]!r}")

    def read_some(self, timeout):
        if not select.select([self.descriptor], [], [], timeout)[0]:
            return False
        try:
            data = os.read(self.descriptor, 1 << 16)
        except OSError:
            data = b""
        self.text += self.decoder.decode(data)
        return data != b""

    def frames(self):
        """The whole screens drawn so far, as lists of lines without control sequences."""
        drawn = self.text.split(LEAVE)[0].split("\x1b[H")[1:-1]
        return [lines_of(frame) for frame in drawn]

    def wait_for_end(self):
        while self.read_some(30):
            pass
        return os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])


def resize(descriptor, columns, rows):
    fcntl.ioctl(descriptor, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))


def lines_of(frame):
    return re.split("\r*\n", re.sub("\x1b\\[[0-9;?]*[a-zA-Z]", "", frame).rstrip())


def rates_in(text):
    """What CLOCK_TOOL's counter is shown with: pairs of a value and its change per second."""
    return [(value, float(number) * (1000 if unit else 1)) for value, number, unit
            in re.findall(r"ms +(\d+) +([0-9.]+)(k?) ", text)]


def width(line):
    return sum(not unicodedata.combining(character) for character in line)


class WatchTest(AgentTest):
    def watch(self, columns, rows, *arguments):
        return Terminal(self, columns, rows, "watch", "-i", "60ms", *arguments)

    def check_screen(self, lines, columns, rows):
        self.assertLessEqual(len(lines), rows)
        self.assertLessEqual(max(map(width, lines)), columns, lines)

    def test_table_fits_the_terminal_and_ends_with_ctrl_c(self):
        self.set_tool(MANY_COUNTERS)
        # A terminal that does not know its size, the last one, has the usual one.
        for columns, rows, hidden in ((200, 60, 0), (30, 5, 38), (80, 24, 19), (0, 0, 19)):
            with self.subTest(columns=columns):
                terminal = self.watch(columns, rows)
                mode = termios.tcgetattr(terminal.descriptor)
                terminal.read_until("(?:\x1b\\[H.*){7}" if columns == 30 else
                                    "cpu0:c0 +[0-9]+000 +[0-9.]+k(?:.*\x1b\\[H){2}")
                os.write(terminal.descriptor, b"\x03")
                self.assertEqual(terminal.wait_for_end(), 0)
                self.assertTrue(terminal.text.startswith(ENTER))
                self.assertTrue(terminal.text.endswith(LEAVE), terminal.text[-200:])
                self.assertEqual(termios.tcgetattr(terminal.descriptor), mode)
                lines = terminal.frames()[-1]
                self.check_screen(lines, columns or 80, rows or 24)
                self.assertIn("tallyra-agent: vintor", lines[0])
                self.assertEqual(lines[1].split()[0], "COUNTER")
                self.assertEqual(hidden > 0, f"{hidden} of 40 counters hidden" in lines[-1], lines)
                if columns != 30:
                    row = next(line for line in lines if "cpu0:c0" in line).split()
                    self.assertRegex(row[1], "^[0-9]+000$")
                    self.assertRegex(row[2], "^(?:[0-9.]+k|0)$")
                    self.assertRegex(row[3], "^[▁▂▃▄▅▆▇█]+$")

    def test_new_size_is_followed_at_once(self):
        self.set_tool(MANY_COUNTERS)
        terminal = Terminal(self, 200, 30, "watch", "-i", "1h")
        terminal.read_until("13 of 40")
        shown = len(terminal.text)
        resize(terminal.descriptor, 80, 10)
        terminal.read_until("\x1b\\[H.*33 of 40", shown)
        os.write(terminal.descriptor, b"q")
        self.assertEqual(terminal.wait_for_end(), 0)
        last = terminal.text.split(LEAVE)[0].split("\x1b[H")[-1]
        self.check_screen(lines_of(last), 80, 10)

    def test_every_end_gives_the_terminal_back(self):
        for ask in (lambda t: os.write(t.descriptor, b"q"), lambda t: os.write(t.descriptor, b"\x1c"),
                    *(lambda t, number=number: os.kill(t.pid, number)
                      for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT))):
            terminal = self.watch(80, 24)
            terminal.read_until("cpu0:cycles")
            ask(terminal)
            self.assertEqual(terminal.wait_for_end(), 0)
            self.assertTrue(terminal.text.endswith(LEAVE))
        self.assertEqual(self.watch(80, 24, "-n", "2").wait_for_end(), 0)
        self.set_tool(NUMBERED + "[ $n = 1 ] || exit 1; echo '=== a === {\"b\": {\"c\": 1}}'")
        terminal = self.watch(80, 24, "--timeout", "1s")
        self.assertEqual(terminal.wait_for_end(), 6)
        self.assertIn("no sample arrived within 1s", terminal.text.split(LEAVE)[1])
        terminal = self.watch(80, 24, "--client", ODD_CLIENT, "--enable", "grpc.hung", "--disable",
                              "vintor", "--timeout", "1s")
        self.assertEqual(terminal.wait_for_end(), 6)
        self.assertIn("grpc.hung did not answer within 1s", terminal.text.split(LEAVE)[1])

    def test_suspension_gives_the_terminal_back_meanwhile(self):
        terminal = self.watch(80, 24)
        terminal.read_until("cpu0:cycles")
        for suspend in (lambda: os.write(terminal.descriptor, b"\x1a"),
                        lambda: os.kill(terminal.pid, signal.SIGTSTP)):
            shown = len(terminal.text)
            suspend()
            self.assertTrue(os.WIFSTOPPED(os.waitpid(terminal.pid, os.WUNTRACED)[1]))
            terminal.read_until(re.escape(LEAVE), shown)
            shown = len(terminal.text)
            os.kill(terminal.pid, signal.SIGCONT)
            terminal.read_until(re.escape(ENTER) + ".*cpu0:cycles", shown)
        os.write(terminal.descriptor, b"\x03")
        self.assertEqual(terminal.wait_for_end(), 0)

    def test_suspension_changes_no_rate(self):
        # A run of the tool is always under way: what it printed before the suspension comes after it.
        self.set_tool(CLOCK_TOOL)
        self.environment["TLY_VINTOR_SAMPLE_INTERVAL_NSEC"] = "0"
        terminal = self.watch(80, 24)
        terminal.read_until(r"ms +\d+ +[0-9]")
        os.kill(terminal.pid, signal.SIGTSTP)
        self.assertTrue(os.WIFSTOPPED(os.waitpid(terminal.pid, os.WUNTRACED)[1]))
        time.sleep(2)
        shown = len(terminal.text)
        os.kill(terminal.pid, signal.SIGCONT)
        rates = []
        while len({value for value, rate in rates}) < 4:  # one is from before
            self.assertTrue(terminal.read_some(30), rates)
            rates = rates_in(terminal.text[shown:])
        self.assertTrue(all(300 < rate < 2400 for value, rate in rates), rates)
        os.write(terminal.descriptor, b"q")
        self.assertEqual(terminal.wait_for_end(), 0)

    def test_log_is_shown_on_the_last_line_and_printed_at_the_end(self):
        self.set_tool(NUMBERED + "[ $n -lt 4 ] || exit 1; echo \"=== a === {\\\"b\\\": {\\\"c\\\": $n}}\"")
        terminal = self.watch(100, 24)
        terminal.read_until("unchanged for .*failed to collect data")
        os.write(terminal.descriptor, b"q")
        self.assertEqual(terminal.wait_for_end(), 0)
        self.assertIn("[error] [vintor] failed to collect data", terminal.frames()[-1][-1])
        self.assertEqual(terminal.text.split(LEAVE)[1].count("failed to collect data"), 1)

    def test_pipe_gets_plain_tables(self):
        text = self.output_of("watch", "-n", "3", "-i", "200ms", "-c", "*:cycles", "-c", "*:tenth",
                              TLY_VINTOR_SAMPLE_INTERVAL_NSEC="20000000")
        self.assertEqual([c for c in text if unicodedata.category(c) == "Cc" and c != "\n"], [])
        tables = [table.splitlines() for table in text.split("\n\n")]
        self.assertEqual([len(table) for table in tables], [5] * 3)
        self.assertRegex(tables[0][2], r"^pmc_res:cpu0:cycles +\d+000000 +-$")
        self.assertRegex(tables[2][4], r"^pmc_res_bw:eth0:tenth +0\.100 +- +▁▁+$")
        # Each table's sum, and its time, which is to the millisecond and so its rate to about that.
        sums = [int(table[2].split()[1]) for table in tables]
        times = [datetime.datetime.fromisoformat(table[0].split()[2][:-1]) for table in tables]
        self.assertLess(sums[0], sums[2])
        for i in (i for i in (1, 2) if sums[i - 1] < sums[i]):
            number, unit = re.search(r" ([0-9.]+)([kMG]?) +\S+$", tables[i][2]).groups()
            shown = float(number) * {"": 1, "k": 1e3, "M": 1e6, "G": 1e9}[unit]
            rate = (sums[i] - sums[i - 1]) / (times[i] - times[i - 1]).total_seconds()
            self.assertTrue(rate / 4 <= shown <= rate * 4, tables)

    def test_tool_slower_than_the_interval_changes_no_rate(self):
        self.set_tool(CLOCK_TOOL)
        text = self.output_of("watch", "-n", "14", "-i", "200ms")
        rates = rates_in(text)
        self.assertEqual(len(rates) + len(re.findall(r"ms +\d+ +-", text)), 14)
        self.assertGreater(len(rates), 6)
        self.assertTrue(all(300 < rate < 2400 for value, rate in rates), rates)

    def test_trend_is_ascii_where_the_locale_is(self):
        text = self.output_of("--client", CLIENT, "--enable", "grpc.host", "--disable", "vintor",
                              "watch", "-n", "70", "-i", "1ms", LC_ALL="C")
        self.assertTrue(text.isascii())


if __name__ == "__main__":
    unittest.main()
