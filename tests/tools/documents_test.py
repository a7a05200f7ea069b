#!/usr/bin/env python3
"""What the documents show is what happens.

    documents_test.py ROOT DXRSH BUILD FILE...

Runs each "$ ... dxrsh ..." line of the console blocks in the Markdown FILEs at ROOT, and compares
what it prints with the lines below it. A block under a line "`examples/NAME`:" must be that file. A
block that uses the home directory is run as a whole, by one shell with one of its own and BUILD in
the place of build/release; not if BUILD is "-", as where programs need flags that users do not. If
BUILD is "packages", all is installed already, and what needs the tree of a build is left out.
"""

import os
import re
import signal
import subprocess
import sys
import tempfile


PACKAGES = "packages"


def needs_build(lines):
    """Whether commands use what only a tree has that was built, beyond what it installs."""
    return any(re.search(r"build/release|\bscripts/|\btests/", line)
               for line in lines if not line.startswith("$ cmake --install "))


def blocks(text):
    """(kind, line above, lines) of every fenced block."""
    above = ""
    kind = None
    for line in text.splitlines():
        if kind is None and line.startswith("```"):
            kind, lines = line[3:], []
        elif kind is not None and line == "```":
            yield kind, above, lines
            kind, above = None, ""
        elif kind is not None:
            lines.append(line)
        elif line:
            above = line


def commands(lines):
    """(command, expected lines) of a console block."""
    found = []
    for line in lines:
        if line.startswith("$ "):
            found.append((line[2:], []))
        else:
            found[-1][1].append(line)
    return found


def run(command, root, dxrsh, **variables):
    path = os.path.dirname(dxrsh) + ":" + os.environ["PATH"]
    # A chassis of another user of this machine is not in the way.
    with tempfile.TemporaryDirectory(prefix="dxrsh_") as place:
        environment = dict(os.environ, PATH=path, XDG_RUNTIME_DIR=place, **variables)
        shell = subprocess.Popen(["sh", "-c", command], cwd=root, env=environment, text=True,
                                 stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                 stderr=subprocess.STDOUT, start_new_session=True)
        out, _ = shell.communicate()
        # A block that fails leaves nothing running that it started.
        try:
            os.killpg(shell.pid, signal.SIGTERM)
        except ProcessLookupError:
            pass
    # Markdown shows no difference in blanks at the end of a line.
    return [line.rstrip() for line in out.splitlines()]


def run_whole(lines, root, dxrsh, build):
    """What a block prints, and what it says that it prints."""
    shown = commands(lines)
    if build == PACKAGES:
        shown = [(re.sub("^cmake --install .*", "mkdir ~/dxr", command), expected)
                 for command, expected in shown]
    script = "\n".join(re.sub(r"(\$PWD/)?build/release", build, command) for command, _ in shown)
    with tempfile.TemporaryDirectory(prefix="dxr_documents_") as home:
        actual = run("set -e\n" + script, root, dxrsh, HOME=home)
    return actual, [line for _, expected in shown for line in expected]


def main(root, dxrsh, build, files):
    checked = 0
    wrong = 0
    for name in files:
        with open(os.path.join(root, name), encoding="utf-8") as file:
            text = file.read()
        for kind, above, lines in blocks(text):
            example = re.fullmatch(r"`(examples/[^`]*)`:", above)
            if example:
                with open(os.path.join(root, example[1]), encoding="utf-8") as file:
                    actual = file.read().splitlines()
                checked += 1
                if actual != lines:
                    wrong += 1
                    print(f"{name}: the block is not {example[1]}")
            if kind != "console":
                continue
            if any(line.startswith("$ ") and "~/" in line for line in lines):
                if build == "-" or (build == PACKAGES and needs_build(lines)):
                    continue
                checked += 1
                actual, expected = run_whole(lines, root, dxrsh, build)
                if actual != expected:
                    wrong += 1
                    print(f"{name}: the block of {commands(lines)[0][0]!r} prints", *actual,
                          sep="\n    ")
                continue
            for command, expected in commands(lines):
                if not re.search(r"\bdxrsh ", command):
                    continue
                if "build/release" in command and build == "-":
                    continue
                if build == PACKAGES and needs_build([command]):
                    continue
                checked += 1
                actual = run(command.replace("build/release", build), root, dxrsh)
                if actual != [line.rstrip() for line in expected]:
                    wrong += 1
                    print(f"{name}: $ {command}\nprints", *actual, sep="\n    ")
    print(f"{checked} shown, {wrong} wrong")
    return 1 if wrong or not checked else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]))
