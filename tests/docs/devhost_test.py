#!/usr/bin/env python3
"""What the page of the development host lists is what there is.

    devhost_test.py ROOT

Its tables: the slots of each group that are filled, the points that can be made to fail, the files.
And the picture of the README counts slots, groups and dispatchers as they are.
"""

import pathlib
import re
import sys

import yaml


def rows(text, head):
    """The cells of the table whose head begins so."""
    for line in text[text.index(f"| {head} |"):].splitlines()[2:]:
        if not line.startswith("|"):
            return
        yield [cell.strip() for cell in line.strip("|").split("|")]


def points_told(text):
    """Of "`.a` and `.b` after `x`, `y`" x.a, x.b, y.a and y.b are meant."""
    for _, cell in rows(text, "service | points"):
        for clause in cell.split(";"):
            names = re.findall(r"`([a-z0-9.]+)`", clause)
            endings = [name for name in names if name.startswith(".")] or [""]
            yield from (name + ending for name in names if not name.startswith(".")
                        for ending in endings)


def points_made(header):
    """Those of the list, which has all that services can name."""
    return re.findall(r'^    "([a-z0-9.]+)",$', header, re.M)


def slots_told(text):
    """{group: (filled, all)}"""
    return {group: (int(filled), int(count))
            for row in rows(text, "service | header | slots")
            for group, filled, count in [re.fullmatch(r"(\w+) (\d+) of (\d+)", row[2]).groups()]}


def slots_made(groups, sources):
    """The same as the functions that fill the table have it."""
    assigned = set(re.findall(r"\bhooks\.(\w+(?:\.\w+)?) =\s", "".join(sources.values())))
    for group in groups:
        members = [slot["member"] for slot in group["slots"]]
        filled = sum(1 for member in members
                     if {member, f"{group['member']}.{member}"} & assigned)
        if filled:
            yield group["name"], (filled, len(members))


def picture(root, groups):
    """What the README's picture has to say and does not."""
    slots = [slot for group in groups for slot in group["slots"]]
    dispatchers = sum(1 for slot in slots if "prototype" in slot)
    text = (root / "README.md").read_text(encoding="utf-8")
    return [f"README.md does not say: {said}" for said in (
        f"{dispatchers} dispatchers", f"{len(slots)} function pointers in {len(groups)} groups")
        if said not in text]


def main(root):
    text = (root / "docs/devhost.md").read_text(encoding="utf-8")
    sources = {path.name: path.read_text(encoding="utf-8")
               for path in sorted((root / "devhost").glob("*.cpp"))}
    wrong = []
    made = points_made((root / "devhost/fault_points.h").read_text(encoding="utf-8"))
    wrong += [f"the point {name} is of no service" for name in made
              if not any(f'"{name}"' in source for source in sources.values())]
    if made != sorted(set(made)):
        wrong.append("the list of points is out of order")
    told, made = set(points_told(text)), set(made)
    wrong += [f"there is no point {name}" for name in sorted(told - made)]
    wrong += [f"the point {name} is not told" for name in sorted(made - told)]
    groups = yaml.safe_load((root / "hooks/slots.yaml").read_text(encoding="utf-8"))
    slots, filled = slots_told(text), dict(slots_made(groups, sources))
    wrong += [f"{group}: {slots.get(group)} slots are told, {filled.get(group)} are filled"
              for group in sorted(slots.keys() | filled.keys())
              if slots.get(group) != filled.get(group)]
    total = sum(count for count, _ in filled.values())
    wrong += picture(root, groups)
    if f"\n{total} of the 226 slots in all." not in text:
        wrong.append(f"{total} slots are filled in all")
    for header in re.findall(r"`(\w+\.h)`", "".join(
            row[1] for row in rows(text, "service | header | slots"))):
        if not (root / "include/dxr_devhost" / header).exists():
            wrong.append(f"there is no header {header}")
    for row in rows(text, "file | holds"):
        for pattern in re.findall(r"`([\w.*]+)`", row[0]):
            if not list((root / "devhost").glob(pattern)):
                wrong.append(f"there is no file {pattern}")
    print("\n".join(wrong + [f"{len(made)} points, {total} slots, {len(wrong)} wrong"]))
    return 1 if wrong or not told or not slots else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
