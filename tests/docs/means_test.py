#!/usr/bin/env python3
"""What hooks/slots.yaml says of argN in the development host is what that host's headers say.

    means_test.py ROOT

A function with parameters named argN has `means`, the names that its description in
include/dxr_devhost/ gives them, or stands in no such description. Where the list knows what a
parameter that is void * points to, the public header says it.
"""

import pathlib
import re
import sys

import yaml


def described(root):
    """{function: [names of the parameters, ...]} as the headers write calls."""
    calls = {}
    for path in sorted((root / "include/dxr_devhost").glob("*.h")):
        text = re.sub(r"\n \*\s*", " ", path.read_text(encoding="utf-8"))
        for function, names in re.findall(r"(DXR_\w+)\(([^()]*)\)", text):
            calls.setdefault(function, []).append([name.strip() for name in names.split(",")])
    return calls


def comments(root):
    """{function: the comment above its declaration} of the public headers."""
    found = {}
    for path in sorted((root / "include/dxr").glob("*.h")):
        text = re.sub(r"\n \*\s*", " ", path.read_text(encoding="utf-8"))
        found |= {function: comment for comment, function in re.findall(
            r"/\*((?:(?!\*/).)*)\*/\nDXR_API [^;()]*?(DXR_\w+)\(", text, re.DOTALL)}
    return found


def pointers(slot):
    """Of parameters that are void *, what stands in a generated comment: (name, direction)."""
    if "means" in slot or "own" in slot:
        return
    rules = {**slot.get("points", {}), **slot.get("devhost", {})}
    for name in re.findall(r"\bvoid \*(\w+)", slot.get("prototype", "")):
        if name in rules:
            yield name, rules[name].split()[0]


def main(root):
    calls = described(root)
    said = comments(root)
    checked = 0
    wrong = []
    slots = yaml.safe_load((root / "hooks/slots.yaml").read_text(encoding="utf-8"))
    for slot in (slot for group in slots for slot in group["slots"]):
        function, params = re.search(r"(DXR_\w+)\((.*)\)|$",
                                     slot.get("prototype", "")).groups()
        wrong += [f"{function}: its header does not say what {name} points to"
                  for name, direction in pointers(slot)
                  if function in said and f"{name} ({direction}, " not in said[function]]
        if not function or not re.search(r"\barg\d+\b", params):
            continue
        checked += 1
        means = [word.split()[-1] for word in slot.get("means", [])]
        if not means and function in calls:
            wrong.append(f"{function}: the development host serves it, but nothing is said of it")
        elif means and means not in calls.get(function, []):
            wrong.append(f"{function}({', '.join(means)}) is not how the headers describe it")
    if len(said) < 200:
        wrong.append(f"the headers have only {len(said)} functions with a comment")
    print(*wrong, f"{checked} functions with parameters named argN", sep="\n")
    return 1 if wrong or not checked else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
