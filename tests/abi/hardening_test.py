#!/usr/bin/env python3
"""What the built files bring against a mistake in the code, read from the files themselves.

    hardening_test.py --readelf READELF [--fortified] [--landing PROCESSOR [--noted]] FILE
    hardening_test.py --readelf READELF --compiler CXX

Prints one line for each fault and exits with 1 if there is one. With --fortified, calls of the C
library that check sizes are expected; with --landing, functions that begin with the processor's
landing instruction; with --noted, that the file as a whole says so. The second form builds small
libraries that lack one protection each, and sees that just that is found.
"""

import argparse
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

READ_ONLY_AFTER_LOAD = (".data.rel.ro", ".init_array", ".fini_array", ".dynamic", ".got",
                        ".got.plt")
# The system's start files, and the part of its library that is linked in, are not compiled here.
NOT_OURS = {"_start", "_init", "_fini", "__pthread_atfork"}
LANDING = {"x86_64": (bytes.fromhex("f30f1efa"),),
           # bti c, paciasp
           "aarch64": (bytes.fromhex("5f2403d5"), bytes.fromhex("3f2303d5"))}
NOTE = {"x86_64": ("IBT", "SHSTK")}


g_readelf = "readelf"


def readelf(option, file):
    return subprocess.run(
        [g_readelf, option, "-W", file], capture_output=True, text=True, check=True
    ).stdout


def segments(file):
    """Type, address, size in memory and flags of each segment."""
    row = re.compile(
        r"^  (\w+) +0x\w+ 0x(\w+) 0x\w+ 0x\w+ 0x(\w+) ([RWE ]{3}) 0x", re.M)
    return [(kind, int(address, 16), int(size, 16), flags)
            for kind, address, size, flags in row.findall(readelf("-l", file))]


def sections(file):
    """Name to address, offset and size of what is loaded."""
    row = re.compile(r"^ +\[ *\d+\] (\S+) +\S+ +(\w+) (\w+) (\w+) \w+ +\w*A", re.M)
    return {name: tuple(int(number, 16) for number in numbers)
            for name, *numbers in row.findall(readelf("-S", file))}


def symbols(file):
    """Name, type, binding, section and address of each symbol."""
    row = re.compile(r"^ +\d+: (\w+) +\d+ (\w+) +(\w+) +\w+ +(\w+) (\S+)", re.M)
    return [(name.split("@")[0], kind, binding, section, int(address, 16))
            for address, kind, binding, section, name in row.findall(readelf("-s", file))]


def relocation_faults(file):
    dynamic = readelf("-d", file)
    if not re.search(r"\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW", dynamic):
        yield "names are looked up at the first call, not at load"
    if "TEXTREL" in dynamic:
        yield "code is written at load"
    protected = [(address, address + size)
                 for kind, address, size, _ in segments(file) if kind == "GNU_RELRO"]
    if not protected:
        yield "nothing is read-only after load"
        return
    for name, (address, _, size) in sections(file).items():
        if name in READ_ONLY_AFTER_LOAD and not any(
                begin <= address and address + size <= end for begin, end in protected):
            yield f"{name} stays writable after load"


def memory_faults(file):
    stacks = [flags for kind, _, _, flags in segments(file) if kind == "GNU_STACK"]
    if not stacks:
        yield "does not say that the stack holds no code"
    for flags in stacks:
        if "E" in flags:
            yield "the stack may hold code"
    if any("W" in flags and "E" in flags
           for kind, _, _, flags in segments(file) if kind == "LOAD"):
        yield "a segment is both written and run"
    if not re.search(r"Type: +DYN", readelf("-h", file)):
        yield "is bound to fixed addresses"


def call_faults(file, fortified):
    imported = {name for name, _, _, section, _ in symbols(file) if section == "UND"}
    if "__stack_chk_fail" not in imported:
        yield "no function guards its frame"
    if fortified and not any(name.endswith("_chk") for name in imported):
        yield "no call of the C library checks its sizes"


def landing_faults(file, machine, noted):
    content = pathlib.Path(file).read_bytes()
    begin, offset, size = sections(file)[".text"]
    functions = {(name, address) for name, kind, binding, section, address in symbols(file)
                 if kind == "FUNC" and binding in ("GLOBAL", "WEAK") and section != "UND" and
                 begin <= address < begin + size and name not in NOT_OURS}
    if not functions:
        yield "no function was found"
    for name, address in sorted(functions):
        place = address - begin + offset
        if content[place:place + 4] not in LANDING[machine]:
            yield f"{name} does not begin with a landing instruction"
    if noted:
        properties = readelf("-n", file)
        for note in NOTE[machine]:
            if not re.search(rf"feature: .*\b{note}\b", properties):
                yield f"does not say {note}"


def faults(file, fortified, machine, noted):
    yield from relocation_faults(file)
    yield from memory_faults(file)
    yield from call_faults(file, fortified)
    if machine:
        yield from landing_faults(file, machine, noted)


SMALL_LIBRARY = r"""
#include <cstring>
extern "C" void Copy(char *to, const char *from, unsigned long size) {
    char between[64];
    std::memcpy(between, from, size);
    std::memcpy(to, between, sizeof between);
}
extern "C" void (*const g_functions[])(char *, const char *, unsigned long) = {Copy};
__asm__("CODE");
"""
FLAGS = ["-O2", "-fPIC", "-shared", "-nostartfiles", "-fstack-protector-strong",
         "-U_FORTIFY_SOURCE", "-D_FORTIFY_SOURCE=2", "-fcf-protection=full", "-Wl,-z,relro",
         "-Wl,-z,now", "-Wl,-z,noexecstack"]


class SeesWhatIsMissing(unittest.TestCase):
    compiler = ""

    def build(self, *more, code=""):
        with tempfile.TemporaryDirectory(prefix="dxr_hardening_") as directory:
            source = pathlib.Path(directory, "small.cpp")
            source.write_text(SMALL_LIBRARY.replace("CODE", code), encoding="ascii")
            library = pathlib.Path(directory, "libsmall.so")
            subprocess.run([self.compiler, *FLAGS, *more, source, "-o", library], check=True,
                           stderr=subprocess.DEVNULL)
            return list(faults(library, True, "x86_64", True))

    def test_nothing(self):
        self.assertEqual(self.build(), [])

    def test_late_binding(self):
        self.assertIn("names are looked up at the first call, not at load",
                      self.build("-Wl,-z,lazy"))

    def test_writable_tables(self):
        self.assertEqual(self.build("-Wl,-z,norelro"), ["nothing is read-only after load"])

    def test_code_on_the_stack(self):
        self.assertEqual(self.build("-Wl,-z,execstack"), ["the stack may hold code"])

    def test_written_code(self):
        self.assertEqual(self.build("-Wl,-z,notext", code=".text; .quad Copy"),
                         ["code is written at load"])

    def test_code_in_data(self):
        self.assertEqual(self.build(code=r'.section .both, \"awx\"; .quad 0; .text'),
                         ["a segment is both written and run"])

    def test_unguarded_frames(self):
        self.assertEqual(self.build("-fno-stack-protector"), ["no function guards its frame"])

    def test_unchecked_sizes(self):
        self.assertEqual(self.build("-U_FORTIFY_SOURCE"),
                         ["no call of the C library checks its sizes"])

    def test_unmarked_functions(self):
        self.assertEqual(self.build("-fcf-protection=none"),
                         ["Copy does not begin with a landing instruction", "does not say IBT",
                          "does not say SHSTK"])

    def test_fixed_addresses(self):
        with tempfile.TemporaryDirectory(prefix="dxr_hardening_") as directory:
            source = pathlib.Path(directory, "small.cpp")
            source.write_text("int main() {}", encoding="ascii")
            program = pathlib.Path(directory, "small")
            subprocess.run([self.compiler, "-no-pie", source, "-o", program], check=True)
            self.assertIn("is bound to fixed addresses", memory_faults(program))


def main():
    global g_readelf
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--readelf", required=True)
    parser.add_argument("--compiler")
    parser.add_argument("--fortified", action="store_true")
    parser.add_argument("--landing", choices=LANDING)
    parser.add_argument("--noted", action="store_true")
    parser.add_argument("file", nargs="?")
    arguments = parser.parse_args()
    g_readelf = arguments.readelf
    if arguments.compiler:
        SeesWhatIsMissing.compiler = arguments.compiler
        return 0 if unittest.main(argv=[sys.argv[0]], exit=False).result.wasSuccessful() else 1
    if not arguments.file:
        parser.error("no file was given")
    found = list(
        faults(arguments.file, arguments.fortified, arguments.landing, arguments.noted)
    )
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
