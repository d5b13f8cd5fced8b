"""A browser for tests. CC_CHROMIUM names the program."""

import json
import os
import pathlib
import select
import subprocess

CHROMIUM = os.environ.get("CC_CHROMIUM", "chromium")


class Browser:
    """Chromium without a window, controlled through two pipes."""

    def __init__(self, profile):
        to_browser, self.output = os.pipe()
        self.input, from_browser = os.pipe()

        def connect():
            # The browser reads descriptor 3 and writes descriptor 4.
            read_end, write_end = os.dup(to_browser), os.dup(from_browser)
            os.dup2(read_end, 3)
            os.dup2(write_end, 4)

        self.process = subprocess.Popen(
            [CHROMIUM, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--remote-debugging-pipe", f"--user-data-dir={profile}", "about:blank"],
            preexec_fn=connect, close_fds=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
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
                if not select.select([self.input], [], [], 60)[0]:
                    raise TimeoutError(method)
                part = os.read(self.input, 1 << 20)
                if not part:
                    raise EOFError(method)
                self.buffer += part
            text, _, self.buffer = self.buffer.partition(b"\0")
            answer = json.loads(text)
            if answer.get("id") == self.number:
                return answer["result"]

    def open(self, url, width, scheme="light", script=True):
        """Opens a page, by its path or address, and waits until it is loaded."""
        url = url.as_uri() if isinstance(url, pathlib.Path) else url
        self.resize(width)
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.call("Emulation.setScriptExecutionDisabled", value=not script)
        self.call("Page.navigate", url=url)
        while self.value("document.readyState") != "complete" or \
                self.value("location.href") != url:
            pass

    def resize(self, width):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=900, deviceScaleFactor=1,
                  mobile=False)

    def value(self, expression):
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        return answer["result"].get("value")

    def close(self):
        self.process.terminate()
        self.process.wait()
        os.close(self.output)
        os.close(self.input)
