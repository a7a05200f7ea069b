"""The development host."""

import contextlib
import dataclasses
import traceback

from . import _interface
from ._interface import Hooks, _new_callback, callback, ffi, text

CLOCKS = {"real": 0, "stepped": 1, "virtual": 2}
KINDS = {1: "leftover", 2: "misuse", 3: "risk", 4: "run"}
EVERY_LEVEL = 0xFFFFFFFF
# What hosts that have not ended call, and with it their Python side.
_LIVING = {}


@dataclasses.dataclass(frozen=True)
class Report:
    """Something that the host found; its kind is "leftover", "misuse", "risk" or "run"."""

    kind: str
    service: str
    slot: str
    caller: str
    text: str

    def __str__(self):
        return f"{self.kind}: {self.service}: {self.slot} {self.caller}: {self.text}"


class LeftBehind(AssertionError):
    """What was not given back when the host ended."""


def _report(record):
    return Report(KINDS.get(record.kind, str(record.kind)), text(record.service),
                  text(record.slot), text(record.caller), text(record.text))


def _options(clock, seed, given):
    """The options' record, and what keeps its texts."""
    options, kept = ffi.new("DxrHostOptions *"), []
    _interface.DxrHostInitOptions(options)
    if clock not in CLOCKS:
        raise ValueError(f"the host has no clock {clock!r}, only {', '.join(CLOCKS)}")
    options.clock, options.seed = CLOCKS[clock], seed
    fields = dict(ffi.typeof(options[0]).fields)
    for name, value in given.items():
        if name not in fields or name == "size":
            raise TypeError(f"the host has no option {name!r}")
        if fields[name].type.kind == "pointer":
            kept.append(ffi.new("char[]", str(value).encode()))
            value = kept[-1]
        setattr(options, name, value)
    return options, kept


class Host:
    """A development host: made and registered by `with`, which raises LeftBehind at its end when
    something was not given back. Options are those of DxrHostOptions by their names.

    lines      what was printed through it, as (level, text)
    reports    what it found
    """

    def __init__(self, clock="virtual", seed=1, strict=True, **options):
        record, self._kept = _options(clock, seed, options)
        self.strict = strict
        self.lines = []
        self.reports = []
        self.leftovers = 0
        self.pointer = _interface.DxrHostCreate(record)
        if self.pointer == ffi.NULL:
            raise ValueError("the host cannot be made: its options are wrong, or memory is short")
        sinks = (_new_callback("DxrHostPrintSink",
                               lambda level, line, _: self.lines.append((level, line))),
                 _new_callback("DxrHostReportSink",
                               lambda report, _: self.reports.append(_report(report))))
        _LIVING[self.pointer] = sinks
        _interface.DxrHostSetPrintSink(self.pointer, sinks[0], None, EVERY_LEVEL)
        _interface.DxrHostSetReportSink(self.pointer, sinks[1], None)

    def _alive(self):
        if self.pointer is None:
            raise ValueError("the host has ended")
        return self.pointer

    def register(self):
        return _interface.DxrHostRegister(self._alive())

    def close(self):
        """Ends the host; the number of things that were left behind. Again: nothing."""
        if self.pointer is not None:
            leftovers = _interface.DxrHostDestroy(self.pointer, None)
            if leftovers == 0xFFFFFFFF:
                raise RuntimeError("the host cannot be ended here: " +
                                   "; ".join(str(each) for each in self.reports))
            del _LIVING[self.pointer]
            self.pointer, self.leftovers = None, leftovers
        return self.leftovers

    def __enter__(self):
        status = self.register()
        if status != 0:
            raise RuntimeError(f"the host cannot be registered: {status}")
        return self

    def __exit__(self, kind, *_):
        leftovers = self.close()
        if kind is None and self.strict and leftovers:
            raise LeftBehind("; ".join(each.text for each in self.reports
                                       if each.kind == "leftover"))

    @contextlib.contextmanager
    def fake(self, slot, function):
        """Puts a Python function into a slot for a while; gives a list of its calls' arguments."""
        calls = []

        def called(*arguments):
            calls.append(arguments)
            return function(*arguments)

        hooks = Hooks.registered()
        hooks[slot] = called
        with hooks:
            yield calls

    def advance(self, milliseconds):
        """Moves a stepped clock."""
        return _interface.DxrHostAdvance(self._alive(), milliseconds)

    @contextlib.contextmanager
    def _knowing(self, point):
        """Raises that the host knows no such point, where it reports that meanwhile."""
        before = len(self.reports)
        yield
        unknown = f'there is no point "{point}"'
        for report in self.reports[before:]:
            if report.text == unknown:
                self.reports.remove(report)
                raise ValueError(unknown)

    def fail_nth(self, point, number, onwards=False):
        """Lets a step fail: `point` is "memory.allocate", "file.open", ...; 1 is the next one."""
        with self._knowing(point):
            _interface.DxrHostFailNth(self._alive(), point, number, onwards)

    def fail_share(self, point, share):
        """Lets each step fail with a probability."""
        with self._knowing(point):
            _interface.DxrHostFailShare(self._alive(), point, round(share * 1e6))


@dataclasses.dataclass(frozen=True)
class Explored:
    """What runs over many seeds came to: `seed` and `text` are of the run that failed."""

    runs: int
    failed: bool
    seed: int
    text: str


def _where_and_what(error):
    """A line on an exception; of one without words, the source line that raised it."""
    place = traceback.extract_tb(error.__traceback__)[-1]
    words = "".join(traceback.format_exception_only(type(error), error)).strip()
    said = words if str(error) else f"{words}: {place.line}"
    return f"{place.filename}:{place.lineno}: {said}"


def explore(body, seeds, first=1, **options):
    """Runs `body()` as a task of fresh hosts with the seeds from `first` on until one fails: by an
    exception, a false result that is not None, a deadlock, or the clock's end. Not while a host is
    registered."""
    if _interface.DxrHostGet() != ffi.NULL:
        raise RuntimeError("a host is registered, and each run needs one of its own")
    record, _kept = _options("virtual", first, {"endSec": 3600, **options})
    found = ffi.new("DxrHostExploration *")
    raised = []

    def run(_host, _user):
        try:
            result = body()
        except Exception as error:  # pylint: disable=broad-except
            raised.append(error)
            return 1
        return 0 if result is None or result else 1

    status = _interface.DxrHostExplore(record, seeds, callback("DxrHostBody", run), None, found)
    if status == 2:
        raise MemoryError("a host could not be made")
    reason = _where_and_what(raised[0]) if raised else text(found.text)
    return Explored(found.runs, status != 0, found.seed if status else 0, reason if status else "")
