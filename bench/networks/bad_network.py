"""A TCP relay that behaves like a bad network: delay, jitter, lost segments, small windows, stalls, silence and cuts.

It stands in front of a server, and a reader of bytes is told nothing of it. What TCP does on a lossy way is done here by
time alone: a segment that is lost comes, with all behind it, after another round trip and the sender's time-out.
"""

import asyncio
import collections
import random
import socket
import struct
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


class Window:
    """The bytes of one direction that are under way: sent, and not known to have arrived."""

    def __init__(self, size):
        self.size = size
        self.segments = collections.deque()  # when each is known to have arrived, and its bytes
        self.under_way = 0

    async def wait_for_room(self, size):
        while self.size and self.segments and self.under_way + size > self.size:
            acknowledged, oldest = self.segments.popleft()
            self.under_way -= oldest
            await asyncio.sleep(max(0.0, acknowledged - asyncio.get_running_loop().time()))

    def sent(self, size, acknowledged):
        if self.size:
            self.segments.append((acknowledged, size))
            self.under_way += size


class BadNetwork:
    def __init__(self, server_port, conditions, seed=1):
        self.server_port = server_port
        self.conditions = conditions
        self.random = random.Random(seed)
        self.connections = set()
        self.generation = 0
        self.port = 0
        self.begun = 0.0

    async def start(self, address="127.0.0.1"):
        self.begun = asyncio.get_running_loop().time()
        server = await asyncio.start_server(self._accept, address, 0, limit=SEGMENT)
        self.port = server.sockets[0].getsockname()[1]
        return self

    def cut(self):
        """Resets all connections; new ones come about."""
        for writer in list(self.connections):
            reset(writer)
        self.connections.clear()

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
            reset(writer)
        except asyncio.CancelledError:
            pass  # the measurement is over

    async def _pass_on(self, reader, writer, first):
        loop = asyncio.get_running_loop()
        generation, queue, due = self.generation, asyncio.Queue(), 0.0
        window = Window(self.conditions.window)

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
                await window.wait_for_room(len(data))
                due = self.arrival(loop.time(), max(due, earliest))
                window.sent(len(data), due + self.conditions.round_trip / 2)
                queue.put_nowait((due, data or None))
                if not data:
                    break
        except OSError:
            reset(writer)
            delivery.cancel()
        await asyncio.wait([delivery])

    def arrival(self, now, not_before):
        """When a segment that is sent now comes to the other side, never before the one in front of it."""
        c = self.conditions
        when = now + c.round_trip / 2 + self.random.uniform(0, c.jitter)
        if self.random.random() < c.loss:
            when += c.round_trip + SENDER_TIMEOUT
        if c.stall_every:
            into = (when - self.begun) % c.stall_every
            when += max(0.0, c.stall - into)
        return max(when, not_before)


def reset(writer):
    """Ends a connection as a router does that has forgotten it."""
    connection = writer.get_extra_info("socket")
    if connection is not None and connection.fileno() >= 0:
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    writer.transport.abort()
