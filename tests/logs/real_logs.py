#!/usr/bin/env python3
"""Logs of many kinds through the log filter, the recorder, the fault rules and `dxrsh filter`, each
compared with a model line by line.

    real_logs.py --replay PROGRAM [--dxrsh PROGRAM] [--lines N] [--flood N] [--seed N]
                 [--only KIND] [--keep]

N lines of each kind; --flood gives the flood of one line another number. Prints a line for each
kind and part; exit status 1 at the first difference, of which the operation and both answers are
shown.
"""

import argparse
import random
import shlex
import struct
import subprocess
import sys
import threading
import time

import dxrsh_filter
from kinds import KINDS
from models import Judge, LogFilter, Recorder

_pack1 = struct.Struct("<cI").pack
_pack2 = struct.Struct("<cII").pack
_pack4 = struct.Struct("<cIIII").pack
_pack7 = struct.Struct("<cIIIIIII").pack


class Different(Exception):
    pass


class Replay:
    """The program, and what it should answer. Operations go to it block by block."""

    OPERATIONS = 20000
    BYTES = 8 << 20

    def __init__(self, command):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.operations = []
        self.expected = []
        self.bytes = 0

    def do(self, operation, expected=b""):
        self.operations.append(operation)
        self.expected.append(expected)
        self.bytes += len(operation)
        if len(self.operations) >= self.OPERATIONS or self.bytes >= self.BYTES:
            self.compare()

    def compare(self):
        stdin, stdout = self.process.stdin, self.process.stdout

        def write():
            try:
                stdin.write(b"".join(self.operations) + b"Z")
                stdin.flush()
            except BrokenPipeError:
                pass

        writer = threading.Thread(target=write)
        writer.start()
        head = stdout.read(4)
        answer = stdout.read(struct.unpack("<I", head)[0]) if len(head) == 4 else None
        writer.join()
        if answer is None:
            raise Different(f"the program ended with status {self.process.wait()}")
        if answer != b"".join(self.expected):
            raise Different(self.first_difference(answer))
        self.operations.clear()
        self.expected.clear()
        self.bytes = 0

    def first_difference(self, answer):
        at = 0
        for operation, expected in zip(self.operations, self.expected):
            if answer[at:at + len(expected)] != expected:
                break
            at += len(expected)
        return (f"operation {operation[:200]!r}\n  expected {expected[:300]!r}\n"
                f"  answered {answer[at:at + 300]!r}")

    def end(self):
        self.compare()
        self.process.stdin.close()
        self.process.stdout.close()
        if self.process.wait() != 0:
            raise Different(f"the program ended with status {self.process.returncode}")


def filter_lines(replay, draw, lines):
    model = LogFilter(lambda sec: b"second %d" % sec)
    now = -1
    count = 0
    types = 1 + int(draw() * 4)  # few, so that rings fill
    for second, text in lines:
        count += 1
        if second != now:
            now = model.now = second
            replay.do(_pack2(b"T", now, 0))
        log_type = int(draw() * types) * 9
        interval = 0 if draw() < 0.7 else int(draw() * 100)
        what = draw()
        if what < 0.8:
            replay.do(_pack4(b"S", log_type, interval, 0, len(text)) + text,
                      model.same(log_type, interval, text))
        elif what < 0.9:
            replay.do(_pack4(b"R", log_type, interval, 7, len(text)) + text,
                      model.raw(log_type, interval, text))
        elif what < 0.96:
            keys = (int(draw() * 30), int(draw() * 30), int(draw() * 2), 0)
            replay.do(_pack7(b"D", log_type + 1, interval, *keys, len(text)) + text,
                      model.different(log_type + 1, interval, keys, text))
        elif what < 0.98:
            keys = (int(draw() * 25), int(draw() * 25), int(draw() * 1000), 4294967295)
            replay.do(_pack4(b"K", *keys), model.same_key(keys))
        elif what < 0.997:
            shown = (int(draw() * 30), int(draw() * 2100), int(draw() ** 3 * 60),
                     1 + int(draw() * 4000))
            replay.do(_pack4(b"L", *shown), model.show(*shown))
        elif what < 0.999:
            replay.do(_pack1(b"C", log_type), model.clear(log_type) or b"")
        else:
            model.on = 0
            replay.do(_pack1(b"F", 0))
        if not model.on and draw() < 0.05:
            model.on = 1 + int(draw() * 255)
            replay.do(_pack1(b"F", model.on))
    for log_type in range(30):
        replay.do(_pack4(b"L", log_type, 0, 2047, 1 << 18), model.show(log_type, 0, 2047, 1 << 18))
    return count, f"{model.passed} let through, {model.suppressed} suppressed"


def record_lines(replay, draw, lines):
    model = Recorder()
    now = -1
    count = 0
    for second, text in lines:
        count += 1
        if second != now:
            now = model.now = second
            replay.do(_pack2(b"T", now, 0))
        model.record(text)
        replay.do(_pack1(b"I", len(text)) + text)
        if draw() < 0.0005:
            room = 1 + int(draw() * 500000)
            replay.do(_pack1(b"A", room), model.listing(room))
            if draw() < 0.1:
                model.destroy()
                replay.do(b"X")
    replay.do(_pack1(b"A", 1 << 19), model.listing(1 << 19))
    return count, f"{len(model.records)} records at the end"


def judge_lines(replay, draw, lines):
    model = Judge()
    start = None
    count = faults = 0
    now = -1
    for second, _ in lines:
        if count % 5000 == 0:
            model.pairs = [(int(draw() ** 2 * 200), int(draw() ** 3 * 100)) for _ in range(3)]
            model.pairs += [(int(draw() * 20000), int(draw() * 4200)), (0, 1), (60, 0)]
            replay.do(_pack1(b"U", len(model.pairs)) +
                      b"".join(struct.pack("<II", *pair) for pair in model.pairs))
        count += 1
        if second != now:
            start = second if start is None else start
            now = second
            model.now = second - start + 30 & 0xFFFFFFFF
            replay.do(_pack2(b"T", second, model.now))
        verdicts = model.event()
        faults += verdicts[-2]
        replay.do(b"E", verdicts)
        if draw() < 0.0001:
            model.reset()
            replay.do(b"Y")
    return count, f"{faults} faults"


PARTS = {"filter": filter_lines, "recorder": record_lines, "rules": judge_lines}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--replay", required=True)
    parser.add_argument("--emulator", default="", help="a command that runs it")
    parser.add_argument("--dxrsh", default="-")
    parser.add_argument("--lines", type=int, default=10000)
    parser.add_argument("--flood", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only")
    parser.add_argument("--keep", action="store_true", help="keep the logs made for dxrsh")
    options = parser.parse_args()
    print(f"seed {options.seed}")
    total = 0
    for name, kind in KINDS.items():
        if options.only not in (None, name):
            continue
        lines = options.flood if name == "flood" and options.flood else options.lines
        for part, run in PARTS.items():
            draw = random.Random(f"{options.seed} {name} {part}").random
            start = time.perf_counter()
            replay = Replay([*shlex.split(options.emulator), options.replay])
            try:
                count, summary = run(replay, draw, kind(draw, lines))
                replay.end()
            except Different as different:
                print(f"{name}, {part}: not as the model has it\n  {different}")
                replay.process.kill()
                return 1
            total += count
            took = time.perf_counter() - start
            print(f"{name:<11}{part:<9}{count:>9} lines  {summary}  ({took:.1f} s)", flush=True)
        if options.dxrsh != "-":
            for by_key in (False, True):
                seed = f"{options.seed} {name} dxrsh {by_key}"
                count, summary, difference = dxrsh_filter.run(
                    options.dxrsh, seed, kind, options.lines, by_key, options.keep)
                if difference:
                    print(f"{name}, dxrsh filter: not as the model has it\n  {difference}")
                    return 1
                total += count
                print(f"{name:<11}{'dxrsh':<9}{count:>9} lines  {summary}", flush=True)
    print(f"{total} lines, all as the models have them")
    return 0


if __name__ == "__main__":
    sys.exit(main())
