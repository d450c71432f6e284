"""Who may look at the desk and steer it: programs and pages that are not it, and requests that are none."""

import json
import socket

import pytest
from service import FIRMWARE, LOCKED, NOTEBOOK, OFFICE, Host, eventually

UNDOCK = {"command": "undock", "pen": NOTEBOOK}


def is_docked(service, pen=NOTEBOOK):
    return service.pen(pen)["docked"]


def test_the_page_and_its_files(service):
    for name, kind in [
        ("", "text/html; charset=utf-8"),
        ("desk.css", "text/css; charset=utf-8"),
        ("desk.js", "text/javascript; charset=utf-8"),
        ("icon.svg", "image/svg+xml"),
    ]:
        status, fields, body = service.get(name)
        assert (status, fields["Content-Type"]) == (200, kind)
        assert len(body) == int(fields["Content-Length"]) > 100
        assert fields["X-Content-Type-Options"] == "nosniff"
        assert fields["Cache-Control"] == "no-store"
        assert fields["Referrer-Policy"] == "no-referrer"
        policy = fields["Content-Security-Policy"].split("; ")
        assert policy[0] == "default-src 'none'"
        assert "frame-ancestors 'none'" in policy
        assert not [rule for rule in policy if "unsafe" in rule or "http" in rule or "*" in rule]
        assert "Access-Control-Allow-Origin" not in fields


def test_the_page_asks_for_nothing_from_elsewhere(service):
    for name in ["", "desk.css", "desk.js"]:
        body = service.get(name)[2]
        assert b"http://" not in body.replace(b"http://www.w3.org/", b"") and b"https://" not in body


def test_a_command_is_carried_out(service):
    status, fields, body = service.post(UNDOCK)
    assert (status, fields["Content-Type"], json.loads(body)) == (200, "application/json", {"ok": True})
    assert not is_docked(service)


def test_localhost_is_a_name_for_it(service):
    here = f"localhost:{service.port}"
    assert service.get("", Host=here)[0] == 200
    assert service.post(UNDOCK, Host=here, Origin=f"http://{here}")[0] == 200
    assert not is_docked(service)


def test_only_the_loopback_is_listened_on(service):
    listening = [line.split() for line in open("/proc/net/tcp").read().splitlines()[1:]]
    places = {place[1] for place in listening if place[3] == "0A" and place[1].endswith(f":{service.port:04X}")}
    assert places == {f"0100007F:{service.port:04X}"}


def test_addresses_have_random_tokens(service):
    token = service.path.strip("/")
    assert len(token) == 32 and int(token, 16) >= 0
    assert len(set(token)) > 4


def test_without_the_token_there_is_nothing(service):
    token = service.path.strip("/")
    wrong = token[:-1] + ("0" if token[-1] != "0" else "1")
    for path in ["/", "/desk.js", "/events", "/command", f"/{wrong}/", f"/{wrong}/desk.js", f"/{token}", f"/{token[:-1]}/", "//", "*"]:
        assert service.request("GET", path)[::2] == (404, b"no such page\n")
    for path in ["/command", f"/{wrong}/command"]:
        body = json.dumps(UNDOCK).encode()
        fields = {"Content_Type": "application/json", "Origin": f"http://127.0.0.1:{service.port}"}
        assert service.request("POST", path, body, **fields)[0] == 404
    assert is_docked(service)


@pytest.mark.parametrize("host", ["example.org", "127.0.0.1", "127.0.0.1:1", "localhost", "127.0.0.2:{port}", "example.org:{port}", ""])
def test_another_host_is_refused(service, host):
    """As a name of another site looks that was made to resolve to this machine."""
    named = host.format(port=service.port)
    assert service.get("", Host=named)[0] == 403
    assert service.post(UNDOCK, Host=named, Origin=f"http://{named}")[0] == 403
    assert is_docked(service)


@pytest.mark.parametrize("origin", ["http://example.org", "null", "https://127.0.0.1:{port}", "http://127.0.0.1:1", "http://localhost:{port}", None])
def test_another_origin_is_refused(service, origin):
    origin = origin and origin.format(port=service.port)
    assert service.post(UNDOCK, Origin=origin)[0] == 403
    assert is_docked(service)
    if origin:
        for name in ["", "events", "scenario.json", "commands"]:
            assert service.get(name, Origin=origin)[0] == 403


@pytest.mark.parametrize("site", ["cross-site", "same-site"])
def test_another_site_is_refused(service, site):
    assert service.post(UNDOCK, Sec_Fetch_Site=site)[0] == 403
    assert service.get("scenario.json", Sec_Fetch_Site=site)[0] == 403
    assert service.get("", Sec_Fetch_Site="none")[0] == 200
    assert is_docked(service)


def test_no_other_origin_is_let_in_by_a_preflight(service):
    status, fields, _ = service.request("OPTIONS", service.path + "command", Access_Control_Request_Method="POST")
    assert status == 405 and "Access-Control-Allow-Origin" not in fields


@pytest.mark.parametrize("kind", ["text/plain", "application/x-www-form-urlencoded", "application/json; charset=utf-8", None])
def test_what_a_form_can_send_is_no_command(service, kind):
    assert service.post(UNDOCK, Content_Type=kind)[0] == 415
    assert is_docked(service)


def test_nothing_changes_by_get(service):
    assert service.get("command")[0] == 405
    assert service.get("command?command=undock&pen=1")[0] == 404
    for method in ["GET", "PUT", "DELETE", "HEAD"]:
        status, fields, _ = service.request(method, service.path + "command", json.dumps(UNDOCK).encode(), Content_Type="application/json")
        assert (status, fields["Allow"]) == (405, "POST")
    assert service.post(UNDOCK, name="")[0] == 405
    assert is_docked(service)


@pytest.mark.parametrize("body", [b"", b"{", b"[1]", b"7", b'{"command": 7}', b'{"command": "undock", "command": "dock"}', b"\xff\xfe", b"[" * 5000])
def test_what_is_no_json_object_is_told(service, body):
    status, _, answer = service.post(body)
    assert status == 400 and json.loads(answer)["ok"] is False
    assert is_docked(service)


@pytest.mark.parametrize("command", ["save", "load", "image", "quit", "wait", "help", "nonsense"])
def test_the_page_neither_writes_files_nor_ends_the_service(service, command):
    status, _, answer = service.post({"command": command, "file": "desk-was-here", "pen": 1})
    assert (status, json.loads(answer)) == (400, {"ok": False, "error": "the desk takes no such command"})
    assert is_docked(service)


def test_what_the_service_refuses_is_told(service):
    status, _, answer = service.post({"command": "undock", "pen": "nobody"})
    assert (status, json.loads(answer)) == (200, {"ok": False, "error": "there is no pen nobody"})


def test_requests_are_bounded(service):
    assert service.post(b" " * ((1 << 20) - 2) + b"{}")[0] == 400  # that is no command, but not too long
    assert service.request("POST", service.path + "command", Content_Length=str((1 << 20) + 1))[0] == 413
    assert service.request("GET", service.path + "x" * 20000)[0] == 431
    assert service.get("", Cookie="x" * 20000)[0] == 431
    assert service.get("")[0] == 200


@pytest.mark.parametrize("text", [b"nonsense\r\n\r\n", b"GET / HTTP/9.9\r\n\r\n", b"GET /\r\n\r\n", b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", b"POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n"])
def test_what_is_no_http_ends_the_connection(service, text):
    with socket.create_connection(("127.0.0.1", service.port), timeout=20) as client:
        client.sendall(text)
        client.shutdown(socket.SHUT_WR)
        answer = client.makefile("rb").read()
    assert answer.split(b"\r\n")[0] in (b"HTTP/1.1 400 Bad Request", b"HTTP/1.1 403 Forbidden", b"")
    assert service.get("")[0] == 200


def test_requests_in_pieces_and_several_at_once(service):
    request = f"GET {service.path}icon.svg HTTP/1.1\r\nHost: 127.0.0.1:{service.port}\r\n\r\n".encode()
    last = request.replace(b"\r\n\r\n", b"\r\nConnection: close\r\n\r\n")
    with socket.create_connection(("127.0.0.1", service.port), timeout=20) as client:
        client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        for at in range(len(request)):
            client.sendall(request[at : at + 1])
        client.sendall(request + last)
        assert client.makefile("rb").read().count(b"HTTP/1.1 200 OK\r\n") == 3


def test_connections_are_bounded(service):
    clients = [socket.create_connection(("127.0.0.1", service.port), timeout=20) for _ in range(64)]
    try:
        with socket.create_connection(("127.0.0.1", service.port), timeout=20) as client:
            assert client.makefile("rb").readline() == b"HTTP/1.1 503 Service Unavailable\r\n"
    finally:
        for client in clients:
            client.close()
    eventually(lambda: service.get("")[0] == 200, "it serves again")


def test_the_stream_tells_what_changes(service):
    events = service.events()
    first = next(events)
    assert {pen["serial"] for pen in first["pens"]} == {NOTEBOOK, OFFICE, LOCKED, FIRMWARE}
    assert first["order"] == ["0x0000012300abcdef", "0x0000000100000001", "0x000000220000beef", "0x0000003300c0ffee"]
    assert first["rendezvous"]["listening"] is True
    assert len(first["log"]) == 4  # the announcements
    service.command("undock", pen=OFFICE)
    second = next(events)
    assert [(pen["serial"], pen["docked"]) for pen in second["pens"]] == [(OFFICE, False)]
    assert "order" not in second and "rendezvous" not in second
    assert [line["text"].split("\r\n")[1] for line in second["log"]] == ["DISCONNECT"]


def test_a_browser_that_comes_late_gets_the_last_lines(service):
    host = Host(service.pen(NOTEBOOK)["port"])
    for _ in range(700):
        host.ask(Host.LOCK_STATUS, Host.LOCK_STATUS_LENGTH)
    lines = next(service.events())["log"]
    assert [len(lines), lines[-1]["instruction"]] == [500, "R1GL"]
    assert [line["number"] for line in lines] == list(range(206, 706))
    host.close()


def test_a_slow_browser_is_told_that_lines_were_dropped(service):
    stream = socket.socket()
    stream.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
    stream.connect(("127.0.0.1", service.port))
    stream.settimeout(20)
    stream.sendall(f"GET {service.path}events HTTP/1.1\r\nHost: 127.0.0.1:{service.port}\r\n\r\n".encode())
    host = Host(service.pen(NOTEBOOK)["port"])
    asked = 0
    dropped = 0
    seen = []
    while asked < 60000:  # until the system has no place left for what is on its way, and then beyond the journal
        host.socket.sendall(Host.LOCK_STATUS * 500)
        left = 500 * Host.LOCK_STATUS_LENGTH
        while left:
            left -= len(host.socket.recv(left))
        asked += 500
    file = stream.makefile("r", encoding="utf-8", newline="\n")
    while not seen or seen[-1] < 5 + asked:
        line = file.readline()
        if line.startswith("data: "):
            news = json.loads(line[len("data: ") :])
            dropped += news.get("dropped", 0)
            seen += [one["number"] for one in news.get("log", [])]
    assert dropped > 0
    assert len(seen) + dropped == 5 + asked  # four announcements, one connection
    assert seen == sorted(set(seen))
    host.close()
    stream.close()


def test_a_received_image_is_served(service):
    assert service.get(f"image/{FIRMWARE}")[::2] == (200, b"")
    host = Host(service.pen(FIRMWARE)["port"])
    block = b"\x00\x00\x05\x00" + b"\xc0\xff\xee\x00\x01"  # number 0, 5 bytes
    host.ask(b"V003\x01\x00\x07" + len(block).to_bytes(4, "big") + block, 8)
    status, fields, body = service.get(f"image/{FIRMWARE}")
    assert (status, fields["Content-Disposition"], body) == (200, f'attachment; filename="{FIRMWARE}.img"', b"\xc0\xff\xee\x00\x01")
    assert service.get("image/nobody")[0] == 404
    host.close()


def test_the_commands_are_kept_whoever_gave_them(service):
    service.command("undock", pen=1)
    service.post({"command": "set", "pen": OFFICE, "key": "password", "value": "0815"})
    service.process.stdin.write("fault 2 {\"instruction\": \"U0PG\", \"status\": -1}\nnonsense\nlist\n")
    service.process.stdin.flush()
    service.command("wait", pen=1, instruction="R1GL", count=0)
    service.command("state")
    led = eventually(lambda: (found := json.loads(service.get("commands")[2]))["commands"][2:] and found, "three commands")
    assert led["lost"] == 0
    assert [one["line"] for one in led["commands"]] == [
        "undock 1",
        f"set {OFFICE} password 0815",
        'fault 2 {"instruction":"U0PG","status":-1}',
    ]
    assert led["commands"][1]["command"] == {"command": "set", "key": "password", "pen": OFFICE, "value": "0815"}
