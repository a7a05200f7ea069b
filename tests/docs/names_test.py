#!/usr/bin/env python3
"""Every name of the interface that a document or a public header mentions is declared there.

    names_test.py ROOT

Looks at the Markdown files and at the comments of include/. "DXR_HOST_MAP_..." and "DXR_LOGFILTER_"
stand for the names that begin so. docs/names.md has every function whose name does not begin with
DXR_, itself or how it begins. Slots that docs/guide-host.md names by member and by index are the
same. Each public name has a text where the reference site looks for one,
before it, beside it, or before those that it stands together with; and a header of more than
dispatchers says what its functions cost.
"""

import importlib.util
import pathlib
import re
import sys

NAME = re.compile(r"(?<![\w/.-])(?:g_dxr|DXR_|Dxr)\w*(?:\.\.\.)?")
# Options of the build, variables of the environment; examples that only show a form.
OTHERS = re.compile(r"DXR_(BUILD|INSTALL|TEST|LIBRARY_PATH|HAS|FAST|WERROR|SANITIZE|COVERAGE|FUZZ|"
                    r"HARDENING|PLAIN)\w*$")
FORMS = {"DXR_Verb", "DxrHostSomething", "DXR_API_1", "DXR_NewFunction"}


def comments(text):
    return "\n".join(re.findall(r"/\*.*?\*/", text, flags=re.DOTALL))


def code(text):
    return re.sub(r"/\*.*?\*/", " ", text, flags=re.DOTALL)


def unlisted(root, headers):
    """What docs/names.md leaves out of the names that do not begin with DXR_."""
    page = (root / "docs/names.md").read_text(encoding="utf-8")
    section = page.split("## Names that do not begin with")[1].split("\n## ")[0]
    listed = re.findall(r"`(\w+)(\.\.\.)?`", section)
    functions = {name for text in headers.values() for name in re.findall(
        r"^(?:DXR_NODISCARD )?DXR_API [^;()=]*?\b(\w+)\(", code(text), flags=re.MULTILINE)}
    # Of types the page says how they begin.
    plain = {stem for stem, _ in listed} - {"Dxr"}
    return [f"docs/names.md does not have {name}" for name in sorted(functions)
            if not name.startswith(("DXR_", *plain))], len(functions)


def misplaced(root):
    """Slots that the hosts' guide names by a member that stands at another index."""
    page = (root / "docs/guide-host.md").read_text(encoding="utf-8")
    places = {(group.lower() + "." + member, index) for group, member, index in re.findall(
        r"^DXR_ASSERT_SLOT\(Dxr(\w+)Hooks, (\w+), (\d+)\);",
        (root / "include/dxr/hooks.h").read_text(encoding="utf-8"), flags=re.MULTILINE)}
    told = 0
    wrong = []
    for members, group, indices in re.findall(
            r"((?:`\w+\.\w+`,? )+)\(([A-Z]\w+) ([\d, ]+)\)", page):
        members, indices = re.findall(r"`(\S+)`", members), indices.split(", ")
        told += len(indices)
        if len(members) != len(indices):
            wrong.append(f"docs/guide-host.md: {len(members)} members at {group} {indices}")
        wrong += [f"docs/guide-host.md: {member} is not {group} {index}"
                  for member, index in zip(members, indices)
                  if not member.startswith(group.lower() + ".") or (member, index) not in places]
    return wrong + ([] if told else ["docs/guide-host.md names no slots"])


def reader(root):
    """What reads headers for the site."""
    spec = importlib.util.spec_from_file_location("site_filter", root / "docs/site/filter.py")
    module = importlib.util.module_from_spec(spec)
    sys.dont_write_bytecode = True
    spec.loader.exec_module(module)
    return module.Header


def is_name(record, declaration):
    """Whether it needs a text of its own. Fields may go without; constructors and what overrides
    are described by their class, what is special for some types with its template."""
    if declaration.startswith("#define"):
        return re.match(r"#define (\w+_H|DXR_(EXTERN_C_\w+|STATIC_ASSERT|NODISCARD))\b",
                        declaration) is None
    if not declaration.startswith(" "):
        return not declaration.startswith("}") and not re.search(
            r"(class|struct) \w+<|\) -> \w+<", declaration)
    function = re.search(r"(~?\w+)\(", declaration)
    return (function is not None and re.match(r" {4}\S", declaration) is not None
            and "(*" not in declaration and function[1].lstrip("~") not in ("operator", record)
            and not re.search(r"\b(override|operator.*= (default|delete))\b", declaration))


def bare(headers, read):
    """(header, declaration) of names without a text; and how many names there are."""
    found, names = [], 0
    for path, text in headers.items():
        if path.name == "hooks.h":  # made of the slots, which have theirs
            continue
        header = read(path.name, text)
        header.transformed()
        names += sum(1 for _, record, each in header.declared if is_name(record, each))
        found += [(path, each) for has_text, record, each in header.declared
                  if not has_text and is_name(record, each)]
    return found, names


def costs(path, text):
    """Whether a header of functions that a person writes says what they cost."""
    if "/* Made by hooks/" in text or path.parent.name != "dxr" or not re.search(
            r"^(?:DXR_API|  public:)", text, re.MULTILINE):
        return True
    constant = {"database_config", "memory", "module", "system", "system_table", "system_task",
                "system_time"}
    return "Cost" in comments(text) or path.stem in constant


def main(root):
    headers = {path: path.read_text(encoding="utf-8") for path in root.glob("include/**/*.h")}
    declared = set(re.findall(r"\w+", code("\n".join(headers.values()))))
    texts = {path: path.read_text(encoding="utf-8")
             for pattern in ("*.md", "docs/*.md", "tests/*.md") for path in root.glob(pattern)}
    texts.update({path: comments(text) for path, text in headers.items()})
    mentioned = 0
    wrong = []
    for path, text in sorted(texts.items()):
        for word in sorted(set(NAME.findall(text))):
            mentioned += 1
            stem = word.removesuffix("...")
            is_beginning = stem != word or stem.endswith("_") or stem in ("Dxr", "g_dxr")
            known = (any(other.startswith(stem) for other in declared) if is_beginning
                     else stem in declared)
            if not known and not OTHERS.match(stem) and stem not in FORMS:
                wrong.append(f"{path.relative_to(root)}: {word} is declared nowhere")
    without, names = bare(headers, reader(root))
    wrong += [f"{path.relative_to(root)}: no comment says what this is: {declaration}"
              for path, declaration in without]
    wrong += [f"{path.relative_to(root)} does not say what its functions cost"
              for path, text in headers.items() if not costs(path, text)]
    wrong += misplaced(root)
    left_out, functions = unlisted(root, headers)
    wrong += left_out
    print(*wrong, f"{mentioned} mentioned, {functions} functions, {names} names", sep="\n")
    return 1 if wrong or not mentioned or not functions or not names else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
