#!/usr/bin/env python3
"""The reference site in a real browser, from files as a reader opens them.

    site_test.py SITE [--self] [--only PART] [--pictures FOLDER]

Opens every page of SITE/html and uses search, table of slots, tree, index and a narrow window as a
reader would; SITE is what scripts/site made. With --self, copies of it with a fault each have to
fail. Needs Chromium (scripts/setup --browser).
"""

import argparse
import json
import pathlib
import re
import shutil
import sys
import tempfile

import browser

SLOTS = 226
NAME = "DXR_SameLogFilter"
RESULTS = "MSearchResults"  # the frame that shows what the search finds
SHOWN = """[...document.querySelectorAll(".SRResult")].filter(each => each.getClientRects().length)
    .map(each => each.querySelector(".SRSymbol").textContent)"""
# An element that the address names, in view; the page scrolls in a part of itself.
ARRIVED = """(() => {
    const place = document.getElementById(location.hash.slice(1));
    if (!place) return false;
    const part = document.querySelector("#doc-content").getBoundingClientRect();
    const top_ = (place.nextElementSibling ?? place).getBoundingClientRect().top;
    return top_ >= part.top - 5 && top_ < part.bottom;
})()"""


def address(site, name):
    return (site / "html" / name).as_uri()


def every_page(tab, site):
    """What the scripts of the pages complain of, and what is asked for from elsewhere."""
    inside = (site / "html").as_uri() + "/"
    pages = sorted((site / "html").glob("*.html"))
    for page in pages:
        tab.faults.clear()
        tab.requests.clear()
        tab.open(page.as_uri())
        # The tree beside the page is the last that comes.
        tab.wait_for("document.readyState == 'complete' && "
                     "(!document.querySelector('#nav-tree') || "
                     "!!document.querySelector('#nav-tree-contents .item'))")
        if not tab.value("document.querySelector('div.contents').innerText.trim()"):
            yield f"{page.name} is empty"
        yield from (f"{page.name}: {fault}" for fault in tab.faults)
        yield from (f"{page.name} asks for {asked}" for asked in tab.requests
                    if not asked.startswith((inside, "data:")))
    print(f"{len(pages)} pages opened")
    if len(pages) < 100:
        yield f"there are {len(pages)} pages"


def search(tab, site):
    """A name typed in is found, with and without its prefix, and leads to its place."""
    for typed in (NAME, NAME.removeprefix("DXR_"), "ModuleTest"):
        tab.open(address(site, "index.html"))
        tab.click("#MSearchField")
        tab.type(typed)
        try:
            found = tab.wait_for(
                f"(found => found.length && found.every(name => name.toLowerCase().includes("
                f"{json.dumps(typed.lower())})) && found)({SHOWN})", RESULTS)
        except TimeoutError:
            yield f"the search for {typed} shows {tab.value(SHOWN, RESULTS)}"
            continue
        if not any(name.endswith(typed) for name in found):
            yield f"the search for {typed} finds {found}"
    tab.open(address(site, "index.html"))
    tab.click("#MSearchField")
    tab.type("NoSuchName")
    try:
        tab.wait_for("document.querySelector('#NoMatches')?.style.display == 'block'", RESULTS)
    except TimeoutError:
        yield "the search for NoSuchName does not say that there is none"

    tab.open(address(site, "index.html"))
    tab.click("#MSearchField")
    tab.type(NAME)
    try:
        tab.wait_for(f"{SHOWN}.length == 1", RESULTS)
        tab.press("Enter", 13)
        tab.wait_for("document.activeElement.className == 'SRSymbol'", RESULTS)
        tab.press("Enter", 13)
    except TimeoutError:
        yield f"the search for {NAME} gives nothing that one can go to"
        return
    yield from lands(tab, f"the search for {NAME}", NAME)


def lands(tab, what, name):
    """After a step that leads to where a name is described."""
    try:
        tab.wait_for(f"location.hash && document.readyState == 'complete' && {ARRIVED}")
    except TimeoutError:
        yield f"{what} ends at {tab.value('location.href')}"
        return
    there = tab.value("(e => (e.nextElementSibling ?? e).textContent)"
                      "(document.getElementById(location.hash.slice(1)))")
    if name not in there:
        yield f"{what} leads to {there!r}"


def table_of_slots(tab, site):
    tab.open(address(site, "md_docs_slots.html"))
    slots = tab.value("""[...document.querySelectorAll("div.contents table")]
        .filter(table => table.innerText.startsWith("index"))
        .flatMap(table => [...table.rows].slice(1))
        .filter(row => row.getClientRects().length)
        .map(row => [row.cells.length, row.cells[1].innerText])""")
    if slots != [[5, str(slot)] for slot in range(SLOTS)]:
        yield f"the table of slots has {len(slots)} rows, or not in their order"
    if len(set(tab.value("[...document.querySelectorAll('td a')].map(a => a.href)"))) < 200:
        yield "the functions of the slots are no links"
    tab.click("td a[href*='#']")
    yield from lands(tab, "the first link of the table of slots", "DXR_Alarm")


def index(tab, site):
    """The list of all functions, and the tree beside the pages."""
    tab.open(address(site, "globals_func.html"))
    names = tab.value("document.querySelectorAll('div.contents li').length")
    if not names or names < 400:
        yield f"the index has {names} functions"
    link = tab.value("[...document.querySelectorAll('div.contents li')]"
                     f".find(li => li.textContent.startsWith('{NAME}()'))"
                     "?.querySelector('a').getAttribute('href')")
    if not link:
        yield f"the index has no {NAME}"
        return
    tab.click(f"div.contents li a[href={json.dumps(link)}]")
    yield from lands(tab, "the index", NAME)

    tab.open(address(site, "index.html"))
    tab.wait_for("!!document.querySelector('#nav-tree-contents .item')")
    title = "The slots of the hook table"
    tab.value("[...document.querySelectorAll('#nav-tree-contents .label a')]"
              f".find(a => a.textContent == {json.dumps(title)})?.setAttribute('id', 'sought')")
    try:
        tab.click("#sought")
        tab.wait_for(f"document.readyState == 'complete' && "
                     f"document.querySelector('.title')?.innerText.trim() == {json.dumps(title)}")
    except TimeoutError:
        yield f"the tree does not lead to {title!r}"


def narrow(tab, site):
    """Nothing of a page is wider than a narrow window, but what scrolls by itself."""
    tab.resize(480, 800)
    for name in ("index.html", "md_docs_slots.html", "md_docs_dxrsh.html",
                 "print__log__filter_8h.html", "structDxrHooks.html", "globals_func.html"):
        tab.open(address(site, name))
        tab.wait_for("document.readyState == 'complete'")
        width, seen = tab.value("(e => [e.scrollWidth, e.clientWidth])"
                                "(document.querySelector('#doc-content'))")
        if width > seen or seen < 400:
            yield f"{name} takes {width} of {seen} pixels in a window of 480"
    tab.resize(1280, 900)


def pictures(tab, site, folder):
    for name in ("index", "print__log__filter_8h", "md_docs_slots", "dxr__devhost_2system_8h",
                 "structDxrHooks"):
        for width in (1280, 480):
            tab.resize(width, 900)
            tab.open(address(site, f"{name}.html"))
            tab.wait_for("document.readyState == 'complete'")
            tab.picture(folder / f"{name}-{width}.png")


def looked_at(site, parts, patience=browser.PATIENCE):
    faults = []
    with browser.Browser(patience) as tab:
        for part in parts:
            try:
                faults += part(tab, site)
            except (RuntimeError, TimeoutError) as stuck:
                faults.append(f"{part.__name__}: {stuck}")
    return faults


PLANTED = [
    (every_page, "index.html", "</body>", "<script>noSuchFunction()</script></body>"),
    (every_page, "index.html", "</body>", "<img src='http://loaded.test/x.png'/></body>"),
    (every_page, "md_docs_slots.html", "navtree.js", "nosuch.js"),
    (search, "search/search.js", "row.style.display = 'block'", "row.style.display = 'none'"),
    (search, "search/all_*.js", f"{NAME}'", "DXR_SameLogFilterer'"),
    (table_of_slots, "md_docs_slots.html", r"<tr class=\"markdownTableRowOdd\">.*?</tr>", ""),
    (index, "globals_func.html", f"(<li>{NAME}.*?#)a", r"\1b"),
    (index, "globals_func.html", f"<li>{NAME}.*?</li>", ""),
    (index, "navtreedata.js", "md_docs_slots.html", "md_docs_trace.html"),
    (narrow, "extra.css", "overflow-x: auto", ""),
]


def faults_are_seen(site):
    """Each part of this test on a copy with a fault that it should see."""
    blind = []
    for part, names, pattern, instead in PLANTED:
        with tempfile.TemporaryDirectory(prefix="dxr_site_") as place:
            copy = pathlib.Path(place)
            if part is every_page:  # a few are enough here
                (copy / "html").mkdir()
                for path in site.glob("html/*"):
                    if path.suffix != ".html" or path.name == names:
                        (shutil.copytree if path.is_dir() else shutil.copy)(
                            path, copy / "html" / path.name)
            else:
                shutil.copytree(site / "html", copy / "html")
            changed = 0
            for path in copy.glob(f"html/{names}"):
                text = path.read_text(encoding="utf-8")
                new = re.sub(pattern, instead, text, flags=re.DOTALL)
                changed += new != text
                path.write_text(new, encoding="utf-8")
            found = [fault for fault in looked_at(copy, [part], patience=10)
                     if not fault.startswith("there are 1 pages")]
            print(f"{part.__name__}, {names}: {found[:1]}")
            if not changed or not found:
                blind.append(f"{part.__name__} does not see a fault in {names}: {pattern}")
    return blind


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("site", type=pathlib.Path)
    parser.add_argument("--self", action="store_true")
    parser.add_argument("--pictures", type=pathlib.Path)
    parser.add_argument("--only", metavar="PART", help="the name of one function of this file")
    options = parser.parse_args()
    if browser.found() is None:
        sys.exit("chromium is not installed (scripts/setup --browser)")
    site = options.site.resolve()
    if options.pictures:
        with browser.Browser() as tab:
            pictures(tab, site, options.pictures)
        return 0
    parts = [part for part in (every_page, search, table_of_slots, index, narrow)
             if options.only in (None, part.__name__)]
    faults = looked_at(site, parts)
    if options.self:
        faults += faults_are_seen(site)
    print(*faults, f"{len(faults)} faults of the site in the browser", sep="\n")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
