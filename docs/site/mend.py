#!/usr/bin/env python3
"""Mends what the generator leaves.

    mend.py SITE      changes SITE/html

The generator's search knows the beginnings of names, and nearly all of them begin alike: names are
found also by what stands behind their DXR_ or Dxr. A page of the documents gets a second, empty one
for its file: links go to the first, and the others are gone.
"""

import pathlib
import re
import sys

ENTRY = re.compile(r"^  \['(\w+)',(\['(DXR_|Dxr(?=[A-Z])).*\])\],?$", re.MULTILINE)
EMPTY = re.compile(r'<div class="contents">\s*</div><!-- contents -->')


def search_by_rests(folder):
    sections = (folder / "searchdata.js").read_text(encoding="utf-8")
    letters = re.search(r'  0: "([^"]*)"', sections)[1]
    bins = {letter: folder / f"all_{place:x}.js" for place, letter in enumerate(letters)}
    added = {}
    for key, found, prefix in ENTRY.findall(bins["d"].read_text(encoding="utf-8")):
        # An underscore is _5f there, and a number at the end makes keys differ.
        rest, number = re.fullmatch(r"(?:dxr_5f|dxr)(\w+)_(\d+)", key).groups()
        if rest[0] in bins:
            added.setdefault(rest[0], []).append((f"{rest}_{prefix.strip('_').lower()}{number}",
                                                  found))
    for letter, entries in added.items():
        text = bins[letter].read_text(encoding="utf-8")
        lines = [line.rstrip(",") for line in text.split("\n") if line.startswith("  [")]
        lines += [f"  ['{key}',{found}]" for key, found in entries]
        lines.sort(key=lambda line: re.sub(r"_\w*?\d+$", "", line.split("'")[1]))
        bins[letter].write_text("var searchData=\n[\n" + ",\n".join(lines) + "\n];\n",
                                encoding="utf-8")
    return sum(map(len, added.values()))


def without_empty_pages(folder):
    """How many there were."""
    empty = {}  # name: where its links go instead
    for path in folder.glob("*.html"):
        if not EMPTY.search(path.read_text(encoding="utf-8")):
            continue
        stem = path.name.removesuffix("_8md.html").replace("-", "_")
        homes = [name for name in (f"md_docs_{stem}.html", f"md_{stem}.html",
                                   "index.html" if stem == "README" else "")
                 if name and (folder / name).exists()]
        empty[path.name] = homes[0] if homes else "pages.html"  # the folder of the documents
        path.unlink()
    if not empty:
        return 0
    names = "|".join(map(re.escape, empty))
    any_empty = re.compile(rf"\b({names})\b")
    for path in [*folder.glob("*.html"), *folder.glob("*.js"), *folder.glob("search/*.js")]:
        text = path.read_text(encoding="utf-8")
        if path.name.startswith("navtreeindex"):  # where each page is in the tree
            text = re.sub(rf"^\"({names})\".*\n", "", text, flags=re.MULTILINE)
        path.write_text(any_empty.sub(lambda match: empty[match[1]], text), encoding="utf-8")
    return len(empty)


def main(folder):
    found = search_by_rests(folder / "search")
    gone = without_empty_pages(folder)
    print(f"{found} names are found without their prefix, too; {gone} empty pages are gone")
    return 0 if found else 1


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]) / "html"))
