"""What the agent reports, and with which status it ends, when something is wrong."""

import ctypes.util
import json
import os
import subprocess
import time
import unicodedata
import unittest

from harness import AgentTest, NUMBERED, agent_command
from schema_test import EVENT_SCHEMA
from watch_test import Terminal


class FailureTest(AgentTest):
    def check(self, arguments, status, *texts, **environment):
        with self.subTest(arguments=arguments):
            result = self.run_agent(*arguments, **environment)
            lines = result.stderr.splitlines()
            own_lines = [line for line in lines if line.startswith("tallyra-agent: ")]
            self.assertEqual((result.returncode, result.stdout), (status, ""), result.stderr)
            self.assertLessEqual(len(own_lines), 2)
            for text in texts:
                self.assertIn(text, "\n".join(own_lines))
            return [line for line in lines if line not in own_lines]

    def test_wrong_command_lines(self):
        for arguments, text in (([], "list, read, watch, schema, events or serve"),
                                (["lost"], "'lost'"),
                                (["list", "--count", "3"], "'--count'"),
                                (["read", "-n", "-1"], "'-1' is not a whole number"),
                                (["read", "-i", "0"], "'0' is not a duration"),
                                (["read", "--interval", "5x"], "'5x' is not a duration"),
                                (["read", "-f", "xml"], "'xml' is not table, json or csv"),
                                (["list", "--log-level", "8"], "'8' is not none, error"),
                                (["list", "--disable", ","], "--disable has no pattern"),
                                (["serve", "--listen", "here:1"], "'here:1' is not a numeric IPv4"),
                                (["read", "-n"], "--count")):
            self.assertEqual(self.check(arguments, 2, text), [])

    def test_library_that_cannot_be_used(self):
        self.check(["list", "--library", "/none/lib.so"], 3, "/none/lib.so", "--library PATH")
        self.check(["list"], 3, "has no function construct_counter_provider", "--library PATH",
                   TALLYRA_LIBRARY=ctypes.util.find_library("c"))

    def test_tool_that_is_missing_or_prints_nothing_usable(self):
        for script in ("exit 1", "true", "echo garbage", "echo '=== a === {'",
                       "echo '=== a ===='", "kill -9 $$"):
            self.set_tool(script)
            self.check(["list"], 4, "python3 /usr/bin/vintor_pmc", "--log-level debug")
        self.set_tool("exit 1")
        self.assertIn("Failed to get data", "\n".join(self.check(["list"], 4, "unusable")))
        self.assertEqual(self.check(["--log-level", "none", "list"], 4, "unusable"), [])
        self.set_shim("ls", "exit 2")
        is_there = os.path.exists("/usr/bin/vintor_pmc")
        texts = ("could not look at its tool", "PATH") if is_there else ("is missing", "quickstart")
        self.check(["list"], 4, "/usr/bin/vintor_pmc", *texts)

    def test_texts_from_outside_bring_no_control_characters(self):
        self.set_tool_output('=== \033[31mx === {"p": 1}'
                             '=== y === {"a\\u009b[2J": {"b\\u001b": 1}}')
        schema = self.directory / "schema"
        document = {"name": "t", "version": "1.5.0",
                    "schemas": [EVENT_SCHEMA | {"provider_name": "a\x1b[31mred"}]}
        schema.write_text(json.dumps(document).replace("ABSOLUTE", "OTHER"))
        for arguments, shown in (
                (["list"], "(component: ?[31mx)"), (["list"], "y:a?[2J:b?"),
                (["list", "--json"], "y:a?[2J:b\\u001b"), (["read", "-f", "csv"], "y:a?[2J:b?\n"),
                (["schema"], "y:a?[2J:b\\u001b"), (["read", "-c", "\x9b"], "'?'"),
                (["schema", "--load", str(schema)], "event schema a?[31mred")):
            with self.subTest(arguments=arguments):
                terminal = Terminal(self, 200, 50, *arguments)
                terminal.wait_for_end()
                text = terminal.text.replace("\r\n", "\n")
                self.assertIn(shown, text)
                self.assertEqual({c for c in text if unicodedata.category(c) == "Cc"}, {"\n"})
        result = self.run_agent("list")
        self.assertNotIn("\x1b", result.stdout + result.stderr)

    def test_nothing_selected(self):
        for arguments, texts in (
                (["--enable", "pmc_res"], ["vintor.pmc_res"]),
                (["--disable", "vintor"], ["--disable"]),
                (["-c", "*:cycles,*:cut"], ["--counter takes one pattern"]),
                (["-c", "*:cycles", "-c", "*:absent*"], ["no counter matches '*:absent*'"])):
            for command in ("list", "read", "watch"):
                self.check([command, *arguments], 5, *texts)
        self.set_tool_output("=== a ===\n{}")
        self.check(["list"], 5, "no counters")

    def test_no_sample_in_time(self):
        self.set_tool(NUMBERED + "[ $n = 1 ] || exit 1; echo '=== a === {\"b\": {\"c\": 1}}'")
        log = self.check(["read", "-n", "2", "-i", "20ms", "--timeout", "1s"], 6,
                         "no sample arrived within 1s", "--timeout")
        self.assertIn("[error] [vintor] failed to collect data", "\n".join(log))

    def test_slow_first_sample_is_waited_for(self):
        self.set_tool(NUMBERED + "[ $n = 1 ] || sleep 0.4; echo '=== a === {\"b\": {\"c\": 0}}'")
        self.assertEqual(self.output_of("read", "-f", "csv").splitlines()[1][-2:], ",0")

    def test_output_or_log_that_cannot_be_written(self):
        self.check(["list", "--log-file", "/none/log"], 1, "/none/log", "--log-file")
        for arguments in (["list"], ["read"], ["watch", "-n", "1"], ["--version"], ["--help"]):
            with open("/dev/full", "w") as full:
                result = subprocess.run(agent_command(*arguments), env=self.environment, stdout=full,
                                        stderr=subprocess.PIPE, text=True, timeout=60)
            self.assertEqual(result.returncode, 1)
            self.assertIn("cannot write to standard output: No space left", result.stderr)

    def test_hanging_tool_holds_nothing_up(self):
        hanging = "the library's tool /usr/bin/vintor_pmc hangs; not waiting for it"
        # From its third run on: discovery and the first sample have been served.
        tool = NUMBERED + "[ $n -lt 3 ] || exec sleep 60; echo '=== a === {\"b\": {\"c\": 1}}'"
        for script, arguments, status, message in (
                ("exec sleep 60", ["list", "--timeout", "300ms"], 6,
                 "the library's tool did not end within 300ms"),
                (tool, ["read", "-n", "3", "-i", "50ms"], 0, hanging)):
            with self.subTest(arguments=arguments):
                self.set_tool(script)
                result = self.run_agent(*arguments)
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertIn(message, result.stderr)

    def test_container_without_a_client_is_not_reported_as_a_missing_tool(self):
        result = self.run_agent("list", TLY_DOCKER_ENV="1", TLY_ROOT="/nonexistent")
        self.assertEqual(result.returncode, 4)
        self.assertIn("remote-executor client libqpx_client.so", result.stderr)
        self.assertIn("QPX_CLIENT_SO", result.stderr)

    def test_hanging_tool_can_be_interrupted(self):
        started = self.directory / "started"
        self.set_tool(f"touch {started}; exec sleep 60")
        for kill, number in ((os.killpg, 2), (os.kill, 2), (os.kill, 15)):
            agent = self.start_agent("list", "--timeout", "1h")
            while not started.exists():
                self.assertIsNone(agent.poll())
                time.sleep(0.02)
            started.unlink()
            kill(agent.pid, number)
            # The tool holds the agent's standard error open as long as it runs.
            self.assertEqual(agent.communicate(timeout=20), ("", ""))
            self.assertEqual(agent.returncode, -number)


if __name__ == "__main__":
    unittest.main()
