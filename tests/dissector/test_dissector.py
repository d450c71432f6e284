"""The dissector, in tshark: trees typed by hand, captures of a real host, and mangled ones."""

import random
import re
import subprocess
import sys
import time
from pathlib import Path

import pytest
from capture import CLIENT_PORT, Capture

ROOT = Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "tools" / "wireshark" / "zel.lua"
RENDEZVOUS = 3715
PEN = 5000

ANNOUNCEMENT = (
    b"RVP1\r\nCONNECT\r\npen-id=0000012300abcdef\r\npen-brand=Notebook pen\r\npen-swver=601\r\n"
    b"pen-vid=1209\r\npen-pid=0001\r\npen-dfu=0\r\nacc-prot=PSP41\r\nservice-port=5000\r\n\0"
)


def tshark(path, *words):
    done = subprocess.run(
        ["tshark", "-2", "-X", f"lua_script:{SCRIPT}", "-r", str(path), *words], capture_output=True, text=True, timeout=120
    )
    said = [line for line in done.stderr.splitlines() if "Running as user" not in line]
    assert done.returncode == 0 and said == [], done.stderr
    assert "Lua Error" not in done.stdout
    return done.stdout


def trees(path, *words):
    """The trees of both protocols, frame by frame, as text."""
    found = []
    for frame in tshark(path, "-O", "zelrv,zelpsp", *words).split("\n\n"):
        match = re.search(r"^Pen (Rendezvous|Service) Protocol.*", frame, re.S | re.M)
        if match:
            found.append(match[0].rstrip("\n"))
    return found


def psp_capture(*segments):
    """The announcement of a pen, and what is said on its port: (from the host?, bytes)."""
    capture = Capture().send(RENDEZVOUS, CLIENT_PORT, ANNOUNCEMENT)
    for from_host, payload in segments:
        ports = (CLIENT_PORT + 1, PEN) if from_host else (PEN, CLIENT_PORT + 1)
        capture.send(*ports, bytes.fromhex(payload))
    return capture


def psp_trees(path, *segments):
    psp_capture(*segments).write(path)
    return trees(path)[1:]


def test_an_announcement(tmp_path):
    Capture().send(RENDEZVOUS, CLIENT_PORT, ANNOUNCEMENT).write(tmp_path / "a")
    (tree,) = trees(tmp_path / "a")
    assert tree.splitlines()[0] == "Pen Rendezvous Protocol, pen arrived"
    assert [line.strip() for line in tree.splitlines() if "Text:" not in line][1:] == [
        "Message: pen arrived",
        "Pen id: 0x0000012300abcdef",
        "Serial: AKZ-AQ7-APS-AC",
        "Service port: 5000",
        "Brand: Notebook pen",
        "Software version: 0x00000601",
        "USB vendor id: 0x1209",
        "USB product id: 0x0001",
        "Firmware-upgrade mode: 0",
        "Accepted protocol: psp41",
    ]


@pytest.mark.parametrize(
    ("from_host", "message", "kind"),
    [
        (True, b"RVA1\r\nsubscribe=RVP\r\n", "subscribe"),
        (True, b"DVA1\r\nsubscribe=DVP\r\n", "subscribe, firmware-upgrade mode"),
        (True, b"LIST", "list request"),
        (True, b"HELLO", "unknown request"),
        (False, b"RVP1\r\npen-id=1\r\n", "pen present"),
        (False, b"RVP1\r\nDISCONNECT\r\npen-id=1\r\n", "pen left"),
        (False, b"DVP1\r\nCONNECT\r\n", "pen arrived"),
        (False, b"ENDLIST", "end of list"),
        (False, b"", "unknown message"),
    ],
)
def test_kinds_of_messages(tmp_path, from_host, message, kind):
    ports = (CLIENT_PORT, RENDEZVOUS) if from_host else (RENDEZVOUS, CLIENT_PORT)
    Capture().send(*ports, message + b"\0").write(tmp_path / "a")
    assert trees(tmp_path / "a")[0].splitlines()[0] == f"Pen Rendezvous Protocol, {kind}"


def test_a_message_in_pieces_and_two_in_one_segment(tmp_path):
    capture = Capture()
    for at in range(0, len(ANNOUNCEMENT), 7):
        capture.send(RENDEZVOUS, CLIENT_PORT, ANNOUNCEMENT[at : at + 7])
    capture.send(RENDEZVOUS, CLIENT_PORT, b"ENDLIST\0ENDLIST\0")
    capture.write(tmp_path / "a")
    heads = [line for tree in trees(tmp_path / "a") for line in tree.splitlines() if line.startswith("Pen ")]
    assert heads == ["Pen Rendezvous Protocol, pen arrived"] + ["Pen Rendezvous Protocol, end of list"] * 2


def test_a_property_is_read(tmp_path):
    request, response = psp_trees(
        tmp_path / "a",
        (True, "52314750 01 00 03 000e"),  # R1GP, one argument: short16 0x000e
        (False, "08 0002 04 00000000 08 0002 03 0057 03 ffff"),  # status 0; 87 and -1
    )
    assert request == (
        "Pen Service Protocol, request R1GP (get property)\n"
        "    Instruction: R1GP (get property)\n"
        "    Arguments: 1\n"
        "    argument 0: property 0x000e (BATTERY_LEVEL_VERBOSE)\n"
        "    [Response in: 3]"
    )
    assert response == (
        "Pen Service Protocol, response to R1GP (get property)\n"
        "    Status: 0 (ok)\n"
        "    value: value array of 2\n"
        "        0: int32 0\n"
        "        1: value array of 2\n"
        "            0: short16 87\n"
        "            1: short16 -1\n"
        "    [Request in: 2]\n"
        "    [Time: 0.001000000 seconds]"
    )


def test_pages_are_shown_by_their_addresses(tmp_path):
    _, pages, request, strokes = psp_trees(
        tmp_path / "a",
        (True, "55305049 00"),  # U0PI
        (False, "08 0002 04 00000000 08 0001 08 0002 05 0000010002003004 04 000000c8"),
        (True, "55305047 03 00 05 000002ffff003004 01 05 0000000000000002 02 05 7fffffffffffffff"),  # U0PG
        (False, "08 0002 04 00000000 07 00000003 c0ffee"),
    )
    assert "                0: page 1.2.3.4\n                1: int32 200\n" in pages
    assert "    argument 0: page 2.*.3.4\n    argument 1: long64 2\n" in request
    assert "        1: binary of 3 bytes\n            Bytes: c0ffee\n" in strokes


def test_every_type_of_value(tmp_path):
    _, tree = psp_trees(
        tmp_path / "a",
        (True, "55304845 00"),
        (
            False,
            "08 000c 04 00000001 00 01 02 02 ff 03 8000 05 ffffffffffffffff 06 0003 416200 06 0000"
            " 09 0002 02 01 02 09 ffff 00 0a 02 01 0b 0e dbdc c0",
        ),
    )
    assert tree.splitlines()[2:-2] == [
        "    value: value array of 12",
        "        0: int32 1",
        "        1: null",
        "        2: true",
        "        3: byte 255",
        "        4: short16 -32768",
        "        5: long64 -1",
        '        6: string "Ab"',
        '        7: string ""',
        "        8: data array of 2",
        "            0: byte 1",
        "            1: byte 2",
        "        9: data array of 65535",
        "        10: terminated array of 1",
        "            0: byte 1",
        "        11: escaped binary, 3 bytes as sent",
    ]


@pytest.mark.parametrize(
    ("status", "words"),
    [
        ("ffffdcd7", "-9001, unknown instruction"),
        ("ffffdcd6", "-9002, connection lost"),
        ("ffffdcd5", "-9003, pen is locked"),
        ("fffff053", "-4013, property refused"),
        ("ffffffff", "-1, refused"),
    ],
)
def test_a_refusal_is_told_in_words(tmp_path, status, words):
    _, tree = psp_trees(tmp_path / "a", (True, "5231474c 00"), (False, f"08 0001 04 {status}"))
    assert f"[Expert Info (Warning/Response): {words}]" in tree


def test_exchanges_are_paired_in_their_order(tmp_path):
    segments = [(True, "5231474c 00"), (False, "08 0001 04 00000000")] * 3
    found = psp_trees(tmp_path / "a", *segments)
    assert [re.findall(r"\[Re\w+ in: (\d+)\]", tree) for tree in found] == [["3"], ["2"], ["5"], ["4"], ["7"], ["6"]]


def test_a_response_in_single_bytes_is_put_together(tmp_path):
    response = "08000204000000000700000003c0ffee"
    pieces = [(False, response[at : at + 2]) for at in range(0, len(response), 2)]
    found = psp_trees(tmp_path / "a", (True, "5231474c 00"), *pieces)
    assert len(found) == 2
    assert "1: binary of 3 bytes" in found[1]


@pytest.mark.parametrize(
    ("from_host", "payload", "why"),
    [
        (False, "08 0001 0c", "unknown type 12"),
        (False, "10", "unknown type 16"),
        (False, "0e db41 c0", "bad escape"),
        (False, "07 80000000", "a length of 2 GiB or more"),
        (False, "080001" * 300, "arrays nested more than 256 deep"),
        (False, "04 00000000", "The response is no array that begins with a status"),
        (True, "00000000 00", "not an instruction"),
        (True, "52314750 01 00 0d", "unknown type 13"),
    ],
)
def test_malformed_bytes_are_marked(tmp_path, from_host, payload, why):
    (tree,) = psp_trees(tmp_path / "a", (from_host, payload))
    assert f"[Expert Info (Error/Malformed): {why}]" in tree


def test_a_list_of_thousands_is_not_unfolded(tmp_path):
    _, tree = psp_trees(tmp_path / "a", (True, "55305049 00"), (False, "08 1770" + "04 00000000" * 6000))
    assert "further values are not shown" in tree
    assert len(tree.splitlines()) < 2100


def test_a_port_can_be_named_where_the_announcement_is_missing(tmp_path):
    Capture().send(CLIENT_PORT, PEN, bytes.fromhex("5231474c 00")).write(tmp_path / "a")
    assert trees(tmp_path / "a") == []
    (tree,) = trees(tmp_path / "a", "-d", f"tcp.port=={PEN},zelpsp")
    assert tree.startswith("Pen Service Protocol, request R1GL (get lock status)")


def test_mangled_captures_never_end_in_an_error(tmp_path):
    numbers = random.Random(7)
    whole = [
        (True, "52315350 02 00 03 220a 01 08 0002 03 0001 07 00000003 010203"),
        (False, "08 0001 04 00000000"),
        (True, "55305047 03 00 05 0000010002003004 01 05 0000000000000002 02 05 7fffffffffffffff"),
        (False, "08 0002 04 00000000 0a 06 0003 416200 09 0002 02 0102 0e dbdc c0 0b"),
    ]
    for round_ in range(40):
        segments = []
        for from_host, payload in whole:
            data = bytearray(bytes.fromhex(payload))
            for _ in range(numbers.randrange(4)):
                data[numbers.randrange(len(data))] = numbers.randrange(256)
            segments.append((from_host, data[: numbers.randrange(1, len(data) + 1)].hex()))
        capture = psp_capture(*segments)
        text = bytearray(ANNOUNCEMENT)
        for _ in range(5):
            text[numbers.randrange(len(text))] = numbers.randrange(256)
        capture.send(RENDEZVOUS, CLIENT_PORT, bytes(text))
        capture.write(tmp_path / "a")
        tshark(tmp_path / "a", "-V")


def test_a_real_host_and_the_simulated_service(tmp_path):
    sys.path.insert(0, str(ROOT / "bindings" / "python" / "src"))
    from zel import Library, PenLockedError
    from zel.testing import Pensim

    file = tmp_path / "real"
    dump = subprocess.Popen(["dumpcap", "-i", "lo", "-q", "-B", "64", "-w", str(file)], stderr=subprocess.PIPE, text=True)
    try:
        assert "File:" in dump.stderr.readline() or "File:" in dump.stderr.readline()
        with Pensim(), Library() as library:
            with library.connect(library.wait("AKZ-AQ7-APS-AC")) as pen:
                assert len(pen.fetch()) == 8
                pen.user_data = ("a", "b", "c")
            with library.connect(library.wait("ABE-AAB-4KK-G3")) as pen, pytest.raises(PenLockedError):
                pen.battery  # noqa: B018
        time.sleep(0.5)
    finally:
        dump.terminate()
        dump.wait()
    told = tshark(file, "-Y", "zelrv or zelpsp", "-T", "fields", "-e", "_ws.col.Info").splitlines()
    assert any(line.startswith("pen present AKZ-AQ7-APS-AC") for line in told)
    assert told.count("U0PG (get page): ok") == 6
    assert told[-1] == "R1GP (get property): pen is locked"
    assert not [line for line in told if "malformed" in line or "?" in line]
