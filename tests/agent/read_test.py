"""tallyra-agent read: samples in all formats, to the last digit."""

import csv
import datetime
import io
import json
import signal
import unittest

from harness import NUMBERED, AgentTest


class ReadTest(AgentTest):
    def test_json_lines_hold_exact_numbers_by_component(self):
        text = self.output_of("read", "-n", "4", "-i", "120ms", "--format", "json")
        samples = [json.loads(line) for line in text.splitlines()]
        self.assertEqual(len(samples), 4)
        for line in text.splitlines():
            for exact in ('"pmc_res:cpu0:largest":18446744073709549568,',
                          '"pmc_res:cpu0:cut":12,"pmc_res:cpu0:below":0,',
                          '"pmc_res:cpu0:freq_mhz":2.5',
                          '"pmc_res_bw":{"pmc_res_bw:eth0:tenth":0.1,"pmc_res_bw:eth0:huge":1e+22,'
                          '"pmc_res_bw:eth0:tiny":5e-324,"pmc_res_bw:eth0:negative":-1.5}'):
                self.assertIn(exact, line)
        times = [datetime.datetime.strptime(sample["timestamp"], "%Y-%m-%dT%H:%M:%S.%f%z")
                 for sample in samples]
        self.assertLess(abs(times[0] - datetime.datetime.now(datetime.timezone.utc)),
                        datetime.timedelta(minutes=1))
        self.assertTrue(all(a < b for a, b in zip(times, times[1:])))

    def test_each_reading_is_one_whole_sample_of_its_own(self):
        self.set_tool(NUMBERED + """
            echo "=== a === {\\"x\\": {\\"n\\": $n}} === b === {\\"x\\": {\\"n\\": $n}}" """)
        # Under load the tool may be too slow for a reading, so that one shows a sample again.
        for _ in range(5):
            lines = self.output_of("read", "-n", "8", "-i", "100ms", "-f", "csv").splitlines()
            readings = [line.split(",")[1:] for line in lines[1:]]
            self.assertTrue(all(a == b for a, b in readings), readings)
            runs = [int(a) for a, _ in readings]
            self.assertEqual(sorted(runs), runs)
            if len(set(runs)) == 8:
                return
        self.fail(f"always some sample is read twice, as in {runs}")

    def test_csv_has_one_unique_heading_per_counter(self):
        self.set_tool_output('=== s ===\n{"p": {"a": {"b": 1}, "q": {"a": {"b": 2}}}, '
                             '"say \\"x\\", y": {"z": 3}}')
        rows = list(csv.reader(io.StringIO(self.output_of("read", "-n", "2", "-i", "50ms",
                                                          "--format=csv"))))
        self.assertEqual(rows[0], ["timestamp", "s:a:b", "s:a:b#2", 's:say "x", y:z'])
        self.assertEqual([row[1:] for row in rows[1:]], [["2", "2", "3"]] * 2)

    def test_table_aligns_values_and_shows_the_time(self):
        lines = self.output_of("read", "-n", "0", "-n", "1", "-c", "*:largest", "-c", "*:tiny").splitlines()
        self.assertRegex(lines[0], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
        self.assertEqual(lines[1:], ["COUNTER                              VALUE  UNIT",
                                     "pmc_res:cpu0:largest  18446744073709549568",
                                     "pmc_res_bw:eth0:tiny                5e-324"])

    def test_counter_that_the_tool_leaves_out_has_no_value(self):
        self.set_tool(NUMBERED + """
            gone=; [ $n = 1 ] && gone=', "gone": 1'
            echo "=== pmc_res === {\\"cpu0\\": {\\"there\\": 1$gone}}" """)
        for format_name, expected in (("json", '"pmc_res:cpu0:gone":null'), ("csv", "Z,1,\n"),
                                      ("table", "pmc_res:cpu0:gone       -\n")):
            self.assertIn(expected, self.output_of("read", "--format", format_name))

    def test_text_that_is_not_utf8_stays_valid_json(self):
        self.set_tool(r"""printf '=== s === {"\377": {"caf\303\251\\u0001\\"": 1}}'""")
        [sample] = self.output_of("read", "-f", "json").splitlines()
        self.assertEqual(json.loads(sample)["values"], {"s": {'s:\ufffd:caf\u00e9\u0001"': 1}})
        [component] = json.loads(self.output_of("list", "--json"))["components"]
        self.assertEqual(component["counters"][0]["name"], 's:?:caf\u00e9?"')

    def test_interruption_ends_it_with_the_status_of_its_kind(self):
        for count, signal_number, status in (("0", signal.SIGINT, 0), ("0", signal.SIGTERM, 0),
                                             ("900", signal.SIGINT, 130),
                                             ("900", signal.SIGTERM, 143)):
            with self.subTest(count=count, signal=signal_number):
                agent = self.start_agent("read", "-n", count, "-i", "50ms", "-f", "csv")
                lines = [agent.stdout.readline() for _ in range(3)]
                agent.send_signal(signal_number)
                rest, errors = agent.communicate(timeout=20)
                self.assertEqual((agent.returncode, errors), (status, ""))
                self.assertTrue(all(line.endswith("\n") for line in lines + rest.splitlines(True)))

    def test_log_file_gets_the_library_s_lines(self):
        log = self.directory / "log"
        log.write_text("kept\n")
        self.output_of("read", "--log-file", str(log), "--log-level", "debug")
        lines = log.read_text().splitlines()
        self.assertEqual(lines[0], "kept")
        for message in ("Initialized counter provider", "Start counter group pmc_res",
                        "Finalize counter provider"):
            self.assertEqual(len([l for l in lines if l.endswith(f"[debug] [vintor] {message}")]),
                             1, message)


if __name__ == "__main__":
    unittest.main()
