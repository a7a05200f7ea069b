#!/usr/bin/env python3
"""A project in C alone takes the library in as sources, and has nothing of it but the library.

    subproject_test.py --source DIR [OPTION ...]

By add_subdirectory and by FetchContent; as a shared library and as an archive; with and without the
library's own rules for installation, those into a directory for one architecture.
"""

import argparse
import pathlib
import subprocess
import sys
import tempfile

LIBDIR = "lib/some-linux-arch"


def run(*command):
    result = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"failed ({result.returncode}): {' '.join(map(str, command))}\n{result.stdout}")
    return result.stdout


def files(prefix):
    return {str(path.relative_to(prefix)) for path in prefix.rglob("*") if not path.is_dir()}


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--source", required=True, type=pathlib.Path)
    parser.add_argument("--cmake", default="cmake")
    parser.add_argument("--generator", default="Ninja")
    parser.add_argument("--cc", default="cc")
    parser.add_argument("--cxx", default="c++")
    options = parser.parse_args()
    outside = options.source / "tests/consumer/subproject"
    installed = options.source / "tests/consumer/installed"

    with tempfile.TemporaryDirectory(prefix="dxr_subproject_") as folder:
        work = pathlib.Path(folder)

        def configure(source, build, *settings):
            run(options.cmake, "-S", source, "-B", build, "-G", options.generator,
                f"-DCMAKE_C_COMPILER={options.cc}", f"-DCMAKE_CXX_COMPILER={options.cxx}",
                f"-DDXR_SOURCE={options.source}", "-DCMAKE_BUILD_TYPE=Debug", *settings)

        # Without a type of build nothing may be asked of the compiler that needs one.
        build = work / "fetched"
        configure(outside, build, "-DFETCH=ON", "-DCMAKE_BUILD_TYPE=",
                  "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON")
        commands = (build / "compile_commands.json").read_text(encoding="utf-8")
        if "dxr_memory.cpp" not in commands or "FORTIFY_SOURCE" in commands:
            sys.exit("the library is compiled as if it were optimised")

        build = work / "added"
        configure(outside, build, "-DDXR_BUILD_STATIC=ON")
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
                  f"-Ddxr_api_DIR={prefix / LIBDIR / 'cmake/dxr_api'}")
        run(options.cmake, "--build", build)
        run(build / "consumer")
        run(build / "consumer_static")
    return 0


if __name__ == "__main__":
    sys.exit(main())
