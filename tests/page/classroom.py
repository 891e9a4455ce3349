"""The embedded server as a program, and a client of it. Standard library only."""

import base64
import json
import os
import socket
import struct
import subprocess
import urllib.request

DIGEST = "c756662595bb0948d9bbe352fef1c53a"  # of the password of every account of the school
PATIENCE = 60


class Server:
    """A running orv-devserver; use it in a with statement."""

    def __init__(self, program, arguments=()):
        self._process = subprocess.Popen([program, *arguments], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        line = self._process.stdout.readline().decode().strip()
        if not line.startswith("listening ws"):
            raise RuntimeError(f"the server does not listen: {line!r}")
        self.url = line.split()[1]
        self.port = int(self.url.rsplit(":", 1)[1])
        self.page = "http" + self.url[2:] + "/"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self):
        self._process.terminate()
        self._process.wait(PATIENCE)
        self._process.stdout.close()

    def control(self, request):
        """POST /control; returns the state."""
        with urllib.request.urlopen(self.page + "control", json.dumps(request).encode(), timeout=PATIENCE) as answer:
            return json.load(answer)


class Client:
    """One WebSocket connection."""

    def __init__(self, port):
        self._socket = socket.create_connection(("127.0.0.1", port), timeout=PATIENCE)
        self._input = b""
        self._stamp = 1700000000000000
        key = base64.b64encode(os.urandom(16)).decode()
        self._socket.sendall((f"GET / HTTP/1.1\r\nHost: 127.0.0.1:{port}\r\nUpgrade: websocket\r\n"
                              f"Connection: Upgrade\r\nSec-WebSocket-Key: {key}\r\n"
                              "Sec-WebSocket-Version: 13\r\n\r\n").encode())
        while b"\r\n\r\n" not in self._input:
            self._fill()
        self._input = self._input.split(b"\r\n\r\n", 1)[1]

    def close(self):
        self._socket.close()

    def _fill(self):
        chunk = self._socket.recv(1 << 16)
        if not chunk:
            raise EOFError("the server has ended the connection")
        self._input += chunk

    def _take(self, size):
        while len(self._input) < size:
            self._fill()
        taken, self._input = self._input[:size], self._input[size:]
        return taken

    def send(self, text):
        data, mask = text.encode(), b"\x12\x9a\x5c\xe3"
        size = len(data)
        length = (struct.pack("!B", 0x80 | size) if size < 126 else
                  struct.pack("!BH", 0xFE, size) if size < 65536 else struct.pack("!BQ", 0xFF, size))
        masked = bytes(byte ^ mask[i % 4] for i, byte in enumerate(data))
        self._socket.sendall(b"\x81" + length + mask + masked)

    def receive(self):
        """The text of the next frame."""
        size = self._take(2)[1] & 127
        if size == 126:
            size = struct.unpack("!H", self._take(2))[0]
        elif size == 127:
            size = struct.unpack("!Q", self._take(8))[0]
        return self._take(size).decode(errors="replace")

    def post(self, command, values=None):
        """Sends a request and does not wait for the reply."""
        self._stamp += 1
        self.send(json.dumps({"c": command, "s": str(self._stamp), "v": values or {}}))

    def request(self, command, values=None):
        """Sends a request and returns "v" of the next frame."""
        self.post(command, values)
        return json.loads(self.receive())["v"]

    def sign_in(self, phone="13800000001"):
        return self.request("User.Post.Login", {"phone": phone, "dev": 1, "pwd": DIGEST})["data"]
