#!/usr/bin/env python3
"""dxrsh as operators use it: on growing, compressed and broken logs, by scripts, from a terminal.

    dxrsh_user_test.py DXRSH ROOT MAN COMPLETIONS [NAME...]

MAN is the manual page, COMPLETIONS the folder with those of bash, zsh and fish; the programs that
check these are used where they are there. Examples are run at ROOT.
"""

import gzip
import json
import os
import pty
import re
import resource
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

DXRSH, ROOT, MAN, COMPLETIONS = sys.argv[1:5]
ENVIRONMENT = {**os.environ, "LC_ALL": "C", "PATH": os.path.dirname(DXRSH) + ":/usr/bin:/bin"}
PATIENCE = 300  # seconds; a test ends sooner, but for a program that hangs
MODULES = os.path.join(os.path.dirname(DXRSH), "../../tests/tools/dxrsh_")
RECORDING = "examples/dxrsh/registers.dxrtrace"


def run(*words, stdin=b"", **how):
    done = subprocess.run([DXRSH, *words], input=stdin, capture_output=True, check=False,
                          env=ENVIRONMENT, timeout=PATIENCE, **how)
    return done.returncode, done.stdout, done.stderr.decode()


def commands(*of):
    """The names that the help of a command lists."""
    out = run(*of, "--help")[1].decode()
    return re.findall(r"^  ([a-z]+) ", out.partition("Examples:\n")[0], re.M)


def all_commands():
    for name in commands():
        yield (name,)
        for below in commands(name):
            yield (name, below)


def what_comes(terminal):
    """All that is written to a terminal until its last writer has closed it."""
    seen = b""
    try:
        while more := os.read(terminal, 4096):
            seen += more
    except OSError:
        pass  # nobody writes any more
    os.close(terminal)
    return seen


class Case(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="dxr_user_")
        self.addCleanup(self.folder.cleanup)

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def file(self, name, content):
        with open(self.path(name), "wb") as file:
            file.write(content)
        return self.path(name)

    def fails(self, words, status, complaint, **how):
        code, _, err = run(*words, **how)
        self.assertEqual((code, err), (status, "dxrsh: " + complaint + "\n"))


class Logs(Case):
    def test_several_files_are_one_log(self):
        one = self.file("one", b"a\nb\nc")
        two = self.file("two", b"b\nd\n")
        self.assertEqual(run("filter", one, two)[1], b"a\nb\nc\nd\n")
        self.fails(["filter", one, self.path("no")], 1,
                   f"cannot open {self.path('no')}: No such file or directory")

    def test_compressed_files_are_unpacked(self):
        text = b"".join(b"line %d of a log\n" % (i % 1000) for i in range(200000))
        kept = b"".join(b"line %d of a log\n" % i for i in range(1000))
        packed = gzip.compress(text[:1700000]) + gzip.compress(text[1700000:])
        self.assertEqual(run("filter", self.file("log.gz", packed))[1], kept)
        self.assertEqual(run("filter", stdin=packed)[1], kept)
        path = self.file("torn.gz", packed[:-9])
        self.fails(["filter", "--quiet", path], 1, f"{path}: ends within its compressed data")
        path = self.file("bad.gz", packed[:100] + bytes(100) + packed[200:])
        self.fails(["filter", "--quiet", path], 1, f"{path}: damaged gzip data")
        marked = b"\xef\xbb\xbfa\na\n"
        path = self.file("marked.gz", gzip.compress(marked))
        self.assertEqual(run("filter", "--quiet", path)[1], b"a\n")
        if shutil.which("zstd"):
            with open(self.file("log", text), "rb") as log:
                packed = subprocess.run(["zstd", "-c"], stdin=log, stdout=subprocess.PIPE,
                                        check=True).stdout
            code, out, err = run("filter", self.file("log.zst", packed))
            if "built without" not in err:
                self.assertEqual((code, out), (0, kept))
                path = self.file("marked.zst", subprocess.run(
                    ["zstd", "-c"], input=marked, stdout=subprocess.PIPE, check=True).stdout)
                self.assertEqual(run("filter", "--quiet", path)[1], b"a\n")

    def test_what_cannot_be_unpacked_is_refused(self):
        foreign = ((b"\xfd7zXZ\0\0\4", "compressed with xz", "xz -dc"),
                   (b"BZh91AY&SY\xb5\xe0", "compressed with bzip2", "bzip2 -dc"),
                   (b"BZh9\x17rE8P\x90\0\0\0\0", "compressed with bzip2", "bzip2 -dc"),
                   (b"\x04\x22\x4d\x18d@\xa7", "compressed with lz4", "lz4 -dc"),
                   (b"PK\3\4\n\0", "a zip archive", "unzip -p"),
                   (b"LPKSHHRH\0\0", "a journal", "journalctl --file"),
                   (b"\xff\xfea\0", "text of UTF-16", "iconv -f UTF-16 -t UTF-8"),
                   (b"\xfe\xff\0a", "text of UTF-16", "iconv -f UTF-16 -t UTF-8"))
        for number, (begin, what, command) in enumerate(foreign):
            path = self.file(f"log.{number}", begin + b"\nx\n")
            for name in ("filter", "record"):
                self.fails([name, "--quiet", path], 1, f"{path} is {what}; '{command} FILE' gives "
                           "what can be read through a pipe")
            self.fails(["filter", "--follow", path], 2,
                       f"--follow: {path} is {what} and cannot be followed")
            self.assertEqual(run("filter", "--quiet", stdin=begin + b"\n")[0], 1)
        for text in (b"BZh", b"BZh9", b"BZh91AY&S?\n", b"BZhx1AY&SY\n", b"PK\n", b"LPKSHH", b"P",
                     b"\xfd7zXZ", b"\xff\xfe", b"\xff\xfeab\n", b"\xfe\xff\0\0"):
            self.assertEqual(run("filter", "--quiet", stdin=text), (0, text, ""))

    def test_an_expression_in_the_place_of_a_file_is_told(self):
        log = self.file("log [1]", b"port 1\nport 2\n")
        self.fails(["filter", "--mask", "[0-9]+", log], 2, "there is no file '[0-9]+'; as an "
                   "expression it is told by --mask='[0-9]+'")
        self.assertEqual(run("filter", "--quiet", "--mask", log)[1], b"port 1\n")
        for mask, path in (("--mask=[0-9]+", "log[2]"), ("--mask", "log*")):
            self.fails(["filter", mask, self.path(path)], 1,
                       f"cannot open {self.path(path)}: No such file or directory")

    def test_a_line_without_end_is_told(self):
        self.fails(["filter", "/dev/zero"], 1,
                   "/dev/zero: line 1 is longer than 67108864 bytes; --longest BYTES allows more")
        self.fails(["filter", "--longest", "3", "--quiet"], 1,
                   "standard input: line 2 is longer than 3 bytes; --longest BYTES allows more",
                   stdin=b"abc\nabcd\n")
        self.assertEqual(run("filter", "--longest", "3", stdin=b"abc\nabc")[1], b"abc\n")

    def test_quiet_says_nothing(self):
        self.assertEqual(run("filter", "--quiet", stdin=b"a\na\n"), (0, b"a\n", ""))

    def test_top(self):
        log = b"".join(b"%d\n" % (i * i % 7) for i in range(100))
        rows = re.findall(r"^ +\d+  \d$", run("filter", "--top", "2", stdin=log)[2], re.M)
        self.assertEqual(len(rows), 2)

    def test_stamps_are_counted_and_the_want_of_them_told(self):
        err = run("filter", stdin=b"x\n2026/11/21 03:37:00 a\n2026/11/21 03:37:01 b\n")[2]
        self.assertIn("  stamped        2 of 3  nginx (%Y/%m/%d %H:%M:%S)\n", err)
        self.assertNotIn("no time stamp", err)
        self.assertIn("dxrsh: no time stamp was recognised: the clock stood still; --stamp FORMAT "
                      "tells a form\n", run("filter", self.file("log", b"a\n"))[2])
        self.assertNotIn("no time stamp", run("filter", "--stamp", "none", stdin=b"a\n")[2])

    def test_that_no_line_has_the_stamp_that_was_told_is_said(self):
        log = self.file("log", b"21.11.2026 03:37:00 a\n")
        for name in (["filter"], ["record"], ["fault", "--rule", "1,1"]):
            err = run(*name, "--stamp", "%d.%m.%Y, %H:%M:%S", log)[2]
            self.assertEqual(err.partition("\n")[0], "dxrsh: no time stamp of the form "
                             "'%d.%m.%Y, %H:%M:%S' was found: the clock stood still")
        self.assertIn("dxrsh: no time stamp of the form '%H:%M\\x1b' was found: the clock stood "
                      "still\n", run("filter", "--stamp", "%H:%M\x1b", log)[2])

    def test_a_form_that_was_told_may_stand_in_few_lines(self):
        log = self.file("log", b"x\ny\n" + b"".join(
            b"begun: 21.11.2026  03:%02d:00\na\nb\nc\n" % minute for minute in range(10)))
        form = "%d.%m.%Y %H:%M:%S"
        self.assertIn(f"  stamped      10 of 42  as given ({form}) in column 2\n",
                      run("filter", "--stamp", form, log)[2])

    def test_a_form_that_begins_with_a_bracket_or_a_word_is_found_in_any_place(self):
        for before, form, stamp in (("linkd: ", "[%d.%m.%Y %H:%M:%S]", "[21.11.2026 03:37:00]"),
                                    ("linkd[7]:", "(%d.%m.%Y %H:%M)", "(21.11.2026 03:37)"),
                                    ("x=1 ", "t=%d.%m.%Y-%H:%M:%S", "t=21.11.2026-03:37:00")):
            log = self.file("log", f"{before}{stamp} down\n{before}{stamp} down\n".encode())
            out = run("filter", "--stamp", form, log)[2]
            self.assertIn("stamped        2 of 2  as given (" + form + ")", out)

    def test_the_stamps_of_all_files_are_told(self):
        nginx = self.file("nginx", b"2026/11/21 03:37:00 a\n")
        iso = self.file("iso", b"2026-11-21 03:37:00 a\n")
        seconds = self.file("seconds", b"1763696220 a\n1763696221 b\n")
        for files in ((nginx, iso, seconds), (seconds, nginx, iso, nginx)):
            err = run("filter", *files)[2]
            for form in ("nginx (%Y/%m/%d %H:%M:%S)", "ISO 8601", "seconds since 1970"):
                self.assertEqual(err.count(form), 1, err)

    def test_classic_stamps_stay_what_they_are(self):
        # One line in ten is enough, whatever the others have.
        log = b"2026-11-21 03:37:00 a\n" + b"2026/11/21 03:37:00 b\n" * 9
        self.assertEqual(run("filter", stdin=log)[1], log[:44])
        self.assertIn("1 of 10  ISO 8601\n", run("filter", stdin=log)[2])

    def test_numbers_that_run_backwards_are_no_times(self):
        log = b"".join(b"%d x\n" % (1800000000 - i * 7) for i in range(20))
        self.assertIn("stamped       0 of 20\n", run("filter", stdin=log)[2])

    def test_bad_formats_are_refused(self):
        for form, why in (("%Q%", "'%Q%' ends in a single %"), ("%Y-%m", "'%Y-%m' tells no time of"
                          " day"), ("%H:%M %d", "'%H:%M %d' tells a part of a date")):
            self.fails(["filter", "--stamp", form], 2, "--stamp: " + why)
        self.assertEqual(run("filter", "--stamp", "%E %H:%M")[0], 2)

    def test_lines_of_one_hash_are_told(self):
        doubtful = self.path("doubtful")
        log = b"Aa\nBB\nAa\n" + b"x" * 1023 + b"1\n" + b"x" * 1023 + b"2\n"
        code, out, err = run("filter", "--doubtful", doubtful, stdin=log)
        self.assertEqual((code, out), (0, b"Aa\n" + b"x" * 1023 + b"1\n"))
        self.assertIn("  other text          1\n  in part             1\n", err)
        with open(doubtful, "rb") as file:
            self.assertEqual(file.read(),
                             b"2: other text: BB\n5: in part: " + b"x" * 1023 + b"2\n")

    def test_masks(self):
        log = b"eth0 up\neth17 up\nfe80::1 up\nfe80::2:ff up\n-5 up\n0x1F up\n"
        self.assertEqual(run("filter", "--mask", stdin=log)[1], b"eth0 up\nfe80::1 up\n")
        self.assertEqual(run("filter", "--mask=[0-9]+", stdin=log)[1],
                         b"eth0 up\nfe80::1 up\nfe80::2:ff up\n-5 up\n0x1F up\n")
        self.assertEqual(run("filter", "--mask=up", "--mask", stdin=b"up 1\ndown 1\nup 2\n")[1],
                         b"up 1\ndown 1\n")
        self.fails(["filter", "--mask=("], 2,
                   "--mask: '(' is no regular expression: Unmatched ( or \\(")

    def test_json(self):
        lines = b"2026-11-21 03:37:00 \xff\"\\\x01\n2026-11-21 03:37:01 \xff\"\\\x01\n"
        out = run("filter", "--json", "--histogram", stdin=lines)[1].decode().splitlines()
        self.assertEqual(json.loads(out[0]), {"line": 1, "time": "2026-11-21 03:37:00",
                                              "text": "2026-11-21 03:37:00 \ufffd\"\\\x01"})
        summary = json.loads(out[1])["summary"]
        self.assertEqual((summary["lines"], summary["suppressed"], summary["stamps"]),
                         (2, 1, "ISO 8601"))
        self.assertEqual(sum(bar["lines"] for bar in summary["over_time"]), 2)
        self.assertEqual(len(run("filter", "--json", "--quiet", stdin=lines)[1].splitlines()), 1)

    def test_histogram(self):
        log = b"".join(b"2026-11-21 03:%02d:00 a\n" % minute for minute in range(60))
        err = run("filter", "--histogram", stdin=log)[2]
        bars = re.findall(r"^2026-11-21 03:(\d\d):00 +(\d+) +(\d+)  (#*)(-+)$", err, re.M)
        self.assertEqual([int(bar[0]) for bar in bars], list(range(0, 60, 5)))
        self.assertEqual([(bar[1], bar[2]) for bar in bars], [("5", "1")] + 11 * [("5", "0")])

    def test_a_histogram_from_before_the_clock_was_set(self):
        log = b"1970-01-01 00:00:07 a\n2026-11-21 03:00:00 a\n2026-11-21 03:00:00 b\n"
        out = run("filter", "--histogram", "--quiet", "--json", stdin=log)[1]
        bars = json.loads(out.splitlines()[-1])["summary"]["over_time"]
        self.assertEqual((bars[0]["lines"], bars[-1]["lines"]), (1, 2))
        self.assertLessEqual(len(bars), 20)

    def test_a_histogram_is_shown_also_without_a_summary(self):
        log = b"2026-11-21 03:00:00 a\n2026-11-21 03:00:00 a\n"
        code, out, err = run("filter", "--histogram", "--quiet", stdin=log)
        self.assertEqual((code, out), (0, log[:22]))
        self.assertRegex(err, r"^\nover time [^\n]*\n2026-11-21 03:00:00 +2 +1  #+-+\n$")
        _, out, err = run("filter", "--histogram", "--quiet", "--json", stdin=log)
        self.assertEqual((json.loads(out.splitlines()[1]), err), ({"summary": {"over_time": [
            {"time": "2026-11-21 03:00:00", "lines": 2, "passed": 1}]}}, ""))

    def test_colors(self):
        log = b"a\na\n"
        self.assertNotIn("\x1b", run("filter", stdin=log)[2])
        self.assertIn("\x1b[31msuppressed", run("filter", "--color=always", stdin=log)[2])
        self.assertEqual(run("filter", "--color=red")[0], 2)


class Live(Case):
    def start(self, *words, **how):
        process = subprocess.Popen([DXRSH, *words], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                   env=ENVIRONMENT, **{"stderr": subprocess.PIPE, **how})
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stdin.close)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def test_a_pipe_ends_with_its_summary(self):
        process = self.start("filter")
        process.stdin.write(b"a\na\nb\n")
        process.stdin.flush()
        self.assertEqual(process.stdout.readline() + process.stdout.readline(), b"a\nb\n")
        process.send_signal(signal.SIGINT)
        err = process.stderr.read().decode()
        process.stderr.close()
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertIn("lines read            3\n", err)
        self.assertIn("the clock was that of the machine", err)
        self.assertNotIn("2000-01-01", err)

    def test_a_file_is_followed_through_rotation(self):
        path = self.file("log", b"a\na\nb")
        process = self.start("filter", "--follow", path)
        self.assertEqual(process.stdout.readline(), b"a\n")
        with open(path, "ab") as log:
            log.write(b"c\n")
        self.assertEqual(process.stdout.readline(), b"bc\n")
        os.rename(path, path + ".1")
        with open(path + ".1", "ab") as log:
            log.write(b"late\nbroken off")
        self.file("log", b"new\na\n")
        self.assertEqual([process.stdout.readline() for _ in range(3)],
                         [b"late\n", b"broken off\n", b"new\n"])
        self.file("log", b"cut\n")  # the same file, shorter than what was read of it
        self.assertEqual(process.stdout.readline(), b"cut\n")
        process.send_signal(signal.SIGTERM)
        err = process.stderr.read().decode()
        process.stderr.close()
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertIn("suppressed            2 ", err)
        self.fails(["filter", "--follow"], 2,
                   "--follow: standard input cannot be followed; name a file")

    def test_a_file_that_is_not_there_is_waited_for(self):
        path = self.path("log")
        waiting = f"dxrsh: waiting for {path}, which is not there\n".encode()
        process = self.start("filter", "--follow", "--quiet", path)
        self.assertEqual(process.stderr.readline(), waiting)
        self.file("log", b"a\na\nb\n")
        self.assertEqual([process.stdout.readline() for _ in range(2)], [b"a\n", b"b\n"])
        os.rename(path, path + ".1")
        self.assertEqual(process.stderr.readline(), waiting)
        self.file("log", b"b\nc\n")
        self.assertEqual(process.stdout.readline(), b"c\n")
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.stderr.read(), b"")
        process.stderr.close()
        self.assertEqual(process.wait(PATIENCE), 0)

    def test_waiting_ends_with_its_summary(self):
        path = self.path("log")
        mine, its = pty.openpty()
        process = self.start("filter", "--follow", path, stderr=its)
        os.close(its)
        seen = b""
        while not re.search(rb"\r +\rdxrsh: waiting for [^\n]*\n0 lines, [^\n]*ends\)$", seen):
            seen += os.read(mine, 4096)
        process.send_signal(signal.SIGINT)
        self.assertIn(b"lines read            0\r\n", what_comes(mine))
        self.assertEqual(process.wait(PATIENCE), 0)
        # Of the logs before it nothing is waited for, nor what cannot be opened.
        self.fails(["filter", "--follow", path, path], 1,
                   f"cannot open {path}: No such file or directory")
        below = os.path.join(self.file("other", b""), "log")
        self.fails(["filter", "--follow", below], 1, f"cannot open {below}: Not a directory")

    def test_a_mark_of_utf8_begins_no_line(self):
        mark = b"\xef\xbb\xbf"
        path = self.file("log", mark + b"a\na\nb\n")
        process = self.start("filter", "--follow", path)
        self.assertEqual([process.stdout.readline() for _ in range(2)], [b"a\n", b"b\n"])
        os.rename(path, path + ".1")
        self.file("log", mark[:2])  # it may come in parts
        time.sleep(0.5)
        with open(path, "ab") as log:
            log.write(mark[2:] + b"a\nc\n")
        self.assertEqual(process.stdout.readline(), b"c\n")
        self.file("log", mark + b"d\n")  # cut
        self.assertEqual(process.stdout.readline(), b"d\n")
        process.send_signal(signal.SIGTERM)
        process.stderr.close()
        self.assertEqual(process.wait(PATIENCE), 0)

    def test_a_mark_of_utf8_comes_byte_by_byte(self):
        process = self.start("filter", "--quiet")
        for byte in b"\xef\xbb\xbfa\n":
            process.stdin.write(bytes([byte]))
            process.stdin.flush()
            time.sleep(0.05)
        self.assertEqual(process.stdout.readline(), b"a\n")
        process.stderr.close()

    def test_what_is_compressed_is_not_followed(self):
        for name, begin in (("log.gz", gzip.compress(b"a\n")), ("log.zst", b"\x28\xb5\x2f\xfd")):
            path = self.file(name, begin)
            self.fails(["filter", "--follow", path], 2,
                       f"--follow: {path} is compressed and cannot be followed")

    def test_a_terminal_has_a_status_line_and_a_clean_end(self):
        path = self.file("log", b"a\na\n")
        mine, its = pty.openpty()
        process = self.start("filter", "--follow", path, stderr=its)
        os.close(its)
        self.assertEqual(process.stdout.readline(), b"a\n")
        seen = b""
        while b"Ctrl-C ends)" not in seen or b"2 lines, 1 suppressed" not in seen:
            seen += os.read(mine, 4096)
        process.send_signal(signal.SIGINT)
        seen = what_comes(mine)
        self.assertEqual(process.wait(PATIENCE), 0)
        self.assertRegex(seen, rb"^\r +\r\r\n(dxrsh: no time stamp[^\n]*\n)?lines read ")


    def test_long_work_shows_how_far_it_is(self):
        path = self.file("log", (b"x" * 65535 + b"\n") * 256)
        for words in (["fault", "--quiet", "--rule", "10,3"], ["record", "--quiet"],
                      ["filter", "--quiet"]):
            mine, its = pty.openpty()
            with subprocess.Popen([DXRSH, *words, path], stdin=subprocess.DEVNULL, stderr=its,
                                  stdout=subprocess.DEVNULL, env=ENVIRONMENT) as process:
                os.close(its)
                seen = what_comes(mine)
                self.assertEqual(process.wait(PATIENCE), 0, words)
            self.assertRegex(seen, rb"^\r\[#* *\] +\d+ %\r\[", words)
            self.assertRegex(seen, rb"\[#{40}\] 100 %\r {48}\r$", words)


class Files(Case):
    def test_crc_goes_on_after_a_bad_file(self):
        one = self.file("one", b"123456789")
        code, out, err = run("crc", one, self.path("no"), self.folder.name, one)
        self.assertEqual((code, out.decode()), (1, f"0xa2 9 {one}\n" * 2))
        self.assertEqual(err, f"dxrsh: cannot open {self.path('no')}: No such file or directory\n"
                              f"dxrsh: cannot read {self.folder.name}: Is a directory\n")

    def test_private_logs_of_any_folder(self):
        where = ["--dir", self.folder.name]
        self.assertEqual(run("privatelog", "write", "a.log", *where, stdin=b"one\ntwo\n"),
                         (0, b"a.log: 8 bytes added, 8 in all\n", ""))
        self.assertEqual(run("privatelog", "write", "a.log", *where, stdin=b"three")[0], 0)
        self.assertEqual(run("privatelog", "read", "a.log", *where)[1], b"one\ntwo\nthree")
        self.assertEqual(run("privatelog", "cut", "a.log", "7", *where)[1],
                         b"a.log: 7 bytes, 13 before\n")
        self.assertEqual(run("privatelog", "length", "a.log", "--json", *where)[1],
                         b'{"name":"a.log","bytes":7}\n')
        self.assertEqual(run("privatelog", "read", "a.log", *where)[1], b"o\nthree")
        self.assertEqual(os.listdir(self.folder.name), ["a.log"])

    def test_private_logs_that_are_none(self):
        os.mkdir(self.path("sub"))
        where = ["--dir", self.folder.name]
        for action in (["write", "sub"], ["read", "sub"], ["length", "sub"], ["cut", "sub", "1"]):
            self.fails(["privatelog", *action, *where], 1, f"{self.path('sub')} is a directory")
        self.fails(["privatelog", "write", "dxr_log.tmp", *where], 2,
                   "'dxr_log.tmp' is the file that logs are cut with")
        self.fails(["privatelog", "read", "no", *where], 1, f"there is no log {self.path('no')}")

    def test_a_full_disk_says_what_was_written(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (2500, 2500))
        self.fails(["privatelog", "write", "a.log", "--dir", self.folder.name], 1,
                   f"{self.path('a.log')}: 2500 of 6000 bytes written: File too large",
                   stdin=b"x" * 6000, preexec_fn=limit)
        self.fails(["privatelog", "write", "full", "--dir", "/dev"], 1,
                   "/dev/full: 0 of 3 bytes written: No space left on device", stdin=b"abc")

    def test_a_full_disk_leaves_a_log_that_is_cut(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (2500, 2500))
        path = self.file("a.log", b"x" * 5000)
        self.fails(["privatelog", "cut", "a.log", "3000", "--dir", self.folder.name], 1,
                   f"cannot cut {path}", preexec_fn=limit)
        self.assertEqual(os.listdir(self.folder.name), ["a.log"])
        self.assertEqual(os.path.getsize(path), 5000)

    def test_from_names_file_and_line(self):
        table = os.path.join(ROOT, "examples/dxrsh/messages.json")
        path = self.file("messages", b"17\n\nx7\n")
        self.fails(["simulate", "replay", table, "--from", path], 2,
                   f"{path}: line 3: message type: 'x7' is no whole number from 0 to 4294967295")

    def test_record_and_names_are_safe_for_a_terminal(self):
        out = run("record", stdin=b"2026-11-21 03:37:00 a\x1b[31m\x00b\r\n")[1]
        self.assertEqual(out, b"   0:   First time:2026/11/21 03:37:00, last time:2026/11/21 "
                              b"03:37:00, count[001], a\\x1b[31m\\x00b\\x0d\n")
        self.assertEqual(run("crc", self.file("n\x1bn", b""))[1].decode(),
                         f"0x00 0 {self.folder.name}/n\\x1bn\n")


class Words(Case):
    def test_unknown_commands(self):
        for words, complaint in (
                (["fliter"], "there is no command 'fliter'; did you mean 'filter'?"),
                (["priv"], "there is no command 'priv'; did you mean 'privatelog'?"),
                (["privatelog", "raed"], "there is no command 'raed'; did you mean 'read'?"),
                (["help", "recrod"], "there is no command 'recrod'; did you mean 'record'?"),
                (["--json", "help", "recrod"],
                 "there is no command 'recrod'; did you mean 'record'?"),
                (["qqqqqqqqqq"], "there is no command 'qqqqqqqqqq'; 'dxrsh --help' lists them")):
            self.fails(words, 2, complaint)

    def test_help_is_help(self):
        self.assertEqual(run("help"), run("--help"))
        self.assertEqual(run("help", "filter"), run("filter", "--help"))
        self.assertEqual(run("help", "privatelog", "write"), run("privatelog", "write", "-h"))
        for words in (("--json", "help", "filter"), ("help", "--json", "filter"),
                      ("help", "filter", "--json"), ("help", "filter", "log"),
                      ("help", "--help", "filter")):
            self.assertEqual(run(*words), run("filter", "--help"), words)
        self.assertEqual(run("--json", "help"), run("--help"))
        self.assertEqual(run("help", "chassis", "lab.json"), run("chassis", "--help"))
        # No module is run for it.
        self.assertEqual(run("help", "run", "no.so"), run("run", "--help"))
        self.assertIn(b"Tells about a command", run("help", "--help")[1])

    def test_help_fits_a_screen_and_shows_examples(self):
        for command in [(), *all_commands()]:
            code, out, err = run(*command, "--help")
            lines = out.decode().splitlines()
            self.assertEqual((code, err), (0, ""), command)
            self.assertLessEqual(len(lines), 24, command)
            self.assertLessEqual(max(map(len, lines)), 80, command)
            self.assertTrue(lines[0].startswith(" ".join(("Usage: dxrsh",) + command)), command)

    def test_examples_run(self):
        found = 0
        for command in all_commands():
            out = run(*command, "--help")[1].decode()
            examples = re.findall("^  (.*dxrsh .*)$", out.partition("Examples:\n")[2], re.M)
            self.assertEqual(len(examples), 2, command)
            for example in examples:
                if any(word in example for word in ("/var/log", "bench", "chassis", "attach")):
                    continue  # what not every machine has, what takes long or has its own test
                for shown, there in (("> kept.log", "> /dev/null"),
                                     (" registers.so", f" {MODULES}registers.so"),
                                     (" worker.so", f" {MODULES}worker.so"),
                                     ("before.dxrtrace", RECORDING), ("after.dxrtrace", RECORDING)):
                    example = example.replace(shown, there)
                done = subprocess.run(["sh", "-c", example], cwd=ROOT, env=ENVIRONMENT,
                                      capture_output=True, check=False,
                                      timeout=PATIENCE)
                self.assertEqual(done.returncode, 0, (example, done.stderr))
                found += 1
        self.assertGreater(found, 20)

    def test_a_full_device_fails(self):
        for words in (["--help"], ["--version"], ["filter", "--help"], ["slots"],
                      ["run", "--clock", "virtual", MODULES + "worker.so"]):
            with open("/dev/full", "wb") as full:
                done = subprocess.run([DXRSH, *words], stdout=full, stderr=subprocess.PIPE,
                                      check=False, env=ENVIRONMENT, timeout=PATIENCE)
            self.assertEqual((done.returncode, done.stderr),
                             (1, b"dxrsh: cannot write the output: No space left on device\n"))

    def test_no_standard_output(self):
        """What is opened does not take its place."""
        recording = self.path("calls.dxrtrace")
        for words in (["--help"], ["slots"], ["filter", "examples/dxrsh/links.log"],
                      ["run", "--trace", recording, "--clock", "virtual", MODULES + "worker.so"],
                      ["replay", recording, MODULES + "worker.so"], ["trace", recording],
                      ["diff", recording, recording]):
            done = subprocess.run([DXRSH, *words], stderr=subprocess.PIPE, check=False, cwd=ROOT,
                                  env=ENVIRONMENT, timeout=PATIENCE,
                                  preexec_fn=lambda: os.close(1))
            self.assertEqual((words[0], done.returncode, done.stderr),
                             (words[0], 1,
                              b"dxrsh: cannot write the output: Bad file descriptor\n"))
        self.assertEqual(run("trace", "--counts", recording)[::2], (0, ""))

    def test_groups_in_any_case(self):
        self.assertEqual(run("slots", "--group", "MEMORY"), run("slots", "--group", "Memory"))
        code, out, err = run("slots", "--group", "Memroy")
        self.assertEqual((code, out), (2, b""))
        self.assertRegex(err, "^dxrsh: slots: there is no group 'Memroy', but .*Memory, .*\n$")

    def test_json_of_every_command(self):
        os.chdir(ROOT)
        here = "examples/dxrsh/"
        for words in (["record", here + "links.log"], ["slots"], ["links", "2", "40", "33"],
                      ["fault", "--rule", "10,3", here + "events.log"],
                      ["simulate", "show", here + "messages.json"],
                      ["simulate", "set", here + "messages.json", "2", "1"],
                      ["simulate", "replay", here + "messages.json", "17", "18"],
                      ["msgfilter", "show", here + "filters.json"],
                      ["msgfilter", "replay", here + "filters.json", "1/10", "3"],
                      ["bin", "dxrsh", "messages.json", "--work", "examples"],
                      ["latest", here, ".log"], ["crc", here + "links.log"],
                      ["trace", here + "registers.dxrtrace"]):
            code, out, err = run(*words, "--json")
            self.assertEqual((code, err), (0, ""), words)
            for line in out.splitlines():
                self.assertIsInstance(json.loads(line), dict, words)
        worker, registers = MODULES + "worker.so", MODULES + "registers.so"
        code, out, err = run("run", "--clock", "virtual", "--json", worker)
        self.assertEqual(err, "sum 6, ticks 3\n")  # which the module prints by itself
        lines = [json.loads(line) for line in out.splitlines()]
        self.assertEqual((code, lines[0]), (0, {"line": 'port 3 is <up> & "well"'}))
        report = lines[-1]["report"]
        self.assertEqual((report["module"], report["returned"], report["well"]),
                         ("dxrsh_worker.so", 0, True))
        self.assertEqual((report["lines_let_through"], report["lines_suppressed"],
                          len(report["records"]), report["left_behind"]), (1, 3, 3, 0))
        self.assertEqual(sum(slot["calls"] for slot in report["slots"]), 198)
        report = json.loads(run("run", "--json", registers, "outside")[1])["report"]
        self.assertEqual((report["well"], report["reports"][0]["function"]), (False, "DXR_FOpen"))
        for words, status in (([], 0), (["x"], 1)):
            code, out, _ = run("replay", "--json", RECORDING, registers, *words)
            self.assertEqual((code, json.loads(out)["same"]), (status, status == 0))
        for other, status in ((RECORDING, 0), (here + "worker.dxrtrace", 1)):
            code, out, err = run("diff", "--json", RECORDING, other)
            self.assertEqual((code, json.loads(out)["same"], err), (status, status == 0, ""))
        out = run("msgfilter", "show", here + "filters.json", "--json")[1]
        self.assertEqual(json.loads(out)["filters"][1],
                         {"path": "1/10", "name": "up", "lost": 1})


class Pages(Case):
    def test_the_manual_is_in_order(self):
        with open(MAN, encoding="utf-8") as file:
            text = file.read()
        for command in all_commands():
            self.assertIn("\n.SS " + " ".join(command) + " ", text)
        self.assertIn("\\fB\\-\\-histogram\\fR", text)
        if shutil.which("mandoc"):
            done = subprocess.run(["mandoc", "-T", "lint", "-W", "warning", MAN],
                                  capture_output=True, text=True, check=False)
            self.assertEqual(done.stdout + done.stderr, "")
        if shutil.which("man"):
            done = subprocess.run(["man", "--warnings", "-l", MAN], capture_output=True, text=True,
                                  check=False, env={**ENVIRONMENT, "MANWIDTH": "80"})
            self.assertEqual((done.returncode, done.stderr), (0, ""))

    def complete(self, line):
        script = f"""
            source {COMPLETIONS}/dxrsh.bash
            COMP_WORDS=({line})
            [[ {line!r} == *' ' ]] && COMP_WORDS+=('')
            COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1))
            _dxrsh
            printf '%s\\n' "${{COMPREPLY[@]}}" """
        done = subprocess.run(["bash", "-c", script], capture_output=True, text=True, check=False)
        self.assertEqual(done.stderr, "")
        return done.stdout.split()

    def test_bash_completes(self):
        self.assertEqual(self.complete("dxrsh fil"), ["filter"])
        self.assertEqual(self.complete("dxrsh filter --his"), ["--histogram"])
        self.assertEqual(self.complete("dxrsh filter "), [])
        self.assertIn("cut", self.complete("dxrsh privatelog "))
        self.assertEqual(self.complete("dxrsh privatelog write --d"), ["--dir"])
        self.assertEqual(set(commands()) - set(self.complete("dxrsh ")), set())
        self.assertEqual(set(commands()) - set(self.complete("dxrsh help ")), set())
        self.assertEqual(self.complete("dxrsh help fil"), ["filter"])
        self.assertEqual(self.complete("dxrsh help filter "), [])
        self.assertEqual(self.complete("dxrsh help privatelog "), commands("privatelog"))
        for line in ("--color ", "--color =", "--color = a", "--color a"):
            words = {"auto", "always"} | (set() if line[-1] == "a" else {"never"})
            self.assertEqual(set(self.complete("dxrsh filter " + line)), words)
        self.assertEqual(self.complete("dxrsh filter --color auto "), [])
        self.assertEqual(self.complete("dxrsh run --clock v"), ["virtual"])
        groups = self.complete("dxrsh slots --group ")
        self.assertEqual(len(groups), 20)
        for group in groups:
            self.assertEqual(run("slots", "--group", group)[0], 0)

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh_completes(self):
        # Each line is completed and then run; what it has become is printed.
        mine, its = pty.openpty()
        self.addCleanup(os.close, mine)
        self.file(".zshrc", f"""
            fpath=({os.path.abspath(COMPLETIONS)} $fpath)
            autoload -U compinit && compinit -u -D
            PS1= PS2= RPS1=
            dxrsh() {{ print -r -- "runs:$*:" }}
        """.encode())
        os.mkdir(self.path("empty"))
        with subprocess.Popen(["zsh", "-i"], stdin=its, stdout=its, stderr=its,
                              start_new_session=True, cwd=self.path("empty"),
                              env={**ENVIRONMENT, "ZDOTDIR": self.folder.name, "TERM": "dumb"}
                              ) as process:
            os.close(its)
            try:
                for typed, runs in (("fil", "filter"), ("help fil", "help filter"),
                                    ("help privatelog cu", "help privatelog cut"),
                                    ("filter --color al", "filter --color always"),
                                    ("filter --color=ne", "filter --color=never"),
                                    ("slots --group plu", "slots --group plugin"),
                                    ("run --clock v", "run --clock virtual")):
                    os.write(mine, f"dxrsh {typed}\t\n".encode())
                    seen = b""
                    while not (found := re.search(rb"runs:([^\r\n]*):\r?\n", seen)):
                        self.assertTrue(select.select([mine], [], [], PATIENCE)[0], (typed, seen))
                        seen += os.read(mine, 4096)
                    self.assertEqual(found[1].decode().strip(), runs)
                os.write(mine, b"exit\n")
                self.assertEqual(process.wait(PATIENCE), 0)
            finally:
                process.kill()

    @unittest.skipUnless(shutil.which("fish"), "fish is not installed")
    def test_fish_completes(self):
        def complete(line):
            script = f"source {os.path.abspath(COMPLETIONS)}/dxrsh.fish; complete -C {line!r}"
            done = subprocess.run(
                ["fish", "--no-config", "-c", script],
                cwd=self.folder.name, capture_output=True, text=True, check=False,
                env={**ENVIRONMENT, "HOME": self.folder.name})
            self.assertEqual(done.stderr, "")
            return [row.partition("\t")[0] for row in done.stdout.splitlines()]
        self.assertEqual(set(complete("dxrsh ")), set(commands()))
        self.assertEqual(set(complete("dxrsh help ")), set(commands()))
        self.assertEqual(complete("dxrsh help filter "), [])
        self.assertEqual(set(complete("dxrsh help privatelog ")), set(commands("privatelog")))
        self.assertEqual(set(complete("dxrsh filter --color ")), {"auto", "always", "never"})
        self.assertEqual(complete("dxrsh filter --color=ne"), ["--color=never"])
        self.assertEqual(complete("dxrsh run --clock v"), ["virtual"])
        self.assertEqual(len(complete("dxrsh slots --group ")), 20)

    def test_completions_are_in_order(self):
        for shell, name in (("bash", "dxrsh.bash"), ("zsh", "_dxrsh"), ("fish", "dxrsh.fish")):
            if shutil.which(shell):
                done = subprocess.run([shell, "-n", os.path.join(COMPLETIONS, name)],
                                      capture_output=True, text=True, check=False)
                self.assertEqual((done.returncode, done.stderr), (0, ""), shell)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[5:]])
