"""tallyra-agent events: as JSON lines and as records, from healthy and from odd providers."""

import datetime
import json
import os
import select
import shutil
import signal
import struct
import subprocess
import unittest

from harness import CLIENT, ODD_CLIENT, AgentTest


class EventsTest(AgentTest):
    def odd(self, *arguments):
        return self.run_agent("--client", ODD_CLIENT, "events", *arguments,
                              TLY_SOURCE_ID="here")

    def start_process(self):
        program = self.directory / "of the test"
        if not program.exists():
            shutil.copy("/bin/sleep", program)
        process = subprocess.Popen([program, "60"])
        self.addCleanup(lambda: (process.kill(), process.wait()))
        return process

    def test_start_and_end_of_a_process_are_json_lines(self):
        agent = self.start_agent("--client", CLIENT, "--enable", "grpc.process", "events",
                                 "-i", "100ms", TLY_SOURCE_ID="here")
        # Only what starts after the agent is reported, and not yet by its name when it is met early.
        processes, seen = [], None
        while seen is None:
            processes.append(self.start_process())
            if select.select([agent.stdout], [], [], 0.2)[0]:
                line = json.loads(agent.stdout.readline())
                seen = next((p for p in processes if p.pid == line["event"]["pid"]
                             and line["event"]["command"] == "of the test"), None)
        self.assertEqual(list(line), ["timestamp", "provider", "source", "type", "event"])
        self.assertRegex(line["timestamp"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z$")
        age = datetime.datetime.now(datetime.timezone.utc) - datetime.datetime.fromisoformat(
            line["timestamp"].replace("Z", "+00:00"))
        self.assertLess(abs(age), datetime.timedelta(seconds=30))
        self.assertEqual(list(line.values())[1:4], ["grpc.process", "here", "process"])
        self.assertEqual([line["event"][name] for name in ("kind", "parent_pid")],
                         ["start", os.getpid()])
        seen.kill()
        seen.wait()
        while (line["event"]["pid"], line["event"]["kind"]) != (seen.pid, "end"):
            line = json.loads(agent.stdout.readline())
        agent.send_signal(signal.SIGINT)
        self.assertEqual((agent.communicate(timeout=20)[1], agent.returncode), ("", 0))

    def test_more_events_than_a_buffer_takes_arrive_in_order_and_odd_fields_stop_none(self):
        result = self.odd("--enable", "grpc.flood", "-n", "2", "-i", "10ms", "--log-level", "none")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        lines = [json.loads(line) for line in result.stdout.splitlines()]
        self.assertEqual([line["event"] for line in lines],
                         [{"number": n, "text": "caf", "ratio": 0.5 if n != 1 else None}
                          for n in range(5000)])
        self.assertEqual({(line["source"], line["type"]) for line in lines}, {("here", "odd_event")})

    def test_raw_records_can_be_read_with_the_types_beside_them(self):
        raw = self.directory / "raw"
        for arguments, types in (([], f"{raw}.types.json"), (["--types", f"{raw}.t"], f"{raw}.t")):
            raw.write_text("old " * 100000)
            result = self.odd("--enable", "grpc.flood", "-n", "1", "-i", "10ms",
                              "--raw", str(raw), *arguments)
            self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
            with open(types, encoding="utf-8") as file:
                schemas = json.load(file)["schemas"]
            data, numbers = raw.read_bytes(), []
            while data:
                magic, schema, kind, count = struct.unpack_from("4s8xBBxB", data)
                self.assertEqual(magic, b"TLYE")
                size = schemas[schema]["types"][kind]["size"]
                for i in range(count):
                    numbers.append(struct.unpack_from("Q", data, 16 + i * size)[0])
                data = data[16 + count * size:]
            self.assertEqual(numbers, list(range(5000)))
            ids = self.output_of("schema", "--load", types, "--id")
            self.assertIn("  event schema odd\n", ids)

    def test_what_fails_is_reported_and_the_rest_goes_on(self):
        raw = ["--enable", "grpc.flood", "--raw"]
        file = str(self.directory / "file")
        for arguments, status, count, text in (
                (["--enable", "grpc.garbled,grpc.flood"], 8, 5000, "grpc.garbled cannot be used"),
                (["--enable", "grpc.far,grpc.flood"], 8, 5000, "grpc.far cannot be used"),
                (["--enable", "grpc.dense,grpc.flood"], 8, 5000, "grpc.dense cannot be used"),
                (["--enable", "grpc.broken,grpc.flood"], 8, 5000, "grpc.broken failed to deliver"),
                (["--enable", "grpc.steady,grpc.flood"], 0, 5000, "grpc.steady offers counters"),
                (["--enable", "grpc.garbled"], 4, 0, "no provider of events is left"),
                (["--enable", "grpc.steady"], 4, 0, "no provider of events is left"),
                ([], 2, 0, "none is enabled"),
                (["--enable", "grpc.flood", "-c", "*"], 2, 0, "--counter chooses counters"),
                (["--enable", "grpc.flood", "--types", file], 2, 0, "--types is for --raw"),
                ([*raw, "/none/raw"], 1, 0, "cannot write /none/raw"),
                ([*raw, "/dev/full", "--types", file], 1, 0, "No space left"),
                ([*raw, file, "--types", "/none/t"], 7, 0, "cannot write /none/t"),
                ([*raw, file, "--types", f"{self.directory}/./file"], 2, 0, "the records itself")):
            with self.subTest(arguments=arguments):
                result = self.odd(*arguments, "-n", "2", "-i", "10ms")
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertEqual(result.stdout.count("\n"), count)
                self.assertIn(text, result.stderr)
        with open(file, encoding="utf-8") as kept:
            self.assertEqual(json.load(kept)["schemas"][0]["provider_name"], "odd")

    def test_duration_ends_it_with_a_last_delivery(self):
        result = self.odd("--enable", "grpc.flood", "-i", "1h", "--duration", "50ms")
        self.assertEqual((result.returncode, result.stdout.count("\n")), (0, 5000))


if __name__ == "__main__":
    unittest.main()
