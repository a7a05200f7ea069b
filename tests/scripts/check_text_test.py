#!/usr/bin/env python3
"""scripts/check-text finds each kind of fault, and nothing in a tree without one.

    check_text_test.py SCRIPT
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = ""


class CheckText(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory(prefix="dxr_check_text_")
        self.addCleanup(self.scratch.cleanup)
        self.root = pathlib.Path(self.scratch.name)
        self.git("init", "--quiet")
        self.add("src/good.cpp", b"int g_good = 0;\n")

    def git(self, *arguments):
        subprocess.run(["git", "-C", self.root, *arguments], check=True)

    def add(self, name, content):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        self.git("add", "--force", "--", name)

    def run_script(self):
        done = subprocess.run([SCRIPT, self.root], stdout=subprocess.PIPE, text=True, check=False)
        return done.returncode, done.stdout.splitlines()

    def expect_one(self, line):
        self.assertEqual(self.run_script(), (1, [line]))

    def test_a_good_tree_has_no_fault(self):
        self.add("include/a+b_1.h", b"")
        self.add("src/wide.cpp", b"x" * 100 + b"\n" + "\u00e4".encode() * 100 + b"\n")
        self.add("docs/long.md", b"x" * 300 + b"\n")
        self.add("docs/picture.svg", b"\t<g> \n")
        self.add("docs/picture.png", b"\x89PNG\r\n\0")
        self.assertEqual(self.run_script(), (0, []))

    def test_what_git_does_not_track_is_not_looked_at(self):
        (self.root / "bad .c").write_bytes(b"\t")
        self.assertEqual(self.run_script(), (0, []))

    def test_a_file_that_is_gone_is_passed_over(self):
        (self.root / "src/good.cpp").unlink()
        self.assertEqual(self.run_script(), (0, []))

    def test_nothing_tracked_is_a_fault(self):
        self.git("rm", "--quiet", "--cached", "src/good.cpp")
        status, lines = self.run_script()
        self.assertEqual((status, len(lines)), (1, 1))

    def test_odd_names(self):
        for name in (" pc=1/a", "-n/a", "src/-n", "src/a b.c", "src/a\nb", "src/\u00e4.c",
                     "src/a'b", "src/+x"):
            with self.subTest(name=name):
                self.add(name, b"")
                self.expect_one(f"{name!a} has an odd name")
                self.git("rm", "--quiet", "--force", "--", name)

    def test_the_root(self):
        for name in (".clang-tidy", "CHANGELOG.md", "CMakeLists.txt", "CMakePresets.json"):
            self.add(name, b"")
        self.assertEqual(self.run_script(), (0, []))
        for name in ("calls.dxrtrace", "core", "notes.md", "a.cpp"):
            with self.subTest(name=name):
                self.add(name, b"")
                self.expect_one(f"'{name}' has no place at the root")
                self.git("rm", "--quiet", "--force", "--", name)

    def test_what_a_build_makes(self):
        for name in ("a.o", "a.pyc", "lib/liba.so.1", "build/a.txt", "build-x/a.txt",
                     "t/__pycache__/a.txt"):
            with self.subTest(name=name):
                self.add(name, b"\0")
                self.expect_one(f"'{name}' bears the name of something that a build makes")
                self.git("rm", "--quiet", "--force", "--", name)
        for name, content in (("src/program", b"\x7fELF\x02"), ("src/archive", b"!<arch>\n")):
            with self.subTest(name=name):
                self.add(name, content)
                self.expect_one(f"'{name}' is what a build makes")
                self.git("rm", "--quiet", "--force", "--", name)

    def test_size(self):
        self.add("src/large.bin", b"\0" * 512 * 1024)
        self.assertEqual(self.run_script(), (0, []))
        self.add("src/large.bin", b"\0" * (512 * 1024 + 1))
        self.expect_one("'src/large.bin' has 524289 bytes, at most 524288 wanted")

    def test_ends_of_files(self):
        self.add("src/a.md", b"text")
        self.expect_one("'src/a.md' does not end in a newline")
        self.add("src/a.md", b"text\n\n")
        self.expect_one("'src/a.md' ends in an empty line")

    def test_ends_of_lines(self):
        for content, fault in ((b"a\nb \n", "ends in blanks"), (b"a\n\tb\n", "holds a tab")):
            self.add("src/a.yaml", content)
            self.expect_one(f"'src/a.yaml':2 {fault}")
        self.add("src/a.yaml", b"a\nb\r\n")
        self.assertIn("'src/a.yaml':2 holds a carriage return", self.run_script()[1])
        self.add("src/a.yaml", b"\xff\n")
        self.expect_one("'src/a.yaml' is not UTF-8")

    def test_long_lines_of_code(self):
        line = b"x" * 101 + b"\n"
        for name in ("src/a.c", "src/a.h", "src/a.cpp", "src/a.py", "src/a.sh", "src/a.cmake",
                     "CMakeLists.txt"):
            with self.subTest(name=name):
                self.add(name, line)
                self.expect_one(f"'{name}':1 has 101 columns, at most 100 wanted")
                self.git("rm", "--quiet", "--force", "--", name)
        self.add("src/tool", b"#!/bin/sh\n" + line)
        self.expect_one("'src/tool':2 has 101 columns, at most 100 wanted")


if __name__ == "__main__":
    SCRIPT = sys.argv.pop(1)
    unittest.main()
