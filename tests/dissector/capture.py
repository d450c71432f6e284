"""Captures made of typed bytes: TCP segments on the loopback, in the format of libpcap."""

import struct
from pathlib import Path

CLIENT_PORT = 40000


def checksum(data):
    data += b"\0" * (len(data) % 2)
    total = sum(struct.unpack(f">{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


class Capture:
    """Segments in the order of their arrival, a millisecond apart."""

    def __init__(self):
        self._records = b""
        self._packets = 0
        self._sent = {}

    def send(self, source, destination, payload):
        """One segment from one port to another."""
        sequence = self._sent.get((source, destination), 1)
        answered = self._sent.get((destination, source), 1)
        self._sent[source, destination] = sequence + len(payload)
        tcp = struct.pack(">HHIIBBHHH", source, destination, sequence, answered, 0x50, 0x18, 65535, 0, 0) + payload
        address = bytes([127, 0, 0, 1])
        pseudo = address * 2 + struct.pack(">BBH", 0, 6, len(tcp))
        tcp = tcp[:16] + struct.pack(">H", checksum(pseudo + tcp)) + tcp[18:]
        head = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 20 + len(tcp), self._packets + 1, 0, 64, 6, 0, address, address)
        packet = head[:10] + struct.pack(">H", checksum(head)) + head[12:] + tcp
        self._records += struct.pack("<IIII", 1000, self._packets * 1000, len(packet), len(packet)) + packet
        self._packets += 1
        return self

    def write(self, path):
        """The capture as a file; link type 101 is raw IP."""
        Path(path).write_bytes(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 1 << 18, 101) + self._records)
