#!/usr/bin/env python3
"""Looks at the status page of `korvale control` with headless Chromium: nodes that join and die, the page without scripts,
the contrast of all texts (WCAG 2 AA), narrow and wide windows, and the end of the service.

Usage: status_page_browser.py KORVALE [SCREENSHOT.png]

Skipped (status 77) where there is no Chromium.
"""

import base64
import contextlib
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time

LIMIT = 60.0  # seconds, for steps without a promise
APPEARS_WITHIN = 2.0
ENDS_WITHIN = 1.0
SKIPPED = 77
NODE = "node <b>1</b> & \"2\" with a long name " + 100 * "x"

# Texts whose colour has too little contrast with what lies behind them: 4.5, or 3 where they are large.
CONTRAST = """(() => {
  const channel = value => (value /= 255) <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4;
  const numbers = text => text.match(/[\\d.]+/g).map(Number);
  const light = ([r, g, b]) => 0.2126 * channel(r) + 0.7152 * channel(g) + 0.0722 * channel(b);
  const behind = element => {
    for (; element; element = element.parentElement) {
      const colour = numbers(getComputedStyle(element).backgroundColor);
      if (colour.length < 4 || colour[3] === 1) return colour;
      if (colour[3] !== 0) throw new Error("translucent");
    }
    return [255, 255, 255];
  };
  const ratio = (a, b) => (Math.max(light(a), light(b)) + 0.05) / (Math.min(light(a), light(b)) + 0.05);
  const found = { texts: 0, least: 99, faults: [] };
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  while (walker.nextNode()) {
    const element = walker.currentNode.parentElement, text = walker.currentNode.textContent.trim();
    if (!text || !element.getClientRects().length) continue;
    const style = getComputedStyle(element), size = parseFloat(style.fontSize);
    const value = ratio(numbers(style.color), behind(element));
    const isLarge = size >= 24 || size >= 18.66 && style.fontWeight >= 700;
    ++found.texts;
    found.least = Math.min(found.least, value);
    if (value < (isLarge ? 3 : 4.5)) found.faults.push([text, value]);
  }
  const line = document.querySelector("svg .line, svg");
  const drawn = getComputedStyle(line).stroke === "none" ? getComputedStyle(line).borderLeftColor : getComputedStyle(line).stroke;
  if (ratio(numbers(drawn), behind(line)) < 3) found.faults.push(["plot", drawn]);
  return found;
})()"""

faults = []


def check(condition, *what):
    if not condition:
        faults.append(" ".join(map(str, what)))


class Browser:
    """A tab of Chromium, spoken to through pipes."""

    def __init__(self, program, folder):
        read, self.output = os.pipe()
        self.input, write = os.pipe()
        self.process = subprocess.Popen(
            ["sh", "-c", f'exec "$0" "$@" 3<&{read} 4>&{write}', program, "--headless", "--no-sandbox", "--disable-gpu",
             "--disable-dev-shm-usage", "--hide-scrollbars", f"--user-data-dir={folder}", "--remote-debugging-pipe"],
            pass_fds=(read, write), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(read)
        os.close(write)
        self.number, self.buffer, self.session = 0, b"", None
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.output, json.dumps(message).encode() + b"\0")
        while True:
            while b"\0" not in self.buffer:
                received = os.read(self.input, 65536)
                if not received:
                    raise RuntimeError("the browser has ended")
                self.buffer += received
            line, self.buffer = self.buffer.split(b"\0", 1)
            answer = json.loads(line)
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]

    def evaluate(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"])
        return result["result"].get("value")

    def wait(self, expression, what, limit=LIMIT):
        """The seconds until the expression is true."""
        begin = time.monotonic()
        while not self.evaluate(expression):
            if time.monotonic() - begin > max(limit, LIMIT):
                raise RuntimeError(f"never: {what}")
            time.sleep(0.02)
        taken = time.monotonic() - begin
        check(taken <= limit, what, f"after {taken:.2f} s")
        return taken

    def open(self, url):
        self.call("Page.navigate", url=url)
        self.wait("document.readyState === 'complete' && !!document.querySelector('#failures')", "page")

    def resize(self, width, height=900):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=width < 600)

    def close(self):
        self.process.terminate()
        self.process.wait(LIMIT)
        os.close(self.output)
        os.close(self.input)


@contextlib.contextmanager
def run(*arguments):
    process = subprocess.Popen([*arguments], stdout=subprocess.PIPE, text=True)
    try:
        yield process
    finally:
        process.kill()
        process.wait()


def check_layout(browser):
    for width in (360, 810, 1920):
        browser.resize(width)
        used = browser.evaluate("document.documentElement.scrollWidth")
        check(used <= width, f"{used} pixels wide in a window of {width}")
        found = browser.evaluate(CONTRAST)
        check(found["texts"] > 30 and not found["faults"], "contrast", found)
        print(f"{width} pixels: {found['texts']} texts, least contrast {found['least']:.1f}")


def take_screenshot(browser, path):
    browser.resize(1200, 100)
    height = browser.evaluate("document.documentElement.scrollHeight")
    browser.resize(1200, height)
    path.write_bytes(base64.b64decode(browser.call("Page.captureScreenshot", format="png")["data"]))


def check_page(program, browser, folder, screenshot):
    korvale = [program, "--log", "/dev/null"]
    with run(*korvale, "control", "--listen", "127.0.0.1:0", "--http", "127.0.0.1:0", "--cipher", "none") as control:
        lines = [control.stdout.readline() for _ in range(2)]
        place = re.fullmatch(r"listening on (\S+)\n", lines[0])[1]
        url = re.fullmatch(r"status page on (http://\S+)\n", lines[1])[1]
        options = ["--control", place, "--cipher", "none"]
        browser.open(url)
        browser.wait("document.querySelector('#state').className === 'live'", "live")
        check("No node" in browser.evaluate("document.querySelector('#nodes').textContent"), "a node that nobody has started")

        names = "[...document.querySelectorAll('#nodes td:first-child')].map(cell => cell.textContent).join()"
        with run(*korvale, "node", *options, "--name", NODE) as node, \
                run(*korvale, "node", *options, "--name", "node 2") as other:
            for process in (node, other):
                process.stdout.readline()
            joined = browser.wait(f"{names}.includes({json.dumps(NODE)})", "a joining node", APPEARS_WITHIN)
            browser.wait("document.querySelector('#nodes').textContent.includes('MiB of ')", "memory")
            subprocess.run([*korvale, "sample", folder, "-q"], check=True)
            subprocess.run([*korvale, "measure", f"{folder}/sample.tif", "-o", f"{folder}/table", "-q", *options],
                           check=True, stdout=subprocess.DEVNULL)
            completed = "+document.querySelector('#totals dd').textContent"
            browser.wait(f"{completed} > 0", "completed jobs", APPEARS_WITHIN)
            browser.wait("!!document.querySelector('svg .line')", "throughput")
            node.kill()
            died = browser.wait(f"!{names}.includes({json.dumps(NODE)}) || "
                                "!!document.querySelector('#nodes .bad')", "a dying node", APPEARS_WITHIN)
            print(f"a node appeared after {joined:.2f} s, its death after {died:.2f} s")
            browser.wait(f"document.querySelector('#failures').textContent.includes({json.dumps(NODE)})", "failure", APPEARS_WITHIN)
            check_layout(browser)
            if screenshot:
                with run(*korvale, "node", *options, "--name", "node 1") as again:
                    again.stdout.readline()
                    browser.wait(f"{names}.includes('node 1')", "second node")
                    time.sleep(2)  # the memory of the node
                    take_screenshot(browser, screenshot)

            browser.call("Emulation.setScriptExecutionDisabled", value=True)
            browser.open(url)
            check("node 2" in browser.evaluate(names), "the page without scripts lacks the node")
            browser.call("Emulation.setScriptExecutionDisabled", value=False)
            browser.open(url)
            browser.wait("document.querySelector('#state').className === 'live'", "live again")

        begin = time.monotonic()
        control.send_signal(signal.SIGTERM)
        check(control.wait(LIMIT) == 0, "status", control.returncode)
        taken = time.monotonic() - begin
        check(taken <= ENDS_WITHIN, f"the service ended after {taken:.2f} s")
        browser.wait("document.querySelector('#state').className === 'lost'", "lost")


def main():
    chromium = shutil.which("chromium") or shutil.which("chromium-browser")
    if not chromium:
        print("there is no Chromium")
        return SKIPPED
    program = str(pathlib.Path(sys.argv[1]).resolve())
    screenshot = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
    with tempfile.TemporaryDirectory(prefix="korvale-test-", ignore_cleanup_errors=True) as folder:
        browser = Browser(chromium, f"{folder}/browser")
        try:
            check_page(program, browser, f"{folder}/sample", screenshot)
        finally:
            browser.close()
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
