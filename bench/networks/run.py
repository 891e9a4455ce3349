#!/usr/bin/env python3
"""Takes two clients through bad networks side by side, and prints a table: the library, and the `ws` client of Node with
a usual reconnecting wrapper.

  run.py LIBRARY_CLIENT WS_CLIENT.js SERVER.js

Each pair of conditions is a network namespace of its own, so that the client's address can be changed; root is needed.
All figures are seconds but those of requests, which are milliseconds.
"""

import asyncio
import json
import os
import signal
import statistics
import subprocess
import sys
import tempfile

from bad_network import BadNetwork, Conditions

ATTEMPTS = 5
STEADY = 20.0
PATIENCE = 75.0
SLEEP = 40.0

# A node that does not come from the distribution does not look where its packages are.
ENVIRONMENT = {**os.environ, "NODE_PATH": os.environ.get("NODE_PATH", "/usr/share/nodejs")}


def run(*command):
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


class Hosts:
    """A network of two hosts: this one's side is 10.N.0.1, the client's is 10.N.0.2 in a namespace of its own."""

    def __init__(self, number):
        self.space, self.here, self.there = f"orvbad{number}", f"orvh{number}", f"orvc{number}"
        self.prefix = f"10.{200 + number}.0"
        self.close()
        run("ip", "netns", "add", self.space)
        run("ip", "link", "add", self.here, "type", "veth", "peer", "name", self.there, "netns", self.space)
        run("ip", "addr", "add", f"{self.prefix}.1/24", "dev", self.here)
        run("ip", "link", "set", self.here, "up")
        self._in("ip", "link", "set", "lo", "up")
        self._in("ip", "link", "set", self.there, "up")
        self.last = 1
        self.change_address()

    def _in(self, *command):
        run("ip", "netns", "exec", self.space, *command)

    def change_address(self):
        if self.last > 1:
            self._in("ip", "addr", "flush", "dev", self.there)
        self.last += 1
        self._in("ip", "addr", "add", f"{self.prefix}.{self.last}/24", "dev", self.there)
        self._in("ip", "route", "add", "default", "via", f"{self.prefix}.1")

    def command(self, *command):
        return ["ip", "netns", "exec", self.space, *command]

    def close(self):
        subprocess.run(["ip", "link", "del", self.here], stderr=subprocess.DEVNULL)
        subprocess.run(["ip", "netns", "del", self.space], stderr=subprocess.DEVNULL)


class Client:
    """One run of a client program, and what it has printed."""

    def __init__(self):
        self.events = []
        self.news = asyncio.Event()

    async def start(self, hosts, command, port):
        self.begun = now()
        self.home = tempfile.TemporaryDirectory()
        self.complaints = tempfile.TemporaryFile()
        self.process = await asyncio.create_subprocess_exec(
            *hosts.command(*command, f"ws://{hosts.prefix}.1:{port}"), stdout=asyncio.subprocess.PIPE,
            stderr=self.complaints, env={**ENVIRONMENT, "HOME": self.home.name})
        self.reading = asyncio.ensure_future(self._read())
        return self

    async def _read(self):
        async for line in self.process.stdout:
            self.events.append(json.loads(line))
            self.news.set()

    async def first(self, name, since):
        """Seconds from `since` to the first event of this name behind it; none when it does not come in time."""
        deadline = now() + PATIENCE * 1000
        while True:
            for event in self.events:
                if name in event and event["at"] >= since:
                    return (event["at"] - since) / 1000
            if now() > deadline:
                return None
            self.news.clear()
            try:
                await asyncio.wait_for(self.news.wait(), 1)
            except asyncio.TimeoutError:
                pass

    def signal(self, number):
        # `ip netns exec` becomes the program.
        if self.process.returncode is not None:
            self.complaints.seek(0)
            complaints = self.complaints.read().decode(errors="replace")[-2000:]
            raise RuntimeError(f"a client ended by itself, with {self.process.returncode}: {complaints}")
        self.process.send_signal(number)

    async def end(self):
        self.process.kill()
        await self.process.wait()
        await self.reading
        self.home.cleanup()


def now():
    return asyncio.get_running_loop().time() * 1000


async def answered_after(client, since):
    """Seconds until an answer has come to a request that was asked after `since`."""
    while True:
        found = [e for e in client.events if "took" in e and e["at"] - e["took"] >= since]
        if found:
            return (found[0]["at"] - since) / 1000
        if await client.first("took", max([since] + [e["at"] + 0.001 for e in client.events])) is None:
            return None


async def measure(number, command, conditions, server_port):
    hosts = Hosts(number)
    network = await BadNetwork(server_port, conditions, seed=number).start(f"{hosts.prefix}.1")
    figures = {}
    try:
        ups = []
        for _ in range(ATTEMPTS):
            client = await Client().start(hosts, command, network.port)
            ups.append(await client.first("up", client.begun))
            if len(ups) < ATTEMPTS:
                await client.end()
        figures["link up"] = statistics.median(u if u is not None else PATIENCE for u in ups)
        since = now()
        await asyncio.sleep(STEADY)
        took = sorted(e["took"] for e in client.events if "took" in e and e["at"] >= since)
        figures["p50"] = took[len(took) // 2] if took else None
        figures["p99"] = took[len(took) * 99 // 100] if took else None

        async def after(happening):
            begun = now()
            happening()
            figure = await answered_after(client, begun)
            await asyncio.sleep(3)
            return figure

        figures["after a cut"] = await after(network.cut)
        figures["after silence"] = await after(network.silence)
        figures["after a change of address"] = await after(hosts.change_address)
        client.signal(signal.SIGSTOP)
        await asyncio.sleep(SLEEP)
        figures["after 40 s of sleep"] = await after(lambda: client.signal(signal.SIGCONT))
        await client.end()
    finally:
        hosts.close()
    return figures


async def forget(lines):
    async for _ in lines:
        pass


async def main():
    library, ws, server_script = sys.argv[1:4]
    server = await asyncio.create_subprocess_exec("node", server_script, stdin=asyncio.subprocess.PIPE, stdout=asyncio.subprocess.PIPE, env=ENVIRONMENT)
    port = int((await server.stdout.readline()).decode().split()[1])
    asyncio.ensure_future(forget(server.stdout))
    cases = []
    for round_trip in (0.05, 0.2):
        for stalls in (False, True):
            conditions = Conditions(round_trip, jitter=round_trip / 10, loss=0.01, window=64 * 1024,
                                    stall_every=10.0 if stalls else 0.0, stall=2.0 if stalls else 0.0)
            for name, command in (("library", [library]), ("ws", ["node", ws])):
                cases.append((f"{round_trip * 1000:.0f} ms{', stalls' if stalls else ''}", name, command, conditions))
    results = await asyncio.gather(*(measure(i, c[2], c[3], port) for i, c in enumerate(cases)))
    server.kill()
    show(cases, results)


def show(cases, results):
    names = list(results[0])
    print("| round trip | client | " + " | ".join(names) + " |")
    print("|---" * (len(names) + 2) + "|")
    for case, figures in zip(cases, results):
        cells = ["none in 75 s" if v is None else f"{v:.0f}" if n.startswith("p") else f"{v:.2f}" for n, v in figures.items()]
        print(f"| {case[0]} | {case[1]} | " + " | ".join(cells) + " |")
    print(json.dumps([{"network": c[0], "client": c[1], **f} for c, f in zip(cases, results)]))


asyncio.run(main())
