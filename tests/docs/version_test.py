#!/usr/bin/env python3
"""The version is the same wherever it shows, and the list of changes begins with it.

    version_test.py ROOT BUILT [FILE...]

BUILT is the build's number; each FILE, made by the build, has to name it.
"""

import pathlib
import re
import sys


def main(root, built, files):
    wrong = []
    header = (root / "include/dxr/version.h").read_text(encoding="utf-8")
    parts = dict(re.findall(r"^#define DXR_API_VERSION_(MAJOR|MINOR|PATCH) (\d+)$", header,
                            flags=re.MULTILINE))
    version = ".".join(parts.get(name, "?") for name in ("MAJOR", "MINOR", "PATCH"))
    if version != built:
        wrong.append(f"the header says {version}, the build {built}")
    if any(int(number) > 999 for number in list(parts.values())[1:]):
        wrong.append(f"{version} has a part above 999")

    changes = (root / "CHANGELOG.md").read_text(encoding="utf-8")
    headings = re.findall(r"^## (Next: )?(\d+)\.(\d+)\.(\d+)( \(\d{4}-\d\d-\d\d\))?$", changes,
                          flags=re.MULTILINE)
    if len(headings) != len(re.findall(r"^## ", changes, flags=re.MULTILINE)) or not headings:
        wrong.append('CHANGELOG.md: a heading is neither "Next: 1.2.3" nor "1.2.3 (2026-12-31)"')
    else:
        numbers = [tuple(int(part) for part in heading[1:4]) for heading in headings]
        if numbers != sorted(set(numbers), reverse=True):
            wrong.append("CHANGELOG.md: its versions do not descend")
        if ".".join(headings[0][1:4]) != version:
            wrong.append(f"CHANGELOG.md does not begin with {version}")
        for place, (following, *_, date) in enumerate(headings):
            if bool(following) == bool(date) or (following and place):
                wrong.append("CHANGELOG.md: released versions, and they alone, have a date")

    for name in files:
        if version not in pathlib.Path(name).read_text(encoding="utf-8"):
            wrong.append(f"{name} does not name {version}")
    print(*wrong, version, sep="\n")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3:]))
