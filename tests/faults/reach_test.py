#!/usr/bin/env python3
"""Nothing of the library that can fail is left out of the tests in this folder.

    reach_test.py allocations --library LIBRARY --list allocating_functions.list --tests FOLDER
                  --nm NM --objdump OBJDUMP --cxxfilt CXXFILT
    reach_test.py platform --library LIBRARY --list platform_calls.list --tests FOLDER --nm NM

allocations: the exported functions from which an allocation can be reached, by the calls in the
machine code of a library built without optimisation, are those of the list; and the
test that the list names for each exists.

platform: the functions of the C and C++ libraries that the built library calls are those of the
list.

Prints one line for each fault and exits with 1 if there is one.
"""

import argparse
import pathlib
import re
import subprocess
import sys

# Where memory comes from: the host's, and the ordinary allocator's.
SOURCES = {"hook": r"DXR_Malloc$", "new": r"(_Znwm|_Znam)\w*(@plt)?$"}

# Calls through a node's table, by demangled name. Find and the destructors allocate nothing.
VIRTUAL = {"DXR_GetMessageFilterStr": "Dxr::MessageFilterComposite::GetFilterStr("}

FUNCTION = re.compile(r"^([0-9a-f]+) <(.+)>:$")
# A call, a jump out of the function, or an address taken.
EDGE = re.compile(r"\t(?:call|jmp|bnd jmp|lea)\s.*?([0-9a-f]+) <([^>+]+)>")


def run(*command, text=None):
    done = subprocess.run(command, input=text, capture_output=True, text=True, check=True)
    return done.stdout


class Calls:
    """The functions of a library by address, and the addresses that each mentions."""

    def __init__(self, objdump, library):
        self.names = {}
        self.edges = {}
        here = None
        for line in run(objdump, "-d", "--no-show-raw-insn", library).splitlines():
            head = FUNCTION.match(line)
            if head:
                here = int(head[1], 16)
                self.names[here] = head[2]
                self.edges[here] = set()
                continue
            edge = EDGE.search(line)
            if edge and here is not None:
                target = int(edge[1], 16)
                self.edges[here].add(target)
                self.names.setdefault(target, edge[2])

    def add(self, source, target):
        self.edges.setdefault(source, set()).add(target)

    def reaching(self, pattern):
        """The addresses of all functions from which one with such a name is reached."""
        callers = {}
        for source, targets in self.edges.items():
            for target in targets:
                callers.setdefault(target, set()).add(source)
        todo = [address for address, name in self.names.items() if re.match(pattern, name)]
        found = set(todo)
        while todo:
            for caller in callers.get(todo.pop(), ()):
                if caller not in found:
                    found.add(caller)
                    todo.append(caller)
        return found


def exported(nm, cxxfilt, library):
    """Demangled name to address."""
    symbols = [line.split() for line in run(nm, "-D", "--defined-only", library).splitlines()]
    functions = [(int(at, 16), name.split("@")[0]) for at, kind, name in symbols if kind in "TW"]
    plain = run(cxxfilt, text="\n".join(name for _, name in functions)).splitlines()
    return {in_short(name): at for name, (at, _) in zip(plain, functions)}


def in_short(name):
    """As a programmer would write it."""
    name = name.replace(
        "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >",
        "std::string",
    )
    pair = "std::pair<unsigned int, unsigned int>"
    return name.replace(f"std::vector<{pair}, std::allocator<{pair} > >", f"std::vector<{pair}>")


def entries(path):
    for line in path.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            yield line.split(None, 2)


def missing_test(folder, name, test):
    file, case = test.split(":")
    fixture, case = case.split(".")
    source = (folder / f"{file}.cpp").read_text(encoding="utf-8")
    if not re.search(rf"\bTEST_F\({fixture}, {case}\)", source):
        yield f"{name}: there is no test {test}"


def check_allocations(arguments):
    calls = Calls(arguments.objdump, arguments.library)
    exports = exported(arguments.nm, arguments.cxxfilt, arguments.library)
    for caller, callee in VIRTUAL.items():
        for name, address in exports.items():
            if name.startswith(callee):
                calls.add(exports[caller], address)

    found = set()
    for kind, pattern in SOURCES.items():
        reaching = calls.reaching(pattern)
        found |= {(kind, name) for name, address in exports.items() if address in reaching}
    listed = {}
    for test, kind, name in entries(arguments.list):
        listed[(kind, name)] = test
    for kind, name in sorted(found - set(listed)):
        yield f"{name} allocates ({kind}) and is not listed"
    for kind, name in sorted(set(listed) - found):
        yield f"{name} is listed ({kind}) and does not allocate"
    for (_, name), test in sorted(listed.items()):
        yield from missing_test(arguments.tests, name, test)
    print(f"{len(found)} of {len(exports)} exported functions allocate")


def check_platform(arguments):
    called = set()
    for line in run(arguments.nm, "-D", "--undefined-only", arguments.library).splitlines():
        name = line.split()[-1].split("@")[0]
        fortified = re.fullmatch(r"__(\w+)_chk", name)
        called.add(fortified[1] if fortified else name)
    listed = set()
    for name, test, *_ in entries(arguments.list):
        listed.add(name)
        if test != "-":
            yield from missing_test(arguments.tests, name, test)
    for name in sorted(called - listed):
        yield f"the library calls {name}, which is not listed"
    print(f"{len(called)} functions of the platform")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("check", choices=["allocations", "platform"])
    parser.add_argument("--library", required=True)
    parser.add_argument("--list", required=True, type=pathlib.Path)
    parser.add_argument("--tests", required=True, type=pathlib.Path)
    parser.add_argument("--nm", required=True)
    parser.add_argument("--objdump")
    parser.add_argument("--cxxfilt")
    arguments = parser.parse_args()
    check = check_allocations if arguments.check == "allocations" else check_platform
    faults = list(check(arguments))
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
