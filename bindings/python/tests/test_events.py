"""Pens that come and go, and who is told."""

import asyncio
import gc
import socket
import threading
import time

import pytest
from conftest import SERIAL

import zel
from zel import Library
from zel.testing import Pensim

OFFICE = "AAB-AAA-AAB-D7"


def present(library, *serials):
    """Waits until exactly these pens are present."""
    ends = time.monotonic() + 10
    while time.monotonic() < ends:
        found = sorted(pen.serial for pen in library.pens)
        if found == sorted(serials):
            return
        time.sleep(0.01)
    raise AssertionError(found)


def scenario(count):
    return {"pens": [{"id": hex(i + 1), "pages": []} for i in range(count)]}


def test_events_tell_the_pens_present_first_and_then_what_happens(pensim, library):
    library.wait(SERIAL)
    events = library.events(timeout=10)
    assert (next(events).kind, next(events).pen.serial) == ("arrived", OFFICE)
    next(events)  # the locked pen
    pensim.command(f"undock {SERIAL}")
    event = next(events)
    assert (event.kind, event.pen.serial, event.repeated) == ("departed", SERIAL, False)
    assert SERIAL not in [pen.serial for pen in library.pens]
    pensim.command(f"dock {SERIAL}")
    event = next(events)
    assert (event.arrived, event.pen.serial) == (True, SERIAL)


def test_an_iteration_ends_at_its_time_out(library):
    library.wait()
    assert len(list(library.events(timeout=0.3))) == 3


def test_closing_the_library_ends_an_iteration_in_another_thread(pensim):
    library = Library()
    library.wait(SERIAL)
    told = []
    events = library.events()
    thread = threading.Thread(target=lambda: told.extend(events))
    thread.start()
    library.close()
    thread.join(10)
    assert not thread.is_alive()
    assert [event.kind for event in told] == ["arrived"] * len(told)


def test_an_exception_in_a_loop_over_events_reaches_the_loops_own_code(library):
    with pytest.raises(ZeroDivisionError):
        for _ in library.events(timeout=10):
            1 / 0  # noqa: B018
    assert library.wait(SERIAL)


def test_events_come_on_an_asyncio_loop(pensim, library):
    async def watch():
        serials = []
        async for event in library.events():
            serials.append((event.kind, event.pen.serial))
            if len(serials) == 3:
                await asyncio.get_running_loop().run_in_executor(None, pensim.command, f"undock {SERIAL}")
            if len(serials) == 4:
                return serials

    assert asyncio.run(asyncio.wait_for(watch(), 20))[3] == ("departed", SERIAL)


def test_an_asyncio_iteration_ends_with_the_library_and_at_its_time_out(pensim):
    async def collect(events):
        return [event async for event in events]

    async def watch():
        library = Library()
        assert len(await collect(library.events(timeout=0.5))) == 3
        endless = asyncio.ensure_future(collect(library.events()))
        await asyncio.sleep(0.1)
        library.close()
        assert len(await asyncio.wait_for(endless, 10)) == 3

    asyncio.run(watch())


def test_an_iteration_that_is_dropped_is_told_nothing_more(library):
    library.wait()
    events = library.events()
    assert len(library._shared._subscribers) == 1
    del events
    gc.collect()
    assert len(library._shared._subscribers) == 0


@pytest.mark.pensim(scenario(50)["pens"])
def test_fifty_pens_are_all_there(library):
    events = library.events(timeout=10)
    assert len({next(events).pen.pen_id for _ in range(50)}) == 50
    assert len(library.pens) == 50


def test_a_service_that_starts_late_is_found():
    with Library() as library:
        with pytest.raises(TimeoutError):
            library.wait(timeout=0.1)
        with Pensim():
            assert library.wait(SERIAL, timeout=20).serial == SERIAL


def test_after_a_service_was_away_pens_that_are_not_repeated_are_dropped(library, pensim):
    present(library, SERIAL, OFFICE, "ABE-AAB-4KK-G3")
    events = library.events(timeout=15)
    for _ in range(3):
        next(events)
    time.sleep(1.2)  # longer than announcements that belong together
    pensim.command("rendezvous down")
    pensim.command(f"undock {OFFICE}")
    pensim.command("rendezvous up")
    told = [next(events) for _ in range(3)]
    assert {(event.kind, event.pen.serial, event.repeated) for event in told} == {
        ("arrived", SERIAL, True),
        ("arrived", "ABE-AAB-4KK-G3", True),
        ("departed", OFFICE, True),
    }
    present(library, SERIAL, "ABE-AAB-4KK-G3")


class Announcer:
    """A rendezvous server that announces what a test says, when it says so."""

    def __init__(self, *pen_ids):
        self._server = socket.create_server(("127.0.0.1", 3715))
        self._listed = [self._message("", pen_id) for pen_id in pen_ids]
        self._subscribed = threading.Event()
        self._thread = threading.Thread(target=self._serve)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self._server.shutdown(socket.SHUT_RDWR)
        self._thread.join()
        self._server.close()
        self._host.close()

    def _message(self, command, pen_id):
        lines = ["RVP1", command, f"pen-id={pen_id:016x}", "pen-swver=601", "acc-prot=PSP41", "service-port=1"]
        return "\r\n".join(lines).encode() + b"\0"

    def _serve(self):
        self._host, _ = self._server.accept()
        received = b""
        while b"LIST\0" not in received:
            received += self._host.recv(64)
        self._host.sendall(b"".join(self._listed) + b"ENDLIST\0")
        self._subscribed.set()

    def arrive(self, pen_id):
        assert self._subscribed.wait(10)
        self._host.sendall(self._message("CONNECT", pen_id))


def told_within(events):
    return [(event.kind, event.pen.pen_id, event.repeated) for event in events]


def test_a_pen_that_arrives_while_the_list_is_told_drops_no_other():
    with Announcer(1, 2) as server, Library() as library:
        events = library.events(timeout=1.5)
        assert told_within([next(events), next(events)]) == [("arrived", 1, False), ("arrived", 2, False)]
        server.arrive(1)
        assert told_within(events) == [("arrived", 1, True)]
        assert sorted(pen.pen_id for pen in library.pens) == [1, 2]


def test_a_list_that_is_told_slowly_drops_no_pen_before_its_end():
    with Announcer(1, 2) as server, Library() as library:
        events = library.events(timeout=1.5)
        next(events), next(events)
        time.sleep(1.2)  # longer than announcements that belong together
        for pen_id in (1, 3, 2):
            server.arrive(pen_id)
            time.sleep(0.6)
        assert told_within(events) == [("arrived", 1, True), ("arrived", 3, False), ("arrived", 2, True)]


def test_a_serial_is_waited_for_in_any_spelling(library):
    assert library.wait(SERIAL.lower()).serial == SERIAL


def test_a_pen_that_is_repeated_is_connected_where_it_is_now(library, pensim):
    library.wait(SERIAL)
    time.sleep(1.2)  # longer than announcements that belong together
    events = library.events(timeout=15)
    pensim.command("rendezvous down")
    pensim.command(f"undock {SERIAL}")
    pensim.command(f"dock {SERIAL}")  # on another port
    pensim.command("rendezvous up")
    assert any(event.repeated and event.pen.serial == SERIAL for event in events)
    with library.connect(library.wait(SERIAL)) as pen:
        assert pen.locked is False


def test_refresh_announces_every_pen_again_and_drops_nobody_who_is_there(library):
    present(library, SERIAL, OFFICE, "ABE-AAB-4KK-G3")
    library.refresh()
    time.sleep(1.5)
    present(library, SERIAL, OFFICE, "ABE-AAB-4KK-G3")


def test_refresh_without_a_service_drops_every_pen():
    with Library() as library:
        with Pensim():
            present(library, SERIAL, OFFICE, "ABE-AAB-4KK-G3")
        library.refresh()
        present(library)


def test_refresh_from_a_pens_progress_report_is_refused(library, pen):
    with pytest.raises(RuntimeError, match="progress report"):
        pen.fetch(progress=lambda done, total: library.refresh())
    assert pen.locked is False


def test_refresh_waits_for_a_pen_that_is_in_use(library, pensim, pen):
    pensim.fault(SERIAL, instruction="R1GL", delay_ms=500, occurrence=0)
    began = time.monotonic()
    thread = threading.Thread(target=lambda: pen.locked)
    thread.start()
    time.sleep(0.1)
    library.refresh()
    assert time.monotonic() - began > 0.4
    thread.join()


def test_several_libraries_share_what_the_process_has_once(pensim):
    first, second = Library(), Library()
    assert first.wait(SERIAL).pen_id == second.wait(SERIAL).pen_id
    first.close()
    with pytest.raises(zel.NotInitializedError):
        first.pens  # noqa: B018
    assert second.wait(SERIAL)
    second.close()
    second.close()
