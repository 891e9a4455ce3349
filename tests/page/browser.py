"""Drives a headless Chromium over its debugging pipe. Standard library only."""

import base64
import fcntl
import json
import os
import select
import shutil
import subprocess
import tempfile
import time

PATIENCE = 60  # seconds until something that has to come is given up
STRANGER = "stranger.example"

# One program, no window, nothing but this machine.
ARGUMENTS = """
--headless=new --remote-debugging-pipe --disable-gpu --disable-dev-shm-usage --no-first-run --no-default-browser-check
--disable-background-networking --disable-component-update --disable-sync --disable-default-apps --disable-extensions
--disable-domain-reliability --disable-client-side-phishing-detection --disable-breakpad --mute-audio --hide-scrollbars
--metrics-recording-only --password-store=basic --use-mock-keychain --no-proxy-server --lang=en
--disable-features=Translate,OptimizationHints,MediaRouter,DialMediaRouteProvider
""".split()

KEY_CODES = {
    "Enter": 13, "Escape": 27, " ": 32, "PageUp": 33, "PageDown": 34, "End": 35, "Home": 36, "ArrowLeft": 37,
    "ArrowUp": 38, "ArrowRight": 39, "ArrowDown": 40, "Tab": 9,
}


class Failure(Exception):
    """What was expected did not come."""


class Browser:
    """A running browser; use it in a with statement."""

    def __init__(self):
        program = shutil.which("chromium")
        if program is None:
            raise Failure("there is no chromium; run script/bootstrap")
        self._folder = tempfile.TemporaryDirectory(prefix="orv-browser-", ignore_cleanup_errors=True)
        arguments = [program, *ARGUMENTS, f"--user-data-dir={self._folder.name}/profile",
                     # A name of someone else that leads to this machine.
                     f"--host-resolver-rules=MAP {STRANGER} 127.0.0.1 , MAP * ~NOTFOUND , EXCLUDE 127.0.0.1"]
        if os.geteuid() == 0:
            arguments.append("--no-sandbox")
        self._next, self._input, self.events = 1, b"", []
        self._process = self._start([*arguments, "about:blank"])

    def _start(self, arguments):
        # The browser reads from descriptor 3 and writes to 4; the ends wait above them until they take their places.
        reading, self._write = map(_above_ten, os.pipe())
        self._read, writing = map(_above_ten, os.pipe())

        def place():
            os.dup2(reading, 3)
            os.dup2(writing, 4)

        try:
            return subprocess.Popen(
                arguments, preexec_fn=place, pass_fds=(3, 4), start_new_session=True, stdin=subprocess.DEVNULL,
                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                env={**os.environ, "HOME": self._folder.name, "XDG_CONFIG_HOME": self._folder.name, "TZ": "UTC"})
        finally:
            os.close(reading)
            os.close(writing)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        try:
            self.call("Browser.close")
            self._process.wait(PATIENCE)
        except (Failure, OSError, subprocess.TimeoutExpired):
            self._process.kill()
            self._process.wait()
        os.close(self._read)
        os.close(self._write)
        self._folder.cleanup()

    def call(self, method, session=None, **parameters):
        """Calls a method of the protocol and returns its result."""
        number, self._next = self._next, self._next + 1
        message = {"id": number, "method": method, "params": parameters}
        if session:
            message["sessionId"] = session
        _write_all(self._write, json.dumps(message).encode() + b"\0")
        deadline = time.monotonic() + PATIENCE
        while True:
            answer = self._receive(deadline, method)
            if answer.get("id") == number:
                if "error" in answer:
                    raise Failure(f"{method}: {answer['error']['message']}")
                return answer["result"]
            if "method" in answer:
                self.events.append(answer)

    def _receive(self, deadline, method):
        while b"\0" not in self._input:
            if not select.select([self._read], [], [], max(0, deadline - time.monotonic()))[0]:
                raise Failure(f"the browser does not answer {method}")
            chunk = os.read(self._read, 1 << 16)
            if not chunk:
                raise Failure(f"the browser ended (during {method})")
            self._input += chunk
        message, self._input = self._input.split(b"\0", 1)
        return json.loads(message)

    def open(self, address, width=1280, height=800, scheme="light"):
        """Opens a page in a tab of its own."""
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        return Page(self, session, address, width, height, scheme)


class Page:
    """One tab."""

    def __init__(self, browser, session, address, width, height, scheme):
        self._browser, self._session = browser, session
        for domain in ("Page", "Runtime", "Log"):
            self.call(f"{domain}.enable")
        self.resize(width, height)
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.call("Emulation.setFocusEmulationEnabled", enabled=True)
        self.call("Page.navigate", url=address)
        self.wait("document.readyState === 'complete' && location.href !== 'about:blank'")

    def call(self, method, **parameters):
        return self._browser.call(method, self._session, **parameters)

    def resize(self, width, height):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def close(self):
        self.call("Page.close")

    def value(self, expression):
        """The value of a JavaScript expression, which may be a promise."""
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            details = answer["exceptionDetails"]
            raise Failure(f"{expression}: {details.get('exception', {}).get('description', details['text'])}")
        return answer["result"].get("value")

    def wait(self, condition, what=None):
        """Waits until the JavaScript expression is true."""
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            try:
                value = self.value(f"""new Promise((resolve) => {{
                  const end = performance.now() + 1000;
                  const look = () => {{
                    const value = Boolean({condition});
                    value || performance.now() > end ? resolve(value) : setTimeout(look, 10);
                  }};
                  look();
                }})""")
            except Failure as failure:  # the page was being replaced
                if "context" not in str(failure) and "navigat" not in str(failure):
                    raise
                continue
            if value:
                return
        raise Failure(f"in vain waited for {what or condition}")

    def press(self, key):
        text = key if len(key) == 1 else {"Enter": "\r"}.get(key, "")
        event = {"key": key, "windowsVirtualKeyCode": KEY_CODES.get(key, ord(key[0].upper())), "text": text}
        self.call("Input.dispatchKeyEvent", type="keyDown" if text else "rawKeyDown", **event)
        self.call("Input.dispatchKeyEvent", type="keyUp", **event)

    def write(self, text):
        self.call("Input.insertText", text=text)

    def click(self, selector):
        """Clicks in the middle of the element, which has to be what the pointer meets there."""
        point = self.value(f"""(() => {{
          const element = document.querySelector({json.dumps(selector)});
          element.scrollIntoView({{block: 'center', behavior: 'instant'}});
          const box = element.getBoundingClientRect();
          const x = box.x + box.width / 2, y = box.y + box.height / 2;
          const met = document.elementFromPoint(x, y);
          return element.contains(met) || met?.contains(element) ? [x, y] : null;
        }})()""")
        if point is None:
            raise Failure(f"{selector} is covered")
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=point[0], y=point[1], button="left", clickCount=1)

    def complaints(self):
        """Errors and warnings of the console, exceptions, and refusals by the content security policy."""
        found = []
        for event in self._browser.events:
            if event.get("sessionId") != self._session:
                continue
            kind, content = event["method"], event["params"]
            if kind == "Runtime.exceptionThrown":
                found.append(content["exceptionDetails"].get("exception", {}).get("description", "exception"))
            elif kind == "Runtime.consoleAPICalled" and content["type"] in ("error", "warning", "assert"):
                found.append(str([argument.get("value") for argument in content["args"]]))
            elif kind == "Log.entryAdded" and content["entry"]["level"] in ("error", "warning"):
                found.append(f"{content['entry']['text']} {content['entry'].get('url', '')}")
        return found

    def picture(self, path):
        """Writes what is seen as a PNG file."""
        with open(path, "wb") as file:
            file.write(base64.b64decode(self.call("Page.captureScreenshot", format="png")["data"]))


def _above_ten(descriptor):
    moved = fcntl.fcntl(descriptor, fcntl.F_DUPFD_CLOEXEC, 10)
    os.close(descriptor)
    return moved


def _write_all(descriptor, data):
    while data:
        data = data[os.write(descriptor, data):]
