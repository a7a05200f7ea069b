#!/usr/bin/env python3
"""No link of the site leads nowhere, and every public name has a text.

The tree beside the pages looks for functions of namespaces on the page of their file; such links
are first turned to the page that has them.

    check.py SITE        reads SITE/html and SITE/xml; exit status 1 for a dead link or a bare name

Names are functions, types, macros, objects and the classes' functions. Members of records are
counted, but may go without a text of their own where their record has one.
"""

import html.parser
import pathlib
import re
import sys
import urllib.parse
import xml.etree.ElementTree as ElementTree

# Macros that serve the headers themselves.
OWN = re.compile(r"(\w+_H|DXR_(API|NODISCARD|PRINTF|LAYOUT|STATIC_ASSERT|ASSERT_SLOT"
                 r"|EXTERN_C_(BEGIN|END)))$")


class Page(html.parser.HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.links = []
        self.anchors = set()
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name in ("href", "src") and value:
                self.links.append(value)
            elif name in ("id", "name") and value:
                self.anchors.add(value)


def mend_tree(folder, pages):
    homes = {anchor: name for name, page in pages.items() for anchor in page.anchors}

    def mended(match):
        page, anchor = match.groups()
        if page in pages and anchor not in pages[page].anchors and anchor in homes:
            page = homes[anchor]
        return f'"{page}#{anchor}"'

    for path in folder.glob("*.js"):
        text = path.read_text(encoding="utf-8")
        path.write_text(re.sub(r'"([\w.-]+\.html)#(\w+)"', mended, text), encoding="utf-8")


def dead_links(folder):
    pages = {path.name: Page(path.read_text(encoding="utf-8")) for path in folder.glob("*.html")}
    mend_tree(folder, pages)
    links = [(name, link) for name, page in pages.items() for link in page.links]
    # The menus and the search are data.
    for path in [*folder.glob("*.js"), *folder.glob("search/*_*.js")]:
        text = path.read_text(encoding="utf-8")
        links += [(path.name, link.removeprefix("../"))
                  for link in re.findall(r"""["']((?:\.\./)?[\w./-]+\.html(?:#\w+)?)["']""", text)]
    dead = set()
    for name, link in links:
        target = urllib.parse.urlsplit(link)
        if target.scheme or link.startswith("javascript:"):
            continue
        file = urllib.parse.unquote(target.path) or name
        if not (folder / file).exists():
            dead.add(f"{name} links to {link}, which is not there")
        elif target.fragment and file in pages and target.fragment not in pages[file].anchors:
            dead.add(f"{name} links to {link}, where there is no such place")
    return len(pages), len(links), sorted(dead)


def has_text(node):
    return any("".join(node.find(part).itertext()).strip()
               for part in ("briefdescription", "detaileddescription")
               if node.find(part) is not None)


def public_names(folder):
    """{name: has a text} of names, and of members of records."""
    names, members = {}, {}
    for path in folder.glob("*.xml"):
        compound = ElementTree.parse(path).getroot().find("compounddef")
        if compound is None or compound.get("kind") not in ("file", "struct", "class", "namespace"):
            continue
        owner = compound.findtext("compoundname")
        if compound.get("kind") in ("struct", "class"):
            # What is special for some types is described with the template.
            names[owner] = has_text(compound) or "<" in owner
        for member in compound.iter("memberdef"):
            name = member.findtext("name")
            if member.get("kind") == "define" and OWN.match(name):
                continue
            if member.get("prot") == "private" or re.search(r"=\s*default|=\s*delete",
                                                            member.findtext("argsstring") or ""):
                continue
            if compound.get("kind") == "file":
                names[name] = names.get(name, False) or has_text(member)
            elif member.get("kind") == "variable":
                members[f"{owner}.{name}"] = has_text(member)
            else:
                # What overrides, constructors and destructors are described by their class.
                known = has_text(member) or member.find("reimplements") is not None or (
                    re.sub("<.*", "", owner).split("::")[-1] == name.lstrip("~")) or (
                    "override" in (member.findtext("argsstring") or ""))
                names[f"{owner}::{name}"] = names.get(f"{owner}::{name}", False) or known
    return names, members


def main(site):
    pages, links, dead = dead_links(site / "html")
    names, members = public_names(site / "xml")
    bare = sorted(name for name, has in names.items() if not has)
    for fault in [*dead, *(f"{name} has no text" for name in bare)]:
        print(fault)
    print(f"{pages} pages, {links} links, {len(dead)} dead")
    print(f"{len(names) - len(bare)} of {len(names)} public names have a text; "
          f"{sum(members.values())} of {len(members)} members of records have one of their own")
    return 1 if dead or bare or not names else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
