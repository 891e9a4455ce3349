#!/usr/bin/env python3
"""Sees that the relay of script/networks really makes the networks that it promises. On a busy machine all takes longer,
so what is measured has only a least time."""

import asyncio
import pathlib
import random
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench" / "networks"))
from bad_network import SENDER_TIMEOUT, BadNetwork, Conditions  # noqa: E402

A_LITTLE = 0.001  # timers of the loop end that much too early at most


async def echo(reader, writer):
    """Answers everything with itself, and "bye" with the end."""
    try:
        while data := await reader.read(65536):
            writer.write(data)
            if data == b"bye":
                break
        writer.close()
    except (ConnectionError, asyncio.CancelledError):
        writer.transport.abort()


class Client:
    def __init__(self, reader, writer):
        self.reader, self.writer = reader, writer

    async def ask(self, text):
        """Seconds until the echo is there."""
        begun = now()
        self.writer.write(text)
        answer = await self.reader.readexactly(len(text))
        assert answer == text, answer
        return now() - begun


def now():
    return asyncio.get_running_loop().time()


class Networks(unittest.IsolatedAsyncioTestCase):
    async def network(self, **conditions):
        server = await asyncio.start_server(echo, "127.0.0.1", 0)
        return await BadNetwork(server.sockets[0].getsockname()[1], Conditions(**conditions)).start()

    async def connect(self, network):
        client = Client(*await asyncio.open_connection("127.0.0.1", network.port))
        self.addCleanup(client.writer.transport.abort)
        return client

    async def test_bytes_arrive_whole_and_in_order_on_the_worst_of_them(self):
        network = await self.network(round_trip=0.004, jitter=0.004, loss=0.01, window=20_000, stall_every=0.3, stall=0.1)
        client = await self.connect(network)
        everything = random.Random(1).randbytes(200_000)
        client.writer.write(everything)
        self.assertEqual(await client.reader.readexactly(len(everything)), everything)

    async def test_each_answer_takes_a_round_trip_and_the_first_one_the_handshake_too(self):
        network = await self.network(round_trip=0.2)
        begun = now()
        client = await self.connect(network)
        await client.ask(b"first")
        self.assertGreaterEqual(now() - begun, 0.3 - A_LITTLE)
        for _ in range(3):
            self.assertGreaterEqual(await client.ask(b"more"), 0.2 - A_LITTLE)

    async def test_jitter_adds_up(self):
        client = await self.connect(await self.network(jitter=0.05))
        # Forty ways of 25 ms in the mean.
        self.assertGreaterEqual(sum([await client.ask(b"a") for _ in range(20)]), 0.5)

    async def test_a_lost_segment_costs_a_round_trip_and_the_senders_patience(self):
        client = await self.connect(await self.network(round_trip=0.1, loss=1.0))
        self.assertGreaterEqual(await client.ask(b"a"), 0.1 + 2 * (0.1 + SENDER_TIMEOUT) - A_LITTLE)

    async def test_no_more_than_a_window_is_under_way(self):
        client = await self.connect(await self.network(round_trip=0.1, window=4_000))
        await client.ask(b"a")
        # Ten windows: nine times an acknowledgement is waited for.
        self.assertGreaterEqual(await client.ask(bytes(40_000)), 0.9 - A_LITTLE)

    async def test_nothing_arrives_in_a_stall(self):
        network = await self.network(stall_every=1000.0, stall=0.5)
        client = await self.connect(network)
        await client.ask(b"a")
        self.assertGreaterEqual(now() - network.begun, 0.5 - A_LITTLE)

    async def test_silence_is_for_the_connections_that_are_there_and_no_end_of_them(self):
        network = await self.network(round_trip=0.02)
        old = await self.connect(network)
        await old.ask(b"a")
        network.silence()
        old.writer.write(b"b")
        new = await self.connect(network)
        # What was sent on the old one would have come long before.
        for _ in range(5):
            await new.ask(b"c")
        answer = asyncio.ensure_future(old.reader.read(1))
        await new.ask(b"d")
        self.assertFalse(answer.done(), "neither an answer nor an end")
        answer.cancel()

    async def test_a_cut_resets_what_is_there(self):
        network = await self.network()
        clients = [await self.connect(network) for _ in range(3)]
        for client in clients:
            await client.ask(b"a")
        network.cut()
        for client in clients:
            with self.assertRaises(ConnectionResetError):
                await client.reader.read(1)
        await (await self.connect(network)).ask(b"b")

    async def test_the_servers_end_comes_behind_what_it_has_sent(self):
        client = await self.connect(await self.network(round_trip=0.02, loss=0.5))
        client.writer.write(b"bye")
        self.assertEqual(await client.reader.read(), b"bye")

    async def test_where_no_server_is_a_connection_is_reset(self):
        network = await self.network()
        server = await asyncio.start_server(echo, "127.0.0.1", 0)
        network.server_port = server.sockets[0].getsockname()[1]
        server.close()
        await server.wait_closed()
        client = await self.connect(network)
        with self.assertRaises(ConnectionResetError):
            await client.reader.read(1)


class Arrivals(unittest.TestCase):
    """When a segment comes to the other side, without a clock."""

    def arrivals(self, count, **conditions):
        network = BadNetwork(0, Conditions(**conditions))
        return [network.arrival(0.0, 0.0) for _ in range(count)]

    def test_jitter_is_spread_over_its_whole_width(self):
        times = self.arrivals(1000, round_trip=0.2, jitter=0.05)
        self.assertTrue(all(0.1 <= when <= 0.15 for when in times))
        for begin in (0.1, 0.11, 0.12, 0.13, 0.14):
            self.assertGreater(sum(begin <= when < begin + 0.01 for when in times), 150)

    def test_the_share_that_is_lost(self):
        late = sum(when > 0.1 for when in self.arrivals(10_000, round_trip=0.2, loss=0.05))
        self.assertTrue(400 < late < 600, late)

    def test_no_segment_overtakes_another(self):
        self.assertEqual(BadNetwork(0, Conditions(round_trip=0.2)).arrival(0.0, 7.0), 7.0)

    def test_stalls_come_again_and_again(self):
        network = BadNetwork(0, Conditions(stall_every=10.0, stall=2.0))
        for sent, arrives in ((0.0, 2.0), (1.5, 2.0), (2.0, 2.0), (9.0, 9.0), (10.5, 12.0), (31.0, 32.0)):
            self.assertAlmostEqual(network.arrival(sent, 0.0), arrives)


if __name__ == "__main__":
    # What is still open goes with the program.
    unittest.main(warnings="ignore")
