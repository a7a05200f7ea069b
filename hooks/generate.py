#!/usr/bin/env python3
"""Writes everything that repeats the list of slots (hooks/slots.yaml).

    hooks/generate.py            writes the files
    hooks/generate.py --verify   compares them with what it would write; exit status 1 and a diff if
                                 one differs, is missing, or is no longer made

A file is the generator's or a person's, never both: a generated one says so on its first line.

    include/dxr/hooks.h                   the table: types, getters, assertions of the layout
    include/dxr/STEM.h                    the functions of a group that holds nothing else,
    src/dxr/api/dispatch/STEM.cpp         and their bodies
    include/dxr/STEM_slots.h              the same of a group with hand-written functions: a person
    src/dxr/api/dispatch/STEM_slots.cpp   writes STEM.h, which includes this one
    src/dxr/api/dispatch/getters.cpp      the getters of the groups
    src/dxr/api/dispatch/exports.list     what of all this the library exports
    trace/slots.cpp                       names, widths and pointers of all slots
    trace/wrappers.cpp                    what stands in them while calls are traced
    devhost/test_recorders.cpp            and while a test keeps them
    trace/callback_types.h                types of the functions that hosts are given
    trace/answers.cpp                     what stands in them while a recording is replayed
    tools/dxrsh/unfilled.cpp              what stands in those that a host leaves empty
    tools/dxrsh/slot_calls.cpp            calls of all of them with arguments as numbers
    docs/slots.md, tools/dxrsh/slot_table.h

Needs python3-yaml and clang-format.
"""

import argparse
import difflib
import pathlib
import re
import subprocess
import sys
import textwrap
from dataclasses import dataclass

import yaml

ROOT = pathlib.Path(__file__).resolve().parent.parent
COMMAND = "Made by hooks/generate.py from hooks/slots.yaml; do not edit."
COLUMNS = 100
NO_BREAK = "\N{NO-BREAK SPACE}"
POINTER_BYTES = 8
GROUP_COUNT = 20
SLOT_COUNT = 226


@dataclass(frozen=True)
class Slot:
    index: int
    member: str
    function: str  # empty: no exported function reads the slot
    result: str
    params: str  # as in C, without the parentheses
    fallback: str
    doc: str
    hook: str  # type of the slot, if it is not the function's
    own: bool  # declared and defined by hand
    points: dict  # pointer: direction and size; for every host
    devhost: dict  # the same, for the development host alone
    means: tuple  # the development host's names of the parameters, where some are argN
    calls: dict  # function, argument, type
    functions: tuple  # places
    opaque: tuple  # places

    @property
    def prototype(self):
        return f"{declarator(self.result, self.function)}({self.params})"

    @property
    def member_declaration(self):
        if self.hook:
            return f"{self.hook} {self.member};"
        return f"{declarator(self.result, f'(*{self.member})')}({self.params});"

    @property
    def arguments(self):
        if self.params == "void":
            return []
        return [re.search(r"\w+$", param).group() for param in self.params.split(", ")]


@dataclass(frozen=True)
class Group:
    name: str
    member: str
    stem: str  # empty: no exported function reads the group
    own: bool  # a person writes the header, and functions beside the generated ones
    about: str
    first: int
    slots: tuple

    @property
    def getter(self):
        return f"DXR_Get{self.name}Hooks"

    @property
    def type(self):
        return f"Dxr{self.name}Hooks"

    @property
    def last(self):
        return self.first + len(self.slots) - 1

    @property
    def range(self):
        if self.first == self.last:
            return f"slot {self.first}"
        return f"slots {self.first} to {self.last}"

    @property
    def slots_stem(self):
        """Of the generated header and source."""
        return f"{self.stem}_slots" if self.own else self.stem

    @property
    def dispatched(self):
        return [slot for slot in self.slots if slot.function and not slot.own]


def declarator(result, name):
    return result + name if result.endswith("*") else f"{result} {name}"


def read_slot(entry):
    prototype = entry.get("prototype", "")
    result = function = params = ""
    if prototype:
        result, function, params = re.fullmatch(r"(.*?)\s*(DXR_\w+)\((.*)\)", prototype).groups()
    return Slot(
        index=entry["index"],
        member=entry["member"],
        function=function,
        result=result,
        params=params,
        fallback=fallback_text(entry.get("fallback", "none")),
        doc=entry.get("doc", ""),
        hook=entry.get("hook", ""),
        own="own" in entry,
        points=entry.get("points", {}),
        devhost=entry.get("devhost", {}),
        means=tuple(entry.get("means", ())),
        calls=entry.get("calls", {}),
        functions=tuple(entry.get("functions", ())),
        opaque=tuple(entry.get("opaque", ())),
    )


def fallback_text(value):
    if value is None:
        return "NULL"
    if isinstance(value, int):
        return str(value) if value < 10 else f"0x{value:08X}"
    return value


def read_groups():
    groups = []
    first = 0
    for entry in yaml.safe_load((ROOT / "hooks/slots.yaml").read_text()):
        slots = tuple(read_slot(slot) for slot in entry["slots"])
        groups.append(
            Group(
                name=entry["name"],
                member=entry["member"],
                stem=entry.get("stem", ""),
                own="own" in entry,
                about=entry["about"],
                first=first,
                slots=slots,
            )
        )
        first += len(slots)
    check(groups)
    return groups


def check(groups):
    slots = [slot for group in groups for slot in group.slots]
    functions = [slot.function for slot in slots if slot.function]
    assert len(groups) == GROUP_COUNT, f"{len(groups)} groups"
    assert len(slots) == SLOT_COUNT, f"{len(slots)} slots"
    assert len(functions) == len(set(functions)), "a function has two slots"
    for group in groups:
        assert [slot.index for slot in group.slots] == list(range(len(group.slots))), group.name
        assert len({slot.member for slot in group.slots}) == len(group.slots), group.name
        has_own = any(slot.own for slot in group.slots)
        assert group.own or not has_own, f"{group.name} has own functions"
        for slot in group.slots:
            has_result = slot.result not in ("", "void")
            assert has_result == (slot.fallback != "none"), slot.member
            assert not slot.means or len(slot.means) == len(slot.arguments), slot.member
            assert all(isinstance(word, str) for word in slot.means), slot.member


def comment(text, first_line="/* "):
    return wrapped(f"{text}{NO_BREAK}*/", first_line).replace(NO_BREAK, " ")


def wrapped(text, first_line):
    return "\n".join(
        textwrap.wrap(text, COLUMNS, initial_indent=first_line, subsequent_indent=" * ")
    )


def formatted(path, text):
    """As clang-format would leave it, so that a formatted tree is also an up-to-date one."""
    return subprocess.run(
        ["clang-format", f"--assume-filename={ROOT / path}"],
        input=text, stdout=subprocess.PIPE, text=True, check=True, cwd=ROOT,
    ).stdout


# --- include/dxr/hooks.h -------------------------------------------------------------------------

HOOKS_HEADER_INTRO = """\
/* The hook table: the host's functions, 226 slots in 20 groups, and how to reach them.
 *
 * The host fills one DxrHooks and hands it over with DXR_RegisterHooks before anybody calls a
 * service. Each service function (a dispatcher) reads its slot at the moment it is called. If
 * the slot is set, the hook gets exactly the dispatcher's arguments and its result is passed on
 * unchanged; if it is empty, the dispatcher gives the fallback named at its declaration, calls
 * nothing and logs nothing.
 *
 * A 32-bit result is a status, 0 for success, unless the declaration says what it tells; a
 * function that tells whether something is so answers 1 or 0.
 *
 * Cost: one getter call, one load, one test, one jump. No allocation, no lock.
 * Threads: the table is plain memory. Register before other threads call services; a call that
 * races with a registration is not supported. Otherwise a dispatcher is as thread-safe as its
 * hook.
 * Ownership: the library copies the table and never frees, checks or calls anything in it by
 * itself. What pointers in arguments and results point at belongs to whom the host says.
 *
 * Parameters named argN are the host's to define and pass through unread; what the development
 * host makes of them stands at each function, pointers with their direction and size: in what the
 * host reads, out what it writes; a text ends with a NUL, the first uint32_t of a record counts its
 * bytes, and dxr_devhost/ has the header that says the rest. A pointer is void * where the library
 * does not know more; a 64-bit handle fits as well. Groups, slots and their order are the binary
 * interface with the host: nothing moves. */"""

HOOKS_HEADER_FUNCTIONS = """\
/* The library's table. All slots are empty until the host registers its own. */
extern DXR_API DxrHooks g_dxrHooks;

/* Copies the whole table, empty slots included, over g_dxrHooks; nothing of an earlier one stays.
 * Returns 0. With a null pointer, or a table that overlaps g_dxrHooks, it returns EINVAL and every
 * slot is empty. */
DXR_API uint32_t DXR_RegisterHooks(const DxrHooks *hooks);

/* The address of g_dxrHooks, never null, registered or not; the same holds for the groups below. */
DXR_API DxrHooks *DXR_GetHooks(void);
"""


def hooks_header(groups):
    parts = [
        f"/* {COMMAND} */\n\n{HOOKS_HEADER_INTRO}",
        "#ifndef DXR_HOOKS_H\n#define DXR_HOOKS_H\n",
        '#include "dxr/base.h"\n#include "dxr/types.h"\n',
        "DXR_EXTERN_C_BEGIN\n",
    ]
    for group in groups:
        where = f" Functions: dxr/{group.stem}.h." if group.stem else ""
        parts.append(comment(group.about + where))
        members = "\n".join(slot.member_declaration for slot in group.slots)
        parts.append(f"typedef struct {group.type} {{\n{members}\n}} {group.type};\n")
    members = "\n".join(f"{group.type} {group.member};" for group in groups)
    parts.append("/* The whole table, group by group. */")
    parts.append(f"typedef struct DxrHooks {{\n{members}\n}} DxrHooks;\n")
    parts.append(HOOKS_HEADER_FUNCTIONS)
    for group in groups:
        parts.append(f"/* The {group.name} group: {group.range}. */")
        parts.append(f"DXR_API {group.type} *{group.getter}(void);\n")
    parts.append("DXR_EXTERN_C_END\n")
    parts.append(
        comment(
            "The layout, slot by slot. Groups count from the table's first slot, "
            "members from their group's."
        )
    )
    parts.append(
        "#define DXR_ASSERT_SLOT(type, member, slot)                                  \\\n"
        "DXR_STATIC_ASSERT(offsetof(type, member) == (slot) * sizeof(void *),         \\\n"
        '#type "." #member " is not at slot " #slot)\n'
    )
    for group in groups:
        parts.append(f"DXR_ASSERT_SLOT(DxrHooks, {group.member}, {group.first});")
    parts.append(
        "DXR_STATIC_ASSERT(sizeof(DxrHooks) == "
        f"DXR_LAYOUT({SLOT_COUNT * POINTER_BYTES}, {SLOT_COUNT}), "
        f'"the hook table has {SLOT_COUNT} slots");\n'
    )
    for group in groups:
        for slot in group.slots:
            parts.append(f"DXR_ASSERT_SLOT({group.type}, {slot.member}, {slot.index});")
        parts.append("")
    parts.append("#undef DXR_ASSERT_SLOT\n\n#endif /* DXR_HOOKS_H */\n")
    return "\n".join(parts)


# --- The functions of a group --------------------------------------------------------------------


def uses_types(group):
    return any(re.search(r"\bDxr\w+", slot.prototype) for slot in group.dispatched)


def introduction(group):
    if group.own:
        return comment(
            f"The functions of the {group.name} group that only hand a call to its slot. "
            "Included by "
            f"dxr/{group.stem}.h, which says what they are and holds the others."
        )
    rule = (
        "Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the "
        "hook. A "
        f"result is the hook's; slots count within the {group.name} group."
    )
    if any(re.match(r"arg\d+$", name) for slot in group.dispatched for name in slot.arguments):
        rule += (
            " Parameters named argN are the host's to define and pass through unread; what the "
            "development host makes of them is an example."
        )
    return "\n *\n".join([wrapped(group.about, "/* "), comment(rule, first_line=" * ")])


DIRECTION = re.compile(r"(in|out|inout) (\w+)$")


def extent_in_words(size, names):
    """The SIZE of a pointer, in the words of the development host."""
    renamed = names if isinstance(names, dict) else {}
    text = "".join(renamed.get(word, word) for word in re.split(r"(\W+)", size))
    if size == "text" or size == "record":
        return f"a {size}"
    if size.startswith("text "):
        return f"a text within {text.split()[1]} bytes"
    if size in names:
        return f"length: {text}"
    if "+" in size:
        return f"as many bytes as {text.split('+')[0]} says"
    if "*" in size and not size.endswith("*"):
        return f"{text.removeprefix('result ').replace('*', ' * ')} bytes"
    return size


def untyped(slot, rules):
    """What stands behind the pointers that are void *, of those that have a rule."""
    words = []
    for argument in re.findall(r"\bvoid \*(\w+)", slot.params):
        if argument in rules:
            way, size = rules[argument].split(" ", 1)
            words.append(f"{argument} ({way}, {extent_in_words(size, slot.arguments)})")
    return ", ".join(words)


def meaning(slot):
    """What pointers lead to, and what the development host makes of parameters named argN."""
    if not re.search(r"\barg\d+\b", slot.params):
        there, example = untyped(slot, slot.points), untyped(slot, slot.devhost)
        return " ".join([f"Pointers: {there}."] * bool(there)
                        + [f"In the development host: {example}."] * bool(example))
    if not slot.means:
        return "The development host leaves it empty."
    plain = [DIRECTION.sub(r"\2", word) for word in slot.means]
    names = dict(zip(slot.arguments, plain))
    rules = {**slot.points, **slot.devhost}
    words = []
    for argument, word, name in zip(slot.arguments, slot.means, plain):
        direction = DIRECTION.match(word)
        if argument in rules:
            way, size = rules[argument].split(" ", 1)
            name += f" ({way}, {extent_in_words(size, names)})"
        elif direction:
            name += f" ({direction[1]})"
        words.append(name)
    return f"In the development host: {', '.join(words)}."


def declarations(group):
    parts = []
    for slot in group.dispatched:
        if slot.fallback == "none":
            without = "does nothing without a hook"
        else:
            without = f"{'null' if slot.fallback == 'NULL' else slot.fallback} without a hook"
        text = f"{slot.doc} Slot {slot.index}; {without}. {meaning(slot)}".rstrip()
        parts.append(comment(text))
        parts.append(f"DXR_API {slot.prototype};\n")
    return "\n".join(parts)


def group_header(group):
    guard = f"DXR_{group.slots_stem.upper()}_H"
    types = '#include "dxr/types.h"\n' if uses_types(group) else ""
    return (
        f"/* {COMMAND} */\n\n{introduction(group)}\n#ifndef {guard}\n#define {guard}\n\n"
        f'#include "dxr/base.h"\n{types}\nDXR_EXTERN_C_BEGIN\n\n{declarations(group)}\n'
        f"DXR_EXTERN_C_END\n\n#endif /* {guard} */\n"
    )


def definitions(group):
    parts = []
    for slot in group.dispatched:
        params = "" if slot.params == "void" else slot.params
        call = [f"{group.getter}()->{slot.member}"]
        if slot.fallback != "none":
            call.append("nullptr" if slot.fallback == "NULL" else slot.fallback)
        call += slot.arguments
        keyword = "" if slot.fallback == "none" else "return "
        parts.append(f"{declarator(slot.result, slot.function)}({params}) {{")
        parts.append(f"{keyword}Call({', '.join(call)});\n}}\n")
    return "\n".join(parts)


def group_source(group):
    return (
        f'// {COMMAND}\n\n#include "dxr/{group.slots_stem}.h"\n\n#include "dispatch/call.h"\n'
        f'#include "dxr/hooks.h"\n\nusing dxr::Call;\n\n{definitions(group)}'
    )


# --- Getters and exported names ------------------------------------------------------------------

GETTERS_INTRO = """\
// The getters stay real functions: host and library reach a group the same way. Their bodies are
// seen by the dispatchers nevertheless, which therefore keep their arguments in their registers
// across the call.

#include "dxr/hooks.h"
"""


def getters_source(groups):
    definition = (
        "[[gnu::noinline]] {0.type} *{0.getter}() {{\nreturn &DXR_GetHooks()->{0.member};\n}}\n"
    )
    return "\n".join(
        [f"// {COMMAND}\n", GETTERS_INTRO, *(definition.format(group) for group in groups)]
    )


def exported_names(groups):
    lines = [f"# {COMMAND}", "", "    # hooks"]
    lines += ["    g_dxrHooks;", "    DXR_RegisterHooks;", "    DXR_GetHooks;"]
    lines += [f"    {group.getter};" for group in groups]
    for group in groups:
        if group.stem:
            lines += ["", f"    # {group.stem}"]
            lines += [f"    {slot.function};" for slot in group.slots if slot.function]
    return "\n".join(lines) + "\n"


# --- Tables for people and for dxrsh -------------------------------------------------------------


def slots_page(groups):
    lines = [
        f"<!-- {COMMAND} -->",
        "# The slots of the hook table",
        "",
        "*Index* counts within the group, *slot* from the table's first; *member* is the slot's "
        "name in `DxrHooks`.",
        "The fallback is what the function answers while the slot is empty. A dash stands where no "
        "function hands its",
        "arguments on to the slot.",
    ]
    for group in groups:
        lines += ["", f"## {group.name}", "", f"{group.about} Reached with `{group.getter}`"]
        lines[-1] += f", declared in `dxr/{group.stem}.h`." if group.stem else "."
        lines += [
            "",
            "| index | slot | member | prototype | fallback | what it does |",
            "|---|---|---|---|---|---|",
        ]
        for slot in group.slots:
            prototype, doc = f"`{slot.prototype}`", slot.doc
            doc = f"{doc} {meaning(slot)}".rstrip()
            fallback = "no result" if slot.fallback == "none" else f"`{slot.fallback}`"
            if not slot.function:
                fallback, doc = "-", slot.doc or "-"
                prototype = f"`{slot.hook} {slot.member}`"
            lines.append(
                f"| {slot.index} | {group.first + slot.index} | `{group.member}.{slot.member}` "
                f"| {prototype} | {fallback} | {doc} |"
            )
    return "\n".join(lines) + "\n"


SLOT_TABLE_INTRO = """\
#ifndef DXRSH_SLOT_TABLE_H
#define DXRSH_SLOT_TABLE_H

#include <array>
#include <string_view>

namespace dxrsh {

struct SlotRow {
    std::string_view group;
    std::string_view member;
    unsigned index;             // within the group
    unsigned slot;              // within the table
    std::string_view function;  // empty: no exported function reads the slot
    std::string_view fallback;  // as in C; "none": the function has no result
};
"""


def slot_table(groups):
    rows = [
        ", ".join(
            [
                f'{{"{group.name}"',
                f'"{slot.member}"',
                str(slot.index),
                str(group.first + slot.index),
                f'"{slot.function}"',
                '"' + slot.fallback.replace('"', r"\"") + '"},',
            ]
        )
        for group in groups
        for slot in group.slots
    ]
    return "\n".join(
        [
            f"// {COMMAND}",
            SLOT_TABLE_INTRO,
            f"inline constexpr std::array<SlotRow, {SLOT_COUNT}> kSlotTable = {{{{",
            *rows,
            "}};\n\n}  // namespace dxrsh\n\n#endif  // DXRSH_SLOT_TABLE_H\n",
        ]
    )


# --- What the trace knows of the slots -----------------------------------------------------------

# Result and parameters of the types in include/dxr/types.h.
HOOK_TYPES = {
    "DxrReservedHook": ("void", "void"),
    "DxrPrintHook": ("void", "uint32_t level, const char *format, ..."),
    "DxrPrivateLogHook": ("uint32_t", "const char *name, const char *format, ..."),
    "DxrFilterLogHook": ("uint32_t", "void *handle, const char *text"),
}
RESERVED = "DxrReservedHook"
WIDTHS = {"void": "kNone", "uint8_t": "kU8", "uint16_t": "kU16", "uint32_t": "kU32",
          "uint64_t": "kU64"}
DIRECTIONS = {"in": "kIn", "out": "kOut", "inout": "kInOut", "block": "kBlock"}

TRACE_SLOTS_INTRO = """\
#include "slots.h"

#include <cstddef>
#include <cstdint>

#include "dxr/types.h"

namespace dxr_trace {
namespace {

using enum Width;
using enum Direction;
using enum Extent;
"""


def width(type_name):
    return "kPointer" if type_name.endswith("*") else WIDTHS[type_name]


@dataclass(frozen=True)
class Signature:
    result: str
    parameters: dict  # name: type
    is_variadic: bool


def signature(slot):
    result, params = HOOK_TYPES[slot.hook] if slot.hook else (slot.result, slot.params)
    listed = [] if params == "void" else params.split(", ")
    is_variadic = "..." in listed
    parameters = {}
    for param in listed:
        if param != "...":
            type_name, name = re.fullmatch(r"(.*?)\s*(\w+)", param).groups()
            parameters[name] = type_name
    return Signature(result, parameters, is_variadic)


class PointerRules:
    """The rules of one slot, as the rows of a table."""

    def __init__(self, slot):
        self.signature = signature(slot)
        self.names = list(self.signature.parameters)
        self.opaque = ["{%s, %s}" % self.place(place) for place in slot.opaque]
        self.rows = [self.row(pointer, rule, devhost_alone)
                     for rules, devhost_alone in ((slot.points, "false"), (slot.devhost, "true"))
                     for pointer, rule in rules.items()]

    def parameter(self, name):
        return "kResultPlace" if name == "result" else str(self.names.index(name))

    def place(self, pointer):
        """Parameter, and the offset behind it."""
        name, offset = pointer, "kDirect"
        if "->" in pointer:
            name, field = pointer.split("->")
            record = self.signature.parameters[name].removesuffix("*").strip()
            offset = f"offsetof({record}, {field})"
        elif "+" in pointer:
            name, offset = pointer.split("+")
        return self.parameter(name), offset

    def extent(self, pointer, size):
        """Kind, first and second."""
        words = size.split()
        if size == "text":
            return "kText", "0", "0"
        if words[0] == "text":
            return "kTextWithin", self.parameter(words[1]), "0"
        if words[0] == "result":
            return ("kResult", *(self.parameter(name) for name in words[1].split("*")))
        if size == "record":
            return "kRecord", "0", "0"
        if size in self.names:
            return "kArgument", self.parameter(size), "0"
        if "<" in size:
            count, room = (self.place(place) for place in size.split("<"))
            parameter, offset = self.place(pointer)
            assert count[0] == room[0] == parameter, pointer
            # A record that reaches to the pointer has both.
            assert max(int(count[1]), int(room[1])) < int(offset), pointer
            return "kFieldWithin", count[1], room[1]
        if "->" in size or "+" in size:
            parameter, offset = self.place(size)
            return "kField", offset, parameter
        if re.fullmatch(r"\w+\*\w+", size):
            return ("kProduct", *(self.parameter(name) for name in size.split("*")))
        return "kFixed", f"sizeof({size})", "0"

    def row(self, pointer, rule, devhost_alone):
        parameter, offset = self.place(pointer)
        direction, size = rule.split(" ", 1)
        kind, first, second = self.extent(pointer, size)
        return (f'{{"{pointer}", {parameter}, {offset}, {DIRECTIONS[direction]}, {kind}, {first}, '
                f"{second}, {devhost_alone}}}")


def trace_name(group, slot):
    return slot.function or f"{group.name}.{slot.member}"


def callback(slot, rules):
    """The row for the function that a host is given."""
    result, params = re.fullmatch(r"(\w+) \((.*)\)", slot.calls["type"]).groups()
    widths = [width(param) for param in params.split(", ")]
    function = "{%s, %s}" % rules.place(slot.calls["function"])
    argument = "{%s, %s}" % rules.place(slot.calls["argument"]) if "argument" in slot.calls else (
        "{kNoPlace, kDirect}")
    known = str(slot.calls.get("known", False)).lower()
    return (f"{{{function}, {argument}, {known}, {width(result)}, {len(widths)}, "
            f"{{{', '.join(widths)}}}}}")


def trace_slots(groups):
    arrays = []
    rows = []
    for group in groups:
        for slot in group.slots:
            stem = f"k{group.name}{slot.member[0].upper()}{slot.member[1:]}"
            types = signature(slot)
            parameters = [f'{{"{name}", {width(kind)}}}' for name, kind in types.parameters.items()]
            rules = PointerRules(slot)
            spans = []
            for kind, items, suffix in (("Parameter", parameters, "Parameters"),
                                        ("PointerRule", rules.rows, "Pointers"),
                                        ("MemoryPlace", rules.opaque, "Opaque")):
                spans.append(f"{stem}{suffix}" if items else "{}")
                if items:
                    arrays.append(f"constexpr {kind} {stem}{suffix}[] = {{{', '.join(items)}}};")
            spans.append(f"&{stem}Callback" if slot.calls else "nullptr")
            if slot.calls:
                arrays.append(f"constexpr CallbackRule {stem}Callback = {callback(slot, rules)};")
            flags = [str(flag).lower() for flag in (types.is_variadic, slot.hook == RESERVED)]
            rows.append(
                f'{{"{group.name}", "{trace_name(group, slot)}", {width(types.result)}, '
                f"{', '.join(flags)}, {', '.join(spans)}}},"
            )
    return "\n".join(
        [f"// {COMMAND}", TRACE_SLOTS_INTRO, *arrays, "\n}  // namespace\n",
         "constinit const SlotInfo kSlots[kSlotCount] = {", *rows,
         "};\n\n}  // namespace dxr_trace\n"]
    )


def typed_table(groups, stem, header, namespace, table, template):
    """A table whose functions are a template's, for each slot that a function reads."""
    lines = [
        f"// {COMMAND}", f'#include "{stem}.h"\n', f'#include "{header}"\n',
        f"namespace {namespace} {{\n", f"constinit const DxrHooks {table} = {{",
    ]
    for group in groups:
        lines.append(f".{group.member} = {{")
        for slot in group.slots:
            place = group.first + slot.index
            function = f"{template}<{place}, &{group.type}::{slot.member}>"
            lines.append(f".{slot.member} = {'nullptr' if slot.hook == RESERVED else function},")
        lines.append("},")
    return "\n".join([*lines, f"}};\n\n}}  // namespace {namespace}\n"])


CALLBACK_TYPES_INTRO = """\
#ifndef DXR_TRACE_CALLBACK_TYPES_H
#define DXR_TRACE_CALLBACK_TYPES_H

#include <cstddef>
#include <cstdint>

namespace dxr_trace {

// The type of the function that the host is given in a slot's call; void where it is given none.
template <size_t kSlot>
struct CallbackOf {
    using Type = void;
    static constexpr bool kHasArgument = false;
};
"""


def callback_types(groups):
    lines = [f"// {COMMAND}", CALLBACK_TYPES_INTRO]
    for group in groups:
        for slot in group.slots:
            if slot.calls:
                lines.append(
                    f"template <>\nstruct CallbackOf<{group.first + slot.index}> {{\n"
                    f"using Type = {slot.calls['type'].replace(' (', ' (*)(')};\n"
                    "static constexpr bool kHasArgument = "
                    f"{'true' if 'argument' in slot.calls else 'false'};\n}};\n")
    return "\n".join([*lines, "}  // namespace dxr_trace\n",
                      "#endif  // DXR_TRACE_CALLBACK_TYPES_H\n"])


def trace_answers(groups):
    lines = [
        f"// {COMMAND}", '#include "answers.h"\n', '#include "answer.h"\n',
        "namespace dxr_trace {\n", "constinit const DxrHooks kAnswers = {",
    ]
    calls = []
    for group in groups:
        lines.append(f".{group.member} = {{")
        for slot in group.slots:
            place = group.first + slot.index
            answer = f"kAnswer<{place}, &{group.type}::{slot.member}>"
            lines.append(f".{slot.member} = {'nullptr' if slot.hook == RESERVED else answer},")
            if slot.calls:
                calls.append(f"case {place}: return CallBack<{place}>(function, words);")
        lines.append("},")
    return "\n".join([
        *lines, "};\n",
        "uint64_t CallBack(size_t slot, Hook function, std::span<const uint64_t> words) {",
        "switch (slot) {", *calls, "default: return 0;", "}\n}\n", "}  // namespace dxr_trace\n"])


# --- What dxrsh run puts into empty slots --------------------------------------------------------


def unfilled(groups):
    texts = []
    lines = ["constinit const DxrHooks kUnfilled = {"]
    for group in groups:
        lines.append(f".{group.member} = {{")
        for slot in group.slots:
            place = group.first + slot.index
            fallback = {"NULL": "nullptr", "none": "0"}.get(slot.fallback, slot.fallback)
            if fallback.startswith('"'):  # a literal is no template argument
                texts.append(f"constexpr char kText{place}[] = {fallback};")
                fallback = f"kText{place}"
            stub = f"kAsked<{place}, &{group.type}::{slot.member}, {fallback}>"
            lines.append(f".{slot.member} = {'nullptr' if slot.hook == RESERVED else stub},")
        lines.append("},")
    return "\n".join([
        f"// {COMMAND}", '#include "unfilled.h"\n', '#include "unfilled_slot.h"\n',
        "namespace dxrsh {", "namespace {\n", *texts, "\n}  // namespace\n", *lines,
        "};\n\n}  // namespace dxrsh\n"])


# --- What calls a slot by its number -------------------------------------------------------------


def parameter_names(slot):
    """What a person calls them."""
    own = list(signature(slot).parameters)
    means = [re.sub(r"^(in|out|inout) ", "", name) for name in slot.means]
    return means if len(means) == len(own) else own


def c_text(text):
    return '"' + text.replace('"', r"\"") + '"'


def slot_calls(groups):
    rows = []
    for group in groups:
        for slot in group.slots:
            if slot.hook == RESERVED:
                rows.append("{},")
                continue
            function = f"&ByFunction<&{slot.function}>::Call"
            if slot.hook or "..." in slot.params:
                function = "nullptr"  # the slot has another type
            places = [slot.calls["function"]] if slot.calls else list(slot.functions)
            rules = PointerRules(slot)
            functions = ", ".join("{%s, %s}" % rules.place(place) for place in places)
            functions = f"{{{{{functions}}}}}" if places else "{}"
            names = [f'"{name}"' for name in parameter_names(slot)]
            rows.append(
                f"{{{function}, kByHook<&{group.type}::{slot.member}>, "
                f'{{{", ".join(names)}}}, {functions}, {len(places)}, '
                f"{c_text(slot.doc)}}},")
    return "\n".join([
        f"// {COMMAND}", '#include "slot_calls.h"\n', '#include <cstddef>\n',
        '#include "dxr_api.h"', '#include "slot_call.h"\n', "namespace dxrsh {\n",
        "using dxr_trace::kDirect;\n",
        "constinit const std::array<SlotCall, kSlotCallCount> kSlotCalls = {{", *rows,
        "}};\n\n}  // namespace dxrsh\n"])


# --- Main ----------------------------------------------------------------------------------------


def outputs(groups):
    """Path and complete text of every generated file."""
    dispatch = "src/dxr/api/dispatch"
    files = {
        "include/dxr/hooks.h": hooks_header(groups),
        f"{dispatch}/getters.cpp": getters_source(groups),
        "tools/dxrsh/slot_table.h": slot_table(groups),
        "trace/slots.cpp": trace_slots(groups),
        "trace/wrappers.cpp": typed_table(groups, "wrappers", "wrapper.h", "dxr_trace", "kWrappers",
                                          "kWrap"),
        "devhost/test_recorders.cpp": typed_table(groups, "test_recorders", "test_recorder.h",
                                                  "devhost", "kRecorders", "kRecord"),
        "trace/callback_types.h": callback_types(groups),
        "trace/answers.cpp": trace_answers(groups),
        "tools/dxrsh/unfilled.cpp": unfilled(groups),
        "tools/dxrsh/slot_calls.cpp": slot_calls(groups),
    }
    for group in groups:
        if group.stem:
            files[f"include/dxr/{group.slots_stem}.h"] = group_header(group)
            files[f"{dispatch}/{group.slots_stem}.cpp"] = group_source(group)
    files = {path: formatted(path, text) for path, text in files.items()}
    files[f"{dispatch}/exports.list"] = exported_names(groups)
    files["docs/slots.md"] = slots_page(groups)
    return files


def no_longer_made(files):
    """Files that say they are generated, but are not any more."""
    folders = {(ROOT / path).parent for path in files}
    found = {path for folder in folders for path in folder.iterdir() if path.is_file()}
    for path in sorted(found - {ROOT / path for path in files}):
        with path.open(errors="replace") as stream:
            if COMMAND in stream.readline():
                yield path


def verify(files):
    differing = 0
    for path, text in files.items():
        committed = (ROOT / path).read_text() if (ROOT / path).exists() else ""
        if committed != text:
            differing += 1
            sys.stdout.writelines(
                difflib.unified_diff(
                    committed.splitlines(keepends=True),
                    text.splitlines(keepends=True),
                    fromfile=path,
                    tofile=f"{path} (from hooks/slots.yaml)",
                )
            )
    for path in no_longer_made(files):
        differing += 1
        print(f"{path.relative_to(ROOT)} is no longer made from hooks/slots.yaml")
    if differing:
        sys.exit(f"{differing} files differ from the list of slots; run hooks/generate.py")


def write(files):
    for path, text in files.items():
        target = ROOT / path
        if not target.exists() or target.read_text() != text:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_text(text)
            print(f"wrote {path}")
    for path in no_longer_made(files):
        path.unlink()
        print(f"removed {path.relative_to(ROOT)}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--verify", action="store_true", help="compare instead of writing")
    args = parser.parse_args()
    files = outputs(read_groups())
    if args.verify:
        verify(files)
    else:
        write(files)


if __name__ == "__main__":
    main()
