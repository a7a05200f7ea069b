#!/usr/bin/env python3
"""Every public header compiles alone, twice in a row, in each language it promises, and silently.

The headers of everything also do after macros of a host's own that bear the names of attributes,
and in C++20. An older C++ gets one error, and a result that nobody else keeps may not be dropped.

    headers_test.py --include DIR --c COMPILER... --cxx COMPILER...
"""

import argparse
import concurrent.futures
import os
import pathlib
import subprocess
import sys

WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Wundef", "-Werror"]
C_WARNINGS = ["-Wstrict-prototypes"]
# The standard headers come first: they are no business of ours.
MACROS = "#include <stdbool.h>\n#include <stddef.h>\n#include <stdint.h>\n" + "".join(
    f"#define {name} of_the_host\n" for name in ("printf", "format", "visibility", "packed"))
CXX_MACROS = "".join(
    f"#include <{name}>\n" for name in ("memory", "string", "utility", "vector")) + MACROS
# Who drops the result of one of these has a leak.
DROPPED = ("DXR_Malloc(9, 1, __FILE__, 1)", "DXR_CreateLinkBitMap(1, 1)",
           "DXR_CreateMessageFilter(info, 1)", "DxrHostCreate(NULL)",
           "DxrHostCreateFromFile(NULL, NULL, 0)")
CXX_WARNINGS = ["-Wold-style-cast", "-Wnon-virtual-dtor", "-Woverloaded-virtual"]


def compile_alone(compiler, language, standard, include, header, macros):
    """The compiler's complaint, or None. Included twice: the second time must add nothing."""
    text = macros + f'#include "{header}"\n' * 2
    # A translation unit must hold something in pedantic C.
    text += "extern int used;\n"
    warnings = WARNINGS + (C_WARNINGS if language == "c" else CXX_WARNINGS)
    command = [compiler, "-x", language, f"-std={standard}", *warnings, f"-I{include}",
               "-fsyntax-only", "-"]
    result = subprocess.run(command, input=text, capture_output=True, text=True, check=False)
    if result.returncode == 0:
        return None
    after = " after a host's macros" if macros else ""
    return f"{header} does not compile alone{after} as {standard} with {compiler}:\n{result.stderr}"


def refuse(compiler, standard, include):
    """Complains unless the only error is the line that says what the headers need."""
    command = [compiler, "-x", "c++", f"-std={standard}", f"-I{include}", "-fsyntax-only", "-"]
    result = subprocess.run(command, input='#include "dxr_api.h"\n', capture_output=True, text=True,
                            check=False)
    errors = [line for line in result.stderr.splitlines() if " error: " in line]
    if result.returncode != 0 and len(errors) == 1 and "needs C++17" in errors[0]:
        return None
    return f"{compiler} with {standard} does not say what is needed: {result.stderr}"


def refuse_to_drop(compiler, language, standard, include):
    """Complains unless there is one warning a call."""
    text = ('#include "dxr_devhost.h"\nvoid Drop(const DxrMessageFilterInfo *info);\n'
            "void Drop(const DxrMessageFilterInfo *info) {\n" + "".join(
                f"    {call};\n" for call in DROPPED) + "}\n")
    command = [compiler, "-x", language, f"-std={standard}", "-Wall", f"-I{include}",
               "-S", "-o", "/dev/null", "-"]  # GCC looks at C only when it makes code
    result = subprocess.run(command, input=text, capture_output=True, text=True, check=False)
    warned = [line for line in result.stderr.splitlines()
              if "Wunused-result" in line or "ignoring return value" in line]
    if result.returncode == 0 and len(warned) == len(DROPPED):
        return None
    return f"{compiler} with {standard} lets results drop: {len(warned)} warnings\n{result.stderr}"


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--include", required=True, type=pathlib.Path)
    parser.add_argument("--c", nargs="+", default=[])
    parser.add_argument("--cxx", nargs="+", default=[])
    options = parser.parse_args()

    headers = sorted(
        str(path.relative_to(options.include)) for path in options.include.rglob("*.h"))
    if "dxr_api.h" not in headers:
        sys.exit(f"no dxr_api.h in {options.include}")
    umbrellas = [header for header in headers if "/" not in header]
    # Whether a header includes what it needs, the first compiler tells; those that include all the
    # others have all that another compiler or standard may stumble on.
    jobs = [(compile_alone, compiler, "c", "c11", options.include, header, macros)
            for number, compiler in enumerate(options.c)
            for names, macros in ((umbrellas if number else headers, ""), (umbrellas, MACROS))
            for header in names]
    jobs += [(compile_alone, compiler, "c++", standard, options.include, header, macros)
             for number, compiler in enumerate(options.cxx)
             for standard, names, macros in (("c++17", umbrellas if number else headers, ""),
                                             ("c++17", umbrellas, CXX_MACROS),
                                             ("c++20", umbrellas, CXX_MACROS))
             for header in names]
    jobs += [(refuse, compiler, standard, options.include)
             for compiler in options.cxx for standard in ("c++11", "c++14")]
    jobs += [(refuse_to_drop, compiler, "c", "c11", options.include) for compiler in options.c]
    jobs += [(refuse_to_drop, compiler, "c++", "c++17", options.include)
             for compiler in options.cxx]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        complaints = [text for text in pool.map(lambda job: job[0](*job[1:]), jobs) if text]
    for complaint in complaints:
        print(complaint)
    passed = len(jobs) - len(complaints)
    print(f"{passed} of {len(jobs)} compilations of {len(headers)} headers passed")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
