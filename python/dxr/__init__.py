"""The platform service interface from Python.

Every function and every constant of the C headers stands here under its name:

    import dxr

    with dxr.Host(clock="virtual") as host:
        dxr.DXR_DelayTask(1000)                 # takes no time
        block = dxr.DXR_Malloc(dxr.DXR_GetDefaultMid(), 64, "here.py", 1)
        dxr.DXR_Free(block, "here.py", 2)

Texts may be str, memory bytes or bytearray (which the library may write), functions any callable;
records are made with dxr.ffi.new. The libraries are looked for in the folders of the environment's
DXR_LIBRARY_PATH, then where the system looks.
"""

from . import trace
from ._constants import VERSION as __version__
from ._interface import (CONSTANTS, FUNCTIONS, Function, Hooks, callback, ffi, stray_errors, text,
                         variable)
from ._slots import SLOTS
from .host import Explored, Host, LeftBehind, Report, explore

__all__ = ["CONSTANTS", "Explored", "FUNCTIONS", "Function", "Hooks", "Host", "LeftBehind",
           "Report", "SLOTS", "callback", "explore", "ffi", "stray_errors", "text", "trace",
           "variable", "__version__"]


def __getattr__(name):
    from . import _interface
    return getattr(_interface, name)


def __dir__():
    return sorted([*__all__, *CONSTANTS, *FUNCTIONS])
