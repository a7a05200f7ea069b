#!/usr/bin/env python3
"""`dxrsh filter` on logs whose time stamps have many forms, with --mask and without.

    tests/logs/stamp_forms.py [--dxrsh PROGRAM] [--seed N] [--lines N] [--table]

Makes a log of each form from a seed, and compares what is let through, and how many stamps were
recognised, with models; --table prints what was suppressed.
"""

import argparse
import os
import random
import re
import subprocess
import sys
import tempfile
import time

from models import LogFilter

FIRST_SECOND = 1780000000  # in the spring of 2026
WORD = "0-9A-Za-z"
HEX = "0-9A-Fa-f"
GROUP = {mark: re.compile(f"[{HEX}]+(?![{WORD}])(?:{mark}{more}[{HEX}]+(?![{WORD}]))+")
         for mark, more in ((":", ":?"), ("-", ""))}
NUMBER = re.compile(r"[0-9]+(?:[.,][0-9]+)*")


def utc(form, sec):
    return time.strftime(form, time.gmtime(sec))


# Of each form what stands before the stamp, the stamp, and what stands after it up to the text.
FORMS = {
    "ISO 8601": lambda sec, ms: ("", utc("%Y-%m-%dT%H:%M:%S", sec) + f".{ms:03}Z ", ""),
    "ISO 8601, blank": lambda sec, ms: ("", utc("%Y-%m-%d %H:%M:%S,", sec) + f"{ms:03} ", ""),
    "syslog": lambda sec, ms: ("", utc("%b %e %H:%M:%S ", sec), "host7 "),
    "syslog, priority": lambda sec, ms: ("<34>", utc("%b %e %H:%M:%S ", sec), "host7 "),
    "syslog, RFC 5424": lambda sec, ms: (
        "<34>1 ", utc("%Y-%m-%dT%H:%M:%S", sec) + f".{ms:03}+00:00 ", "host7 linkd - - "),
    "seconds": lambda sec, ms: ("", f"{sec}.{ms:03} ", ""),
    "milliseconds": lambda sec, ms: ("", f"{sec}{ms:03} ", ""),
    "seconds, column 2": lambda sec, ms: ("- ", f"{sec} ", ""),
    "Apache access": lambda sec, ms: ("10.1.2.3 - - ", utc("[%d/%b/%Y:%H:%M:%S +0000] ", sec), ""),
    "Apache error": lambda sec, ms: ("", utc("[%a %b %d %H:%M:%S %Y] ", sec), "[error] "),
    "nginx error": lambda sec, ms: ("", utc("%Y/%m/%d %H:%M:%S ", sec), "[warn] "),
    "17/06/09 20:10:40": lambda sec, ms: ("", utc("%y/%m/%d %H:%M:%S ", sec), "INFO "),
    "081109 203615": lambda sec, ms: ("", utc("%y%m%d %H%M%S ", sec), "INFO "),
    "20171223-22:15:29:606": lambda sec, ms: (
        "", utc("%Y%m%d-", sec) + f"{sec // 3600 % 24}:{sec // 60 % 60}:{sec % 60}:{ms}", "|step|"),
    "03-17 16:13:38.811": lambda sec, ms: ("", utc("%m-%d %H:%M:%S", sec) + f".{ms:03} ", "I tm: "),
    "fixed prefix": lambda sec, ms: ("node3|", utc("%Y-%m-%d %H:%M:%S", sec), "|"),
    "in quotes, column 3": lambda sec, ms: ("lvl=info n=3 ", utc('"%d/%b/%Y:%H:%M:%S +0000" ', sec),
                                            ""),
    "--stamp '%I.%M.%S %p, %j of %Y'": lambda sec, ms: (
        "at ", utc("%I.%M.%S %p, %j of %Y ", sec), ""),
    "--stamp '%d %b %Y %H:%M:%S,%f'": lambda sec, ms: (
        "", utc("%d %b %Y %H:%M:%S,", sec) + f"{ms:03} ", "[main] "),
    "--stamp 'I%m%d %H:%M:%S.%f'": lambda sec, ms: (
        "", utc("I%m%d %H:%M:%S.", sec) + f"{ms:03}000 ", "7 tm.c:12] "),
}


def texts(draw):
    """Floods whose lines differ in a number, and lines that repeat."""
    port, chip = int(draw() * 400), int(draw() * 12)
    word = int(draw() * (1 << 32))
    return (lambda: f"linkd: chip {chip} port {port} lost lock, errors 0x{word:x}",
            lambda: f"sshd[{port + 900}]: 10.0.{chip}.{port % 200} left after {port / 8:.2f} ms",
            lambda: f"id {word:08x}-{port:04x}-4{chip:03x}-8{port:03x}-{word * 4099:012x} ends",
            lambda: f"eth{chip}: fe80::{port:x}, 00:1b:21:{chip:02x}:{port % 256:02x}:ff is up",
            lambda: "watchdog: still here",
            lambda: f"queue {chip % 3} is full")[int(draw() ** 1.5 * 6)]()


def make_log(draw, form, lines):
    """(second, compared text, line) of each line."""
    now = FIRST_SECOND
    for _ in range(lines):
        now += int(draw() * 1.2) + (1800 if draw() < 0.001 else 0)
        before, stamp, after = FORMS[form](now, int(draw() * 1000))
        text = after + texts(draw)
        yield now, before + text, before + stamp + text


def mask(text):
    """Numbers, addresses and identifiers replaced, word by word."""
    out = []
    at = 0
    while at < len(text):
        word = re.compile(f"[{WORD}]+").match(text, at)
        if word is None:
            out.append(text[at])
            at += 1
            continue
        word = word[0]
        is_hex = re.fullmatch(f"[{HEX}]+", word)
        group = is_hex and GROUP.get(text[at + len(word):at + len(word) + 1])
        group = group and group.match(text, at)
        runs = len(re.findall("[0-9]+", word))
        if group and re.search("[0-9]", group[0]) and (
                "::" in group[0] or len(re.split("[:-]", group[0])) >= 5):
            out.append("#")
            at += len(group[0])
        elif re.fullmatch(f"0[xX][{HEX}]+", word) or not word.isdigit() and (
                is_hex and (len(word) >= 8 or len(word) >= 4 and runs)
                or runs >= 3 or runs and len(word) >= 20):
            out.append("#")
            at += len(word)
        elif not runs:
            out.append(word)
            at += len(word)
        else:
            signed = at > 0 and text[at - 1] in "+-" and word[0].isdigit()
            if signed and not (at > 1 and re.match(f"[{WORD}]", text[at - 2])):
                out.pop()
            end = at + len(word)
            while at < end:
                number = NUMBER.match(text, at)
                out.append("#" if number else text[at])
                at += len(number[0]) if number else 1
    return "".join(out)


def model_of(log, masked):
    """The lines let through."""
    model = LogFilter(lambda sec: b"")
    for second, text, line in log:
        model.now = second
        text = mask(text) if masked else text
        if not model.repeated(0, 0, text.encode()[:1023]):
            yield line + "\n"


def run(program, log, options):
    with tempfile.NamedTemporaryFile("w", prefix="dxr_forms_") as file:
        file.writelines(line + "\n" for _, _, line in log)
        file.flush()
        done = subprocess.run([program, "filter", "--year", "2026", *options, file.name],
                              capture_output=True, text=True, check=False,
                              env={**os.environ, "LC_ALL": "C"})
    return done.returncode, done.stdout, done.stderr


def check(program, form, log):
    """(what was suppressed without and with --mask, faults)"""
    given = re.match("--stamp '(.*)'", form)
    suppressed = []
    faults = []
    for masked in (False, True):
        options = (["--stamp", given[1]] if given else []) + (["--mask"] if masked else [])
        status, out, err = run(program, log, options)
        expected = list(model_of(log, masked))
        stamped = re.search(r"stamped +(\d+) of (\d+)", err)
        if status != 0 or stamped is None or stamped[1] != str(len(log)):
            faults.append(f"{form} {options}: {status}, {err[:200]!r}")
        elif out != "".join(expected):
            got = out.splitlines(True)
            at = next((i for i, pair in enumerate(zip(expected, got)) if pair[0] != pair[1]),
                      min(len(expected), len(got)))
            faults.append(f"{form} {options}: {len(expected)} lines expected, {len(got)} let "
                          f"through\n  first at {at}: expected {expected[at:at + 1]}, "
                          f"got {got[at:at + 1]}")
        suppressed.append(1 - len(expected) / len(log))
    return suppressed, faults


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--dxrsh", default="dxrsh")
    parser.add_argument("--seed", type=int, default=int(os.environ.get("DXR_TEST_SEED", "1")))
    parser.add_argument("--lines", type=int, default=2000)
    parser.add_argument("--table", action="store_true")
    options = parser.parse_args()
    if options.table:
        print("form of the stamps                 suppressed   with --mask")
    else:
        print("seed", options.seed)
    faults = []
    for number, form in enumerate(FORMS):
        draw = random.Random(options.seed * 1000 + number).random
        log = list(make_log(draw, form, options.lines))
        (plain, masked), wrong = check(options.dxrsh, form, log)
        faults += wrong
        if options.table:
            print(f"{form:34} {plain:8.1%} {masked:13.1%}")
    print(*faults, sep="\n", end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
