#!/usr/bin/env python3
"""A project in C or C++ alone takes the library in, and has nothing of it but the library.

    subproject_test.py --source DIR --library FILE [OPTION ...]

By add_subdirectory and by FetchContent; as a shared library and as an archive; with flags that the
library's sources do not stand; with and without its own rules for installation, those into a
directory for one architecture. What is taken in
is the next MAJOR version: where it is installed, the built library of this one (FILE) stands beside
it, and programs of both have their own.
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

LIBDIR = "lib/some-linux-arch"


def run(*command, env=None):
    result = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, check=False,
                            env={**os.environ, **(env or {})})
    if result.returncode != 0:
        sys.exit(f"failed ({result.returncode}): {' '.join(map(str, command))}\n{result.stdout}")
    return result.stdout


def files(prefix):
    return {str(path.relative_to(prefix)) for path in prefix.rglob("*") if not path.is_dir()}


def next_version(source, copy):
    """The sources of the library with the next MAJOR number, which is returned."""
    copy.mkdir()
    shutil.copy(source / "CMakeLists.txt", copy)
    for folder in ("cmake", "include", "src"):
        shutil.copytree(source / folder, copy / folder)
    header = copy / "include/dxr/version.h"
    text = header.read_text(encoding="utf-8")
    number = int(re.search(r"VERSION_MAJOR (\d+)", text)[1]) + 1
    header.write_text(re.sub(r"(VERSION_MAJOR) \d+", rf"\1 {number}", text), encoding="utf-8")
    return number


def side_by_side(options, libdir, major, newer, work):
    """Two versions in one directory: a program runs with the one that it was built with."""
    names = [f"libdxr_api.so.{number}" for number in (major - 1, major)]
    if not options.library.name.startswith(f"{names[0]}."):
        sys.exit(f"{options.library} is not a {names[0]}")
    shutil.copy(options.library, libdir)
    (libdir / names[0]).symlink_to(options.library.name)
    older = work / "older consumer"
    run(options.cc, "-std=c11", f"-I{options.source}/include",
        options.source / "tests/consumer/consumer.c", "-o", older, f"-L{libdir}", f"-l:{names[0]}")
    env = {"LD_LIBRARY_PATH": str(libdir)}
    for program, name in zip((older, newer), names):
        run(program, env=env)
        loaded = re.findall(r"(libdxr_api\S*) => (\S+)", run("ldd", program, env=env))
        if loaded != [(name, str(libdir / name))]:
            sys.exit(f"{program} of {name} runs with {loaded}")
    if not (libdir / "libdxr_api.so").resolve().name.startswith(f"{names[1]}."):
        sys.exit("what is built next is not built with the newer library")


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--source", required=True, type=pathlib.Path)
    parser.add_argument("--library", required=True, type=pathlib.Path)
    parser.add_argument("--cmake", default="cmake")
    parser.add_argument("--generator", default="Ninja")
    parser.add_argument("--cc", default="cc")
    parser.add_argument("--cxx", default="c++")
    options = parser.parse_args()
    outside = options.source / "tests/consumer/subproject"
    installed = options.source / "tests/consumer/installed"

    with tempfile.TemporaryDirectory(prefix="dxr_subproject_") as folder:
        work = pathlib.Path(folder)

        newer = work / "newer"
        major = next_version(options.source, newer)

        def configure(source, build, *settings, library=newer):
            run(options.cmake, "-S", source, "-B", build, "-G", options.generator,
                f"-DCMAKE_C_COMPILER={options.cc}", f"-DCMAKE_CXX_COMPILER={options.cxx}",
                f"-DDXR_SOURCE={library}", "-DCMAKE_BUILD_TYPE=Debug", "-DOUTSIDE_LANGUAGE=C",
                *settings)

        # Without a type of build nothing may be asked of the compiler that needs one.
        build = work / "fetched"
        configure(outside, build, "-DFETCH=ON", "-DCMAKE_BUILD_TYPE=",
                  "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", library=options.source)
        commands = (build / "compile_commands.json").read_text(encoding="utf-8")
        if "dxr_memory.cpp" not in commands or "FORTIFY_SOURCE" in commands:
            sys.exit("the library is compiled as if it were optimised")

        # Warnings that nobody heeds here, and less of C++ than is used.
        flags = "-DCMAKE_CXX_FLAGS=-Werror -Wpadded -fno-exceptions -fno-rtti"
        build = work / "added"
        configure(outside, build, "-DDXR_BUILD_STATIC=ON", flags)
        run(options.cmake, "--build", build, "--parallel", "2")
        run(build / "out/consumer")
        run(build / "out/consumer_static")
        run(options.cmake, "--install", build, "--prefix", work / "alone")
        if files(work / "alone") != {"bin/consumer"}:
            sys.exit(f"the outside project installs {files(work / 'alone')}")

        configure(outside, build, "-DDXR_INSTALL=ON", f"-DCMAKE_INSTALL_LIBDIR={LIBDIR}")
        prefix = work / "both"
        run(options.cmake, "--install", build, "--prefix", prefix)
        wanted = {f"{LIBDIR}/libdxr_api.so", f"{LIBDIR}/libdxr_api.a", "include/dxr_api.h",
                  f"{LIBDIR}/pkgconfig/dxr_api.pc", f"{LIBDIR}/cmake/dxr_api/dxr_api-config.cmake"}
        if not wanted <= files(prefix):
            sys.exit(f"not installed: {wanted - files(prefix)}")
        build = work / "installed"
        configure(installed, build, "-DCONSUMER_LANGUAGE=C", "-DCOMPONENTS=static",
                  f"-DMAJOR={major}",
                  f"-Ddxr_api_DIR={prefix / LIBDIR / 'cmake/dxr_api'}")
        run(options.cmake, "--build", build)
        run(build / "consumer")
        run(build / "consumer_static")
        side_by_side(options, prefix / LIBDIR, major, build / "consumer", work)

        build = work / "C++ alone"
        configure(outside, build, "-DOUTSIDE_LANGUAGE=CXX")
        run(options.cmake, "--build", build, "--parallel", "2")
        run(build / "out/consumer")
    return 0


if __name__ == "__main__":
    sys.exit(main())
