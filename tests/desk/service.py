"""A pensim with its desk, its control port, and hosts for it."""

import http.client
import json
import os
import shlex
import socket
import subprocess
import time
from pathlib import Path
from urllib.parse import urlsplit

ROOT = Path(__file__).resolve().parents[2]
# The command by which pensim runs; under Wine it has several words.
PENSIM = shlex.split(os.environ.get("ZEL_PENSIM", str(ROOT / "build/native/bin/pensim")))
PENCTL = ROOT / "build/native/bin/penctl"

NOTEBOOK = "AKZ-AQ7-APS-AC"
OFFICE = "AAB-AAA-AAB-D7"
LOCKED = "ABE-AAB-4KK-G3"
FIRMWARE = "ABZ-ASW-Q4M-D3"


def eventually(condition, what, seconds=60):
    """What the condition answers once that is true."""
    ends = time.monotonic() + seconds
    while True:
        found = condition()
        if found:
            return found
        assert time.monotonic() < ends, f"not within {seconds} s: {what}"
        time.sleep(0.02)


class Service:
    """The service, on the rendezvous port that hosts know."""

    def __init__(self, folder, scenario=None, *words):
        ready = Path(folder, "ready.json")
        words = [*PENSIM, "--web", "--control", "0", "--quit-at-end", "--ready-file", "ready.json", *words]
        if scenario is not None:
            Path(folder, "scenario.json").write_text(json.dumps(scenario), encoding="utf-8")
            words += ["--scenario", "scenario.json"]
        self.process = subprocess.Popen(
            words, cwd=folder, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True
        )
        eventually(lambda: ready.exists() or self.process.poll() is not None, "the service is ready", 60)
        assert self.process.poll() is None, self.process.communicate()
        told = json.loads(ready.read_text(encoding="utf-8"))
        self.address = told["desk"]
        self.control_port = told["control_port"]
        self.port = urlsplit(self.address).port
        self.path = urlsplit(self.address).path
        self._control = socket.create_connection(("127.0.0.1", self.control_port)).makefile("rw", encoding="utf-8")

    def stop(self):
        self._control.close()
        self.process.stdin.close()
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        self.process.stdout.close()
        self.process.stderr.close()

    def command(self, command, **parameters):
        """A command by the control port, and the data of its answer."""
        self._control.write(json.dumps({"command": command, **parameters}) + "\n")
        self._control.flush()
        answer = json.loads(self._control.readline())
        assert answer["ok"], answer["error"]
        return answer.get("data")

    def pen(self, serial):
        return self.command("state", pen=serial)

    def request(self, method, path, body=None, **fields):
        """One request as a program may make it: status, fields of the header, body."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        headers = {name.replace("_", "-"): text for name, text in fields.items()}
        connection.putrequest(method, path, skip_host="Host" in headers, skip_accept_encoding=True)
        if body is not None:
            connection.putheader("Content-Length", str(len(body)))
        for name, text in headers.items():
            connection.putheader(name, text)
        connection.endheaders(body)
        response = connection.getresponse()
        try:
            return response.status, response.headers, response.read()
        finally:
            connection.close()

    def get(self, name, **fields):
        return self.request("GET", self.path + name, **fields)

    def post(self, body, name="command", **fields):
        fields = {"Content_Type": "application/json", "Origin": f"http://127.0.0.1:{self.port}", **fields}
        text = body if isinstance(body, bytes) else json.dumps(body).encode()
        return self.request("POST", self.path + name, text, **{key: value for key, value in fields.items() if value})

    def events(self):
        """The stream of events, open: an iterator over the news."""
        stream = socket.create_connection(("127.0.0.1", self.port), timeout=20)
        stream.sendall(f"GET {self.path}events HTTP/1.1\r\nHost: 127.0.0.1:{self.port}\r\n\r\n".encode())
        file = stream.makefile("r", encoding="utf-8", newline="\n")
        stream.close()
        while file.readline() not in ("\r\n", ""):
            pass
        return (json.loads(line[len("data: ") :]) for line in file if line.startswith("data: "))


class Host:
    """A connection to a pen, by typed bytes."""

    LOCK_STATUS = b"R1GL\x00"
    LOCK_STATUS_LENGTH = 10  # array of 2: int32 status, bool
    BEGIN_SESSION = b"U0YB\x00"
    BEGIN_SESSION_LENGTH = 13  # array of 2: int32 status, int32

    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port), timeout=20)

    def ask(self, request, length):
        self.socket.sendall(request)
        answer = b""
        while len(answer) < length:
            part = self.socket.recv(length - len(answer))
            assert part, "the pen closed"
            answer += part
        return answer

    def get_page(self, address):
        """U0PG: the address, format 2, no limit. Returns the first bytes of the answer."""
        argument = b"\x05"  # long64
        return self.ask(
            b"U0PG\x03"
            + b"\x00" + argument + address.to_bytes(8, "big")
            + b"\x01" + argument + (2).to_bytes(8, "big")
            + b"\x02" + argument + (0x7FFFFFFFFFFFFFFF).to_bytes(8, "big"),
            8,
        )

    def close(self):
        self.socket.close()
