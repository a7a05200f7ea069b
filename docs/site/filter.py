#!/usr/bin/env python3
"""Turns the public headers and the pages into what Doxygen reads.

    filter.py DIRECTORY     writes them there, under their names

The comments of the headers are plain. One before a declaration is that declaration's, and that of
those that follow it without an empty line; one after a member is the member's; all others are
about the file. Their text is taken as it stands: columns stay columns. In pages, links to files
that are no pages become what they name.
"""

import functools
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SECTION = re.compile(r"-{3,}")
# What is no declaration of its own.
SILENT = re.compile(r"\s*(#(if|elif|else|endif|include|pragma|undef|error)|DXR_EXTERN_C_|\}"
                    r"|DXR_STATIC_ASSERT|DXR_ASSERT_SLOT|(public|protected|private):|friend "
                    r"|namespace )")


@functools.lru_cache(maxsize=None)
def functions():
    """What the headers declare, as words of prose may name it."""
    texts = [path.read_text(encoding="utf-8") for path in (ROOT / "include").rglob("*.h")]
    return {name for text in texts for name in re.findall(r"^DXR_API .*?\b(\w+)\(", text,
                                                          re.MULTILINE)}


def escaped(text):
    """One line of prose; names in backticks become code, functions become links."""
    def plain(part):
        part = re.sub(r"([\\@&<>#%$\"*~|])", r"\\\1", part).replace(r"\*", "&#42;")
        part = part.replace(r"\|", "|").replace(r"\~", "~")
        return re.sub(r"\bDxr\w+|\bDXR_\w+",
                      lambda name: (f'@ref {name[0]} "{name[0]}"' if name[0] in functions()
                                    else name[0]), part)

    parts = re.split(r"`([^`]*)`", text)
    return "".join(f"<code>{plain(part)}</code>" if place % 2 else plain(part)
                   for place, part in enumerate(parts))


def blocks(lines):
    """Prose and what is laid out in columns, as (kind, lines)."""
    kind, taken = None, []
    for line in lines:
        now = "columns" if re.match(r"  |- |\d\. ", line) else "prose"
        if not line.strip():
            now = "none"
        if kind == "columns" and now == "none":
            taken.append("")
            continue
        if now != kind:
            if taken and kind != "none":
                yield kind, taken
            kind, taken = now, []
        taken.append(line)
    if taken and kind != "none":
        yield kind, taken


def formatted(lines):
    for kind, taken in blocks(lines):
        while taken and not taken[-1]:
            taken.pop()
        if kind == "prose":
            yield from (escaped(line) for line in taken)
            yield ""
        else:
            # Neither lists nor tables: columns stay as they are.
            yield "<pre>"
            yield from (re.sub(r"^( *)([-+]|\d+\.)", r"\1&zwj;\2", escaped(line)) for line in taken)
            yield "</pre>"
            yield ""


def text_of(comment):
    """The lines of a comment without its frame."""
    inner = re.sub(r"^\s*/\*|\*/\s*$", "", comment)
    lines = [re.sub(r"^\s*\* ?", "", line).rstrip() for line in inner.split("\n")]
    return [lines[0].strip(), *lines[1:]]


def documentation(comment, opening="/**", first=""):
    body = "\n".join(formatted(text_of(comment))).strip()
    # An asterisk and a slash within would end it; there are none.
    return f"{opening} {first}{body} */"


def hook_callers():
    """{(type of the group, member): who calls it}."""
    import yaml  # which only this header needs
    groups = yaml.safe_load((ROOT / "hooks/slots.yaml").read_text(encoding="utf-8"))
    callers = {}
    for group in groups:
        for slot in group["slots"]:
            called = re.search(r"DXR_\w+", slot.get("prototype", ""))
            callers[(f"Dxr{group['name']}Hooks", slot["member"])] = (
                f"What {called[0]}() calls." if called else
                "What the library prints its messages with." if slot["member"] == "print" else
                "Never called.")
        callers[("DxrHooks", group["member"])] = group["about"]
    return callers


class Header:
    def __init__(self, name, text):
        self.name = name
        self.lines = text.split("\n")
        self.callers = hook_callers() if name == "dxr/hooks.h" else {}
        self.out = []
        self.at = 0
        self.shared = None  # the comment of this run of declarations
        self.record = None  # the name of the record that is open
        self.declared = []  # (has a text, record, declaration) of each

    def comment_from(self, text):
        """A comment that begins in `text`, whole; moves to its last line."""
        while "*/" not in text:
            self.at += 1
            text += "\n" + self.lines[self.at]
        return text

    def transformed(self):
        while self.at < len(self.lines):
            self.line(self.lines[self.at])
            self.at += 1
        return "\n".join(self.out)

    def line(self, line):
        if re.match(r"\s*/\*", line):
            self.leading(self.comment_from(line))
        elif not line.strip():
            self.shared = None
            self.out.append(line)
        elif SILENT.match(line) and not line.startswith("} Dxr"):
            self.out.append(line)
        else:
            self.declaration(line)

    def leading(self, comment):
        following = self.lines[self.at + 1] if self.at + 1 < len(self.lines) else ""
        about_file = not following.strip() or following.startswith("#ifndef")
        if SECTION.search(comment.split("\n")[0]) or "do not edit." in comment:
            return
        if about_file:
            self.out.append(documentation(comment, first=f"@file {self.name}\n"))
        elif SILENT.match(following) and not following.startswith("#pragma pack(push"):
            self.shared = None  # tells why, not what
        else:
            self.shared = comment

    def declaration(self, line):
        """Up to its end; a record only up to its first brace."""
        has_text = self.shared is not None
        if has_text:
            self.out.append(documentation(self.shared))
        taken = ""
        while True:
            code, trailing = line, None
            found = re.search(r"\s*/\*", line)
            if found:
                code, trailing = line[:found.start()], self.comment_from(line[found.start():])
            taken += code
            if self.ended(code, taken) or self.at + 1 >= len(self.lines):
                self.out.append(code + self.trailing(trailing, taken))
                break
            # Comments within a declaration are not carried.
            self.out.append(code)
            self.at += 1
            line = self.lines[self.at]
        self.declared.append((has_text or trailing is not None, self.record, taken))
        if re.match(r"(typedef )?(struct|class)\b.*\{$", taken):
            self.record = re.search(r"(?:struct|class) (?:DXR_API )?(\w+)", taken)[1]
            self.shared = None
        elif taken.rstrip().endswith("{"):
            self.body()

    def body(self):
        """Copies the body of a function."""
        depth = 1
        while depth > 0:
            self.at += 1
            line = self.lines[self.at]
            depth += line.count("{") - line.count("}")
            self.out.append(line)

    @staticmethod
    def ended(code, taken):
        if taken.lstrip().startswith("#define"):
            return not code.endswith("\\")
        if code.rstrip().endswith("{"):
            return True
        return code.rstrip().endswith((";", "}"))

    def trailing(self, comment, taken):
        member = re.search(r"\(\*(\w+)\)|(\w+)(?:\[\w+\])?;$", taken)
        caller = self.callers.get((self.record, member[1] or member[2])) if member else None
        if caller:
            return f" /**< {caller} */"
        return " " + documentation(comment, opening="/**<") if comment else ""


PAGES = {"README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md"}


def label(page_path, heading):
    """Of a heading, by its text or by what stands after # in links to it; one on the whole site."""
    anchor = re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
    return f"{page_path.stem}-{anchor}"


def link(match, page_path):
    text, target = match.groups()
    if re.match(r"\w+:", target):
        return match[0]
    name, _, place = target.partition("#")
    path = (page_path.parent / name).resolve() if name else page_path
    if place:
        return f"[{text}](#{label(path, place)})"
    path = path.relative_to(ROOT)
    if str(path) in PAGES or (path.parts[0] == "docs" and path.suffix in (".md", ".svg")):
        return f"[{text}]({path})" if path.suffix == ".md" else f"[{text}]({path.name})"
    if path.parts[0] == "docs" and path.suffix == ".txt":
        return f"[{text}]({path.name})"  # beside the pages, as it is
    if path.parts[0] == "include" and path.suffix == ".h":
        return f'@ref {path.relative_to("include")} "{text}"'
    return f"{text} (`{path}`)" if str(path) not in text else f"`{path}`"


def page(path):
    lines = []
    seen = {}  # how often a label was given; the second of a name is called name-1
    fenced = False
    text = path.read_text(encoding="utf-8")
    # The first line of a page is its title, if it is a heading.
    text = re.sub(r"\A(<!--.*?-->\n)(# .*\n)", r"\2\1", text, flags=re.DOTALL)
    for line in text.split("\n"):
        fenced ^= line.startswith("```")
        if line.startswith("```console"):
            line = "```"
        if not fenced and line.startswith("##"):
            place = label(path, line.lstrip("# "))
            seen[place] = seen.get(place, -1) + 1
            line += f" {{#{place}-{seen[place]}}}" if seen[place] else f" {{#{place}}}"
        elif not fenced and not line.startswith("    ") and not line.startswith("<!--"):
            line = re.sub(r"\[([^\]]*)\]\(([^)]*)\)", lambda match: link(match, path), line)
        lines.append(line)
    return "\n".join(lines)


def main(target):
    pages = [ROOT / name for name in PAGES] + [*(ROOT / "docs").glob("*.md")]
    headers = [*(ROOT / "include").rglob("*.h")]
    for path in pages + headers:
        if path.suffix == ".md":
            text = page(path)
        else:
            name = str(path.relative_to(ROOT / "include"))
            text = Header(name, path.read_text(encoding="utf-8")).transformed()
        written = target / path.relative_to(ROOT)
        written.parent.mkdir(parents=True, exist_ok=True)
        written.write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]))
