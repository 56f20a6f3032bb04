# SPDX-License-Identifier: GPL-2.0-or-later
"""Chromium without a window, over its debugging pipe: what a page asks for, complains of and looks like."""
import base64
import contextlib
import fcntl
import json
import os
import select
import subprocess
import tempfile
import time

PROGRAM = "/usr/bin/chromium"
PATIENCE = 120
READ_END, WRITE_END = 3, 4  # the descriptors that the browser talks on


class Browser:
    """One tab. `events` are those of the page that was opened last."""

    def __init__(self, folder):
        to_browser, self.commands = os.pipe()
        self.answers, from_browser = os.pipe()
        # Out of the way of the numbers that they are to have.
        ends = [fcntl.fcntl(end, fcntl.F_DUPFD, 10) for end in (to_browser, from_browser)]
        os.close(to_browser)
        os.close(from_browser)

        def arrange():
            os.dup2(ends[0], READ_END)
            os.dup2(ends[1], WRITE_END)
        self.process = subprocess.Popen(  # pylint: disable=subprocess-popen-preexec-fn
            [PROGRAM, "--headless", "--remote-debugging-pipe", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             "--no-first-run", "--disable-background-networking", "--hide-scrollbars", f"--user-data-dir={folder}",
             "about:blank"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={"HOME": folder, "PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8"}, preexec_fn=arrange,
            pass_fds=(READ_END, WRITE_END))
        for end in ends:
            os.close(end)
        self.number, self.unread, self.session, self.events = 0, b"", None, []
        target = self.ask("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.ask("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Log", "Runtime"):
            self.ask(f"{domain}.enable")

    def _message(self):
        end = time.monotonic() + PATIENCE
        while b"\0" not in self.unread:
            ready = select.select([self.answers], [], [], max(end - time.monotonic(), 0))[0]
            got = os.read(self.answers, 1 << 20) if ready else b""
            assert got, "the browser does not answer"
            self.unread += got
        text, _, self.unread = self.unread.partition(b"\0")
        return json.loads(text)

    def ask(self, method, **parameters):
        """Has the browser do something and gives its answer; events meanwhile are kept."""
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._message()
            if answer.get("id") == self.number:
                assert "error" not in answer, answer
                return answer["result"]
            self.events.append(answer)

    def open(self, url, width, height, scheme):
        """Shows a page on a screen of that size and colour scheme."""
        self.ask("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=width < 600)
        self.ask("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.events = []
        self.ask("Page.navigate", url=url)
        while not self.events_of("Page.loadEventFired"):
            self.events.append(self._message())

    def events_of(self, *methods):
        return [event["params"] for event in self.events if event.get("method") in methods]

    def evaluate(self, expression):
        return self.ask("Runtime.evaluate", expression=expression, returnByValue=True)["result"]["value"]

    def screenshot(self, whole=False):
        """A PNG of what is on the screen, or of the whole page."""
        return base64.b64decode(self.ask("Page.captureScreenshot", captureBeyondViewport=whole)["data"])

    def close(self):
        os.close(self.commands)  # the browser ends with its pipe
        try:
            self.process.wait(timeout=PATIENCE)
        finally:
            os.close(self.answers)
            self.process.kill()
            self.process.wait()


@contextlib.contextmanager
def browser():
    with tempfile.TemporaryDirectory(prefix="velu-browser-", ignore_cleanup_errors=True) as folder:
        one = Browser(folder)
        try:
            yield one
        finally:
            one.close()
