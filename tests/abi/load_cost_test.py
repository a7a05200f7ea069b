#!/usr/bin/env python3
"""What a process pays for loading the library: relocations, code and constants, written memory.

    load_cost_test.py --library LIBRARY --readelf READELF
"""

import argparse
import re
import subprocess
import sys

# Of these the hardening takes 4 and 3 KiB: guarded frames and checked calls. The comparison of
# bitmaps with AVX-512 takes 1 KiB, the formatter 10 KiB, most of it for what may stand between the
# % of a conversion and its letter.
MOST_RELOCATIONS = 70
MOST_READ_ONLY_BYTES = 137 * 1024
MOST_INITIALISED_BYTES = 256  # exported objects that begin with a value other than zero


def read(readelf, option, library):
    return subprocess.run(
        [readelf, option, "-W", library], capture_output=True, text=True, check=True
    ).stdout


def sections(text):
    """Name to (size, flags) of what is loaded."""
    row = re.compile(
        r"^ +\[ *\d+\] (\S+) +\S+ +[0-9a-f]+ [0-9a-f]+ ([0-9a-f]+) [0-9a-f]+ +([A-Z]*)"
    )
    rows = [row.match(line) for line in text.splitlines()]
    return {r[1]: (int(r[2], 16), r[3]) for r in rows if r and "A" in r[3]}


def faults(relocations, loaded):
    looked_up = re.findall(r"^[0-9a-f]+ +[0-9a-f]+ +(R_\w+)", relocations, re.M)
    if not looked_up:
        yield "no relocation was found at all"
    if len(looked_up) > MOST_RELOCATIONS:
        yield f"{len(looked_up)} relocations, at most {MOST_RELOCATIONS}\n{relocations}"
    read_only = sum(size for size, flags in loaded.values() if "W" not in flags)
    if read_only >= MOST_READ_ONLY_BYTES:
        yield f"{read_only} bytes of code and constants, less than {MOST_READ_ONLY_BYTES} wanted"
    # Tables that nobody touches cost nothing if they begin as zeros.
    initialised = loaded[".data"][0]
    if initialised > MOST_INITIALISED_BYTES:
        yield f"{initialised} bytes of initialised data, at most {MOST_INITIALISED_BYTES}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--library", required=True)
    parser.add_argument("--readelf", required=True)
    arguments = parser.parse_args()
    found = list(
        faults(
            read(arguments.readelf, "-r", arguments.library),
            sections(read(arguments.readelf, "-S", arguments.library)),
        )
    )
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
