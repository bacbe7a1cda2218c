"""A headless Chromium, spoken to through its debugging pipe: messages in JSON, each ended by a NUL."""

import json
import os
import selectors
import shutil
import subprocess
import tempfile
import time

LIMIT = 60


class Chromium:
    """Opens pages and tells what they are; ended with the block it serves."""

    def __init__(self):
        self.profile = tempfile.mkdtemp(prefix="ovs chromium ")
        to_read, self.to_browser = os.pipe()
        self.from_browser, to_write = os.pipe()

        def connect():  # the browser reads number 3 and writes number 4
            for source, number in ((os.dup(to_read), 3), (os.dup(to_write), 4)):
                os.dup2(source, number)

        # High numbers, so that 3 and 4 are free to be overwritten.
        command = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                   "--disable-extensions", "--disable-background-networking", "--remote-debugging-pipe",
                   f"--user-data-dir={self.profile}", "about:blank"]
        self.process = subprocess.Popen(command, preexec_fn=connect, close_fds=False, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        os.close(to_read)
        os.close(to_write)
        self.events = []
        self.number = 0
        self.buffer = b""
        self.selector = selectors.DefaultSelector()
        self.selector.register(self.from_browser, selectors.EVENT_READ)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            self.call("Browser.close")
        except (OSError, RuntimeError, TimeoutError):
            self.process.kill()
        self.process.wait(LIMIT)
        os.close(self.to_browser)
        os.close(self.from_browser)
        self.selector.close()
        shutil.rmtree(self.profile, ignore_errors=True)

    def call(self, method, session=None, **parameters):
        """Sends a command and gives its result; events that come first are kept."""
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if session:
            message["sessionId"] = session
        os.write(self.to_browser, json.dumps(message).encode() + b"\0")
        number = self.number
        while True:
            answer = self.receive()
            if answer.get("id") == number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def receive(self):
        limit = time.monotonic() + LIMIT
        while b"\0" not in self.buffer:
            if not self.selector.select(max(0, limit - time.monotonic())):
                raise TimeoutError("the browser does not answer")
            chunk = os.read(self.from_browser, 1 << 16)
            if not chunk:
                raise RuntimeError("the browser has ended")
            self.buffer += chunk
        message, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(message)

    def open(self, url, width, height=900, scheme="light"):
        return Page(self, url, width, height, scheme)


class Page:
    """A page that has been loaded at that width, with everything that was said and asked for meanwhile."""

    def __init__(self, browser, url, width, height, scheme):
        self.browser = browser
        target = browser.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = browser.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=width < 600)
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.call("Page.navigate", url=url)
        self.wait_for("Page.loadEventFired")

    def call(self, method, **parameters):
        return self.browser.call(method, self.session, **parameters)

    def of(self, *methods):
        return [event["params"] for event in self.browser.events
                if event.get("sessionId") == self.session and event.get("method") in methods]

    def wait_for(self, method):
        while not self.of(method):
            self.browser.events.append(self.browser.receive())

    def evaluate(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"])
        return result["result"].get("value")

    def said(self):
        """Script errors, console messages and what the browser itself has to say about the page."""
        return self.of("Runtime.exceptionThrown", "Runtime.consoleAPICalled", "Log.entryAdded")

    def requests(self):
        return [event["request"]["url"] for event in self.of("Network.requestWillBeSent")]
