#!/usr/bin/env python3
"""What the documents show is what happens.

    documents_test.py ROOT DXRSH BUILD FILE...
    documents_test.py --bare DEBIAN FOLDER FILE...

Runs each "$ ... dxrsh ..." line of the console blocks in the Markdown FILEs at ROOT, and compares
what it prints with the lines below it. A block under a line "`examples/NAME`:" must be that file. A
block that uses the home directory is run as a whole, by one shell with one of its own and BUILD in
the place of build/release; not if BUILD is "-", as where programs need flags that users do not. If
BUILD is "packages", all is installed already, and what needs the tree of a build is left out. A
block that installs packages is left out, too: with --bare these alone are run, one after the other,
in FOLDER of a bare Debian below the directory DEBIAN, by root.
"""

import os
import re
import signal
import subprocess
import sys
import tempfile
import time


PACKAGES = "packages"


def needs_build(lines):
    """Whether commands use what only a tree has that was built, beyond what it installs."""
    return any(re.search(r"build/release|\bscripts/|\btests/|\$PWD|/bin/dxrsh", line)
               for line in lines if not line.startswith("$ cmake --install "))


def needs_bare_debian(lines):
    return any(line.startswith("$ apt-get ") for line in lines)


def is_whole(lines):
    """Whether its commands are for one shell."""
    return any(line.startswith("$ ") and re.search("~/|^. export ", line) for line in lines)


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


def run_bare(debian, folder, files):
    """Runs what installs packages; tells how long each block took."""
    wrong = checked = 0
    for name in files:
        with open(os.path.join(debian, folder.strip("/"), name), encoding="utf-8") as file:
            shown = [commands(lines) for kind, _, lines in blocks(file.read())
                     if kind == "console" and needs_bare_debian(lines)]
        for block in shown:
            began = time.monotonic()
            done = subprocess.run(
                ["chroot", debian, "env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "HOME=/root",
                 "LC_ALL=C.UTF-8", "DEBIAN_FRONTEND=noninteractive", "sh", "-ec",
                 f"cd {folder}\n" + "\n".join(command for command, _ in block)],
                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                text=True, check=False)
            checked += 1
            if done.stdout.splitlines() != [line for _, expected in block for line in expected]:
                wrong += 1
                print(f"{name}: the block of {block[0][0]!r} prints", done.stdout, done.stderr)
            print(f"{time.monotonic() - began:.0f} s until {block[-1][0]!r} ran")
    print(f"{checked} shown, {wrong} wrong")
    return 1 if wrong or not checked else 0


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
            if needs_bare_debian(lines):
                continue
            if is_whole(lines):
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
    if sys.argv[1] == "--bare":
        sys.exit(run_bare(sys.argv[2], sys.argv[3], sys.argv[4:]))
    sys.exit(main(sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]))
