#!/usr/bin/env python3
"""No link of the pages leads nowhere.

    links_test.py ROOT [--elsewhere FOLDER...]

Looks at the Markdown files: a link is a file of the tree, and a place in it one of its headings.
Addresses of other machines are left alone, and so are links into a FOLDER of the root, where the
pages lie without it.
"""

import argparse
import os
import pathlib
import re
import sys

LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")


def anchors(text):
    """As the common viewers of Markdown name headings."""
    for heading in re.findall(r"^#+ (.*)$", text, flags=re.MULTILINE):
        yield re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def without_code(text):
    text = re.sub(r"^( *)```.*?^\1```", "", text, flags=re.DOTALL | re.MULTILINE)
    return re.sub(r"`[^`]*`", "", text)


def main(root, elsewhere):
    links = 0
    dead = []
    pages = [path for pattern in ("*.md", "docs/**/*.md", "tests/**/*.md", "examples/**/*.md",
                                  "python/**/*.md") for path in sorted(root.glob(pattern))]
    for page in pages:
        for target in LINK.findall(without_code(page.read_text(encoding="utf-8"))):
            links += 1
            if re.match(r"\w+:", target):
                continue
            name, _, place = target.partition("#")
            path = pathlib.Path(os.path.normpath(page.parent / name)) if name else page
            if path.relative_to(root).parts[:1] in elsewhere:
                continue
            if not path.exists():
                dead.append(f"{page.relative_to(root)} links to {target}, which is not there")
            elif place and place not in set(anchors(path.read_text(encoding="utf-8"))):
                dead.append(f"{page.relative_to(root)} links to {target}, a place there is not")
    print(*dead, f"{links} links in {len(pages)} pages", sep="\n")
    return 1 if dead or not links else 0


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("root", type=pathlib.Path)
    parser.add_argument("--elsewhere", nargs="+", default=[])
    options = parser.parse_args()
    sys.exit(main(options.root.resolve(), [(folder,) for folder in options.elsewhere]))
