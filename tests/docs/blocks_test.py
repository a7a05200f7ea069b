#!/usr/bin/env python3
"""Every block of the pages is run by a test, or compared with what is, or stands below.

    blocks_test.py ROOT [BUILD]

Looks at the fenced and indented blocks of the Markdown files. tests/tools/documents_test.py runs
those of the pages that tests/tools/CMakeLists.txt gives to it, debian/try those that install
packages, python/tests/test_document.py those in Python. What stands in ELSEWHERE is neither; an
entry without a block is a fault, too. With BUILD, what the pages tell to run with `ctest` has to
be among its tests.
"""

import json
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()
sys.path.insert(0, str(ROOT / "tests/tools"))
import documents_test  # noqa: E402, below the path that it needs

HOURS = "takes long; what it names is looked up by docs.paths, and by this test with a build"
PICTURE = "a drawing"
# (page, how the block begins): what does its work, or why there is nothing to run.
ELSEWHERE = {
    ("README.md", "modules              DXR_ReadReg"): PICTURE,
    ("README.md", "$ scripts/demo"): "scripts/test runs the first (stage demo), and is the second",
    ("CONTRIBUTING.md", "$ scripts/test debug"): HOURS,
    ("docs/architecture.md", "modules (C, C++)"): PICTURE,
    ("docs/coverage.md", "scripts/coverage "): "stages coverage, conditions of scripts/test",
    ("docs/coverage.md", "[COUNT] KIND FILE"): "a form; scripts/coverage reads such lists",
    ("docs/devhost.md", '#include "dxr_devhost/kpi.h"'): "a sketch of the services in devhost/",
    ("docs/dxrsh.md", "dxrsh privatelog write NAME"): "forms; tests/tools/dxrsh_user_test.py",
    ("docs/dxrsh.md", "processor: "): "figures of one machine; tests/tools/dxrsh_bench_test.cpp",
    ("docs/guide-maintainer.md", "DXR_API_1.1 {"): "of a version that is still to come",
    ("docs/performance.md", "scripts/bench "): "stage bench of scripts/test; dxrsh_bench_test",
    ("docs/reliability.md", "scripts/coverage"): "stages coverage, conditions of scripts/test",
    ("docs/reliability.md", "scripts/mutate "): "stage mutants of scripts/test",
    ("docs/reliability.md", "ctest --preset asan -R 'memory_faults"): "stage asan of scripts/test",
    ("docs/reliability.md", "DXR_TEST_STRIDE=1 "): HOURS,
    ("docs/reliability.md", "ctest --preset asan -L faults"): HOURS,
    ("docs/reliability.md", "for each in device"): HOURS,
    ("docs/reliability.md", "DXR_TEST_SEQUENCES=100000"): HOURS,
    ("docs/reliability.md", "ctest --preset release -R '^trace_'"): "stages release, fuzz",
    ("docs/reliability.md", "tests/tools/chassis_test.py "): "stage storm of scripts/test",
}


def blocks(text):
    """(kind, line above, lines) of every block; the kind of an indented one is None."""
    above, kind, taken = "", "", []
    is_open = is_list = False
    lines = text.split("\n")
    for place, line in enumerate(lines):
        if line.lstrip().startswith("```"):
            if is_open:
                yield kind, above, taken
            is_open, kind, taken = not is_open, line.lstrip()[3:], []
            above = "" if not is_open else above
        elif is_open:
            taken.append(line)
        elif line.startswith("    ") and not is_list:
            taken.append(line.strip())
            if place + 1 == len(lines) or not lines[place + 1].startswith("    "):
                yield None, above, taken
                taken = []
        elif line.strip():
            above = line
            is_list = bool(re.match(r"[-*] |\d+\. ", line)) or (is_list and line.startswith(" "))


def read(name):
    return (ROOT / name).read_text(encoding="utf-8")


class Runs:
    """What the tests run of which page."""
    def __init__(self):
        tests = read("tests/tools/CMakeLists.txt")
        given = re.findall(r"documents_test\.py(.*?)\)\n", tests, re.DOTALL)
        maintainers = re.findall(r"^set\(maintainers (\S+)\)", tests, re.MULTILINE)
        self.shown = set(re.findall(r"[\w/-]+\.md", " ".join(given + maintainers)))
        self.bare = set(re.findall(r"--bare .*? (docs/\S+)", read("debian/try")))
        self.python = set(re.findall(r'"(docs/\w+\.md)"', read("python/tests/test_document.py")))

    def has(self, page, kind, above, lines):
        if kind == "python":
            return page in self.python
        if kind == "console" and documents_test.needs_bare_debian(lines):
            return page in self.bare
        if page not in self.shown:
            return False
        if re.fullmatch(r"`(examples/[^`]*)`:", above):
            return True
        return kind == "console" and (documents_test.is_whole(lines) or all(
            re.search(r"\bdxrsh ", command) for command, _ in documents_test.commands(lines)))


def missing_tests(build, pages):
    """Calls of ctest, as pages have them, that would run nothing."""
    told = json.loads(subprocess.run(["ctest", "--show-only=json-v1"], cwd=build, text=True,
                                     stdout=subprocess.PIPE, check=True).stdout)["tests"]
    names = {"R": {test["name"] for test in told},
             "L": {label for test in told for each in test.get("properties", [])
                   if each["name"] == "LABELS" for label in each["value"]}}
    called = 0
    for page in pages:
        for kind, _, pattern in re.findall(r"ctest (?:--preset \w+ )?-([RL]) ('?)([^'`\s]+)\2",
                                               read(page)):
            called += 1
            if pattern != "NAME" and not any(re.search(pattern, name) for name in names[kind]):
                yield f"{page}: ctest -{kind} {pattern} finds no test"
    if called < 5:
        yield f"the pages call ctest {called} times"


def main(build):
    runs = Runs()
    wrong = []
    left = dict(ELSEWHERE)
    run = 0
    pages = sorted(str(path.relative_to(ROOT))
                   for pattern in ("*.md", "docs/*.md", "examples/**/*.md")
                   for path in ROOT.glob(pattern))
    for page in pages:
        for kind, above, lines in blocks(read(page)):
            begins = [entry for entry in ELSEWHERE
                      if entry[0] == page and lines and lines[0].lstrip().startswith(entry[1])]
            if runs.has(page, kind, above, lines):
                run += 1
            elif begins:
                left.pop(begins[0], None)
            else:
                wrong.append(f"{page}: nothing runs the block that begins {lines[0]!r}")
    wrong += [f"there is no such block, or a test runs it: {entry}" for entry in left]
    if build:
        wrong += missing_tests(build, pages + ["tests/README.md"])
    print(*wrong, f"{run} blocks are run, {len(ELSEWHERE)} are not", sep="\n")
    return 1 if wrong or run < 50 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[2:] or [None]))
