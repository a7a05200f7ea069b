#!/usr/bin/env python3
"""The page of a run in a real browser: it shows what it should, and loads nothing.

    page_test.py DXRSH MODULE

Needs Chromium (scripts/setup --browser); without it says so and exits with 77. A second page, which
does load something, shows that this would be seen.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SKIPPED = 77
# No name leads anywhere, so nothing goes over the network.
FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-background-networking",
         "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage",
         "--no-first-run", "--host-resolver-rules=MAP * ~NOTFOUND"]
LOADS = """<img src="http://loaded.test/x.png"><iframe src="http://loaded.test/y.html"></iframe>
<link rel="stylesheet" href="http://loaded.test/z.css">
<script src="http://loaded.test/w.js"></script>
"""


def look_at(browser, page, work):
    """The document as the browser has it, and (kind, address) of what it asked for."""
    log = work / "net.json"
    done = subprocess.run(
        [browser, *FLAGS, f"--user-data-dir={work}/profile", f"--log-net-log={log}",
         "--virtual-time-budget=2000", "--dump-dom", page.as_uri()],
        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False, timeout=120)
    if done.returncode != 0:
        sys.exit(f"{browser} ended with {done.returncode}: {done.stderr[-500:]}")
    # A browser that ends in a hurry leaves the last bracket out, so this is no JSON reader's task.
    asked = re.findall(r'"traffic_annotation":(\d+),"url":"((?:[^"\\]|\\.)*)"',
                       log.read_text(encoding="utf-8"))
    return done.stdout, set(asked)


def main(dxrsh, module):
    browser = shutil.which("chromium")
    if browser is None:
        print("skipped: chromium is not installed (scripts/setup --browser)")
        return SKIPPED
    with tempfile.TemporaryDirectory(prefix="dxr_page_") as directory:
        work = pathlib.Path(directory)

        # The browser has errands of its own. How those of a page are marked tells one that loads.
        other = work / "other.html"
        other.write_text(LOADS, encoding="utf-8")
        _, asked = look_at(browser, other, work)
        marks = {kind for kind, address in asked if "//loaded.test/" in address}
        if not marks:
            sys.exit("a page that loads something was not seen to")

        page = work / "page.html"
        subprocess.run([dxrsh, "run", "--report", page, module, "<img src=http://loaded.test/>",
                        "words", "misuse"],
                       stdout=subprocess.DEVNULL, check=False, timeout=60)
        document, asked = look_at(browser, page, work)
        for part in ("<h1>Run of", "&lt;img src=http://loaded.test/&gt;", "Latency by slot",
                     '<svg role="img"', "DXR_ReadReg", "port 3 is &lt;up&gt;",
                     "Größe \\xff €", "<li>misuse, task, DXR_UnlockMutex by "):
            if part not in document:
                sys.exit(f"the browser does not show {part}")
        loaded = {address for kind, address in asked
                  if kind in marks and not address.startswith("file:")}
        if "<img" in document or loaded:
            sys.exit(f"the page loads {loaded}")

        # Were there such a thing in it, its policy would forbid it.
        text = page.read_text(encoding="utf-8")
        page.write_text(text.replace("</body>", LOADS + "</body>"), encoding="utf-8")
        _, asked = look_at(browser, page, work)
        if any("//loaded.test/" in address for _, address in asked):
            sys.exit("the page's policy lets something be loaded")
    print("the page shows its parts and loads nothing")
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
