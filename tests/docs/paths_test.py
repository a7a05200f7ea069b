#!/usr/bin/env python3
"""What the pages tell people to run or to look at is there.

    paths_test.py ROOT

Looks at what stands in `...` and in blocks of the Markdown files: files and folders of the tree,
scripts with their options, stages of scripts/test, presets, and tests of this folder.
"""

import json
import pathlib
import re
import sys

# Made by a build, or by whoever follows the page.
MADE = ("build/",)
# A word that stands for others: NAME, stem.h, <component>, {a,b}, *, $HOME, ...
FORM = re.compile(r"[A-Z]{3,}|[<>{}*$]|\.\.\.|component|\bstem[._]")


def texts(page):
    """Each piece of code that stands in a line, and each line of code."""
    is_code = False
    for line in page.splitlines():
        if line.lstrip().startswith("```"):
            is_code = not is_code
        elif is_code or line.startswith("    "):
            yield line.lstrip().removeprefix("$ ")
        elif not is_code:
            yield from re.findall(r"`([^`]+)`", line)


class Tree:
    def __init__(self, root):
        self.root = root
        self.checked = 0
        self.folders = {path.name for path in root.iterdir() if path.is_dir()} - {".git", "build"}
        stages = re.findall(r"^(?:all|more)_stages=\(([^)]*)\)", self.read("scripts/test"),
                            re.MULTILINE)
        self.stages = {stage for words in stages for stage in words.split()}
        presets = json.loads(self.read("CMakePresets.json"))
        self.presets = {each["name"] for each in presets["configurePresets"]}
        self.docs_tests = set(re.findall(r"^ *dxr_add_docs_test\((\S+)",
                                         self.read("tests/docs/CMakeLists.txt"), re.MULTILINE))

    def read(self, name):
        return (self.root / name).read_text(encoding="utf-8", errors="replace")

    def faults(self, text, folder):
        """What a piece of code names that is not there; relative names also count from `folder`."""
        words = [word.strip("(),;\"'") for word in re.split(r"[\s|&;]+", text)]
        for place, word in enumerate(words):
            if FORM.search(word) or word.startswith(MADE):
                continue
            if word.split("/")[0] in self.folders and re.fullmatch(r"[\w.+-]+(/[\w.+-]*)+", word):
                self.checked += 1
                if not (self.root / word).exists() and not (folder / word).exists():
                    yield f"{word} is not there"
                elif word.startswith("scripts/") and (self.root / word).is_file():
                    yield from self.arguments(word, words[place + 1:])
            if re.fullmatch(r"docs\.[a-z.]+", word):
                self.checked += 1
                if word.removeprefix("docs.") not in self.docs_tests:
                    yield f"there is no test {word}"
            if word == "--preset" and not FORM.search(words[place + 1]):
                self.checked += 1
                if words[place + 1] not in self.presets:
                    yield f"there is no preset {words[place + 1]}"

    def arguments(self, script, words):
        for word in words:
            if word.startswith("--"):
                self.checked += 1
                if not re.search(re.escape(word) + r"\b", self.read(script)):
                    yield f"{script} knows no {word}"
            elif script == "scripts/test" and re.fullmatch(r"[a-z][a-z-]*", word):
                self.checked += 1
                if word not in self.stages:
                    yield f"{script} has no stage {word}"
            else:
                return


def main(root):
    tree = Tree(root)
    wrong = []
    pages = [path for pattern in ("*.md", "docs/*.md", "tests/*.md", "examples/**/*.md")
             for path in sorted(root.glob(pattern))]
    for page in pages:
        for text in texts(page.read_text(encoding="utf-8")):
            wrong += [f"{page.relative_to(root)}: {fault}"
                      for fault in tree.faults(text, page.parent)]
    print(*wrong, f"{tree.checked} named in {len(pages)} pages", sep="\n")
    return 1 if wrong or not tree.checked else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
