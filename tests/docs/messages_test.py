#!/usr/bin/env python3
"""The operator's tables have every message of the library, word by word and with its level, and
every command of dxrsh.

    messages_test.py ROOT
"""

import pathlib
import re
import sys

LEVELS = {"kLevelFailure": "1", "kLevelOpenFailure": "2", "kLevelInfo": "6"}
CALL = re.compile(r"\bprint\((?:dxr::)?(kLevel\w+),\s*(?://[^\n]*\n\s*)?\"((?:[^\"\\]|\\.)*)\"")
ROW = re.compile(r"^\| (\d) \| `([^`]*)` \|", re.MULTILINE)
# Texts of modules, which the library only hands on.
HANDED_ON = {"%s"}


def commands(root, page):
    """How the page's commands differ from those that docs/dxrsh.md has a section for."""
    sections = re.findall(r"^## ([a-z, ]+)$",
                          (root / "docs/dxrsh.md").read_text(encoding="utf-8"), re.MULTILINE)
    described = {name for section in sections for name in section.split(", ")}
    told = set(re.findall(r"`(\w+)`", "".join(re.findall(
        r"^\| (`[^|]*) \|", page.split("\n## dxrsh in short\n")[1], re.MULTILINE))))
    return ([f"not told: dxrsh {name}" for name in sorted(described - told)]
            + [f"described nowhere: dxrsh {name}" for name in sorted(told - described)])


def main(root):
    printed = set()
    calls = 0
    for path in sorted((root / "src/dxr/api").rglob("*.cpp")):
        text = path.read_text(encoding="utf-8")
        calls += len(re.findall(r"\bprint\((?:dxr::)?kLevel", text))
        printed |= {(LEVELS[level], message) for level, message in CALL.findall(text)}
    printed = {(level, message) for level, message in printed if message not in HANDED_ON}
    page = (root / "docs/guide-operator.md").read_text(encoding="utf-8")
    told = set(ROW.findall(page))
    wrong = [f"not told: level {level}, {message}" for level, message in sorted(printed - told)]
    wrong += [f"never printed: level {level}, {message}"
              for level, message in sorted(told - printed)]
    wrong += commands(root, page)
    print(*wrong, f"{len(told)} messages, {calls} places that print", sep="\n")
    return 1 if wrong or not told else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
