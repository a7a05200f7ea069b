"""`dxrsh filter` on a log with time stamps, beside a model of what docs/dxrsh.md says of it."""

import os
import random
import re
import subprocess
import tempfile
import time

from models import LogFilter

TOP_LINES = 10
# Four groups, of which most lines have one, and an alternative without any.
KEY = (rb"([0-9]+) of slot (0x[0-9a-f]+|[0-9]+)|(line [0-9]+|chassis: .|10[.][0-9]+)|expired|"
       rb"%([a-z]+)")
FIRST_SECOND = 1780000000  # in the spring of 2026
LAST_SECOND = FIRST_SECOND + 150 * 86400
UNSTAMPED_SECOND = 946684800  # the beginning of 2000
FIRST_BLOCK = 1 << 20


def iso(sec, draw):
    zone, distance = ((b"", 0), (b"Z", 0), (b"+01:00", 3600), (b" -0930", -34200))[int(draw() * 4)]
    form = "%Y-%m-%dT%H:%M:%S" if draw() < 0.5 else "%Y-%m-%d %H:%M:%S"
    fraction = b".%03d" % int(draw() * 1000) if draw() < 0.5 else b""
    return time.strftime(form, time.gmtime(sec + distance)).encode() + fraction + zone + b" "


def syslog(sec, draw):
    return time.strftime("%b %e %H:%M:%S ", time.gmtime(sec)).encode()


def make_log(draw, lines):
    """The bytes of a log, (second, text, line) of each of its lines, its end, and what is said of
    its stamps."""
    stamp = iso if draw() < 0.6 else syslog
    log = []
    parsed = []
    first = now = None
    length = stamped = 0
    for number, (second, text) in enumerate(lines):
        text = text.replace(b"\n", b"")
        # What begins like a stamp or a blank would count as one, or as a part of one.
        text = b"." + text if text[:1].isalnum() or text[:1] in b" \t+-" and text else text
        second = min(max(second, FIRST_SECOND), LAST_SECOND)
        if number > 2 and draw() < 0.8 or number == 3:
            now = second
            line = stamp(second, draw) + text
            stamped += 1
            if first is None:
                # The lines before take this time when it is found early enough.
                early = length + len(line) - len(text) <= FIRST_BLOCK
                first = second if early else UNSTAMPED_SECOND
        else:
            line = text
        parsed.append((now, text, line))
        log.append(line)
        length += len(line) + 1
    first = UNSTAMPED_SECOND if first is None else first
    parsed = [(first if sec is None else sec, text, line) for sec, text, line in parsed]
    end = b"\n" if draw() < 0.5 or not log or not log[-1] else b""
    name = b"  ISO 8601" if stamp is iso else b"  syslog"
    said = b"  stamped    %10s%s\n" % (b"%d of %d" % (stamped, len(log)), name if stamped else b"")
    if log and not stamped:
        warning = b"dxrsh: no time stamp was recognised: the clock stood still; --stamp FORMAT " \
            b"tells a form\n"
    else:
        warning = b""
    return b"\n".join(log) + (end if log else b""), parsed, end, (warning, said)


def key_number(text):
    if text is None:
        return 0
    if re.fullmatch(rb"0x[0-9a-f]{1,8}", text):
        return int(text, 16)
    if re.fullmatch(rb"[0-9]+", text) and int(text) < 1 << 32:
        return int(text)
    return LogFilter(None).hash(text)


def expect(parsed, end, stamps, log_type, interval, by_key, rows):
    """Standard output and what standard error says, but for the lines most suppressed: these by
    count and text."""
    model = LogFilter(lambda sec: time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(sec)).encode())
    expression = re.compile(KEY)
    out = []
    suppressed = {}
    unasked = other_text = in_part = 0
    remembered = {}  # what was let through last, by its hash
    for number, (second, text, line) in enumerate(parsed):
        model.now = second
        compared = text.replace(b"\0", b"\n")
        repeated = False
        asked = None
        if not text:
            unasked += 1
        elif by_key:
            match = expression.search(compared)
            if match is None:
                unasked += 1
            else:
                keys = tuple(key_number(group) for group in match.groups())
                key = b"%d%d%d%d" % keys
                repeated = model.repeated(log_type, interval, b"%d" % log_type + key)
                group, shown = key, compared
                asked = b"%d" % log_type + key
        else:
            shown = group = asked = compared[:1023]
            repeated = model.repeated(log_type, interval, shown)
        if repeated:
            suppressed.setdefault(group, [0, shown])[0] += 1
            if remembered[model.hash(asked)] != asked:
                other_text += 1
            elif not by_key and len(compared) > 1023:
                in_part += 1
        else:
            if asked is not None:
                remembered[model.hash(asked)] = asked
            out.append(line + (b"\n" if number < len(parsed) - 1 else end))

    read, passed = len(parsed), len(out)
    warning, stamped = stamps
    said = [warning, b"lines read   %10d\n" % read, stamped,
            b"let through  %10d  %5.1f %%\n" % (passed, 100 * passed / read)]
    if unasked:
        said.append(b"  unasked    %10d\n" % unasked)
    said.append(b"suppressed   %10d  %5.1f %%\n" % (read - passed, 100 * (read - passed) / read))
    if other_text:
        said.append(b"  other text %10d\n" % other_text)
    if in_part:
        said.append(b"  in part    %10d\n" % in_part)
    # Of equal counts the one that came first.
    top = sorted(suppressed.values(), key=lambda entry: -entry[0])[:TOP_LINES]

    ring = model.rings[log_type]
    ring.age(model.now)
    shown = min(rows, ring.size)
    table = model.table(log_type, ring.first + ring.size - shown, shown)
    capacity = len(ring.entries)
    # The store, the ring, and, when it grew last, the one before it beside it.
    live = 580 + 64 * capacity
    peak = live + 64 * ((capacity - 1) // 2 if capacity else 0)
    rest = [b"\nthe filter's table, its last %d of %d entries\n" % (shown, ring.size),
            table.replace(b"\r\n", b"\n"),
            b"\nmemory of the filter\n  module 9: %d blocks, %d bytes live; at most %d bytes\n" % (
                1 + (capacity != 0), live, peak),
            b"memory after its end\n  module 9: 0 blocks, 0 bytes live; at most %d bytes\n" % peak]
    return b"".join(out), b"".join(said), top, b"".join(rest)


def first_difference(what, expected, got):
    if expected == got:
        return None
    at = next((i for i, (a, b) in enumerate(zip(expected, got)) if a != b),
              min(len(expected), len(got)))
    start = max(0, at - 60)
    return (f"{what} differs at byte {at}\n  expected {expected[start:at + 200]!r}\n"
            f"  answered {got[start:at + 200]!r}")


def difference_of_top(expected, got):
    lines = got.split(b"\n")
    if not expected:
        return None if got == b"" else f"nothing was suppressed, but: {got[:200]!r}"
    if lines[:2] != [b"", b"most suppressed"] or lines[-1] != b"" or \
            len(lines) != len(expected) + 3:
        return f"lines most suppressed: {len(expected)} expected, answered {got[:500]!r}"
    for (count, text), line in zip(expected, lines[2:-1]):
        plain = len(text) <= 100 and all(32 <= byte < 127 for byte in text)
        wanted = b"%10d  %s" % (count, text if plain else b"")
        if line != wanted if plain else not line.startswith(wanted):
            return f"most suppressed: expected {wanted!r}, answered {line!r}"
    return None


def run(program, seed, kind, lines, by_key, keep):
    """(lines, summary, difference or None)"""
    draw = random.Random(seed).random
    log, parsed, end, stamps = make_log(draw, kind(draw, lines))
    log_type = int(draw() * 29)
    interval = 0 if draw() < 0.5 else int(draw() * 300)
    rows = int(draw() * 100)
    command = [program, "filter", "--type", str(log_type), "--interval", str(interval), "--rows",
               str(rows), "--year", "2026"] + (["--key", KEY.decode()] if by_key else [])
    with tempfile.NamedTemporaryFile(prefix="dxr_log_", delete=not keep) as file:
        file.write(log)
        file.flush()
        done = subprocess.run(command + [file.name], capture_output=True, check=False,
                              env={**os.environ, "LC_ALL": "C"})
        if keep:
            print(f"kept: {' '.join(command)} {file.name}")
    out, said, top, rest = expect(parsed, end, stamps, log_type, interval, by_key, rows)
    difference = None
    if done.returncode != 0:
        difference = f"exit status {done.returncode}: {done.stderr[:300]!r}"
    difference = difference or first_difference("standard output", out, done.stdout)
    difference = difference or first_difference("the counts", said, done.stderr[:len(said)])
    middle = done.stderr[len(said):len(done.stderr) - len(rest)]
    difference = difference or first_difference("the table", rest, done.stderr[-len(rest):])
    difference = difference or difference_of_top(top, middle)
    suppressed = len(parsed) - out.count(b"\n")
    return len(parsed), f"{'by key' if by_key else 'by text'}, {suppressed} suppressed", difference
