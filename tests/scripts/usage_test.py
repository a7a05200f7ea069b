#!/usr/bin/env python3
"""Each script tells how it is used, and refuses what it does not know, before it touches anything.

    usage_test.py DIRECTORY_OF_SCRIPTS
"""

import importlib.machinery
import importlib.util
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path()
# What installs, builds or measures; a script that only tells how it is used needs none of them.
TOUCHING = ("apt-get", "cmake", "ctest", "dpkg-query", "g++", "git", "ninja", "sudo")


class Usage(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory(prefix="dxr_usage_")
        self.addCleanup(self.scratch.cleanup)
        self.touched = pathlib.Path(self.scratch.name) / "touched"
        tools = pathlib.Path(self.scratch.name) / "tools"
        tools.mkdir()
        for name in TOUCHING:
            tool = tools / name
            tool.write_text(f"#!/bin/sh\necho {name} >>'{self.touched}'\nexit 1\n")
            tool.chmod(0o755)
        self.environment = {**os.environ, "PATH": f"{tools}:{os.environ['PATH']}"}

    def run_script(self, script, *arguments):
        done = subprocess.run([script, *arguments], cwd=self.scratch.name, env=self.environment,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              check=False, timeout=60)
        ran = self.touched.read_text().split() if self.touched.exists() else []
        self.assertEqual(ran, [], f"{script.name} {arguments}")
        return done

    def test_help(self):
        for script in sorted(SCRIPTS.iterdir()):
            with self.subTest(script.name):
                done = self.run_script(script, "--help")
                self.assertEqual(done.returncode, 0, done.stderr)
                self.assertIn(script.name, done.stdout)
                self.assertEqual(done.stderr, "")

    def test_unknown_options(self):
        for script in sorted(SCRIPTS.iterdir()):
            with self.subTest(script.name):
                done = self.run_script(script, "--nonsense")
                self.assertEqual(done.returncode, 2, done.stdout + done.stderr)
                self.assertIn(script.name, done.stderr)

    def test_a_stage_that_is_not_there_is_named(self):
        done = self.run_script(SCRIPTS / "test", "text", "relase")
        self.assertEqual(done.returncode, 2)
        self.assertTrue(done.stderr.endswith("\nscripts/test: there is no stage 'relase'\n"))

    def test_mutate_says_at_once_where_it_cannot_write(self):
        for file in ("none/outcomes", "."):
            done = self.run_script(SCRIPTS / "mutate", "--output", file)
            self.assertEqual(done.returncode, 2, done.stdout + done.stderr)
            self.assertIn("mutate: error: cannot write ", done.stderr)

    def test_mutate_writes_where_it_was_called(self):
        loader = importlib.machinery.SourceFileLoader("mutate", str(SCRIPTS / "mutate"))
        spec = importlib.util.spec_from_loader("mutate", loader)
        mutate = importlib.util.module_from_spec(spec)
        sys.dont_write_bytecode = True
        loader.exec_module(mutate)
        before = os.getcwd()
        try:
            os.chdir(self.scratch.name)
            output = mutate.read_options(["--output", "outcomes"]).output
            self.assertEqual(output, pathlib.Path(os.getcwd()) / "outcomes")
        finally:
            os.chdir(before)

    def test_demo_wants_a_file_that_can_be_read(self):
        done = self.run_script(SCRIPTS / "demo", "nofile")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr,
                         f"scripts/demo: cannot read {self.scratch.name}/nofile\n")
        self.assertEqual(done.stdout, "")
        self.assertEqual(self.run_script(SCRIPTS / "demo", self.scratch.name).returncode, 1)
        self.assertEqual(self.run_script(SCRIPTS / "demo", "one", "two").returncode, 2)


if __name__ == "__main__":
    SCRIPTS = pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main()
