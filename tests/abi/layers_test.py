#!/usr/bin/env python3
"""What a source may include follows from its folder: arrows point down.

    layers_test.py ROOT

For src/dxr/api and include/dxr, also: one way to name a header (from the include root), a source's
own header first, and the hook table read in one place. Prints one line for each fault and exits
with 1 if there is one.
"""

import argparse
import pathlib
import re
import sys

API = "src/dxr/api"

# Room to the rooms whose headers it may include; each may include its own.
MAY_INCLUDE = {
    "own logic": {"dxr", "internal", "kernels"},
    "dispatch": {"dxr", "internal"},
    "kernels": {"internal"},
    "internal": {"dxr"},
    "dxr": set(),
}

# Nobody outside reaches into the sources; tests do.
OUTSIDE = ("bench", "devhost", "examples", "figures", "tools", "trace")

# Own logic reaches the host through the exported dispatchers. What has none is read here.
READS_THE_TABLE = {f"{API}/internal/host_services.h"}
TABLE = re.compile(r"\b(g_dxrHooks|DXR_(RegisterHooks|Get\w*Hooks))\b")

# Sources whose header bears another stem.
HEADERS = {f"{API}/dispatch/getters.cpp": "dxr/hooks.h"}


def without_comments(text):
    return re.sub(r"//[^\n]*|/\*.*?\*/", " ", text, flags=re.DOTALL)


def includes(text):
    return re.findall(r'^\s*#\s*include\s*"([^"]*)"', text, re.MULTILINE)


def room_of(header):
    """The room of a header by the way it is named; None for a name that none has."""
    folder = header.rpartition("/")[0]
    if folder in ("dxr", "dispatch", "kernels", "internal"):
        return folder
    return "own logic" if re.fullmatch(r"dxr_\w+\.h", header) else None


class Tree:
    def __init__(self, root):
        self.root = root
        self.stems = {path.stem for path in (root / "include/dxr").glob("*.h")}

    def sources(self, *folders):
        for folder in folders:
            for path in sorted((self.root / folder).rglob("*")):
                if path.suffix in (".c", ".cpp", ".h"):
                    yield str(path.relative_to(self.root)), path.read_text()

    def exists(self, header):
        base = "include" if header.startswith("dxr/") else API
        return (self.root / base / header).is_file()

    def component(self, name):
        """dxr_print_log_filter_ring -> print_log_filter: the longest stem of a public header."""
        stem = pathlib.PurePath(name).stem.removeprefix("dxr_")
        while stem and stem not in self.stems:
            stem = stem.rpartition("_")[0]
        return stem

    def faults_of_includes(self, path, text):
        folder = path.removeprefix(f"{API}/").removeprefix("include/").rpartition("/")[0]
        room = folder or "own logic"
        serves = self.component(path)
        for header in includes(text):
            other = room_of(header)
            if other is None or not self.exists(header):
                yield f'{path}: "{header}" is not named from the include root'
            elif other != room and other not in MAY_INCLUDE[room]:
                yield f'{path}: {room} may not include "{header}"'
            elif other == "own logic" and not serves.startswith(self.component(header)):
                yield f'{path}: "{header}" serves another component'

    def faults_of_order(self, path, text):
        """A header that its own source includes first cannot rest on an earlier one."""
        stem = pathlib.PurePath(path).stem.removeprefix("dxr_")
        stem = re.sub(r"_avx\w+$", "", stem)  # a version for some processors
        folder = pathlib.PurePath(path).parent.name
        own = {f"dxr/{stem}.h", f"dxr_{stem}.h", f"{folder}/{stem}.h", HEADERS.get(path)}
        first = re.search(r'^#include [<"]([^">]*)', text, re.MULTILINE)
        if first is None or first[1] not in own:
            yield f"{path}: its own header does not come first"

    def faults(self):
        for path, text in self.sources(API, "include/dxr"):
            text = without_comments(text)
            yield from self.faults_of_includes(path, text)
            if path.endswith(".cpp"):
                yield from self.faults_of_order(path, text)
            is_below = path.startswith((f"{API}/dispatch/", "include/"))
            if not is_below and path not in READS_THE_TABLE:
                for name in sorted(set(match[0] for match in TABLE.finditer(text))):
                    yield f"{path}: {name} is for dispatch/ alone"
        for path, text in self.sources(*OUTSIDE):
            for header in includes(without_comments(text)):
                if room_of(header) not in (None, "dxr") and (self.root / API / header).is_file():
                    yield f'{path}: "{header}" is hidden in the library'


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("root", type=pathlib.Path)
    tree = Tree(parser.parse_args().root)
    files = list(tree.sources(API, "include/dxr"))
    faults = list(tree.faults())
    for fault in faults:
        print(fault)
    print(f"{len(files)} files, {len(faults)} faults")
    return 1 if faults or not files else 0


if __name__ == "__main__":
    sys.exit(main())
