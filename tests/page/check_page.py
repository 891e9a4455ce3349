#!/usr/bin/env python3
"""Checks the server's page in a browser, in both colour schemes.

Usage: check_page.py SERVER CLIENT
"""

import http.server
import json
import os
import subprocess
import sys
import tempfile
import threading
import traceback

from browser import STRANGER, Browser, Failure
from classroom import Client, Server

ROWS = "[...document.querySelectorAll('#rows tr:not(.gap)')]"
SEEN = f"{ROWS}.filter((row) => !row.hidden)"
HERE = "document.activeElement"


def expect(found, expected, what):
    if found != expected:
        raise Failure(f"{what}: expected {expected!r}, found {found!r}")


def commands(page):
    """The commands of the rows that are seen."""
    return page.value(f"{SEEN}.map((row) => row.querySelector('.what').textContent)")


def wait_for_commands(page, expected):
    page.wait(f"JSON.stringify({SEEN}.map((row) => row.querySelector('.what').textContent)) === "
              f"{json.dumps(json.dumps(expected, separators=(',', ':')))}", f"the rows {expected}")


def wait_for_text(page, selector, text):
    page.wait(f"document.querySelector({json.dumps(selector)})?.textContent.includes({json.dumps(text)})",
              f"{text!r} in {selector}")


def in_force(page, server):
    """The faults of the replies that the page shows, once it shows those of the server."""
    faults = server.control({"push": "Dev.Nothing", "user": "nobody"})["faults"].get("replies", [])
    page.wait(f"document.querySelectorAll('#in-force li').length === {len(faults)}")
    return faults


class Trace:
    """What a client has written of its frames."""

    name, text = "link.jsonl", ""

    def take(self, program):
        with tempfile.TemporaryDirectory(prefix="orv-trace-") as folder:
            path = os.path.join(folder, self.name)
            subprocess.run([program, "--home", folder, "--trace", path, "shell"], check=True, timeout=60, text=True,
                           input="login 13800000001\nclassroom\n", stdout=subprocess.DEVNULL)
            with open(path, encoding="utf-8") as file:
                self.text = file.read()


TRACE = Trace()


def _hand_over(selector, name, text, event):
    """A script that gives a file to an element, as a person does who chooses or drops it."""
    return f"""(() => {{
      const data = new DataTransfer(), element = document.querySelector({json.dumps(selector)});
      data.items.add(new File([{json.dumps(text)}], {json.dumps(name)}));
      if ({json.dumps(event)} === 'change') element.files = data.files;
      const Kind = {json.dumps(event)} === 'drop' ? DragEvent : Event;
      element.dispatchEvent(new Kind({json.dumps(event)}, {{bubbles: true, cancelable: true, dataTransfer: data}}));
    }})()"""


class Lesson:
    """One page on one server, with a client that has sent something before the page came."""

    def __init__(self, browser, server, scheme):
        self.server = server
        self.client = Client(server.port)
        self.client.send("PING")
        self.client.receive()
        self.page = browser.open(server.page, scheme=scheme)
        self.page.wait("document.querySelector('#live').textContent === 'live'")

    def shows_past_and_present(self):
        page = self.page
        wait_for_commands(page, ["connected", "PING", "PONG"])
        self.client.sign_in()
        wait_for_commands(page, ["connected", "PING", "PONG", "User.Post.Login", "User.Post.Login"])
        cells = page.value(f"[...{ROWS}[3].cells].map((cell) => cell.textContent)")
        expect(cells[1], "→ in", "direction of the request")
        expect(int(cells[4].replace(",", "")) > 80, True, "size of the request")
        cells = page.value(f"[...{ROWS}[4].cells].map((cell) => cell.textContent)")
        expect(cells[1], "← out", "direction of the reply")
        expect(float(cells[5]) >= 0, True, "time since the request")
        wait_for_text(page, "#connected", "林老师")
        expect(page.value("document.body.textContent.includes('c756662595bb')"), False, "the digest is on the page")

    def filters(self):
        page = self.page
        page.press("/")
        expect(page.value(f"{HERE}.id"), "filter-command", "focus after /")
        page.write("login")
        wait_for_commands(page, ["User.Post.Login"] * 2)
        wait_for_text(page, "#shown", "2 rows")
        page.press("Escape")
        wait_for_commands(page, ["connected", "PING", "PONG", "User.Post.Login", "User.Post.Login"])
        page.press("h")
        wait_for_commands(page, ["connected", "User.Post.Login", "User.Post.Login"])
        page.press("h")
        page.click("#filters input[value=in]")
        wait_for_commands(page, ["PING", "User.Post.Login"])
        page.click("#filters input[value='']")
        self._filters_by_connection()

    def _filters_by_connection(self):
        page, other = self.page, Client(self.server.port)
        page.wait("document.querySelectorAll('#connected li').length === 2")
        page.click("#connected li:last-child button")
        wait_for_commands(page, ["connected"])
        page.click("#connected li:last-child button")
        page.wait(f"{SEEN}.length === 6")
        other.close()
        page.wait("document.querySelectorAll('#connected li').length === 1")
        page.wait(f"{SEEN}.at(-1).querySelector('.what').textContent === 'gone'")

    def shows_what_a_frame_holds(self):
        page = self.page
        page.press("Escape")
        for key, title in (("Home", "connected"), ("ArrowDown", "PING"), ("End", "gone"), ("ArrowUp", "connected"),
                           ("ArrowUp", "User.Post.Login")):
            page.press(key)
            wait_for_text(page, "#detail-title", title)
            expect(page.value(f"{HERE}.getAttribute('aria-selected')"), "true", f"selection after {key}")
        expect(page.value(f"{ROWS}.filter((row) => row.tabIndex === 0).length"), 1, "rows that Tab reaches")
        wait_for_text(page, "#detail-facts", "reply")
        wait_for_text(page, "#tree", '"林老师"')
        wait_for_text(page, "#tree", 'token: "***"')
        self._walks_through_the_tree()
        page.press("r")
        wait_for_text(page, "#detail-facts", "request")
        wait_for_text(page, "#tree", 'pwd: "***"')

    def _walks_through_the_tree(self):
        page = self.page
        page.press("Enter")
        expect(page.value(f"{HERE}.closest('#tree') !== null"), True, "focus in the tree after Enter")
        outline = page.value(f"getComputedStyle({HERE}).outlineStyle")
        expect(outline, "solid", "the focus is seen")
        page.press("ArrowRight")
        page.press("ArrowRight")
        opened = f"{HERE}.parentElement.open"
        expect(page.value(f"{HERE}.textContent.startsWith('data')"), True, "focus on data")
        page.press("ArrowLeft")
        expect(page.value(opened), False, "closed by the left arrow")
        page.press("ArrowRight")
        expect(page.value(opened), True, "opened by the right arrow")
        page.press("ArrowUp")
        expect(page.value(f"{HERE}.textContent.startsWith('v')"), True, "focus on v")
        page.press("Escape")
        expect(page.value(f"{HERE}.getAttribute('aria-selected')"), "true", "focus is back on the frame")

    def arms_faults(self):
        page = self.page
        page.click("[data-does=error] button")
        wait_for_text(page, "#said", "Error 1000: in force.")
        expect(in_force(page, self.server), [{"fault": "error", "code": 1000, "err": "a fault that was asked for",
                                              "count": 1}], "faults in force")
        expect(self.client.request("Dev.Echo")["ret"], 1000, "code of the next request")
        page.wait(f"{SEEN}.at(-1).querySelector('.chip.bad')?.textContent === '1000'")
        page.wait("document.querySelector('#none-in-force').hidden === false")
        expect(self.client.request("Dev.Echo")["ret"], 0, "code of the one after")
        page.press("e")
        wait_for_commands(page, ["Dev.Echo"])
        page.press("e")

        page.click("#fault-command")
        page.write("Dev.Slow")
        page.click("#fault-count")
        page.write("3")
        for name, text in (("delay", "Delay of 500 ms"), ("drop", "Drop"), ("duplicate", "Duplicate"),
                           ("timestamp", "Wrong"), ("reorder", "Reorder")):
            page.click(f"[data-does={name}] button")
            wait_for_text(page, "#said", f"{text}")
        faults = in_force(page, self.server)
        expect([fault["fault"] for fault in faults], ["delay", "drop", "duplicate", "timestamp", "reorder"], "faults")
        expect([fault.get("command") for fault in faults], ["Dev.Slow"] * 4 + [None], "their commands")
        expect([fault.get("count") for fault in faults], [3] * 5, "their counts")
        page.click("#clear-faults")
        page.wait("document.querySelectorAll('#in-force li').length === 0")
        expect(in_force(page, self.server), [], "faults after the end of all")
        page.value("document.querySelector('#fault-command').value = document.querySelector('#fault-count').value = ''")

        page.click("#silence")
        page.wait("document.querySelector('#silence').getAttribute('aria-pressed') === 'true'")
        self.client.send("PING")
        page.wait(f"{SEEN}.at(-1).textContent.includes('no answer')")
        page.click("#silence")
        page.wait("document.querySelector('#silence').getAttribute('aria-pressed') === 'false'")
        self.client.send("PING")
        expect(self.client.receive(), "PONG", "answer after the silence")

    def pushes(self):
        page = self.page
        for command in ("Rooms.Push.Message", "User.OtherDevice.Login", "User.OtherDevice.Logout",
                        "System.Upload.Log"):
            self._choose("#push-command", command)
            page.click("#push .main")
            wait_for_text(page, "#said", f"{command}: 1 connection reached.")
            expect(json.loads(self.client.receive())["C"], command, "the push")
            page.wait(f"{SEEN}.at(-1).querySelector('.what').textContent === '{command}'")
        self._choose("#push-command", "text")
        page.value("document.querySelector('#push-values').value = 'as it is'")
        page.click("#push .main")
        expect(self.client.receive(), "as it is", "the free text")
        page.wait(f"{SEEN}.at(-1).querySelector('.what').textContent === 'text'")
        self._choose("#push-command", "Rooms.Push.Message")
        page.value("document.querySelector('#push-values').value = '[1'")
        page.click("#push .main")
        wait_for_text(page, "#said.bad", "JSON object")
        expect(page.value(f"{HERE}.id"), "push-values", "focus on the wrong values")

    def _choose(self, selector, value):
        self.page.value(f"""(() => {{
          const select = document.querySelector('{selector}');
          select.value = '{value}';
          select.dispatchEvent(new Event('change', {{bubbles: true}}));
        }})()""")

    def pauses_and_clears(self):
        page = self.page
        page.press("Escape")
        page.press("c")
        page.wait(f"{ROWS}.length === 0")
        page.press("p")
        self.client.request("Dev.Paused")
        wait_for_text(page, "#pause", "Go on (2 new)")
        expect(commands(page), [], "rows while it pauses")
        page.press("p")
        wait_for_commands(page, ["Dev.Paused"] * 2)
        page.press("?")
        page.wait("document.querySelector('#help').open")
        page.press("Escape")
        page.wait("!document.querySelector('#help').open")

    def takes_no_text_for_html(self):
        page = self.page
        text = "<img src=x onerror=alert(1)>"
        self.client.request(text, {text: text})
        page.wait(f"{SEEN}.at(-1).querySelector('.what').textContent === {json.dumps(text)}")
        page.press("n")
        wait_for_text(page, "#tree", text)
        expect(page.value("document.querySelectorAll('main img').length"), 0, "images")

    def fits_a_narrow_window(self):
        page = self.page
        for width in (1280, 900, 620, 360):
            page.resize(width, 800)
            page.wait(f"innerWidth === {width}")
            expect(page.value("document.documentElement.scrollWidth <= innerWidth"), True, f"it fits {width} pixels")
        page.resize(1280, 800)
        nameless = page.value("""[...document.querySelectorAll('button, input, select, textarea')].filter((control) =>
          !control.textContent.trim() && !control.getAttribute('aria-label') && !control.labels?.length)
          .map((control) => control.outerHTML)""")
        expect(nameless, [], "controls without a name")

    def shows_a_trace_and_goes_back(self):
        page = self.page
        page.value(_hand_over("#trace-file", TRACE.name, TRACE.text, "change"))
        rows = ["the trace begins", "attempt to connect", "connected", "PING", "PONG", "link is up"]
        rows += ["User.Post.Login", "User.Post.Login", "gone"]
        wait_for_commands(page, rows)
        wait_for_text(page, "#live", f"trace {TRACE.name}")
        wait_for_text(page, "#said", f"{TRACE.name}: 9 entries.")
        request, reply = ([*page.value(f"[...{ROWS}[{row}].cells].map((cell) => cell.textContent)")] for row in (6, 7))
        expect([request[1], reply[1]], ["→ in", "← out"], "directions")
        expect(int(request[4].replace(",", "")) > 80, True, "size of the request")
        expect(0 <= float(reply[5].replace(",", "")) < 20_000, True, "time since the request")
        expect(page.value(f"{ROWS}[1].textContent.includes('ws://127.0.0.1')"), True, "the address of the attempt")
        page.press("Escape")
        page.press("n")
        page.press("ArrowUp")
        wait_for_text(page, "#tree", 'token: "***"')
        page.press("r")
        wait_for_text(page, "#detail-facts", "request")
        self.client.request("Dev.WhileTraced")
        expect("Dev.WhileTraced" in commands(page), False, "the stream goes on behind the trace")
        page.press("t")
        page.wait("document.querySelector('#live').textContent === 'live'")
        page.wait(f"{SEEN}.at(-1)?.querySelector('.what').textContent === 'Dev.WhileTraced'")
        expect("the trace begins" in commands(page), False, "the trace is left behind")

    def shows_a_trace_that_is_dropped(self):
        page = self.page
        lines = [{"time": "2026-11-22T11:00:45.000123Z", "kind": "failed", "connection": 1, "reason": "refused",
                  "text": "the connection was refused"},
                 {"time": "2026-11-22T11:00:46Z", "kind": "skipped", "skipped": 12, "text": "12 entries are missing"},
                 {"time": "2026-11-22T11:00:47.5Z", "kind": "received", "connection": 2, "bytes": 7,
                  "text": "<img src=x onerror=alert(1)>"},
                 {"time": "2026-11-22T11:00:48Z", "kind": "received", "connection": 2, "bytes": 20,
                  "frame": {"C": "Rooms.Push.Message", "v": {"ret": 0}}},
                 {"time": "2026-11-22T11:00:49Z", "kind": "tomorrow"}]
        text = "\n".join(map(json.dumps, lines)) + '\n{"time":"2026-1'
        page.value(_hand_over("main", "link.jsonl", text, "drop"))
        wait_for_commands(page, ["failed", "text", "Rooms.Push.Message", "not a request", "not a request"])
        wait_for_text(page, "#rows", "12 entries are missing")
        wait_for_text(page, "#rows", "refused: the connection was refused")
        expect(page.value("document.querySelectorAll('main img').length"), 0, "images")
        page.press("Escape")
        page.press("e")
        wait_for_commands(page, ["failed", "not a request", "not a request"])
        page.press("e")
        page.click("#trace")
        page.wait("document.querySelector('#live').textContent === 'live'")

    def outlives_a_flood(self):
        page = self.page
        for number in range(3000):
            self.client.send("PING")
            if number % 100 == 99:
                for _ in range(100):
                    self.client.receive()
        self.client.request("Dev.Last")
        page.wait(f"{SEEN}.at(-1).querySelector('.what').textContent === 'Dev.Last'")
        expect(page.value("document.querySelectorAll('#rows tr').length <= 2000"), True, "rows are bounded")

    def notices_the_end(self):
        self.server.stop()
        wait_for_text(self.page, "#live", "connection lost")


STEPS = [Lesson.shows_past_and_present, Lesson.filters, Lesson.shows_what_a_frame_holds, Lesson.arms_faults,
         Lesson.pushes, Lesson.pauses_and_clears, Lesson.takes_no_text_for_html, Lesson.fits_a_narrow_window,
         Lesson.shows_a_trace_and_goes_back, Lesson.shows_a_trace_that_is_dropped, Lesson.outlives_a_flood]


def is_dark(page):
    return page.value("""(() => {
      const [r, g, b] = getComputedStyle(document.body).backgroundColor.match(/\\d+/g).map(Number);
      return r + g + b < 384;
    })()""")


def check(browser, program, scheme):
    with Server(program) as server:
        lesson = Lesson(browser, server, scheme)
        expect(is_dark(lesson.page), scheme == "dark", "the ground is dark")
        for step in STEPS:
            print(f"{scheme}: {step.__name__}", flush=True)
            step(lesson)
        expect(lesson.page.complaints(), [], "complaints of the browser")
        lesson.notices_the_end()
        lesson.page.close()


class Elsewhere:
    """An empty page of another origin; use it in a with statement."""

    def __init__(self):
        class Empty(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(200)
                self.send_header("Content-Type", "text/html")
                self.end_headers()
                self.wfile.write(b"<!doctype html><title>elsewhere</title>")

            def log_message(self, *_):
                pass

        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Empty)
        self.port = self._server.server_address[1]

    def __enter__(self):
        threading.Thread(target=self._server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *_):
        self._server.shutdown()
        self._server.server_close()


def opens_socket(page, address):
    """Whether a page can open a WebSocket."""
    return page.value(f"""new Promise((resolve) => {{
      const socket = new WebSocket({json.dumps(address)});
      socket.onopen = () => {{ socket.close(); resolve(true); }};
      socket.onerror = () => resolve(false);
    }})""")


def check_strangers(browser, program):
    """No page of someone else opens a socket of the server, the server's own does."""
    print("strangers", flush=True)
    with Server(program) as server, Elsewhere() as elsewhere:
        page = browser.open(f"http://127.0.0.1:{elsewhere.port}/")
        for host in ("127.0.0.1", "localhost", STRANGER):
            expect(opens_socket(page, f"ws://{host}:{server.port}/"), False, f"a socket of another page to {host}")
        page.close()
        # Under a name that leads here the page is of one origin with the server.
        page = browser.open(f"http://{STRANGER}:{server.port}/")
        expect(opens_socket(page, f"ws://{STRANGER}:{server.port}/"), False, "a socket under a name led here")
        page.close()
        expect(server.control({"push": "Dev.Nothing"})["counters"]["opened"], 0, "sockets that were opened")
        page = browser.open(server.page)
        expect(opens_socket(page, server.url + "/"), True, "a socket of the server's own page")
        page.close()


def check_token(browser, program):
    """By a name that is the server's own the page is for those who bring the token, and passes it on."""
    print("token", flush=True)
    token = "a-token.of_20-letters"
    with Server(program, ["--name", STRANGER, "--token", token]) as server:
        address = f"http://{STRANGER}:{server.port}/"
        page = browser.open(address)
        wait_for_text(page, "body", "expected the token")
        page.close()
        page = browser.open(f"{address}?token={token}")
        wait_for_text(page, "#live", "live")
        page.click("#silence")
        page.wait("document.querySelector('#silence').getAttribute('aria-pressed') === 'true'")
        expect(page.complaints(), [], "complaints of the browser")
        page.close()


def main():
    try:
        with Browser() as browser:
            TRACE.take(sys.argv[2])
            check_strangers(browser, sys.argv[1])
            check_token(browser, sys.argv[1])
            for scheme in ("light", "dark"):
                check(browser, sys.argv[1], scheme)
    except Exception:  # the reason of a failed test is what matters
        traceback.print_exc()
        return 1
    print("the page does what it should")
    return 0


if __name__ == "__main__":
    sys.exit(main())
