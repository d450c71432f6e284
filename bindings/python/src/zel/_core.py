"""The library's life in this process: who uses it, which pens are present, and who is told.

The native library can be started once in a process, so all users of one mode share one :class:`Core`. It starts
with the first user and ends when the last one is gone; a connected pen is a user too, hence ``zelExit`` always
comes last.

Three kinds of threads meet here. The native library's thread only puts a record into a queue. The core's own
thread, the pump, takes it out, keeps the list of pens and passes events on to subscribers. The host's threads read.
"""

from __future__ import annotations

import atexit
import os
import queue
import threading
import time
import weakref
from dataclasses import dataclass, field
from types import TracebackType
from typing import Any, Callable, Dict, List, Optional, Set, Type, TypeVar

from . import _native
from .errors import ZelError, error

T = TypeVar("T")
S = TypeVar("S", bound="Connected")

# Announcements that follow one another within this time belong together: the server tells them in one go.
SETTLE_SECONDS = 1.0


@dataclass(frozen=True)
class PenInfo:
    """A pen that is or was present, as it was announced."""

    serial: str
    """The serial text, ``"AKZ-AQ7-APS-AC"``."""
    pen_id: int
    """The 64-bit identity behind the serial text."""
    vendor_id: Optional[int]
    """USB vendor id; ``None`` in firmware-upgrade mode."""
    product_id: Optional[int]
    """USB product id; ``None`` in firmware-upgrade mode."""
    _record: "Record" = field(repr=False, compare=False)

    def __str__(self) -> str:
        return self.serial


@dataclass(frozen=True)
class Event:
    """An arrival or a departure."""

    kind: str
    """``"arrived"`` or ``"departed"``."""
    pen: PenInfo
    repeated: bool = False
    """The pen service announced all its pens once more, for instance after a restart: this pen is still there
    (``"arrived"``), or was not repeated and is gone (``"departed"``). Connections made before may be lost."""

    @property
    def arrived(self) -> bool:
        """Whether the pen arrived."""
        return self.kind == "arrived"


class Record:
    """Owns a record of the native library."""

    def __init__(self, pointer: int) -> None:
        self.pointer = pointer
        # Not at interpreter exit: the process gives the memory back then, and ctypes may be gone.
        weakref.finalize(self, _native.free_record, pointer).atexit = False


class Connection:
    """Owns a handle of the native library and lets one thread at a time use it."""

    def __init__(self, core: "Core", disconnect: str) -> None:
        self.core = core
        self.lock = threading.RLock()
        self.handle: Any = None
        self._disconnect = disconnect
        self.running = False

    def use(self, function: Callable[..., T], name: str, *arguments: Any) -> T:
        """Calls ``function(name, handle, *arguments)`` as the only user of the handle."""
        with self.lock:
            if self.running:
                raise RuntimeError(f"{name}: this pen is in use by the call that this code was called from")
            if self.handle is None:
                raise error(5, name, "The pen is closed.")
            self.running = True
            try:
                return function(name, self.handle, *arguments)
            finally:
                self.running = False

    def close(self) -> None:
        """Disconnects; waits for a call that is running in another thread."""
        with self.lock:
            if self.running:
                raise RuntimeError("a pen cannot be closed by code that one of its own calls runs")
            handle, self.handle = self.handle, None
            if handle is None:
                return
            _native.disconnect(self._disconnect, handle)
        self.core.forget(self)

    def abandon(self) -> None:
        """Disconnects soon, on the core's thread. For finalisers, which may run anywhere."""
        self.core.post(self.close)


class Connected:
    """What pens in both modes have in common: a connection that is closed in time, if need be by a finaliser."""

    def __init__(self, info: PenInfo, connection: Connection) -> None:
        self.info: PenInfo = info
        """The announcement that this connection was made from."""
        self._connection = connection
        self._finalizer = weakref.finalize(self, connection.abandon)
        self._finalizer.atexit = False  # the core ends by itself then

    def close(self) -> None:
        """Disconnects. Waits for a call that another thread has running. Closing twice does no harm."""
        self._connection.close()
        self._finalizer.detach()

    @property
    def closed(self) -> bool:
        """Whether the pen was closed."""
        return self._connection.handle is None

    def __enter__(self: S) -> S:
        return self

    def __exit__(
        self, kind: Optional[Type[BaseException]], value: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<zel.{type(self).__name__} {self.info.serial}{', closed' if self.closed else ''}>"

    def _call(self, name: str, *arguments: Any) -> None:
        self._connection.use(_native.call, name, *arguments)


class _Present:
    def __init__(self, info: PenInfo) -> None:
        self.info = info
        self.announced = time.monotonic()


class Core:
    """One mode of the native library, shared by everything in the process that uses it."""

    def __init__(self, start: Callable[[Any], None], stop: str, mode_has_usb_ids: bool) -> None:
        self._start_native = start
        self._stop_native = stop
        self._has_usb_ids = mode_has_usb_ids
        self._reset()
        # The native library calls it as long as the process lives.
        self._callback = _native.RecordCallback(lambda record, _context: self._queue.put(record))

    def _reset(self) -> None:
        self._lifecycle = threading.RLock()  # start and end; taken before any other lock
        self._records = threading.Lock()  # while the pump asks the native library about a record
        self.changed = threading.Condition()  # the list of pens and the subscribers
        self._users = 0
        self._connections: Set[Connection] = set()
        self._pens: Dict[int, _Present] = {}
        self._unrepeated: Set[int] = set()  # pens that a running resynchronisation has not seen yet
        self._resync_ends: Optional[float] = None
        self._subscribers: "weakref.WeakSet[Any]" = weakref.WeakSet()
        self._queue: "queue.SimpleQueue[Any]" = queue.SimpleQueue()  # its put() may run inside a finaliser
        self._pump: Optional[threading.Thread] = None
        self.has_forked = False

    # ---- users

    def acquire(self) -> None:
        """Adds a user; the first one starts the native library."""
        with self._lifecycle:
            if self.has_forked:
                raise error(5, "Library", "The library does not survive a fork; use it in a fresh process.")
            if self._users == 0:
                self._start()
            self._users += 1

    def release(self) -> None:
        """Removes a user; after the last one the native library ends."""
        with self._lifecycle:
            if self.has_forked or self._users == 0:
                return
            self._users -= 1
            if self._users == 0:
                self._stop()

    def post(self, action: Callable[[], None]) -> None:
        """Runs the action on the core's thread."""
        self._queue.put(action)

    def _start(self) -> None:
        self._queue = queue.SimpleQueue()
        try:
            self._start_native(self._callback)
        except ZelError as failure:
            if failure.code != 6:  # no listener, but the library may count as initialised
                _native.end(self._stop_native)
            raise
        self._pump = threading.Thread(target=self._run, name="zel", daemon=True)
        self._pump.start()

    def _stop(self) -> None:
        pump, self._pump = self._pump, None
        self._queue.put(None)
        if pump is not None and pump is not threading.current_thread():
            pump.join()
        _native.end(self._stop_native)
        self._drop_queued()
        with self.changed:
            self._pens.clear()
            self._unrepeated.clear()
            self._resync_ends = None

    def _drop_queued(self) -> None:
        while True:
            try:
                item = self._queue.get_nowait()
            except queue.Empty:
                return
            if isinstance(item, int):
                _native.free_record(item)

    def end(self) -> None:
        """The interpreter ends: whatever was forgotten is closed now, while there is still a Python to call."""
        with self._lifecycle:
            if self.has_forked or self._users == 0:
                return
            for connection in list(self._connections):
                # A daemon thread may be blocked in a call on its pen: that handle is left to the process's end.
                if connection.lock.acquire(blocking=False):
                    try:
                        connection.close()
                    finally:
                        connection.lock.release()
            if self._users > 0:
                self._users = 0
                self._stop()

    def forked(self) -> None:
        """In the child of a fork: the listener is not there, and the parent's sockets are the parent's."""
        connections = self._connections
        started = self._users > 0
        self._reset()
        self.has_forked = started
        for connection in connections:
            connection.lock = threading.RLock()
            connection.handle = None

    # ---- connections

    def connect(self, info: PenInfo, function: str, disconnect: str, handle_first: bool) -> Connection:
        """Connects to a pen. The connection is a user of the library until it is closed."""
        self.acquire()
        connection = Connection(self, disconnect)
        with connection.lock:
            with self._lifecycle:
                self._connections.add(connection)
            try:
                connection.handle = _native.connect(
                    function, disconnect, info._record.pointer, handle_first=handle_first
                )
            except BaseException:
                self.forget(connection)
                raise
        return connection

    def forget(self, connection: Connection) -> None:
        """A connection ended."""
        with self._lifecycle:
            if connection in self._connections:
                self._connections.discard(connection)
                self.release()

    # ---- the list of pens

    def pens(self) -> List[PenInfo]:
        """The pens present, in the order in which they arrived."""
        with self.changed:
            return [present.info for present in self._pens.values()]

    def subscribe(self, subscriber: Any) -> None:
        """Lets ``subscriber.put(event)`` be called for the pens present and for every event that follows. A
        subscriber that nobody refers to any more is dropped."""
        with self.changed:
            for present in self._pens.values():
                subscriber.put(Event("arrived", present.info))
            self._subscribers.add(subscriber)

    def unsubscribe(self, subscriber: Any) -> None:
        """Ends a subscription."""
        with self.changed:
            self._subscribers.discard(subscriber)

    def refresh(self) -> None:
        """Has every pen announced once more; what is not repeated is dropped."""
        while not self._refreshed():
            time.sleep(0.001)

    def _refreshed(self) -> bool:
        """No other call may run beside ``zelEnumeratePens``, so every pen's lock is needed: all of them or none, as
        a thread may use one pen in the progress report of another."""
        with self._lifecycle:
            taken: List[Connection] = []
            try:
                for connection in self._connections:
                    if not connection.lock.acquire(blocking=False):
                        return False
                    taken.append(connection)
                    if connection.running:
                        raise RuntimeError("refresh() was called from the progress report of a pen's own call")
                with self._records:
                    _native.call("zelEnumeratePens")
                with self.changed:
                    self._begin_resync(set(self._pens))
                self.post(lambda: None)  # wakes the pump, which then knows when the resynchronisation ends
                return True
            finally:
                for connection in taken:
                    connection.lock.release()

    # ---- the pump

    def _run(self) -> None:
        records = self._queue
        while True:
            ends = self._resync_ends
            try:
                item = records.get(timeout=None if ends is None else max(0.0, ends - time.monotonic()))
            except queue.Empty:
                self._end_resync()
                continue
            if item is None:
                return
            if not callable(item):
                self._announce(item)
            elif not self._did(item):
                return

    def _did(self, action: Callable[[], None]) -> bool:
        """False when the pump has to end: the action was the last user's, or somebody waits for the pump's end and
        holds the lock meanwhile."""
        pump = threading.current_thread()
        while not self._lifecycle.acquire(timeout=0.1):
            if self._pump is not pump:
                return False
        try:
            action()
            return self._pump is pump
        finally:
            self._lifecycle.release()

    def _announce(self, pointer: int) -> None:
        record = Record(pointer)
        kind, pen_id = _native.kind_and_id(pointer)
        with self.changed:
            if kind != _native.ARRIVED:
                self._unrepeated.discard(pen_id)
                present = self._pens.pop(pen_id, None)
                if present is not None:
                    self._publish(Event("departed", present.info))
                return
        try:
            info = self._describe(record, pen_id)
        except ZelError:
            return  # no memory for it, or the library ends
        with self.changed:
            self._arrive(info)

    def _describe(self, record: Record, pen_id: int) -> PenInfo:
        with self._records:
            serial = _native.text("zelGetDevicePenSerial", record.pointer)
            vendor = product = None
            if self._has_usb_ids:
                vendor, product = _native.usb_ids(record.pointer)
        return PenInfo(serial, pen_id, vendor, product, record)

    def _arrive(self, info: PenInfo) -> None:
        now = time.monotonic()
        present = self._pens.get(info.pen_id)
        self._unrepeated.discard(info.pen_id)
        if present is None:
            self._pens[info.pen_id] = _Present(info)
            self._publish(Event("arrived", info))
        else:
            # A pen that is announced again without having left tells that the server announces all its pens
            # once more. Twice within a moment is one pen that arrived while the list was being told.
            if self._resync_ends is None and now - present.announced > SETTLE_SECONDS:
                self._begin_resync(set(self._pens) - {info.pen_id})
            present.info = info
            present.announced = now
            self._publish(Event("arrived", info, repeated=True))
        if self._resync_ends is not None:
            self._resync_ends = now + SETTLE_SECONDS

    def _begin_resync(self, unrepeated: Set[int]) -> None:
        self._unrepeated = unrepeated
        self._resync_ends = time.monotonic() + SETTLE_SECONDS

    def _end_resync(self) -> None:
        with self.changed:
            if self._resync_ends is None or time.monotonic() < self._resync_ends:
                return
            self._resync_ends = None
            gone, self._unrepeated = self._unrepeated, set()
            for pen_id in gone:
                present = self._pens.pop(pen_id, None)
                if present is not None:
                    self._publish(Event("departed", present.info, repeated=True))

    def _publish(self, event: Event) -> None:
        for subscriber in list(self._subscribers):
            subscriber.put(event)
        self.changed.notify_all()


def _start_ordinary(callback: Any) -> None:
    _native.call("zelInitialize", callback, callback, None)


def _start_upgrade(callback: Any) -> None:
    _native.call("zelDfuInit", None, callback, callback)


ORDINARY = Core(_start_ordinary, "zelExit", mode_has_usb_ids=True)
UPGRADE = Core(_start_upgrade, "zelDfuExit", mode_has_usb_ids=False)

for _core in (ORDINARY, UPGRADE):
    atexit.register(_core.end)
    if hasattr(os, "register_at_fork"):
        os.register_at_fork(after_in_child=_core.forked)
