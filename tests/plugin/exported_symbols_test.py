"""Holds the library's dynamic symbol table against the list in the tree and the public headers."""

import pathlib
import re
import subprocess
import sys
import unittest

NM, LIBRARY, LIST, HEADERS = sys.argv[1:]


def listed():
    lines = pathlib.Path(LIST).read_text(encoding="utf-8").splitlines()
    return [line for line in lines if line and not line.startswith("#")]


def exported():
    table = subprocess.run([NM, "-D", "--defined-only", LIBRARY], check=True, text=True,
                           capture_output=True).stdout
    return {line.split()[-1] for line in table.splitlines()}


def declared():
    names = set()
    for header in pathlib.Path(HEADERS).glob("*.h"):
        text = re.sub(r"/\*.*?\*/|//[^\n]*", "", header.read_text(encoding="utf-8"), flags=re.S)
        for declaration in re.findall(r"\bTLY_API\b([^;{]*);", text):
            declaration = declaration.split("TLY_PRINTF")[0]
            function = re.search(r"(\w+)\s*\(", declaration)
            names.add(function.group(1) if function else declaration.split()[-1])
    return names


class ExportedSymbols(unittest.TestCase):
    def test_list_names_each_symbol_once(self):
        self.assertEqual(len(listed()), len(set(listed())))

    def test_library_exports_exactly_the_listed_names(self):
        self.assertEqual(sorted(exported() ^ set(listed())), [])

    def test_headers_declare_exactly_the_listed_names(self):
        self.assertEqual(sorted(declared() ^ set(listed())), [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
