"""tallyra-agent with remote providers: counters beside the local ones, and what odd ones do."""

import ctypes.util
import json
import unittest

from harness import CLIENT, ODD_CLIENT, AgentTest

REMOTE_ONLY = ["--disable", "vintor"]


class RemoteTest(AgentTest):
    def samples(self, *arguments, status=0, client=CLIENT):
        """The samples' values, and what was reported."""
        result = self.run_agent("--client", client, "read", "-f", "json", *arguments)
        self.assertEqual(result.returncode, status, result.stderr)
        return [json.loads(line) for line in result.stdout.splitlines()], result.stderr

    def test_counters_of_both_are_read_together(self):
        [sample], reported = self.samples("--enable", "grpc.host")
        self.assertEqual((sample["provider"], reported), ("vintor,grpc.host", ""))
        self.assertEqual(list(sample["values"]), ["pmc_res", "pmc_res_bw"] + [
            f"grpc.host:{name}" for name in ("cpu", "memory", "network", "storage")])
        self.assertEqual(sample["values"]["pmc_res"]["pmc_res:cpu0:largest"], 18446744073709549568)
        with open("/proc/meminfo", encoding="ascii") as meminfo:
            total_kib = int(meminfo.readline().split()[1])
        self.assertEqual(sample["values"]["grpc.host:memory"]["grpc.host:memory:total_bytes"],
                         total_kib * 1024)

    def test_patterns_choose_among_both(self):
        everything = self.samples("--enable", "grpc.host")[0][0]["values"]
        for arguments, components, counters in (
                (["--enable", "vintor.pmc_res,grpc.host"], 5, None),
                (["--disable", "vintor.pmc_res,grpc.host.c*,grpc.host.memory"], 3, None),
                (["-c", "*:memory:total*", "-c", "pmc_res:cpu1:*"], 2,
                 ["pmc_res:cpu1:cycles", "grpc.host:memory:total_bytes"])):
            with self.subTest(arguments=arguments):
                [sample], reported = self.samples("--enable", "grpc.host", *arguments)
                self.assertEqual((len(sample["values"]), reported), (components, ""))
                shown = [name for values in sample["values"].values() for name in values]
                self.assertEqual(shown, counters or [
                    name for component in sample["values"] for name in everything[component]])

    def test_local_tool_is_not_run_when_it_is_not_wanted(self):
        self.set_shim("ls", "exit 2")
        for pattern in ("vintor", "VINT*", "vintor.*"):
            [sample], reported = self.samples("--enable", "grpc.host", "--disable", pattern)
            self.assertEqual((sample["provider"], reported), ("grpc.host", ""))
        self.assertFalse((self.directory / "python3.runs").exists())
        [sample], reported = self.samples("--enable", "grpc.host", status=8)
        self.assertEqual(sample["provider"], "grpc.host")
        self.assertIn("/usr/bin/vintor_pmc", reported)
        self.assertIn("--disable vintor", reported)

    def test_list_watch_and_schema_show_remote_counters_by_their_names(self):
        common = ["--client", CLIENT, "--enable", "grpc.host", "-c", "*cpu*:user_ms", "-c", "*:cut"]
        listed = json.loads(self.output_of(*common, "list", "--json"))
        self.assertEqual([(provider["name"], counter["name"]) for provider in listed
                          for component in provider["components"]
                          for counter in component["counters"]],
                         [("vintor", "pmc_res:cpu0:cut"), ("grpc.host", "grpc.host:cpu:user_ms")])
        text = self.output_of(*common, "list")
        self.assertRegex(text, r"\nProvider +: grpc.host\n(.*\n)+\n  Component +: cpu\n")
        tables = self.output_of(*common, "watch", "-n", "2", "-i", "50ms")
        self.assertRegex(tables, r"vintor,grpc.host  (?s:.*)\ngrpc.host:cpu:user_ms +\d+ +\d")
        groups = json.loads(self.output_of(*common, "schema"))["counter_groups"]
        self.assertEqual([(group["provider"], group["name"]) for group in groups],
                         [("vintor", "pmc_res")] + [("host", name) for name in (
                             "cpu", "memory", "network", "storage")])

    def test_remote_provider_that_fails_keeps_its_last_values_and_holds_up_nobody(self):
        samples, _ = self.samples("--enable", "grpc.late", *REMOTE_ONLY, "-n", "3", "-i", "60ms",
                                  client=ODD_CLIENT)
        self.assertEqual([sample["values"] for sample in samples], [
            {"grpc.late:first": {"grpc.late:first:cycle": n, "grpc.late:first:label": "eleven char"},
             "grpc.late:second": {"grpc.late:second:cycle": n}} for n in (3, 3, 5)])
        [sample], reported = self.samples("--enable", "grpc.silent,grpc.steady", "-c", "*:c*cle*",
                                      "--timeout", "3s", status=8, client=ODD_CLIENT)
        self.assertIn("no sample arrived from grpc.silent within 3s", reported)
        self.assertEqual(sample["values"]["grpc.silent:second"], {"grpc.silent:second:cycle": None})
        for component in ("pmc_res", "grpc.steady:second"):
            self.assertNotIn(None, sample["values"][component].values())
        samples, reported = self.samples("--enable", "grpc.hung", *REMOTE_ONLY, "-n", "9",
                                         "-i", "10ms", "--timeout", "1s", status=6,
                                         client=ODD_CLIENT)
        self.assertEqual(len(samples), 2)
        self.assertIn("grpc.hung did not answer within 1s", reported)

    def test_names_that_cannot_be_had_are_reported_and_the_rest_goes_on(self):
        for arguments, status, count, text in (
                (["--enable", "grpc.a,grpc.host,grpc.a.b", "--enable", "grpc.a"], 8, 6, "grpc.a.b "),
                (["--enable", "grpc.process,grpc.host"], 0, 6, "grpc.process offers events"),
                (["--enable", "grpc.a"], 8, 2, "grpc.a cannot be started"),
                (["--enable", "grpc.a", *REMOTE_ONLY], 4, None, "no provider of counters is left"),
                (["--enable", "absent,grpc.host"], 8, 4, "no component enabled"),
                (["--enable", "grpc.host", *REMOTE_ONLY, "--disable", "grpc.host.*"], 5, None,
                 "no component enabled"),
                (["--enable", "grpc.host,grpc."], 2, None, "'grpc.' is not"),
                (["--enable", "grpc.host, grpc.a"], 2, None, "' grpc.a' is not")):
            with self.subTest(arguments=arguments):
                samples, reported = self.samples(*arguments, status=status)
                self.assertEqual([len(sample["values"]) for sample in samples],
                                 [count] if count else [])
                self.assertIn(text, reported)

    def test_client_that_is_missing(self):
        environment = {"TLY_ROOT": "/none"}
        for arguments, status, text in (
                (["--client", "/none.so"], 3, "/none.so: cannot open"),
                (["--client", ctypes.util.find_library("m")], 3, "has no function qpx_client_init"),
                (["--disable", "vintor"], 4, "no remote-executor client could be loaded"),
                ([], 8, "no remote-executor client could be loaded, which grpc.host, grpc.b")):
            result = self.run_agent("read", "--enable", "grpc.host,grpc.b", *arguments, **environment)
            self.assertEqual(result.returncode, status, result.stderr)
            self.assertIn(text, result.stderr)
            self.assertIn("--client", result.stderr)
        self.output_of("read", "--enable", "grpc.host", QPX_CLIENT_SO=CLIENT, **environment)

    def test_in_a_container_the_client_runs_the_tool(self):
        for arguments in ([], ["--enable", "grpc.host"]):
            text = self.output_of("--client", CLIENT, *arguments, "read", "-f", "csv", "-c", "*:cut",
                                  TLY_DOCKER_ENV="1")
            self.assertEqual(text.splitlines()[1].split(",")[1:], ["12"])


if __name__ == "__main__":
    unittest.main()
