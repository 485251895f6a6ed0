"""Runs the built agent with a scripted tool in place of the one it samples."""

import contextlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import unittest

AGENT = os.environ["TEST_AGENT"]
# What runs the agent where it is built for another machine.
EMULATOR = os.environ.get("TEST_EMULATOR", "").split()
LIBRARY = os.environ["TEST_LIBRARY"]
CLIENT = os.environ["TEST_CLIENT"]
ODD_CLIENT = os.environ["TEST_ODD_CLIENT"]

# The tool's runs are numbered from 1; the number is in $n.
NUMBERED = 'n=$(($(cat "$0.runs" 2>/dev/null || echo 0) + 1)); echo $n > "$0.runs"\n'

# One component of each kind of value. `late` is reported by every second run only.
USUAL_TOOL = NUMBERED + r"""
late=; [ $((n % 2)) = 0 ] && late=', "late": 7'
cat <<END
=== pmc_res ===
{"cpu0": {"cycles": $((n * 1000000)), "largest": 18446744073709549568, "cut": 12.9, "below": -3,
          "freq_mhz": 2.5$late},
 "cpu1": {"cycles": $((n * 10))}}
=== pmc_res_bw ===
{"eth0": {"tenth": 0.1, "huge": 1e22, "tiny": 5e-324, "negative": -1.5}}
END
"""


def agent_command(*arguments, agent=AGENT):
    return [*EMULATOR, agent, *arguments]


class AgentTest(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="tallyra."))
        self.addCleanup(shutil.rmtree, self.directory, ignore_errors=True)
        self.set_shim("ls", "exit 0")
        self.set_tool(USUAL_TOOL)
        kept = {k: v for k, v in os.environ.items() if not re.match("TLY_|TALLYRA_|TEST_|QPX_", k)}
        self.environment = kept | {
            "PATH": f"{self.directory}:/usr/bin:/bin", "LC_ALL": "C.UTF-8", "TERM": "xterm"}

    def set_shim(self, name, script):
        # Replaced as a whole: the library may be about to run it.
        path = self.directory / name
        new_path = self.directory / (name + ".new")
        new_path.write_text("#!/bin/sh\n" + script)
        new_path.chmod(0o755)
        new_path.rename(path)

    def set_tool(self, script):
        self.set_shim("python3", script)

    def restart_numbering(self):
        (self.directory / "python3.runs").unlink(missing_ok=True)

    def set_tool_output(self, text):
        output = self.directory / "output"
        output.write_text(text)
        self.set_tool(f"cat {output}")

    def run_agent(self, *arguments, agent=AGENT, **environment):
        self.restart_numbering()
        return subprocess.run(agent_command(*arguments, agent=agent), capture_output=True,
                              env=self.environment | environment, text=True, timeout=60)

    def output_of(self, *arguments, **environment):
        result = self.run_agent(*arguments, **environment)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def start_agent(self, *arguments, **environment):
        self.restart_numbering()
        agent = subprocess.Popen(agent_command(*arguments), env=self.environment | environment,
                                 text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                 start_new_session=True)
        # Whoever waits for its output then meets the end of it.
        limit = threading.Timer(120, kill_with_tools, [agent])
        limit.start()
        self.addCleanup(end_agent, agent, limit)
        return agent


def kill_with_tools(agent):
    with contextlib.suppress(ProcessLookupError):
        os.killpg(agent.pid, signal.SIGKILL)


def end_agent(agent, limit):
    limit.cancel()
    kill_with_tools(agent)
    agent.communicate()
