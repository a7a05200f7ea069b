#!/usr/bin/env python3
"""Each duty of docs/duties.md has its tests, and each number that is quoted has its duty.

    duties_test.py ROOT          compares the tables with the sources; exit status 1 if they differ
    duties_test.py ROOT --self   looks whether each kind of fault is found, in texts made for it

A test quotes the duties that it shows in a comment of its own in the line above it
("// HOST-1, MODULE-3"); of a program without named tests the first line does, and the table names
the program.
"""

import pathlib
import re
import sys

NUMBER = re.compile(r"\b(?:HOST|MODULE)-\d+\b")
ROW = re.compile(r"\| ((?:HOST|MODULE)-\d+) \|(.*)\|$")
QUOTE = re.compile(r"(?://|#|/\*) ((?:(?:HOST|MODULE)-\d+(?:, )?)+)(?: \*/)?")
TEST = re.compile(r"TEST(?:_F|_P)?\((\w+), (\w+)\)")
COLUMNS = 4
# Where numbers are quoted beside the tests.
QUOTING = ("include/**/*.h", "docs/*.md", "*.md", "hooks/*", "src/**/*", "devhost/**/*")
TESTS = ("*.cpp", "*.c", "*.py")


def read_page(text):
    """{number: its tests}, and the faults of the page itself."""
    duties = {}
    faults = []
    for line in text.splitlines():
        row = ROW.match(line)
        if not row:
            continue
        number, cells = row[1], [cell.strip() for cell in re.split(r"(?<!\\)\|", row[2])]
        if number in duties:
            faults.append(f"{number} stands twice")
        if len(cells) != COLUMNS or not all(cells[:-1]):
            faults.append(f"{number} leaves a column empty")
        duties[number] = set(re.findall(r"`([^`]+)`", cells[-1]))
        if not duties[number]:
            faults.append(f"{number} names no test")
    for prefix in ("HOST-", "MODULE-"):
        numbers = [int(n.removeprefix(prefix)) for n in duties if n.startswith(prefix)]
        if numbers != sorted(numbers) or not numbers:
            faults.append(f"the numbers of {prefix} do not ascend")
    return duties, faults


def read_tests(name, text):
    """(number, test) of each quote; a test of None is a quote that stands at none."""
    lines = text.splitlines()
    for place, line in enumerate(lines):
        quote = QUOTE.fullmatch(line)
        if not quote:
            continue
        below = TEST.match(lines[place + 1]) if place + 1 < len(lines) else None
        test = f"{below[1]}.{below[2]}" if below else None
        if not below and place == (1 if lines[0].startswith("#!") else 0):
            test = pathlib.PurePath(name).stem
        for number in NUMBER.findall(quote[1]):
            yield number, test


def compare(page, tests, others):
    """The faults of a page, beside {name: text} of tests and of other files."""
    duties, faults = read_page(page)
    quoted = {number: set() for number in duties}
    for name, text in tests.items():
        for number, test in read_tests(name, text):
            if number not in duties:
                faults.append(f"{name} quotes {number}, which is no duty")
            elif test is None:
                faults.append(f"{name} quotes {number} where there is no test")
            else:
                quoted[number].add(test)
    for number, named in duties.items():
        faults += [f"{number} names {test}, which does not quote it"
                   for test in sorted(named - quoted[number])]
        faults += [f"{number} is quoted by {test}, which its row does not name"
                   for test in sorted(quoted[number] - named)]
    for name, text in others.items():
        faults += [f"{name} quotes {number}, which is no duty"
                   for number in sorted(set(NUMBER.findall(text)) - set(duties))]
    return faults


def read_files(root, patterns):
    files = {path for pattern in patterns for path in root.glob(pattern) if path.is_file()}
    return {str(path.relative_to(root)): path.read_text(encoding="utf-8", errors="replace")
            for path in sorted(files)}


def check(root):
    page = (root / "docs/duties.md").read_text(encoding="utf-8")
    tests = read_files(root, [f"tests/**/{pattern}" for pattern in TESTS])
    tests = {name: text for name, text in tests.items() if not name.startswith("tests/docs/")}
    faults = compare(page, tests, read_files(root, QUOTING))
    print(*faults, f"{len(read_page(page)[0])} duties", sep="\n")
    return 1 if faults else 0


def check_self():
    page = ("| HOST-1 | do | else | no | `A.B`, `program` |\n"
            "| HOST-3 | do | else | no | `A.C` |\n"
            "| MODULE-1 | do | else | no | `A.C` |\n")
    tests = {"a.cpp": "// HOST-1\nTEST_F(A, B) {\n// HOST-3, MODULE-1\nTEST(A, C) {\n",
             "program.c": "/* HOST-1 */\nint main;\n"}
    wrong = [
        (page + "| HOST-4 | do | else | no | none |\n", tests, {}, "HOST-4 names no test"),
        (page + "| HOST-3 | do | else | no | `A.C` |\n", tests, {}, "HOST-3 stands twice"),
        (page + "| MODULE-2 | do | | no | `A.C` |\n", tests, {}, "MODULE-2 leaves a column empty"),
        ("| HOST-2 | do | else | no | `A.C` |\n" + page, tests, {}, "HOST-2 names A.C, which"),
        (page + "| HOST-2 | do | else | no | `A.C` |\n", tests, {}, "of HOST- do not ascend"),
        (page, tests | {"b.cpp": "// HOST-9\nTEST(B, A)\n"}, {}, "b.cpp quotes HOST-9"),
        (page, tests | {"b.cpp": "int b;\n// HOST-1\nint c;\n"}, {}, "where there is no test"),
        (page, tests | {"b.cpp": "// HOST-1\nTEST(B, A)\n"}, {}, "HOST-1 is quoted by B.A"),
        (page, {"a.cpp": tests["a.cpp"]}, {}, "HOST-1 names program, which does not quote it"),
        (page, tests, {"x.h": "/* see HOST-2 */"}, "x.h quotes HOST-2, which is no duty"),
    ]
    bad = compare(page, tests, {"x.h": "/* HOST-1 */"})
    bad += [f"not found: {fault}" for *texts, fault in wrong
            if not any(fault in found for found in compare(*texts))]
    print(*bad, f"{len(wrong)} kinds of fault", sep="\n")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(check_self() if "--self" in sys.argv else check(pathlib.Path(sys.argv[1])))
