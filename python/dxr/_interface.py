"""The C functions of the libraries, called as Python functions."""

import ctypes
import difflib
import functools
import os
import pathlib
import re
import sys
import threading
import traceback
import types

import cffi

from . import _constants, _slots

HERE = pathlib.Path(__file__).parent
# The libraries by what their functions begin with.
LIBRARIES = {"DxrTrace": "libdxr_trace.so.1", "DxrReplay": "libdxr_trace.so.1",
             "DxrHost": "libdxr_devhost.so.1",
             "D": "libdxr_api.so.1"}
CONSTANTS = {name: value for name, value in vars(_constants).items() if name[:3].upper() == "DXR"}

ffi = cffi.FFI()


def _declare(text):
    """Hands the declarations to cffi, those between packing pragmas as packed as these say."""
    parts = re.split(r"#pragma pack\((?:push, (\d)|(pop))\)\n", text)
    ffi.cdef(parts[0])
    for pushed, content in zip(parts[1::3], parts[3::3]):
        ffi.cdef(content, pack=int(pushed) if pushed else None)


_DECLARATIONS = (HERE / "declarations.txt").read_text()
_declare(_DECLARATIONS)
# How each function is declared, by its name.
FUNCTIONS = {found[2]: found[1] for found in
             re.finditer(r"^((?!typedef )\w[^{}();]*?(\w+)\(.*\));$",
                         _DECLARATIONS.replace("const signed char", "const char"), re.MULTILINE)}


def _place(name):
    """What names the library to the loader: its path in a folder of DXR_LIBRARY_PATH, or itself."""
    for folder in filter(None, os.environ.get("DXR_LIBRARY_PATH", "").split(":")):
        path = pathlib.Path(folder) / name
        if path.exists():
            return str(path)
    return name


@functools.lru_cache(None)
def _library(name):
    """The library: from the folders of DXR_LIBRARY_PATH, else where the system looks."""
    if name != LIBRARIES["D"]:
        # Whatever else there is on the machine, the others then get the same one.
        _library(LIBRARIES["D"])
    try:
        return ffi.dlopen(_place(name))
    except OSError as error:
        raise OSError(f"{name} was not found: install it, or name its folder in DXR_LIBRARY_PATH"
                      ) from error


class _Errors(threading.local):
    """What Python functions that C called have raised, for the call that they were made from."""

    def __init__(self):
        super().__init__()
        self.depth = 0
        self.raised = None


_errors = _Errors()
# (exception, traceback as text) of functions that no Python call waits for, say of a task.
stray_errors = []


def _keep_error(kind, value, trace):
    if _errors.depth == 0:
        stray_errors.append((value, "".join(traceback.format_exception(kind, value, trace))))
        sys.stderr.write(stray_errors[-1][1])
    elif _errors.raised is None:
        _errors.raised = value.with_traceback(trace)


# C may hold what it is given for as long as it likes, so these stay.
_callbacks, _texts = {}, {}


def _callback(kind, function):
    """Of each function one. Functions and methods are equal when they are the same; what other
    objects think of each other does not count."""
    is_plain = isinstance(function, (types.FunctionType, types.MethodType,
                                     types.BuiltinFunctionType))
    key = kind, function if is_plain else id(function)
    return _callbacks.get(key) or _callbacks.setdefault(key, _new_callback(kind, function))


def _new_callback(kind, function):
    """One that its caller keeps for as long as C may call it."""
    if isinstance(kind, str):
        kind = ffi.typeof(kind)
    result = kind.result

    def call(*given):
        value = function(*(_to_python(one, kind_of) for one, kind_of in zip(given, kind.args)))
        if result.kind == "void":
            return None
        if result.kind == "pointer":
            return _result_to_c(value, result)
        return 0 if value is None else value

    if kind.ellipsis:
        # The named arguments stand where those of a function without others stand.
        kind = ffi.typeof(ffi.getctype(kind).replace(", ...", ""))
    return ffi.callback(kind, call, onerror=_keep_error)


def callback(kind, function):
    """The C function pointer of type `kind` for a Python function; a pointer stays what it is.

    It stays for the life of the process. What the function raises goes to the Python code whose
    call led to it, and C sees 0; see stray_errors for the others. Of a function with a variable
    number of arguments it gets those that have a name. Texts that it returns stay as well; other
    memory that it returns a pointer to is its own to keep.
    """
    if function is None:
        return ffi.NULL
    if isinstance(function, ffi.CData):
        return function
    if not callable(function):
        raise TypeError(f"{function!r} is no function")
    kind = ffi.typeof(kind) if isinstance(kind, str) else kind
    if kind.kind == "pointer":
        kind = kind.item
    return ffi.cast(ffi.getctype(kind, "*") if kind.kind != "function" else kind,
                    _callback(kind, function))


def _is_text(kind):
    """Whether it is a C text that is only read."""
    return kind.kind == "pointer" and kind.item.cname == "signed char"


def _to_c(value, kind, kept):
    """What cffi takes for a parameter of type `kind`; `kept` holds what must outlive the call."""
    if kind.kind == "function":
        return callback(kind, value)
    if kind.kind != "pointer":
        return value
    if value is None:
        return ffi.NULL
    if kind.item.kind == "function":
        return callback(kind, value)
    memory = _memory(value)
    if memory is not None:
        kept.append(memory)
        return ffi.cast(kind, memory)
    return ffi.cast(kind, value) if _is_text(kind) else value


def _memory(value):
    """What C sees of a text or of memory; None of anything else. Of what must not change it is a
    copy, with a NUL after it."""
    if isinstance(value, str):
        value = value.encode(errors="surrogateescape")
    if isinstance(value, ffi.CData):
        return None
    try:
        view = memoryview(value)
    except TypeError:
        return None
    return ffi.new("char[]", bytes(view)) if view.readonly else ffi.from_buffer(view)


def _result_to_c(value, kind):
    """A pointer that a Python function gives to C; texts stay."""
    memory = _memory(value)
    if memory is None:
        return _to_c(value, kind, [])
    content = bytes(ffi.buffer(memory))
    return ffi.cast(kind, _texts.get(content) or
                    _texts.setdefault(content, ffi.new("char[]", content)))


def _variable_to_c(value, kept):
    """An argument of a function that takes any number, as C promotes it."""
    if isinstance(value, ffi.CData):
        return value
    if isinstance(value, float):
        return ffi.cast("double", value)
    if isinstance(value, int):
        is_wide = not -(1 << 31) <= value < 1 << 32
        return ffi.cast(("int64_t" if value < 0 else "uint64_t") if is_wide
                        else ("int32_t" if value < 0 else "uint32_t"), value)
    return _to_c(value, ffi.typeof("char *"), kept)


def text(pointer):
    """The text at a C pointer; None for a null pointer."""
    if pointer is None or pointer == ffi.NULL:
        return None
    return ffi.string(ffi.cast("char *", pointer)).decode(errors="surrogateescape")


def _to_python(value, kind):
    return text(value) if _is_text(kind) else value


def _with_record(library, name, kind):
    """A function of pointers that returns a packed record: cffi calls none, so that ctypes does.
    To the processor the record is a block of its size."""
    class Record(ctypes.Structure):
        _fields_ = [("content", ctypes.c_ubyte * ffi.sizeof(kind.result))]

    function = getattr(ctypes.CDLL(_place(library)), name)
    function.restype, function.argtypes = Record, [ctypes.c_void_p] * len(kind.args)

    def call(*pointers):
        given = (int(ffi.cast("uintptr_t", ffi.cast("void *", each))) for each in pointers)
        record = ffi.new(ffi.getctype(kind.result, "*"))
        ffi.buffer(record)[:] = bytes(function(*given))
        return record[0]
    return call


class Function:
    """A C function. Texts may be str, blocks of memory bytes or bytearray, functions Python's."""

    def __init__(self, name):
        self.__name__ = name
        library = next(file for start, file in LIBRARIES.items() if name.startswith(start))
        self._function = getattr(_library(library), name)
        self._kind = ffi.typeof(self._function)
        result = self._kind.result
        if result.kind == "struct" and ffi.alignof(result) == 1:
            self._function = _with_record(library, name, self._kind)
        self.__doc__ = FUNCTIONS[name]

    def __repr__(self):
        return f"<{self.__doc__}>"

    def __call__(self, *given):
        named = self._kind.args
        if len(given) < len(named) or (len(given) > len(named) and not self._kind.ellipsis):
            raise TypeError(f"{self.__name__} takes {len(named)} arguments, not {len(given)}")
        kept = []
        values = [_to_c(value, kind, kept) for value, kind in zip(given, named)]
        values += [_variable_to_c(value, kept) for value in given[len(named):]]
        # What this call leads to is its own, wherever it stands itself.
        before, _errors.raised = _errors.raised, None
        _errors.depth += 1
        try:
            result = self._function(*values)
        finally:
            _errors.depth -= 1
            raised, _errors.raised = _errors.raised, before
        if raised is not None:
            raise raised
        return _to_python(result, self._kind.result)


@functools.lru_cache(None)
def __getattr__(name):
    if name in CONSTANTS:
        return CONSTANTS[name]
    if name in FUNCTIONS:
        return Function(name)
    raise AttributeError(f"module 'dxr' has no attribute {name!r}")


def variable(name):
    """The value of an exported variable; for records, what points to them."""
    return getattr(_library(LIBRARIES["D"]), name)


class Hooks:
    """A table of hooks. Slots are named "memory.allocate" or by the function, "DXR_Malloc".

        hooks = dxr.Hooks()
        hooks["DXR_GetCurrMs"] = lambda: 42
        with hooks:                          # registered; afterwards what was there before
            assert dxr.DXR_GetCurrMs() == 42
    """

    def __init__(self, table=None):
        self.table = ffi.new("DxrHooks *")
        self._before = []
        if table is not None:
            self.table[0] = table[0]

    @classmethod
    def registered(cls):
        """A copy of the table that the library has now."""
        return cls(ffi.addressof(_library(LIBRARIES["D"]), "g_dxrHooks"))

    @staticmethod
    def place(slot):
        """The group and the member of a slot."""
        names = {}
        for group, member, function in _slots.SLOTS:
            # The last as recordings name one that no function reads.
            for name in (f"{group}.{member}", function, f"{group.capitalize()}.{member}"):
                names[name] = group, member
        if slot and slot in names:
            return names[slot]
        nearest = difflib.get_close_matches(str(slot), filter(None, names), 1)
        raise KeyError(f"no slot {slot!r}" + "".join(f"; did you mean {name!r}?"
                                                     for name in nearest))

    def __setitem__(self, slot, function):
        group, member = self.place(slot)
        record = getattr(self.table, group)
        kind = dict(ffi.typeof(record).fields)[member].type
        setattr(record, member, callback(kind, function))

    def __getitem__(self, slot):
        group, member = self.place(slot)
        return getattr(getattr(self.table, group), member)

    def __delitem__(self, slot):
        self[slot] = None

    def fill(self, slot):
        """Puts the function that follows into a slot: @hooks.fill("DXR_GetCurrMs")."""
        def take(function):
            self[slot] = function
            return function
        return take

    def register(self):
        return __getattr__("DXR_RegisterHooks")(self.table)

    def __enter__(self):
        self._before.append(Hooks.registered())
        self.register()
        return self

    def __exit__(self, *_):
        self._before.pop().register()
