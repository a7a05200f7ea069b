#!/usr/bin/env python3
"""Every public header compiles alone, twice in a row, in each language it promises, and silently.

The headers of everything also do after macros of a host's own that bear the names of attributes.

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
    jobs = [(compiler, "c", "c11", options.include, header, macros) for compiler in options.c
            for names, macros in ((headers, ""), (umbrellas, MACROS)) for header in names]
    jobs += [(compiler, "c++", standard, options.include, header, macros)
             for compiler in options.cxx for standard in ("c++17", "c++20")
             for names, macros in ((headers, ""), (umbrellas, CXX_MACROS)) for header in names]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        complaints = [text for text in pool.map(lambda job: compile_alone(*job), jobs) if text]
    for complaint in complaints:
        print(complaint)
    passed = len(jobs) - len(complaints)
    print(f"{passed} of {len(jobs)} compilations of {len(headers)} headers passed")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
