#!/usr/bin/env python3
"""Checks the documentation site: every link within it leads somewhere, and its first page is right in a browser.

    check_site.py HTML_FOLDER [PICTURE_FOLDER [PAGE...]]

Pages take nothing from elsewhere: no style, script, font or picture. The first page, or each PAGE, is opened in
headless Chromium at a phone's and at a desk's width: nothing sticks out sideways, the console stays empty, and nothing
but files is asked for. PICTURE_FOLDER gets what was seen. Links that lead out of the site are listed in
external_links.txt beside HTML_FOLDER.
"""
import base64
import html.parser
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import urllib.parse

WIDTHS = {"phone": 390, "desk": 1400}
LOADED = {"link": "href", "script": "src", "img": "src", "iframe": "src", "source": "src", "object": "data"}


class Page(html.parser.HTMLParser):
    """What a page links to, what it loads, and the anchors that it has."""

    def __init__(self, path):
        super().__init__()
        self.links, self.loaded, self.anchors = [], [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.anchors |= {values[name] for name in ("id", "name") if values.get(name)}
        if tag == "a" and values.get("href"):
            self.links.append(values["href"])
        if values.get(LOADED.get(tag)):
            self.loaded.append(values[LOADED[tag]])


def check_links(folder):
    """Yields what is wrong with the links of the pages in a folder."""
    pages = {path: Page(path) for path in folder.rglob("*.html")}
    outside = set()
    for path, page in pages.items():
        where = path.relative_to(folder)
        for address in page.links + page.loaded:
            parts = urllib.parse.urlsplit(address)
            if parts.scheme == "data":
                continue
            if parts.scheme or parts.netloc:
                outside.add(address)
                if address in page.loaded:
                    yield f"{where} loads {address}"
                continue
            target = (path.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else path
            if not target.is_relative_to(folder) or not target.is_file():
                yield f"{where}: {address} is not in the site"
            elif parts.fragment and target in pages and \
                    urllib.parse.unquote(parts.fragment) not in pages[target].anchors:
                yield f"{where}: {address} leads to no anchor"
    (folder.parent / "external_links.txt").write_text("".join(f"{address}\n" for address in sorted(outside)))
    for path in folder.rglob("*.css"):
        if "url(http" in path.read_text() or "url(/" in path.read_text():
            yield f"{path.relative_to(folder)} loads something from elsewhere"
    if len(pages) < 25:
        yield f"{folder} has {len(pages)} pages"


class Browser:
    """Headless Chromium, spoken to over a pair of pipes."""

    def __init__(self, profile):
        to_browser, self._write = os.pipe()
        self._read, from_browser = os.pipe()

        def move_pipes():  # Chromium reads from 3 and writes to 4
            os.dup2(os.dup(to_browser), 103)
            os.dup2(os.dup(from_browser), 104)
            os.dup2(103, 3)
            os.dup2(104, 4)

        self._process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--remote-debugging-pipe",
             f"--user-data-dir={profile}"], preexec_fn=move_pipes, close_fds=False, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self._buffer, self._number, self.events = b"", 0, []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait(30)

    def _next(self):
        while b"\0" not in self._buffer:
            piece = os.read(self._read, 1 << 16)
            assert piece, "Chromium has ended"
            self._buffer += piece
        message, _, self._buffer = self._buffer.partition(b"\0")
        return json.loads(message)

    def call(self, method, session=None, **parameters):
        """The result of a command; events that come meanwhile are kept."""
        self._number += 1
        message = {"id": self._number, "method": method, "params": parameters}
        if session:
            message["sessionId"] = session
        os.write(self._write, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._next()
            if answer.get("id") == self._number:
                assert "error" not in answer, answer
                return answer["result"]
            self.events.append(answer)

    def wait_for(self, method):
        while not any(event.get("method") == method for event in self.events):
            self.events.append(self._next())


def look(browser, page, width, picture):
    """Yields what is wrong with a page at a width."""
    browser.events.clear()
    target = browser.call("Target.createTarget", url="about:blank")["targetId"]
    session = browser.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
    for part in ("Page", "Runtime", "Log", "Network"):
        browser.call(f"{part}.enable", session)
    browser.call("Emulation.setDeviceMetricsOverride", session, width=width, height=900, deviceScaleFactor=1,
                 mobile=width < 500)
    browser.events.clear()
    browser.call("Page.navigate", session, url=page.as_uri())
    browser.wait_for("Page.loadEventFired")
    widths = browser.call("Runtime.evaluate", session, returnByValue=True, awaitPromise=True, expression="""
        new Promise(resolve => setTimeout(() => resolve(
            [document.documentElement.scrollWidth, document.body.innerText.length]), 300))""")["result"]["value"]
    if widths[0] > width:
        yield f"{page.name} is {widths[0]} wide in a window of {width}"
    if widths[1] < 1000:
        yield f"{page.name} shows {widths[1]} characters"
    for event in [event for event in browser.events if event.get("sessionId") == session]:
        text = json.dumps(event.get("params"))
        if event.get("method") in ("Runtime.consoleAPICalled", "Runtime.exceptionThrown", "Log.entryAdded"):
            yield f"{page.name} tells the console {text}"
        if event.get("method") == "Network.requestWillBeSent":
            address = event["params"]["request"]["url"]
            if not address.startswith(("file://", "data:")):
                yield f"{page.name} asks for {address}"
    if picture:
        shown = browser.call("Page.captureScreenshot", session, captureBeyondViewport=True)
        picture.write_bytes(base64.b64decode(shown["data"]))
    browser.call("Target.closeTarget", targetId=target)


def check_in_browser(folder, pictures, pages):
    with tempfile.TemporaryDirectory() as profile, Browser(profile) as browser:
        for page in pages:
            for name, width in WIDTHS.items():
                yield from look(browser, folder / page, width,
                                pictures and pictures / f"{pathlib.Path(page).stem}_{name}.png")


def main():
    folder = pathlib.Path(sys.argv[1]).resolve()
    pictures = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
    pages = sys.argv[3:] or ["index.html"]
    found = [*check_links(folder), *check_in_browser(folder, pictures, pages)]
    print(*found, sep="\n", end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
