"""tallyra-agent serve: what a scrape gets, from a healthy machine and from others."""

import concurrent.futures
import json
import os
import re
import signal
import socket
import subprocess
import time
import unittest
import urllib.error
import urllib.parse
import urllib.request

from harness import CLIENT, NUMBERED, ODD_CLIENT, USUAL_TOOL, AgentTest

PROMETHEUS = "/usr/bin/prometheus"
PROMTOOL = "/usr/bin/promtool"
NEEDS_PROMETHEUS = unittest.skipUnless(
    os.path.exists(PROMETHEUS), "there is no /usr/bin/prometheus: scripts/install-dependencies test")
REMOTE_ONLY = ["--disable", "vintor"]


def fetch(url):
    with urllib.request.urlopen(url, timeout=30) as response:
        return response.read().decode()


class ServeTest(AgentTest):
    def serve(self, *arguments):
        """The metrics' URL, once the agent prints it."""
        self.agent = self.start_agent("serve", "--listen", "127.0.0.1:0", *arguments,
                                      TLY_VINTOR_SAMPLE_INTERVAL_NSEC="50000000")
        line = self.agent.stdout.readline() or self.agent.stderr.read()
        self.assertRegex(line, r"^Serving http://127\.0\.0\.1:\d+/metrics\n$")
        return line.split()[1]

    def scrape(self, url):
        """The samples of a scrape as a dictionary, keys as they are printed."""
        samples = {}
        for line in fetch(url).splitlines():
            if not line.startswith("#"):
                key, value = line.rsplit(" ", 1)
                self.assertNotIn(key, samples)
                samples[key] = float(value)
        return samples

    def poll(self, get, is_wanted):
        deadline = time.monotonic() + 30
        while not is_wanted(got := get()):
            self.assertLess(time.monotonic(), deadline, got)
            time.sleep(0.02)
        return got

    def end(self, status=0, by=signal.SIGTERM):
        """What the agent reports until it ends."""
        self.agent.send_signal(by)
        output, reported = self.agent.communicate(timeout=30)
        self.assertEqual((self.agent.returncode, output), (status, ""), reported)
        return reported

    def test_counters_are_named_and_typed_by_convention(self):
        self.set_tool_output(r'''=== pmc_res ===
{"cpu0": {"user_ms": 1500, "largest": 18446744073709549568},
 "q\"\\\n": {"user_ms": 0}, "q\"\\\t": {"user_ms": 5}}
=== pmc_res_bw === {"eth0": {"user_ms": 12.5}}''')
        url = self.serve("--client", CLIENT, "--enable", "grpc.host")
        text = fetch(url)
        if os.path.exists(PROMTOOL):
            checked = subprocess.run([PROMTOOL, "check", "metrics"], input=text, text=True,
                                     capture_output=True, timeout=60)
            self.assertEqual((checked.returncode, checked.stdout, checked.stderr), (0, "", ""))
        resource = 'provider="vintor",component="pmc_res",instance='
        odd = resource + '"q\\"\\\\?",counter="pmc_res:q\\"\\\\?:user_ms'
        rate = '{provider="vintor",component="pmc_res_bw",instance="eth0"}'
        for line in (
                "# TYPE tallyra_user_seconds_total counter", "# TYPE tallyra_user_seconds gauge",
                "# HELP tallyra_user_seconds Arvalen Performance Counter",
                f'tallyra_user_seconds_total{{{resource}"cpu0"}} 1.5',
                f'tallyra_user_seconds_total{{{odd}"}} 0',
                f'tallyra_user_seconds_total{{{odd}#"}} 0.005',
                f"tallyra_user_seconds{rate} 0.0125",
                'tallyra_agent_provider_up{provider="vintor"} 1',
                'tallyra_agent_provider_up{provider="grpc.host"} 1',
                "tallyra_agent_samples_total 1", "tallyra_agent_samples_dropped_total 0"):
            self.assertIn(line + "\n", text)
        samples = self.scrape(url)
        self.assertEqual(samples[f'tallyra_largest_total{{{resource}"cpu0"}}'], 2.0**64 - 2048)
        self.assertGreater(
            samples['tallyra_user_seconds_total{provider="grpc.host",component="cpu"}'], 0)
        self.assertLess(abs(samples["tallyra_agent_last_whole_sample_timestamp_seconds"] -
                            time.time()), 10)
        self.assertEqual(self.end(), "")

    def test_counters_are_chosen_and_those_without_a_value_left_out(self):
        self.set_tool(USUAL_TOOL.replace("= 0 ]", "= 1 ]"))
        url = self.serve("-c", "*:late", "-c", "*:cut")
        late = 'tallyra_late_total{provider="vintor",component="pmc_res",instance="cpu0"}'
        self.assertIn(late.replace("late", "cut"), self.scrape(url))
        self.poll(lambda: self.scrape(url), lambda samples: samples.get(late) == 7)
        self.poll(lambda: self.scrape(url), lambda samples: late not in samples)

    def test_every_scrape_is_a_reading_of_its_own(self):
        url = self.serve("--client", ODD_CLIENT, "--enable", "grpc.steady", *REMOTE_ONLY)
        with concurrent.futures.ThreadPoolExecutor(6) as pool:
            scrapes = list(pool.map(self.scrape, [url] * 24))
        for name in ('tallyra_cycle_total{provider="grpc.steady",component="first"}',
                     'tallyra_cycle{provider="grpc.steady",component="second"}',
                     "tallyra_agent_samples_total"):
            self.assertEqual(sorted(samples[name] for samples in scrapes), list(range(1, 25)))
        self.assertEqual([key for key in scrapes[0] if "label" in key], [])
        self.assertEqual(self.end(by=signal.SIGINT), "")

    def test_provider_without_values_is_reported_and_the_rest_goes_on(self):
        url = self.serve("--client", ODD_CLIENT, "--enable", "grpc.late,grpc.absent", "-c",
                         "*:cycle", "-c", "*:cut")
        up = 'tallyra_agent_provider_up{provider="grpc.%s"}'
        scrapes = [self.scrape(url) for _ in range(3)]
        # Its first two answers are empty, and a first sample is waited for; the fourth fails.
        self.assertEqual([s.get('tallyra_cycle{provider="grpc.late",component="second"}')
                          for s in scrapes], [3, None, 5])
        self.assertEqual([s[up % "late"] for s in scrapes], [1, 0, 1])
        self.assertEqual([s["tallyra_agent_samples_dropped_total"] for s in scrapes], [0, 1, 1])
        for samples in scrapes:
            self.assertEqual(samples[up % "absent"], 0)
            self.assertIn('tallyra_cut_total{provider="vintor",component="pmc_res",instance="cpu0"}',
                          samples)
        reported = self.end(status=8)
        self.assertIn("grpc.late gave no values; serving the rest", reported)
        self.assertIn("grpc.late gives values again", reported)

    def test_provider_that_hangs_ends_nothing(self):
        url = self.serve("--client", ODD_CLIENT, "--enable", "grpc.hung", "--timeout", "3s")
        for number in range(1, 6):
            samples = self.scrape(url)
            is_up = 1 if number < 3 else 0
            self.assertEqual(samples['tallyra_agent_provider_up{provider="grpc.hung"}'], is_up)
            self.assertEqual(samples['tallyra_agent_provider_up{provider="vintor"}'], 1)
            self.assertEqual(any("grpc.hung" in key and "cycle" in key for key in samples), is_up)
            self.assertTrue(any(key.startswith("tallyra_cycles_total") for key in samples))
        self.assertEqual(self.end().splitlines(), [
            "tallyra-agent: grpc.hung was not read within 3s; serving the rest",
            "tallyra-agent: a provider does not answer; not waiting for it"])

    def test_tool_that_dies_shows_in_the_log_and_its_count(self):
        tool = NUMBERED + "[ $n -lt 4 ] || exit 1; echo \"=== a === {\\\"b\\\": {\\\"c\\\": $n}}\""
        errors = 'tallyra_agent_log_messages_total{level="error"}'
        changed = 'tallyra_agent_values_changed_timestamp_seconds{provider="vintor"}'
        value = 'tallyra_c{provider="vintor",component="a",instance="b"}'
        for level, shown in (("none", r"^$"),
                             ("error", r"^\[[-0-9]+ [:.0-9]+\] \[error\] \[vintor\] failed to coll")):
            self.set_tool(tool)
            log = self.directory / level
            url = self.serve("--log-level", level, "--log-file", log)
            first = self.poll(lambda: self.scrape(url), lambda samples: samples[errors] > 0)
            second = self.scrape(url)
            self.assertEqual((first[value], first[changed]), (3, second[changed]))
            self.assertEqual(self.end(), "")
            self.assertRegex(log.read_text(), shown)

    def test_address_that_cannot_be_had(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            port = taken.getsockname()[1]
            for address, text in ((f"127.0.0.1:{port}", "Address already in use"),
                                  ("192.0.2.1:9877", "an address of this machine")):
                result = self.run_agent("serve", "--listen", address)
                self.assertEqual((result.returncode, result.stdout), (9, ""), result.stderr)
                self.assertIn(text, result.stderr)

    @NEEDS_PROMETHEUS
    def test_prometheus_server_takes_the_counters(self):
        target = urllib.parse.urlsplit(self.serve("--client", CLIENT, "--enable", "grpc.host"))
        config = self.directory / "prometheus.yml"
        config.write_text(json.dumps({
            "global": {"scrape_interval": "500ms", "scrape_timeout": "500ms"},
            "scrape_configs": [{"job_name": "tallyra",
                                "static_configs": [{"targets": [target.netloc]}]}]}))
        with socket.create_server(("127.0.0.1", 0)) as free:
            own = f"127.0.0.1:{free.getsockname()[1]}"
        server = subprocess.Popen(
            [PROMETHEUS, f"--config.file={config}", f"--storage.tsdb.path={self.directory}/data",
             f"--web.listen-address={own}"], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.addCleanup(server.communicate)
        self.addCleanup(server.kill)

        def query(expression):
            self.assertIsNone(server.poll())
            try:
                answer = fetch(f"http://{own}/api/v1/query?" +
                               urllib.parse.urlencode({"query": expression}))
            except (urllib.error.URLError, ConnectionError):
                return []
            return json.loads(answer)["data"]["result"]

        [rate] = self.poll(
            lambda: query("rate(tallyra_cycles_total{exported_instance='cpu1'}[10s]) > 0"), bool)
        self.assertEqual(rate["metric"], {
            "job": "tallyra", "instance": target.netloc, "provider": "vintor",
            "component": "pmc_res", "exported_instance": "cpu1"})
        with open("/proc/meminfo", encoding="ascii") as meminfo:
            total_kib = int(re.search(r"MemTotal: +(\d+)", meminfo.read())[1])
        [total] = query("tallyra_total_bytes{component='memory'}")
        self.assertEqual(int(total["value"][1]), total_kib * 1024)


if __name__ == "__main__":
    unittest.main()
