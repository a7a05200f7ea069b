#!/usr/bin/python3
"""Writes what the Python package repeats of the headers and of the list of slots.

    python/make_interface.py            writes the files
    python/make_interface.py --verify   compares them with what it would write; exit status 1 and
                                        the names of those that differ

    python/dxr/declarations.txt   what the C headers declare, as cffi reads it
    python/dxr/_constants.py      their constants
    python/dxr/_slots.py          the slots of the hook table and the functions that read them
    python/dxr/_interface.pyi     the types of all functions

Needs a C compiler, python3-yaml and python3-pycparser.
"""

import argparse
import ast
import pathlib
import re
import subprocess
import sys

from pycparser import c_ast, c_generator, c_parser

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "hooks"))

import generate as slots  # noqa: E402

HEADERS = ("dxr_api.h", "dxr_devhost.h", "dxr_trace.h")
MADE = "Made by python/make_interface.py; do not edit."
# What the C headers take from the C library.
BASE_TYPES = """
typedef _Bool bool;
typedef signed char int8_t; typedef short int16_t; typedef int int32_t; typedef long int64_t;
typedef unsigned char uint8_t; typedef unsigned short uint16_t; typedef unsigned int uint32_t;
typedef unsigned long uint64_t; typedef unsigned long size_t; typedef struct _IO_FILE FILE;
"""


def preprocessed(*options):
    source = "".join(f"#include <{header}>\n" for header in HEADERS)
    return subprocess.run(
        ["cc", "-E", "-std=c11", "-I", ROOT / "include", *options, "-xc", "-"],
        input=source, capture_output=True, text=True, check=True).stdout


def without_calls(text, name, ending=""):
    """The text without each NAME(...)ENDING, whatever the parentheses hold."""
    parts, at = [], 0
    for found in re.finditer(rf"\b{name}\s*\(", text):
        if found.start() < at:
            continue
        end, depth = found.end(), 1
        while depth:
            if text[end] == '"':
                end = re.compile(r'"(?:[^"\\]|\\.)*"').match(text, end).end()
                continue
            depth += {"(": 1, ")": -1}.get(text[end], 0)
            end += 1
        parts.append(text[at:found.start()])
        at = end + (len(ending) if text.startswith(ending, end) else 0)
    return "".join([*parts, text[at:]])


def declarations():
    """What the project's own headers declare, without what concerns compilers alone."""
    lines, is_ours = [], False
    for line in preprocessed().splitlines():
        marker = re.match(r'# \d+ "([^"]*)"', line)
        if marker:
            is_ours = marker[1].startswith(f"{ROOT}/include/")
        elif is_ours and line.strip():
            lines.append(line)
    text = without_calls("\n".join(lines), "__attribute__")
    text = without_calls(text, "_Static_assert", ";")
    tree = c_parser.CParser().parse(BASE_TYPES + text)
    known = {each.name for each in c_parser.CParser().parse(BASE_TYPES).ext}
    tree.ext = [each for each in tree.ext if getattr(each, "name", "") not in known]
    return tree


def constants():
    """The macros whose value is a number or a text."""
    macros = {}
    for line in preprocessed("-dM").splitlines():
        found = re.match(r"#define (D[xX][rR]\w+) (.+)$", line)
        if found:
            macros[found[1]] = found[2]
    values = {}

    def value(name, depth=0):
        def number(token):
            if token[0] in macros and depth < 9:
                known = value(token[0], depth + 1)
                return "None" if known is None else repr(known)
            return token[0]
        text = re.sub(r"\(\s*u?int\d+_t\s*\)", "", macros[name])
        text = re.sub(r"(?<![\w.])(0[xX][0-9a-fA-F]+|\d+)[uUlL]+\b", r"\1", text)
        text = re.sub(r"(?<![\w\"])[A-Za-z_]\w*", number, text)
        try:
            return folded(ast.parse(text, mode="eval").body)
        except (SyntaxError, ValueError):
            return None

    for name in sorted(macros):
        known = value(name)
        if known is not None:
            values[name] = known
    return values


def folded(node):
    """The value of an expression of numbers or of texts next to each other."""
    if isinstance(node, ast.Constant) and isinstance(node.value, (int, str)):
        return node.value
    if isinstance(node, ast.BinOp):
        left, right = folded(node.left), folded(node.right)
        operations = {ast.Add: int.__add__, ast.Sub: int.__sub__, ast.Mult: int.__mul__,
                      ast.LShift: int.__lshift__, ast.BitOr: int.__or__,
                      ast.FloorDiv: int.__floordiv__, ast.Div: int.__floordiv__}
        return operations[type(node.op)](left, right)
    if isinstance(node, ast.UnaryOp) and isinstance(node.op, ast.USub):
        return -folded(node.operand)
    raise ValueError("no constant")


def functions(tree):
    return [each for each in tree.ext
            if isinstance(each, c_ast.Decl) and isinstance(each.type, c_ast.FuncDecl)]


PYTHON_OF = {"void": "None", "bool": "bool", "_Bool": "bool", "float": "float", "double": "float"}


def python_type(declared, typedefs, is_result=False):
    """What a caller gives for, or gets as, a C type."""
    kind = declared
    if isinstance(kind, c_ast.TypeDecl):
        if isinstance(kind.type, c_ast.IdentifierType):
            name = " ".join(kind.type.names)
            if name in PYTHON_OF:
                return PYTHON_OF[name]
            if name in typedefs:
                return python_type(typedefs[name], typedefs, is_result)
            return "int"
        return "_Record"
    if isinstance(kind, (c_ast.PtrDecl, c_ast.ArrayDecl)):
        target = kind.type
        if isinstance(target, c_ast.FuncDecl):
            return "_Pointer" if is_result else "_Function"
        is_text = (isinstance(target, c_ast.TypeDecl)
                   and isinstance(target.type, c_ast.IdentifierType)
                   and target.type.names == ["char"])
        if is_text and is_result and "const" in target.quals:
            return "str | None"
        if is_text and not is_result:
            return "_Text"
        return "_Pointer" if is_result else "_Data"
    return "_Pointer"


def interface(tree, values):
    typedefs = {each.name: each.type for each in tree.ext if isinstance(each, c_ast.Typedef)}
    show = c_generator.CGenerator()
    out = [f"# {MADE}", "from typing import Any, Callable", "",
           "_Pointer = Any  # what cffi gives for a C pointer",
           "_Record = Any", "_Text = str | bytes | bytearray | memoryview | None",
           "_Data = Any  # bytes, bytearray, a pointer, None",
           "_Function = Callable[..., Any] | None", ""]
    for name, value in values.items():
        out.append(f"{name}: {type(value).__name__}")
    out.append("")
    for each in functions(tree):
        parameters, is_variadic = [], False
        for number, one in enumerate(each.type.args.params if each.type.args else []):
            if isinstance(one, c_ast.EllipsisParam):
                is_variadic = True
                continue
            kind = python_type(one.type, typedefs)
            if kind != "None":
                parameters.append(f"{one.name or f'arg{number}'}_: {kind}")
        # By position alone, as in C.
        if parameters:
            parameters.append("/")
        if is_variadic:
            parameters.append("*args: Any")
        result = python_type(each.type.type, typedefs, True)
        out.append(f"def {each.name}({', '.join(parameters)}) -> {result}:")
        out.append(f'    """{" ".join(show.visit(each).split())}"""')
    return "\n".join(out) + "\n"


def slot_list():
    out = [f"# {MADE}", '"""The slots: group, slot, the function that reads it or no text."""', "",
           "SLOTS = ("]
    for group in slots.read_groups():
        for slot in group.slots:
            out.append(f'    ("{group.member}", "{slot.member}", "{slot.function}"),')
    return "\n".join([*out, ")", ""])


def files():
    tree, values = declarations(), constants()
    version = ".".join(str(values[f"DXR_API_VERSION_{part}"])
                       for part in ("MAJOR", "MINOR", "PATCH"))
    text = c_generator.CGenerator().visit(tree)
    # cffi forgets const: a text that is only read is one of signed characters there.
    text = re.sub(r"\bconst char \*", "const signed char *", text)
    # cffi reads no constants from a library, but variables.
    text = re.sub(r"^extern const (uint32_t \w+;)", r"extern \1", text, flags=re.MULTILINE)
    return {
        "declarations.txt": f"/* {MADE} */\n\n{text}",
        "_constants.py": "\n".join(
            [f"# {MADE}", '"""The constants of the C headers, and the release."""', "",
             f'VERSION = "{version}"', "",
             *(f"{name} = {value!r}" for name, value in values.items()), ""]),
        "_slots.py": slot_list(),
        "_interface.pyi": interface(tree, values),
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--verify", action="store_true", help="compare instead of writing")
    options = parser.parse_args()
    stale = 0
    for name, content in files().items():
        path = ROOT / "python/dxr" / name
        if options.verify:
            if not path.exists() or path.read_text() != content:
                print(f"python/dxr/{name}: not what the headers give; run {sys.argv[0]}")
                stale = 1
        else:
            path.write_text(content)
    return stale


if __name__ == "__main__":
    sys.exit(main())
