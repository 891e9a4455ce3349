"""A TCP relay that behaves like a bad network: delay, jitter, lost segments, small windows, stalls, silence and cuts.

It stands in front of a server, and a reader of bytes is told nothing of it. What TCP does on a lossy way is done here by
time alone: a segment that is lost comes, with all behind it, after another round trip and the sender's time-out.
"""

import asyncio
import random
from dataclasses import dataclass

SENDER_TIMEOUT = 0.2
SEGMENT = 1400


@dataclass
class Conditions:
    round_trip: float = 0.0  # seconds
    jitter: float = 0.0  # at most so much on top, each way
    loss: float = 0.0  # share of segments that are lost
    window: int = 0  # bytes that may be under way each way; 0: any
    stall_every: float = 0.0  # seconds between stalls; 0: none
    stall: float = 0.0  # seconds that one lasts


class BadNetwork:
    def __init__(self, server_port, conditions, seed=1):
        self.server_port = server_port
        self.conditions = conditions
        self.random = random.Random(seed)
        self.connections = set()
        self.generation = 0
        self.port = 0

    async def start(self, address="127.0.0.1"):
        server = await asyncio.start_server(self._accept, address, 0, limit=SEGMENT)
        self.port = server.sockets[0].getsockname()[1]
        self.begun = asyncio.get_running_loop().time()
        return self

    def cut(self):
        """Resets all connections; new ones come about."""
        for writer in list(self.connections):
            writer.transport.abort()

    def silence(self):
        """From now on nothing passes on the connections that are there; new ones are good."""
        self.generation += 1

    async def _accept(self, reader, writer):
        self.connections.add(writer)
        try:
            there, back = await asyncio.open_connection("127.0.0.1", self.server_port, limit=SEGMENT)
            self.connections.add(back)
            # The handshake of TCP, which is over at once on this machine.
            first = self.conditions.round_trip
            await asyncio.gather(self._pass_on(reader, back, first), self._pass_on(there, writer, 0.0))
        except OSError:
            writer.transport.abort()
        except asyncio.CancelledError:
            pass  # the measurement is over

    async def _pass_on(self, reader, writer, first):
        loop = asyncio.get_running_loop()
        generation, queue, due = self.generation, asyncio.Queue(), 0.0

        async def deliver():
            while True:
                when, data = await queue.get()
                await asyncio.sleep(max(0.0, when - loop.time()))
                if generation != self.generation:
                    continue
                if data is None:
                    return writer.close()
                writer.write(data)

        delivery = asyncio.ensure_future(deliver())
        try:
            earliest = loop.time() + first
            while True:
                data = await reader.read(SEGMENT)
                due = self._arrival(max(due, earliest), len(data))
                queue.put_nowait((due, data or None))
                if not data:
                    break
        except OSError:
            writer.transport.abort()
            delivery.cancel()
        await asyncio.wait([delivery])

    def _arrival(self, not_before, size):
        """When a segment that is sent now comes to the other side, never before the one in front of it."""
        c = self.conditions
        now = asyncio.get_running_loop().time()
        when = now + c.round_trip / 2 + self.random.uniform(0, c.jitter)
        if self.random.random() < c.loss:
            when += c.round_trip + SENDER_TIMEOUT
        if c.window:
            when += size * c.round_trip / c.window
        if c.stall_every:
            into = (when - self.begun) % c.stall_every
            when += max(0.0, c.stall - into)
        return max(when, not_before)
