#!/usr/bin/env python3
"""dxrsh chassis as its users see it: boards that die, are paused, cut off, and lose nothing that
was acknowledged.

    chassis_test.py DXRSH MODULE [--seconds N] [--boards N] [--seed N] [--only TEST]
                    [--reluctant MODULE]

MODULE is examples/chassis/pulse. The storm lasts so many seconds (default 4), with so many line
boards (default 4), and kills a board every half of a second; with --seconds 60 --boards 16 it is
the long run: a kill every second. Everything is on this machine, and below a directory that is gone
at the end.
"""

import argparse
import json
import os
import pathlib
import random
import re
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

# Seconds for what is sure to come. Nobody waits so long where all is well; a machine with much else
# to do may keep a board from its processor or its disk for a good part of them.
LIMIT = 60


class Failed(Exception):
    pass


def check(condition, what):
    if not condition:
        raise Failed(what)


def is_alive(pid):
    try:
        stat = pathlib.Path(f"/proc/{pid}/stat").read_text(encoding="ascii", errors="replace")
    except OSError:
        return False
    return stat.rpartition(")")[2].split()[0] not in "ZX"


def await_that(condition, what, seen=lambda: ""):
    """`seen` tells what there was instead."""
    end = time.monotonic() + LIMIT
    while not condition():
        if time.monotonic() >= end:
            raise Failed(f"in vain: {what} {seen()}")
        time.sleep(0.02)


def use_of(pid):
    """Resident KiB and descriptors of a process; None when it is gone."""
    try:
        status = pathlib.Path(f"/proc/{pid}/status").read_text(encoding="ascii", errors="replace")
        fds = len(os.listdir(f"/proc/{pid}/fd"))
        return int(re.search(r"VmRSS:\s+(\d+)", status)[1]), fds
    except (OSError, TypeError):
        return None


def free_ports(count):
    """The first of so many ports on end that nobody listens at now. Tests that run at the same time
    look at others."""
    for first in range(20000 + os.getpid() * count % 30000, 60000, count):
        try:
            for port in range(first, first + count):
                with socket.socket() as probe:
                    probe.bind(("127.0.0.1", port))
            return first
        except OSError:
            continue
    raise Failed("no free ports")


class Lab:
    """A chassis in a directory of its own."""

    def __init__(self, dxrsh, module, top, name):
        self.dxrsh = dxrsh
        self.top = pathlib.Path(top) / name
        self.run = self.top / "run"
        self.run.mkdir(parents=True, mode=0o700)
        self.file = self.top / "chassis.json"
        self.module = str(module)
        self.process = None
        self.pids = set()

    def board(self, name, kind, unit, peers, *more, **members):
        journal = str(self.top / (name + "{number}.journal"))
        return dict(name=name, kind=kind, module=self.module,
                    arguments=["--unit", unit, "--peers", peers, "--journal", journal, *more],
                    **members)

    def usual(self, lines, every, **members):
        main = self.board("main", "main", "mpu:0", f"lpu:1-{lines}", "--every", every, "--wait",
                          "300")
        line = self.board("line", "line", "lpu:{number}", "mpu:0", "--every", every, "--wait",
                          "300", count=lines)
        main.update(members)
        line.update(members)
        return [main, line]

    def write(self, boards, **members):
        content = dict(name="lab", work="work", restartMs=50, boards=boards)
        content.update(members)
        self.file.write_text(json.dumps(content, indent=1), encoding="utf-8")

    def environment(self):
        return dict(os.environ, XDG_RUNTIME_DIR=str(self.run))

    def call(self, *words):
        done = subprocess.run([self.dxrsh, "chassis", *words], env=self.environment(), text=True,
                              capture_output=True, timeout=LIMIT, check=False)
        return done.returncode, done.stdout, done.stderr

    def ask(self, *words):
        status, out, err = self.call(*words)
        check(status == 0, f"chassis {' '.join(words)}: {status} {err}")
        return out

    def fails(self, status, text, *words):
        got, out, err = self.call(*words)
        check(got == status and err.count("\n") == 1 and re.search(text, err),
              f"chassis {' '.join(words)}: wanted {status} and {text}, got {got} {out} {err}")

    def shell(self, board, lines, status=0):
        done = subprocess.run([self.dxrsh, "chassis", "shell", str(self.file), board],
                              env=self.environment(), text=True, input=lines, capture_output=True,
                              timeout=LIMIT, check=False)
        check(done.returncode == status, f"{board}: {lines}: {done.returncode} {done.stderr}")
        return done.stdout if status == 0 else done.stderr

    def start(self, *options, first=None):
        with open(self.top / "out", "ab") as out:
            # pylint: disable-next=subprocess-popen-preexec-fn
            self.process = subprocess.Popen([self.dxrsh, "chassis", *options, str(self.file)],
                                            env=self.environment(), stdout=out, stderr=out,
                                            preexec_fn=first)
        self.ask("status", "--wait", str(LIMIT))

    def status(self):
        found = json.loads(self.ask("status", "--json"))
        self.pids |= {board["pid"] for board in found["boards"]} - {0}
        return {board["board"]: board for board in found["boards"]}

    def stop(self, expected=0):
        self.status()
        self.ask("stop")
        status = self.process.wait(LIMIT)
        check(status == expected, f"the supervisor ended with {status}: {self.output()}")
        self.expect_nothing_left()

    def output(self):
        return (self.top / "out").read_text(encoding="utf-8")

    def state(self):
        """What is known of a chassis that did not do what it should."""
        said = [f"the supervisor {'lives' if self.process.poll() is None else 'has ended'}, "
                f"and said: {self.output()}"]
        for log in sorted(self.top.glob("work/*/board.log*")):
            try:
                text = log.read_text(encoding="utf-8", errors="replace")
            except FileNotFoundError:  # taken away by the rotation
                continue
            said.append(f"{log.name}, {len(text)} bytes, ends with: {text[-200:]}")
        return "\n".join(said)

    def expect_nothing_left(self):
        await_that(lambda: not any(is_alive(pid) for pid in self.pids), "the end of all boards")
        await_that(lambda: not any(self.mentions(path) for path in
                                   pathlib.Path("/proc").glob("[0-9]*/cmdline")),
                   "the end of all other processes")

    def mentions(self, path):
        try:
            return str(self.top).encode() in path.read_bytes()
        except OSError:
            return False

    def journals(self):
        """Sequences that were taken, as often as they were; and those that were acknowledged."""
        taken, acknowledged = {}, set()
        for path in self.top.glob("*.journal"):
            for line in path.read_text(encoding="ascii").splitlines():
                what, sequence = line.split()
                if what == "taken":
                    taken[sequence] = taken.get(sequence, 0) + 1
                else:
                    acknowledged.add(sequence)
        return taken, acknowledged


def storm(lab, options):
    """Kills, pauses and cuts by chance; nothing acknowledged is lost, nothing is left behind."""
    chance = random.Random(options.seed)
    pause = 1.0 if options.seconds > 20 else 0.5
    lab.write(lab.usual(options.boards, "20"), silentMs=30000)
    lab.start()
    began = time.monotonic()
    kills = {"command": 0, "signal": 0}
    seen = {}  # of what lives on: [(seconds, KiB, descriptors)]
    first = lab.status()
    keeper = f"line{options.boards}"  # it outlives all others
    while (passed := time.monotonic() - began) < options.seconds:
        boards = lab.status()
        for name, pid in (("supervisor", lab.process.pid), ("main", boards["main"]["pid"]),
                          (keeper, boards[keeper]["pid"])):
            use = use_of(pid)
            # The main board dies, too, but not in the end: its use is looked at then.
            if use and (name != "main" or passed > options.seconds / 3):
                seen.setdefault(name, []).append((passed, *use))
        mortal = [name for name, board in boards.items() if board["pid"] and name != keeper and
                  (name != "main" or passed < options.seconds / 4)]
        victim = chance.choice(mortal)
        if chance.random() < 0.5:
            kills["command"] += lab.call("kill", victim)[0] == 0
        else:
            os.kill(boards[victim]["pid"], signal.SIGKILL)
            kills["signal"] += 1
        other = f"line{chance.randrange(1, options.boards)}"
        for verb, back in chance.sample([("pause", "resume"), ("cut", "join")], 1):
            if lab.call(verb, other)[0] == 0:
                time.sleep(pause / 4)
                lab.call(back, other)
        time.sleep(max(0.0, began + passed + pause - time.monotonic()))
    lab.ask("status", "--wait", str(LIMIT))
    last = lab.status()
    check(last[keeper]["pid"] == first[keeper]["pid"], "the one that nobody killed has died")
    print(lab.ask("status"), end="")
    lab.stop()
    taken, acknowledged = lab.journals()
    lost = acknowledged - taken.keys()
    twice = sum(times > 1 for times in taken.values())
    check(not lost, f"acknowledged but not taken: {sorted(lost)[:10]}")
    check(twice == 0, f"{twice} messages were taken twice")
    check(len(acknowledged) > 20 * options.seconds, f"only {len(acknowledged)} acknowledged")
    deaths = sum(board["deaths"] for board in last.values())
    check(deaths >= sum(kills.values()), "deaths were not counted")
    print(f"{options.seconds} s, 1 main and {options.boards} line boards, "
          f"{kills['command']} kills by command, {kills['signal']} by signal, {deaths} deaths")
    print(f"messages taken {len(taken)}, acknowledged {len(acknowledged)}, of these lost 0, "
          "processes left 0")
    for name, uses in seen.items():
        half = len(uses) // 2
        rows = [(max(use[i] for use in part)) for i in (1, 2) for part in (uses[:half], uses[half:])
                if part]
        if len(rows) < 4:
            continue
        print(f"{name}: KiB at most {rows[0]} in the first half, {rows[1]} in the second; "
              f"descriptors {rows[2]}, {rows[3]}")
        if options.seconds > 20:
            check(rows[1] <= rows[0] + 1024, f"{name} grows")
            check(rows[3] <= rows[2] + 3, f"{name} keeps descriptors")


def orders(lab, _):
    """What is asked of a chassis that runs."""
    lab.write(lab.usual(2, "10"))
    lab.fails(1, "no chassis runs", "status")
    lab.fails(1, "chassis lab does not run", "shell", str(lab.file), "main")
    lab.start()
    lab.fails(1, "chassis lab runs already", str(lab.file))
    before = lab.status()
    table = lab.ask("status", "--name", "lab")
    check(table.count("\n") == 5 and re.search(r"^line2 +line +\d+ running", table, re.M), table)
    lab.ask("pause", "line1", "line2")
    check(lab.status()["line1"]["state"] == "paused", "not paused")
    lab.fails(1, "line1 is paused already", "pause", "line1")
    lab.fails(1, "line1 is paused$", "status", "--wait", "1")
    await_that(lambda: lab.status()["main"]["timed_out"] > before["main"]["timed_out"],
               "messages to paused boards time out")
    lab.ask("resume", "line1", "line2")
    lab.fails(1, "line1 is not paused", "resume", "line1")
    lab.ask("cut", "line1")
    check(lab.status()["line1"]["cut_off"], "not cut off")
    lab.fails(1, "cut off already", "cut", "line1")
    await_that(lambda: lab.status()["line1"]["timed_out"] > 0, "the cut board hears nothing")
    # It stays cut off when it is started again.
    lab.ask("kill", "line1")
    await_that(lambda: lab.status()["line1"]["starts"] == 2 and
               lab.status()["line1"]["timed_out"] > 0, "it is started again")
    check(lab.status()["line1"]["acknowledged"] == 0, "a board that is cut off was answered")
    lab.ask("join", "line1")
    await_that(lambda: lab.status()["line1"]["acknowledged"] > 0, "it is joined again")
    lab.fails(1, "there is no board nobody here", "kill", "nobody")
    lab.stop()
    lab.fails(1, "chassis lab does not run", "stop", "--name", "lab")
    check(not list(lab.run.glob("dxrsh-chassis/*")), "files are left where it ran")


def silent(lab, _):
    """Nobody waits for a supervisor that is stopped; when it goes on it does not do what those who
    have gone told it."""
    lab.write(lab.usual(1, "10"))
    lab.start()
    lab.status()
    lab.process.send_signal(signal.SIGSTOP)
    asked = []
    try:
        asked += [subprocess.Popen([lab.dxrsh, "chassis", *words], env=lab.environment(), text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE)
                 for words in (["status"], ["status", "--wait", "3000"], ["kill", "line1"],
                               ["stop"])]
        for each in asked:
            out, err = each.communicate(timeout=LIMIT)
            check((each.returncode, out, err) == (1, "", "dxrsh: chassis lab does not answer\n"),
                  f"{each.args}: {each.returncode} {out} {err}")
        # Where so many wait that it cannot be asked, that is not the end of the chassis.
        control = str(lab.run / "dxrsh-chassis/lab/control")
        waiting = []
        while True:
            waiting.append(socket.socket(socket.AF_UNIX))
            waiting[-1].setblocking(False)
            try:
                waiting[-1].connect(control)
            except BlockingIOError:
                break
        lab.fails(1, "^dxrsh: chassis lab does not answer$", "status")
        # One who finds no room waits for it.
        late = subprocess.Popen([lab.dxrsh, "chassis", "status"], env=lab.environment(), text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        time.sleep(0.5)
        for each in waiting:
            each.close()
    finally:
        for each in asked:
            each.kill()
            each.wait()
        lab.process.send_signal(signal.SIGCONT)
    try:
        out, err = late.communicate(timeout=LIMIT)
        check(late.returncode == 0 and "line1" in out, f"{late.returncode} {out} {err}")
    finally:
        late.kill()
        late.wait()
    await_that(lambda: lab.call("status")[0] == 0, "it answers again", lab.state)
    check(lab.status()["line1"]["starts"] == 1, "a board was killed for one who had gone")
    lab.stop()
    lab.expect_nothing_left()


def shells(lab, _):
    """Messages that the file names are lost and no others; and a board that is poked at."""
    pulse = 0x50554C
    tree = lab.top / "losses.json"
    def unit(number, lost):
        return dict(type=number, name=f"lpu:{number}",
                    filters=[dict(type=pulse, name="pulse", lost=lost)])
    tree.write_text(json.dumps(dict(filters=[dict(type=2, name="lpu", filters=[
        unit(1, 3), unit(2, 0)])])), encoding="ascii")
    boards = lab.usual(2, "10")
    boards[0].update(filter="losses.json", simulate=[dict(kind=77, lost=1)])
    lab.write(boards)
    lab.start()

    shell = lab.shell

    def lost():
        return lab.status()["main"]["lost"]

    def goes_on():
        before = lab.status()["main"]["acknowledged"]
        await_that(lambda: lab.status()["main"]["acknowledged"] > before + 5, "messages arrive")

    await_that(lambda: lost() == 3, "three messages are lost")
    goes_on()
    check(lost() == 3, "others are lost, too")
    # What is lost changes, in the tree of the file and beside it.
    drops = shell("main", f"drop lpu:2 {pulse} 2\ndrop 77 0\ndrop 78 0\ndrop\n")
    check("lostCnt[0], name[pulse]" in drops and "kind 77" in drops and "kind 78" in drops, drops)
    await_that(lambda: lost() == 5, "two more are lost")
    goes_on()
    check(lost() == 5, "others are lost, too")
    check(shell("line1", "set 0:1:0x40 7\ncall DXR_ReadReg 0 1 0x40\nexpect value 7\n") ==
          "DXR_ReadReg = 0\n  value = 7\n", "a slot of a board")
    check("slots used: " in shell("line1", "report\nmailboxes\n"), "no report")
    check(shell("line1", "get 0:1:0x40\nload x\n", 1) == "dxrsh: standard input:2: load: only in "
          "'dxrsh shell'; this host has its module\n", "load is refused")
    # The lines may be in a file.
    lines = lab.top / "lines"
    lines.write_text("get 0:1:0x40\n", encoding="ascii")
    check(lab.ask("shell", str(lab.file), "line1", str(lines)) == "0:1:0x40 = 7\n", "a file")
    # Another life of the board has another host at the same place.
    lab.ask("kill", "line1")
    await_that(lambda: lab.status()["line1"]["starts"] == 2 and
               lab.status()["line1"]["state"] == "running", "it is started again")
    check(shell("line1", "get 0:1:0x40\n") == "0:1:0x40 = 0\n", "not a new host")
    check("has no board nobody" in shell("nobody", "", 2), "no such board")
    lab.stop()
    check("chassis lab does not run" in shell("line1", "", 1), "no chassis")
    check(not list(lab.run.glob("dxrsh-chassis/*")), "files are left where it ran")
    tree.write_text('{"filters": [{"type": 1}]}', encoding="ascii")
    lab.fails(2, r"losses.json: filters\[0\]: 'name' is missing", str(lab.file))
    tree.unlink()
    lab.fails(2, "losses.json: No such file", str(lab.file))


def own_tree(lab, options):
    """A module that asks a filter tree of its own keeps it, whatever the file and a shell say."""
    (lab.top / "losses.json").write_text(json.dumps(dict(filters=[dict(
        type=1, name="mpu", filters=[dict(type=0, name="mpu:0", filters=[
            dict(type=18, name="file", lost=9)])])])), encoding="ascii")
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["tree", "0"], filter="losses.json")])
    lab.start()
    await_that(lambda: "mpu:0 " in lab.shell("main", "mailboxes\n"), "the module's mailbox")
    check(lab.shell("main", "drop mpu:0 19 5\n", 1) ==
          "dxrsh: standard input:1: the module has set a filter tree of its own\n", "it is changed")
    drops = lab.shell("main", "drop\n")
    check("lostCnt[2], name[own]" in drops and "name[file]" not in drops, drops)
    # It is asked, and messages are lost by their kind alone, too.
    drops = lab.shell("main", "drop 77 1\nsend mpu:0 19\nsend mpu:0 77\nsend mpu:0 19\nmailboxes\n"
                      "drop\n")
    check("sent 3, arrived 0, taken 0, lost 3, refused 0" in drops and
          "lostCnt[0], name[own]" in drops and "kind 77[ 77]" in drops, drops)
    lab.stop()


def orphans(lab, options):
    """Nothing outlives a supervisor, whatever ends it; and the next one finds its place."""
    reluctant = dict(name="parent", kind="main", module=os.path.abspath(options.reluctant),
                     arguments=["forks"])
    log = lab.top / "work/parent/board.log"
    lab.write([reluctant])
    for number, end in enumerate(("killed", "paused", "stopped"), 1):
        # A child that its module has forked goes, too.
        lab.start()
        await_that(lambda: log.read_text("ascii").count("child") == number, "a child")
        child = int(re.findall(r"^child (\d+)", log.read_text("ascii"), re.M)[-1])
        check(is_alive(child), "the child has ended")
        lab.pids.add(child)
        if end == "stopped":
            lab.stop()
            break
        if end == "paused":
            lab.ask("pause", "parent")
        lab.process.kill()
        lab.process.wait(LIMIT)
        lab.expect_nothing_left()
    lab.write(lab.usual(2, "10"))
    lab.start()
    lab.status()
    lab.process.kill()
    lab.process.wait(LIMIT)
    lab.expect_nothing_left()
    lab.start()
    lab.status()
    lab.process.terminate()
    check(lab.process.wait(LIMIT) == 0, lab.output())
    lab.expect_nothing_left()


def read_once(lab, _):
    """The boards get the file that the supervisor has read, not what is there later."""
    lab.write(lab.usual(1, "10"))
    content = lab.file.read_bytes()
    lab.file.unlink()
    os.mkfifo(lab.file)

    def give():
        """Once: who opens it a second time finds nobody who writes."""
        with open(lab.file, "wb") as pipe:
            pipe.write(content)
        lab.file.unlink()
        lab.file.write_text("{", encoding="ascii")

    giver = threading.Thread(target=give, daemon=True)
    giver.start()
    lab.start()
    giver.join(LIMIT)
    lab.ask("kill", "line1")
    await_that(lambda: lab.status()["line1"]["starts"] == 2 and
               lab.status()["line1"]["acknowledged"] > 0, "it is started again")
    lab.stop()
    # One that has no end.
    lab.fails(2, "/dev/zero: is too long for a chassis file", "/dev/zero")


def begin_again(lab, _):
    """Who has stopped a chassis may start it at once, also when its place takes long to clear."""
    lab.write(lab.usual(1, "10"))
    lab.start()
    place = lab.run / "dxrsh-chassis/lab"
    for i in range(8000):
        (place / str(i)).touch()
    lab.ask("stop")
    check(not place.exists(), "it has stopped, and its place is taken")
    lab.process.wait(LIMIT)
    lab.start()
    lab.stop()


def inherited(lab, _):
    """What the supervisor was started with, and what its boards hand on."""
    def ignore():
        for each in (signal.SIGHUP, signal.SIGINT, signal.SIGCHLD):
            signal.signal(each, signal.SIG_IGN)

    lab.write(lab.usual(1, "10"))
    lab.start(first=ignore)
    pid = lab.status()["line1"]["pid"]
    flags = re.search(r"flags:\s+(\d+)",
                      pathlib.Path(f"/proc/{pid}/fdinfo/3").read_text(encoding="ascii"))[1]
    check(int(flags, 8) & os.O_CLOEXEC, "programs that a module starts get the board's socket")
    # It goes on without its terminal, and sees its boards die.
    lab.process.send_signal(signal.SIGHUP)
    lab.process.send_signal(signal.SIGINT)
    os.kill(pid, signal.SIGKILL)
    await_that(lambda: lab.status()["line1"]["starts"] == 2, "a board that died unseen")
    lab.stop()


def endings(lab, options):
    """A board that is at work when it should have ended is waited for, one that waits is not."""
    board = dict(name="main", kind="main", module=os.path.abspath(options.reluctant))
    lab.write([dict(board, arguments=["500"])], stopMs=300)
    lab.start()
    lab.stop()
    # Longer than an answer is waited for.
    lab.write([dict(board, arguments=["5500"])], stopMs=20000)
    lab.start()
    lab.stop()
    lab.write([dict(board, arguments=["stuck"])], stopMs=300)
    lab.start()
    lab.fails(1, "a board did not end well", "stop")
    check(lab.process.wait(LIMIT) == 1 and "main: does not stop" in lab.output(), lab.output())
    lab.expect_nothing_left()
    # One in a loop, too.
    lab.write([dict(board, arguments=["1000000"])], stopMs=50)
    lab.start()
    lab.fails(1, "a board did not end well", "stop")
    lab.process.wait(LIMIT)


def resets(lab, options):
    """A board that is reset is started again, and its log is safe for a terminal."""
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["reset"])])
    lab.start(first=lambda: os.chdir(lab.top))
    await_that(lambda: lab.status()["main"]["starts"] == 2, "the start after a reset")
    check(re.search("main: was reset: .*board.log.*\nmain: is started again in", lab.output()),
          lab.output())
    await_that(lambda: "mpu:0 " in lab.shell("main", "mailboxes\n"), "the module's mailbox")
    lines = lab.top / "lines"
    lines.write_text("call DXR_RebootOS 0 x\n", encoding="ascii")
    lab.call("shell", str(lab.file), "main", str(lines))
    await_that(lambda: lab.status()["main"]["starts"] == 3 and
               lab.status()["main"]["state"] == "running", "the start after a reboot")
    check(lab.status()["main"]["deaths"] == 2, "resets are counted")
    log = (lab.top / "work/main/board.log").read_text(encoding="ascii")
    check(log.count("\\x1b[31mred") == 3 and "\x1b" not in log, log)
    lab.stop()


def deaths(lab, _):
    """Boards that cannot live, and boards that cannot be run."""
    bad = lab.board("line", "line", "lpu:1", "mpu:0", "--nonsense", "1")
    lab.write([*lab.usual(1, "10")[:1], bad], mostRestartMs=400)
    lab.process = subprocess.Popen([lab.dxrsh, "chassis", str(lab.file)], env=lab.environment(),
                                   stdout=open(lab.top / "out", "wb"))
    await_that(lambda: lab.output().count("line: is started again in 400 ms") == 2, "pauses grow")
    pauses = re.findall(r"line: is started again in (\d+) ms", lab.output())
    check(pauses[:5] == ["50", "100", "200", "400", "400"], str(pauses))
    check(re.search("line: ended with 1: .*/board.log: pulse: wrong arguments at --nonsense",
                    lab.output()), lab.output())
    log = (lab.top / "work/line/board.log").read_text(encoding="utf-8")
    check("pulse: wrong arguments at --nonsense" in log, log)
    # It should run then, and does not, or is just being tried again, and fails.
    lab.fails(1, "a board did not end well", "stop")
    check(lab.process.wait(LIMIT) == 1, lab.output())
    lab.expect_nothing_left()
    other = dict(bad, module=shutil.which("true") or "/bin/true")
    lab.write([other])
    status, out, _ = lab.call(str(lab.file))
    check(status == 1 and "line: cannot be run: " in out, f"{status} {out}")
    (lab.top / "device.json").write_text("{", encoding="utf-8")
    lab.write([dict(bad, board="device.json")])
    status, out, _ = lab.call(str(lab.file))
    log = (lab.top / "work/line/board.log").read_text(encoding="utf-8")
    check(status == 1 and "line: cannot be run: " in out and "device.json:1:" in log,
          f"{status} {out} {log}")


def words(lab, options):
    """Why a board has ended is in its own words, not in those of an earlier start."""
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["mute"])], logBytes=4096)
    lab.process = subprocess.Popen([lab.dxrsh, "chassis", str(lab.file)], env=lab.environment(),
                                   stdout=open(lab.top / "out", "wb"), cwd=lab.top)
    await_that(lambda: lab.output().count("ended with 1") > 2, "three deaths", lab.state)
    log = lab.top / "work/main/board.log"
    silent = f"{log}: nothing in it since the start"
    said = re.findall("main: ended with 1: (.*)", lab.output())
    check(said[:3] == [f"{log}: why it fails", f"{log}: and so", silent], str(said))
    # Also when an earlier start's part has been put aside.
    with open(log, "a", encoding="ascii") as earlier:
        earlier.write(4096 * "x" + "\n")
    before = len(said)
    await_that(lambda: lab.output().count("ended with 1") > before + 1, "more deaths", lab.state)
    check((lab.top / "work/main/board.log.1").exists(), "the log is not put aside")
    said = re.findall("main: ended with 1: (.*)", lab.output())
    check(said[2:] == [silent] * len(said[2:]), str(said))
    lab.fails(1, "a board did not end well", "stop")
    lab.process.wait(LIMIT)
    lab.expect_nothing_left()
    # A sanitizer says why before its last line.
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["reports"])], mostRestartMs=3600000, restartMs=3600000)
    with open(lab.top / "out", "wb") as out:
        lab.process = subprocess.Popen([lab.dxrsh, "chassis", str(lab.file)],
                                       env=lab.environment(), stdout=out, cwd=lab.top)
    await_that(lambda: "is started again" in lab.output(), "its death", lab.state)
    check("board.log: SUMMARY: why it ends\n" in lab.output(), lab.output())
    lab.fails(1, "a board did not end well", "stop")
    lab.process.wait(LIMIT)


def logs(lab, options):
    """A log stays short, and what a board printed last is in it, however it died."""
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["noisy"])],
              logBytes=16384, logsKept=2, heartBeatMs=10, mostRestartMs=3600000, restartMs=3600000)
    lab.process = subprocess.Popen([lab.dxrsh, "chassis", str(lab.file)], env=lab.environment(),
                                   stdout=open(lab.top / "out", "wb"))
    await_that(lambda: "is started again" in lab.output(), "its death", lab.state)
    work = lab.top / "work/main"
    names = sorted(path.name for path in work.glob("board.log*"))
    # It may have died before the names were complete.
    check(set(names) <= {"board.log", "board.log.1", "board.log.2"} and "board.log" in names and
          len(names) > 1, str(names))
    parts = [(work / name).read_text(encoding="ascii") for name in reversed(names)]
    check(all(len(part) > 16384 for part in parts[:2]), "a log was too short to be put aside")
    # Whole lines, each in one file, to the last.
    check(all(part == "" or (part.startswith("line ") and part.endswith("\n")) for part in parts),
          "a line is in two files")
    numbers = [int(line.split()[1]) for part in parts for line in part.splitlines()]
    check(numbers == list(range(4000 - len(numbers), 4000)), "lines are lost")
    check(len(numbers) < 4000, "nothing was dropped")
    words = re.search(r"main: died by signal 6: (.*): line 3999$", lab.output(), re.M)
    check(words and "line 3999 " in pathlib.Path(words[1]).read_text(encoding="ascii"),
          f"the last words are elsewhere: {lab.output()}")
    check(not (lab.run / "dxrsh-chassis/lab/main.ctl").exists(), "the dead board's socket is left")
    lab.fails(1, "a board did not end well", "stop")  # it waited to be started again
    lab.process.wait(LIMIT)
    lab.expect_nothing_left()


def torn(lab, options):
    """A board that dies while it puts its log aside leaves a log all the same."""
    for word, name in (("early", "board.log"), ("torn", "board.log.1")):
        lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                        arguments=[word])], mostRestartMs=3600000, restartMs=3600000)
        with open(lab.top / "out", "wb") as out:
            lab.process = subprocess.Popen([lab.dxrsh, "chassis", str(lab.file)],
                                           env=lab.environment(), stdout=out, cwd=lab.top)
        await_that(lambda: "is started again" in lab.output(), "its death", lab.state)
        work = lab.top / "work/main"
        check(f"main: died by signal 6: {work}/{name}: why it dies\n" in lab.output(),
              lab.output())
        names = sorted(path.name for path in work.glob("board.log*"))
        check(names == sorted({"board.log", name}), str(names))
        lab.fails(1, "a board did not end well", "stop")
        lab.process.wait(LIMIT)
    lab.expect_nothing_left()


def full(lab, options):
    """A log that cannot be written is told once."""
    work = lab.top / "work/main"
    work.mkdir(parents=True)
    (work / "board.log").symlink_to("/dev/full")
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["noisy"])],
              heartBeatMs=10, mostRestartMs=3600000, restartMs=3600000)
    lab.process = subprocess.Popen([lab.dxrsh, "chassis", str(lab.file)], env=lab.environment(),
                                   stdout=open(lab.top / "out", "wb"), cwd=lab.top)
    await_that(lambda: "is started again" in lab.output(), "its death", lab.state)
    said = re.findall("main: (.*board.log could not be written.*)", lab.output())
    check(said == [f"{work}/board.log could not be written: No space left on device"], str(said))
    lab.fails(1, "a board did not end well", "stop")
    lab.process.wait(LIMIT)
    lab.expect_nothing_left()
    # Boards run on without standard output; it is told at the end.
    lab.write(lab.usual(1, "10"))
    for closed in (False, True):
        done = subprocess.run([lab.dxrsh, "chassis", "--seconds", "1", str(lab.file)],
                              env=lab.environment(), cwd=lab.top, text=True, timeout=LIMIT,
                              stdout=open("/dev/full", "w"), stderr=subprocess.PIPE,
                              preexec_fn=(lambda: os.close(1)) if closed else None)
        reason = "Bad file descriptor" if closed else "No space left on device"
        check((done.returncode, done.stderr) ==
              (1, f"dxrsh: cannot write the output: {reason}\n"), str(done))
        lab.expect_nothing_left()
    # Also what the host says when the module has ended.
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["leaves"])])
    status, out, _ = lab.call(str(lab.file))
    check((status, out) == (1, f"main: {work}/board.log could not be written: No space left on "
                            f"device\nmain: ended, and left something behind: {work}/board.log: "
                            "nothing in it since the start\n"), f"{status} {out}")
    # What a module prints elsewhere is its own affair.
    (work / "board.log").unlink()
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["elsewhere"])])
    status, out, _ = lab.call(str(lab.file))
    check((status, out) == (0, "main: ended\n"), f"{status} {out}")
    # Why it could not be written for a while nobody knows any more.
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["passing"])])
    status, out, _ = lab.call(str(lab.file))
    check((status, out) == (0, f"main: {work}/board.log could not be written for a while\n"
                            "main: ended\n"), f"{status} {out}")


def leftover(lab, options):
    """What a board leaves behind is in its last words."""
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["leaves"])])
    status, out, _ = lab.call(str(lab.file))
    check(status == 1 and re.search("main: ended, and left something behind: .*/board.log: .*100 "
                                    "bytes of module 7", out), f"{status} {out}")


def killed(lab, options):
    """The last words of a board that a signal ends, also one that no board sees."""
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["forks"])], mostRestartMs=3600000, restartMs=3600000)
    lab.start()
    log = lab.top / "work/main/board.log"
    await_that(lambda: "child" in log.read_text("ascii"), "a line in its log", lab.state)
    pid = lab.status()["main"]["pid"]
    check(pid > 0, lab.state())
    os.kill(pid, signal.SIGKILL)
    await_that(lambda: "is started again" in lab.output(), "its death", lab.state)
    check(re.search(r"main: died by signal 9: .*/work/main/board.log: child \d+ may open \d+$",
                    lab.output(), re.M), lab.output())
    check(lab.shell("main", "", 2) == "dxrsh: board main does not run\n", "its host answers")
    check(not (lab.run / "dxrsh-chassis/lab/main.ctl").exists(), "the dead board's socket is left")
    lab.fails(1, "a board did not end well", "stop")  # it waited to be started again
    lab.process.wait(LIMIT)
    lab.expect_nothing_left()


def descriptors(lab, options):
    """More than the soft limit is taken, and where that does not suffice a line says so."""
    def limit(soft, hard):
        return lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (soft, hard))

    def soft_of(pid):
        text = pathlib.Path(f"/proc/{pid}/limits").read_text(encoding="ascii")
        return int(re.search(r"Max open files +(\d+)", text)[1])

    lab.write(lab.usual(12, "10"))
    lab.start(first=limit(32, 4096))
    check(soft_of(lab.process.pid) == 77 and soft_of(lab.status()["main"]["pid"]) == 100,
          "the limits are not what is needed")
    await_that(lambda: all(board["acknowledged"] > 0 for board in lab.status().values()),
               "all boards talk")
    lab.stop()
    lab.start(first=limit(77, 90))
    check("a board that talks to all others needs 100 descriptors, and may have 90: raise" in
          lab.output(), lab.output())
    lab.stop()
    # pylint: disable-next=subprocess-popen-preexec-fn
    done = subprocess.run([lab.dxrsh, "chassis", str(lab.file)], env=lab.environment(), text=True,
                          capture_output=True, timeout=LIMIT, check=False,
                          preexec_fn=limit(32, 76))
    check(done.returncode == 1 and done.stderr.count("\n") == 1 and
          "13 boards need 77 descriptors, and there may be 76 in a process" in done.stderr,
          f"{done.returncode} {done.stderr}")
    lab.write([dict(name="main", kind="main", module=os.path.abspath(options.reluctant),
                    arguments=["forks"])])
    lab.start(first=limit(32, 4096))
    check(soft_of(lab.status()["main"]["pid"]) == 64, "the limit is not what is needed")
    log = lab.top / "work/main/board.log"
    await_that(lambda: re.search(r"^child \d+ may open 32$", log.read_text("ascii"), re.M),
               "a module's child with the limit of before")
    lab.process.terminate()
    lab.process.wait(LIMIT)


def paths(lab, _):
    """Addresses are as seen from the file, too."""
    boards = lab.usual(1, "10")
    boards[0].update(address="ipc://main.here")
    lab.write(boards)
    lab.start()
    check((lab.top / "main.here").is_socket(), "a board listens elsewhere")
    await_that(lambda: lab.status()["line1"]["acknowledged"] > 0, "it is found there")
    lab.stop()


def keys(lab, _):
    """Keys, tcp, and two machines, each with a supervisor."""
    port = free_ports(3)
    boards = lab.usual(2, "10")
    boards[0].update(address=f"tcp://127.0.0.1:{port}", machine="left")
    boards[1].update(address=f"tcp://127.0.0.1:{port + 1}", machine="right")
    (lab.top / "file").touch()
    lab.write(boards, keys="file/keys")
    lab.fails(1, "/file/keys: Not a directory", "keys", str(lab.file))
    lab.write(boards, keys="file")
    lab.fails(1, "/file/main.secret: Not a directory", "keys", str(lab.file))
    # Each part of a path is made, for the user alone.
    lab.write(boards, keys="some/where//keys/")
    lab.ask("keys", str(lab.file))
    for path in ("some", "some/where", "some/where/keys"):
        check((lab.top / path).stat().st_mode & 0o777 == 0o700, f"others can look at {path}")
    check((lab.top / "some/where/keys/main.secret").exists(), "the keys are elsewhere")
    lab.write(boards, keys="keys")
    check(lab.ask("keys", str(lab.file)) == "main: made\nline1: made\nline2: made\n", "keys")
    check((lab.top / "keys").stat().st_mode & 0o777 == 0o700, "others can look at the keys")
    check(lab.ask("keys", str(lab.file)).count("has keys") == 3, "keys are made anew")
    secret = lab.top / "keys/line1.secret"
    public = lab.top / "keys/line1.public"
    kept = public.read_text(encoding="ascii")
    public.unlink()
    lab.fails(1, "line1.public: is missing, and line1.secret is there", "keys", str(lab.file))
    public.write_text(kept, encoding="ascii")
    lab.fails(2, "name the machine that this is", str(lab.file))
    lab.fails(2, "no board is on machine up", "--machine", "up", str(lab.file))
    secret.chmod(0o644)
    lab.fails(2, "line1.secret: others can read it", "--machine", "right", str(lab.file))
    secret.chmod(0o600)
    public.write_text((lab.top / "keys/line2.public").read_text(encoding="ascii"), encoding="ascii")
    lab.fails(2, r"keys/line1\.public: does not fit line1\.secret, .* board line1", "--machine",
              "right", str(lab.file))
    public.write_text(kept, encoding="ascii")
    lab.start("--machine", "left")
    right = Lab(lab.dxrsh, lab.module, lab.top, "right")
    right.file = lab.file
    right.start("--machine", "right")
    await_that(lambda: lab.status()["main"]["acknowledged"] > 20 and
               right.status()["line2"]["acknowledged"] > 20, "machines talk")
    check(lab.status()["line1"]["state"] == "elsewhere", "a board runs twice")
    right.stop()
    lab.stop()


def files(lab, _):
    """What is wrong with a file is one line that says where."""
    good = lab.usual(2, "10")
    for text, wrong in (
            (r"json:\d+:\d+: /boards: must be a list of boards", {"boards": []}),
            (r"json:2:\d+: /name: must have 1 to 32", {"name": "a/b"}),
            (r"json:\d+:\d+: /colour is not known|/colour: is not known", {"colour": 1}),
            (r"/clock: must be .real.", {"clock": "virtual"}),
            (r"/silentMs: must be at least three", {"silentMs": 100}),
            (r"/heartBeatMs: must be at least 10$", {"heartBeatMs": 1}),
            (r"/logBytes: must be at least 4096", {"logBytes": 4095}),
            (r"/logsKept: must be", {"logsKept": 0}),
            (r"/logsKept: must be", {"logsKept": 100}),
            (r"/boards/0/kind: must be", {"boards": [dict(good[0], kind="top")]}),
            (r"/boards/0/seat: is not known", {"boards": [dict(good[0], seat=1)]}),
            (r"/boards/0/module: must name a module", {"boards": [dict(good[0], module="")]}),
            (r"/boards/0/module: is missing", {"boards": [{"name": "a", "kind": "main"}]}),
            (r"/boards/0/arguments: must be a list of texts",
             {"boards": [dict(good[0], arguments=[1])]}),
            (r"/boards/0/count: must be at least 1", {"boards": [dict(good[0], count=0)]}),
            (r"/boards/1/name: must be the only", {"boards": [good[0], good[0]]}),
            (r"/boards/1/kind: must not be", {"boards": [good[0], dict(good[0], name="b")]}),
            (r"/boards/0/lose: must be a whole number", {"boards": [dict(good[0], lose=1000001)]}),
            (r"/boards/0/address: must be ipc", {"boards": [dict(good[0], address="tcp://a:1")]}),
            (r"/boards/0/address: is not local, and the chassis has no keys",
             {"boards": [dict(good[0], address="tcp://192.0.2.1:5600")]}),
            (r"/boards/0/address: must have a port",
             {"boards": [dict(good[1], address="ipc:///tmp/a")]}),
            (r"/boards/1/address: must not be that of another board",
             {"boards": [dict(good[0], address="tcp://127.0.0.1:5601"),
                         dict(good[1], address="tcp://127.0.0.1:5600")]}),
            (r"/boards/1/address: must not be that of another board",
             {"boards": [dict(good[0], address="ipc://a"),
                         dict(good[1], count=1, address="ipc://./b/../a")]}),
            (r"/boards/1/address: must not be that of another board",
             {"boards": [dict(good[0], address="tcp://[::1]:5601"),
                         dict(good[1], count=1, address="tcp://[0::1]:05601")]}),
            (r"/boards/0/address: must be ipc", {"boards": [dict(good[0], address="ipc://*a")]}),
            (r"/boards/0/address: must be ipc",
             {"boards": [dict(good[0], address="ipc://" + "a" * 100)]}),
            (r"no_such.json: No such file", {"boards": [dict(good[0], board="no_such.json")]}),
            (r"/boards/0/machine: needs an address", {"boards": [dict(good[0], machine="a")]}),
            (r"no_such.so: No such file", {"boards": [dict(good[0], module="./no_such.so")]})):
        content = dict(name="lab", boards=good)
        content.update(wrong)
        lab.file.write_text(json.dumps(content, indent=1), encoding="utf-8")
        lab.fails(2, text, str(lab.file))
    lab.file.write_text("{", encoding="utf-8")
    lab.fails(2, r"chassis.json:1:\d+: ", str(lab.file))
    lab.fails(2, "cannot be read", str(lab.top / "nothing.json"))
    lab.fails(2, "FILE is required")
    lab.run.chmod(0o700)
    (lab.run / "dxrsh-chassis").mkdir(mode=0o755)
    (lab.run / "dxrsh-chassis").chmod(0o755)
    lab.write(good)
    lab.fails(1, "must be a directory of the user alone", str(lab.file))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("dxrsh", type=os.path.abspath)
    parser.add_argument("module", type=os.path.abspath)
    parser.add_argument("--seconds", type=int, default=4)
    parser.add_argument("--boards", type=int, default=4)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only")
    parser.add_argument("--reluctant",
                        help="the module of tests/tools/modules, for tests that need one")
    options = parser.parse_args()
    failed = 0
    for test in (orders, silent, shells, own_tree, orphans, read_once, begin_again, inherited,
                 endings, resets, deaths, words, logs, torn, full, leftover, killed, descriptors,
                 paths, keys, files, storm):
        needs_other = test in (descriptors, endings, full, killed, leftover, logs, orphans,
                               own_tree, resets, torn, words)
        if options.only not in (None, test.__name__) or (needs_other and not options.reluctant):
            continue
        began = time.monotonic()
        top = tempfile.mkdtemp(prefix="dxrch_", dir="/tmp")
        lab = Lab(options.dxrsh, options.module, top, "lab")
        try:
            test(lab, options)
            print(f"{test.__name__}: well, {time.monotonic() - began:.1f} s")
        except (Failed, subprocess.TimeoutExpired) as error:
            failed += 1
            print(f"{test.__name__}: {error}")
        finally:
            if lab.process is not None and lab.process.poll() is None:
                lab.process.kill()
                lab.process.wait()
            shutil.rmtree(top, ignore_errors=True)
        sys.stdout.flush()
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
