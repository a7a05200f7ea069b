"""A headless Chromium that a test drives, over two pipes and without any package."""

import base64
import json
import os
import pathlib
import select
import shutil
import signal
import subprocess
import tempfile
import time

# No name leads anywhere, so nothing goes over the network.
FLAGS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-background-networking",
         "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage",
         "--no-first-run", "--hide-scrollbars", "--host-resolver-rules=MAP * ~NOTFOUND"]
PATIENCE = 60  # seconds that the browser may take for anything


def found():
    return shutil.which("chromium")


class Browser:
    """One tab. Use it with `with`: nothing of it is left afterwards."""

    def __init__(self, patience=PATIENCE, width=1280, height=900):
        self.patience = patience  # seconds until what was waited for is taken as never coming
        self.size = (width, height)
        self.faults = []    # what scripts and the console complained of
        self.requests = []  # every address that was asked for
        self.loaded = False
        self.contexts = {}  # where scripts of each frame run
        self._last = 0
        self._bytes = b""

    def __enter__(self):
        self.profile = tempfile.TemporaryDirectory(prefix="dxr_browser_",
                                                   ignore_cleanup_errors=True)
        theirs_in, ours_out = os.pipe()
        ours_in, theirs_out = os.pipe()

        def connect():
            # The browser reads its orders from 3 and answers on 4.
            reading, writing = os.dup(theirs_in), os.dup(theirs_out)
            os.dup2(reading, 3)
            os.dup2(writing, 4)

        # Its helpers are of its group, and end with it.
        self.process = subprocess.Popen(
            [found(), *FLAGS, "--remote-debugging-pipe", f"--user-data-dir={self.profile.name}",
             f"--window-size={self.size[0]},{self.size[1]}", "about:blank"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, "TMPDIR": self.profile.name}, preexec_fn=connect, close_fds=False,
            start_new_session=True)
        os.close(theirs_in)
        os.close(theirs_out)
        self._out, self._in, self._session = ours_out, ours_in, None
        pages = [target for target in self.ask("Target.getTargets")["targetInfos"]
                 if target["type"] == "page"]
        self._session = self.ask("Target.attachToTarget", targetId=pages[0]["targetId"],
                                 flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.ask(f"{domain}.enable")
        self.resize(*self.size)
        return self

    def __exit__(self, *_):
        os.close(self._out)
        os.close(self._in)
        try:
            os.killpg(self.process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self.process.wait()
        self.profile.cleanup()

    def ask(self, method, **parameters):
        """The answer to one order."""
        self._last += 1
        order = {"id": self._last, "method": method, "params": parameters}
        if self._session:
            order["sessionId"] = self._session
        os.write(self._out, json.dumps(order).encode() + b"\0")
        until = time.monotonic() + PATIENCE
        while True:
            told = self._next(until)
            if told.get("id") == self._last:
                if "error" in told:
                    raise RuntimeError(f"{method}: {told['error']['message']}")
                return told["result"]

    def _next(self, until):
        while b"\0" not in self._bytes:
            left = until - time.monotonic()
            if left <= 0 or not select.select([self._in], [], [], left)[0]:
                raise TimeoutError("the browser says nothing")
            read = os.read(self._in, 1 << 16)
            if not read:
                raise EOFError("the browser has ended")
            self._bytes += read
        message, _, self._bytes = self._bytes.partition(b"\0")
        told = json.loads(message)
        self._note(told.get("method"), told.get("params", {}))
        return told

    def _note(self, event, said):
        if event == "Runtime.exceptionThrown":
            details = said["exceptionDetails"]
            thrown = details.get("exception", {}).get("description", "").split("\n")[0]
            self.faults.append(f"{details['text']} {thrown}".strip())
        elif event == "Log.entryAdded" and said["entry"]["level"] == "error":
            self.faults.append(f"{said['entry']['text']} {said['entry'].get('url', '')}".strip())
        elif event == "Runtime.consoleAPICalled" and said["type"] in ("error", "assert"):
            self.faults.append(" ".join(str(each.get("value", each.get("description")))
                                        for each in said["args"]))
        elif event == "Network.requestWillBeSent":
            self.requests.append(said["request"]["url"])
        elif event == "Page.loadEventFired":
            self.loaded = True
        elif event == "Runtime.executionContextCreated":
            about = said["context"]["auxData"]
            if about["isDefault"]:
                self.contexts[about["frameId"]] = said["context"]["id"]

    def open(self, address):
        self.loaded = False
        failed = self.ask("Page.navigate", url=address).get("errorText")
        if failed:
            raise RuntimeError(f"{address}: {failed}")
        until = time.monotonic() + PATIENCE
        while not self.loaded:
            self._next(until)

    def value(self, expression, frame=None):
        """Of an expression of JavaScript, in the page or in its frame of that name, if it is there.
        """
        where = {}
        if frame:
            frames = [each["frame"] for each in self.ask("Page.getFrameTree")["frameTree"].get(
                "childFrames", []) if each["frame"].get("name") == frame]
            if not frames or frames[0]["id"] not in self.contexts:
                return None
            where["contextId"] = self.contexts[frames[0]["id"]]
        try:
            told = self.ask("Runtime.evaluate", expression=expression, returnByValue=True,
                            awaitPromise=True, **where)
        except RuntimeError as gone:
            if frame and "context" in str(gone):  # the frame shows another page by now
                return None
            raise
        if "exceptionDetails" in told:
            raise RuntimeError(f"{expression}: {told['exceptionDetails']['text']}")
        return told["result"].get("value")

    def wait_for(self, expression, frame=None):
        """Its value, as soon as there is one that is true."""
        until = time.monotonic() + self.patience
        while time.monotonic() < until:
            try:
                value = self.value(expression, frame)
            except RuntimeError as gone:
                if "navigated" not in str(gone):
                    raise
                value = None  # a new page is on its way
            if value:
                return value
            time.sleep(0.02)
        raise TimeoutError(f"never true: {expression}")

    def click(self, selector):
        """With the mouse, in the middle of what is seen of an element, once it stands still."""
        place = self.wait_for(
            f"""(async () => {{
                const element = document.querySelector({json.dumps(selector)});
                if (!element) return;
                element.scrollIntoView({{block: "center"}});
                const before = element.getClientRects()[0];
                await new Promise(after => setTimeout(after, 100));
                const now = element.getClientRects()[0];
                if (!now || !now.width || before.x != now.x || before.y != now.y) return;
                return [now.x + now.width / 2, now.y + now.height / 2];
            }})()""")
        for kind in ("mouseMoved", "mousePressed", "mouseReleased"):
            self.ask("Input.dispatchMouseEvent", type=kind, x=place[0], y=place[1],
                     button="none" if kind == "mouseMoved" else "left", clickCount=1)

    def type(self, text):
        for letter in text:
            for kind in ("keyDown", "keyUp"):
                self.ask("Input.dispatchKeyEvent", type=kind, key=letter,
                         text=letter if kind == "keyDown" else "",
                         windowsVirtualKeyCode=ord(letter.upper()))

    def press(self, key, code):
        for kind in ("rawKeyDown", "keyUp"):
            self.ask("Input.dispatchKeyEvent", type=kind, key=key, code=key,
                     windowsVirtualKeyCode=code)

    def resize(self, width, height):
        self.ask("Emulation.setDeviceMetricsOverride", width=width, height=height,
                 deviceScaleFactor=1, mobile=False)

    def picture(self, file):
        data = self.ask("Page.captureScreenshot", format="png")["data"]
        pathlib.Path(file).write_bytes(base64.b64decode(data))
