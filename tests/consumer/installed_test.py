#!/usr/bin/env python3
"""The installed library, moved to another place, serves CMake and pkg-config projects in C and C++.

    installed_test.py --build DIR --source DIR --cmake PROGRAM --generator NAME
                      --pkg-config PROGRAM --cc COMPILER
                      --cxx COMPILER [--flags FLAGS] [--devhost] [--trace]
"""

import argparse
import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile


def run(*command, env=None):
    result = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, check=False,
                            env={**os.environ, **(env or {})})
    if result.returncode != 0:
        sys.exit(f"failed ({result.returncode}): {' '.join(map(str, command))}\n{result.stdout}")
    return result.stdout


def install_and_move(options, work):
    """Installs under one prefix and moves the tree to another: nothing may remember the first."""
    first = work / "first prefix"
    run(options.cmake, "--install", options.build, "--prefix", first)
    moved = work / "somewhere" / "else"
    moved.parent.mkdir()
    shutil.move(first, moved)
    for path in (*moved.rglob("*.cmake"), *moved.rglob("*.pc")):
        text = path.read_text(encoding="utf-8")
        for place in (first, options.source, options.build):
            if str(place) in text:
                sys.exit(f"{path.relative_to(moved)} names {place}")
    return moved


def only(paths):
    found = sorted(paths)
    if len(found) != 1:
        sys.exit(f"expected one file, found {found}")
    return found[0]


def check_installed_files(prefix, source, devhost, trace):
    """Every public header is there as it is in the sources, each library under three names."""
    include = source / "include"
    tops = (["dxr_api.h", "dxr_module.h"] + ["dxr_devhost.h", "dxr_devhost_test.h"] * devhost
            + ["dxr_trace.h"] * trace)
    folders = ["dxr"] + ["dxr_devhost"] * devhost
    headers = [header for folder in folders for header in (include / folder).rglob("*.h")]
    for header in [*(include / top for top in tops), *headers]:
        name = header.relative_to(include)
        installed = prefix / "include" / name
        if not installed.is_file() or installed.read_bytes() != header.read_bytes():
            sys.exit(f"not installed: {name}")
    for stem in ["libdxr_api"] + ["libdxr_devhost"] * devhost + ["libdxr_trace"] * trace:
        library = only(prefix.rglob(f"{stem}.so.1.*.*"))
        for name in (f"{stem}.so.1", f"{stem}.so"):
            if (library.parent / name).resolve() != library.resolve():
                sys.exit(f"{name} does not lead to {library.name}")
    return library.parent


def consume_with_cmake(options, prefix, work):
    for language, compiler in (("C", options.cc), ("CXX", options.cxx)):
        build = work / f"cmake consumer {language}"
        run(options.cmake, "-S", options.source / "tests/consumer/installed", "-B", build,
            "-G", options.generator, f"-DCONSUMER_LANGUAGE={language}",
            f"-DDEVHOST={options.devhost}", f"-DTRACE={options.trace}",
            f"-DCMAKE_PREFIX_PATH={prefix}",
            f"-DCMAKE_{language}_COMPILER={compiler}", f"-DCMAKE_{language}_FLAGS={options.flags}")
        cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
        found = [line for line in cache.splitlines() if line.startswith("dxr_api_DIR:")]
        if not found or str(prefix) not in found[0]:
            sys.exit(f"another package than the installed one was found: {found}")
        run(options.cmake, "--build", build)
        run(build / "consumer")
        if options.devhost and language == "C":
            run(build / "hosted")
        if options.trace and language == "C":
            run(build / "traced")


def build_sample(options, prefix, work):
    """A sample module is a project of its own."""
    build = work / "sample"
    flags = [f"-DCMAKE_{language}_FLAGS={options.flags}" for language in ("C", "CXX")]
    run(options.cmake, "-S", options.source / "examples/link_monitor", "-B", build,
        "-G", options.generator, f"-DCMAKE_PREFIX_PATH={prefix}", *flags,
        f"-DCMAKE_C_COMPILER={options.cc}", f"-DCMAKE_CXX_COMPILER={options.cxx}")
    run(options.cmake, "--build", build)
    run(build / "link_monitor_test")
    if not (build / "link_monitor.so").is_file():
        sys.exit("the sample module was not built")


def consume_with_pkg_config(options, prefix, work, libdir):
    env = {"PKG_CONFIG_LIBDIR": str(only(prefix.rglob("dxr_api.pc")).parent)}
    if run(options.pkg_config, "--modversion", "dxr_api", env=env).strip() != options.version:
        sys.exit(f"pkg-config does not report version {options.version}")
    consumers = [(options.cc, "c11", "consumer.c", "dxr_api"),
                 (options.cxx, "c++17", "consumer.cpp", "dxr_api")]
    if options.devhost:
        consumers.append((options.cc, "c11", "hosted.c", "dxr_devhost"))
    if options.trace:
        consumers.append((options.cc, "c11", "traced.c", "dxr_trace"))
    for compiler, standard, source, package in consumers:
        arguments = shlex.split(run(options.pkg_config, "--cflags", "--libs", package, env=env))
        program = work / f"pkg-config {source}.out"
        run(compiler, f"-std={standard}", *options.flags.split(),
            options.source / "tests/consumer" / source, "-o", program, *arguments,
            f"-Wl,-rpath,{libdir}")
        run(program)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--source", required=True, type=pathlib.Path)
    parser.add_argument("--version", required=True)
    parser.add_argument("--cmake", default="cmake")
    parser.add_argument("--generator", required=True)
    parser.add_argument("--pkg-config", default="pkg-config")
    parser.add_argument("--cc", default="cc")
    parser.add_argument("--cxx", default="c++")
    parser.add_argument("--flags", default="", help="for the consumers, such as -fsanitize=address")
    parser.add_argument("--devhost", action="store_true",
                        help="the development host is installed too")
    parser.add_argument("--trace", action="store_true",
                        help="the tracing of hook calls is installed too")
    options = parser.parse_args()

    with tempfile.TemporaryDirectory(prefix="dxr_installed_") as folder:
        work = pathlib.Path(folder)
        prefix = install_and_move(options, work)
        libdir = check_installed_files(prefix, options.source, options.devhost, options.trace)
        consume_with_cmake(options, prefix, work)
        consume_with_pkg_config(options, prefix, work, libdir)
        if options.devhost:
            build_sample(options, prefix, work)
    return 0


if __name__ == "__main__":
    sys.exit(main())
