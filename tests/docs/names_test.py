#!/usr/bin/env python3
"""Every name of the interface that a document or a public header mentions is declared there.

    names_test.py ROOT

Looks at the Markdown files and at the comments of include/. "DXR_HOST_MAP_..." and "DXR_LOGFILTER_"
stand for the names that begin so. docs/names.md has every function whose name does not begin with
DXR_, itself or how it begins. Declarations that stand together have a comment before or beside
them, and a header of more than dispatchers says what its functions cost.
"""

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


def bare(text):
    """First lines of declarations that stand apart, without a comment."""
    for paragraph in re.split(r"\n\s*\n", text):
        line = paragraph.split("\n")[0]
        if re.match(r"(typedef|DXR_API|DXR_NODISCARD|extern|class|#define DXR_\w+ )", line):
            if "/*" not in line:
                yield line


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
    wrong += [f"{path.relative_to(root)}: no comment says what this is: {line}"
              for path, text in headers.items() for line in bare(text)]
    wrong += [f"{path.relative_to(root)} does not say what its functions cost"
              for path, text in headers.items() if not costs(path, text)]
    left_out, functions = unlisted(root, headers)
    wrong += left_out
    print(*wrong, f"{mentioned} mentioned, {functions} functions", sep="\n")
    return 1 if wrong or not mentioned or not functions else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
