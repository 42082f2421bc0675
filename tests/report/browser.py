"""A headless Chromium, driven over the pipe of its developer tools."""

import base64
import json
import os
import shutil
import subprocess
import tempfile


class PageError(Exception):
    """An exception in the page, or a refusal of the browser."""


class Browser:
    """One page. `messages` are those of its console and its exceptions, `requests` the addresses that it loaded."""

    def __init__(self):
        self.profile = tempfile.mkdtemp(prefix="tarnwick-report-")
        to_browser, self.to_browser = os.pipe()
        self.from_browser, from_browser = os.pipe()
        # The browser reads from descriptor 3 and writes to descriptor 4.
        script = f'exec "$@" 3<&{to_browser} 4>&{from_browser}'
        self.process = subprocess.Popen(
            ["bash", "-c", script, "bash", "chromium", "--headless=new", "--no-sandbox", "--disable-gpu",
             "--disable-dev-shm-usage", "--disable-background-networking", "--no-first-run",
             "--remote-debugging-pipe", f"--user-data-dir={self.profile}", "about:blank"],
            pass_fds=(to_browser, from_browser), stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, "HOME": self.profile})
        os.close(to_browser)
        os.close(from_browser)
        self.bytes = b""
        self.number = 0
        self.session = None
        self.events = []
        self.messages = []
        self.requests = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in "Page", "Runtime", "Log", "Network":
            self.call(f"{domain}.enable")

    def close(self):
        os.close(self.to_browser)
        try:
            self.process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        shutil.rmtree(self.profile, ignore_errors=True)

    def _receive(self):
        while b"\0" not in self.bytes:
            more = os.read(self.from_browser, 1 << 20)
            if not more:
                raise PageError("the browser ended")
            self.bytes += more
        message, self.bytes = self.bytes.split(b"\0", 1)
        return json.loads(message)

    def _note(self, event):
        method, values = event["method"], event["params"]
        self.events.append(method)
        if method == "Runtime.consoleAPICalled":
            self.messages.append(f"console.{values['type']}: {values['args']}")
        elif method == "Runtime.exceptionThrown":
            self.messages.append(f"exception: {values['exceptionDetails']}")
        elif method == "Log.entryAdded":
            self.messages.append(f"log: {values['entry']['text']}")
        elif method == "Page.javascriptDialogOpening":
            self.messages.append(f"dialog: {values['message']}")
        elif method == "Network.requestWillBeSent":
            self.requests.append(values["request"]["url"])

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.to_browser, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._receive()
            if "method" in answer:
                self._note(answer)
            elif answer["id"] == self.number:
                if "error" in answer:
                    raise PageError(f"{method}: {answer['error']}")
                return answer["result"]

    def evaluate(self, expression):
        """Returns the value of an expression, also that of a promise."""
        answer = self.call("Runtime.evaluate", expression=expression, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in answer:
            raise PageError(f"{expression}: {answer['exceptionDetails']}")
        return answer["result"].get("value")

    def open(self, path):
        """Opens a page of `tarnwick report` and waits until it shows its data."""
        self.messages.clear()
        self.requests.clear()
        self.events.clear()
        self.call("Page.navigate", url=f"file://{os.path.abspath(path)}")
        while "Page.loadEventFired" not in self.events:
            self._note(self._receive())
        self.evaluate("""new Promise((done) => {
            const look = () => document.documentElement.dataset.ready ? done() : setTimeout(look, 5);
            look();
        })""")

    def go(self, hash_text):
        """Goes to another view, and waits until it is shown."""
        self.evaluate(f"history.replaceState(null, '', {json.dumps('#' + hash_text)}); show()")

    def navigate(self, act):
        """Does what changes the address of the page, and waits until the page shows the new view."""
        before = self.evaluate("""globalThis.navigated = new Promise((done) => {
            addEventListener("hashchange", () => show().then(done), {once: true});
        }), location.hash""")
        act()
        if self.evaluate("location.hash") != before:
            self.evaluate("navigated")

    def resize(self, width, height, dark=False):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])

    def screenshot(self, path):
        image = self.call("Page.captureScreenshot", format="png")["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(image))
