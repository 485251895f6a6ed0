"""Tests of the stand-in tool; its path is the first argument."""

import importlib.machinery
import importlib.util
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

TOOL = os.path.abspath(sys.argv.pop(1))
loader = importlib.machinery.SourceFileLoader("vintor_pmc", TOOL)
vintor_pmc = importlib.util.module_from_spec(importlib.util.spec_from_loader("vintor_pmc", loader))
loader.exec_module(vintor_pmc)
vintor_pmc.os.sysconf = lambda name: 250  # ticks per second of the made-up machines


def parse(output):
    """The sections as a reader of the output sees them."""
    headers = list(re.finditer(r"=== *(\S+) *===", output))
    ends = [header.start() for header in headers[1:]] + [len(output)]
    return {header[1]: json.loads(output[header.end():end]) for header, end in zip(headers, ends)}


class MadeUpMachine(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = directory.name
        self.now_s = 1000.0
        self.write("sys/devices/system/cpu/cpu0/cpufreq/scaling_cur_freq", "1800250\n")

    def write(self, path, text):
        path = os.path.join(self.root, path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8", errors="surrogateescape") as file:
            file.write(text)

    def write_devices(self, interfaces, disks=()):
        self.write("proc/net/dev", "Inter-|   Receive\n face |bytes packets\n" + "".join(
            "%6s: %d %d 0 0 0 0 0 0 %d %d 0 0\n" % (name, *counts)
            for name, counts in interfaces.items()))
        self.write("proc/diskstats", "".join(
            "   8 0 %s %d 0 %d 7 %d 0 %d 7 0 0 0\n" % (name, *counts) for name, counts in disks))

    def collect(self, between_readings=lambda: None, previous_run=None):
        def sleep(seconds):
            self.waited_s = seconds
            self.now_s += seconds
            between_readings()

        self.waited_s = 0
        found = vintor_pmc.collect(
            vintor_pmc.Machine(self.root + "/proc", self.root + "/sys"), window_ms=500,
            previous_run=previous_run, clock=lambda: self.now_s, sleep=sleep)
        return parse(vintor_pmc.format_sections(found))

    def test_running_sums_are_exact_and_what_the_kernel_hides_or_garbles_is_left_out(self):
        self.write("proc/stat", "cpu 9 9 9 9\n\ncpu0 1 0 2 500 3 4 5 6 9 9\ncpu2 10 0 x\ncpu3 -1\n"
                   "intr 70 1 2\nctxt 80\nbtime 1\nprocesses\nsoftirq 1e3\n")
        self.write("proc/vmstat", "nr_dirty 5\npgfault 18446744073709551615\npgpgin 0x1\npgfree\n")
        self.write("proc/cpuinfo", "cpu MHz: 5\nprocessor\t: 0\ncpu MHz\t\t: 1.0\n"
                   "processor\t: 2\ncpu MHz\t\t: 2300.5\nprocessor: 3\ncpu MHz: nan\n")
        self.write("proc/net/dev", "no colon\n eth0: 1 2 3\n:\nlo: a b\n")
        self.write("proc/diskstats", "8 0 sda 1 2\n8 0 sda a b c d e f g h\n")
        self.assertEqual(self.collect(), {
            "pmc_res": {
                "cpu0": {"user_ms": 4, "nice_ms": 0, "system_ms": 8, "idle_ms": 2000,
                         "iowait_ms": 12, "irq_ms": 16, "softirq_ms": 20, "steal_ms": 24,
                         "freq_mhz": 1800.25},
                "cpu2": {"user_ms": 40, "nice_ms": 0, "freq_mhz": 2300.5},
                "kernel": {"interrupts": 70, "context_switches": 80,
                           "page_faults": 18446744073709551615},
            }, "pmc_res_bw": {}, "pmc_res_bw_agg": {}})

    def test_rates_cover_the_window_and_their_sums_count_each_byte_once(self):
        names = ("sda", "sda1", "loop0", "loop1", "dm-0", "cc/d0", "nvme0c0n1")
        for name in set(names) - {"sda1"}:
            self.write("sys/block/%s/size" % name.replace("/", "!"),
                       "0\n" if name == "loop1" else "8\n")
        for path in ("block/sda", "block/cc!d0", "block/nvme0c0n1", "class/net/eth0"):
            self.write("sys/%s/device/uevent" % path, "")
        self.write("sys/block/nvme0c0n1/hidden", "1\n")
        self.write_devices({"lo": (5, 5, 5, 5), "eth0": (100, 1, 0, 0), "br0": (0, 0, 0, 0)},
                           [(name, (0, 0, 0, 0)) for name in names])
        found = self.collect(lambda: self.write_devices(
            {"lo": (9, 9, 9, 9), "eth0": (1100, 11, 50, 2), "br0": (1, 1, 1, 1)},
            [(name, (1, 8, 2, 16)) for name in names]))
        eth0 = {"rx_bytes_per_s": 2000, "rx_packets_per_s": 20,
                "tx_bytes_per_s": 100, "tx_packets_per_s": 4}
        disk = {"read_bytes_per_s": 8192, "reads_per_s": 2,
                "write_bytes_per_s": 16384, "writes_per_s": 4}
        rates = found["pmc_res_bw"]
        self.assertEqual(list(rates), ["lo", "eth0", "br0", "sda", "loop0", "dm-0", "cc%2Fd0",
                                       "nvme0c0n1"])
        self.assertEqual((rates["eth0"], rates["sda"]), (eth0, disk))
        twice = {counter: 2 * rate for counter, rate in disk.items()}
        self.assertEqual(found["pmc_res_bw_agg"], {"net": eth0, "block": twice})

    def test_a_device_that_comes_goes_or_starts_over_between_the_readings_has_no_rates(self):
        self.write_devices({"gone": (1, 1, 1, 1), "reset": (9, 9, 9, 9), "here": (0, 0, 0, 0)})
        found = self.collect(lambda: self.write_devices(
            {"new": (1, 1, 1, 1), "reset": (20, 20, 8, 20), "here": (1, 0, 0, 0)}))
        self.assertEqual(set(found["pmc_res_bw"]), {"here"})
        # No interface has hardware behind it here, so all but the loopback are summed.
        self.assertEqual(found["pmc_res_bw_agg"]["net"]["rx_bytes_per_s"], 2)

    def test_odd_device_names_stay_apart_and_break_neither_json_nor_header_nor_counter_name(self):
        names = ["eth0:1", "eth0%3A1", '"\\', "===a===", "\u00e9\udcff", "*?[x]"]
        self.write_devices({name: (0, 0, 0, 0) for name in names})
        self.assertEqual(list(self.collect()["pmc_res_bw"]), [
            "eth0%3A1", "eth0%253A1", "%22%5C", "%3D%3D%3Da%3D%3D%3D", "%C3%A9%FF",
            "%2A%3F%5Bx%5D"])

    def test_rates_cover_the_time_since_the_previous_run_only_when_its_reading_can_be_trusted(self):
        path = os.path.join(self.root, "previous")

        def run(received, boot="boot"):
            self.write_devices({"eth0": (received, 0, 0, 0)})
            found = self.collect(previous_run=vintor_pmc.PreviousRun(path, boot))
            return found["pmc_res_bw"]["eth0"]["rx_bytes_per_s"], self.waited_s

        self.assertEqual(run(0), (0, 0.5))
        self.now_s += 2
        self.assertEqual(run(1000), (500, 0))
        self.now_s += 0.25
        self.assertEqual(run(2000), (2000, 0.25))
        with open(path, encoding="utf-8") as file:
            good = file.read()
        self.now_s += 1
        self.assertEqual(run(3000), (1000, 0))
        for spoil in (lambda: os.chmod(path, 0o622),
                      lambda: os.unlink(path) or os.mkfifo(path, 0o600),
                      lambda: self.write("previous", good.replace("boot 10", "boot 9")),
                      lambda: self.write("previous", good.replace("boot", "boots"))):
            os.unlink(path)
            self.write("previous", good)
            os.chmod(path, 0o600)
            spoil()
            self.assertEqual(run(3000), (0, 0.5))
            self.now_s -= 0.5
        self.assertEqual(set(os.listdir(self.root)) - {"proc", "sys"}, {"previous"})


class RealMachine(unittest.TestCase):
    def run_tool(self, *arguments, stdout=subprocess.PIPE):
        return subprocess.run([sys.executable, TOOL, "--stateless", *arguments], stdout=stdout,
                              stderr=subprocess.PIPE, text=True, check=False)

    def test_prints_three_sections_of_two_levels(self):
        found = parse(self.run_tool().stdout)
        self.assertEqual(list(found), list(vintor_pmc.SECTIONS))
        numbers = [number for section in found.values() for counters in section.values()
                   for number in counters.values()]
        self.assertEqual({type(number) for number in numbers} | {float}, {int, float})

    def test_failures_are_one_line_and_a_status(self):
        missing = self.run_tool("--proc", "/nonexistent", "--sys", "/nonexistent")
        with open("/dev/full", "w", encoding="ascii") as full:
            unwritable = self.run_tool("--window-ms", "1", stdout=full)
        for result, message in (
                (missing, "vintor_pmc: nothing can be read below /nonexistent and /nonexistent\n"),
                (unwritable, "vintor_pmc: cannot write the output: No space left on device\n")):
            self.assertEqual((result.returncode, result.stderr), (1, message))
        self.assertEqual(self.run_tool("--section", "pmc").returncode, 2)


if __name__ == "__main__":
    unittest.main()
