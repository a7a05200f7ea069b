"""Recordings of the hooks' calls: making them, and reading them."""

import contextlib
import json
import tempfile

from . import _interface
from ._interface import ffi, text

POINTERS = {"none": 0, "interface": 1, "devhost": 2}
COUNT, CALLS = 1, 2


def read(path):
    """The calls of a recording, each a dictionary as docs/trace.md describes its JSON lines."""
    error = ffi.new("char[512]")
    with tempfile.TemporaryFile("w+b") as out:
        status = _interface.DxrTraceExport(str(path), 1, out, error, 512)
        out.seek(0)
        for line in out:
            yield json.loads(line)
        if status != 0:
            raise OSError(status, text(error), str(path))


@contextlib.contextmanager
def recording(path, pointers="interface"):
    """Records the calls of whatever table is registered."""
    options = ffi.new("DxrTraceOptions *")
    _interface.DxrTraceInitOptions(options)
    name = ffi.new("char[]", str(path).encode())
    options.mode, options.pointers, options.file = CALLS, POINTERS[pointers], name
    options.whenFull = 1
    _check(_interface.DxrTraceStart(options), path)
    try:
        yield
    finally:
        _check(_interface.DxrTraceStop(), path)


def _check(status, path):
    if status != 0:
        raise OSError(status, "the trace cannot be started or stopped", str(path))


@contextlib.contextmanager
def counting():
    """Counts calls: gives a function that returns {slot: calls} of the slots called so far."""
    options = ffi.new("DxrTraceOptions *")
    _interface.DxrTraceInitOptions(options)
    options.mode = COUNT
    _check(_interface.DxrTraceStart(options), "")

    def counts():
        room = _interface.DxrTraceGetCounts(None, 0) or 226
        found = ffi.new("DxrTraceCount[]", room)
        _interface.DxrTraceGetCounts(found, room)
        return {_interface.DxrTraceSlotName(slot): found[slot].calls
                for slot in range(room) if found[slot].calls}

    try:
        yield counts
    finally:
        _check(_interface.DxrTraceStop(), "")
