#!/usr/bin/env python3
"""What the built library shows to the linker, compared with what it is meant to show.

    exports_test.py map      the dynamic symbols are those of the version script
    exports_test.py header   the dynamic symbols are those that the public header declares
    exports_test.py upgrade  the C names of an older header, in one file, are dynamic symbols still
    exports_test.py linkage  name, dependencies, no code at load, state that is zero at load

Prints one line for each difference and exits with 1 if there is one.
"""

import argparse
import json
import re
import subprocess
import sys

SONAME = "libdxr_api.so.1"
DEPENDENCIES = {"libstdc++.so.6", "libgcc_s.so.1", "libm.so.6", "libc.so.6"}
# The value that guards stacks, on ARM.
LOADERS = {"AArch64": {"ld-linux-aarch64.so.1"}}
# The compiler's runtime asks there which atomic instructions the processor has.
START_CODE = {"AArch64": ("init_have_lse_atomics", ".init_array", 8)}
SANITIZER_RUNTIME = re.compile(r"lib(asan|ubsan|tsan|lsan)\.so\.\d+$")
# The public header declares these names and no others.
NAME_PREFIXES = ("DXR_", "g_dxr", "Dxr")

# What the exported data holds at load: B is zero (.bss), D has a value, R is read-only.
DATA_SECTIONS = {
    "DXR_TBLM_CHIPID_NOTCARE": "R",
    "g_dxrLogFilterHashFuncList": "D",
    "g_dxrLogFilterMid": "D",
    "g_dxrLogFilterSwitch": "D",
    "g_dxrMemoryMid": "D",
}
DEFAULT_DATA_SECTION = "B"


def run(*command, text=None):
    result = subprocess.run(command, input=text, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"{' '.join(command)}: {result.stderr.strip()}")
    return result.stdout


def versioned_symbols(options):
    """(name, version, nm type) of the defined dynamic symbols, without version nodes."""
    listed = run(options.nm, "-D", "--defined-only", "-f", "posix", options.library)
    for line in listed.splitlines():
        name, kind = line.split()[:2]
        if kind != "A":
            name, _, version = name.partition("@@")
            yield name, version, kind


def exported_symbols(options):
    """The defined dynamic symbols with their nm types."""
    return {name: kind for name, _, kind in versioned_symbols(options)}


def demangled(options, names):
    names = sorted(names)
    if not names:
        return {}
    return dict(zip(names, run(options.cxxfilt, text="\n".join(names)).splitlines()))


def read_version_script(path):
    """{name: version} of what the script exports; patterns are refused, a symbol has its line."""
    with open(path, encoding="utf-8") as stream:
        text = re.sub(r"/\*.*?\*/|#[^\n]*", " ", stream.read(), flags=re.DOTALL)
    names = []
    versions = {}
    problems = []
    for version, node in re.findall(r"([\w.]*)\s*\{(.*?)\}\s*[\w.]*\s*;", text,
                                    flags=re.DOTALL):
        scope = "global"
        for item in (item.strip() for item in node.split(";")):
            label = re.match(r"(global|local)\s*:\s*", item)
            if label:
                scope = label.group(1)
                item = item[label.end():]
            if scope == "global" and item:
                if re.fullmatch(r"[A-Za-z_]\w*", item):
                    names.append(item)
                    versions[item] = version
                else:
                    problems.append(f"the version script exports a pattern: {item}")
    problems += [f"the version script lists a name twice: {name}"
                 for name in sorted({name for name in names if names.count(name) > 1})]
    if not names:
        problems.append("the version script exports nothing")
    return versions, problems


def compare(options, left, left_text, right, right_text):
    """One line for each name that is on one side only."""
    readable = demangled(options, left ^ right)

    def lines(names, there, missing):
        for name in sorted(names):
            meaning = f" ({readable[name]})" if readable[name] != name else ""
            yield f"{there}, but not {missing}: {name}{meaning}"

    return [
        *lines(left - right, left_text, right_text),
        *lines(right - left, right_text, left_text),
    ]


def check_map(options):
    listed, problems = read_version_script(options.map)
    problems += [f"{name} has the version {version or 'none'}, not {listed[name] or 'none'}"
                 for name, version, _ in versioned_symbols(options)
                 if listed.get(name, version) != version]
    return problems + compare(options, set(exported_symbols(options)), "exported by the library",
                              set(listed), "listed in the version script")


# --------------------------------------------------------------------------------------------------
# The public header, as the compiler sees it


def declarations(options, language, standard, name_filter=None):
    command = [options.clang, "-x", language, f"-std={standard}", f"-I{options.include}",
               "-fsyntax-only", "-Xclang", "-ast-dump=json"]
    if name_filter:
        command += ["-Xclang", f"-ast-dump-filter={name_filter}"]
    text = run(*command, "-", text='#include "dxr_api.h"\n')
    decoder = json.JSONDecoder()
    position = 0
    while position < len(text):
        node, position = decoder.raw_decode(text, position)
        yield node
        while position < len(text) and text[position].isspace():
            position += 1


def children(node, *kinds):
    return [child for child in node.get("inner", []) if child.get("kind") in kinds]


def is_marked(node):
    return bool(children(node, "VisibilityAttr"))


def is_defined_here(node):
    return (bool(children(node, "CompoundStmt", "CXXTryStmt"))
            or node.get("explicitlyDeleted", False)
            or node.get("explicitlyDefaulted") is not None)


def linker_names(node, owner=None):
    """A constructor or destructor is several functions to the linker: complete, base, deleting."""
    mangled = node.get("mangledName", node["name"])
    if node["kind"] == "CXXConstructorDecl":
        is_abstract = owner.get("definitionData", {}).get("isAbstract", False)
        variants = ["C2"] if is_abstract else ["C1", "C2"]
        return {re.sub(r"C1(?=E)", variant, mangled, count=1) for variant in variants}
    if node["kind"] == "CXXDestructorDecl":
        variants = ["D1", "D2"] + (["D0"] if is_virtual(node, owner) else [])
        return {re.sub(r"D1(?=Ev)", variant, mangled, count=1) for variant in variants}
    return {mangled}


def is_virtual(node, owner):
    # An overriding destructor need not say so.
    is_polymorphic = owner.get("definitionData", {}).get("isPolymorphic", False)
    return node.get("virtual", False) or (is_polymorphic
                                          and node["kind"] == "CXXDestructorDecl")


class PublicHeader:
    """The linker names that the header declares; C++ tables by their readable names."""

    def __init__(self):
        self.names = set()
        self.tables = set()
        self.problems = []

    def add_function(self, node):
        if node.get("storageClass") == "static" or is_defined_here(node) or node.get("isImplicit"):
            return
        self.add_marked(node)

    def add_data(self, node):
        if node.get("storageClass") == "extern":
            self.add_marked(node)

    def add_marked(self, node):
        if not is_marked(node):
            self.problems.append(f"declared without DXR_API: {node['name']}")
        self.names |= linker_names(node)

    def add_class(self, node, scope):
        if not node.get("completeDefinition"):
            return
        name = f"{scope}{node['name']}"
        members = children(node, "CXXMethodDecl", "CXXConstructorDecl", "CXXDestructorDecl")
        outside = [member for member in members
                   if not member.get("isImplicit") and not is_defined_here(member)
                   and (not member.get("pure") or member["kind"] == "CXXDestructorDecl")]
        for member in outside:
            if not is_marked(node) and not is_marked(member):
                self.problems.append(f"declared without DXR_API: {name}::{member['name']}")
            self.names |= linker_names(member, node)
        data = node.get("definitionData", {})
        if data.get("isPolymorphic"):
            self.tables |= {f"typeinfo for {name}", f"typeinfo name for {name}"}
            if any(is_virtual(member, node) for member in outside):
                self.tables.add(f"vtable for {name}")
        for inner in children(node, "CXXRecordDecl"):
            if not inner.get("isImplicit") and "name" in inner:
                self.add_class(inner, f"{name}::")

    def add(self, node, scope=""):
        kind = node.get("kind")
        if kind == "FunctionDecl":
            self.add_function(node)
        elif kind == "VarDecl":
            self.add_data(node)
        elif kind == "CXXRecordDecl" and "name" in node:
            self.add_class(node, scope)
        elif kind == "NamespaceDecl":
            for child in node.get("inner", []):
                self.add(child, f"{scope}{node['name']}::")


def read_header(options):
    header = PublicHeader()
    for prefix in NAME_PREFIXES:
        for node in declarations(options, "c++", "c++17", prefix):
            header.add(node)
    return header


def read_c_header(options):
    """The names that a C program sees, whatever their prefix."""
    header = PublicHeader()
    for unit in declarations(options, "c", "c11"):
        for node in children(unit, "FunctionDecl", "VarDecl"):
            if is_marked(node) or node.get("name", "").startswith(NAME_PREFIXES):
                header.add(node)
    return header


def check_header(options):
    exported = set(exported_symbols(options))
    readable = demangled(options, exported)
    tables = {name for name in exported if re.match(r"_ZT[VIS]", name)}

    header = read_header(options)
    c_header = read_c_header(options)
    c_names = {name for name in header.names if not name.startswith("_Z")}

    problems = sorted(set(header.problems + c_header.problems))
    problems += [f"its name does not say where it comes from: {name}"
                 for name in sorted(c_header.names) if not name.startswith(NAME_PREFIXES)]
    problems += compare(options, exported - tables, "exported by the library",
                        header.names, "declared in the header")
    problems += compare(options, {readable[name] for name in tables}, "exported by the library",
                        header.tables, "declared in the header")
    problems += compare(options, c_names, "declared for C++", c_header.names, "declared for C")
    return problems


def check_upgrade(options):
    with open(f"{options.include}/dxr_api.h", encoding="utf-8") as stream:
        text = stream.read()
    functions = re.findall(r"^DXR_API [^;(]*?\b(\w+)\(", text, flags=re.MULTILINE)
    objects = re.findall(r"^extern DXR_API [^;]*?\b(\w+)(?:\[\w+\])?;", text, flags=re.MULTILINE)
    names = {*functions, *objects}
    if len(objects) < 8 or len(functions) < 300:
        return [f"the older header has {len(functions)} functions and {len(objects)} objects"]
    return [f"was exported and is not any more: {name}"
            for name in sorted(names - set(exported_symbols(options)))]


# --------------------------------------------------------------------------------------------------
# The file that the loader sees


def is_instrumented(options, needed):
    if any(SANITIZER_RUNTIME.match(name) for name in needed):
        return True
    names = run(options.nm, options.library)
    return re.search(r"\b(__gcov_|__llvm_profile_|__sanitizer_cov)", names) is not None


def section_size(options, name):
    for line in run(options.readelf, "-SW", options.library).splitlines():
        match = re.search(r"\]\s+(\S+)\s+\S+\s+[0-9a-f]+\s+[0-9a-f]+\s+([0-9a-f]+)", line)
        if match and match.group(1) == name:
            return int(match.group(2), 16)
    return 0


def check_data(options):
    problems = []
    kinds = {name: kind for name, kind in exported_symbols(options).items()
             if name.startswith(("DXR_", "g_dxr"))}
    for name, kind in sorted(kinds.items()):
        if kind == "T":
            continue
        expected = DATA_SECTIONS.get(name, DEFAULT_DATA_SECTION)
        if kind != expected:
            problems.append(f"{name} is in a section of type {kind}, not {expected}")
    for name in sorted({"g_dxrHooks", *DATA_SECTIONS} - set(kinds)):
        problems.append(f"not exported: {name}")
    return problems


def check_linkage(options):
    dynamic = run(options.readelf, "-dW", options.library)
    problems = []

    soname = re.findall(r"\(SONAME\).*\[(.*)\]", dynamic)
    if soname != [SONAME]:
        problems.append(f"the SONAME is {soname}, not {SONAME}")

    machine = re.search(r"Machine: +(.*)", run(options.readelf, "-h", options.library)).group(1)
    needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic))
    allowed = ({name for name in needed if SANITIZER_RUNTIME.match(name)} | DEPENDENCIES |
               LOADERS.get(machine, set()))
    problems += [f"depends on {name}" for name in sorted(needed - allowed)]

    for tag in ("RPATH", "RUNPATH", "TEXTREL", "SYMBOLIC", "PREINIT_ARRAY"):
        if re.search(rf"\({tag}\)", dynamic):
            problems.append(f"has a dynamic tag {tag}")
    if not re.search(r"\(FLAGS\).*BIND_NOW|\(BIND_NOW\)|\(FLAGS_1\).*NOW", dynamic):
        problems.append("its functions are not bound at load")
    segments = run(options.readelf, "-lW", options.library)
    if "GNU_RELRO" not in segments:
        problems.append("its tables stay writable after load")
    if re.search(r"GNU_STACK.*\bRWE\b", segments):
        problems.append("asks for an executable stack")

    # Instrumentation brings some.
    if not is_instrumented(options, needed):
        names = run(options.nm, options.library)
        function, place, size = START_CODE.get(machine, ("", "", 0))
        allowed = {place: size} if re.search(rf"\b{function}$", names, re.M) else {}
        for name in (".init", ".init_array", ".preinit_array", ".ctors",
                     ".fini", ".fini_array", ".dtors"):
            if section_size(options, name) > allowed.get(name, 0):
                problems.append(f"code runs when the library is loaded or unloaded: {name}")
        for name in sorted(set(re.findall(r"\S*_GLOBAL__sub_I\S*|__cxx_global_var_init\S*",
                                          names))):
            problems.append(f"code runs when the library is loaded: {name}")
    return problems + check_data(options)


def main():
    checks = {"map": check_map, "header": check_header, "upgrade": check_upgrade,
              "linkage": check_linkage}
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("check", choices=checks)
    parser.add_argument("--library", required=True)
    parser.add_argument("--map", help="the version script")
    parser.add_argument("--include", help="the folder of dxr_api.h")
    parser.add_argument("--nm", default="nm")
    parser.add_argument("--readelf", default="readelf")
    parser.add_argument("--cxxfilt", default="c++filt")
    parser.add_argument("--clang", default="clang")
    options = parser.parse_args()

    problems = checks[options.check](options)
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
