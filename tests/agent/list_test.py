"""tallyra-agent list: what is shown, and what the patterns select."""

import json
import os
import pathlib
import shutil
import unittest

from harness import AGENT, LIBRARY, AgentTest


class ListTest(AgentTest):
    def names(self, *arguments):
        document = json.loads(self.output_of("list", "--json", *arguments))
        return [counter["name"] for component in document["components"]
                for counter in component["counters"]]

    def test_text_is_the_library_s_own(self):
        lines = self.output_of("list", "-c", "*:cycles", "-c", "*:tiny").splitlines()
        self.assertEqual(lines[0], "Provider             : vintor")
        self.assertEqual(lines[3:5], ["Version              : 00010000",
                                      "Components           : 2"])
        rows = [line.split() for line in lines if line.startswith("  |")]
        description = ["|", "Arvalen", "Performance", "Counter", "|"]
        self.assertEqual([row for row in rows if "#" not in row], [
            ["|", "0", "|", "pmc_res", "|", "pmc_res:cpu0:cycles"] + description,
            ["|", "1", "|", "pmc_res", "|", "pmc_res:cpu1:cycles"] + description,
            ["|", "0", "|", "pmc_res_bw", "|", "pmc_res_bw:eth0:tiny"] + description])

    def test_json_is_one_document_in_the_library_s_own_form(self):
        document = json.loads(self.output_of("--disable", "vintor.pmc_res", "list", "--json"))
        self.assertEqual((document["name"], document["version"]), ("vintor", 65536))
        [component] = document["components"]
        self.assertEqual((component["name"], component["num_counters"]), ("pmc_res_bw", 4))
        self.assertEqual((component["counters"][0]["name"], component["counters"][0]["data_type"]),
                         ("pmc_res_bw:eth0:tenth", "FP64"))

    def test_patterns_select_components_and_counters(self):
        for arguments, count in (
                ([], 10),
                (["--enable", "VINTOR.*_bw"], 4),
                (["--enable", "nothing,vintor.pmc_res_bw", "--enable", "vintor.pmc_res"], 10),
                (["--disable", "vintor.pmc_res"], 4),
                (["--enable", "vintor", "--disable", "*_bw"], 6),
                (["-c", "*:CYCLES", "--counter", "pmc_res:cpu0:*"], 6)):
            with self.subTest(arguments=arguments):
                self.assertEqual(len(self.names(*arguments)), count)

    def test_library_is_found_beside_the_agent_or_where_it_is_named(self):
        tree = self.directory / "tree"
        agent = str(tree / "bin" / "tallyra-agent")
        (tree / "bin").mkdir(parents=True)
        (tree / "lib").mkdir()
        shutil.copy(AGENT, agent)
        self.assertEqual(self.run_agent("--version", agent=agent).returncode, 3)
        by_variable = self.run_agent("--version", agent=agent, TALLYRA_LIBRARY=LIBRARY)
        self.assertIn(f"({LIBRARY})", by_variable.stdout)
        by_loader = self.run_agent("--version", agent=agent,
                                   LD_LIBRARY_PATH=os.path.dirname(LIBRARY))
        self.assertEqual(by_loader.returncode, 0)
        installed = pathlib.Path(shutil.copy(LIBRARY, tree / "lib"))
        found = self.run_agent("--version", agent=agent).stdout.splitlines()
        self.assertEqual(found, ["tallyra-agent 1.21.1",
                                 f"libvintor_provider.so 1.21.1 ({installed})"])
        self.assertIn("  serve ", self.output_of("--help"))
        option_wins = self.run_agent("--version", "--library", LIBRARY, agent=agent,
                                     TALLYRA_LIBRARY=str(installed))
        self.assertIn(f"({LIBRARY})", option_wins.stdout)


if __name__ == "__main__":
    unittest.main()
