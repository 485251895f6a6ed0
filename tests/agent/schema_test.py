"""tallyra-agent schema: texts and ids that belong together, saved and loaded back."""

import hashlib
import json
import os
import pathlib
import stat
import subprocess
import unittest

from harness import AgentTest, agent_command

EVENT_SCHEMA = {
    "title": "Tallyra schema", "tly_version": "1.5.0", "provider_name": "made",
    "provider_version": "1.2.0", "types": [
        {"name": "event", "size": 8, "type_index": 0, "fields": [
            {"field_name": "when", "description": "a time/date", "type_name": "uint64_t",
             "counting_mode": "ABSOLUTE", "offset": 0, "type_size": 8, "index": 0}]}]}


def md5(data):
    return hashlib.md5(data).hexdigest()


class SchemaTest(AgentTest):
    def bytes_of(self, *arguments):
        self.restart_numbering()
        result = subprocess.run(agent_command("schema", *arguments), env=self.environment,
                                capture_output=True, timeout=60)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return result.stdout

    def save(self, *arguments):
        [path] = self.output_of("schema", "--save", str(self.directory), *arguments).splitlines()
        return pathlib.Path(path)

    def check_refused(self, arguments, status, *texts):
        with self.subTest(arguments=arguments):
            result = self.run_agent("schema", *arguments)
            self.assertEqual((result.returncode, result.stdout), (status, ""), result.stderr)
            own_lines = [l for l in result.stderr.splitlines() if l.startswith("tallyra-agent: ")]
            self.assertEqual(len(own_lines), 2)
            for text in texts:
                self.assertIn(text, own_lines[0])

    def test_groups_are_those_of_the_selection(self):
        for arguments, groups in (
                ([], [("pmc_res", 6), ("pmc_res_bw", 4)]),
                (["-c", "*:cycles", "-c", "*:t*"], [("pmc_res", 2), ("pmc_res_bw", 2)]),
                (["--disable", "vintor.pmc_res"], [("pmc_res_bw", 4)])):
            with self.subTest(arguments=arguments):
                schema = json.loads(self.bytes_of(*arguments))
                self.assertEqual([(group["name"], group["num_counters"])
                                  for group in schema["counter_groups"]], groups)

    def test_id_is_the_digest_of_the_text_and_names_the_saved_file(self):
        for arguments in ([], ["-c", "*:cycles"], ["--type-system"]):
            with self.subTest(arguments=arguments):
                text = self.bytes_of(*arguments)
                self.assertTrue(text.endswith(b"\n}"))
                [first, *_] = self.output_of("schema", "--id", *arguments).splitlines()
                self.assertEqual(first.split()[0], md5(text))
                path = self.save(*arguments)
                self.assertEqual(path, self.directory / f"schema_{md5(text)}.json")
                self.assertEqual(path.read_bytes(), text)

    def test_loaded_schema_is_the_saved_one_without_any_tool(self):
        paths = [self.save(), self.save("--type-system")]
        self.set_tool("exit 1")
        for path in paths:
            text = path.read_bytes()
            self.assertEqual(self.bytes_of("--load", str(path)), text)
            self.assertEqual(self.save("--load", str(path)), path)
        counters_id = paths[0].stem.removeprefix("schema_")
        where = ["--load-id", counters_id.upper(), "--dir", str(self.directory)]
        self.assertEqual(self.bytes_of(*where), paths[0].read_bytes())
        self.assertEqual(self.bytes_of(*where, "--type-system"), paths[1].read_bytes())
        self.assertEqual(self.output_of("schema", *where, "--id"), counters_id + "\n")

    def test_type_system_lists_the_ids_of_its_parts(self):
        counters = self.bytes_of()
        document = json.loads(self.bytes_of("--type-system"))
        self.assertEqual((document["counters_schema"], document["schemas"]),
                         (json.loads(counters), []))
        path = self.directory / "with_events.json"
        path.write_text(json.dumps(document | {"schemas": [EVENT_SCHEMA]}))
        text = self.bytes_of("--load", str(path))
        [event_schema] = json.loads(text)["schemas"]
        event_text = json.dumps(event_schema, indent=4).replace("/", "\\/").encode()
        self.assertEqual(self.output_of("schema", "--load", str(path), "--id").splitlines(),
                         [md5(text) + "  type system", md5(counters) + "  counters schema",
                          md5(event_text) + "  event schema made"])
        path.write_text(path.read_text().replace("ABSOLUTE", "OTHER"))
        self.check_refused(["--load", str(path)], 7, "event schema made cannot be written")

    def test_saving_replaces_the_file_and_leaves_no_other(self):
        directory = self.directory / "schemas"
        directory.mkdir()
        path = directory / self.save().name
        path.write_text("old")
        self.addCleanup(os.umask, os.umask(0o027))
        with open(path, encoding="ascii") as reader:
            self.output_of("schema", "--save", str(directory))
            self.assertEqual(reader.read(), "old")
        self.assertEqual(os.listdir(directory), [path.name])
        self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o640)
        self.assertIn(md5(path.read_bytes()), path.name)
        path.unlink()
        path.mkdir()
        self.check_refused(["--save", str(directory)], 7, f"cannot write {path}: ")
        self.assertEqual(os.listdir(directory), [path.name])

    def test_what_cannot_be_done_is_reported(self):
        an_id = "0123456789abcdef" * 2
        changed = self.save()
        changed.write_text(changed.read_text().replace("vintor", "rotniv"))
        texts = {"empty": "", "list": "[]", "other": "{\"version\": \"1.5.0\"}",
                 "old": "{\"version\": \"1.3.0\", \"counter_groups\": []}", "cut": "{\"version"}
        for name, text in texts.items():
            (self.directory / name).write_text(text)
        for arguments, status, text in (
                (["--id", "--save", "."], 2, "--id and --save"),
                (["--load", "x", "--load-id", an_id], 2, "--load and --load-id"),
                (["--load", "x", "-c", "*"], 2, "--counter"),
                (["--dir", "."], 2, "--dir is for --load-id"),
                (["--load-id", "abc"], 2, "'abc' is not a schema id"),
                (["--load-id", "0" * 32], 2, "not all 0"),
                (["-c", "absent"], 5, "'absent'"),
                (["--save", "/none"], 7, "cannot write /none/schema_"),
                (["--load", ""], 7, "cannot read : No such file"),
                (["--load", "/none"], 7, "cannot read /none: No such file"),
                (["--load", "."], 7, "cannot read .: Is a directory"),
                *((["--load", str(self.directory / name)], 7, name + " does not hold JSON")
                  for name in ("empty", "cut")),
                *((["--load", str(self.directory / name)], 7, name + " holds neither")
                  for name in ("list", "other", "old")),
                (["--load-id", an_id], 7, f"./schema_{an_id}.json is missing"),
                (["--load-id", changed.stem.removeprefix("schema_"), "--dir", str(self.directory)],
                 7, f"{changed} holds a schema with the id ")):
            self.check_refused(arguments, status, text)
        self.set_tool(r"""printf '=== s === {"\377": {"c": 1}}'""")
        self.check_refused(["--type-system"], 1, "does not take the counters schema")


if __name__ == "__main__":
    unittest.main()
