#!/usr/bin/env python3
"""The machine code of the dispatchers: a call of the group getter, a load, a test and a jump.

    dispatch_code_test.py --library LIBRARY --slots hooks/slots.yaml --objdump OBJDUMP

Whole-program optimisation makes it so; a change of toolchain or flags that undoes it would go
unnoticed.
"""

import argparse
import re
import subprocess
import sys

import yaml


def disassemble(objdump, library):
    """Function name to its instructions."""
    text = subprocess.run(
        [objdump, "-d", "--no-show-raw-insn", library], capture_output=True, text=True, check=True
    ).stdout
    functions = {}
    for block in text.split("\n\n"):
        head = re.search(r"^[0-9a-f]+ <([^>]+)>:$", block, re.M)
        if head:
            functions[head[1]] = [
                line.split("\t", 1)[1].strip() for line in block.splitlines() if "\t" in line
            ]
    return functions


def faults(code, getter):
    calls = [line for line in code if line.startswith("call")]
    if len(calls) != 1 or not re.search(rf"<{getter}(@plt)?>", calls[0]):
        yield f"calls {calls} instead of {getter} alone"
    if not any(re.match(r"jmp\s+\*%r", line) for line in code):
        yield "does not jump to the hook"
    if any(line.startswith("push") for line in code):
        yield "saves a register"
    if any(re.match(r"mov\w*\s+%\w+,.*\(%rsp\)", line) for line in code):
        yield "spills an argument"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--library", required=True)
    parser.add_argument("--slots", required=True)
    parser.add_argument("--objdump", required=True)
    arguments = parser.parse_args()
    code = disassemble(arguments.objdump, arguments.library)
    checked = 0
    wrong = 0
    with open(arguments.slots, encoding="utf-8") as file:
        groups = yaml.safe_load(file)
    for group in groups:
        for slot in group["slots"]:
            if "prototype" not in slot or "own" in slot:
                continue
            function = re.search(r"DXR_\w+", slot["prototype"])[0]
            checked += 1
            for fault in faults(code.get(function, []), f"DXR_Get{group['name']}Hooks"):
                wrong += 1
                print(f"{function}: {fault}")
    print(f"{checked} dispatchers, {wrong} faults")
    return 1 if wrong or checked == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
