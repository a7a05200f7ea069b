#!/usr/bin/env python3
"""What the built libraries export, in the symbols files of their packages.

    debian/symbols.py VERSION BUILD          writes debian/*.symbols: what is new came with VERSION
    debian/symbols.py --check FILE LIBRARY   compares one of them with its library
"""

import pathlib
import re
import subprocess
import sys

DEBIAN = pathlib.Path(__file__).resolve().parent
LIBRARIES = {"api": "src/dxr/api", "devhost": "devhost", "trace": "trace"}


def exported(library):
    """NAME@NODE for each, as these files have it; Base without a node of the version script."""
    listed = subprocess.run(["nm", "-D", "--defined-only", "-f", "posix", library],
                            stdout=subprocess.PIPE, text=True, check=True).stdout
    names = [line.split()[0].partition("@") for line in listed.splitlines()]
    nodes = {node.lstrip("@") for _, _, node in names}  # which stand among the names, too
    return {f"{name}@{node.lstrip('@') or (name if name in nodes else 'Base')}"
            for name, _, node in names}


def noted(path):
    """The names of a symbols file, with the version that each came with."""
    text = path.read_text(encoding="utf-8") if path.exists() else ""
    return dict(re.findall(r"^ (\S+@\S+) (\S+)$", text, re.MULTILINE))


def write(version, build):
    for part, folder in LIBRARIES.items():
        library = f"libdxr_{part}.so"
        path = DEBIAN / f"libdxr-{part}1.symbols"
        since = noted(path)
        lines = [f"{library}.1 libdxr-{part}1 #MINVER#"]
        lines += [f" {name} {since.get(name, version)}"
                  for name in sorted(exported(pathlib.Path(build) / folder / library))]
        path.write_text("\n".join(lines) + "\n", encoding="utf-8")
        print(f"wrote {path.relative_to(DEBIAN.parent)}: {len(lines) - 1} names")


def check(path, library):
    names, wanted = exported(library), set(noted(pathlib.Path(path)))
    for name in sorted(names - wanted):
        print(f"{path} does not have {name}")
    for name in sorted(wanted - names):
        print(f"{library} does not have {name}")
    if names != wanted:
        print("If it is meant so, run scripts/package --symbols and commit the files.")
    return 0 if names == wanted and names else 1


def main(arguments):
    if len(arguments) == 3 and arguments[0] == "--check":
        return check(*arguments[1:])
    if len(arguments) != 2:
        sys.exit(__doc__)
    write(*arguments)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
