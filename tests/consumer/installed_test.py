#!/usr/bin/env python3
"""The installed library serves programs of others, from wherever it was moved to.

    installed_test.py --build DIR --components NAME ... [OPTION ...]    what a build installs
    installed_test.py --prefix /usr --components NAME ... [OPTION ...]  what packages have installed

CMake in C++ and in C alone, a project that others take in with what it needs, pkg-config in C and
C++, a program that loads the library while it runs, one at a fixed address that holds the library's
data itself, one that is a single file; and dxrsh starts. The Debian packages have each header
where it is looked for.
"""

import argparse
import concurrent.futures
import fnmatch
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
        raise RuntimeError(
            f"failed ({result.returncode}): {' '.join(map(str, command))}\n{result.stdout}")
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
                raise RuntimeError(f"{path.relative_to(moved)} names {place}")
    return moved


def only(paths):
    found = sorted(paths)
    if len(found) != 1:
        raise RuntimeError(f"expected one file, found {found}")
    return found[0]


def header_component(name):
    for component in ("devhost", "trace"):
        if name.startswith(f"dxr_{component}"):
            return component
    return "api"


def check_installed_files(options, prefix):
    """Every public header of the components is there as it is in the sources, no other; each
    library under three names, all in one directory, which is returned."""
    include = options.source / "include"
    parts = {"api", *options.components} - {"static", "devhost_test"}
    for header in include.rglob("*.h"):
        name = header.relative_to(include)
        installed = prefix / "include" / name
        wanted = header_component(str(name)) in parts
        if wanted and (not installed.is_file() or installed.read_bytes() != header.read_bytes()):
            raise RuntimeError(f"not installed: {name}")
        if not wanted and installed.exists():
            raise RuntimeError(f"installed: {name}")
    # Not below the whole of /usr.
    libdir = only([*prefix.glob("lib/pkgconfig/dxr_api.pc"),
                   *prefix.glob("lib/*/pkgconfig/dxr_api.pc")]).parent.parent
    for part in parts:
        library = only(libdir.glob(f"libdxr_{part}.so.1.*.*"))
        for name in (f"libdxr_{part}.so.1", f"libdxr_{part}.so"):
            if (libdir / name).resolve() != library.resolve():
                raise RuntimeError(f"{name} does not lead to {library.name}")
    return libdir


def check_packages(options):
    """Each header is in the development package of its component, and in no other."""
    wanted = {}
    for component in ("api", "devhost", "trace"):
        lines = (options.source / f"debian/libdxr-{component}-dev.install").read_text(
            encoding="utf-8").split()
        wanted[component] = [line.removeprefix("usr/include/") for line in lines
                             if line.startswith("usr/include/")]
    include = options.source / "include"
    for header in include.rglob("*.h"):
        name = str(header.relative_to(include))
        found = [component for component, patterns in wanted.items()
                 if any(fnmatch.fnmatch(name, pattern) or name.startswith(f"{pattern}/")
                        for pattern in patterns)]
        if found != [header_component(name)]:
            raise RuntimeError(f"{name} is packed with {found}, not with {header_component(name)}")


def consume_with_cmake(options, prefix, work, language):
    compiler = options.cc if language == "C" else options.cxx
    build = work / f"cmake consumer {language}"
    run(options.cmake, "-S", options.source / "tests/consumer/installed", "-B", build,
        "-G", options.generator, f"-DCONSUMER_LANGUAGE={language}",
        f"-DCOMPONENTS={';'.join(options.components)}",
        f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_{language}_COMPILER={compiler}")
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    found = [line for line in cache.splitlines() if line.startswith("dxr_api_DIR:")]
    if not found or str(prefix) not in found[0]:
        raise RuntimeError(f"another package than the installed one was found: {found}")
    run(options.cmake, "--build", build)
    run(build / "consumer")
    if language == "C":
        for component, program in (("devhost", "hosted"), ("trace", "traced"),
                                   ("static", "consumer_static")):
            if component in options.components:
                run(build / program)


def consume_below(options, prefix, work):
    """The library is looked for by a part of a project that knows nothing of it, and that asks for
    it as it would for sources."""
    build = work / "below"
    run(options.cmake, "-S", options.source / "tests/consumer/below", "-B", build,
        "-G", options.generator, f"-DCMAKE_PREFIX_PATH={prefix}",
        f"-DCMAKE_C_COMPILER={options.cc}")
    run(options.cmake, "--build", build)
    run(build / "outside")


def build_sample(options, prefix, work):
    """A sample module is a project of its own."""
    build = work / "sample"
    run(options.cmake, "-S", options.source / "examples/link_monitor", "-B", build,
        "-G", options.generator, f"-DCMAKE_PREFIX_PATH={prefix}",
        f"-DCMAKE_C_COMPILER={options.cc}", f"-DCMAKE_CXX_COMPILER={options.cxx}")
    run(options.cmake, "--build", build)
    run(build / "link_monitor_test")
    if not (build / "link_monitor.so").is_file():
        raise RuntimeError("the sample module was not built")


def consume_with_pkg_config(options, work, libdir, source, package, flags):
    env = {"PKG_CONFIG_LIBDIR": str(libdir / "pkgconfig")}
    if run(options.pkg_config, "--modversion", package, env=env).strip() != options.version:
        raise RuntimeError(f"pkg-config does not report version {options.version}")
    is_static = ["--static"] * ("-static" in flags)
    arguments = shlex.split(run(options.pkg_config, *is_static, "--cflags", "--libs", package,
                                env=env))
    program = work / f"{'archive' if is_static else 'shared'} {package} {source}.out"
    compiler = options.cxx if source.endswith(".cpp") else options.cc
    run(compiler, *flags, options.source / "tests/consumer" / source, "-o", program, *arguments,
        f"-Wl,-rpath,{libdir}")
    run(program)


def load(options, work, libdir):
    """Linked with nothing, and told where the library lies."""
    program = work / "loaded.out"
    run(options.cc, "-std=c11", f"-I{options.source}/include",
        options.source / "tests/consumer/loaded.c", "-o", program, "-ldl")
    run(program, libdir / "libdxr_api.so.1")


def run_dxrsh(options, prefix):
    """Without help for the loader. Its output comes from all three libraries."""
    program = prefix / "bin/dxrsh"
    if not program.exists():
        return
    clean = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
    log = options.source / "examples/dxrsh/links.log"
    result = subprocess.run([program, "filter", log], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, check=False, env=clean)
    if result.returncode != 0 or "suppressed            3" not in result.stdout:
        raise RuntimeError(f"dxrsh says {result.stdout}")


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", type=pathlib.Path)
    parser.add_argument("--prefix", type=pathlib.Path)
    parser.add_argument("--source", required=True, type=pathlib.Path)
    parser.add_argument("--version", required=True)
    parser.add_argument("--cmake", default="cmake")
    parser.add_argument("--generator", default="Ninja")
    parser.add_argument("--pkg-config", default="pkg-config")
    parser.add_argument("--cc", default="cc")
    parser.add_argument("--cxx", default="c++")
    parser.add_argument("--components", nargs="*", default=[],
                        choices=["devhost", "devhost_test", "trace", "static"])
    options = parser.parse_args()
    if (options.build is None) == (options.prefix is None):
        parser.error("name a build or a prefix")

    with tempfile.TemporaryDirectory(prefix="dxr_installed_") as folder:
        work = pathlib.Path(folder)
        prefix = options.prefix or install_and_move(options, work)
        check_packages(options)
        libdir = check_installed_files(options, prefix)
        fixed = ["-std=c11", "-fno-pic", "-fno-pie", "-no-pie", f"-I{options.source}/tests"]
        jobs = [(consume_with_cmake, options, prefix, work, "CXX"),
                (consume_with_cmake, options, prefix, work, "C"),
                (consume_below, options, prefix, work),
                (load, options, work, libdir),
                (run_dxrsh, options, prefix)]
        jobs += [(consume_with_pkg_config, options, work, libdir, *consumer)
                 for consumer in (("consumer.c", "dxr_api", ["-std=c11"]),
                                  ("consumer.cpp", "dxr_api", ["-std=c++17"]),
                                  ("copy_relocation_test.c", "dxr_api", fixed))]
        if "static" in options.components:
            jobs.append((consume_with_pkg_config, options, work, libdir, "consumer.c", "dxr_api",
                         ["-std=c11", "-static"]))
        if "devhost" in options.components:
            jobs.append((consume_with_pkg_config, options, work, libdir, "hosted.c", "dxr_devhost",
                         ["-std=c11"]))
        if "devhost_test" in options.components:
            jobs.append((build_sample, options, prefix, work))
        if "trace" in options.components:
            jobs.append((consume_with_pkg_config, options, work, libdir, "traced.c", "dxr_trace",
                         ["-std=c11"]))
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for done in [pool.submit(*job) for job in jobs]:
                done.result()
    print(f"{len(jobs)} users of the installed library are served")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except RuntimeError as fault:
        sys.exit(str(fault))
